// Trait ranking: the search for the trait subset that maximises a criterion.
#ifndef RANKING_RANKING_H
#define RANKING_RANKING_H

// Option K of the analysis menu. The search is not part of this version:
// the user is told so and the menu comes back.
void IFChOrderSearch();

#endif

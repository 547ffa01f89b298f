// The members of the criteria that this version does not compute yet: divergence, smoothing and phylogenetic criteria.
#include <cstdio>

#include "ranking/ranking.h"
#include "scaling/settings.h"
#include "shell/console.h"

// One line, and back to the menu: no result file is written.
static void NotAvailable() {
  fprintf(out, "\nTrait ranking criterion %d is not available yet in this version of KOLVEN.\n", opt_struct);
}

void ChRankAlphaBetaDivergence(int mode) {
  (void)mode;
  NotAvailable();
}

void ChRankPhylogenyAssembly() { NotAvailable(); }

void ChRank_Phylogeny_x_Trait_Assembly() { NotAvailable(); }

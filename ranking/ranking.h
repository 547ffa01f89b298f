// Trait ranking: option K, its dialogue, and the members of the exhaustive trait subset search.
#ifndef RANKING_RANKING_H
#define RANKING_RANKING_H

// ---- Settings of a search (opt_struct lives with the analysis settings) ----
extern int rankingAlgorithm;            // 1 stepwise (text only), 2 all trait combinations
extern int nCSTGroupsChRankRedundancy;  // types of the retired redundancy criterion; stays 0
extern int printRankIntermedResults;    // 'y': one result line per evaluated subset
extern char whichChorder[64];           // result file: session name and criterion suffix

// ---- Option texts of the result headers ----
extern const char* rankingAlgorithmInfo[2];  // by rankingAlgorithm - 1
extern const char* opt_structInfo[22];       // by opt_struct - 1; rows 21 and 22 empty

// The text of the criterion line for opt_struct, as the table's layout gives
// it: 21 and 22 read its empty rows, 23 and 24 run on into opt_roInfo.
const char* OptStructText(int criterion);

// Option K of the analysis menu: dialogue, search, closing message.
void IFChOrderSearch();
// The dialogue of a search: criterion, types, traits, limits, intermediate
// results. Returns 0 when no trait is selected, so that nothing can be searched.
int SettingsChRank();

// Members of the search, one per family of criteria; each writes whichChorder.
void ChRankTCAP();        // criterion 10, r(TE)
void ChRankTDAP_TCAP();   // criterion 1, r(XE)
void ChRankTDAP();        // criterion 9, r(XE.T)
// Criteria 16 to 24: Rao entropy, dark diversity, smoothed composition; the
// mode (1 to 9) follows its own numbering, not the criterion's.
void ChRankAlphaBetaDivergence(int mode);
void ChRankPhylogenyAssembly();              // criteria 11 to 13, r(PX), r(PX.T), r(PT)
void ChRank_Phylogeny_x_Trait_Assembly();    // criteria 14 and 15, niche conservation

#endif

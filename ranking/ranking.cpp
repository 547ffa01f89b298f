// Option K of the analysis menu: the dialogue of a trait subset search, the choice of member and result file, and the option texts of the result headers.
#include "ranking/ranking.h"

#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "ranking/rankSearch.h"
#include "scaling/scalingUp.h"
#include "scaling/settings.h"
#include "scaling/similarity.h"
#include "session/rawData.h"
#include "session/session.h"
#include "shell/console.h"
#include "shell/shell.h"
#include "session/track.h"

int rankingAlgorithm = 2;
int nCSTGroupsChRankRedundancy = 0;
int printRankIntermedResults = 'n';
char whichChorder[64] = "NULL";

const char* rankingAlgorithmInfo[2] = {"1 (stepwise)", "2 (all trait combinations)"};

// Row 20 holds two texts run together, with no separator, and rows 21 and 22
// are empty: that is the table's settled layout, read as it stands by
// OptStructText.
const char* opt_structInfo[22] = {
    "1 (both trait-divergence and trait-convergence assembly patterns)",
    "2 (convergence community groups)",
    "3 (divergence community groups)",
    "4 (trait redundancy in population data structure)",
    "5 (trait redundancy in community data structure)",
    "6 (criteria 1 and 5 combined)",
    "7 (criteria 2 and 5 combined)",
    "8 (sharpness in information structure)",
    "9 (Trait-divergence assembly patterns, TDAP)",
    "10 (Trait-convergence assembly patterns, TCAP)",
    "11 (correlation of phylogenetically structured assembly patterns, PSAP to both trait-divergence and "
    "trait-convergence assembly patterns, TDAP and TCAP)",
    "12 (correlation of phylogenetically structured assembly patterns, PSAP to trait-divergence, TDAP)",
    "13 (correlation of phylogenetically structured assembly patterns, PSAP to trait-convergence assembly "
    "patterns, TCAP)",
    "14 (beta niche conservation: ro(PT) * ro(TE))",
    "15 (alpha and beta niche conservation: ro(PX) * ro(XE))",
    "16 (alpha divergence: ro(RE))",
    "17 (beta divergence: ro(XE.TR))",
    "18 (congruence of fuzzy-weighted composition and composition predicted by DeCaceres (2008) smoothing: "
    "r(XZ))",
    "19 (trait convergence: r(TZ))",
    "20 (trait divergence: r(XZ.T))"  // no comma: row 20 runs on into the text of 21
    "21 (correlation between 'dark diversity' (for each community, sum of absolute differences between "
    "matrices X and W) and E: r(SE))",
    nullptr,
    nullptr,
};

const char* OptStructText(int criterion) {
  // Criteria 21 and 22 find the empty rows: the line shows what the C library
  // prints for an absent string, spelt out here. 23 and 24 lie past the end
  // of the table, where its readers find the texts of the correlation
  // measure. Both outcomes are kept as they are.
  if (criterion == 23) return opt_roInfo[0];
  if (criterion == 24) return opt_roInfo[1];
  if (criterion < 1 || criterion > 22 || opt_structInfo[criterion - 1] == nullptr) return "(null)";
  return opt_structInfo[criterion - 1];
}

// ---- The dialogue ----

static const char* const kAccepted = "1 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24";

static void ShowCriteria(bool qualitative) {
  Menu("CHARACTER RANKING SETTINGS");
  fprintf(out, "Trait ranking criterion maximized: \n");
  bool withE = nenv > 0;
  if (withE) fprintf(out, "   1 r(XE): TCAP and TDAP\n");
  if (withE && !qualitative) {
    fprintf(out, "   9 r(XE.T): TDAP only\n");
    fprintf(out, "   10 r(TE): TCAP only\n");
  }
  if (hasPhylogeny)
    fprintf(out, "   11  correlation of phylogenetically structured assembly patterns (PSAP) to both TCAP and "
                 "TDAP = r(PX)\n");
  if (hasPhylogeny && !qualitative) {
    fprintf(out, "   12  correlation of PSAP to TDAP = r(PX.T)\n");
    fprintf(out, "   13  correlation of PSAP to TCAP = r(PT)\n");
  }
  if (withE) fprintf(out, "   16  alpha divergence: r(RE) \n");
  fprintf(out, "\n");
  if (withE)
    fprintf(out, "1. Correlation r(XE) between fuzzy weighted community composition based on OTU's trait "
                 "similarities (X) and ecological variables (E) may reflect both trait convergence assembly "
                 "patterns (TCAP) and trait divergence assembly patterns (TDAP).\n");
  if (withE && !qualitative) {
    fprintf(out, "9. Partial correlation r(XE.T) between X and E, removing T, reflects TDAP only.\n");
    fprintf(out, "10. Correlation r(TE) between community weighted mean traits (T) and E reflects TCAP only.\n");
  }
  if (hasPhylogeny)
    fprintf(out, "11. Correlation r(PX) between P (fuzzy weighted community composition based on OTU's "
                 "phylogenetic similarities) and X reflects phylogenetic signal at the metacommunity level.\n");
  if (hasPhylogeny && !qualitative) {
    fprintf(out, "12. Partial correlation r(PX.T) between P and X, removing T reflects phylogenetic signal at "
                 "the metacommunity level.\n");
    fprintf(out, "13. Correlation r(PT) reflects phylogenetic signal at the metacommunity level.\n");
  }
  if (withE) fprintf(out, "16. ro(RE) is a congruence between Rao entropy and E.\n");
}

// Criteria that need E, or quantitative traits without E, can't serve: the
// menu simply comes again. 9 and 10 are refused only when both hold, and 11
// to 13, 17 to 23 never.
static bool CriterionRefused(int c, bool qualitative) {
  if (nenv > 0) return false;
  return c == 1 || c == 14 || c == 15 || c == 16 || c == 24 || ((c == 9 || c == 10) && qualitative);
}

// The phylogenetic criteria can't be computed without the phylogeny of the
// OTUs: they are refused at once, with a word, before any other question, so
// that nothing is asked in vain and the menu comes again.
static bool NeedsPhylogeny(int c) {
  if (hasPhylogeny || c < 11 || c > 15) return false;
  fflush(stdout);
  fprintf(stderr, "\nCriterion %d needs the phylogenetic resemblance matrix (F) of the OTUs, which this session "
                  "has not.\n", c);
  return true;
}

static void AskTypeLimits() {
  if (clusMethPoolCSTs == 0) {
    int groups = 0;
    CountGroupsNew(tcst, partition_OTUs, &groups, nullptr);
    nMinCSTGroupsChRank = nMaxCSTGroupsChRank = groups;
    return;
  }
  nMaxCSTGroupsChRank = tcst;
  if (poolCSTopt != 2) return;
  fprintf(out, "Minimum number of PFTs examined (minimum: 2, maximum: %d): ", tcst);
  nMinCSTGroupsChRank = (int)ReadNumberIn("%d\n", "-", 2.0, (double)tcst);
  fprintf(out, "Maximum number of PFTs examined (minimum: %d, maximum: %d): ", nMinCSTGroupsChRank, tcst);
  nMaxCSTGroupsChRank = (int)ReadNumberIn("%d\n", "-", (double)nMinCSTGroupsChRank, (double)tcst);
}

int SettingsChRank() {
  bool qualitative = HasQualitTrait(nch, chtype) != 0;
  for (;;) {
    ShowCriteria(qualitative);
    fprintf(out, "\nType option no.: ");
    opt_struct = (int)ReadNumberIn("%d\n", kAccepted);
    if (NeedsPhylogeny(opt_struct)) continue;
    if (!CriterionRefused(opt_struct, qualitative)) break;
  }
  rankingAlgorithm = 2;
  nCSTGroupsChRankRedundancy = 0;
  includePhylogeny = opt_struct >= 11 && opt_struct <= 15;
  SettingsHierarchy();
  if (opt_struct == 10 || opt_struct == 16) rese_opt = 6;
  if (traitBasedOpt != 1) {
    whichObj = 'r';
    rese_opt = 6;
  }
  optUnitTotalAdjust1 = true;
  AskTypeLimits();
  int n = 0;
  for (int t = 0; t < nch; t++)
    if (weight[t] > 0) n++;
  if (n == 0) {
    // No range of subset sizes can be given: say so rather than ask.
    fprintf(out, "\nNo trait is selected: there is no trait subset to search.\n");
    return 0;
  }
  fprintf(out, "Minimum number of traits in the trait subset (minimum: 1, maximum: %d): ", n);
  nMinTraitsChRank = (int)ReadNumberIn("%d\n", "-", 1.0, (double)n);
  fprintf(out, "Maximum number of traits in the trait subset (minimum: %d, maximum: %d): ", nMinTraitsChRank, n);
  nMaxTraitsChRank = (int)ReadNumberIn("%d\n", "-", (double)nMinTraitsChRank, (double)n);
  fprintf(out, "\nPrint intermediate results of the ranking process?  y/n ");
  printRankIntermedResults = ReadCharIn("y n");
  return 1;
}

// ---- The driver ----

struct CriterionFile {
  int criterion;
  const char* suffix;
};

static const CriterionFile kFiles[] = {
    {1, "ChRank_TDAP_TCAP.txt"},       {9, "ChRank_TDAP.txt"},
    {10, "ChRank_TCAP.txt"},           {11, "ChRank_PSAP_X.txt"},
    {12, "ChRank_PSAP_X_T.txt"},       {13, "ChRank_PSAP_T.txt"},
    {14, "ChRank_BetaNicheConserv.txt"}, {15, "ChRank_AlphaBetaNicheConserv.txt"},
    {16, "ChRank_AlphaDivergence.txt"}, {17, "ChRank_BetaDivergence.txt"},
    {18, "ChRank_roXZ.txt"},           {19, "ChRank_roTZ.txt"},
    {20, "ChRank_roXZ_T.txt"},         {21, "ChRank_roXY.txt"},
    {22, "ChRank_roTY.txt"},           {23, "ChRank_roXY_T.txt"},
    {24, "ChRank_DarkDiversity.txt"},
};

static void NameResultFile(const char* suffix) {
  snprintf(whichChorder, sizeof whichChorder, "%s%s", sessionName, suffix);
}

// The member of a criterion of the composition of types. Returns false when
// no member serves the criterion.
static bool RunCompositionMember() {
  for (const CriterionFile& c : kFiles)
    if (c.criterion == opt_struct) NameResultFile(c.suffix);
  switch (opt_struct) {
    case 1:
      ChRankTDAP_TCAP();
      return true;
    case 9:
      ChRankTDAP();
      return true;
    case 11: case 12: case 13:
      ChRankPhylogenyAssembly();
      return true;
    case 14: case 15:
      ChRank_Phylogeny_x_Trait_Assembly();
      return true;
    default: {
      static const int kModes[] = {1, 2, 4, 5, 6, 7, 8, 9, 3};  // criteria 16 to 24
      if (opt_struct < 16 || opt_struct > 24) return false;
      ChRankAlphaBetaDivergence(kModes[opt_struct - 16]);
      return true;
    }
  }
}

void IFChOrderSearch() {
  bool written = false;
  if (SettingsChRank() && optmain1 == 'V') {
    if (traitBasedOpt == 2) {
      NameResultFile("ChRank_TCAP.txt");
      if (opt_struct == 10) ChRankTCAP();
      written = true;
    } else if (traitBasedOpt == 1 && rankingAlgorithm != 1) {
      // Criterion 1 is named and run with polythetic types only, as they always are here.
      if (opt_struct != 1 || poolCSTopt == 2) written = RunCompositionMember();
    }
  }
  free1D(partition_OTUs_Phyl);
  partition_OTUs_Phyl = nullptr;
  // The dialogue and the run may have changed weights, OTUs and types: the
  // menu reloads the session before its next choice.
  dirtyOrig = 1;
  if (!written) return;
  ClearLine();
  fprintf(out, "\n\nResults on file %s%s\n", volumeName, whichChorder);
  if (!runMacro) Wait();
}

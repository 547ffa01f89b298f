// The report of the functional analysis (sessionName + "Prinda.txt"), written section by section.
#include "scaling/report.h"

#include <cstring>

#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibTables.h"
#include "permutation/permCorrel.h"
#include "scaling/settings.h"
#include "scaling/scalingUp.h"
#include "session/session.h"
#include "shell/preferences.h"
#include "shell/shell.h"
#include "shell/track.h"

static const char reportLineL[] =
    "----------------------------------------------------------------------";
static const char reportVersion[] =
    "CHARACTER-BASED COMMUNITY ANALYSIS                    KOLVEN v.2.11.13";

// Row `index` of an option table, or an empty text when the option is out of
// the table (a track file from elsewhere may hold any number).
static const char* OptionText(const char* const* table, int rows, int index) {
  if (index < 0 || index >= rows) return "";
  return table[index];
}

void PrintUpperAsLower(FILE* f, int n, double** m) {
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) {
      double t = m[i][j];
      m[i][j] = m[j][i];
      m[j][i] = t;
    }
  PrintLowerHalfMatrixTab(f, n, m, sDigits);
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) {
      double t = m[i][j];
      m[i][j] = m[j][i];
      m[j][i] = t;
    }
}

static void HeadTraits(FILE* f) {
  fprintf(f, "Trait set:        ");
  for (int t = 0; t < nch; t++) fprintf(f, "%-3s", chLabel[t]);
  fprintf(f, "\nNumber of states: ");
  for (int t = 0; t < nch; t++) fprintf(f, "%-3d", onsta[t]);
  fprintf(f, "\nTrait type:       ");
  for (int t = 0; t < nch; t++) fprintf(f, "%-3d", chtype[t]);
  fprintf(f, "\nTrait weights:     ");
  for (int t = 0; t < nch; t++) fprintf(f, "%g\t", weight[t]);
}

static void HeadPhylogenyLine(FILE* f) {
  if (includePhylogeny)
    fprintf(f, "\nPhylogeny: Is considered\n");
  else
    fprintf(f, "\nPhylogeny: Is NOT considered\n");
}

static void HeadOTUs(FILE* f) {
  fprintf(f, "\nPooling of OTUs: %s\n", OptionText(poolCSToptInfo, 2, poolCSTopt - 1));
  if (poolCSTopt == 2) {
    if (clusMethPoolCSTs == 0)
      fprintf(f, "Clustering method defining types: none (groups were specified by the user).\n");
    else
      fprintf(f, "Clustering method defining types: %s\n",
              OptionText(clusMethInfo, 6, clusMethPoolCSTs));
    fprintf(f, "Resemblance function between OTUs: %s\n",
            OptionText(reseCSToptInfo, 2, reseCSTopt - 1));
  }
  if (reseCSTopt == 1)
    fprintf(f, "Gower index modified to count matching absences in binary traits? %s\n",
            YesNotInfo[countDoubleAbsence ? 1 : 0]);
  HeadPhylogenyLine(f);
  fprintf(f, "Rao entropy based on traits computed on square root transformed dissimilarities? %s\n",
          YesNotInfo[sqrtDissimOpt_RaoTraits ? 1 : 0]);
  if (includePhylogeny)
    fprintf(f,
            "Rao entropy based on phylogeny computed on square root transformed dissimilarities? "
            "%s\n",
            YesNotInfo[sqrtDissimOpt_RaoPhyl ? 1 : 0]);
  // The phylogeny line stands twice in the head.
  HeadPhylogenyLine(f);
  bool someOut = false;
  for (int t = 0; t < nch; t++)
    if (weight[t] == 0.0) someOut = true;
  if (someOut) {
    fprintf(f, "Traits considered in the computation of OTUs resemblance:\n");
    for (int t = 0; t < nch; t++)
      if (weight[t] > 0) fprintf(f, "%-3s", chLabel[t]);
  } else {
    fprintf(f, "All traits were considered in the computation of resemblance between OTUs.\n");
  }
}

void ReportHead(FILE* f) {
  if (strcmp(prindaMode, "w") == 0) fprintf(f, "\n%s\n", reportVersion);
  fprintf(f, "%s\n", reportLineL);
  fprintf(f, "EXPLORATION OF COMMUNITY DATA STRUCTURES\n");
  fprintf(f, "%s\n", reportLineL);
  TimeStamp(f);
  fprintf(f, "Session:          %s\n", sessionName);
  fprintf(f, "Formatted data:   %s\n", whichFormda);
  fprintf(f, "Unformatted data: %s\n\n", dataName);
  HeadTraits(f);
  fprintf(f, "\nTrait-based approach: %s\n", OptionText(traitBasedOptInfo, 2, traitBasedOpt - 1));
  if (optUnitTotalAdjust1)
    fprintf(f, "Community data matrix W adjusted to unit totals prior to trait convergence "
               "evaluation (TCAP).\n");
  else
    fprintf(f, "Community data matrix W NOT adjusted to unit totals prior to trait convergence "
               "evaluation (TCAP).\n");
  if (optUnitTotalAdjust2)
    fprintf(f, "Community data matrix W adjusted to unit totals prior to evaluation of TDAP.\n");
  else
    fprintf(f, "Community data matrix W NOT adjusted to unit totals prior to evaluation of TDAP.\n");
  HeadOTUs(f);
  fprintf(f, "\nFuzzy transformation: \t%s\n", OptionText(fuzzyInfo, 4, fuzzy));
  fprintf(f, "Number of types examined: \t%d\n", nMaxCSTGroupsChRank);
  fprintf(f, "\nCorrelation function between matrices: \t%s\n", OptionText(opt_roInfo, 3, opt_ro - 1));
  if (opt_ro == 1)
    fprintf(f, "Resemblance option between communities: %s\n",
            OptionText(rese_optInfo, 10, rese_opt - 1));
  else
    fprintf(f,
            "Factor (f) for limiting the number of predictors in PCA regression in relation to "
            "sample size n (number of predictors = n/f): %g\n",
            overfitFactorPCARegr);
  fprintf(f, "\nNumber of communities: %d\n", ncsm);
  fprintf(f, "Community labels: ");
  for (int c = 0; c < ncsm; c++) fprintf(f, "%-6s", reLabel[c]);
  fprintf(f, "\n");
}

void ReportW(FILE* f, double** W, bool adjusted) {
  if (adjusted)
    fprintf(f,
            "\nCommunity matrix W with %d communities by %d OTUs adjusted to unit sum within each "
            "community: \n",
            ncsm, tcst);
  else
    fprintf(f, "\nCommunity matrix W with %d communities by %d OTUs: \n", ncsm, tcst);
  PrintMatrix(f, ncsm, tcst, W, sDigits, 0);
  fprintf(f, "\n");
}

static void PhylogenyResemblance(FILE* f) {
  if (phylogenyMatrixType == 1)
    fprintf(f, "\nSimilarity matrix, in the range 0-1, between %d OTUs based on their phylogeny:\n",
            tcst);
  if (phylogenyMatrixType == 3)
    fprintf(f,
            "\nDissimilarity matrix, in the range 0-1, between %d OTUs based on their phylogeny:\n",
            tcst);
  if (phylogenyMatrixType == 2) {
    fprintf(f, "\nPhylogeny matrix with %d OTUs by %d phylogenetic variables: \n", tcst, nClados);
    PrintMatrixTab(f, tcst, nClados, phylogenyData, sDigits);
    fprintf(f, "\n");
    fprintf(f, "\nSimilarity matrix (Gower index) between %d OTUs, based on %d phylogenetic "
               "variables:\n",
            tcst, nClados);
  }
  // The mirror stays in phylogenyRese: its lower triangle is overwritten.
  for (int i = 0; i < tcst; i++)
    for (int j = i + 1; j < tcst; j++) phylogenyRese[j][i] = phylogenyRese[i][j];
  PrintLowerHalfMatrixTab(f, tcst, phylogenyRese, sDigits);
}

void ReportPhylogeny(FILE* f, double** scores, int nPCoA, double** Q, double** P, double** DP) {
  if (printDetail == 1) {
    fprintf(f,
            "\nPCoA scores based on the phylogenetic resemblance matrix with %d OTUs by %d "
            "ordination dimensions: \n",
            tcst, nPCoA);
    PrintMatrix(f, tcst, nPCoA, scores, sDigits, 0);
  }
  if (phylogenyMatrixType == 2) {
    fprintf(f, "\nVariable types in the phylogeny matrix with %d OTUs by %d phylogenetic "
               "variables: \n",
            tcst, nClados);
    PrintVectorTab(f, nClados, phylogenyVarType, nullptr);
  }
  if (printDetail == 1) PhylogenyResemblance(f);
  fprintf(f, "\nPartition vector of %d OTUs in %d taxa:\n", tcst, nTaxa);
  PrintVectorTab(f, tcst, partition_OTUs_Phyl, nullptr);
  if (printDetail == 1) {
    fprintf(f,
            "\nFuzzy belonging of %d OTUs (rows) in %d taxa (columns) according to their "
            "phylogeny:\n",
            tcst, nTaxa);
    PrintMatrix(f, tcst, nTaxa, Q, sDigits, 0);
    fprintf(f, "\n");
  }
  fprintf(f,
          "\nPooled performance matrix P (%d communities x %d taxa) after fuzzy-weighting by the "
          "specified phylogeny:\n",
          ncsm, nTaxa);
  PrintMatrix(f, ncsm, nTaxa, P, sDigits, 0);
  fprintf(f, "\n");
  if (opt_ro == 1) {
    fprintf(f, "\nResemblance matrix (DP) between communities based on matrix P, the composition "
               "of OTUs weighted by their phylogeny:\n");
    PrintUpperAsLower(f, ncsm, DP);
  }
}

void ReportB(FILE* f, double** B) {
  if (printDetail != 1) return;
  fprintf(f, "\nTrait matrix B with %d OTUs by %d traits: \n", tcst, nch);
  PrintMatrix(f, tcst, nch, B, sDigits, 0);
  fprintf(f, "\n");
}

void ReportEnvironment(FILE* f, double** DE) {
  fprintf(f, "\nEcological variables (factors or effects):\t");
  for (int v = 0; v < nenv; v++) fprintf(f, "%s\t", envLabel[v]);
  fprintf(f, "\n");
  if (optCoVariable && nenv > 0)
    fprintf(f, "Effect of variable %s removed by partial Mantel correlation.\n", envLabel[nenv - 1]);
  fprintf(f, "\nMatrix E with ecological variables (%d communities x %d variables):\n", ncsm, nenv);
  if (env != nullptr && nenv > 0)
    PrintMatrix(f, ncsm, nenv, env, sDigits, 0);
  else
    for (int c = 0; c < ncsm; c++) fprintf(f, "\n");  // rows of no variable
  fprintf(f, "\n");
  if (opt_ro == 1) {
    fprintf(f, "Resemblance matrix (DE) between community sites based on ecological variables:\n");
    PrintUpperAsLower(f, ncsm, DE);
  }
}

void ReportTraitLabels(FILE* f, int* mask) {
  fprintf(f, "\nTraits:\t");
  for (int t = 0; t < nch; t++)
    if (mask[t] == 1) fprintf(f, "%s\t", chLabel[t]);
  fprintf(f, "\n");
}

void ReportT(FILE* f, double** T, int* mask, bool normalised) {
  if (!normalised) {
    ReportTraitLabels(f, mask);
    if (optUnitTotalAdjust1)
      fprintf(f, "\nMatrix T with trait averages at community level (%d communities x %d traits):\n",
              ncsm, nch);
    else
      fprintf(f, "\nMatrix T with trait totals at community level (%d communities x %d traits):\n",
              ncsm, nch);
  } else {
    fprintf(f,
            "\nMatrix T with normalized traits at community level (%d communities x %d traits "
            "adjusted to unit length):\n",
            ncsm, nch);
  }
  PrintMatrix(f, ncsm, nch, T, sDigits, 0);
  fprintf(f, "\n");
}

void ReportDT(FILE* f, double** DT) {
  if (opt_ro != 1) return;
  fprintf(f, "Resemblance matrix (DT) between communities based on selected traits:\n");
  PrintUpperAsLower(f, ncsm, DT);
}

void ReportSimilarity(FILE* f, double** S, int nTraitsUsed, int* mask, int nMono, double** trimmed) {
  ReportTraitLabels(f, mask);
  if (printDetail == 1) {
    fprintf(f, "\nSimilarity matrix between %d OTUs, based on %d traits:\n", tcst, nTraitsUsed);
    PrintUpperAsLower(f, tcst, S);
  }
  if (clusMethPoolCSTs != 0) {
    fprintf(f, "\nWith this trait subset there are %d monothetic types of OTUs.\n", nMono);
    if (printDetail == 1 && trimmed != nullptr) {
      fprintf(f, "\nSimilarity matrix between %d monothetic types, based on %d traits:\n", nMono,
              nTraitsUsed);
      PrintUpperAsLower(f, nMono, trimmed);
    }
  }
}

void ReportPartition(FILE* f, int g, int* monoLabels, int nMono, int* labels, int* distinct,
                     double** U, double** C) {
  if (clusMethPoolCSTs != 0) {
    fprintf(f, "\nPartition vector of %d OTUs in %d monothetic types:\n", tcst, nMono);
    PrintVectorTab(f, tcst, monoLabels, nullptr);
    fprintf(f, "\nPartition vector of %d OTUs in %d polythetic types:\n", tcst, g);
  } else {
    fprintf(f, "\nPartition vector of %d OTUs in %d specified types:\n", tcst, g);
  }
  PrintVectorTab(f, tcst, labels, nullptr);
  if (OTUsTypesAreSpecies) {
    fprintf(f, "\nThe types are species (# labels are used later in these results to identify the "
               "species) :\n");
    fprintf(f, "#\tSpecies\n");
    // The species name is taken by the type's position, as the report has always done.
    for (int k = 0; k < g; k++) fprintf(f, "%d\t%s\n", distinct[k], k < nSpp ? spp[k] : "");
  }
  if (printDetail == 1) {
    fprintf(f, "\nFuzzy degrees of belonging (matrix U) of %d OTUs (rows) in %d types (columns):\n",
            tcst, g);
    PrintMatrix(f, tcst, g, U, sDigits, 0);
    fprintf(f, "\n");
    fprintf(f, "\nCrisp degrees of belonging (matrix C) of %d OTUs (rows) in %d types (columns):\n",
            tcst, g);
    PrintMatrix(f, tcst, g, C, sDigits, 0);
    fprintf(f, "\n");
  }
  if (clusMethPoolCSTs == 0) {
    fprintf(f, "\nLabels of %d specified types:\n", g);
    PrintVectorTab(f, g, distinct, nullptr);
  }
}

void ReportTypeMatrices(FILE* f, int g, int* sizes, double** A, double** Xcrisp, double** X,
                        int* mask) {
  fprintf(f, "\nNumber of OTUs in each type:\n");
  PrintVectorTab(f, g, sizes, nullptr);
  fprintf(f, "\n");
  fprintf(f, "\nAverage trait matrix (%d types x %d traits):\n", g, nch);
  PrintMatrix(f, g, nch, A, sDigits, 0);
  fprintf(f, "\n");
  fprintf(f, "Pooled performance community matrix (%d communities x %d crisp types) without "
             "fuzzy-weighting by the selected traits.\n",
          ncsm, g);
  PrintMatrix(f, ncsm, g, Xcrisp, sDigits, 0);
  fprintf(f, "\n");
  if (fuzzy == 3) {
    fprintf(f, "Pooled performance matrix X (%d communities x %d types) after fuzzy-weighting by the "
               "selected traits.\n",
            ncsm, g);
    fprintf(f, "Traits:\t");
    for (int t = 0; t < nch; t++)
      if (mask[t] == 1) fprintf(f, "%s\t", chLabel[t]);
    fprintf(f, "\n");
    PrintMatrix(f, ncsm, g, X, sDigits, 0);
    fprintf(f, "\n");
  } else {
    fprintf(f, "\nPooled performance matrix X (%d communities x %d crisp types):\n", ncsm, g);
    PrintMatrix(f, ncsm, g, Xcrisp, sDigits, 0);
    fprintf(f, "\n");
  }
}

static void StatisticsTested(FILE* f, const double* s, const double* p) {
  fprintf(f,
          "\nStatistics and probabilities*:\nConvergence (TCAP): r(TE)=\t%g\tP=\t%g\nBoth TCAP and "
          "Divergence (TDAP): r(XE)=\t%g\tP=\t%g\nTDAP: r(XE.T)=\t%g\tP=\t%g\n",
          s[PT_rTE], p[PT_rTE], s[PT_rXE], p[PT_rXE], s[PT_rXE_T], p[PT_rXE_T]);
  fprintf(f,
          "Alpha divergence (correlation between environmental variables and Rao entropy): "
          "r(RE)=\t%g\tP=\t%g\nBeta divergence: r(XE.TR)=\t%g\tP=\t%g\n",
          s[PT_rRE], p[PT_rRE], s[PT_rXE_TR], p[PT_rXE_TR]);
  fprintf(f, "\nNumber of iterations for permutation tests: %d\n", niter);
  fprintf(f, "Random generator seed: %u\n", rseed);
  if (optRestrictPermutNullModel == 1) {
    fprintf(f, "Permutations of OTUs: Restricted within the following groups:\nNesting groups for "
               "%d OTUs:\t",
            tcst);
    if (nestingMembershipOTUs != nullptr) PrintVectorTab(f, tcst, nestingMembershipOTUs, nullptr);
  } else if (optRestrictPermutNullModel == 0) {
    fprintf(f, "Permutations of OTUs: Unrestricted\n");
  }
  if (opt_ro == 1) {
    if (twoTailedTestMantel)
      fprintf(f, "Permutation tests generated TWO-tailed p-values based on Mantel correlations.\n");
    else
      fprintf(f, "Permutation tests generated ONE-tailed p-values based on Mantel correlations, "
                 "except for partial correlations, which are always two-tailed tests.\n");
  }
}

static void StatisticsUntested(FILE* f, const double* s) {
  fprintf(f,
          "\nStatistics:\nConvergence (TCAP): r(TE)=\t%g\nBoth TCAP and TDAP: r(XE)=\t%g\nDivergence "
          "(TDAP): r(XE.T)=\t%g\n",
          s[PT_rTE], s[PT_rXE], s[PT_rXE_T]);
  fprintf(f,
          "Alpha divergence (correlation between environmental variables and Rao entropy): "
          "r(RE)=\t%g\nBeta divergence: r(XE.TR)=\t%g\n",
          s[PT_rRE], s[PT_rXE_TR]);
}

static void TypeCounts(FILE* f, int g, int* sizes, int* mask) {
  if (fuzzy == 3) fprintf(f, "\nNumber of fuzzy types:\t%d\nTraits:\t", g);
  if (fuzzy == 0) fprintf(f, "\nNumber of crisp types:\t%d\nTraits:\t", g);
  for (int t = 0; t < nch; t++)
    if (mask[t] == 1) fprintf(f, "%-2s\t", chLabel[t]);
  fprintf(f, "\nNumber of OTUs in each type:\t");
  for (int k = 0; k < g; k++) fprintf(f, "%d\t", sizes[k]);
  fprintf(f, "\n");
}

static void PhylogenyTested(FILE* f, const double* s, const double* p) {
  fprintf(f, "\nPhylogenetic signal at OTU (species) level ro(BF) = \t%g\tP=\t%g", s[PT_roBF],
          p[PT_roBF]);
  fprintf(f, "\n\nPhylogenetically structured assembly patterns (PSAP):\n");
  fprintf(f, "Correlation of PSAP to ecological variables: ro(PE)=\t%g\tP=\t%g\n", s[PT_roPE],
          p[PT_roPE]);
  fprintf(f, "Correlation of PSAP to TCAP: ro(PT)=\t%g\tP=\t%g\n", s[PT_roPT], p[PT_roPT]);
  fprintf(f, "Correlation of PSAP to both TCAP and TDAP: ro(PX)=\t%g\tP=\t%g\n", s[PT_roPX],
          p[PT_roPX]);
  fprintf(f, "Correlation of PSAP to TDAP: ro(PX.T)=\t%g\tP=\t%g\n", s[PT_roPX_T], p[PT_roPX_T]);
  fprintf(f,
          "Removing phylogeny from TCAP: ro(TE.P)=\t%g\tP=\t%g\nRemoving phylogeny from both TCAP "
          "and TDAP: ro(XE.P)=\t%g\tP=\t%g\nRemoving phylogeny from TDAP: ro(XE.TP)=\t%g\tP=\t%g\n",
          s[PT_roTE_P], p[PT_roTE_P], s[PT_roXE_P], p[PT_roXE_P], s[PT_roXE_TP], p[PT_roXE_TP]);
  fprintf(f,
          "Removing TCAP from phylogeny: ro(PE.T)=\t%g\tP=\t%g\nRemoving TCAP and TDAP from "
          "phylogeny: ro(PE.X)=\t%g\tP=\t%g\n",
          s[PT_roPE_T], p[PT_roPE_T], s[PT_roPE_X], p[PT_roPE_X]);
  fprintf(f,
          "Alpha divergence (correlation between environmental variables and Rao entropy based on "
          "phylogeny): r(FE)=\t%g\tP=\t%g\n",
          s[PT_rFE], p[PT_rFE]);
}

static void PhylogenyUntested(FILE* f, const double* s) {
  fprintf(f, "\nPhylogenetic signal at OTU (species) level ro(BF) = \t%g", s[PT_roBF]);
  fprintf(f, "\n\nPhylogenetically structured assembly patterns (PSAP):\n");
  fprintf(f, "\nCorrelation of PSAP to ecological variables: ro(PE)=\t%g", s[PT_roPE]);
  fprintf(f,
          "\nCorrelation of PSAP to TCAP (phylogenetic signal at metacommunity level): ro(PT)=\t%g",
          s[PT_roPT]);
  fprintf(f,
          "\nCorrelation of PSAP to both TCAP and TDAP (phylogenetic signal at metacommunity level): "
          "ro(PX)=\t%g",
          s[PT_roPX]);
  fprintf(f, "\nCorrelation of PSAP to TDAP: ro(PX.T)=\t%g", s[PT_roPX_T]);
  fprintf(f,
          "\nRemoving phylogeny from TCAP: ro(TE.P)=\t%g\nRemoving phylogeny from both TCAP and "
          "TDAP: ro(XE.P)=\t%g\nRemoving phylogeny from TDAP: ro(XE.TP)=\t%g",
          s[PT_roTE_P], s[PT_roXE_P], s[PT_roXE_TP]);
  fprintf(f,
          "\nRemoving TCAP from phylogeny: ro(PE.T)=\t%g\nRemoving TCAP and TDAP from phylogeny: "
          "ro(PE.X)=\t%g\n",
          s[PT_roPE_T], s[PT_roPE_X]);
  fprintf(f,
          "Alpha divergence (correlation between environmental variables and Rao entropy based on "
          "phylogeny): r(FE)=\t%g\n",
          s[PT_rFE]);
}

static void TestFootnotes(FILE* f, time_t time0) {
  if (!includePhylogeny) {
    fprintf(f, "\n(*)Probability of finding more extreme correlations involving matrices T and X, "
               "and vector R, under null model described in Morant et al. (2009).\n");
    fprintf(f, "Null model involved permutation among OTUs vectors in matrix B, keeping fixed the "
               "community matrix W and environmental matrix E.\n");
  } else {
    fprintf(f, "\n(*)Probability of finding more extreme correlations involving matrices T, X and "
               "P, and vector R, under null models described in Morant et al. (2009) and Morant & "
               "Velder (2010).\n");
    fprintf(f, "Null model involved (1) permutation among OTUs vectors in matrix B for those "
               "correlations involving matrices T and X and vector R, (2) permutation among "
               "vectors in matrix Q for those correlations involving matrix P (ro(PE), ro(PT) and "
               "ro(PE.X)), and (3) identical permutation among row vectors in both matrices U and "
               "Q, for ro(PX) and ro(PX.T). Matrix W and environmental matrix E are not "
               "permuted.\n");
  }
  if (optWeightedNullModel)
    fprintf(f, "Probability of an OTU occurring in a community was weighted by its frequency in the "
               "community set.\n");
  else
    fprintf(f, "Probability of an OTU occurring in a community was NOT weighted by its frequency "
               "in the community set.\n");
  fprintf(f, "Elapsed time for the test(s): %g seconds\n", difftime(time(nullptr), time0));
}

void ReportStatistics(FILE* f, const double* stats, const double* probs, bool tested, int g,
                      int* sizes, int* mask, time_t time0) {
  if (opt_ro == 1)
    fprintf(f, "\nThe statistics shown below are matrix (Mantel) correlations.\n");
  else if (opt_ro == 2)
    fprintf(f, "\nThe statistics shown below are Procrustes correlations (traceW).\n");
  else if (opt_ro == 3)
    fprintf(f, "\nThe statistics shown below are RV coefficients (Escoufier 1973).\n");
  if (tested)
    StatisticsTested(f, stats, probs);
  else
    StatisticsUntested(f, stats);
  TypeCounts(f, g, sizes, mask);
  if (includePhylogeny) {
    if (tested)
      PhylogenyTested(f, stats, probs);
    else if (opt_ro == 1)
      PhylogenyUntested(f, stats);
  }
  if (tested) TestFootnotes(f, time0);
}

void ReportDiversity(FILE* f, double* D, double* Rf, double* FR, double* Rp, double* PR) {
  fprintf(f, "\n\nFUNCTIONAL DIVERSITY");
  fprintf(f, "\nGini-Simpson index (D) within each community (equivalent to Rao quadratic entropy "
             "with null, crisp, similarities):\n");
  PrintVectorTab(f, ncsm, D, sDigits, nullptr);
  if (sqrtDissimOpt_RaoTraits)
    fprintf(f, "\nRao quadratic entropy within each community, considering trait dissimilarities "
               "[D=sqrt(1-GowerIndex)] between OTUs (Rf):\n");
  else
    fprintf(f, "\nRao quadratic entropy within each community, considering trait dissimilarities "
               "[D=1-GowerIndex] between OTUs (Rf):\n");
  PrintVectorTab(f, ncsm, Rf, sDigits, nullptr);
  fprintf(f, "\nFunctional redundancy in each community (FR = D-Rf):\n");
  PrintVectorTab(f, ncsm, FR, sDigits, nullptr);
  if (includePhylogeny) {
    fprintf(f, "\n\nPHYLOGENETIC DIVERSITY");
    // The wording [D= sqrt(1-S)] stands whatever root option was chosen.
    if (phylogenyMatrixType == 1)
      fprintf(f, "\nRao quadratic entropy (Rp) within each community, considering phylogenetic "
                 "dissimilarities obtained by transformation of input similarities [D= sqrt(1-S)] "
                 "between OTUs:\n");
    else
      fprintf(f, "\nRao quadratic entropy (Rp) within each community, considering phylogenetic "
                 "dissimilarities between OTUs:\n");
    PrintVectorTab(f, ncsm, Rp, sDigits, nullptr);
    fprintf(f, "\nPhylogenetic redundancy in each community (PR = D-Rp):\n");
    PrintVectorTab(f, ncsm, PR, sDigits, nullptr);
  }
  bool someOut = false;
  for (int i = 0; i < tcst; i++)
    if (weight_OTUs[i] < 1) someOut = true;
  if (someOut) {
    fprintf(f, "\nOTUs weights (zero ones not considered in the computation of Rao entropy, Simpson "
               "diversity, and matrices T, X and P):\n");
    for (int i = 0; i < tcst; i++) fprintf(f, "%d\t", weight_OTUs[i]);
    if (restrictRaoWithinOpt)
      fprintf(f, "\nRao entropy RESTRICTED to dissimilarities WITHIN subset of selected OTUs.\n");
    else
      fprintf(f, "\nRao entropy included dissimilarities WITHIN subset of selected OTUs and also "
                 "BETWEEN selected and unselected subsets of OTUs.\n");
  } else {
    fprintf(f, "\nAll OTUs were equally considered in the computation of Rao entropy, Simpson "
               "diversity, and matrices T, X and P.\n");
  }
}

// Simulation results: the report of each data set, the data files for a session, the tests of each set and the rejection rates.
#include "simulation/simulation.h"

#include <cstring>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibRese.h"
#include "TarnLib/tarnlibStats.h"
#include "TarnLib/tarnlibTables.h"
#include "permutation/permCorrel.h"
#include "scaling/settings.h"
#include "scaling/similarity.h"
#include "scaling/smoothing.h"
#include "session/session.h"
#include "shell/preferences.h"
#include "shell/shell.h"
#include "session/track.h"

// The phrase shared by the four recorded vectors of the per-set report.
static void PrintRecordedHeading(FILE* fp, const char* what, const char* when) {
  fprintf(fp,
          "\n%s (%s step %d, when either %g of the average maximum number of individuals per "
          "community or %g of the specified maximum number of individual colonization/extinction "
          "iterations were reached):\n",
          what, when, simRecordingStep, simThreshold, simThreshold);
}

static void PerSetParameters(FILE* fp) {
  int N = simOTUs;
  if (simTraitInput != 't') {
    // One new line more than the same heading elsewhere.
    fprintf(fp, "\n");
    PrintStandardizedTraits(fp, kZScoresHeading);
  }
  if (simKernelInput == 'r') {
    fprintf(fp,
            "\nRandomly generated long-distance seed dispersal probabilities and local seed dispersal "
            "kernel parameters (%d OTUs, with probability, and slope and center of the logistic "
            "function):\n",
            N);
    PrintMatrixTab(fp, N, 3, simKernel, sDigits);
  }
  if (simCoordInput == 'r') {
    fprintf(fp, "\nSpecified site coordinates (2 x %d community sites):\n", simSites);
    PrintMatrixTab(fp, 2, simSites, simCoord, sDigits);
  }
  if (simSurvivalInput == 'r') {
    fprintf(fp,
            "\nRandomly generated parameters (slope and center) of the logistic function relating "
            "probability of survival to distance between OTU traits and expected community traits "
            "for %d OTUs:\n",
            N);
    PrintMatrixTab(fp, N, 2, simSurvival, sDigits);
  }
  if (simDensityInput == 'r') {
    fprintf(fp,
            "\nRandomly generated density dependence parameters for %d OTUs, with slope and center of "
            "the logistic function:\n",
            N);
    PrintMatrixTab(fp, N, 2, simDensity, sDigits);
  }
}

void WritePerSetReport(int set) {
  int S = simSites, N = simOTUs, m = simTraits, last = simMaxIter;
  FILE* fp = OpenSimFile(simReportName, "a");
  fprintf(fp, "\n\nSIMULATED DATA %d", set);
  PerSetParameters(fp);
  fprintf(fp, "\nCommunity data matrix at step %d, for %d community sites in rows and %d OTUs in columns:\n",
          last, S, N);
  PrintMatrixTab(fp, S, N, simCommunity, sDigits);
  fprintf(fp, "\nAbundance in each community:\n");
  PrintVectorTab(fp, S, simSiteAbundance);
  fprintf(fp, "Total abundance:\t%d\n", simTotalAbundance);
  PrintRecordedHeading(fp, "OTU richness in each community", "at");
  PrintVectorTab(fp, S, simRichness);
  // The totals row as it stands at the end, not at the recording step.
  PrintRecordedHeading(fp, "Abundance of each OTU in the metacommunity", "at");
  PrintVectorTab(fp, N, simCommunity[S], sDigits);
  PrintRecordedHeading(fp, "Total number of OTU extinctions in each community", "after");
  PrintVectorTab(fp, S, simExtinctions);
  PrintRecordedHeading(fp, "Total number of OTU colonizations in each community", "after");
  PrintVectorTab(fp, S, simColonisations);
  fprintf(fp, "\nEcosystem data matrix at step %d (%d ecosystem variables in rows and %d community sites in columns):\n",
          last, simFactors, S);
  PrintMatrixTab(fp, simFactors, S, simE, sDigits);
  fprintf(fp,
          "\nExpected community weighted means (CWM) at step %d, standardized to Z scores according to "
          "mean and standard deviations in the trait matrix, for %d traits in rows and %d community "
          "sites in columns:\n",
          last, m, S);
  PrintMatrixTab(fp, m, S, simExpected, sDigits);
  fprintf(fp,
          "\nAmount of extrapolation (if any, when positive was larger than the maximum, when negative "
          "was smaller than the minimum trait value) at step %d, based on standardized to Z scores "
          "according to mean and standard deviations in the trait matrix, for %d traits in rows and %d "
          "community sites in columns:\n",
          last, m, S);
  PrintMatrixTab(fp, m, S, simExtrapolation, sDigits);
  CloseSimFile(fp);
}

void WriteDataFiles() {
  int S = simSites, N = simOTUs, m = simTraits;
  if (simDataSets <= 2) {
    FILE* fp = OpenSimFile("B_Simulated.txt", "w");
    PrintMatrixTab(fp, N, m, simB, sDigits);
    // The values are Z scores whatever the line says; it stays as it is.
    fprintf(fp, "Trait data (not standardized, %d OTUs in rows and %d traits in columns):\n", N, m);
    CloseSimFile(fp);
    fp = OpenSimFile("W_Simulated.txt", "w");
    PrintMatrixTab(fp, S, N, simCommunity, sDigits);
    fprintf(fp, "\nCommunity data matrix at final step %d, for %d community sites in rows and %d OTUs in columns:\n",
            simMaxIter, S, N);
    fprintf(fp, "\nAbundance in each community:\n");
    PrintVectorTab(fp, S, simSiteAbundance);
    fprintf(fp, "Total abundance:\t%d\n", simTotalAbundance);
    CloseSimFile(fp);
    fp = OpenSimFile("E_Simulated.txt", "w");
    PrintMatrixTab(fp, simFactors, S, simE, sDigits);
    fprintf(fp, "\nEcosystem data matrix at final step %d (%d ecosystem variables in rows and %d community sites in columns):\n",
            simMaxIter, simFactors, S);
    CloseSimFile(fp);
    fp = OpenSimFile("TraitTypes_Simulated.txt", "w");
    for (int t = 0; t < m; t++) fprintf(fp, "3\t");
    CloseSimFile(fp);
  }
  FILE* fp = OpenSimFile("OTUs_Simulated.txt", "w");
  for (int o = 0; o < N; o++) fprintf(fp, "%d\n", o + 1);
  CloseSimFile(fp);
}

bool RejectsHo(double probability, double alpha) {
  // A probability equal to alpha within one float step rejects.
  return AlmostEqual2sComplement(probability, alpha, 1) || alpha > probability;
}

// Steps 5 to 8: weights, belonging, smoothing, the selected predictors and
// the resemblance matrices of the communities.
static void PrepareTestInputs() {
  int S = simSites, N = simOTUs, m = simTraits, p = simPredictors;
  for (int t = 0; t < m; t++) {
    simTraitWeights[t] = (int)weight[t];
    simWeightsF[t] = (float)weight[t];
    chtype[t] = 3;
  }
  // The partition asked by the dialogue isn't used: each OTU is its own type.
  if (fuzzy == 3) {
    GowerMV(N, m, chtype, simB, simSb, nullptr, simWeightsF);
    FuzzyBelonging(N, N, simSb, nullptr, simU, false);
  } else {
    CrispBelonging(N, N, nullptr, simU);
  }
  UnitSumRowsAdjMV(S, N, simW, simCommunity);
  BealsSmoothing(S, N, simW, simW, simY, BealsIncludeOpt != 0, 1);
  BealsSmoothing(S, N, simW, simW, simZ, BealsIncludeOpt != 0, 2);
  for (int s = 0; s < S; s++) {
    memset(simEsel[s], 0, sizeof(double) * (size_t)p);
    for (int k = 0; k < p; k++)
      if (simPredictorFlags[k] == 1) simEsel[s][k] = simE[k][s];
  }
  CorrAdj(S, p, simEsel, simEsel);
  EucliDist(S, p, simEsel, simDE);
  NominalReseNonHier(S, N, simY, simDY, rese_opt);
  NominalReseNonHier(S, N, simZ, simDZ, rese_opt);
}

// Trait numbers and weights, predictor numbers, then `flagsHeading` and the
// predictor flags.
static void PrintWeights(FILE* fp, const char* flagsHeading) {
  fprintf(fp, "\nTraits:       ");
  for (int t = 0; t < simTraits; t++) fprintf(fp, "\t%d", t + 1);
  fprintf(fp, "\nTrait weights:");
  for (int t = 0; t < simTraits; t++) fprintf(fp, "\t%g", weight[t]);
  fprintf(fp, "\nEcosystem variables (and their interactions if included): ");
  PrintPredictorNumbers(fp, "\t%d", "\t%dx%d ");
  fprintf(fp, "%s", flagsHeading);
  for (int k = 0; k < simPredictors; k++) fprintf(fp, "\t%d", simPredictorFlags[k]);
}

// The eleven statistics in the test's order, as the reports label them.
enum { kXE, kTE, kXE_T, kRE, kXE_TR, kTY, kTZ, kXY, kXZ, kXY_T, kXZ_T, kNumStats };

static void WriteSetStatistics(const double* stat, const double* prob) {
  int S = simSites, m = simTraits, last = simMaxIter;
  FILE* fp = OpenSimFile(simReportName, "a");
  fprintf(fp, "\nCommunity weighted means at final step %d, for %d traits in rows and %d community sites in columns:\n",
          last, m, S);
  for (int t = 0; t < m; t++) {
    for (int s = 0; s < S; s++) fprintf(fp, "%.*g\t", sDigits, simTout[s][t]);
    fprintf(fp, "\n");
  }
  fprintf(fp, "\nRao entropy at final step %d, for %d community sites:\n", last, S);
  PrintVectorTab(fp, S, simRout, sDigits);
  PrintWeights(fp, "\nEcosystem variable weights:                              ");
  fprintf(fp,
          "\n\nStatistics and probabilities:\nConvergence (TCAP): r(TE)=\t%g\tP=\t%g\nBoth TCAP and "
          "Divergence (TDAP): r(XE)=\t%g\tP=\t%g\nTDAP: r(XE.T)=\t%g\tP=\t%g\n",
          stat[kTE], prob[kTE], stat[kXE], prob[kXE], stat[kXE_T], prob[kXE_T]);
  fprintf(fp,
          "Alpha divergence (correlation between ecosystem variables and Rao entropy): "
          "r(RE)=\t%g\tP=\t%g\nBeta divergence: r(XE.TR)=\t%g\tP=\t%g\n",
          stat[kRE], prob[kRE], stat[kXE_TR], prob[kXE_TR]);
  fprintf(fp,
          "\nCorrelations with Beals smoothed community matrix (Y) considering OTU's co-occurences "
          "weighted by their abundances:\n");
  fprintf(fp, "r(TY)=\t%g\tP=\t%g\n", stat[kTY], prob[kTY]);
  fprintf(fp, "r(XY)=\t%g\tP=\t%g\n", stat[kXY], prob[kXY]);
  fprintf(fp, "r(XY_T)=\t%g\tP=\t%g\n", stat[kXY_T], prob[kXY_T]);
  fprintf(fp,
          "\nCorrelations with fuzzy-weighted smoothed community matrix (Z) considering OTU's "
          "cross-products based on their abundances:\n");
  fprintf(fp, "r(TZ)=\t%g\tP=\t%g\n", stat[kTZ], prob[kTZ]);
  fprintf(fp, "r(XZ)=\t%g\tP=\t%g\n", stat[kXZ], prob[kXZ]);
  fprintf(fp, "r(XZ_T)=\t%g\tP=\t%g\n", stat[kXZ_T], prob[kXZ_T]);
  CloseSimFile(fp);
}

void EvaluateDataSet() {
  PrepareTestInputs();
  PermTest_FunctionalPhyl_Correl_Input in;
  memset(&in, 0, sizeof in);
  in.niter = simPermutations;
  in.nTraits = simTraits;
  in.traitMask = simTraitWeights;
  in.nOTUs = simOTUs;
  in.nTypes = simOTUs;
  in.nTaxa = nTaxa;
  in.nEnv = simPredictors;
  in.nCommunities = simSites;
  in.B = simB;
  in.Sb = simSb;
  in.E = simEsel;
  in.U = simU;
  in.W = simW;
  in.DE = simDE;
  in.DY = simDY;
  in.DZ = simDZ;
  in.Y = simY;
  in.Z = simZ;
  in.rese_opt = rese_opt;
  in.opt_ro = opt_ro;
  in.overfitFactorPCARegr = overfitFactorPCARegr;
  in.restrictPermutations = optRestrictPermutNullModel;
  in.nestingMembership = nestingMembershipOTUs;
  in.sqrtDissimTraits = true;
  in.keepObserved = true;
  // The simulated data are always tested under the taxa shuffle.
  in.taxaSiteShuffle = 't';
  in.twoTailed = twoTailedTestMantel != 0;
  in.Tout = simTout;
  in.Xout = simXout;
  in.Rout = simRout;
  for (int o = 0; o < simOTUs; o++) simOTUWeights[o] = 1;
  in.weightOTUs = simOTUWeights;
  in.restrictRao = false;
  in.detailFile = nullptr;  // nothing is written: saveDetail is false
  PermTest_FunctionalPhyl_Correl(&in);
  for (int k = 0; k < kNumStats; k++)
    if (RejectsHo(in.probabilities[k], simAlpha)) simRejections[k] += 1.0;
  if (simPerSetReport) WriteSetStatistics(in.statistics, in.probabilities);
}

static void FinalSettingsBlock(FILE* fp, double elapsed) {
  int m = simTraits, f = simFactors;
  if (simTraitInput == 'b')
    fprintf(fp, "\nSpecified correlation matrix between OTUs (%d OTUs x %d OTUs, file %s): \n", simOTUs,
            simOTUs, simOTUCorrFile);
  if (simTraitInput != 't')
    fprintf(fp, "\nSpecified trait correlation matrix (%d traits x %d traits, file %s): \n", m, m, simTraitFile);
  fprintf(fp, "\nInitial ecosystem conditions (%d factors x %d sites, file %s).\n", f, simSites, simEnvFile);
  PrintModelParameters(fp, "double interactions");
  fprintf(fp, "Specified maximum average number of individuals per community:\t%d\n", simCapacity);
  fprintf(fp, "Number of simulated data sets:\t%d\n", simDataSets);
  fprintf(fp, "Number of random permutations in each test:\t%d\n", simPermutations);
  fprintf(fp, "Alpha threshold for Ho rejection:\t%g\n", simAlpha);
  fprintf(fp, "Random generator seed: %u\n", rseed);
  fprintf(fp, "Elapsed time (seconds): %g\n", elapsed);
  // A clipped form of the per-set heading of the flags; kept as the report has it.
  PrintWeights(fp, "\neights:                                                  ");
}

void WriteFinalReport(double elapsed) {
  FILE* fp = OpenSimFile(simReportName, "a");
  fprintf(fp, "\n%s\n", lineL);
  fprintf(fp, "SIMULATION OF COMMUNITY ASSEMBLY\n");
  fprintf(fp, "FINAL RESULTS\n");
  fprintf(fp, "%s\n", version);
  TimeStamp(fp);
  fprintf(fp, "%s\n", lineL);
  if (simPerSetReport) FinalSettingsBlock(fp, elapsed);
  double share[kNumStats];
  for (int k = 0; k < kNumStats; k++) share[k] = simRejections[k] / simDataSets;
  fprintf(fp,
          "\n\nPROBABILITIES OF Ho REJECTION (type I error or power depending on the specified model "
          "context) based on %d tests using %d permutations each:",
          simDataSets, simPermutations);
  fprintf(fp,
          "\nConvergence (TCAP): r(TE)\tP=\t%g\nBoth TCAP and Divergence (TDAP): r(XE)\tP=\t%g\nTDAP: "
          "r(XE.T)\tP=\t%g\n",
          share[kTE], share[kXE], share[kXE_T]);
  fprintf(fp, "Correlation function between matrices: \t%s\n", opt_roInfo[opt_ro - 1]);
  if (opt_ro == 2 || opt_ro == 3)
    fprintf(fp,
            "Factor (f) for limiting the number of predictors in PCA regression in relation to sample "
            "size n (number of predictors = n/f): %g\n",
            overfitFactorPCARegr);
  fprintf(fp,
          "Alpha divergence (correlation between ecosystem variables and Rao entropy): "
          "r(RE)\tP=\t%g\nBeta divergence: r(XE.TR)\tP=\t%g\n",
          share[kRE], share[kXE_TR]);
  const char* beals = BealsIncludeOpt != 0
                          ? "(abundance of target OTU included in its own estimation):\n"
                          : "(abundance of target OTU NOT included in its own estimation):\n";
  fprintf(fp,
          "\nCorrelations with Beals smoothed community matrix (Y) considering OTU's co-occurences "
          "weighted by their abundances %s",
          beals);
  fprintf(fp, "r(TY)\tP=\t%g\n", share[kTY]);
  fprintf(fp, "r(XY)\tP=\t%g\n", share[kXY]);
  fprintf(fp, "r(XY_T)\tP=\t%g\n", share[kXY_T]);
  fprintf(fp,
          "\nCorrelations with fuzzy-weighted smoothed community matrix (Z) considering OTU's "
          "cross-products based on their abundances %s",
          beals);
  fprintf(fp, "r(TZ)\tP=\t%g\n", share[kTZ]);
  fprintf(fp, "r(XZ)\tP=\t%g\n", share[kXZ]);
  fprintf(fp, "r(XZ_T)\tP=\t%g\n", share[kXZ_T]);
  CloseSimFile(fp);
}

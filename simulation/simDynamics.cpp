// Simulation dynamics: set-up of a data set, colonisation, habitat filter, density dependence, mortality and environmental feedback.
// Every random number comes from the program's generator r, in the order
// written here, so that a seed reproduces a run.
#include "simulation/simulation.h"

#include <climits>
#include <cstring>

#include <gsl/gsl_rng.h>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibEigen.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibStats.h"
#include "TarnLib/tarnlibTables.h"
#include "scaling/community.h"
#include "shell/console.h"
#include "shell/preferences.h"
#include "shell/shell.h"

// One value of a generated parameter between the two answers.
static double Between(double first, double second) {
  return gsl_rng_uniform(r) * (second - first) + first;
}

// Slopes of all OTUs, then centers of all OTUs, into columns col0, col0 + 1.
static void DrawParameters(double** m, int col0, const double* range) {
  for (int o = 0; o < simOTUs; o++) m[o][col0] = Between(range[0], range[1]);
  for (int o = 0; o < simOTUs; o++) m[o][col0 + 1] = Between(range[2], range[3]);
}

// Traits generated from correlations, as Z scores.
static void GenerateTraits() {
  int N = simOTUs, m = simTraits;
  if (simTraitInput == 'c')
    CorrToData_New(N, m, simTraitCorr, simB, simTraitDistribution);
  else
    CorrToData_BothRowsColumns(N, m, simTraitCorr, simOTUCorr, simB, simTraitDistribution);
  if (simSaveIntermediate) {
    fprintf(simTraitDataFp, "\nTrait data (not standardized, %d OTUs in rows and %d traits in columns):\n", N, m);
    PrintMatrixTab(simTraitDataFp, N, m, simB, sDigits);
  }
  PrepareTraits(N, m, simB, simTraitMeans, simTraitSDs, simTraitMin, simTraitMax);
  if (simSaveIntermediate) PrintStandardizedTraits(simTraitDataFp, kZScoresHeading);
}

// The density dependence function of OTU o at abundance x.
static double DensityLogistic(int o, double x) {
  return Logistic(x, 0.0, simCapacity, 0.0, 1.0, simDensity[o][0], simDensity[o][1]);
}

void SetUpDataSet(int set) {
  (void)set;
  int S = simSites, N = simOTUs, f = simFactors;
  if (simTraitInput != 't') GenerateTraits();
  if (simKernelInput == 'r') {
    DrawParameters(simKernel, 1, simKernelRange);
    for (int o = 0; o < N; o++)
      simKernel[o][0] = Logistic(1.0, 0.0, 1.0, simMinLongDistance, 1.0, simKernel[o][1], simKernel[o][2]);
  }
  if (simCoordInput == 'r')
    for (int row = 0; row < 2; row++)
      for (int s = 0; s < S; s++) simCoord[row][s] = gsl_rng_uniform(r) * 100.0;
  SiteDistances(S, simCoord, simCoordT, simDist);
  if (simEnvInput == 'c') {
    CorrToData_New(S, f, simFactorCorr, simEnvTemp, simEnvDistribution);
    for (int k = 0; k < f; k++)
      for (int s = 0; s < S; s++) simE[k][s] = simEnvTemp[s][k];
    ZStandardizationRowsMV(f, S, simE, simE);
    if (simInteractions) FormInteractions(f, S, simE);
  }
  if (simSurvivalInput == 'r') DrawParameters(simSurvival, 0, simSurvivalRange);
  if (simDensityInput == 'r') DrawParameters(simDensity, 0, simDensityRange);
  for (int s = 0; s <= S; s++) memset(simCommunity[s], 0, sizeof(double) * (size_t)N);
  for (int s = 0; s < S; s++) simSiteAbundance[s] = simRichness[s] = simExtinctions[s] = simColonisations[s] = 0;
  if (simEnvInput == 'e') CopyMatrix(simPredictors, S, simEInit, simE);
  // The ends of the kernel and density functions change only with the data set.
  for (int o = 0; o < N; o++) {
    double p0 = simKernel[o][0];
    simLogisticEnds[o][0] = Logistic(0.0, 0.0, 1.0, p0, 1.0, simKernel[o][1], simKernel[o][2]);
    simLogisticEnds[o][1] = Logistic(1.0, 0.0, 1.0, p0, 1.0, simKernel[o][1], simKernel[o][2]);
    simLogisticEnds[o][2] = DensityLogistic(o, 0.0);
    simLogisticEnds[o][3] = DensityLogistic(o, simCapacity);
  }
  simTotalAbundance = 0;
  simRecording = false;
  simRecordingStep = 0;
  simStepsToCapacity = simMaxIter;
}

// Steps 2 to 4: the niche of each site and the survival probabilities.
static void NicheAndSurvival() {
  int S = simSites, N = simOTUs, m = simTraits;
  MatrixProdMV(m, simPredictors, simPredictors, S, simResponse, simE, simExpected);
  ZStandardizationRowsMV(m, S, simTraitMeans, simTraitSDs, simExpected, simExpected);
  for (int s = 0; s < S; s++)
    for (int o = 0; o < N; o++) {
      double sum = 0.0;
      for (int t = 0; t < m; t++)
        if (simConsidered[t] == 1) {
          double d = simB[o][t] - simExpected[t][s];
          sum += d * d;
        }
      simNicheDist[s][o] = sum;  // squared on purpose
    }
  double dMax = MatrixMax(S, N, simNicheDist);
  for (int o = 0; o < N; o++) {
    double slope = simSurvival[o][0], center = simSurvival[o][1];
    double atMax = Logistic(dMax, 0.0, dMax, 0.0, 1.0, slope, center);
    double atZero = Logistic(0.0, 0.0, dMax, 0.0, 1.0, slope, center);
    for (int s = 0; s < S; s++)
      simSurvivalProb[s][o] =
          (Logistic(simNicheDist[s][o], 0.0, dMax, 0.0, 1.0, slope, center) - atMax) / (atZero - atMax);
  }
}

static void RecordRichness(int t) {
  double total = simTotalAbundance, capacity = (double)simThreshold * simCapacity * simSites;
  if (simRecording || !(total > capacity || (double)t > simThreshold * simMaxIter)) return;
  for (int s = 0; s < simSites; s++) {
    simRichness[s] = 0;
    for (int o = 0; o < simOTUs; o++)
      if (simCommunity[s][o] > 0) simRichness[s]++;
  }
  simRecording = true;
  simRecordingStep = t;
}

// Probability that OTU o reaches site s where it is absent.
static bool Arrives(int s, int o) {
  if (simCommunity[s][o] > 0) return true;  // local recruitment, no draw
  double p0 = simKernel[o][0];
  if (simCommunity[simSites][o] == 0) return p0 > gsl_rng_uniform(r);
  double d = 1.0;
  for (int k = 0; k < simSites; k++)
    if (simCommunity[k][o] > 0 && simDist[s][k] < d) d = simDist[s][k];
  double at0 = simLogisticEnds[o][0], at1 = simLogisticEnds[o][1];
  double p = (1.0 - p0) * (Logistic(d, 0.0, 1.0, p0, 1.0, simKernel[o][1], simKernel[o][2]) - at1) / (at0 - at1) + p0;
  return p > gsl_rng_uniform(r);
}

static void Colonisation() {
  simNetChange = 0;
  for (int s = 0; s < simSites; s++) {
    int o = (int)gsl_rng_uniform_int(r, (unsigned long)simOTUs);
    if (!Arrives(s, o)) continue;
    if (!(simSurvivalProb[s][o] > gsl_rng_uniform(r))) continue;
    double atK = simLogisticEnds[o][3];
    double p = (DensityLogistic(o, simSiteAbundance[s]) - atK) / (simLogisticEnds[o][2] - atK);
    if (!(p > gsl_rng_uniform(r))) continue;
    simCommunity[s][o] += 1.0;
    simCommunity[simSites][o] += 1.0;
    simSiteAbundance[s]++;
    simTotalAbundance++;
    simNetChange++;
    if (simRecording && simCommunity[s][o] == 1.0) simColonisations[s]++;
  }
}

// Mortality; returns the number of deaths.
static int Mortality(int t) {
  int T = simStepsToCapacity > 0 && simStepsToCapacity < simMaxIter - t ? simStepsToCapacity : simMaxIter;
  double rate = 1.0 / T;
  int deaths = 0;
  for (int s = 0; s < simSites; s++) {
    if (simSiteAbundance[s] <= 0) continue;
    for (int o = 0; o < simOTUs; o++) {
      // The rates of an absent OTU would be drawn against by nobody.
      if (!(simCommunity[s][o] > 0)) continue;
      double A = simSiteAbundance[s];
      double m1 = (1.0 - simSurvivalProb[s][o]) * rate;
      double m2 = (1.0 - (DensityLogistic(o, A) + 1.0 - simLogisticEnds[o][2])) * rate;
      // i rises while the abundance falls, so not every individual gets its
      // turn: intended, the draws of a run depend on it.
      for (int i = 1;; i++) {
        if (m1 > gsl_rng_uniform(r) && m2 > gsl_rng_uniform(r)) {
          simCommunity[s][o] -= 1.0;
          simCommunity[simSites][o] -= 1.0;
          simSiteAbundance[s]--;
          simTotalAbundance--;
          simNetChange--;
          deaths++;
          if (simRecording && simCommunity[s][o] == 0.0) simExtinctions[s]++;
        }
        if (!(simCommunity[s][o] > i)) break;
      }
    }
  }
  return deaths;
}

static void WriteCommunityBlock(int t, const char* when) {
  FILE* fp = simCommunityDataFp;
  fprintf(fp, "\nCommunity data matrix at step %d, %s mortality, for %d community sites in rows and %d OTUs in columns:\n",
          t, when, simSites, simOTUs);
  PrintMatrixTab(fp, simSites, simOTUs, simCommunity, sDigits);
  fprintf(fp, "\nAbundance in each community:\n");
  PrintVectorTab(fp, simSites, simSiteAbundance);
  fprintf(fp, "Total abundance:\t%d\n", simTotalAbundance);
}

// One line per site of a matrix held with the sites in columns.
static void WriteSiteLines(FILE* fp, int t, int rows, double** m) {
  for (int s = 0; s < simSites; s++) {
    fprintf(fp, "%d\t%d\t", t, s + 1);
    for (int k = 0; k < rows; k++) fprintf(fp, "%g\t", m[k][s]);
    fprintf(fp, "\n");
  }
}

static void WriteStepFiles(int t) {
  int S = simSites, N = simOTUs;
  WriteSiteLines(simEnvDataFp, t, simFactors, simE);
  WriteSiteLines(simCWMExpectedFp, t, simTraits, simExpected);
  fprintf(simDistancesFp,
          "\nDistances between OTU trait value and expected value at the community site, at step %d, "
          "%d community sites in rows and for %d OTUs in columns:\n",
          t, S, N);
  fprintf(simDistancesFp,
          "Traits that were considered to compute these distances (traits with non-zero parameters "
          "for community responses to ecosystem conditions): \t");
  PrintVectorTab(simDistancesFp, simTraits, simConsidered);
  PrintMatrixTab(simDistancesFp, S, N, simNicheDist, sDigits);
  fprintf(simProbFp,
          "\nProbabilities of survival of OTUs at the community sites, at step %d, for %d community "
          "sites in rows and %d OTUs in columns, considering traits:\n",
          t, S, N);
  PrintMatrixTab(simProbFp, S, N, simSurvivalProb, sDigits);
}

// Steps 12 to 14: CWM, feedback on E from the second iteration, interactions.
static void CWMAndFeedback(int t) {
  int S = simSites, N = simOTUs, m = simTraits, f = simFactors;
  UnitSumRowsAdjMV(S, N, simW, simCommunity);
  MatrixProdMV(S, N, N, m, simW, simB, simWB);
  for (int k = 0; k < m; k++)
    for (int s = 0; s < S; s++) simCWM[k][s] = simWB[s][k];
  if (simSaveIntermediate) WriteSiteLines(simCWMFp, t, m, simCWM);
  if (t >= 2) {
    for (int k = 0; k < m; k++)
      for (int s = 0; s < S; s++) simCWMChange[k][s] = simCWM[k][s] - simCWMPrev[k][s];
    MatrixProdMV(f, m, m, S, simEffect, simCWMChange, simFeedback);
    for (int k = 0; k < f; k++)
      for (int s = 0; s < S; s++) simE[k][s] += simFeedback[k][s];
  }
  CopyMatrix(m, S, simCWM, simCWMPrev);
  if (simInteractions) FormInteractions(f, S, simE);
}

void RunDataSet(int set) {
  char label[96];
  for (int t = 1; t <= simMaxIter; t++) {
    snprintf(label, sizeof label, "Iteration: %d %d Abundance: %d", simDataSets, set, simTotalAbundance);
    HandleEventInfoWhere2(label);
    NicheAndSurvival();
    RecordRichness(t);
    Colonisation();
    if (simSaveIntermediate) WriteCommunityBlock(t, "BEFORE");
    int deaths = Mortality(t);
    if (simNetChange > 0) {
      // Integer division, as the estimate counts whole iterations.
      long long room = (long long)simCapacity * simSites - simTotalAbundance;
      long long steps = room / simNetChange;
      simStepsToCapacity = steps > INT_MAX ? INT_MAX : steps < INT_MIN ? INT_MIN : (int)steps;
    }
    if (simSaveIntermediate) {
      if (deaths > 0) WriteCommunityBlock(t, "AFTER");
      WriteStepFiles(t);
    }
    CWMAndFeedback(t);
  }
}

void ComputeExtrapolation() {
  for (int k = 0; k < simTraits; k++)
    for (int s = 0; s < simSites; s++) {
      double v = simExpected[k][s];
      // Values below the minimum are measured from the maximum too: the
      // model's reports are read that way, so it stays.
      if (v > simTraitMax[k] || v < simTraitMin[k]) simExtrapolation[k][s] = v - simTraitMax[k];
    }
}

void TellIntermediateFiles() {
  fprintf(out, "\n\nEcosystem data at every step saved on file %s\n", "EnvData.txt");
  fprintf(out, "Expected CWM at every step saved on file %s\n", "CWM_Expected.txt");
  // The console names "Dist.txt", though the file is "Distances.txt": kept.
  fprintf(out,
          "Distances between OTU trait and expected community mean traits at each site, at every "
          "step saved on file %s\n",
          "Dist.txt");
  fprintf(out, "Probabilities of survival of each OTU at each site, at every step saved on file %s\n", "Prob.txt");
  fprintf(out, "Community data at every step saved on file %s\n", "CommunityData.txt");
  fprintf(out, "Community weighted means (CWM) at every step saved on file %s\n", "CWM.txt");
}

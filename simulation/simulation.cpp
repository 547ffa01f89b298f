// Community assembly simulation: its state, the entry of option A, the logistic and the preparation of traits, sites and E.
#include "simulation/simulation.h"

#include <cmath>
#include <cstring>

#include <omp.h>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibRese.h"
#include "TarnLib/tarnlibStats.h"
#include "TarnLib/tarnlibTables.h"
#include "permutation/permCorrel.h"
#include "scaling/settings.h"
#include "session/session.h"
#include "shell/console.h"
#include "shell/preferences.h"
#include "shell/shell.h"

int simSites = 0;
int simOTUs = 0;
int simTraits = 0;
int simFactors = 0;
int simPredictors = 0;
int simCapacity = 0;
int simMaxIter = 0;
double simThreshold = 0.0;
bool simEvaluate = false;
int simDataSets = 1;
double simAlpha = 0.0;
int simPermutations = 0;
bool simSaveIntermediate = false;
bool simPerSetReport = true;
bool simInteractions = false;
int simTraitInput = 't';
int simTraitDistribution = 'n';
int simKernelInput = 'r';
int simCoordInput = 'r';
int simEnvInput = 'e';
int simEnvDistribution = 'n';
int simSurvivalInput = 'r';
int simDensityInput = 'r';
double simMinLongDistance = 0.0;
double simKernelRange[4];
double simSurvivalRange[4];
double simDensityRange[4];

char simTraitFile[48];
char simOTUCorrFile[48];
char simEnvFile[48];
char simFactorCorrFile[48];
char simResponseFile[48];
char simEffectFile[48];

double** simB = nullptr;
double* simTraitMeans = nullptr;
double* simTraitSDs = nullptr;
double* simTraitMin = nullptr;
double* simTraitMax = nullptr;
double** simTraitCorr = nullptr;
double** simOTUCorr = nullptr;
double** simKernel = nullptr;
double** simSurvival = nullptr;
double** simDensity = nullptr;
double** simCoord = nullptr;
double** simDist = nullptr;
double** simE = nullptr;
double** simEInit = nullptr;
double** simEnvRaw = nullptr;
double** simFactorCorr = nullptr;
double** simResponse = nullptr;
double** simEffect = nullptr;
int* simConsidered = nullptr;

double** simCommunity = nullptr;
int* simSiteAbundance = nullptr;
int* simRichness = nullptr;
int* simExtinctions = nullptr;
int* simColonisations = nullptr;
int simTotalAbundance = 0;
int simNetChange = 0;
int simStepsToCapacity = 0;
bool simRecording = false;
int simRecordingStep = 0;
double** simExpected = nullptr;
double** simNicheDist = nullptr;
double** simSurvivalProb = nullptr;
double** simCWM = nullptr;
double** simCWMPrev = nullptr;
double** simExtrapolation = nullptr;
double** simW = nullptr;
double** simWB = nullptr;
double** simCWMChange = nullptr;
double** simFeedback = nullptr;
double** simEnvTemp = nullptr;
double** simCoordT = nullptr;
double** simLogisticEnds = nullptr;

double simRejections[11];
int* simTraitWeights = nullptr;
int* simPredictorFlags = nullptr;
int* simOTUWeights = nullptr;
float* simWeightsF = nullptr;
double** simSb = nullptr;
double** simU = nullptr;
double** simY = nullptr;
double** simZ = nullptr;
double** simEsel = nullptr;
double** simDE = nullptr;
double** simDY = nullptr;
double** simDZ = nullptr;
double** simTout = nullptr;
double** simXout = nullptr;
double* simRout = nullptr;

const char simReportName[] = "FinalSimulatedData.txt";

FILE* simTraitDataFp = nullptr;
FILE* simEnvDataFp = nullptr;
FILE* simCWMExpectedFp = nullptr;
FILE* simDistancesFp = nullptr;
FILE* simProbFp = nullptr;
FILE* simCommunityDataFp = nullptr;
FILE* simCWMFp = nullptr;

double Logistic(double x, double xMin, double xMax, double yMin, double yMax, double slope,
                double center) {
  double range = yMax - yMin;
  double c = xMin + (xMax - xMin) * center;
  return yMin + range / (1.0 + exp((x - c) * (-4.0 * slope / range)));
}

void PrepareTraits(int n, int m, double** B, double* means, double* sds, double* minZ,
                   double* maxZ) {
  double* column = dim1Double(n > 0 ? n : 1);
  for (int t = 0; t < m; t++) {
    for (int i = 0; i < n; i++) column[i] = B[i][t];
    MeanStDev(n, column, &means[t], &sds[t]);
  }
  free1D(column);
  // The Z scores divide by the root of SS / n, while the means and standard
  // deviations kept for the expected traits divide by n - 1: both intended.
  ZStandardizationColsMV(n, m, B, B);
  for (int t = 0; t < m; t++) {
    minZ[t] = maxZ[t] = n > 0 ? B[0][t] : 0.0;
    for (int i = 1; i < n; i++) {
      if (B[i][t] < minZ[t]) minZ[t] = B[i][t];
      if (B[i][t] > maxZ[t]) maxZ[t] = B[i][t];
    }
  }
}

void FormInteractions(int f, int S, double** E) {
  // The row index is f + i whatever j is, so row f + i keeps the product with
  // the last factor and the rows after 2f - 2 stay 0. The model is run and
  // reported with this indexing, and results depend on it: don't change it.
  for (int i = 0; i < f; i++)
    for (int j = i + 1; j < f; j++)
      for (int s = 0; s < S; s++) E[f + i][s] = E[i][s] * E[j][s];
}

void SiteDistances(int S, double** coord, double** coordT, double** dist) {
  for (int s = 0; s < S; s++) {
    coordT[s][0] = coord[0][s];
    coordT[s][1] = coord[1][s];
  }
  EucliDistMV(S, 2, coordT, dist);
  double largest = 0.0;
  for (int i = 0; i < S; i++)
    for (int j = i + 1; j < S; j++)
      if (dist[i][j] > largest) largest = dist[i][j];
  // With all sites at one place the largest distance is 0 and every
  // distance becomes 0/0: no site is then nearer than the limit 1.
  for (int i = 0; i < S; i++)
    for (int j = i + 1; j < S; j++) {
      dist[i][j] /= largest;
      dist[j][i] = dist[i][j];
    }
}

void PrintStandardizedTraits(FILE* fp, const char* heading) {
  int N = simOTUs, m = simTraits;
  fprintf(fp, heading, N, m);
  PrintMatrixTab(fp, N, m, simB, sDigits);
  fprintf(fp, "\nTrait means (%d traits):\n", m);
  PrintVectorTab(fp, m, simTraitMeans, sDigits);
  fprintf(fp, "\nTrait standard deviations (%d traits):\n", m);
  PrintVectorTab(fp, m, simTraitSDs, sDigits);
}

void ReadSimMatrix(FILE* fp, const char* name, int rows, int cols, double** m, int col0) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) m[i][col0 + j] = ScanNumber(fp, name, nullptr);
  fclose(fp);
}

FILE* OpenSimFile(const char* name, const char* mode) {
  FILE* fp = fopenck(name, nullptr, mode);
  if (fp == nullptr) FailJump(FAIL_OPEN);
  return fp;
}

void CloseSimFile(FILE* fp) {
  if (fp != nullptr) fcloseck(fp);
}

void PrintPredictorNumbers(FILE* fp, const char* factorFormat, const char* pairFormat) {
  for (int i = 0; i < simFactors; i++) fprintf(fp, factorFormat, i + 1);
  if (!simInteractions) return;
  for (int i = 0; i < simFactors; i++)
    for (int j = i + 1; j < simFactors; j++) fprintf(fp, pairFormat, i + 1, j + 1);
}

// ---- The session arrays the functional analysis dialogue writes ----

// What the run replaces of the session state, restored at its end.
struct SavedSessionState {
  int tcst, nch, nSpp, hasTraitGroups, hasPhylogeny, temEnvQual, optmain;
  int* chtype;
  char** chLabel;
  double* weight;
  int* nchor;
  int* partition_OTUs;
  int* nGrPoly;
  int* weight_OTUs;
};
static SavedSessionState saved;
static bool replaced = false;  // the session arrays are the simulation's

// The dialogue of the functional analysis runs on the simulation's sizes,
// without the trait groups, phylogeny or nominal variables of any session
// opened before: everything it needs comes from the simulation.
void ReplaceSessionArrays() {
  saved = {tcst, nch, nSpp, hasTraitGroups, hasPhylogeny, temEnvQual, optmain, chtype, chLabel,
           weight, nchor, partition_OTUs, nGrPoly, weight_OTUs};
  replaced = true;
  tcst = simOTUs;
  nch = simTraits;
  nSpp = 0;
  hasTraitGroups = 0;
  hasPhylogeny = 0;
  temEnvQual = 0;
  optmain = 'H';
  chtype = dim1Dint(nch);
  chLabel = dim2Dchar(nch, 11);
  for (int t = 0; t < nch; t++) snprintf(chLabel[t], 11, "%d", t + 1);
  weight = dim1Double(nch);
  nchor = dim1Dint(nch);
  partition_OTUs = dim1Dint(tcst);
  nGrPoly = dim1Dint(nch);
  weight_OTUs = dim1Dint(tcst);
}

static void RestoreSessionArrays() {
  if (!replaced) return;
  replaced = false;
  free1D(chtype);
  free2D(chLabel, nch);
  free1D(weight);
  free1D(nchor);
  free1D(partition_OTUs);
  free1D(nGrPoly);
  free1D(weight_OTUs);
  free1D(nestingMembershipOTUs);
  nestingMembershipOTUs = nullptr;
  tcst = saved.tcst;
  nch = saved.nch;
  nSpp = saved.nSpp;
  hasTraitGroups = saved.hasTraitGroups;
  hasPhylogeny = saved.hasPhylogeny;
  temEnvQual = saved.temEnvQual;
  optmain = saved.optmain;
  chtype = saved.chtype;
  chLabel = saved.chLabel;
  weight = saved.weight;
  nchor = saved.nchor;
  partition_OTUs = saved.partition_OTUs;
  nGrPoly = saved.nGrPoly;
  weight_OTUs = saved.weight_OTUs;
}

// ---- Allocation ----

void FreeSimArrays() {
  int S = simSites, N = simOTUs, m = simTraits, f = simFactors, p = simPredictors;
  free2D(simB, N);
  free1D(simTraitMeans);
  free1D(simTraitSDs);
  free1D(simTraitMin);
  free1D(simTraitMax);
  free2D(simTraitCorr, m);
  free2D(simOTUCorr, N);
  free2D(simKernel, N);
  free2D(simSurvival, N);
  free2D(simDensity, N);
  free2D(simCoord, 2);
  free2D(simDist, S);
  free2D(simE, p);
  free2D(simEInit, p);
  free2D(simEnvRaw, f);
  free2D(simFactorCorr, f);
  free2D(simResponse, m);
  free2D(simEffect, f);
  free1D(simConsidered);
  free2D(simCommunity, S + 1);
  free1D(simSiteAbundance);
  free1D(simRichness);
  free1D(simExtinctions);
  free1D(simColonisations);
  free2D(simExpected, m);
  free2D(simNicheDist, S);
  free2D(simSurvivalProb, S);
  free2D(simCWM, m);
  free2D(simCWMPrev, m);
  free2D(simExtrapolation, m);
  free2D(simW, S);
  free2D(simWB, S);
  free2D(simCWMChange, m);
  free2D(simFeedback, f);
  free2D(simEnvTemp, S);
  free2D(simCoordT, S);
  free2D(simLogisticEnds, N);
  free1D(simTraitWeights);
  free1D(simPredictorFlags);
  free1D(simOTUWeights);
  free1D(simWeightsF);
  free2D(simSb, N);
  free2D(simU, N);
  free2D(simY, S);
  free2D(simZ, S);
  free2D(simEsel, S);
  free2D(simDE, S);
  free2D(simDY, S);
  free2D(simDZ, S);
  free2D(simTout, S);
  free2D(simXout, S);
  free1D(simRout);
  simB = simTraitCorr = simOTUCorr = simKernel = simSurvival = simDensity = simCoord = nullptr;
  simDist = simE = simEInit = simEnvRaw = simFactorCorr = simResponse = simEffect = nullptr;
  simCommunity = simExpected = simNicheDist = simSurvivalProb = simCWM = simCWMPrev = nullptr;
  simExtrapolation = simW = simWB = simCWMChange = simFeedback = simEnvTemp = simCoordT = nullptr;
  simLogisticEnds = nullptr;
  simSb = simU = simY = simZ = simEsel = simDE = simDY = simDZ = simTout = simXout = nullptr;
  simTraitMeans = simTraitSDs = simTraitMin = simTraitMax = simRout = nullptr;
  simConsidered = simSiteAbundance = simRichness = simExtinctions = simColonisations = nullptr;
  simTraitWeights = simPredictorFlags = simOTUWeights = nullptr;
  simWeightsF = nullptr;
}

// Everything that depends only on S, N and m; called once these are known.
void AllocateSimSizes() {
  int S = simSites, N = simOTUs, m = simTraits;
  simB = dim2Double(N, m);
  simTraitMeans = dim1Double(m);
  simTraitSDs = dim1Double(m);
  simTraitMin = dim1Double(m);
  simTraitMax = dim1Double(m);
  simTraitCorr = dim2Double(m, m);
  simKernel = dim2Double(N, 3);
  simSurvival = dim2Double(N, 2);
  simDensity = dim2Double(N, 2);
  simCoord = dim2Double(2, S);
  simDist = dim2Double(S, S);
  simConsidered = dim1Dint(m);
  simCommunity = dim2Double(S + 1, N);
  simSiteAbundance = dim1Dint(S);
  simRichness = dim1Dint(S);
  simExtinctions = dim1Dint(S);
  simColonisations = dim1Dint(S);
  simExpected = dim2Double(m, S);
  simNicheDist = dim2Double(S, N);
  simSurvivalProb = dim2Double(S, N);
  simCWM = dim2Double(m, S);
  simCWMPrev = dim2Double(m, S);
  simExtrapolation = dim2Double(m, S);
  simW = dim2Double(S, N);
  simWB = dim2Double(S, m);
  simCWMChange = dim2Double(m, S);
  simCoordT = dim2Double(S, 2);
  simLogisticEnds = dim2Double(N, 4);
  simTraitWeights = dim1Dint(m);
  simOTUWeights = dim1Dint(N);
  simWeightsF = dim1Dfloat(m);
}

// Everything that depends on f and p; called once these are known (the two
// matrices of the environmental input are made when f is known).
void AllocateSimFactors() {
  int S = simSites, m = simTraits, f = simFactors, p = simPredictors;
  simE = dim2Double(p, S);
  simEInit = dim2Double(p, S);
  simResponse = dim2Double(m, p);
  simEffect = dim2Double(f, m);
  simFeedback = dim2Double(f, S);
  simEnvTemp = dim2Double(S, f);
  simPredictorFlags = dim1Dint(p);
}

// The arrays of the tests, only when evaluating.
static void AllocateEvaluation() {
  int S = simSites, N = simOTUs, m = simTraits, p = simPredictors;
  simSb = dim2Double(N, N);
  simU = dim2Double(N, N);
  simY = dim2Double(S, N);
  simZ = dim2Double(S, N);
  simEsel = dim2Double(S, p);
  simDE = dim2Double(S, S);
  simDY = dim2Double(S, S);
  simDZ = dim2Double(S, S);
  simTout = dim2Double(S, m);
  simXout = dim2Double(S, N);
  simRout = dim1Double(S);
}

static void ResetSimState() {
  simSites = simOTUs = simTraits = simFactors = simPredictors = 0;
  simEvaluate = false;
  simDataSets = 1;
  simAlpha = 0.0;
  simPermutations = 0;
  simSaveIntermediate = false;
  simInteractions = false;
  simTraitFile[0] = simOTUCorrFile[0] = simEnvFile[0] = simFactorCorrFile[0] = '\0';
  simResponseFile[0] = simEffectFile[0] = '\0';
  for (double& c : simRejections) c = 0.0;
}

const char kZScoresHeading[] =
    "\nTrait data (standardized to Z scores, %d OTUs in rows and %d traits in columns):\n";

// Traits given as a matrix become Z scores once; E read from a file is
// standardised, completed with its interactions and kept as the initial E.
static void PrepareInputs() {
  int S = simSites, m = simTraits, f = simFactors, p = simPredictors;
  if (simTraitInput == 't') {
    PrepareTraits(simOTUs, m, simB, simTraitMeans, simTraitSDs, simTraitMin, simTraitMax);
    if (simSaveIntermediate) {
      PrintStandardizedTraits(simTraitDataFp, kZScoresHeading);
      fprintf(out, "\n\nTrait data (standardized to Z scores) saved on file %s\n", "TraitData.txt");
    }
  }
  if (simEnvInput == 'e') {
    CopyMatrix(f, S, simEnvRaw, simE);
    ZStandardizationRowsMV(f, S, simE, simE);
    if (simInteractions) FormInteractions(f, S, simE);
    CopyMatrix(p, S, simE, simEInit);
  }
  for (int t = 0; t < m; t++) {
    simConsidered[t] = 0;
    for (int k = 0; k < p; k++)
      if (simResponse[t][k] != 0.0) simConsidered[t] = 1;
  }
}

// One thread for the run when the parallel loops of a data set (site
// distances, DE, DY, DZ, the Gower similarities and the fuzzy belonging) are
// all small: their results are the same on any team, and a team kept between
// such short loops, with the serial dynamics in between, only spins. Returns
// the team to restore.
static int SmallRunTeam() {
  int team = omp_get_max_threads();
  double S = simSites, N = simOTUs;
  double work = 0.5 * S * S * (N + simPredictors + 2.0) + 0.5 * N * N * simTraits;
  if (team > 1 && work < permTestSmallWork) omp_set_num_threads(1);
  return team;
}

void IFAssemblyRulesSimulation_EnvFeedback_TypeI_II_Error() {
  ResetSimState();
  SettingsSimulation();
  int team = SmallRunTeam();
  if (simEvaluate) AllocateEvaluation();
  OpenIntermediateFiles();
  PrepareInputs();
  WriteSimulationHeader();
  double start = omp_get_wtime();
  for (int set = 1; set <= simDataSets; set++) {
    SetUpDataSet(set);
    RunDataSet(set);
    ComputeExtrapolation();
    if (simSaveIntermediate) TellIntermediateFiles();
    if (simPerSetReport) WritePerSetReport(set);
    WriteDataFiles();
    if (simEvaluate) EvaluateDataSet();
  }
  if (simEvaluate) WriteFinalReport(omp_get_wtime() - start);
  CloseIntermediateFiles();
  FreeSimArrays();
  RestoreSessionArrays();
  omp_set_num_threads(team);
}

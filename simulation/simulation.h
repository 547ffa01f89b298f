// Community assembly simulation (hidden option A of the main menu): model state, dynamics and evaluation.
#ifndef SIMULATION_SIMULATION_H
#define SIMULATION_SIMULATION_H

#include <cstdio>

// ---- Sizes and answers of the dialogue ----
extern int simSites;                // S: community sites
extern int simOTUs;                 // N: OTUs
extern int simTraits;               // m: traits
extern int simFactors;              // f: ecosystem factors
extern int simPredictors;           // p: f, or f + f(f-1)/2 with double interactions
extern int simCapacity;             // K: maximum average number of individuals per site
extern int simMaxIter;              // iterations of each data set
extern double simThreshold;         // proportion after which richness and events are recorded
extern bool simEvaluate;            // type I error or power is evaluated
extern int simDataSets;             // simulated data sets (1 when not evaluating)
extern double simAlpha;             // alpha threshold for rejection (0 when not evaluating)
extern int simPermutations;         // permutations of each test (0 when not evaluating)
extern bool simSaveIntermediate;    // write the intermediate files
extern bool simPerSetReport;        // write the per-set report
extern bool simInteractions;        // double interactions between factors
extern int simTraitInput;           // 't' traits, 'c' trait correlations, 'b' both correlations
extern int simTraitDistribution;    // 'u' or 'n', handed on as the distribution code
extern int simKernelInput;          // 'd' dispersal parameters from a file, 'r' random
extern int simCoordInput;           // 'c' coordinates from a file, 'r' random
extern int simEnvInput;             // 'e' environment from a file, 'c' from factor correlations
extern int simEnvDistribution;      // 'u' or 'n', handed on as the distribution code
extern int simSurvivalInput;        // 'd' survival parameters from a file, 'r' random
extern int simDensityInput;         // 'd' density parameters from a file, 'r' random
extern double simMinLongDistance;   // minimum long-distance dispersal probability
extern double simKernelRange[4];    // slope first, second; center first, second
extern double simSurvivalRange[4];  // the same for the survival function
extern double simDensityRange[4];   // the same for the density dependence function

// ---- Names of the input files (empty when not given) ----
extern char simTraitFile[48];       // trait data, or trait correlation matrix
extern char simOTUCorrFile[48];     // correlation matrix between OTUs
extern char simEnvFile[48];         // initial ecosystem conditions
extern char simFactorCorrFile[48];  // factor correlation matrix
extern char simResponseFile[48];    // response parameters
extern char simEffectFile[48];      // effect parameters

// ---- Model matrices ----
extern double** simB;               // [N][m] traits, Z scores
extern double* simTraitMeans;       // [m] trait means before standardising
extern double* simTraitSDs;         // [m] trait standard deviations (n - 1)
extern double* simTraitMin;         // [m] smallest Z score of each trait
extern double* simTraitMax;         // [m] largest Z score of each trait
extern double** simTraitCorr;       // [m][m] trait correlation matrix
extern double** simOTUCorr;         // [N][N] OTU correlation matrix
extern double** simKernel;          // [N][3] long-distance probability, slope, center
extern double** simSurvival;        // [N][2] slope, center of the survival function
extern double** simDensity;         // [N][2] slope, center of the density function
extern double** simCoord;           // [2][S] X row, Y row
extern double** simDist;            // [S][S] site distances divided by their largest
extern double** simE;               // [p][S] ecosystem factors, then their interactions
extern double** simEInit;           // [p][S] E after standardising, when read from a file
extern double** simEnvRaw;          // [f][S] initial conditions as read
extern double** simFactorCorr;      // [f][f] factor correlation matrix
extern double** simResponse;        // [m][p] response parameters
extern double** simEffect;          // [f][m] effect parameters
extern int* simConsidered;          // [m] 1 for a trait with a nonzero response parameter

// ---- State of one data set ----
extern double** simCommunity;       // [S + 1][N] abundances; row S the metacommunity totals
extern int* simSiteAbundance;       // [S] individuals of each site
extern int* simRichness;            // [S] OTU richness at the recording step
extern int* simExtinctions;         // [S] OTU extinctions after the recording step
extern int* simColonisations;       // [S] OTU colonisations after the recording step
extern int simTotalAbundance;       // individuals over all sites
extern int simNetChange;            // individuals added less lost in the iteration
extern int simStepsToCapacity;      // estimate of the iterations left
extern bool simRecording;           // the recording step was reached
extern int simRecordingStep;        // iteration at which recording began; 0 if never
extern double** simExpected;        // [m][S] expected community traits, Z scores
extern double** simNicheDist;       // [S][N] squared distance of OTU traits to the niche
extern double** simSurvivalProb;    // [S][N] probability of survival
extern double** simCWM;             // [m][S] community weighted means
extern double** simCWMPrev;         // [m][S] the same at the previous iteration
extern double** simExtrapolation;   // [m][S] expected traits beyond the trait range
extern double** simW;               // [S][N] relative abundances
extern double** simWB;              // [S][m] work: W B
extern double** simCWMChange;       // [m][S] work: change of the CWM
extern double** simFeedback;        // [f][S] work: change of the factors
extern double** simEnvTemp;         // [S][f] work: generated factors
extern double** simCoordT;          // [S][2] work: coordinates by site
extern double** simLogisticEnds;    // [N][4] kernel L(0), L(1); density L(0), L(K), per data set

// ---- Evaluation ----
extern double simRejections[11];    // rejections of each statistic, in the test's order
extern int* simTraitWeights;        // [m] trait weights cut to integers
extern int* simPredictorFlags;      // [p] 1 for a predictor used in the tests
extern int* simOTUWeights;          // [N] all 1
extern float* simWeightsF;          // [m] trait weights for the Gower similarity
extern double** simSb;              // [N][N] similarity between OTUs
extern double** simU;               // [N][N] belonging of OTUs to types
extern double** simY;               // [S][N] Beals smoothing by abundances
extern double** simZ;               // [S][N] smoothing by cross products
extern double** simEsel;            // [S][p] selected predictors
extern double** simDE;              // [S][S] resemblance from the predictors
extern double** simDY;              // [S][S] resemblance from Y
extern double** simDZ;              // [S][S] resemblance from Z
extern double** simTout;            // [S][m] observed T returned by the test
extern double** simXout;            // [S][N] observed X returned by the test
extern double* simRout;             // [S] observed Rao entropy returned by the test

// Heading of B in Z scores in the intermediate and per-set reports.
extern const char kZScoresHeading[];
// File names of the run, in the working directory.
extern const char simReportName[];  // "FinalSimulatedData.txt"

// Hidden option A of the main menu: dialogue, simulated data sets, evaluation.
void IFAssemblyRulesSimulation_EnvFeedback_TypeI_II_Error();

// The logistic with range yMin..yMax whose slope at its center of
// antisymmetry is `slope`; the center lies at xMin + (xMax - xMin) * center.
double Logistic(double x, double xMin, double xMax, double yMin, double yMax, double slope,
                double center);

// ---- Preparation (simulation.cpp) ----
// Means and standard deviations of the traits of B (n rows, m columns), B
// turned into Z scores in place, and the smallest and largest Z score.
void PrepareTraits(int n, int m, double** B, double* means, double* sds, double* minZ,
                   double* maxZ);
// Rows f.. of E (f factors, S sites) receive the interactions; row f + i ends
// with the product of factor i and the last factor (see the definition).
void FormInteractions(int f, int S, double** E);
// Site distances from the coordinates (2 by S): Euclidean, both triangles,
// divided by the largest distance between two sites.
void SiteDistances(int S, double** coord, double** coordT, double** dist);
// B in Z scores under `heading` (a format taking N and m), then the trait
// means and standard deviations under their headings.
void PrintStandardizedTraits(FILE* fp, const char* heading);
// Reads rows by cols numbers of `fp` (named `name`) into m, and closes it.
void ReadSimMatrix(FILE* fp, const char* name, int rows, int cols, double** m, int col0);
// Opens a result file of the run; failure raises code 4.
FILE* OpenSimFile(const char* name, const char* mode);
// Closes a result file; a failed write raises code 3.
void CloseSimFile(FILE* fp);
// The numbers of the predictors: factors "%d", pairs `pairFormat` for i < j.
void PrintPredictorNumbers(FILE* fp, const char* factorFormat, const char* pairFormat);

// Arrays sized by S, N and m; then those sized by f and p.
void AllocateSimSizes();
void AllocateSimFactors();
// Releases every array of the run (those not made are null).
void FreeSimArrays();
// Gives the functional analysis dialogue the simulation's sizes and arrays;
// the session's are restored at the end of the run.
void ReplaceSessionArrays();

// ---- Dialogue and header (simSettings.cpp) ----
// The dialogue, with the input files read as they are named; seeds r.
void SettingsSimulation();
// Writes "FinalSimulatedData.txt" anew with the report header.
void WriteSimulationHeader();
// The heading of the considered traits and their flags.
void PrintConsideredTraits(FILE* fp);
// Response and effect parameters with their headings ("(and their
// `interactionsWord`)" with interactions), then the considered traits.
void PrintModelParameters(FILE* fp, const char* interactionsWord);
// Creates the intermediate files with their headers (when they are wanted).
void OpenIntermediateFiles();
void CloseIntermediateFiles();

// ---- Dynamics (simDynamics.cpp) ----
// Generated inputs and parameters of a data set, and a cleared community.
void SetUpDataSet(int set);
// The iterations of a data set.
void RunDataSet(int set);
// Expected traits beyond the range of the Z scores, after the last iteration.
void ComputeExtrapolation();
// Names the intermediate files on the console.
void TellIntermediateFiles();

// ---- Evaluation and reports (simEvaluation.cpp) ----
// Appends the data set to "FinalSimulatedData.txt".
void WritePerSetReport(int set);
// The data files for a session (B, W, E, trait types with 1 or 2 sets; OTUs always).
void WriteDataFiles();
// Tests the data set, counts rejections, appends its statistics.
void EvaluateDataSet();
// Appends the rejection rates; `elapsed` in seconds since the first set.
void WriteFinalReport(double elapsed);
// True when a test's probability rejects Ho at alpha.
bool RejectsHo(double probability, double alpha);

// Intermediate files, open while the run writes them (null otherwise).
extern FILE* simTraitDataFp;        // "TraitData.txt"
extern FILE* simEnvDataFp;          // "EnvData.txt"
extern FILE* simCWMExpectedFp;      // "CWM_Expected.txt"
extern FILE* simDistancesFp;        // "Distances.txt"
extern FILE* simProbFp;             // "Prob.txt"
extern FILE* simCommunityDataFp;    // "CommunityData.txt"
extern FILE* simCWMFp;              // "CWM.txt"

#endif

// Simulation dialogue: sizes, input modes and files, model parameters, evaluation settings; the report header and the intermediate files.
#include "simulation/simulation.h"

#include <climits>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibTables.h"
#include "scaling/settings.h"
#include "session/session.h"
#include "shell/console.h"
#include "shell/preferences.h"
#include "shell/shell.h"

static const double kMostNegative = -3.4028234663852886e38;  // lowest float, the slopes' bound

// A whole number from 1 to the largest int.
static int AskCount(const char* prompt) {
  fprintf(out, "%s", prompt);
  return (int)ReadNumberIn("%d\n", "-", 1.0, 2147483647.0);
}

static double AskReal(double low, double high) { return ReadNumberIn("%lf\n", "-", low, high); }

// The file named in answer to the question just printed, read whole into m
// from column col0 on. `name` holds the name afterwards.
static void AskMatrixFile(char* name, int rows, int cols, double** m, int col0) {
  FILE* fp = ReadDataFileName(name);
  ReadSimMatrix(fp, name, rows, cols, m, col0);
}

// Ranges of a logistic's slope and center: the second slope lies between the
// lowest bound and the first; both centers from 0 to 1.
static void AskRanges(const char* slopePrompt, const char* centerPrompt, double* range) {
  fprintf(out, "%s", slopePrompt);
  range[0] = AskReal(kMostNegative, 0.0);
  range[1] = AskReal(kMostNegative, range[0]);
  fprintf(out, "%s", centerPrompt);
  range[2] = AskReal(0.0, 1.0);
  range[3] = AskReal(0.0, 1.0);
}

static const char kTwoParametersFile[] =
    "Name of the file with a matrix of %d OTU with the two parameters of the logistic function "
    "for each OTU: \nThe parameters are: (1) slope of the tangent in the center of antisymmetry of "
    "the function (<0), and (2) center: the position of the center of antisymmetry (0 = xmin, 1 = "
    "xmax) )";

// Step 4: traits as a matrix or as correlation matrices.
static void AskTraitInput() {
  int N = simOTUs, m = simTraits;
  fprintf(out,
          "Input is a %d OTUs x %d traits matrix (t) or a trait x traits correlation matrix (c) or "
          "both the latter and a taxa x taxa correlation matrix (b)? t/c/b ",
          N, m);
  simTraitInput = ReadCharIn("t c b");
  if (simTraitInput == 't') {
    fprintf(out, "Name of the file with trait data matrix (%d OTUs x %d traits): ", N, m);
    AskMatrixFile(simTraitFile, N, m, simB, 0);
    return;
  }
  fprintf(out, "Name of the file with full trait correlation matrix (%d traits x %d traits): ", m, m);
  AskMatrixFile(simTraitFile, m, m, simTraitCorr, 0);
  if (simTraitInput == 'b') {
    simOTUCorr = dim2Double(N, N);
    fprintf(out, "Name of the file with full correlation matrix between OTUs (%d OTUs x %d nOTUs): ", N, N);
    AskMatrixFile(simOTUCorrFile, N, N, simOTUCorr, 0);
  }
  fprintf(out,
          "Generate OTUs x traits matrix with uniform (u) or normal (n) distribution of values in "
          "each trait? u/n ");
  simTraitDistribution = ReadCharIn("u n");
}

// Steps 5 to 7: dispersal kernel, long-distance probability, site coordinates.
static void AskDispersalAndSites() {
  char name[48];
  fprintf(out,
          "Specify for each OTU the parameters for local seed dispersal kernel (d), or generate the "
          "parameters (slope and center) of the logistic function at random (r)? d/r ");
  simKernelInput = ReadCharIn("d r");
  if (simKernelInput == 'd') {
    fprintf(out, kTwoParametersFile, simOTUs);
    AskMatrixFile(name, simOTUs, 2, simKernel, 1);
  } else {
    AskRanges("Specify the minimum and maximum (negative) slope in the center of antisymmetry of the "
              "logistic function for the dispersal kernel (<0, suggested -5, if very close to 0 the "
              "effect of dispersal will be neutral): ",
              "Specify the minimum and maximum center of antisymmetry of the logistic function for "
              "the dispersal kernel (0-1): ",
              simKernelRange);
  }
  fprintf(out, "Specify the minimum long-distance dispersal probability in the pool of OTUs (0-1): ");
  simMinLongDistance = AskReal(0.0, 1.0);
  fprintf(out, "Specify community site coordinates (c), or generate coordinates at random (r)? c/r ");
  simCoordInput = ReadCharIn("c r");
  if (simCoordInput == 'c') {
    fprintf(out, "Name of the file with X and Y coordinates for %d sites (2 rows): ", simSites);
    AskMatrixFile(name, 2, simSites, simCoord, 0);
  }
}

// Steps 8 to 11: factors, environment, interactions, response and effect parameters.
static void AskEnvironment() {
  int S = simSites, m = simTraits;
  simFactors = AskCount("Specify the number of factors: ");
  int f = simFactors;
  simEnvRaw = dim2Double(f, S);
  simFactorCorr = dim2Double(f, f);
  fprintf(out,
          "Specify the environmental data as a %d factors x %d sites matrix (e) or generate the data "
          "based on a factor x factor correlation matrix (c)? e/c ",
          f, S);
  simEnvInput = ReadCharIn("e c");
  if (simEnvInput == 'e') {
    fprintf(out, "Name of the file with matrix of %d factors x %d sites with initial ecosystem conditions: ", f, S);
    AskMatrixFile(simEnvFile, f, S, simEnvRaw, 0);
  } else {
    fprintf(out, "Name of the file with full factor correlation matrix (%d factors x %d factors): ", f, f);
    AskMatrixFile(simFactorCorrFile, f, f, simFactorCorr, 0);
    fprintf(out,
            "Generate factors x sites matrix with uniform (u) or normal (n) distribution of values "
            "in each factor? u/n ");
    simEnvDistribution = ReadCharIn("u n");
  }
  fprintf(out, "Consider double interactions between factors? y/n ");
  simInteractions = ReadCharIn("y n") == 'y';
  // Counted wide: a number of factors whose pairs pass the range of int asks
  // for more memory than there is, and fails as such.
  long long predictors = simInteractions ? f + (long long)f * (f - 1) / 2 : f;
  simPredictors = predictors > INT_MAX ? INT_MAX : (int)predictors;
  AllocateSimFactors();
  if (simInteractions)
    fprintf(out,
            "Name of the file with matrix of parameters for linear models of community responses to "
            "ecosystem conditions (%d traits by %d ecosystem predictor variables and their double "
            "interactions): ",
            m, f);
  else
    fprintf(out,
            "Name of the file with matrix of parameters for linear models of community responses to "
            "ecosystem conditions (%d traits by %d ecosystem predictor variables): ",
            m, f);
  AskMatrixFile(simResponseFile, m, simPredictors, simResponse, 0);
  fprintf(out,
          "Name of the file with matrix of parameters for linear models of community effects on "
          "ecosystem conditions (%d ecosystem variables by %d predictor traits): ",
          f, m);
  AskMatrixFile(simEffectFile, f, m, simEffect, 0);
}

// Steps 12 to 16: survival and density functions, capacity, iterations, threshold.
static void AskNicheAndDensity() {
  char name[48];
  fprintf(out,
          "Specify for each OTU the parameters (slope and center) of the logistic function relating "
          "probability of survival to distance between OTU traits and expected community traits (d), "
          "or generate the parameters at random (r)? d/r ");
  simSurvivalInput = ReadCharIn("d r");
  if (simSurvivalInput == 'd') {
    fprintf(out,
            "Name of the file with a matrix of %d OTU with the two parameters of the logistic "
            "function for each OTU: \nThe parameters are: (1) slope of the tangent in the center of "
            "antisymmetry of the function (<0, if it approaches 0 the density dependence effect will "
            "be neutral), and (2) center: the position of the center of antisymmetry (0 = xmin, 1 = "
            "xmax) )",
            simOTUs);
    AskMatrixFile(name, simOTUs, 2, simSurvival, 0);
  } else {
    AskRanges("Specify the minimum and maximum (negative) slope in the center of antisymmetry of the "
              "logistic function for the survival probability (<0, suggested -1 and -5, if it "
              "approaches 0 the niche effect will be neutral): ",
              "Specify the minimum and maximum center of antisymmetry of the logistic function for "
              "the survival probability (0-1): ",
              simSurvivalRange);
  }
  fprintf(out,
          "Specify for each OTU the parameters for the density dependence function (d), or generate "
          "the parameters (slope and center) of the logistic function at random (r)? d/r ");
  simDensityInput = ReadCharIn("d r");
  if (simDensityInput == 'd') {
    fprintf(out, kTwoParametersFile, simOTUs);
    AskMatrixFile(name, simOTUs, 2, simDensity, 0);
  } else {
    AskRanges("Specify the minimum and maximum (negative) slope in the center of antisymmetry of the "
              "logistic function for density dependence (<0, suggested -5, if 0 the effect of density "
              "dependence will be neutral): ",
              "Specify the minimum and maximum center of antisymmetry of the logistic function for "
              "density dependence (0-1): ",
              simDensityRange);
  }
  simCapacity = AskCount("Specify the maximum average number of individuals per community: ");
  simMaxIter = AskCount("Specify the maximum number of iterations: ");
  fprintf(out,
          "Specify the threshold (proportion) of the maximum average number of individuals per "
          "community after which OTU richness and number of OTU colonizations and extinctions are "
          "recorded: ");
  simThreshold = AskReal(0.0, 1.0);
}

// Step 18.3: the predictors of E that enter the tests.
static void AskPredictors() {
  fprintf(out, "\nEcosystem variables in matrix E to be used in the analysis of the simulated data:\n");
  fprintf(out, "   1  all variables \n");
  fprintf(out, "   2  select variables \n");
  fprintf(out, "Type option no.: ");
  if ((int)ReadNumberIn("%d\n", "1 2") == 1) {
    for (int k = 0; k < simPredictors; k++) simPredictorFlags[k] = 1;
    return;
  }
  fprintf(out, "Select variables (and their interactions if included):\n");
  fprintf(out, "(enter 0 for exclusion or 1 for inclusion)\n");
  PrintPredictorNumbers(out, "%d ", "%dx%d ");
  fprintf(out, "\n");
  for (int k = 0; k < simPredictors; k++) simPredictorFlags[k] = (int)ReadNumberIn("%-3d", "0 1");
}

// Step 18: the tests of each data set.
static void AskEvaluation() {
  simDataSets = AskCount("Specify the number of simulated data sets: ");
  ReplaceSessionArrays();
  SettingsHierarchy();
  simPermutations = niter;
  simPerSetReport = printDetail == 1;
  AskPredictors();
  fprintf(out, "Specify the alpha threshold for Ho rejection: ");
  simAlpha = AskReal(0.0, 1.0);
}

void SettingsSimulation() {
  simSites = AskCount("Specify the number of communities (sites): ");
  simOTUs = AskCount("Specify the number of OTUs: ");
  simTraits = AskCount("Specify the number of traits: ");
  AllocateSimSizes();
  AskTraitInput();
  AskDispersalAndSites();
  AskEnvironment();
  AskNicheAndDensity();
  fprintf(out, "Evaluate type I error or power? y/n ");
  simEvaluate = ReadCharIn("y n") == 'y';
  if (simEvaluate) {
    AskEvaluation();
  } else {
    simDataSets = 1;
    simPerSetReport = true;
    SettingRandomSeed();
    fprintf(out, "Save intermediate results? y/n ");
    simSaveIntermediate = ReadCharIn("y n") == 'y';
  }
  InitRndNumberGenerator(rseed);
}

// ---- Report header ----

static void PrintDistributionLine(FILE* fp, const char* what, int letter) {
  fprintf(fp, "%s data generated with %s distribution\n", what, letter == 'u' ? "UNIFORM" : "NORMAL");
}

static void HeaderTraits(FILE* fp) {
  int N = simOTUs, m = simTraits;
  if (simTraitInput == 't') {
    PrintStandardizedTraits(
        fp, "\nSpecified trait data (standardized to Z scores, %d OTUs in rows and %d traits in columns):\n");
    return;
  }
  if (simTraitInput == 'b') {
    fprintf(fp, "\nSpecified correlation matrix between OTUs (%d OTUs x %d OTUs, file %s): \n", N, N,
            simOTUCorrFile);
    PrintMatrixTab(fp, N, N, simOTUCorr, sDigits);
  }
  fprintf(fp, "\nSpecified trait correlation matrix (%d traits x %d traits, file %s): \n", m, m, simTraitFile);
  PrintDistributionLine(fp, "Trait", simTraitDistribution);
  PrintMatrixTab(fp, m, m, simTraitCorr, sDigits);
}

static void HeaderSitesAndEnvironment(FILE* fp) {
  int S = simSites, f = simFactors;
  fprintf(fp, "\nSpecified minimum long-distance probability:\t%g\n", simMinLongDistance);
  if (simKernelInput == 'd') {
    fprintf(fp, "\nSpecified parameters for local dispersal kernel (slope and center of the logistic function) for %d OTUs:\n",
            simOTUs);
    for (int o = 0; o < simOTUs; o++) fprintf(fp, "%g\t%g\n", simKernel[o][1], simKernel[o][2]);
  }
  if (simCoordInput == 'c') {
    fprintf(fp, "\nSpecified site coordinates (2 x %d community sites):\n", S);
    PrintMatrixTab(fp, 2, S, simCoord, sDigits);
  }
  if (simEnvInput == 'e') {
    fprintf(fp, "\nInitial ecosystem conditions (%d factors x %d sites, file %s):\n", f, S, simEnvFile);
    PrintMatrixTab(fp, f, S, simEnvRaw, sDigits);
  } else {
    fprintf(fp, "\nSpecified correlation matrix between environmental factors (%d factors x %d factors, file %s): \n",
            f, f, simFactorCorrFile);
    PrintDistributionLine(fp, "Environmental", simEnvDistribution);
    PrintMatrixTab(fp, f, f, simFactorCorr, sDigits);
  }
}

void PrintConsideredTraits(FILE* fp) {
  fprintf(fp,
          "\nTraits that were considered to compute distances between each OTU trait value and "
          "expected value at the community site (traits with non-zero parameters for community "
          "responses to ecosystem conditions): \n");
  PrintVectorTab(fp, simTraits, simConsidered);
}

void PrintModelParameters(FILE* fp, const char* interactionsWord) {
  int m = simTraits, f = simFactors;
  // The number of predictors printed is f, with or without the interactions.
  if (simInteractions)
    fprintf(fp,
            "\nParameters for linear models of community responses to ecosystem conditions (%d traits "
            "by %d ecosystem predictor variables (and their %s), file %s): \n",
            m, f, interactionsWord, simResponseFile);
  else
    fprintf(fp,
            "\nParameters for linear models of community responses to ecosystem conditions (%d traits "
            "by %d ecosystem predictor variables, file %s): \n",
            m, f, simResponseFile);
  PrintMatrixTab(fp, m, simPredictors, simResponse, sDigits);
  fprintf(fp,
          "\nParameters for linear models of community effects on ecosystem conditions (%d ecosystem "
          "variables by %d predictor traits, %s): \n",
          f, m, simEffectFile);
  PrintMatrixTab(fp, f, m, simEffect, sDigits);
  PrintConsideredTraits(fp);
}

void WriteSimulationHeader() {
  int N = simOTUs;
  FILE* fp = OpenSimFile(simReportName, "w");
  fprintf(fp, "%s\n", lineL);
  fprintf(fp, "SIMULATION OF COMMUNITY ASSEMBLY\n");
  fprintf(fp, "%s\n", version);
  TimeStamp(fp);
  fprintf(fp, "%s\n", lineL);
  HeaderTraits(fp);
  HeaderSitesAndEnvironment(fp);
  PrintModelParameters(fp, "interactions");
  if (simSurvivalInput == 'd') {
    fprintf(fp,
            "\nSpecified parameters slope and center of the logistic the function relating probability "
            "of survival to distance between OTU traits and expected community traits for %d OTUs:\n",
            N);
    PrintMatrixTab(fp, N, 2, simSurvival, sDigits);
  }
  if (simDensityInput == 'd') {
    fprintf(fp,
            "\nSpecified density dependence parameters for %d OTUs, with the slope and center of the "
            "logistic function for the probabilities:\n",
            N);
    PrintMatrixTab(fp, N, 2, simDensity, sDigits);
  }
  fprintf(fp, "Specified maximum number of colonization/extinction iterations:\t%d\n", simMaxIter);
  fprintf(fp, "Specified maximum average number of individuals per community:\t%d\n", simCapacity);
  fprintf(fp,
          "Specified threshold (proportion) of maximum average number of individuals per community "
          "after which OTU richness is recorded and colonization/extinction events are "
          "recorded:\t%g\n",
          simThreshold);
  CloseSimFile(fp);
}

// ---- Intermediate files ----

void OpenIntermediateFiles() {
  if (!simSaveIntermediate) return;
  int N = simOTUs, m = simTraits;
  simTraitDataFp = OpenSimFile("TraitData.txt", "w");
  if (simTraitInput == 't') {
    // The raw traits: the file is opened before they become Z scores.
    fprintf(simTraitDataFp, "Trait data (not standardized, %d OTUs in rows and %d traits in columns):\n", N, m);
    PrintMatrixTab(simTraitDataFp, N, m, simB, sDigits);
  } else {
    fprintf(simTraitDataFp, "\nTrait correlation matrix (%d traits):\n", m);
    PrintMatrixTab(simTraitDataFp, m, m, simTraitCorr, sDigits);
    if (simTraitInput == 'b') {
      fprintf(simTraitDataFp, "\nCorrelation matrix between OTUs (%d nOTUs):\n", N);
      PrintMatrixTab(simTraitDataFp, N, N, simOTUCorr, sDigits);
    }
  }
  simEnvDataFp = OpenSimFile("EnvData.txt", "w");
  fprintf(simEnvDataFp,
          "Ecosystem data matrix (simulation steps and community sites in rows, %d environmental "
          "variables in columns):\n",
          simFactors);
  simCWMExpectedFp = OpenSimFile("CWM_Expected.txt", "w");
  fprintf(simCWMExpectedFp,
          "Expected community weighted means (CWM), standardized to Z scores according to mean and "
          "standard deviations in the trait matrix matrix (simulation steps and community sites in "
          "rows, %d traits in columns):\n",
          m);
  simDistancesFp = OpenSimFile("Distances.txt", "w");
  simProbFp = OpenSimFile("Prob.txt", "w");
  simCommunityDataFp = OpenSimFile("CommunityData.txt", "w");
  simCWMFp = OpenSimFile("CWM.txt", "w");
  fprintf(simCWMFp,
          "Community weighted means (CWM), (simulation steps and community sites in rows, %d traits "
          "in columns):\n",
          m);
}

void CloseIntermediateFiles() {
  FILE** files[] = {&simTraitDataFp, &simEnvDataFp,       &simCWMExpectedFp, &simDistancesFp,
                    &simProbFp,      &simCommunityDataFp, &simCWMFp};
  for (FILE** fp : files) {
    CloseSimFile(*fp);
    *fp = nullptr;
  }
}

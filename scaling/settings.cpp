// The functional analysis settings dialogue (entry H), its shorter paths for the trait ranking, and the run around it.
#include "scaling/settings.h"

#include <chrono>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <thread>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "scaling/scalingUp.h"
#include "scaling/similarity.h"
#include "session/session.h"
#include "session/track.h"
#include "shell/console.h"
#include "shell/shell.h"

bool OTUsTypesAreSpecies = false;
int reseCSTopt = 1;
bool optRndTests = false;
int niter = 0;
int optTaxaSiteShuffle = 't';
bool optWeightedNullModel = false;
int optRestrictPermutNullModel = 0;
int* nestingMembershipOTUs = nullptr;
int opt_ro = 1;
int printNRese = 'n';
int printReseFree = 'n';
int printPRese = 'n';
bool restrictRaoWithinOpt = false;
bool optUnitTotalAdjust1 = false;
bool optUnitTotalAdjust2 = false;
bool optCoVariable = false;
int printDetail = 0;
bool includePhylogeny = false;
int* partition_OTUs_Phyl = nullptr;
int nTaxa = 0;
int fuzzyPhyl = 0;
int opt_struct = 0;

const char* opt_roInfo[3] = {"matrix correlation (Mantel)", "Procrustes (traceW)",
                             "RV coefficient (Escoufier 1973)"};
const char* YesNotInfo[2] = {"not", "yes"};

static const int kAnalysisPath = 'H';  // optmain 72
static const int kRankingPath = 'K';   // optmain 75

// ---- The partition of OTUs into types ----

// A group label read as a free number: kept within the range of int (a
// not-a-number becomes 0), so that no answer makes the conversion undefined.
static int GroupLabel(double v) {
  if (std::isnan(v)) return 0;
  if (v <= (double)INT_MIN) return INT_MIN;
  if (v >= (double)INT_MAX) return INT_MAX;
  return (int)v;
}

// Types taken from the species list: the last species column with a '1'.
// An OTU with no '1' keeps the label it had.
static void TypesFromSpecies() {
  for (int i = 0; i < tcst; i++)
    for (int s = nSpp - 1; s >= 0; s--)
      if (cstSppMap[i][s] == '1') {
        partition_OTUs[i] = s + 1;
        break;
      }
}

// Group memberships from a file named by the user. Returns 0 when the file
// can't be opened, so that the source question comes again. A read that
// stops early keeps what was read: the rest of partition_OTUs stays.
static int TypesFromFile() {
  char name[100];
  fprintf(out, "Enter name of file containing group memberships: ");
  ReadLineIn(name, 99);
  FILE* fp = fopenck(name, nullptr, "r");
  if (fp == nullptr) return 0;
  for (int i = 0; i < tcst; i++)
    if (freadck1(fp, "%d", &partition_OTUs[i], name) == 0) return 1;  // stream closed at its end
  fclose(fp);
  return 1;
}

static void TypesFromKeyboard() {
  fprintf(out, "Enter the group of each OTU:\n");
  fprintf(out, "OTU:    ");
  for (int i = 0; i < tcst; i++) fprintf(out, "\t%d", i + 1);
  fprintf(out, "\nGroups: ");
  for (int i = 0; i < tcst; i++) partition_OTUs[i] = GroupLabel(ScanNumber(in, "teclado", nullptr));
}

// Steps 1 to 6: the types of OTUs.
static void AskTypes() {
  traitBasedOpt = 1;
  poolCSTopt = 2;
  clusMethPoolCSTs = 0;
  OTUsTypesAreSpecies = false;
  if (optmain != kRankingPath) fprintf(out, "\nTrait-based scaling-up from population to communities:");
  fprintf(out, "\nThe partition of OTUs into types should be specified.\n");
  if (nSpp > 0) {
    fprintf(out, "Wish to use as OTUs types the species specified in the session's formatted file? y/n ");
    if (ScanChar(in, "y n", "input") == 'y') {
      OTUsTypesAreSpecies = true;
      TypesFromSpecies();
    }
  }
  if (!OTUsTypesAreSpecies) {
    for (;;) {
      fprintf(out, "Read group memberships from file (f) or from the keyboard (k)? f/k ");
      if (ReadCharIn("f k") == 'k') {
        TypesFromKeyboard();
        break;
      }
      if (TypesFromFile()) break;
    }
  }
  CountGroupsNew(tcst, partition_OTUs, &nGrPoly[0], nullptr);
  reseCSTopt = 1;
}

// Step 7.
static void AskFuzzy() {
  if (part != 1 || poolCSTopt != 2) {
    fuzzy = 0;
    return;
  }
  fprintf(out, "\nFuzzy set adjustment:\n");
  fprintf(out, "   0  no adjustment (crisp belonging of OTUs to types)\n");
  fprintf(out, "   1  fuzzy types (fuzzy belonging of OTUs to types)\n");
  fprintf(out, "Type option no.: ");
  if ((int)ReadNumberIn("%d\n", "0 1") == 1) {
    fuzzy = 3;
    fuzziness = 1.0;
  } else {
    fuzzy = 0;
  }
}

// ---- Permutation tests (steps 8 to 13) ----

static void AskNesting() {
  free1D(nestingMembershipOTUs);  // left by a run that failed half way
  nestingMembershipOTUs = dim1Dint(tcst);
  fprintf(out, "Specify the nesting criterion (for each OTU, enter the group to which it belongs):\n");
  fprintf(out, "Read nesting group memberships from file (f) or from the keyboard (k)? f/k ");
  if (ReadCharIn("f k") == 'f') {
    char name[100];
    fprintf(out, "Enter name of file containing nesting group memberships: ");
    ReadLineIn(name, 99);
    FILE* fp = fopenck(name, nullptr, "r");
    // A nesting file that can't be opened leaves the dialogue waiting for
    // ever, with no second question: this reaction is kept as it stands.
    while (fp == nullptr) std::this_thread::sleep_for(std::chrono::seconds(1));
    for (int i = 0; i < tcst; i++)
      nestingMembershipOTUs[i] = GroupLabel(ScanNumber(fp, name, nullptr));
    fclose(fp);
  } else {
    fprintf(out, "Enter the nesting group of each OTU:\n");
    fprintf(out, "OTU:            ");
    for (int i = 0; i < tcst; i++) fprintf(out, "\t%d", i + 1);
    fprintf(out, "\nNesting groups: ");
    for (int i = 0; i < tcst; i++)
      nestingMembershipOTUs[i] = GroupLabel(ScanNumber(in, "teclado", nullptr));
  }
}

void SettingRandomSeed() {
  fprintf(out, "\nInitialization of the random number generator: \n");
  fprintf(out, "   1  automatic (taken from the clock)\n");
  fprintf(out, "   2  specified by the user\n");
  fprintf(out, "Type option no.: ");
  seedOpt = (int)ReadNumberIn("%d\n", "1 2");
  if (seedOpt == 1) {
    rseed = (unsigned int)time(nullptr);
  } else {
    fprintf(out, "\nEnter seed (integer in the 0 to %u interval):\n", 4294967295u);
    rseed = (unsigned int)ReadNumberIn("%u\n", "-", 0.0, 4294967295.0);
  }
  InitRndNumberGenerator(rseed);
}

static void AskTests() {
  fprintf(out, "\nPerform randomization tests of final matrix correlations? y/n ");
  optRndTests = ReadCharIn("y n") == 'y';
  if (!optRndTests) return;
  fprintf(out, "Enter number of iterations in permutation tests of final correlations: ");
  niter = (int)ReadNumberIn("%d\n", "-", 0.0, 2147483647.0);
  fprintf(out,
          "Null model based on taxa (t) shuffle, which is recommended, or site (s) suffle? t/s ");
  optTaxaSiteShuffle = ReadCharIn("t s");
  if (optTaxaSiteShuffle == 't') {
    fprintf(out,
            "OTU permutation restrictions: \n\t(0) none\n\t(1) permutations restricted within "
            "groups of OTUs to be specified\n\t\tEnter option: ");
    optRestrictPermutNullModel = (int)ReadNumberIn("%d\n", "0 1");
    if (optRestrictPermutNullModel == 1) AskNesting();
  }
  SettingRandomSeed();
}

// ---- Congruence, traits and OTUs (steps 14 to 16c) ----

static void AskCongruence() {
  // Procrustes and RV need quantitative E: with a nominal variable the
  // question simply returns, without a message, until 1 is answered.
  do {
    fprintf(out, "\nMeasuring congruence using\n");
    fprintf(out, "  1 matrix correlation (Mantel)\n");
    fprintf(out, "  2 Procrustes (traceW, cannot be used when matrix E contains nominal variables)\n");
    fprintf(out,
            "  3 RV coefficient (Escoufier 1973, cannot be used when matrix E contains nominal "
            "variables)\n");
    fprintf(out, "Type option no.: ");
    opt_ro = (int)ReadNumberIn("%d\n", "1 2 3");
  } while ((opt_ro == 2 || opt_ro == 3) && temEnvQual == 1);
}

static void AskTraits() {
  fprintf(out, "\nTraits in matrix B to be used in the analysis:\n");
  fprintf(out, "   1  all traits \n");
  fprintf(out, "   2  select traits \n");
  fprintf(out, "Type option no.: ");
  if ((int)ReadNumberIn("%d\n", "1 2") == 1) {
    for (int i = 0; i < nch; i++) weight[i] = 1.0;
  } else {
    fprintf(out, "Select traits:\n");
    fprintf(out, "(enter 0 for exclusion or 1 for inclusion)\n");
    for (int i = 0; i < nch; i++) fprintf(out, "%s ", chLabel[i]);
    fprintf(out, "\n");
    for (int i = 0; i < nch; i++) weight[i] = (double)(int)ReadNumberIn("%-3d", "0 1");
    if (createMacro == 1 || runMacro == 1) fprintf(outm, "\n");
  }
  if (hasTraitGroups) {
    fprintf(out, "Set weights for traits inversely proportional to effective trait group sizes? y/n ");
    if (ReadCharIn("y n") == 'y') WeightsByTraitGroups(nch, traitGroups, weight);
  }
}

static void AskOTUs() {
  fprintf(out, "\nOTUs in matrix B to be used in the analysis:\n");
  fprintf(out, "   1  all OTUs \n");
  fprintf(out, "   2  select OTUs \n");
  fprintf(out, "Type option no.: ");
  restrictRaoWithinOpt = false;
  if ((int)ReadNumberIn("%d\n", "1 2") == 1) {
    for (int i = 0; i < tcst; i++) weight_OTUs[i] = 1;
    return;
  }
  fprintf(out, "Enter 0 for exclusion or 1 for inclusion for %d OTUs\n", tcst);
  for (int i = 0; i < tcst; i++) weight_OTUs[i] = (int)ReadNumberIn("%d\n", "0 1");
  fprintf(out, "Restrict functional diversity measures to within subset of selected OTUs? y/n ");
  restrictRaoWithinOpt = ReadCharIn("y n") == 'y';
}

static void AskUnitTotals() {
  optUnitTotalAdjust2 = false;
  if (traitBasedOpt != 1) return;
  fprintf(out, "\nStandardize community data matrix (matrix W) to unit total in each community? y/n ");
  optUnitTotalAdjust2 = ReadCharIn("y n") == 'y';
}

// Steps 17 and 18: taxa are the types; no hierarchy of traits. The trait
// ranking decides includePhylogeny by its criterion before it calls the
// dialogue, and a session with a phylogeny includes it; the functional
// analysis starts afresh, so that a ranking's choice can't bring in a
// phylogeny that the session doesn't have.
static void SetPhylogenyAndOrder() {
  if (optmain != kRankingPath) includePhylogeny = false;
  if (hasPhylogeny) includePhylogeny = true;
  if (includePhylogeny) {
    free1D(partition_OTUs_Phyl);  // left by a run that failed half way
    partition_OTUs_Phyl = dim1Dint(tcst);
    memcpy(partition_OTUs_Phyl, partition_OTUs, sizeof(int) * (size_t)tcst);
    CountGroupsNew(tcst, partition_OTUs_Phyl, &nTaxa, nullptr);
    fuzzyPhyl = 1;
  }
  isHierarchical = 0;
  for (int i = 0; i < nch; i++) nchor[i] = i + 1;
  for (int i = 1; i < nch; i++) nGrPoly[i] = 2;
  optCoVariable = false;
}

void SettingsHierarchy() {
  Menu("FUNCTIONAL ANALYSIS SETTINGS");
  optWeightedNullModel = false;
  part = 1;
  bool ranking = optmain == kRankingPath;
  if (ranking && opt_struct == 10) {
    // The ranking criterion on trait averages needs no types and no tests.
    traitBasedOpt = 2;
    poolCSTopt = 0;
    clusMethPoolCSTs = 0;
    OTUsTypesAreSpecies = false;
  } else {
    AskTypes();
    AskFuzzy();
    if (ranking)
      optRndTests = false;
    else
      AskTests();
  }
  AskCongruence();
  if (opt_ro == 1 && !(ranking && (opt_struct == 10 || opt_struct == 16))) {
    whichObj = 'r';
    fprintf(out, "\nSpecify resemblance function between communities:");
    SettingsRese();
  }
  if (traitBasedOpt == 3) {
    GetPrindaMode(whichPrinda);
    return;
  }
  AskTraits();
  AskOTUs();
  AskUnitTotals();
  SetPhylogenyAndOrder();
  if (ranking) return;
  fprintf(out, "\nInclude detailed results in the printout y/n ");
  printDetail = ReadCharIn("y n") == 'y' ? 1 : 0;
  GetPrindaMode(whichPrinda);
}

// ---- Entry H ----

// The community matrix as OTUs by communities, for the hierarchical branch.
static void WriteHierFile() {
  FILE* fp = fopenck(whichHier, volumeName, "w");
  if (fp == nullptr) FailJump(FAIL_OPEN);
  fprintck(fprintf(fp, "%d\t%d\n", tcst, ncsm));
  for (int i = 0; i < tcst; i++) {
    for (int j = 0; j < ncsm; j++) fprintck(fprintf(fp, "%g\t", cadat[i][j]));
    fprintck(fprintf(fp, "\n"));
  }
  fcloseck(fp);
  rcst[0] = tcst;
}

// What the dialogue allocated for one run only.
static void FreeRunSettings() {
  free1D(nestingMembershipOTUs);
  nestingMembershipOTUs = nullptr;
  free1D(partition_OTUs_Phyl);
  partition_OTUs_Phyl = nullptr;
  if (includePhylogeny && !hasPhylogeny) {  // phylogeny brought in for this run only
    if (phylogenyMatrixType == 2) {
      free2D(phylogenyData, tcst);
      free1D(phylogenyVarType);
      phylogenyData = nullptr;
      phylogenyVarType = nullptr;
    }
    free2D(phylogenyRese, tcst);
    phylogenyRese = nullptr;
  }
}

void IFHierarchicalAccum() {
  snprintf(whichPrinda, sizeof whichPrinda, "%s%s", sessionName, prindaExt);
  snprintf(whichHier, sizeof whichHier, "%s%s", sessionName, hierExt);
  hasHier = 1;
  hasCstRese = hasCstClus = hasNRese = hasPRese = hasScores = hasReClus = hasAOCScor = 0;
  hasProbN = hasProbRo = hasRo = hasComplexity = hasVelocity = 0;
  hasRoVelComplex = hasRoVelComplexPROB = 0;
  nCstGroups = 0;
  whichLevelGrCST = 1;

  SettingsHierarchy();

  cohe = 0;
  reseTypeOrd = reseTypeClus = reseTypeEv = reseTypeRnd = reseTypeERank = 1;
  reseCstOpt = 0;
  if (traitBasedOpt == 3) WriteHierFile();
  if (traitBasedOpt == 1 && poolCSTopt == 2) {
    PFTs_ScalingUp();
    for (int i = 0; i < nch; i++) rcst[i] = nGrPoly[i];
  }
  FreeRunSettings();

  dirtyOrig = 1;
  WriteTrack(1);
  ClearLine();
  fprintf(out, "\n\nResults on file %s%s\n", volumeName, whichPrinda);
  if (!runMacro) Wait();
}

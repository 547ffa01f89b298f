// New session data from raw files: the IFFormat dialogue and the checks on species and OTUs of a data set.
#include "session/rawData.h"

#include <cctype>
#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "session/formda.h"
#include "session/session.h"
#include "shell/console.h"
#include "shell/shell.h"

namespace {

const int labelWidth = 10;  // characters kept of a trait, community or variable label
const int sppWidth = 81;    // row of spp while formatting: label, blank, 65 characters, spare
const int sppLineLimit = 70; // characters read from a line of the species file
const int nameSize = 48;    // raw file name buffers (read with a limit of 41)

// ---------------------------------------------------------------------------
// Small helpers of the species lists

// Moves entry `e` of the first `n` rows of `rows` to place n - 1, keeping the
// order of the others.
void MoveRowToEnd(char** rows, int e, int n) {
  for (int k = e; k < n - 1; k++) swap(rows, k, k + 1);
}

// Shifts columns e+1 .. n-1 of cstSppMap one place down for OTUs 0..nOTUs-1;
// the column removed goes to place n - 1.
void ShiftSpeciesColumns(int nOTUs, int e, int n) {
  for (int i = 0; i < nOTUs; i++) {
    char removed = cstSppMap[i][e];
    for (int k = e; k < n - 1; k++) cstSppMap[i][k] = cstSppMap[i][k + 1];
    cstSppMap[i][n - 1] = removed;
  }
}

// Start of the second word of a species name: the first non-blank character
// that follows a blank, looking from the fourth character on; null if none.
const char* SecondWord(const char* name) {
  size_t len = strlen(name);
  for (size_t k = 3; k < len; k++)
    if (name[k] != ' ' && name[k - 1] == ' ') return name + k;
  return nullptr;
}

// Counts a label on like an odometer over the printable characters '!' to
// '~', last character fastest. A full turn passes through every printable
// label of that length once, so a free one is always found.
void NextPrintableLabel(char* label, int len) {
  for (int c = len - 1; c >= 0; c--) {
    if (label[c] >= '!' && label[c] < '~') {
      label[c]++;
      return;
    }
    label[c] = '!';
  }
}

// Makes a label different from the first `n` entries by steps counted from 0:
// steps 0-3 raise characters 0-3 to upper case, steps 4-7 repeat that with no
// effect, and steps 8 on add 1 to character step - 8 while there is one. Then
// the label is counted on over the printable characters: adding 1 to the same
// few characters again and again would go round in circles once several
// hundred names share one label, as with many populations of one species.
// Only 4-character labels can collide: a shorter one is followed by its
// terminator, where every entry of the list has a character.
void MakeLabelUnique(char* label, int n) {
  int len = (int)strlen(label);
  for (int step = 0; CheckIdenticalLabels(label, spp, n); step++) {
    if (step < 8) {
      int c = step % 4;
      label[c] = (char)toupper((unsigned char)label[c]);
    } else if (step - 8 < len) {
      int c = step - 8;
      label[c] = (char)(label[c] + 1);
      if (label[c] == '\0' || label[c] == ' ') label[c] = '!';
    } else {
      NextPrintableLabel(label, len);
    }
  }
}

// A species entry that no OTU belongs to.
bool HasNoOTU(int s, int nOTUs) {
  for (int i = 0; i < nOTUs; i++)
    if (cstSppMap[i][s] == '1') return false;
  return true;
}

bool HasNoOccurrence(int s) {
  for (int j = 0; j < ncsm; j++)
    if (sppRelMap[s][j] == '1') return false;
  return true;
}

// Removes species entry s: spp and sppRelMap rows go to the end, the columns
// of cstSppMap shift down.
void RemoveSpecies(int s, int nOTUs) {
  MoveRowToEnd(spp, s, nSpp);
  MoveRowToEnd(sppRelMap, s, nSpp);
  ShiftSpeciesColumns(nOTUs, s, nSpp);
  nSpp--;
}

// ---------------------------------------------------------------------------
// Reading raw files

// Ends the dialogue when a raw file ran out: freadck1 has told the user which
// file and closed it.
[[noreturn]] void RawFileEnded() { FailJump(FAIL_READ); }

// One number of B or W: text between numbers is skipped; end of file ends
// the dialogue with code 2.
double ReadRawNumber(FILE* f, const char* name) { return ScanNumber(f, name, nullptr); }

// One number of F, by the tolerant read.
double ReadPhylogenyNumber(FILE* f, const char* name) {
  double x = 0.0;
  if (freadck1(f, "%lf", &x, name) == 0) RawFileEnded();
  return x;
}

// Labels 1, 2, ... or, for option 2, the words behind the numbers in `f`,
// kept to 10 characters. The file is closed afterwards.
void ReadLabels(FILE* f, const char* name, int n, char** labels, int option) {
  char word[4096];
  for (int k = 0; k < n; k++) {
    if (option == 2) {
      if (freadck1(f, "%4095s", word, name) == 0) RawFileEnded();
      snprintf(labels[k], labelWidth + 1, "%.10s", word);
    } else {
      snprintf(labels[k], labelWidth + 1, "%d", k + 1);
    }
  }
  fclose(f);
}

int AskCount(const char* prompt) {
  fprintf(out, "%s", prompt);
  return (int)ReadNumberIn("%d\n", "-", 1.0, 2147483647.0);
}

int AskYesNo01(const char* prompt) {
  fprintf(out, "%s", prompt);
  return (int)ReadNumberIn("%d\n", "0 1");
}

void PrintFieldLabels(const char* head, int n, char** labels, const char* format) {
  fprintf(out, "%s", head);
  for (int k = 0; k < n; k++) fprintf(out, format, labelWidth, labelWidth, labels[k]);
  fprintf(out, "\n");
}

// The raw files named at the start of the dialogue, open until they are read.
struct RawFiles {
  FILE* traits;
  FILE* phylogeny;
  FILE* communities;
  FILE* species;
  FILE* environment;
  char traitsName[nameSize];
  char phylogenyName[nameSize];
  char communitiesName[nameSize];
  char speciesName[nameSize];
  char environmentName[nameSize];
};

// Steps 1 to 6 of the dialogue: which data exist, and their file names.
void AskFiles(RawFiles* r) {
  Menu("SPECIFYING THE AVAILABLE INPUT DATA:\n");
  fprintf(out, "For each data specified below indicate by 0/1 which are available\n\n");
  fprintf(out, "OTUs = Operational Taxonomic Units, refer to species, populations, individuals or other taxonomic rank\n");
  fprintf(out, "A matrix (B) with trait description of OTUs should be always specified.\n");
  r->traits = ReadDataFileName(r->traitsName);
  if (AskYesNo01("A matrix (F) with phylogenetic resemblances of the OTUs 0/1\t") == 1)
    r->phylogeny = ReadDataFileName(r->phylogenyName);
  fprintf(out, "A matrix (W) with records of OTUS in commmunities should be always specified.\n");
  r->communities = ReadDataFileName(r->communitiesName);
  if (AskYesNo01("Species names of OTUs 0/1\t") == 1) r->species = ReadDataFileName(r->speciesName);
  if (AskYesNo01("A matrix (E) with ecosystem variables of the community sites 0/1\t") == 1)
    r->environment = ReadDataFileName(r->environmentName);
}

// Steps 7 to 12: counts, B, its labels, the trait types and groups.
void ReadTraits(RawFiles* r) {
  fprintf(out, "\n%s\n", lineL);
  tcst = AskCount("Number of OTUs: ");
  nch = AskCount("Enter number of traits (characters): ");
  // One spare row in the label and type arrays while formatting. The largest
  // count accepted leaves no room for it, and no memory holds that many
  // labels anyway: it ends as a failed allocation would.
  if (nch == 2147483647) {
    fprintf(stdout, "\a");
    FailJump(FAIL_MEMORY);
  }
  chLabel = dim2Dchar(nch + 1, labelWidth + 1);
  chtype = dim1Dint(nch + 1);
  chrange = dim1Double(nch + 1);
  onsta = dim1Dint(nch + 1);
  traitGroups = dim1Dint(nch + 1);
  csm_Float = dim2Double(tcst, nch);
  fprintf(out, "Labels for traits: \n");
  fprintf(out, "   1  given by default \n");
  fprintf(out, "   2  read labels at the end of file %s\n", r->traitsName);
  fprintf(out, "Type option no.: ");
  int labels = (int)ReadNumberIn("%d\n", "1 2");
  fprintf(out, "Trait matrix (B) format (OTUs = Operational Taxonomic Units): \n");
  fprintf(out, "   1  OTUs as columns / traits as rows \n");
  fprintf(out, "   2  OTUs as rows / traits as columns \n");
  fprintf(out, "Type option no.: ");
  int format = (int)ReadNumberIn("%d\n", "1 2");
  if (format == 1) {
    for (int t = 0; t < nch; t++)
      for (int i = 0; i < tcst; i++) csm_Float[i][t] = ReadRawNumber(r->traits, r->traitsName);
  } else {
    for (int i = 0; i < tcst; i++)
      for (int t = 0; t < nch; t++) csm_Float[i][t] = ReadRawNumber(r->traits, r->traitsName);
  }
  ReadLabels(r->traits, r->traitsName, nch, chLabel, labels);
  r->traits = nullptr;
  fprintf(out, "Trait type (1 for dichotomous, 2 for nominal, 3 for interval or ratio scale, 4 for ordinal): \n");
  PrintFieldLabels("Traits:     \t", nch, chLabel, "%*.*s\t");
  ReadLongInput(nch, chtype, "trait types", "1 2 3 4");
  hasTraitGroups = AskYesNo01("Wish to specify groups of traits? 0/1 ");
  if (hasTraitGroups == 1) {
    PrintFieldLabels("Traits:     \t", nch, chLabel, "%*.*s\t");
    ReadLongInput(nch, traitGroups, "trait groups", nullptr);
  }
}

// Step 13: F in one of its three forms.
void ReadPhylogeny(RawFiles* r) {
  hasPhylogeny = 1;
  phylogenyRese = dim2Double(tcst, tcst);
  fprintf(out, "\n%s\n", lineL);
  fprintf(out, "Format of phylogenetic resemblance matrix:\n");
  fprintf(out, "   1  a full matrix of phylogenetic distances of %d OTUs by %d OTUs (e.g. as given by PHYLOCOM)\n", tcst, tcst);
  fprintf(out, "   2  a full matrix of phylogenetic similarities of %d OTUs by %d OTUs in the 0-1 range\n", tcst, tcst);
  fprintf(out, "   3  a half, lower-diagonal matrix of phylogenetic similarities of %d OTUs by %d OTUs in the 0-1 range\n", tcst, tcst);
  fprintf(out, "Type option no.: ");
  int format = (int)ReadNumberIn("%d\n", "1 2 3");
  for (int i = 0; i < tcst; i++) {
    int last = format == 3 ? i : tcst - 1;
    for (int j = 0; j <= last; j++) phylogenyRese[i][j] = ReadPhylogenyNumber(r->phylogeny, r->phylogenyName);
  }
  if (format == 1) {
    phylogenyMatrixType = 3;
    // Only the values on or above the diagonal decide and give Dmax; the
    // whole square is divided.
    bool above1 = false;
    double dMax = 0.0;
    for (int i = 0; i < tcst; i++)
      for (int j = i; j < tcst; j++) {
        if (phylogenyRese[i][j] > 1.0) above1 = true;
        if (phylogenyRese[i][j] > dMax) dMax = phylogenyRese[i][j];
      }
    if (above1) {
      for (int i = 0; i < tcst; i++)
        for (int j = 0; j < tcst; j++) phylogenyRese[i][j] /= dMax;
      fprintf(out, "\nPhylogenetic distances were normalized to values in the range [0,1] by Dnorm = D/Dmax\n");
    }
  } else if (format == 2) {
    phylogenyMatrixType = 1;
  } else {
    // The half matrix keeps phylogenyMatrixType as it is (0 in a fresh run),
    // so the formatted file stores no matrix: intended.
    for (int i = 0; i < tcst; i++)
      for (int j = i; j < tcst; j++) phylogenyRese[i][j] = phylogenyRese[j][i];
  }
  fclose(r->phylogeny);
  r->phylogeny = nullptr;
}

// The vector form of W: counts of OTUs per community, asked again until
// they fit the number of OTUs.
void AskCommunitySizes() {
  for (;;) {
    fprintf(out, "Number of OTUs in each community:\n");
    fprintf(out, "Communities:       \t");
    for (int j = 0; j < ncsm; j++) fprintf(out, "%d\t", j + 1);
    fprintf(out, "\n");
    ReadLongInput(ncsm, ncst, "number of OTUs", nullptr);
    long sum = 0;
    for (int j = 0; j < ncsm; j++)
      if (ncst[j] > 0) sum += ncst[j];
    if (sum <= tcst) return;
    fprintf(stdout, "\a");
    fflush(stdout);
    fprintf(stderr, "\nThe numbers of OTUs add up to %ld, more than the %d OTUs. Reenter.\n", sum, tcst);
  }
}

// Steps 14 to 17: W, its labels, and the warning on W.
void ReadCommunities(RawFiles* r) {
  fprintf(out, "\n%s\n", lineL);
  ncsm = AskCount("Enter number of communities:    ");
  ncst = dim1Dint(ncsm);
  reLabel = dim2Dchar(ncsm, labelWidth + 1);
  fprintf(out, "Labels for communities: \n");
  fprintf(out, "   1  given by default \n");
  fprintf(out, "   2  read labels at the end of file %s\n", r->communitiesName);
  fprintf(out, "Type option no.: ");
  int labels = (int)ReadNumberIn("%d\n", "1 2");
  fprintf(out, "Format of matrix (W) with OTUs performances: \n");
  fprintf(out, "   1  Communities as rows \n");
  fprintf(out, "   2  Communities as columns\n");
  fprintf(out, "   3  Community data is a vector of OTUs performances in each community\n");
  fprintf(out, "Type option no.: ");
  int format = (int)ReadNumberIn("%d\n", "1 2 3");
  cadat = dim2Double(tcst, ncsm);
  FILE* f = r->communities;
  if (format == 1) {
    for (int j = 0; j < ncsm; j++)
      for (int i = 0; i < tcst; i++) cadat[i][j] = ReadRawNumber(f, r->communitiesName);
  } else if (format == 2) {
    for (int i = 0; i < tcst; i++)
      for (int j = 0; j < ncsm; j++) cadat[i][j] = ReadRawNumber(f, r->communitiesName);
  } else {
    AskCommunitySizes();
    // Each community's OTUs stand together: the next rows, in its column.
    int row = 0;
    for (int j = 0; j < ncsm; j++)
      for (int k = 0; k < ncst[j]; k++) cadat[row++][j] = ReadRawNumber(f, r->communitiesName);
  }
  ReadLabels(f, r->communitiesName, ncsm, reLabel, labels);
  r->communities = nullptr;
  // Intended as it stands: no value equals both -999 and 0, so this warning
  // never prints. Nothing is to be put in its place.
  for (int j = 0; j < ncsm; j++)
    for (int i = 0; i < tcst; i++) {
      volatile double value = cadat[i][j];
      if (value == -999 && value == 0) {
        fprintf(out, "\nPlease check matrix W. Sampling unit %s has all values zero or missing (-999), which will generate unreliable results.", reLabel[j]);
        continue;
      }
      break;
    }
}

// Step 18: the species names, their labels and maps.
void ReadSpecies(RawFiles* r) {
  nSpp = tcst;
  snprintf(whichSpp, sizeof whichSpp, "%s", r->speciesName);
  fprintf(out, "\n%s\n", lineL);
  fprintf(out, "Species labels are: \n");
  fprintf(out, "   1  the first 4 characters preceding each species name\n");
  fprintf(out, "   2  to be created by the program\n");
  fprintf(out, "Type option no.: ");
  int labels = (int)ReadNumberIn("%d\n", "1 2");
  spp = dim2Dchar(tcst, sppWidth);
  for (int i = 0; i < tcst; i++) freadlineckTEMP(r->species, sppLineLimit, spp[i], r->speciesName);
  fclose(r->species);
  r->species = nullptr;
  sppRelMap = dim2Dchar(tcst, ncsm);
  cstSppMap = dim2Dchar(tcst, tcst);
  for (int i = 0; i < tcst; i++) memset(sppRelMap[i], '0', (size_t)ncsm);
  CheckSpecies(labels);
  SpeciesReleveMap();
}

// Step 20: the types of the environmental variables.
void AskVariableTypes() {
  fprintf(out, "Types of variables: \n   1 only quantitative variables, same units \n   2 only quantitative variables, different units \n   3 only qualitative, non binary variables\n   4 only binary variables\n   5 several types \n");
  fprintf(out, "Type option no.: ");
  optEnvVarType = (int)ReadNumberIn("%d\n", "1 2 3 4 5");
  temEnvQuant = temEnvQual = temEnvBin = 0;
  int type = 0;
  switch (optEnvVarType) {
    case 1:
    case 2: temEnvQuant = 1; type = 3; break;
    case 3: temEnvQual = 1; type = 2; break;
    case 4: temEnvBin = 1; type = 1; break;
  }
  if (type != 0) {
    for (int v = 0; v < nenv; v++) envVarType[v] = type;
    return;
  }
  // Several types: asked until at least two kinds are present or the user
  // accepts a single kind. The flags are not reset between attempts.
  for (;;) {
    fprintf(out, "Enter variable type (1:binary, 2:nominal, 3:quantitative interval or ratio scale, 4:ordinal): \n");
    PrintFieldLabels("Variable:    \t", nenv, envLabel, "%*.*s ");
    ReadLongInput(nenv, envVarType, "variable type", "1 2 3 4");
    for (int v = 0; v < nenv; v++) {
      if (envVarType[v] == 1) temEnvBin = 1;
      if (envVarType[v] == 2) temEnvQual = 1;
      if (envVarType[v] == 3 || envVarType[v] == 4) temEnvQuant = 1;
    }
    if (temEnvBin + temEnvQual + temEnvQuant >= 2) return;
    fprintf(out, "Data not mixed as indicated!!!\n");
    fprintf(out, "Wish to correct manually? y/n ");
    if (ReadCharIn("y n") == 'n') {
      optEnvVarType = temEnvQual ? 3 : (temEnvQuant ? 2 : (temEnvBin ? 4 : optEnvVarType));
      return;
    }
  }
}

// One number of E: a non-number or the end of the file ends with code 2.
double ReadEnvNumber(FILE* f, const char* name) {
  double x = 0.0;
  freadck(f, "%lf", &x, name);
  return x;
}

// Steps 19 to 23: E, its labels and types, and the warning on E.
void ReadEnvironment(RawFiles* r) {
  fprintf(out, "\n%s\n", lineL);
  nenv = AskCount("Number of environmental variables: ");
  snprintf(envName, sizeof envName, "%s", r->environmentName);
  env = dim2Double(ncsm, nenv);
  envLabel = dim2Dchar(nenv, labelWidth + 1);
  envVarType = dim1Dint(nenv);
  fprintf(out, "Labels for environmental variables: \n");
  fprintf(out, "   1  given by default\n");
  fprintf(out, "   2  read labels at the end of file %s\n", r->environmentName);
  fprintf(out, "Type option no.: ");
  int labels = (int)ReadNumberIn("%d\n", "1 2");
  AskVariableTypes();
  FILE* f = r->environment;
  bool byCommunities = false;
  if (nenv >= 2) {
    fprintf(out, "Data entered by communities(N) or by variables(T)?: ");
    byCommunities = ReadCharIn("n t") == 'n';
  }
  if (byCommunities) {
    for (int c = 0; c < ncsm; c++)
      for (int v = 0; v < nenv; v++) env[c][v] = ReadEnvNumber(f, r->environmentName);
  } else {
    for (int v = 0; v < nenv; v++)
      for (int c = 0; c < ncsm; c++) env[c][v] = ReadEnvNumber(f, r->environmentName);
  }
  char word[4096];
  for (int v = 0; v < nenv; v++) {
    if (labels == 2) {
      freadck(f, "%4095s", word, r->environmentName);
      snprintf(envLabel[v], labelWidth + 1, "%.10s", word);
    } else {
      snprintf(envLabel[v], labelWidth + 1, "%d", v + 1);
    }
  }
  fclose(f);
  r->environment = nullptr;
  // Once for each leading -999 of a community, as the check has always run.
  for (int c = 0; c < ncsm; c++)
    for (int v = 0; v < nenv; v++) {
      if (env[c][v] != -999) break;
      fprintf(out, "\nPlease check matrix E. Sampling unit %s has all values missing (-999), which will generate unreliable results.", reLabel[c]);
    }
}

// Step 25: the dialogue's arrays go; the session loads the new file.
void ReleaseDialogueArrays(int sppRows) {
  free2D(csm_Float, tcst);
  free2D(cadat, tcst);
  free2D(chLabel, nch + 1);
  free1D(chtype);
  free1D(chrange);
  free1D(onsta);
  free1D(traitGroups);
  free2D(reLabel, ncsm);
  free1D(ncst);
  free2D(phylogenyRese, phylogenyRese ? tcst : 0);
  free2D(env, env ? ncsm : 0);
  free2D(envLabel, envLabel ? nenv : 0);
  free1D(envVarType);
  free2D(spp, spp ? sppRows : 0);
  free2D(sppRelMap, sppRelMap ? sppRows : 0);
  free2D(cstSppMap, cstSppMap ? tcst : 0);
  csm_Float = cadat = phylogenyRese = env = nullptr;
  chLabel = reLabel = envLabel = spp = sppRelMap = cstSppMap = nullptr;
  chtype = onsta = traitGroups = ncst = envVarType = nullptr;
  chrange = nullptr;
}

} // namespace

// ---------------------------------------------------------------------------
// The dialogue

int IFFormat() {
  tcst = nch = nSpp = ncsm = nenv = 0;
  hasPhylogeny = 0;
  SMWSize = 1;
  csm_Float = cadat = phylogenyRese = env = nullptr;
  chLabel = reLabel = envLabel = spp = sppRelMap = cstSppMap = nullptr;
  chtype = onsta = traitGroups = ncst = envVarType = nullptr;
  chrange = nullptr;
  RawFiles r;
  memset(&r, 0, sizeof r);
  AskFiles(&r);
  ReadTraits(&r);
  if (r.phylogeny != nullptr) ReadPhylogeny(&r);
  ReadCommunities(&r);
  int sppRows = 0;
  if (r.species != nullptr) {
    sppRows = tcst;
    ReadSpecies(&r);
  }
  if (r.environment != nullptr) ReadEnvironment(&r);
  CountStates(nch, tcst, onsta, csm_Float);
  snprintf(dataName, sizeof dataName, "%s", r.traitsName);
  WriteFormda(tcst, whichFormda, dataName, csm_Float, cadat);
  ReleaseDialogueArrays(sppRows);
  return 1;
}

// ---------------------------------------------------------------------------
// Species lists

int CheckIdenticalLabels(const char* label, char** labels, int n) {
  for (int k = 0; k < n; k++)
    if (strncmp(label, labels[k], 4) == 0) return 1;
  return 0;
}

int HasQualitTrait(int n, int* types) {
  for (int k = 0; k < n; k++)
    if (types[k] == 2) return 1;
  return 0;
}

void CheckSpecies(int labels) {
  nSpp = tcst;
  for (int i = 0; i < tcst; i++)
    for (int s = 0; s < tcst; s++) cstSppMap[i][s] = i == s ? '1' : '0';
  // Identical names: b's OTUs join a, and b leaves the list.
  for (int a = 0; a < nSpp; a++)
    for (int b = a + 1; b < nSpp;) {
      if (strcmp(spp[a], spp[b]) != 0) {
        b++;
        continue;
      }
      for (int i = 0; i < tcst; i++)
        if (cstSppMap[i][b] == '1') cstSppMap[i][a] = '1';
      MoveRowToEnd(spp, b, nSpp);
      ShiftSpeciesColumns(tcst, b, nSpp);
      for (int i = 0; i < tcst; i++) cstSppMap[i][nSpp - 1] = '0';
      nSpp--;
    }
  if (labels == 1) return;
  char label[5], entry[sppWidth];
  for (int e = 0; e < nSpp; e++) {
    memset(label, 0, sizeof label);
    strncpy(label, spp[e], 2);
    const char* second = SecondWord(spp[e]);
    if (second != nullptr) strncat(label, second, 2);
    MakeLabelUnique(label, e);
    snprintf(entry, sizeof entry, "%s %.65s", label, spp[e]);
    snprintf(spp[e], sppWidth, "%s", entry);
  }
}

void SpeciesReleveMap() {
  for (int s = 0; s < nSpp; s++)
    for (int i = 0; i < tcst; i++) {
      if (cstSppMap[i][s] != '1') continue;
      for (int j = 0; j < ncsm; j++) {
        // A missing value (-999) counts as present.
        if (cadat[i][j] != 0)
          sppRelMap[s][j] = '1';
        else if (sppRelMap[s][j] != '1')
          sppRelMap[s][j] = '0';
      }
    }
}

void CheckSpeciesMerge() {
  for (int a = 0; a < nSpp; a++)
    for (int b = a + 1; b < nSpp - 1;) {
      if (strcmp(spp[a], spp[b]) != 0) {
        b++;
        continue;
      }
      // Settled: only position b moves, so the tail is not shifted as a whole.
      swap(spp, b, b + 1);
      for (int i = 0; i < tcst; i++) {
        if (cstSppMap[i][b] == '1') {
          cstSppMap[i][a] = '1';
          cstSppMap[i][b] = '0';
        }
        cstSppMap[i][b] = cstSppMap[i][b + 1];
      }
      for (int j = 0; j < ncsm; j++) {
        if (sppRelMap[b][j] == '1') sppRelMap[a][j] = '1';
        sppRelMap[b][j] = sppRelMap[b + 1][j];
      }
      nSpp--;
    }
}

void CheckCSTsSameSpecies() {
  int t = -1;
  for (int k = 0; k < nch; k++)
    if (strcmp(chLabel[k], "sp") == 0) t = k;
  if (t < 0) return;
  for (int i = 0; i < tcst; i++) csm_Float[i][t] = i;
  for (int i = 0; i < tcst; i++)
    for (int k = i + 1; k < tcst; k++)
      for (int s = 0; s < nSpp; s++)
        if (cstSppMap[i][s] == '1' && cstSppMap[k][s] == '1') {
          csm_Float[k][t] = csm_Float[i][t];
          break;
        }
}

void TrimSpecies(int nOTUs) {
  int rows = nSpp;
  for (int s = 0; s < nSpp;) {
    if (HasNoOTU(s, nOTUs))
      RemoveSpecies(s, nOTUs);
    else
      s++;
  }
  for (int s = 0; s < nSpp;) {
    if (HasNoOccurrence(s))
      RemoveSpecies(s, nOTUs);
    else
      s++;
  }
  for (int i = 0; i < nOTUs; i++)
    for (int s = 0; s < nSpp; s++) {
      if (cstSppMap[i][s] != '1') continue;
      bool shared = false;
      for (int j = 0; j < ncsm && !shared; j++) shared = cadat[i][j] != 0 && sppRelMap[s][j] == '1';
      if (!shared) cstSppMap[i][s] = '0';
    }
  for (int s = nSpp; s < rows; s++) {
    free1D(spp[s]);
    free1D(sppRelMap[s]);
    spp[s] = nullptr;
    sppRelMap[s] = nullptr;
  }
}

void CheckData(int recount) {
  // OTUs present nowhere go to the end, keeping the order of the others.
  for (int i = 0; i < tcst;) {
    bool present = false;
    for (int j = 0; j < ncsm && !present; j++) present = cadat[i][j] > 1e-13 || cadat[i][j] < -1e-13;
    if (present) {
      i++;
      continue;
    }
    for (int k = i; k < tcst - 1; k++) {
      swap(csm_Float, k, k + 1);
      swap(cadat, k, k + 1);
      if (nSpp > 0) swap(cstSppMap, k, k + 1);
    }
    tcst--;
  }
  if (nSpp > 0) {
    CheckSpeciesMerge();
    CheckCSTsSameSpecies();
  }
  emptyReleves = 0;
  for (int j = 0; j < ncsm; j++) {
    ncst[j] = 0;
    for (int i = 0; i < tcst; i++)
      if (cadat[i][j] != 0) ncst[j]++;
    if (ncst[j] == 0) emptyReleves++;
  }
  if (recount == 1) CountStates(nch, tcst, onsta, csm_Float);
  for (int t = 0; t < nch; t++)
    if (chtype[t] == 3) {
      RangeStates(nch, tcst, csm_Float, chtype, chrange);
      break;
    }
  if (nSpp >= 1) TrimSpecies(tcst);
}

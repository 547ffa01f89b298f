// A new session's data taken from another session: PickSomeFormda, its selections, and the poolings of communities by groups, pairs and moving windows.
#include "session/deriveFormda.h"

#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "scaling/settings.h"
#include "session/formda.h"
#include "session/rawData.h"
#include "session/session.h"
#include "shell/console.h"
#include "shell/shell.h"
#include "shell/track.h"

namespace {

const int labelWidth = 10; // characters of a trait, community or variable label

// What the user chose, as 0-based positions in the old data. A selection may
// repeat an item and change the order.
struct Selection {
  int nTraits;
  int* traits;
  int nOTUs;
  int* otus;
  int nCommunities;
  int* communities;
  int nVariables;
  int* variables;
  int communityOption; // 1 keep, 2 subset, 3 groups, 4 change, 5 moving window
};

// ---------------------------------------------------------------------------
// Small helpers

int* AllPositions(int n) {
  int* positions = dim1Dint(n > 0 ? n : 1);
  for (int i = 0; i < n; i++) positions[i] = i;
  return positions;
}

int FindLabel(const char* label, char** labels, int n) {
  for (int i = 0; i < n; i++)
    if (strcmp(label, labels[i]) == 0) return i;
  return -1;
}

// A refusal of a selection: the prompt comes again.
void RefuseSelection(const char* text) {
  fflush(stdout);
  fprintf(stderr, "%s", text);
}

int AskKeepOrModify(const char* head) {
  fprintf(out, "%s", head);
  fprintf(out, "   1  keep the same \n");
  fprintf(out, "   2  modify \n");
  fprintf(out, "Type option no.: ");
  return (int)ReadNumberIn("%d\n", "1 2");
}

int AskCount(const char* prompt, int most) {
  fprintf(out, "%s", prompt);
  return (int)ReadNumberIn("%d\n", "-", 1.0, (double)most);
}

// n labels typed by the user, each found among `known`; asked again until
// every one is found.
int* SelectByLabels(int n, char** known, int nKnown, const char* prompt, const char* name) {
  int* positions = dim1Dint(n);
  char** typed = dim2Dchar(n, labelWidth + 1);
  for (;;) {
    fprintf(out, "%s", prompt);
    ReadLongInput(n, labelWidth, typed, name);
    bool found = true;
    for (int i = 0; i < n && found; i++) {
      positions[i] = FindLabel(typed[i], known, nKnown);
      found = positions[i] >= 0;
    }
    if (found) break;
    RefuseSelection("\nError!! Enter again. \n");
  }
  free2D(typed, n);
  return positions;
}

// ---------------------------------------------------------------------------
// Copies by selection. A null `cols` takes all nCols columns in order.

double** PickDoubles(double** source, int nRows, const int* rows, int nCols, const int* cols) {
  double** target = dim2Double(nRows, nCols);
  for (int i = 0; i < nRows; i++)
    for (int j = 0; j < nCols; j++) target[i][j] = source[rows[i]][cols ? cols[j] : j];
  return target;
}

// Character maps keep one spare place behind each row, as the loader makes them.
char** PickChars(char** source, int nRows, const int* rows, int nCols, const int* cols) {
  char** target = dim2Dchar(nRows, nCols + 1);
  for (int i = 0; i < nRows; i++)
    for (int j = 0; j < nCols; j++) target[i][j] = source[rows ? rows[i] : i][cols ? cols[j] : j];
  return target;
}

char** PickLabels(char** source, int n, const int* rows) {
  char** target = dim2Dchar(n, labelWidth + 1);
  for (int i = 0; i < n; i++) CopyPrefix(target[i], source[rows[i]], labelWidth);
  return target;
}

int* PickInts(const int* source, int n, const int* positions) {
  int* target = dim1Dint(n > 0 ? n : 1);
  for (int i = 0; i < n; i++) target[i] = source[positions[i]];
  return target;
}

double* PickDoubles1(const double* source, int n, const int* positions) {
  double* target = dim1Double(n > 0 ? n : 1);
  for (int i = 0; i < n; i++) target[i] = source[positions[i]];
  return target;
}

// ---------------------------------------------------------------------------
// The dialogue

// The old session's track file, when it has content, so that its partitions
// and clustering records are at hand; whichTrack is restored afterwards.
void ReadOldSettings() {
  char tempTrack[sizeof whichTrack];
  snprintf(tempTrack, sizeof tempTrack, "%s", whichTrack);
  snprintf(whichTrack, sizeof whichTrack, "%.40s%s", tempSession, trackExt);
  char path[sizeof volumeName + sizeof whichTrack];
  snprintf(path, sizeof path, "%s%s", volumeName, whichTrack);
  // Only a probe: an old session without a track file is no failure.
  FILE* fp = fopen(path, "r");
  if (fp != nullptr) {
    char word[2];
    int got = fscanf(fp, "%1s", word);
    fclose(fp);
    if (got == 1) ReadTrack();
  }
  snprintf(whichTrack, sizeof whichTrack, "%s", tempTrack);
}

int* SelectTraits(int* n) {
  if (AskKeepOrModify("Traits:\n") == 1) {
    *n = nch;
    return AllPositions(nch);
  }
  *n = AskCount("Enter new number of traits: ", nch);
  return SelectByLabels(*n, chLabel, nch, "Identify the traits by their labels: \n", "traits");
}

int* SelectOTUs(int* n) {
  fprintf(out, "\n%s\n", lineL);
  if (AskKeepOrModify("Populations:\n") == 1) {
    *n = tcst;
    return AllPositions(tcst);
  }
  *n = AskCount("Enter new number of OTUs:   ", tcst);
  int* positions = dim1Dint(*n);
  for (;;) {
    fprintf(out, "Identify the OTUs by their position on file: \n");
    ReadLongInput(*n, positions, "OTUs", nullptr);
    bool valid = true;
    for (int i = 0; i < *n; i++) valid = valid && positions[i] >= 1 && positions[i] <= tcst;
    if (valid) break;
    RefuseSelection("Error!! Enter again. \n");
  }
  for (int i = 0; i < *n; i++) positions[i]--;
  return positions;
}

// The community question, asked again where the data cannot take the option.
int AskCommunityOption() {
  fprintf(out, "\n%s\n", lineL);
  for (;;) {
    fprintf(out, "Communities:\n");
    fprintf(out, "   1  keep the same \n");
    fprintf(out, "   2  modify \n");
    fprintf(out, "   3  pool according to groups \n");
    fprintf(out, "   4  compute change between communities\n");
    fprintf(out, "   5  pool for split moving-window edge detection (spatial or temporal series)\n");
    fprintf(out, "Type option no.: ");
    int option = (int)ReadNumberIn("%d\n", "1 2 3 4 5");
    if (option == 4 && temEnvQual == 1) {
      puts("\b\nWarning! Change in environmental variables that are qualitative");
      puts("will result in a binary variable: 1 if there is change, 0 if there is not.");
    }
    if (option == 4 && ncsm % 2 != 0) {
      // Refused: with an odd number the last community would have no pair.
      puts("\b\nThis option is not possible, for the number of communities must be even.");
      continue;
    }
    if ((option == 3 || option == 5) && temEnvBin == 1)
      puts("\b\nWarning! Binary environmental variables will be averaged, and therefore will become quantitative.");
    if (option == 3 && temEnvQual == 1) {
      puts("\b\nThis option not allowed with this data: pooling environmental variables that are qualitative is not possible.");
      continue;
    }
    return option;
  }
}

// The current partition of communities becomes partition 0, which the
// pooling dialogues fill.
void UsePartitionZero() {
  whichPart = 0;
  grLabel = grLabelP[0];
  groupRel = groupRelP[0];
}

void AskWindowSize() {
  fprintf(out, "\nThe community set must conform a spatial or temporal series\n (see Ludwig & Cornelius 1987, Ecology v.68).\n");
  fprintf(out, "A formda file will be created by pooling communities according to\n the selected split moving-window size.\n");
  for (;;) {
    fprintf(out, "\nEnter the size of the split moving-window (must be even): ");
    int size = (int)ReadNumberIn("%d\n", "-", 1.0, (double)ncsm);
    if (size % 2 == 0) {
      // The pooling runs over half the window: SMWSize is not the size typed.
      SMWSize = size / 2;
      return;
    }
    puts("\b\nEnter again. Must be even.");
  }
}

void AskPairs() {
  fprintf(out, "\nTo compute change each vegetation unit must have two communities.\n");
  fprintf(out, "A formda file will be created with the vegetation units.\n");
  fprintf(out, "The new communities will contain differences between the 2nd and\n1st communities in each unit.\n");
  if (nenv > 0)
    fprintf(out, "\nThe new communities will contain changes in the environmental variables as well.\n");
  fprintf(out, "The user will inform how communities are ordered, but 2nd communities must\nallways come after 1st ones.\n");
  UsePartitionZero();
  // One place more than the communities: the pair order of SettingNewReleves
  // writes one behind the last community when their number is odd.
  int* group = dim1Dint(ncsm + 1);
  memcpy(group, groupRelP[0], sizeof(int) * (size_t)ncsm);
  free1D(groupRelP[0]);
  groupRel = groupRelP[0] = group;
  SettingNewReleves(ncsm, &nGroups, groupRel, grLabel);
}

// Steps of the community options before the data are cut: the number of
// communities kept, and the partition or window of the pooling.
int AskCommunityPooling(int option) {
  switch (option) {
    case 2:
      return AskCount("Enter new number of communities:    ", ncsm);
    case 3:
      UsePartitionZero();
      SettingAnyGroups(ncsm, &nGroups, groupRel, grLabel, "communities");
      break;
    case 4:
      AskPairs();
      break;
    case 5:
      AskWindowSize();
      break;
  }
  return ncsm;
}

int* SelectCommunities(int option, int n) {
  if (option != 2) return AllPositions(ncsm);
  return SelectByLabels(n, reLabel, ncsm, "Identify the communities by their labels: \n",
                        "communities");
}

// optEnvVarType after a selection of variables. With mixed types the flags
// are set again from the selected ones (never cleared), type 4 counting as
// quantitative as in the raw-data dialogue.
void SettleVariableTypes(int n, const int* variables) {
  if (optEnvVarType == 5) {
    for (int k = 0; k < n; k++) {
      int type = envVarType[variables[k]];
      if (type == 1) temEnvBin = 1;
      if (type == 2) temEnvQual = 1;
      if (type == 3 || type == 4) temEnvQuant = 1;
    }
    if (temEnvBin + temEnvQual + temEnvQuant < 2) {
      if (temEnvQual)
        optEnvVarType = 3;
      else if (temEnvQuant)
        optEnvVarType = 2;
      else if (temEnvBin)
        optEnvVarType = 4;
    }
  }
  if (optEnvVarType == 2 && n < 2) optEnvVarType = 1;
}

int* SelectVariables(int* n) {
  *n = nenv;
  if (nenv <= 0) return nullptr;
  fprintf(out, "\n%s\n", lineL);
  int* variables;
  if (AskKeepOrModify("Environmental variables:\n") == 1) {
    variables = AllPositions(nenv);
  } else {
    *n = AskCount("Enter new number of environmental variables: ", nenv);
    variables = SelectByLabels(*n, envLabel, nenv, "Identify the variables by their labels: \n",
                               "environmental variables");
  }
  SettleVariableTypes(*n, variables);
  return variables;
}

// ---------------------------------------------------------------------------
// The cut: every array by the selections

void CutTraits(const Selection& s) {
  int* types = PickInts(chtype, s.nTraits, s.traits);
  int* states = PickInts(onsta, s.nTraits, s.traits);
  // Trait groups follow their traits, so that the groups still fit the file.
  int* groups = PickInts(traitGroups, s.nTraits, s.traits);
  double* ranges = PickDoubles1(chrange, s.nTraits, s.traits);
  char** labels = PickLabels(chLabel, s.nTraits, s.traits);
  free1D(chtype);
  free1D(onsta);
  free1D(traitGroups);
  free1D(chrange);
  free2D(chLabel, nch);
  chtype = types;
  onsta = states;
  traitGroups = groups;
  chrange = ranges;
  chLabel = labels;
}

// The phylogeny follows the OTUs, so that row i still describes OTU i.
void CutPhylogeny(const Selection& s) {
  if (!hasPhylogeny) return;
  if (phylogenyRese != nullptr) {
    double** cut = PickDoubles(phylogenyRese, s.nOTUs, s.otus, s.nOTUs, s.otus);
    free2D(phylogenyRese, tcst);
    phylogenyRese = cut;
  }
  if (phylogenyData != nullptr) {
    double** cut = PickDoubles(phylogenyData, s.nOTUs, s.otus, nClados, nullptr);
    free2D(phylogenyData, tcst);
    phylogenyData = cut;
  }
}

void CutEnvironment(const Selection& s) {
  if (nenv <= 0) return;
  double** values = PickDoubles(env, s.nCommunities, s.communities, s.nVariables, s.variables);
  char** labels = PickLabels(envLabel, s.nVariables, s.variables);
  int* types = PickInts(envVarType, s.nVariables, s.variables);
  free2D(env, ncsm);
  free2D(envLabel, nenv);
  free1D(envVarType);
  env = values;
  envLabel = labels;
  envVarType = types;
}

void CutSpecies(const Selection& s) {
  if (nSpp <= 0) return;
  char** otuMap = PickChars(cstSppMap, s.nOTUs, s.otus, nSpp, nullptr);
  char** communityMap = PickChars(sppRelMap, nSpp, nullptr, s.nCommunities, s.communities);
  free2D(cstSppMap, tcst);
  free2D(sppRelMap, nSpp);
  cstSppMap = otuMap;
  sppRelMap = communityMap;
}

void CutData(const Selection& s) {
  CutTraits(s);
  double** traits = PickDoubles(csm_Float, s.nOTUs, s.otus, s.nTraits, s.traits);
  double** communities = PickDoubles(cadat, s.nOTUs, s.otus, s.nCommunities, s.communities);
  free2D(csm_Float, tcst);
  free2D(cadat, tcst);
  csm_Float = traits;
  cadat = communities;
  CutSpecies(s);
  CutPhylogeny(s);
  char** labels = PickLabels(reLabel, s.nCommunities, s.communities);
  free2D(reLabel, ncsm);
  reLabel = labels;
  CutEnvironment(s);
  free2D(cstTrack, nch);
  cstTrack = nullptr;
  ncsm = s.nCommunities;
  nenv = s.nVariables;
  nch = s.nTraits;
  tcst = s.nOTUs;
}

// ---------------------------------------------------------------------------
// Trimming absent OTUs

// Releases rows first .. last - 1 of a matrix, leaving its row block.
template <typename T>
void ReleaseRows(T** matrix, int first, int last) {
  if (matrix == nullptr) return;
  for (int i = first; i < last; i++) {
    free1D(matrix[i]);
    matrix[i] = nullptr;
  }
}

// CheckData moves each absent OTU to the end, one place at a time; the same
// moves on the OTU numbers give the order in which the phylogeny follows.
int* TrimOrder() {
  int* order = AllPositions(tcst);
  int n = tcst;
  for (int i = 0; i < n;) {
    bool present = false;
    for (int j = 0; j < ncsm && !present; j++)
      present = cadat[order[i]][j] > 1e-13 || cadat[order[i]][j] < -1e-13;
    if (present) {
      i++;
      continue;
    }
    for (int k = i; k < n - 1; k++) {
      int t = order[k];
      order[k] = order[k + 1];
      order[k + 1] = t;
    }
    n--;
  }
  return order;
}

void TrimOTUs() {
  int rows = tcst;
  int* order = TrimOrder();
  CheckData(1);
  if (hasPhylogeny && phylogenyRese != nullptr) {
    double** moved = PickDoubles(phylogenyRese, tcst, order, tcst, order);
    free2D(phylogenyRese, rows);
    phylogenyRese = moved;
  }
  if (hasPhylogeny && phylogenyData != nullptr) {
    double** moved = PickDoubles(phylogenyData, tcst, order, nClados, nullptr);
    free2D(phylogenyData, rows);
    phylogenyData = moved;
  }
  free1D(order);
  // The removed OTUs stand behind tcst: their rows go now.
  ReleaseRows(csm_Float, tcst, rows);
  ReleaseRows(cadat, tcst, rows);
  ReleaseRows(cstSppMap, tcst, rows);
}

// ---------------------------------------------------------------------------
// Poolings of communities

// New community labels from the group labels of the current partition.
void LabelsFromGroups(int n) {
  char** labels = dim2Dchar(n, labelWidth + 1);
  for (int g = 0; g < n; g++) CopyPrefix(labels[g], grLabel[g], labelWidth);
  free2D(reLabel, ncsm);
  reLabel = labels;
}

// sppRelMap over n groups: '1' where the species occurs in one of the group's
// communities. Communities of a group number outside 1..n count nowhere.
void SpeciesByGroups(int n, const int* group) {
  if (nSpp <= 0) return;
  char** map = dim2Dchar(nSpp, n + 1);
  for (int s = 0; s < nSpp; s++) {
    memset(map[s], '0', (size_t)n);
    for (int c = 0; c < ncsm; c++)
      if (sppRelMap[s][c] == '1' && group[c] >= 1 && group[c] <= n) map[s][group[c] - 1] = '1';
  }
  free2D(sppRelMap, nSpp);
  sppRelMap = map;
}

// ncst of n communities: OTUs above 0 (positiveOnly), or other than 0.
void CountPresent(int n, bool positiveOnly) {
  for (int j = 0; j < n; j++) {
    ncst[j] = 0;
    for (int i = 0; i < tcst; i++)
      if (positiveOnly ? cadat[i][j] > 0 : cadat[i][j] != 0) ncst[j]++;
  }
}

void OTUsInOwnGroups() {
  for (int i = 0; i < tcst; i++) groupCst[i] = i + 1;
}

void PoolByGroups() {
  OTUsInOwnGroups();
  double** pooled = dim2Double(tcst, nGroups);
  ConcentrateGroups(tcst, ncsm, cadat, pooled, tcst, groupCst, nGroups, groupRel, 2);
  free2D(cadat, tcst);
  cadat = pooled;
  LabelsFromGroups(nGroups);
  if (nenv > 0) {
    int* identity = dim1Dint(nenv);
    for (int k = 0; k < nenv; k++) identity[k] = k + 1;
    double** pooledEnv = dim2Double(nGroups, nenv);
    ConcentrateGroups(ncsm, nenv, env, pooledEnv, nGroups, groupRel, nenv, identity, 2);
    free1D(identity);
    free2D(env, ncsm);
    env = pooledEnv;
    if (temEnvBin == 1) {
      // Means of 0/1 values are proportions.
      for (int k = 0; k < nenv; k++)
        if (envVarType[k] == 1) envVarType[k] = 3;
      temEnvBin = 0;
    }
  }
  SpeciesByGroups(nGroups, groupRel);
  ncsm = nGroups;
  CountPresent(ncsm, true);
}

// E through ReleveChange, variables as rows.
void EnvironmentChange() {
  double** byVariable = dim2Double(nenv, ncsm);
  for (int j = 0; j < ncsm; j++)
    for (int k = 0; k < nenv; k++) byVariable[k][j] = env[j][k];
  double** change = dim2Double(nenv, nGroups);
  ReleveChange(ncsm, byVariable, change, nenv, nGroups, groupRel);
  double** changed = dim2Double(nGroups, nenv);
  for (int g = 0; g < nGroups; g++)
    for (int k = 0; k < nenv; k++) changed[g][k] = change[k][g];
  free2D(byVariable, nenv);
  free2D(change, nenv);
  free2D(env, ncsm);
  env = changed;
  if (temEnvQual == 1) {
    // A nominal variable's change is whether it changed.
    for (int k = 0; k < nenv; k++) {
      if (envVarType[k] != 2) continue;
      for (int g = 0; g < nGroups; g++) env[g][k] = env[g][k] != 0 ? 1.0 : 0.0;
      envVarType[k] = 1;
    }
    temEnvQual = 0;
  }
}

void PoolChanges() {
  OTUsInOwnGroups();
  double** change = dim2Double(tcst, ncsm / 2);
  ReleveChange(ncsm, cadat, change, tcst, nGroups, groupRel);
  free2D(cadat, tcst);
  cadat = change;
  LabelsFromGroups(nGroups);
  if (nenv > 0) EnvironmentChange();
  SpeciesByGroups(nGroups, groupRel);
  ncsm = nGroups;
  CountPresent(ncsm, false);
}

void PoolMovingWindow() {
  int w = SMWSize;
  int nNew = ncsm - w + 1;
  double** pooled = dim2Double(tcst, nNew);
  SplitMovingWinPool(tcst, ncsm, cadat, pooled, w, &nNew, false);
  free2D(cadat, tcst);
  cadat = pooled;
  if (nenv > 0) {
    // Variable types stay as they are, binary ones included.
    double** pooledEnv = dim2Double(nNew, nenv);
    SplitMovingWinPool(ncsm, nenv, env, pooledEnv, w, &nNew, true);
    free2D(env, ncsm);
    env = pooledEnv;
  }
  if (nSpp > 0) {
    char** map = dim2Dchar(nSpp, nNew + 1);
    for (int s = 0; s < nSpp; s++)
      for (int j = 0; j < nNew; j++) {
        map[s][j] = '0';
        for (int c = j; c < j + w; c++)
          if (sppRelMap[s][c] == '1') map[s][j] = '1';
      }
    free2D(sppRelMap, nSpp);
    sppRelMap = map;
  }
  // The new communities keep the labels of the first nNew old ones.
  ReleaseRows(reLabel, nNew, ncsm);
  ncsm = nNew;
  CountPresent(ncsm, false);
  fprintf(out, "\nA formda file for this session, with %d communities, has been created.\n", ncsm);
  fprintf(out, "\nThe first new community is the average of the first %d communities in the series,\n the second new one is an average of the %d communities starting at the second\n community in the series, and so on.\n", w, w);
  fprintf(out, "\nReleve labels correspond to the labels of the first\n %d previous communities in the series.\n", ncsm);
}

void FreeSelection(Selection* s) {
  free1D(s->traits);
  free1D(s->otus);
  free1D(s->communities);
  free1D(s->variables);
}

} // namespace

// ---------------------------------------------------------------------------
// PickSomeFormda

void PickSomeFormda() {
  OpenFormda(1);
  ClearLine();
  // Without E the loader leaves the type flags of an earlier session: they
  // describe no variable here.
  if (nenv == 0) temEnvQuant = temEnvQual = temEnvBin = 0;
  ReadOldSettings();
  Menu("GETTING DATA FROM ANOTHER SESSION");
  Selection s;
  s.traits = SelectTraits(&s.nTraits);
  s.otus = SelectOTUs(&s.nOTUs);
  s.communityOption = AskCommunityOption();
  s.nCommunities = AskCommunityPooling(s.communityOption);
  free1D(ncst);
  ncst = dim1Dint(s.nCommunities);
  s.communities = SelectCommunities(s.communityOption, s.nCommunities);
  s.variables = SelectVariables(&s.nVariables);
  CutData(s);
  FreeSelection(&s);

  fprintf(out, "Trim OTUs absent in all communities? y/n ");
  // The terminal's answer, never recorded.
  if (ScanChar(stdin, "y n", "keyboard") == 'y') TrimOTUs();

  if (s.communityOption == 3) PoolByGroups();
  if (s.communityOption == 4) PoolChanges();
  if (s.communityOption == 5) PoolMovingWindow();

  // The new file's first line names the file it comes from.
  snprintf(justName, sizeof justName, "%s", whichFormda);
  snprintf(whichFormda, sizeof whichFormda, "%.37s%s", sessionName, formdaExt);
  WriteFormda(tcst, whichFormda, justName, csm_Float, cadat);
  if (emptyReleves > 0) {
    fprintf(out, "\nWarning!! There are %d empty communities!!\n", emptyReleves);
    fprintf(out, "Inspect file %s\n", whichFormda);
  }
}

// ---------------------------------------------------------------------------
// Pairs of communities

void SettingNewReleves(int nOld, int* nNew, int* group, char** labels) {
  *nNew = nOld / 2;
  fprintf(out, "\nLabels for new communities: \n");
  fprintf(out, "   1  given by default \n");
  fprintf(out, "   2  specify new labels \n");
  fprintf(out, "Type option no.: ");
  if ((int)ReadNumberIn("%d\n", "1 2") == 1) {
    for (int i = 0; i < *nNew; i++) snprintf(labels[i], 5, "%d", (i + 1) % 10000);
  } else {
    do {
      fprintf(out, "\nEnter labels (max. 4 alphanumeric characters):\n");
      for (int i = 0; i < *nNew; i++) fprintf(out, "%2d ", i + 1);
      fprintf(out, "\n");
      for (int i = 0; i < *nNew; i++) ReadStringIn("%4s ", labels[i]);
      fprintf(out, "Are these correct? y/n ");
    } while (ReadCharIn("y n") == 'n');
  }
  fprintf(out, "\nOrder of the communities in the formda file: \n");
  fprintf(out, "   1  all 2nd communities are after all 1st communities, in the same order \n");
  fprintf(out, "   2  each 2nd community follows the corresponding 1st community \n");
  fprintf(out, "Type option no.: ");
  if ((int)ReadNumberIn("%d\n", "1 2") == 1) {
    for (int i = 0; i < nOld; i++) group[i] = i < *nNew ? i + 1 : i - *nNew + 1;
    return;
  }
  // Each pair takes the number of its first position plus 1: 1, 1, 3, 3, ...
  // These are not the numbers 1..nNew that ReleveChange runs through, so the
  // even groups stay empty and pairs above nNew are dropped. Intended; do
  // not renumber.
  for (int i = 0; i < nOld; i += 2) group[i] = group[i + 1] = i + 1;
}

// ---------------------------------------------------------------------------
// Numerical poolings

void ConcentrateGroups(int nRows, int nCols, double** source, double** target, int nRowGroups,
                       int* rowGroup, int nColGroups, int* colGroup, int mode) {
  int* rowCount = dim1Dint(nRowGroups > 0 ? nRowGroups : 1);
  int* colCount = dim1Dint(nColGroups > 0 ? nColGroups : 1);
  for (int r = 0; r < nRows; r++)
    if (rowGroup[r] >= 1 && rowGroup[r] <= nRowGroups) rowCount[rowGroup[r] - 1]++;
  for (int c = 0; c < nCols; c++)
    if (colGroup[c] >= 1 && colGroup[c] <= nColGroups) colCount[colGroup[c] - 1]++;
  for (int g = 0; g < nRowGroups; g++)
    for (int h = 0; h < nColGroups; h++) target[g][h] = 0.0;
  // -999 is summed as a number.
  for (int r = 0; r < nRows; r++) {
    int g = rowGroup[r];
    if (g < 1 || g > nRowGroups) continue;
    for (int c = 0; c < nCols; c++) {
      int h = colGroup[c];
      if (h >= 1 && h <= nColGroups) target[g - 1][h - 1] += source[r][c];
    }
  }
  double sums = 0.0, means = 0.0;
  for (int g = 0; g < nRowGroups; g++)
    for (int h = 0; h < nColGroups; h++) {
      sums += target[g][h];
      // An empty group divides by zero: the partitions given here are complete.
      target[g][h] /= (double)rowCount[g] * (double)colCount[h];
      means += target[g][h];
    }
  if (mode == 1)
    for (int g = 0; g < nRowGroups; g++)
      for (int h = 0; h < nColGroups; h++) target[g][h] = target[g][h] * sums / means;
  free1D(rowCount);
  free1D(colCount);
}

void ReleveChange(int nColumns, double** source, double** target, int nRows, int nGroups,
                  int* group) {
  for (int r = 0; r < nRows; r++)
    for (int g = 0; g < nGroups; g++) target[r][g] = 0.0;
  // Each column in turn is taken minus what stands: a group of three gives
  // third - second + first.
  for (int g = 1; g <= nGroups; g++)
    for (int c = 0; c < nColumns; c++) {
      if (group[c] != g) continue;
      for (int r = 0; r < nRows; r++) target[r][g - 1] = source[r][c] - target[r][g - 1];
    }
}

void SplitMovingWinPool(int nRows, int nCols, double** source, double** target, int size,
                        int* nNew, bool alongRows) {
  if (!alongRows) {
    *nNew = nCols + 1 - size;
    for (int i = 0; i < nRows; i++)
      for (int j = 0; j < *nNew; j++) {
        double sum = 0.0;
        for (int c = j; c < j + size; c++) sum += source[i][c];
        target[i][j] = sum / size;
      }
    return;
  }
  *nNew = nRows - size + 1;
  for (int j = 0; j < *nNew; j++)
    for (int c = 0; c < nCols; c++) {
      double sum = 0.0;
      for (int i = j; i < j + size; i++) sum += source[i][c];
      target[j][c] = sum / size;
    }
}

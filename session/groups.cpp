// The dialogue of a partition of communities or OTUs into groups: labels,
// membership from the keyboard or from the session's clustering record.
#include "session/groups.h"

#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "session/session.h"
#include "shell/console.h"
#include "shell/shell.h"

int whichObj = 'r';

static void AskGroupLabels(int nGroups, char** groupLabels) {
  fprintf(out, "\nLabels for groups: \n");
  fprintf(out, "   1  given by default \n");
  fprintf(out, "   2  specify new labels \n");
  fprintf(out, "Type option no.: ");
  if ((int)ReadNumberIn("%d\n", "1 2") == 1) {
    for (int i = 0; i < nGroups; i++) {
      char number[16];
      snprintf(number, sizeof number, "%d", i + 1);
      snprintf(groupLabels[i], 5, "%.4s", number);  // labels hold 4 characters
    }
    return;
  }
  do fprintf(out, "\nEnter labels (max. %d alphanumeric characters):\n", 4);
  while (ReadLongInput(nGroups, 4, groupLabels, "group labels") != 1);
}

// Memberships as runs of consecutive groups, from the size of each group.
static void AskOrderedGroups(int n, int nGroups, int* membership, char** groupLabels,
                             const char* what) {
  int* sizes = dim1Dint(nGroups > 0 ? nGroups : 1);
  for (;;) {
    fprintf(out, "\nEnter number of %s per group:", what);
    fprintf(out, "\nGroups:            ");
    for (int g = 0; g < nGroups; g++) fprintf(out, "%-3s ", groupLabels[g]);
    fprintf(out, "\nNumber of %s: ", what);
    int sum = 0;
    for (int g = 0; g < nGroups; g++) {
      sizes[g] = (int)ReadNumberIn("%-3d ", "-", 0.0, (double)n);
      sum += sizes[g];
    }
    if (sum == n) break;
    fprintf(out, "\nError!! Reenter!!\n");
  }
  int i = 0;
  for (int g = 0; g < nGroups; g++)
    for (int k = 0; k < sizes[g]; k++) membership[i++] = g + 1;
  free1D(sizes);
}

// Memberships given as group labels, one per object.
static void AskMembershipLabels(int n, int nGroups, int* membership, char** groupLabels,
                                const char* what) {
  char** answers = dim2Dchar(n, 5);
  for (;;) {
    fprintf(out, "\nEnter group membership (label) for %s:", what);
    fprintf(out, "\n%s:\t", what);
    for (int i = 0; i < n; i++) {
      if (whichObj == 'r')
        fprintf(out, "%s\t", reLabel[i]);
      else
        fprintf(out, "%d\t", i + 1);
    }
    ReadLongInput(n, 4, answers, "Groups");
    bool allFound = true;
    for (int i = 0; i < n && allFound; i++) {
      membership[i] = 0;
      for (int g = 0; g < nGroups; g++)
        if (strcmp(answers[i], groupLabels[g]) == 0) {
          membership[i] = g + 1;
          break;
        }
      allFound = membership[i] != 0;
    }
    if (allFound) break;
    fflush(stdout);
    fprintf(stderr, "\nError!! Enter again. \n");
  }
  free2D(answers, n);
}

void SettingAnyGroups(int n, int* nGroups, int* membership, char** groupLabels,
                      const char* what) {
  whichObj = strcmp(what, "communities") == 0 ? 'r' : 'c';
  Menu("SET GROUP PARTITION");
  // No more groups than objects: the label table holds one row per object.
  // Objects need at least one group, or the entry below could never end.
  fprintf(out, "Specify the number of groups of %s: ", what);
  *nGroups = (int)ReadNumberIn("%d\n", "-", n > 0 ? 1.0 : 0.0, (double)n);
  AskGroupLabels(*nGroups, groupLabels);
  if (whichObj == 'r' ? hasReClus : hasCstClus) {
    fprintf(out, "\nGet partition from: \n");
    fprintf(out, "   1  keyboard or file \n");
    fprintf(out, "   2  cluster analysis record \n");
    fprintf(out, "Type option no.: ");
    if ((int)ReadNumberIn("%d\n", "1 2") == 2) {
      GetPartition(n, *nGroups, membership, (char)whichObj);
      return;
    }
  }
  fprintf(out, "Are the %s ordered by groups? y/n ", what);
  if (ReadCharIn("y n") == 'y')
    AskOrderedGroups(n, *nGroups, membership, groupLabels, what);
  else
    AskMembershipLabels(n, *nGroups, membership, groupLabels, what);
}

void GetPartition(int n, int nGroups, int* membership, char objectKind) {
  const char* name = objectKind == 'r' ? whichReClus : whichCstClus;
  FILE* fp = fopenck(name, volumeName, "r");
  if (fp == nullptr) FailJump(FAIL_OPEN);
  for (int i = 0; i < n; i++) membership[i] = i + 1;
  int* objects = dim1Dint(n > 0 ? n : 1);
  int groups = n;
  // One fusion per step: its level, the number of objects, the objects.
  for (int step = 0; step < n - 1 && groups > nGroups; step++) {
    float level;
    int m;
    freadck(fp, "%f", &level, name);
    freadck(fp, "%d", &m, name);
    int kept = 0;
    for (int k = 0; k < m; k++) {
      int object;
      freadck(fp, "%d", &object, name);
      if (kept < n) objects[kept++] = object;
    }
    if (m < 2) continue;
    for (int k = 1; k < kept; k++)
      if (objects[k] >= 1 && objects[k] <= n) membership[objects[k] - 1] = objects[0];
    groups--;
  }
  fclose(fp);
  free1D(objects);
  // Consecutive labels from 1.
  for (int v = 1; v <= nGroups; v++) {
    for (;;) {
      bool present = false, above = false;
      for (int i = 0; i < n; i++) {
        if (membership[i] == v) present = true;
        if (membership[i] > v) above = true;
      }
      if (present || !above) break;
      for (int i = 0; i < n; i++)
        if (membership[i] > v) membership[i]--;
    }
  }
}

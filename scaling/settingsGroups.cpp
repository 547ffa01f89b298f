// The small dialogues around the functional analysis settings: resemblance function, level, trait-group weights.
#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibStats.h"
#include "scaling/settings.h"
#include "session/session.h"
#include "session/track.h"
#include "shell/console.h"
#include "shell/shell.h"

void SettingReseFunction(int* option, const char* text) {
  (void)text;
  fprintf(out, "\nResemblance function option:\n");
  fprintf(out, "\t6   Euclidean distance\n");
  fprintf(out, "\t10  chord distance\n");
  fprintf(out, "Type option no.: ");
  for (;;) {
    // The accepted list holds three options more than the menu shows, and
    // the guard below can't fire with it: both are kept as they stand.
    *option = (int)ReadNumberIn("%d\n", "6 7 8 9 10");
    if (part != 1 && (*option == 1 || *option == 2)) {
      fflush(stdout);
      fprintf(stderr, "\aData partitioned. Information divergence not available.\n");
      continue;
    }
    return;
  }
}

void SettingWhichLevel(int* level) {
  *level = 1;
  if (nch > 1 && poolCSTopt == 1 && isHierarchical == 1) {
    fprintf(out, "Specify hierarchical level: ");
    *level = (int)ReadNumberIn("%d\n", "-", 1.0, (double)nch);
  }
}

static int AskYesNo(const char* question) {
  fprintf(out, "%s", question);
  return ReadCharIn("y n");
}

void SettingsRese() {
  if (whichObj == 'r') {
    SettingReseFunction(&rese_opt, "communities");
  } else {
    SettingReseFunction(&reseCstOpt, "OTUs");
    SettingWhichLevel(&whichLevelCst);
  }
  if (optmain == 'H' || optmain == 'K') return;
  fprintf(out, "\nPrintout:\n");
  if (whichObj == 'c') {
    printNRese = AskYesNo("   - resemblances y/n  ");
    printReseFree = AskYesNo("   - resemblances free format (matrix upper half, no diagonal) y/n  ");
  } else {
    printNRese = AskYesNo("   - nominal resemblances y/n  ");
    printReseFree =
        AskYesNo("   - nominal resemblances free format (matrix upper half, no diagonal) y/n  ");
  }
  if (whichObj != 'c' && fuzzy == 0 && nch >= 2 && poolCSTopt == 1 && isHierarchical == 1)
    printPRese = AskYesNo("   - partial resemblances y/n  ");
  else
    printPRese = 'n';
}

// ---- Weights by trait groups ----

void WeightsByTraitGroups(int nTraits, int* groups, double* weights) {
  if (nTraits <= 0) return;
  int* selected = dim1Dint(nTraits);
  int* labels = dim1Dint(nTraits);
  int nLabels = 0;
  for (int i = 0; i < nTraits; i++) selected[i] = weights[i] > 0 ? 1 : 0;
  CountGroupsSelect(nTraits, groups, selected, &nLabels, labels);
  for (int g = 0; g < nLabels; g++) {
    int count = 0;
    for (int i = 0; i < nTraits; i++)
      if (groups[i] == labels[g] && selected[i]) count++;
    for (int i = 0; i < nTraits; i++)
      if (groups[i] == labels[g]) weights[i] /= count;
  }
  free1D(labels);
  free1D(selected);
}

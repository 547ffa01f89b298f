// Process start, the main, session and analysis menus, and the recovery point.
#include <cctype>
#include <cstdlib>
#include <cstring>

#include <gsl/gsl_errno.h>
#include <omp.h>

#include "TarnLib/tarnlibDim.h"
#include "ranking/ranking.h"
#include "scaling/settings.h"
#include "session/formda.h"
#include "session/session.h"
#include "session/setFormda.h"
#include "session/track.h"
#include "shell/console.h"
#include "shell/macro.h"
#include "shell/menus.h"
#include "shell/preferences.h"
#include "shell/shell.h"
#include "simulation/simulation.h"

// The banner's description of the program, between the version and the rule.
static const char* const kCredits[5] = {
    "Analysis of community assembly through the traits of organisms:",
    "trait scaling-up, convergence, divergence and phylogenetic patterns,",
    "permutation tests, trait subset search and assembly simulation.",
    "Free software: you may use, copy, modify and distribute it.",
    "It comes as it is, without warranty of any kind.",
};

void mainInit() {
  gsl_set_error_handler_off();
  InitGlobals();
  InitSessionGlobals();
  InitIFLibG();
  fprintf(out, "%s\n", lineL);
  fprintf(out, "%s\n\n", version);
  for (const char* line : kCredits) fprintf(out, "%s\n", line);
  fprintf(out, "%s\n", lineL);
  gSpareBlockPtr = dim1D(1, 20480);
  MainMenu();
}

// whichStructures = sessionName + structExt.
static void BuildStructuresName() {
  snprintf(whichStructures, sizeof whichStructures, "%.40s%s", sessionName, structExt);
}

// N or O: names the session and makes sure its track file can be opened.
// Returns 1 when the session can go on.
static int NameSession(int option) {
  fprintf(out, "Enter session name: ");
  ReadStringIn("%s\n", tempName);
  CopyPrefix(sessionShortName, tempName, 21);
  volumeName[0] = '\0';
  strcpy(sessionName, sessionShortName);
  snprintf(whichTrack, sizeof whichTrack, "%.40s%s", sessionName, trackExt);
  // "w" empties the track file of a new session; "r+" fails if it is missing.
  trackFp = fopenck(whichTrack, volumeName, option == 'N' ? "w" : "r+");
  if (trackFp == nullptr) {
    if (!runMacro) Wait();
    return 0;
  }
  fclose(trackFp);
  trackFp = nullptr;
  return 1;
}

void MainMenu() {
  ReadPreferences();
  ClearLine();
  for (;;) {
    if (!runMacro) fprintf(out, "\n\n\n\n");
    fprintf(out, "%s\n%s\n", version, lineL);
    fprintf(out, "Main menu:\n");
    fprintf(out, "   N  start new session\n");
    fprintf(out, "   O  attach to old session\n");
    fprintf(out, "   S  set preferences\n");
    fprintf(out, "   X  exit \n");
    fprintf(out, "%s\n", lineL);
    fprintf(out, "Type option: ");
    // A is accepted but not shown: the hidden entry to the simulation.
    int option = toupper(ReadCharIn("N O S A X"));
    fprintf(out, "\n\n");
    AdjustClocks_Event();
    omp_set_num_threads(ThreadsToStart());
    switch (option) {
      case 'N':
      case 'O':
        if (NameSession(option)) IFSession();
        break;
      case 'A':
        IFAssemblyRulesSimulation_EnvFeedback_TypeI_II_Error();
        break;
      case 'S':
        SetPreferences();
        break;
      case 'M':  // not among the accepted letters: macro mode stays unreachable
        IFMacro();
        break;
      case 'X':
        exit(0);
    }
    if (saveStruct == 'y') BuildStructuresName();
  }
}

// The analysis menu, until C.
static void AnalysisMenu() {
  do {
    if (dirtyOrig == 1) {
      // An analysis changed the matrices in memory: reload them from disk.
      FreeGlobals2();
      OpenFormda(1);
      ReadTrack();
    }
    Menu("ANALYSIS OF COMMUNITY STRUCTURES");
    fprintf(out, "Options:\n");
    fprintf(out, "   H  functional analysis \n");
    fprintf(out, "   K  ranking traits (find optimal trait subset) \n");
    fprintf(out, "   C  return to session menu \n");
    fprintf(out, "Type option: ");
    optmain = toupper(ReadCharIn("H K C"));
    fprintf(out, "\n");
    if (optmain == 'H') IFHierarchicalAccum();
    if (optmain == 'K') IFChOrderSearch();
  } while (optmain != 'C');
}

// Reads the first word of the track file into whichFormda; 0 when empty.
static int ReadFormdaName() {
  trackFp = fopenck(whichTrack, volumeName, "r");
  if (trackFp == nullptr) FailJump(FAIL_OPEN);
  int got = fscanf(trackFp, "%47s", whichFormda);
  fclose(trackFp);
  trackFp = nullptr;
  return got == 1;
}

// The session's menus, under the recovery point that IFSession sets.
static void SessionMenu(void*) {
  if (saveStruct == 'y') BuildStructuresName();
  if (!ReadFormdaName() && SetFormda() != 0) return;
  OpenFormda(1);
  ReadTrack();
  do {
    Menu("SESSION MENU");
    fprintf(out, "Options:\n");
    fprintf(out, "   V  analysis of community structures\n");
    fprintf(out, "   S  set preferences\n");
    fprintf(out, "   C  return to main menu \n");
    fprintf(out, "Type option: ");
    optmain1 = toupper(ReadCharIn("V S C"));
    fprintf(out, "\n\n");
    if (optmain1 == 'V') AnalysisMenu();
    if (optmain1 == 'S') SetPreferences();
    if (saveStruct == 'y') BuildStructuresName();
  } while (optmain1 != 'C');
  FreeGlobals1();
  FreeGlobals2();
}

void IFSession() {
  int code = RunRecoverable(SessionMenu, nullptr);
  if (code != 0) {
    FailReport(code);  // codes 1 to 4 end the process there
    if (!runMacro) Wait();
  }
}

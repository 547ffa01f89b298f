// Recording and replaying answers (macro mode).
#include "shell/macro.h"

#include <cctype>
#include <cstdio>

#include "TarnLib/tarnlibDim.h"
#include "shell/console.h"
#include "shell/shell.h"

// Asks for the macro file's name and opens volumeName + name with `mode`.
static FILE* OpenMacroFile(const char* mode) {
  fprintf(out, "\nMacro file name:    ");
  ReadLineIn(whichMacro, 41);
  volumeName[0] = '\0';
  snprintf(justName, sizeof justName, "%s%s", volumeName, whichMacro);
  return fopenck(justName, nullptr, mode);
}

// Where echoes go once one of the two modes has ended.
static void ResetEchoSink() {
  outm = createMacro ? oufpMacro : (runMacro ? oufpRun : nullptr);
}

// The menu lines that the two modes allow, and the prompt.
static void ShowMacroMenu() {
  Menu("SET MACRO MODE");
  if (createMacro == 0) {
    fprintf(out, "   N  start creating new macro \n");
    if (runMacro == 0) fprintf(out, "   R  run macro on file\n");
  } else {
    fprintf(out, "   N  stop creating macro \n");
  }
  if (runMacro == 1) fprintf(out, "   R  stop running macro on file\n");
  fprintf(out, "   C  return to main menu \n");
  fprintf(out, "Type option: ");
}

static void StopRecording() {
  createMacro = 0;
  // The closing R is the answer that stops the replay of this macro.
  fprintf(outm, "R\n");
  fcloseck(oufpMacro);
  oufpMacro = nullptr;
  ResetEchoSink();
  fprintf(out, "\n\n\nMacro saved on file %s\n", whichMacro);
  Wait();
}

// Returns 1 when recording has started.
static int StartRecording() {
  FILE* fp = OpenMacroFile("w");
  if (fp == nullptr) return 0;
  oufpMacro = fp;
  outm = oufpMacro;
  createMacro = 1;
  return 1;
}

static void StopReplay() {
  runMacro = 0;
  fclose(infpMacro);
  fcloseck(oufpRun);
  infpMacro = oufpRun = nullptr;
  in = stdin;
  out = stdout;
  ResetEchoSink();
  fprintf(out, "\n\n\nMacro:          %s\n", whichMacro);
  fprintf(out, "Report on file: %s\n", whichRun);
  fprintf(out, "Type RETURN to continue\n");
  Wait();
}

// Returns 1 when the replay has started.
static int StartReplay() {
  FILE* macro = OpenMacroFile("r");
  if (macro == nullptr) return 0;
  snprintf(whichRun, sizeof whichRun, "%sMacroRunReport", volumeName);
  FILE* report = fopenck(whichRun, nullptr, "w");
  if (report == nullptr) {
    fclose(macro);
    return 0;
  }
  infpMacro = macro;
  oufpRun = report;
  in = infpMacro;
  out = outm = oufpRun;
  runMacro = 1;
  return 1;
}

void IFMacro() {
  for (;;) {
    ShowMacroMenu();
    int option = toupper(ScanChar(in, "N R C", "input"));
    if (option == 'N' && createMacro == 1) {
      StopRecording();
      return;
    }
    if (option == 'R' && runMacro == 1) {
      StopReplay();
      return;
    }
    if (option == 'N' || option == 'R') {
      if (option == 'N' ? StartRecording() : StartReplay()) return;
      Wait();  // the file did not open: the menu again
      continue;
    }
    // C
    if ((createMacro || runMacro) && outm != nullptr) fprintf(outm, "C\n");
    return;
  }
}

// The menu that puts data into a new session: raw data, another session's file, or a merge.
#include "session/setFormda.h"

#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "session/deriveFormda.h"
#include "session/formda.h"
#include "session/mergeFormda.h"
#include "session/rawData.h"
#include "session/session.h"
#include "shell/console.h"
#include "shell/shell.h"
#include "shell/track.h"

namespace {

// Whether volumeName + name opens for reading; a name that does not gets the
// "can't open" message.
bool FileOpens(const char* name) {
  FILE* fp = fopenck(name, volumeName, "r");
  if (fp == nullptr) return false;
  fclose(fp);
  return true;
}

// One session name typed at the prompt, cut to 31 characters into
// tempSession; `file` gets that name and formdaExt.
void AskSessionFile(char* file, size_t size) {
  ReadStringIn("%s\n", tempName);
  CopyPrefix(tempSession, tempName, 31);
  snprintf(file, size, "%s%s", tempSession, formdaExt);
}

// Answer 2: the formatted file of another session. Returns 1 when the new
// session has its data, 0 to show the options again.
int UseOtherSession() {
  fprintf(out, "\nEnter name of the session from which data is to be extracted: ");
  AskSessionFile(whichFormda, sizeof whichFormda);
  if (!FileOpens(whichFormda)) return 0;
  fprintf(out, "\nUse file %s:\n", whichFormda);
  fprintf(out, "   1  as it is \n");
  fprintf(out, "   2  modified \n");
  fprintf(out, "   3  return to main menu \n");
  fprintf(out, "Type option no.: ");
  int answer = (int)ReadNumberIn("%d\n", "1 2 3");
  fprintf(out, "\n\n");
  if (answer == 1) {
    // The new session keeps using the other session's file.
    OpenFormda(1);
    ClearLine();
    WriteTrack(0);
    FreeGlobals1();
    return 1;
  }
  if (answer == 2) {
    PickSomeFormda();
    WriteTrack(0);
    FreeGlobals1();
    return 1;
  }
  // Answer 3 shows these options again rather than the main menu: settled.
  return 0;
}

// Answer 3: two sessions merged. Returns 1 when the new session has its
// data, 0 to show the options again.
int MergeSessions() {
  fprintf(out, "\nEnter names of the sessions from which data is to be merged:");
  fprintf(out, "\nFirst session name: ");
  AskSessionFile(whichFormda, sizeof whichFormda);
  if (!FileOpens(whichFormda)) return 0;
  OpenFormda(1);
  ClearLine();
  fprintf(out, "Second session name: ");
  char secondFile[sizeof whichFormda];
  AskSessionFile(secondFile, sizeof secondFile);
  // The first session's arrays stay as they are: the next load replaces them.
  if (!FileOpens(secondFile)) return 0;
  snprintf(dataName, sizeof dataName, "%s", whichFormda);
  if (MergeFormda(secondFile) == 1) {
    WriteTrack(0);
    FreeGlobals1();
    FreeGlobals2();
    return 1;
  }
  FreeGlobals2();
  return 0;
}

} // namespace

int SetFormda() {
  Menu("DATA FOR SESSION");
  for (;;) {
    fprintf(out, "Options:\n");
    fprintf(out, "   1  format raw data \n");
    fprintf(out, "   2  use formatted data from another session\n");
    fprintf(out, "   3  merge formatted data from two sessions\n");
    fprintf(out, "   4  return to main menu \n");
    fprintf(out, "Type option no.: ");
    int answer = (int)ReadNumberIn("%d\n", "1 2 3 4");
    if (answer == 1) {
      snprintf(whichFormda, sizeof whichFormda, "%s%s", sessionName, formdaExt);
      IFFormat();
      WriteTrack(0);
      return 0;
    }
    if (answer == 2 && UseOtherSession()) return 0;
    if (answer == 3 && MergeSessions()) return 0;
    if (answer == 4) return 1;
  }
}

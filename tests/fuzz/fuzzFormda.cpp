// Fuzz target: the formatted data file. A file that loads is written again
// and the copy must load too.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "session/formda.h"
#include "session/session.h"
#include "shell/shell.h"
#include "tests/fuzz/fuzzHarness.h"

static void Load() { OpenFormda(1); }

static void WriteCopy() { WriteFormda(tcst, (char*)"fuzzCopyFormda.txt", dataName, csm_Float, cadat); }

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  FuzzSetUp();
  FuzzClearSession();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzStage("fuzzFormda.txt", data, size);
  volumeName[0] = '\0';
  strcpy(whichFormda, "fuzzFormda.txt");
  int code = FuzzGuarded(Load);
  if (code == 0) code = FuzzGuarded(WriteCopy);
  FuzzReleaseLoadedSession();
  // A NUL byte ends a label or a species line as C strings do, so a file
  // with one is not written back as it was read: no round trip for those.
  if (code != 0 || memchr(data, 0, size) != nullptr) return 0;
  strcpy(whichFormda, "fuzzCopyFormda.txt");
  if (FuzzGuarded(Load) != 0) {
    fprintf(stderr, "a loaded formatted file, written again, does not load\n");
    abort();
  }
  FuzzReleaseLoadedSession();
  return 0;
}

// Fuzz target: the track file, read over a loaded session. A track file that
// reads is written again in full and the copy must read too.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "session/formda.h"
#include "session/session.h"
#include "shell/shell.h"
#include "session/track.h"
#include "tests/fuzz/fuzzHarness.h"

#ifndef KOLVEN_FUZZ_SESSION
#error "KOLVEN_FUZZ_SESSION names the formatted file loaded under the track files"
#endif

static void Load() { OpenFormda(1); }
static void Read() { ReadTrack(); }
static void Write() { WriteTrack(1); }
static void Restore();

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  FuzzSetUp();
  FuzzClearSession();
  // The session under every track file: the bundled demo data, copied here.
  FILE* from = fopen(KOLVEN_FUZZ_SESSION, "rb");
  if (from == nullptr) abort();
  static uint8_t text[1 << 20];
  size_t n = fread(text, 1, sizeof text, from);
  fclose(from);
  FuzzStage("demoFormda.txt", text, n);
  volumeName[0] = '\0';
  strcpy(whichFormda, "demoFormda.txt");
  if (FuzzGuarded(Load) != 0) abort();
  // The settings as a fresh session has them, in full, to start every run
  // from: a failed read would otherwise leave half-read settings that the
  // program never keeps, since it ends at a failure.
  strcpy(whichTrack, "baseTrk.txt");
  if (FuzzGuarded(Write) != 0) abort();
  return 0;
}

static void Restore() {
  strcpy(whichTrack, "baseTrk.txt");
  FreeGlobals1();
  if (FuzzGuarded(Read) != 0) abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Restore();
  FuzzStage("fuzzTrk.txt", data, size);
  strcpy(whichTrack, "fuzzTrk.txt");
  if (FuzzGuarded(Read) != 0) return 0;
  // A NUL byte ends a word as C strings do, so a file with one is not
  // written back as it was read: no round trip for those.
  if (memchr(data, 0, size) != nullptr) return 0;
  // Copies that the format itself cannot read back are read all the same,
  // and may be refused:
  // OTU group labels of 3 or 4 characters run into the next one when written,
  // as they always have.
  bool labelsRunTogether = false;
  for (int p = 0; p < nPartCst; p++)
    for (int g = 0; g < nGroupsCstP[p]; g++)
      if (strlen(grCstLabelP[p][g]) >= 3) labelsRunTogether = true;
  // The number read after the version word takes the digits that begin the
  // first result name; the program always writes "NULL" there.
  bool nameTakenAsNumber = strchr("0123456789+-", whichEnvRese[0]) != nullptr && whichEnvRese[0] != '\0';
  strcpy(whichTrack, "fuzzCopyTrk.txt");
  if (FuzzGuarded(Write) != 0) abort();
  if (FuzzGuarded(Read) != 0 && !labelsRunTogether && !nameTakenAsNumber) {
    fprintf(stderr, "a track file that reads, written again, does not read\n");
    abort();
  }
  return 0;
}

// Fuzz target: the raw-data dialogue, from the data menu of a new session.
// The input is the answers, then any number of files, each after a line
// "==> name": the raw files that the answers name. A session that the
// dialogue completes must load from its formatted and track files.
#include <dirent.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "session/formda.h"
#include "session/session.h"
#include "session/setFormda.h"
#include "shell/console.h"
#include "shell/shell.h"
#include "session/track.h"
#include "tests/fuzz/fuzzHarness.h"

static int dataMenuResult = 0;

static void Dialogue() { dataMenuResult = SetFormda(); }
static void Load() {
  OpenFormda(1);
  ReadTrack();
}

// A file name of the input, kept to a safe set of characters.
static bool CleanName(const char* from, size_t n, char* name) {
  size_t k = 0;
  for (size_t i = 0; i < n && k < 40; i++) {
    char c = from[i];
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
        c == '_' || c == '-')
      name[k++] = c;
  }
  name[k] = '\0';
  return k > 0 && name[0] != '.';
}

static void RemoveAllFiles() {
  DIR* dir = opendir(".");
  if (dir == nullptr) abort();
  while (struct dirent* e = readdir(dir))
    if (e->d_name[0] != '.') unlink(e->d_name);
  closedir(dir);
}

static bool EndsWith(const char* name, const char* tail) {
  size_t n = strlen(name), t = strlen(tail);
  return n >= t && strcmp(name + n - t, tail) == 0;
}

// Splits the input at the lines "==> name" and stages its parts. False when
// a part names a formatted file.
static bool StageParts(const uint8_t* data, size_t size) {
  const char* text = (const char*)data;
  const char* end = text + size;
  const char* mark = "\n==> ";
  const char* part = text;
  const char* name = nullptr;
  size_t nameLength = 0;
  for (;;) {
    const char* next = (const char*)memmem(part, (size_t)(end - part), mark, 5);
    const char* partEnd = next != nullptr ? next + 1 : end;
    if (name == nullptr) {
      FuzzStage("answers.txt", (const uint8_t*)part, (size_t)(partEnd - part));
    } else {
      char clean[41];
      if (CleanName(name, nameLength, clean)) {
        if (EndsWith(clean, "Formda.txt")) return false;
        FuzzStage(clean, (const uint8_t*)part, (size_t)(partEnd - part));
      }
    }
    if (next == nullptr) return true;
    name = next + 5;
    const char* lineEnd = (const char*)memchr(name, '\n', (size_t)(end - name));
    if (lineEnd == nullptr) return true;
    nameLength = (size_t)(lineEnd - name);
    part = lineEnd + 1;
  }
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  FuzzSetUp();
  FuzzSweepAfterRun(true);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Files of the earlier run must not be named by this one.
  RemoveAllFiles();
  // Formatted files of other sessions lead to the loader, which has a target
  // of its own; its word buffers outlive a failed run and must not be swept.
  if (!StageParts(data, size)) return 0;
  FuzzResetGlobals();
  FreeGlobals1();
  if (freopen("answers.txt", "r", stdin) == nullptr) abort();
  in = stdin;
  volumeName[0] = '\0';
  strcpy(sessionName, "fuzz");
  strcpy(sessionShortName, "fuzz");
  strcpy(whichTrack, "fuzzTrk.txt");
  FuzzStage(whichTrack, data, 0);
  FuzzClearSession();
  dataMenuResult = 1;
  int code = FuzzGuarded(Dialogue);
  FuzzSweep();
  // A NUL byte ends a word or a species line as C strings do, so raw files
  // with one are not written as they were read: no round trip for those.
  if (code == 0 && dataMenuResult == 0 && memchr(data, 0, size) == nullptr) {
    FuzzClearSession();
    if (FuzzGuarded(Load) != 0) {
      fprintf(stderr, "a session formatted from raw data does not load\n");
      abort();
    }
    FuzzReleaseLoadedSession();
    FuzzSweep();
  }
  return 0;
}

// Fuzz target: the preferences file. Preferences that read are written again
// and read back; the number of threads started stays within the machine.
#include <omp.h>

#include <cstdio>
#include <cstdlib>

#include "shell/preferences.h"
#include "shell/shell.h"
#include "tests/fuzz/fuzzHarness.h"

static void Read() { ReadPreferences(); }
static void Write() { WritePreferences(); }

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  FuzzSetUp();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzResetGlobals();
  FuzzStage("KOLVEN.prf", data, size);
  if (FuzzGuarded(Read) != 0) return 0;
  int threads = ThreadsToStart();
  if (threads < 1 || threads > omp_get_num_procs()) {
    fprintf(stderr, "%d threads for %d processors\n", threads, omp_get_num_procs());
    abort();
  }
  if (FuzzGuarded(Write) != 0 || FuzzGuarded(Read) != 0) {
    fprintf(stderr, "preferences that read, written again, do not read\n");
    abort();
  }
  return 0;
}

// Stand-in for the raw-data dialogue while its module is absent; the real one overrides it.
#include <cstdio>

#include "TarnLib/tarnlibDim.h"

// The user is told, and the session goes back to the main menu with its
// track file still empty.
__attribute__((weak)) int IFFormat() {
  fflush(stdout);
  fprintf(stderr, "\nFormatting raw data is not available in this build.\n");
  FailJump(FAIL_REPORTED);
}

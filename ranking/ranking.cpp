// Trait ranking entry of the analysis menu.
#include "ranking/ranking.h"

#include <cstdio>

#include "shell/console.h"

void IFChOrderSearch() {
  fprintf(out, "\nRanking of traits is not available in this version of KOLVEN.\n");
}

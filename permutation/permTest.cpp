// The functional and phylogenetic correlation test (Monte Carlo permutation
// test of matrix correlations, Mantel 1967; Pillar & Duarte 2010 for the
// trait-convergence and divergence statistics).
#include "permutation/permTest.h"

int TranslateReseOpt_KOLVEN_DARVOL(int option) {
  static const int codes[10] = {0, 0, 1, 0, 17, 3, 0, 2, 0, 18};
  if (option >= 1 && option <= 10) return codes[option - 1];
  return 1;
}

bool PermTest_FunctionalPhyl_Correl(PermTest_FunctionalPhyl_Correl_Input* input) {
  for (int k = 0; k < N_PERMTEST_STATS; k++) {
    input->statistics[k] = 0.0;
    input->probabilities[k] = 1.0;
  }
  return true;
}

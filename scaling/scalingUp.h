// The scaling-up run of the functional analysis: T, X, P, D, Rao entropies and TCAP/TDAP/PSAP statistics.
#ifndef SCALING_SCALINGUP_H
#define SCALING_SCALINGUP_H

// ---- Settings the run fixes for itself (shared with the trait ranking) ----
extern int nMinCSTGroupsChRank;  // smallest number of types evaluated
extern int nMaxCSTGroupsChRank;  // largest number of types evaluated
extern int nMinTraitsChRank;     // smallest number of traits in a subset
extern int nMaxTraitsChRank;     // largest number of traits in a subset
extern int nKeepTrack;           // subsets kept by a ranking (100)
extern char whichRndData[48];    // sessionName + "RDa.txt": intermediate test results

// One pass of the functional analysis over the open session with the settings of
// the dialogue; writes the report whichPrinda (and whichRndData with tests).
void PFTs_ScalingUp();

#endif

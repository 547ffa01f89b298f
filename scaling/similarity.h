// Fuzzy and crisp belonging of OTUs to types, and partition tools; with the
// Gower similarities of TarnLib/tarnlibGower.h, which every user of this
// header also sees.
#ifndef SCALING_SIMILARITY_H
#define SCALING_SIMILARITY_H

#include "TarnLib/tarnlibGower.h"

// U[i][g]: fuzzy belonging of object i to group g (g = position of the label
// in the sorted distinct labels); rows sum to 1. Null partition: each object is
// its own group. Identical objects (S == 1 within one float step) of one group
// count once; the result does not depend on the number of threads. Mirrors S.
bool FuzzyBelonging(int n, int nGroups, double** S, int* partition, double** U, bool isDissimilarity);
// C[i][g] = 1 for the group of i, else 0. Null partition: the identity.
bool CrispBelonging(int n, int nGroups, int* partition, double** C);
// Number of distinct labels; `distinct` (may be null) gets them ascending.
void CountGroupsNew(int n, int* labels, int* nGroups, int* distinct);
// Groups objects whose resemblance is exactly 1 (0 for dissimilarities), labels 1..nGroups.
void ClusterIdenticals(int n, double** S, int* labels, int* nGroups, bool isDissimilarity);
// trimmed[a][b] (a <= b) = S between the first members of groups a + 1 and b + 1.
void TrimRese(int n, int m, int* labels, double** S, double** trimmed);
// Mean of the entries above the diagonal (NaN for n < 2).
double AverageResemblance(int n, double** D);
// Mean nearest-neighbour distance between the groups of the masked objects.
double NearNeighDist(int n, double** D, int* group, int* mask);
#endif

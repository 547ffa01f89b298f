// Fuzzy and crisp belonging of OTUs to types, and partition tools; the
// similarities themselves are in TarnLib/tarnlibGower.
#include "scaling/similarity.h"

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "TarnLib/tarnlibCluster.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibStats.h"

namespace {

const double MV = -999.0;

inline bool isMV(double x) { return x == MV; }

// Position of `label` in the sorted distinct labels, or -1.
int groupIndex(int label, int nDistinct, int* distinct) {
  int lo = 0, hi = nDistinct - 1;
  while (lo <= hi) {
    int mid = (lo + hi) / 2;
    if (distinct[mid] == label) return mid;
    if (distinct[mid] < label) lo = mid + 1;
    else hi = mid - 1;
  }
  return -1;
}

} // namespace

// ----------------------------------------------------------------- belonging
void CountGroupsNew(int n, int* labels, int* nGroups, int* distinct) {
  char* seen = dim1Dchar(n > 0 ? n : 1);
  int count = 0;
  for (int i = 0; i < n; i++) {
    if (seen[i]) continue;
    if (distinct) distinct[count] = labels[i];
    count++;
    for (int j = i + 1; j < n; j++)
      if (labels[j] == labels[i]) seen[j] = 1;
  }
  free1D(seen);
  *nGroups = count;
  if (distinct) qsort(distinct, count, sizeof(int), compareInt);
}

// Identity of objects i and j of one group: similarity 1 within one float step.
// The test is against 1 also for dissimilarities, by design.
static inline bool identicalPair(double** S, int* partition, int i, int j) {
  return partition[j] == partition[i] && AlmostEqual2sComplement(S[i][j], 1.0, 1);
}

// Flags every object of a group that is identical to an earlier unflagged one
// (rep = that one, one-based) and takes it out of its group's size. Finding
// the pairs is the costly part and runs in parallel; which object of a set
// stays unflagged is then settled in index order, so that the flags never
// depend on the number of threads.
static void flagIdenticals(int n, double** S, int* partition, int nDistinct, int* distinct, double* size,
                           int* rep, char* flag) {
  char* hasTwin = dim1Dchar(n);
#pragma omp parallel for schedule(static)
  for (int i = 0; i < n - 1; i++)
    for (int j = i + 1; j < n; j++)
      if (identicalPair(S, partition, i, j)) {
        hasTwin[i] = 1;
        break;
      }
  for (int i = 0; i < n - 1; i++) {
    if (flag[i] || !hasTwin[i]) continue;
    for (int j = i + 1; j < n; j++)
      if (!flag[j] && identicalPair(S, partition, i, j)) {
        flag[j] = 1;
        rep[j] = i + 1;
        int g = groupIndex(partition[i], nDistinct, distinct);
        if (g >= 0) size[g] -= 1.0;
      }
  }
  free1D(hasTwin);
}

bool FuzzyBelonging(int n, int nGroups, double** S, int* partition, double** U, bool isDissimilarity) {
  if (n < 1) return true;
  int* distinct = dim1Dint(n);
  int* group = dim1Dint(n);    // group index of each object, -1 when beyond U
  double* size = dim1Double(n); // objects per group, identicals counted once
  int* rep = dim1Dint(n);
  char* flag = dim1Dchar(n);
  int nDistinct = n;
  if (partition) CountGroupsNew(n, partition, &nDistinct, distinct);
  for (int i = 0; i < n; i++) {
    int g = partition ? groupIndex(partition[i], nDistinct, distinct) : i;
    group[i] = g < nGroups ? g : -1;
    if (g >= 0) size[g] += 1.0;
    rep[i] = i + 1;
  }
  if (partition) flagIdenticals(n, S, partition, nDistinct, distinct, size, rep, flag);
  for (int i = 0; i < n; i++)
    for (int g = 0; g < nGroups; g++) U[i][g] = 0.0;
  UpperToLowerMatrix(n, S);
#pragma omp parallel for schedule(static)
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) {
      if (j != i && (flag[j] || rep[i] == rep[j])) continue;
      int g = group[j];
      double s = S[i][j];
      if (g < 0 || isMV(s)) continue;
      U[i][g] += (isDissimilarity ? 1.0 - s : s) / size[g];
    }
  UnitSumRowsAdjMV(n, nGroups, U, U);
  free1D(distinct);
  free1D(group);
  free1D(size);
  free1D(rep);
  free1D(flag);
  return true;
}

bool CrispBelonging(int n, int nGroups, int* partition, double** C) {
  for (int i = 0; i < n; i++)
    for (int g = 0; g < nGroups; g++) C[i][g] = 0.0;
  if (!partition) {
    for (int i = 0; i < n && i < nGroups; i++) C[i][i] = 1.0;
    return true;
  }
  int* distinct = dim1Dint(n > 0 ? n : 1);
  int nDistinct;
  CountGroupsNew(n, partition, &nDistinct, distinct);
  for (int i = 0; i < n; i++) {
    int g = groupIndex(partition[i], nDistinct, distinct);
    if (g >= 0 && g < nGroups) C[i][g] = 1.0;
  }
  free1D(distinct);
  return true;
}

void ClusterIdenticals(int n, double** S, int* labels, int* nGroups, bool isDissimilarity) {
  double same = isDissimilarity ? 0.0 : 1.0;
  for (int i = 0; i < n; i++) labels[i] = i + 1;
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++)
      if (S[i][j] == same) labels[j] = labels[i]; // exact equality, unlike FuzzyBelonging
  CountGroupsNew(n, labels, nGroups, NULL);
  RenamePartitionLabels(n, *nGroups, labels);
}

void TrimRese(int n, int m, int* labels, double** S, double** trimmed) {
  if (m < 1) return;
  int* rep = dim1Dint(m);
  for (int k = 1; k <= m; k++) {
    rep[k - 1] = -1;
    for (int i = 0; i < n; i++)
      if (labels[i] == k) {
        rep[k - 1] = i;
        break;
      }
  }
  for (int a = 0; a < m; a++)
    for (int b = a; b < m; b++)
      if (rep[a] >= 0 && rep[b] >= 0) trimmed[a][b] = S[rep[a]][rep[b]];
  free1D(rep);
}

double AverageResemblance(int n, double** D) {
  double sum = 0.0, count = 0.0;
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) {
      sum += D[i][j];
      count += 1.0;
    }
  return sum / count;
}

double NearNeighDist(int n, double** D, int* group, int* mask) {
  if (n < 1) return NAN;
  int* distinct = dim1Dint(n);
  int* members = dim1Dint(n); // selected objects, grouped
  int* start = dim1Dint(n + 1);
  int nGroups;
  CountGroupsSelect(n, group, mask, &nGroups, distinct);
  int k = 0;
  for (int g = 0; g < nGroups; g++) {
    start[g] = k;
    for (int i = 0; i < n; i++)
      if (mask[i] == 1 && group[i] == distinct[g]) members[k++] = i;
  }
  start[nGroups] = k;
  double sum = 0.0, count = 0.0;
  for (int a = 0; a < nGroups; a++)
    for (int b = 0; b < nGroups; b++) {
      if (a == b) continue;
      for (int x = start[a]; x < start[a + 1]; x++) {
        int i = members[x];
        double best = DBL_MAX;
        for (int y = start[b]; y < start[b + 1]; y++) {
          int j = members[y];
          double v = i < j ? D[i][j] : D[j][i];
          if (v < best) best = v;
        }
        sum += best;
        count += 1.0;
      }
    }
  free1D(distinct);
  free1D(members);
  free1D(start);
  return sum / count;
}

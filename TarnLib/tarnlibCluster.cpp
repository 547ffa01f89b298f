// Hierarchical agglomerative clustering: single, complete, UPGMA, WPGMA linkage and sum of squares.
// Stored-matrix algorithm with the Lance-Williams update (Lance & Williams 1967, Computer Journal 9:373);
// the sum-of-squares method is Ward's (1963, JASA 58:236) on squared dissimilarities.
#include "TarnLib/tarnlibCluster.h"

#include <cfloat>
#include <cmath>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibEigen.h"
#include "TarnLib/tarnlibStats.h"

namespace {

// A level rounded to float precision; the start value of a search that found
// nothing (not-a-number everywhere) becomes an infinity instead of an
// undefined conversion.
inline double asFloat(double x) {
  if (x > FLT_MAX || x < -FLT_MAX) return x > 0.0 ? INFINITY : -INFINITY;
  return (float)x;
}

// Resemblance of groups p and q read from the upper triangle.
inline double& upper(double** d, int p, int q) { return p < q ? d[p][q] : d[q][p]; }

// Removes group b from an m-group upper-triangular matrix: its row pointer is
// rotated to the end (the allocation stays valid) and column b is closed.
void removeGroup(int m, int b, double** d) {
  double* row = d[b];
  for (int r = b; r < m - 1; r++) d[r] = d[r + 1];
  d[m - 1] = row;
  for (int r = 0; r < m - 1; r++)
    for (int c = b + 1; c < m; c++) d[r][c - 1] = d[r][c];
}

void removeSize(int m, int a, int b, int* sizes) {
  sizes[a] += sizes[b];
  for (int r = b; r < m - 1; r++) sizes[r] = sizes[r + 1];
}

// The member lists of the current groups, one row per group.
struct MemberLists {
  int** list;
  int* count;
};

MemberLists newMemberLists(int n) {
  MemberLists ml;
  ml.list = dim2Dint(n, n);
  ml.count = dim1Dint(n);
  for (int i = 0; i < n; i++) {
    ml.list[i][0] = i + 1;
    ml.count[i] = 1;
  }
  return ml;
}

void freeMemberLists(MemberLists* ml, int n) {
  free2D(ml->list, n);
  free1D(ml->count);
}

// Appends list j to list i, fills the record's members and lastOfFirst, and
// rotates row j out of the m current lists.
void mergeLists(MemberLists* ml, int m, int i, int j, clusterReport* rec) {
  int ci = ml->count[i], cj = ml->count[j];
  rec->lastOfFirst = ml->list[i][ci - 1];
  for (int k = 0; k < cj; k++) ml->list[i][ci + k] = ml->list[j][k];
  ml->count[i] = ci + cj;
  for (int k = 0; k < ci + cj; k++) rec->members[k] = ml->list[i][k];
  for (int k = 0; k < cj; k++) ml->list[j][k] = 0;
  int* row = ml->list[j];
  for (int r = j; r < m - 1; r++) {
    ml->list[r] = ml->list[r + 1];
    ml->count[r] = ml->count[r + 1];
  }
  ml->list[m - 1] = row;
  ml->count[m - 1] = 0;
}

// First pair (row order) with the smallest value, or the largest for
// similarities. Strict comparisons: ties go to the lowest i, then the lowest j.
double bestPair(int m, double** d, bool dissimilarity, int* bi, int* bj) {
  double best = dissimilarity ? DBL_MAX : -DBL_MAX;
  *bi = 0;
  *bj = 1; // only left when no value compares (not-a-number everywhere)
  for (int i = 0; i < m; i++)
    for (int j = i + 1; j < m; j++) {
      double v = d[i][j];
      if (dissimilarity ? v < best : v > best) {
        best = v;
        *bi = i;
        *bj = j;
      }
    }
  return best;
}

double** upperCopy(int n, double** d, bool square) {
  double** w = dim2Double(n, n);
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) w[i][j] = square ? d[i][j] * d[i][j] : d[i][j];
  return w;
}

} // namespace

void LinkageFusion(int n, int* sizes, int a, int b, double** d, bool dissimilarity, int method) {
  double sa = sizes[a], sb = sizes[b];
  for (int k = 0; k < n; k++) {
    if (k == a || k == b) continue;
    double x = upper(d, k, a), y = upper(d, k, b), v = x;
    switch (method) {
    case 1: v = dissimilarity ? (x < y ? x : y) : (x > y ? x : y); break;
    case 2: v = dissimilarity ? (x > y ? x : y) : (x < y ? x : y); break;
    case 4: v = (sa * x + sb * y) / (sa + sb); break;
    case 5: v = (x + y) / 2.0; break;
    default: break;
    }
    upper(d, k, a) = v;
  }
  removeGroup(n, b, d);
  removeSize(n, a, b, sizes);
}

void FusionMatrix(int n, int* sizes, int a, int b, double** d, bool dissimilarity) {
  double sa = sizes[a], sb = sizes[b], s = sa + sb;
  double wa = sa / s, wb = sb / s, t = -(sa * sb) / (s * s), D = upper(d, a, b);
  double e = dissimilarity ? t * D : -t * (1.0 - D);
  for (int k = 0; k < n; k++) {
    if (k == a || k == b) continue;
    upper(d, k, a) = wa * upper(d, k, a) + wb * upper(d, k, b) + e;
  }
  removeGroup(n, b, d);
  removeSize(n, a, b, sizes);
}

void LinkageCluster(int n, double** d, clusterReport* report, bool dissimilarity, bool squared, int method,
                    bool copy) {
  if (n < 2) return;
  double** w = copy ? upperCopy(n, d, false) : d;
  if ((method == 4 || method == 5) && dissimilarity && squared) {
    // Averages are taken over distances, not over squared distances.
    for (int i = 0; i < n; i++)
      for (int j = i + 1; j < n; j++) w[i][j] = sqrt(w[i][j]);
    squared = false;
  }
  int* sizes = dim1Dint(n);
  for (int i = 0; i < n; i++) sizes[i] = 1;
  MemberLists ml = newMemberLists(n);
  for (int step = 0; step < n - 1; step++) {
    int m = n - step, i, j;
    double v = bestPair(m, w, dissimilarity, &i, &j);
    clusterReport* rec = &report[step];
    rec->level = asFloat(dissimilarity && squared ? sqrt(v) : v);
    rec->size = sizes[i] + sizes[j];
    mergeLists(&ml, m, i, j, rec);
    LinkageFusion(m, sizes, i, j, w, dissimilarity, method);
  }
  freeMemberLists(&ml, n);
  free1D(sizes);
  if (copy) free2D(w, n);
}

void SumSqCluster(int n, double** d, clusterReport* report, bool squared) {
  if (n < 2) return;
  double** w = upperCopy(n, d, !squared);
  double* q = dim1Double(n);
  int* sizes = dim1Dint(n);
  for (int i = 0; i < n; i++) sizes[i] = 1;
  MemberLists ml = newMemberLists(n);
  for (int step = 0; step < n - 1; step++) {
    int m = n - step, bi = 0, bj = 1;
    double best = DBL_MAX;
    for (int i = 0; i < m; i++)
      for (int j = i + 1; j < m; j++) {
        double c = sizes[j] * w[i][j] * sizes[i] / (double)(sizes[i] + sizes[j]);
        if (c < best) {
          best = c;
          bi = i;
          bj = j;
        }
      }
    double first = q[bi] / sizes[bi], second = q[bj] / sizes[bj];
    // Squared dissimilarities between the two groups' members, from the input.
    double between = 0.0;
    for (int a = 0; a < ml.count[bi]; a++)
      for (int b = 0; b < ml.count[bj]; b++) {
        int p = ml.list[bi][a] - 1, r = ml.list[bj][b] - 1;
        double x = upper(d, p, r);
        between += squared ? x : x * x;
      }
    q[bi] = q[bi] + q[bj] + between;
    for (int r = bj; r < m - 1; r++) q[r] = q[r + 1];
    clusterReport* rec = &report[step];
    rec->size = sizes[bi] + sizes[bj];
    mergeLists(&ml, m, bi, bj, rec);
    rec->level = asFloat(q[bi] / rec->size);
    rec->cost = asFloat(best);
    rec->increaseFirst = rec->level - first;
    rec->increaseSecond = rec->level - second;
    FusionMatrix(m, sizes, bi, bj, w, true);
  }
  freeMemberLists(&ml, n);
  free1D(sizes);
  free1D(q);
  free2D(w, n);
}

void RenamePartitionLabels(int n, int k, int* labels) {
  for (int c = 1; c <= k; c++) {
    for (;;) {
      bool found = false, above = false;
      for (int i = 0; i < n; i++) {
        if (labels[i] == c) found = true;
        if (labels[i] > c) above = true;
      }
      // Stopping when nothing lies above c keeps a wrong k from looping forever.
      if (found || !above) break;
      for (int i = 0; i < n; i++)
        if (labels[i] > c) labels[i]--;
    }
  }
}

void GetClusterPartitionNew(int n, int k, int* labels, clusterReport* report, int method) {
  for (int i = 0; i < n; i++) labels[i] = i + 1;
  if (n >= 2 && k != n) {
    int nr = n - 1;
    clusterReport* rec = (clusterReport*)dim1D(sizeof(clusterReport), nr);
    for (int r = 0; r < nr; r++) rec[r] = report[r];
    if (method == 3) {
      // Sum-of-squares levels needn't grow: the cut takes fusions by level.
      for (int i = 0; i < nr; i++)
        for (int j = i + 1; j < nr; j++)
          if (rec[j].level < rec[i].level) {
            clusterReport t = rec[i];
            rec[i] = rec[j];
            rec[j] = t;
          }
    }
    int groups = n;
    for (int r = 0; r < nr && groups != k; r++) {
      if (rec[r].size < 2) continue;
      int label = labels[rec[r].members[0] - 1];
      for (int m = 1; m < rec[r].size; m++) labels[rec[r].members[m] - 1] = label;
      groups--;
    }
    free1D(rec);
  }
  RenamePartitionLabels(n, k, labels);
}

bool HierFactorialEigen(int n, double* a, double* b, double* first, double* second, double* vectorFirst,
                        double* vectorSecond) {
  double** cp = dim2Double(2, 2);
  double** vectors = dim2Double(2, 2);
  double values[2];
  cp[0][0] = CrossProduct2VecMV(n, a, a);
  cp[0][1] = cp[1][0] = CrossProduct2VecMV(n, a, b);
  cp[1][1] = CrossProduct2VecMV(n, b, b);
  bool ok = EigenHouseholderQL_GSL_D(2, cp, vectors, values);
  *second = values[1];
  if (first) *first = values[0];
  for (int c = 0; c < 2; c++) {
    if (vectorFirst) vectorFirst[c] = vectors[0][c];
    if (vectorSecond) vectorSecond[c] = vectors[1][c];
  }
  free2D(cp, 2);
  free2D(vectors, 2);
  return ok;
}

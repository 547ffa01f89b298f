// Community-level products of W with B, U and Q; Rao entropy, nearest-neighbour resemblance, beta divergence.
// Rao's quadratic entropy (Rao 1982, Theoretical Population Biology 21:24); with the identity as
// resemblance it is the Gini-Simpson index, and their difference the functional redundancy.
#include "TarnLib/tarnlibCommunity.h"

#include <cfloat>
#include <cmath>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibStats.h"

namespace {

const double MV = -999.0;

inline bool isMV(double x) { return x == MV; }

// What a product does with its terms and its result.
enum ProdKind {
  prodMissingRule, // -999 when a sum is exactly 0 and some term was skipped
  prodPartial,     // the partial sum stands
  prodAdjustLeft,  // divided by the sum of the left-hand values
  prodAdjustRight  // divided by the sum of the right-hand values
};

// The one loop of all products; mask and w may be null (all columns, weight 1).
int productCore(int n1, int n2, int n3, int n4, double** A, double** B, double** C, int* mask, int* w,
                ProdKind kind) {
  if (n2 != n3) return 1;
  for (int r = 0; r < n1; r++) {
    const double* a = A[r];
    for (int c = 0; c < n4; c++) {
      if (mask && mask[c] != 1) {
        C[r][c] = 0.0;
        continue;
      }
      double sum = 0.0, divisor = 0.0;
      bool skipped = false;
      for (int k = 0; k < n2; k++) {
        double x = a[k], y = B[k][c];
        if (isMV(x) || isMV(y)) {
          skipped = true;
          continue;
        }
        sum += w ? w[k] * x * y : x * y;
        divisor += kind == prodAdjustRight ? y : x;
      }
      switch (kind) {
      case prodMissingRule: C[r][c] = sum == 0.0 && skipped ? MV : sum; break;
      case prodPartial: C[r][c] = sum; break;
      default: C[r][c] = sum / divisor; break; // 0/0 gives a NaN, left to travel
      }
    }
  }
  return 0;
}

// d(i, j) from the matrix entry s by the two flags.
inline double raoDistance(double s, bool isDissimilarity, bool sqrtDissim) {
  if (isDissimilarity) return sqrtDissim ? sqrt(s) : s;
  return sqrtDissim ? sqrt(1.0 - s) : 1.0 - s;
}

template <typename TA> double abundanceTotal(int n, TA* a) {
  double total = 0.0;
  for (int i = 0; i < n; i++)
    if (!isMV(a[i])) total += a[i];
  return total;
}

template <typename TS> void mirrorUpper(int n, TS** S) {
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) S[j][i] = S[i][j];
}

// The shared definition: `oneFlag` picks d = s or sqrt(1 - s); w (may be
// null) gives the pair factor, by `restrict`.
template <typename TA, typename TS>
double raoCore(int n, TA* a, TS** S, bool isDissimilarity, bool sqrtDissim, bool oneFlag, int* w,
               bool restrict) {
  double total = abundanceTotal(n, a);
  mirrorUpper(n, S);
  if (!(total > 0.0) || n < 1) return 0.0;
  double sum = 0.0;
  for (int i = 0; i < n; i++) {
    if (isMV(a[i])) continue;
    double pi = a[i] / total;
    for (int j = 0; j < n; j++) {
      double s = S[i][j];
      if (isMV(s) || isMV(a[j])) continue;
      double factor = 1.0;
      if (w) {
        // Without `restrict` a pair counts when either OTU is selected, so an
        // unselected OTU still pairs with the selected ones: intended.
        if (restrict) factor = (double)w[i] * w[j];
        else factor = (w[i] == 1 || w[j] == 1) ? 1.0 : 0.0;
      }
      double d = oneFlag ? (isDissimilarity ? s : sqrt(1.0 - s)) : raoDistance(s, isDissimilarity, sqrtDissim);
      sum += factor * (pi * (a[j] / total * d));
    }
  }
  return sum;
}

} // namespace

// ------------------------------------------------------------------ products
int MatrixProdMV(int n1, int n2, int n3, int n4, double** A, double** B, double** C) {
  return productCore(n1, n2, n3, n4, A, B, C, nullptr, nullptr, prodMissingRule);
}
int MatrixProdMV_Weight(int n1, int n2, int n3, int n4, double** A, double** B, double** C, int* w) {
  return productCore(n1, n2, n3, n4, A, B, C, nullptr, w, prodMissingRule);
}
int MatrixProdSelectMV(int n1, int n2, int n3, int n4, double** A, double** B, double** C, int* mask) {
  return productCore(n1, n2, n3, n4, A, B, C, mask, nullptr, prodPartial);
}
int MatrixProdSelect(int n1, int n2, int n3, int n4, double** A, double** B, double** C, int* mask) {
  return productCore(n1, n2, n3, n4, A, B, C, mask, nullptr, prodPartial);
}
int MatrixProdSelectMV_Weight(int n1, int n2, int n3, int n4, double** A, double** B, double** C, int* mask,
                              int* w) {
  return productCore(n1, n2, n3, n4, A, B, C, mask, w, prodPartial);
}
int MatrixProdSelectMV_Adjust_Weight(int n1, int n2, int n3, int n4, double** A, double** B, double** C,
                                     int* mask, int* w) {
  // The weights enter the sum only, not its divisor.
  return productCore(n1, n2, n3, n4, A, B, C, mask, w, prodAdjustLeft);
}
int MatrixProdSelectMV_Adjust(int n1, int n2, int n3, int n4, double** A, double** B, double** C, int* mask) {
  // Divided by the sum of B's values, unlike the _Weight member: as designed.
  return productCore(n1, n2, n3, n4, A, B, C, mask, nullptr, prodAdjustRight);
}

int MatrixProdTargetMV(int n1, int n2, int n3, int n4, int target, double** A, double** B, double** D,
                       double** C) {
  if (n2 != n3 || n4 <= target) return 1;
  // B was replaced by D in row and column `target` only: just the terms that
  // read them (and the diagonal) are exchanged in C.
  for (int r = 0; r < n1; r++)
    for (int c = 0; c < n4; c++)
      for (int k = 0; k < n2; k++) {
        if (c != target && k != target && k != c) continue;
        double a = A[r][k];
        if (isMV(a) || isMV(D[k][c])) continue;
        C[r][c] = C[r][c] - B[k][c] * a + D[k][c] * a;
      }
  return 0;
}

void ScalarMatrixProd(int n, int p, double value, double** A, double** C) {
  for (int i = 0; i < n; i++)
    for (int j = 0; j < p; j++) C[i][j] = isMV(A[i][j]) ? MV : value * A[i][j];
}

// -------------------------------------------------------------- Rao entropy
double RaoIndex(int n, double* a, double** S, bool isDissimilarity, bool sqrtDissim) {
  return raoCore(n, a, S, isDissimilarity, sqrtDissim, false, nullptr, false);
}
double RaoIndex(int n, double* a, float** S, bool isDissimilarity, bool sqrtDissim) {
  return raoCore(n, a, S, isDissimilarity, sqrtDissim, false, nullptr, false);
}

double RaoIndex(int n, double* a, float** S, bool isDissimilarity, bool sqrtDissim, bool crisp) {
  if (!crisp) return raoCore(n, a, S, isDissimilarity, sqrtDissim, false, nullptr, false);
  // Gini-Simpson: d = 1 off the diagonal, 0 on it; the matrix is left alone.
  double total = abundanceTotal(n, a);
  if (!(total > 0.0) || n < 1) return 0.0;
  double sum = 0.0;
  for (int i = 0; i < n; i++) {
    if (isMV(a[i])) continue;
    double pi = a[i] / total;
    for (int j = 0; j < n; j++) {
      if (isMV(a[j])) continue;
      sum += pi * (a[j] / total * (i == j ? 0.0 : 1.0));
    }
  }
  return sum;
}

double RaoIndex(int n, double* a, double** S, bool isDissimilarity) {
  return raoCore(n, a, S, isDissimilarity, false, true, nullptr, false);
}
double RaoIndex(int n, double* a, float** S, bool isDissimilarity) {
  return raoCore(n, a, S, isDissimilarity, false, true, nullptr, false);
}
double RaoIndex(int n, float* a, float** S, bool isDissimilarity) {
  return raoCore(n, a, S, isDissimilarity, false, true, nullptr, false);
}
double RaoIndex_Weight(int n, double* a, double** S, bool isDissimilarity, int* w, bool restrict) {
  return raoCore(n, a, S, isDissimilarity, false, true, w, restrict);
}
double RaoIndex_Weight(int n, double* a, double** S, bool isDissimilarity, bool sqrtDissim, int* w,
                       bool restrict) {
  return raoCore(n, a, S, isDissimilarity, sqrtDissim, false, w, restrict);
}

// ------------------------------------------- nearest neighbours, divergence
double NearNeigAvgTraitResemblance_WithinCommunity(int nOTUs, int nCommunities, double** W, double** S,
                                                   bool isDissimilarity, bool mirror, int* richness) {
  int* rich = richness;
  if (!rich) {
    rich = dim1Dint(nCommunities > 0 ? nCommunities : 1);
    for (int c = 0; c < nCommunities; c++)
      for (int i = 0; i < nOTUs; i++)
        if (W[c][i] > 0.0) rich[c]++;
  }
  if (mirror) UpperToLowerMatrix(nOTUs, S);
  double total = 0.0;
  int skipped = 0;
  // The nearest pair is remembered across OTUs (and communities): when no
  // OTU improves on the start value, the pair of an earlier one stands.
  int pa = 0, pb = 0;
  for (int c = 0; c < nCommunities; c++) {
    double* w = W[c];
    double sum = 0.0;
    for (int i = 0; i < nOTUs; i++) {
      if (w[i] == 0.0) continue;
      double best = isDissimilarity ? 3.4028234663852886e38 : 0.0;
      for (int j = 0; j < nOTUs; j++) {
        if (j == i || w[j] == 0.0) continue;
        double s = S[i][j];
        if (isDissimilarity ? s < best : s > best) {
          best = s;
          pa = i;
          pb = j;
        }
      }
      if (rich[c] >= 2) sum += isDissimilarity ? best * w[pa] * w[pb] : best / (w[pa] * w[pb]);
    }
    if (rich[c] >= 2) total += sum / rich[c];
    else skipped++;
  }
  if (!richness) free1D(rich);
  return total / (nCommunities - skipped); // no community at all: 0/0
}

bool BetaDivergence(int n, double** DE, double** DX, double* result) {
  UpperToLowerMatrix(n, DE);
  UpperToLowerMatrix(n, DX);
  for (int i = 0; i < n; i++) {
    double smallest = DBL_MAX;
    for (int j = 0; j < n; j++)
      if (j != i && DE[i][j] < smallest) smallest = DE[i][j];
    // Every nearest neighbour counts, ties included.
    double sum = 0.0, count = 0.0;
    for (int j = 0; j < n; j++)
      if (j != i && DE[i][j] == smallest) {
        sum += DX[i][j];
        count += 1.0;
      }
    result[i] = sum / count;
  }
  return true;
}

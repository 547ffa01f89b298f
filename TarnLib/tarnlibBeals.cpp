// Beals smoothing of community matrices: conditional probabilities of
// co-occurrence between OTUs and the smoothed community matrix.
// Beals smoothing: Beals (1984) Adv. Ecol. Res. 14: 1-55; De Caceres & Legendre (2008)
// "Beals smoothing revisited", Oecologia 156: 657-669 (estimates without the target).
#include "TarnLib/tarnlibBeals.h"

#include <cmath>

#include "TarnLib/tarnlibCommunity.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibStats.h"

static const double MV = -999.0;

// ---- Conditional probabilities ----

// The raw (unnormalised) weight of the pair of OTUs (i, j) over the
// communities where neither value is missing.
static double RawPair(int nRows, double** W, int i, int j, int mode) {
  double sum = 0.0;
  for (int r = 0; r < nRows; r++) {
    double a = W[r][i], b = W[r][j];
    if (a == MV || b == MV) continue;
    if (mode == 0) {
      if (a > 0 && b > 0) sum += 1.0;
    } else if (mode == 1) {
      if (b > 0) sum += a;
    } else {
      sum += a * b;
    }
  }
  return sum;
}

// Modes 0 and 1 (and any mode but 2): the off-diagonal entries of row i
// divided by the row's former diagonal when it is above 0, then diagonal 1.
static void NormaliseRowByDiagonal(int nCols, double* row, int i) {
  double d = row[i];
  if (d > 0)
    for (int j = 0; j < nCols; j++)
      if (j != i) row[j] /= d;
  row[i] = 1.0;
}

void ConditionalProb(int nRows, int nCols, double** W, double** M, int mode) {
  if (mode == 0 || mode == 1 || mode == 2)
    for (int i = 0; i < nCols; i++)
      for (int j = 0; j < nCols; j++) M[i][j] = RawPair(nRows, W, i, j, mode);
  if (mode == 2) {
    UnitSumRowsAdjMV(nCols, nCols, M, M);
    return;
  }
  for (int i = 0; i < nCols; i++) NormaliseRowByDiagonal(nCols, M[i], i);
}

void ConditionalProb(int nRows, int nCols, double** W, double** M) {
  ConditionalProb(nRows, nCols, W, M, 0);
}

// Mode 2 renewal. Every entry of row j is raw(j, k) / T_j with
// T_j = sum over communities of W[r][j] times the community total: the
// entries of row j that don't involve the target keep their proportions, so
// they are rescaled as a block, whatever normalisation the caller applied to
// M (unit rows, or unit rows after the diagonal was zeroed).
// `total` is a work vector of nRows entries.
static void RenewCrossProducts(int target, int nRows, int nCols, double** W, double** M,
                               double* total) {
  for (int r = 0; r < nRows; r++) {
    total[r] = 0.0;
    for (int k = 0; k < nCols; k++)
      if (W[r][k] != MV) total[r] += W[r][k];
  }
  for (int j = 0; j < nCols; j++) {
    double tj = 0.0;
    for (int r = 0; r < nRows; r++)
      if (W[r][j] != MV) tj += W[r][j] * total[r];
    double divisor = tj == 0.0 ? 1.0 : tj;  // the rule of UnitSumRowsAdjMV
    if (j == target) {
      for (int k = 0; k < nCols; k++) M[j][k] = RawPair(nRows, W, j, k, 2) / divisor;
      continue;
    }
    double rawT = RawPair(nRows, W, j, target, 2);
    double rawD = RawPair(nRows, W, j, j, 2);
    double oldRest = 0.0;
    for (int k = 0; k < nCols; k++)
      if (k != j && k != target) oldRest += M[j][k];
    double newRest = (tj - rawT - rawD) / divisor;
    if (oldRest != 0.0) {
      double factor = newRest / oldRest;
      for (int k = 0; k < nCols; k++)
        if (k != j && k != target) M[j][k] *= factor;
    }
    M[j][target] = rawT / divisor;
    M[j][j] = rawD / divisor;
  }
}

// The target form on a caller's work vector `total` (nRows entries, mode 2).
static void RenewTarget(int target, int nRows, int nCols, double** W, double** M, int mode,
                        double* total) {
  if (target < 0 || target >= nCols) return;
  if (mode == 2) {
    RenewCrossProducts(target, nRows, nCols, W, M, total);
  } else if (mode == 0 || mode == 1) {
    for (int k = 0; k < nCols; k++) M[target][k] = RawPair(nRows, W, target, k, mode);
    NormaliseRowByDiagonal(nCols, M[target], target);
    // Rows other than the target keep their divisor: it doesn't involve the target.
    for (int j = 0; j < nCols; j++) {
      if (j == target) continue;
      double d = RawPair(nRows, W, j, j, mode);
      double raw = RawPair(nRows, W, j, target, mode);
      M[j][target] = d > 0 ? raw / d : raw;
    }
  } else {
    NormaliseRowByDiagonal(nCols, M[target], target);
  }
}

void ConditionalProb(int target, int nRows, int nCols, double** W, double** M, int mode) {
  double* total = dim1Double(nRows > 0 ? nRows : 1);
  RenewTarget(target, nRows, nCols, W, M, mode, total);
  free1D(total);
}

// ---- Smoothing ----

void BealsSmoothing(int nRows, int nCols, double** Wrows, double** Wcond, double** out,
                    bool includeTarget, int mode) {
  double** M = dim2Double(nCols, nCols);
  double** A = dim2Double(nRows, nCols);
  ConditionalProb(nRows, nCols, Wcond, M, mode);
  UnitSumRowsAdjMV(nRows, nCols, A, Wrows);
  if (includeTarget) {
    MatrixProdMV(nRows, nCols, nCols, nCols, A, M, out);
  } else {
    for (int k = 0; k < nCols; k++) M[k][k] = 0.0;
    for (int r = 0; r < nRows; r++)
      for (int j = 0; j < nCols; j++) {
        // A missing share counts as no share of the target.
        double share = A[r][j] == MV ? 0.0 : A[r][j];
        if (1.0 - share == 0.0) {  // the OTU is alone in its community
          out[r][j] = 0.0;
          continue;
        }
        double sum = 0.0;
        bool skipped = false;
        for (int k = 0; k < nCols; k++) {
          if (A[r][k] == MV || M[k][j] == MV) {
            skipped = true;
            continue;
          }
          double m = mode == 2 ? M[k][j] / (1.0 - M[k][j]) : M[k][j];
          sum += A[r][k] / (1.0 - share) * m;
        }
        out[r][j] = (sum == 0.0 && skipped) ? MV : sum;
      }
  }
  free2D(A, nRows);
  free2D(M, nCols);
}

void BealsSmoothing(int nRows, int nCols, double** Wrows, double** Wcond, double** out,
                    bool includeTarget) {
  BealsSmoothing(nRows, nCols, Wrows, Wcond, out, includeTarget, 0);
}

static void ExcludeTarget(int nCols, double** local, int mode) {
  for (int k = 0; k < nCols; k++) local[k][k] = 0.0;
  if (mode == 2) UnitSumRowsAdjMV(nCols, nCols, local, local);
}

void SmoothPerTarget(int nRows, int nCols, double** Wrows, double** Wcond, double** out, bool partial,
                     int target, double** M, bool includeTarget, int mode, double** A, double** local,
                     double* total) {
  UnitSumRowsAdjMV(nRows, nCols, A, Wrows);
  if (!partial) {
    ConditionalProb(nRows, nCols, Wcond, local, mode);
    if (!includeTarget) ExcludeTarget(nCols, local, mode);
    MatrixProdMV(nRows, nCols, nCols, nCols, A, local, out);
    if (M != nullptr) CopyMatrix(nCols, nCols, local, M);
  } else {
    CopyMatrix(nCols, nCols, M, local);
    RenewTarget(target, nRows, nCols, Wcond, local, mode, total);
    if (!includeTarget) {
      ExcludeTarget(nCols, local, mode);
      for (int r = 0; r < nRows; r++)
        for (int c = 0; c < nCols; c++) out[r][c] *= 1.0 - A[r][c];
    }
    MatrixProdTargetMV(nRows, nCols, nCols, nCols, target, A, M, local, out);
  }
  // Unlike the whole-matrix form, this one divides also when the OTU is alone
  // in its community (an infinity or a not-a-number follows): intended.
  if (!includeTarget)
    for (int r = 0; r < nRows; r++)
      for (int c = 0; c < nCols; c++) out[r][c] /= 1.0 - A[r][c];
}

void BealsSmoothing(int nRows, int nCols, double** Wrows, double** Wcond, double** out,
                    bool partial, int target, double** M, bool includeTarget, int mode) {
  double** A = dim2Double(nRows, nCols);
  double** local = dim2Double(nCols, nCols);
  double* total = dim1Double(nRows > 0 ? nRows : 1);
  SmoothPerTarget(nRows, nCols, Wrows, Wcond, out, partial, target, M, includeTarget, mode, A,
                  local, total);
  free1D(total);
  free2D(local, nCols);
  free2D(A, nRows);
}

// Beals and fuzzy smoothing of community matrices, and the randomisation tests of the smoothing of each OTU.
// Beals smoothing: Beals (1984) Adv. Ecol. Res. 14: 1-55; De Caceres & Legendre (2008)
// "Beals smoothing revisited", Oecologia 156: 657-669 (estimates without the target).
#include "scaling/smoothing.h"

#include <omp.h>

#include <gsl/gsl_sort.h>
#include <gsl/gsl_statistics_double.h>

#include <cmath>
#include <cstdio>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibStats.h"
#include "scaling/community.h"
#include "shell/shell.h"

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

// The per-target form on the caller's work arrays: A (nRows x nCols), local
// (nCols x nCols) and total (nRows). The tests run it in their parallel loop,
// where nothing may be allocated.
static void SmoothPerTarget(int nRows, int nCols, double** Wrows, double** Wcond, double** out,
                            bool partial, int target, double** M, bool includeTarget, int mode,
                            double** A, double** local, double* total) {
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

// ---- Randomisation tests ----

enum BealsStatistic { kDifferenceOfMeans, kDifferenceOfMedians, kCorrelation };

// One thread's private arrays, all allocated before the parallel loop: an
// allocation that fails jumps to the recovery point, which must not happen
// inside the loop.
struct BealsTestWork {
  double** Wc;       // W with the target's column rearranged
  double** out;      // smoothed copy
  double** A;        // shares of Wc
  double** local;    // conditional matrix of Wc
  double* total;     // community totals
  double* column;    // smoothed values of the target
  double* wColumn;   // values of the target in Wc
  double* sel1;      // selected values (correlation, medians)
  double* sel2;
  int* list;
  int* mark;
  int* newMark;
  int* members;      // the shuffle among the eligible communities
  int* perm;
  bool* eligible;
};

static void AllocWork(BealsTestWork* w, int nRows, int nCols) {
  w->Wc = dim2Double(nRows, nCols);
  w->out = dim2Double(nRows, nCols);
  w->A = dim2Double(nRows, nCols);
  w->local = dim2Double(nCols, nCols);
  w->total = dim1Double(nRows);
  w->column = dim1Double(nRows);
  w->wColumn = dim1Double(nRows);
  w->sel1 = dim1Double(nRows);
  w->sel2 = dim1Double(nRows);
  w->list = dim1Dint(nRows);
  w->mark = dim1Dint(nRows);
  w->newMark = dim1Dint(nRows);
  w->members = dim1Dint(nRows);
  w->perm = dim1Dint(nRows);
  w->eligible = (bool*)dim1D(sizeof(bool), nRows);
}

static void FreeWork(BealsTestWork* w, int nRows, int nCols) {
  free2D(w->Wc, nRows);
  free2D(w->out, nRows);
  free2D(w->A, nRows);
  free2D(w->local, nCols);
  free1D(w->total);
  free1D(w->column);
  free1D(w->wColumn);
  free1D(w->sel1);
  free1D(w->sel2);
  free1D(w->list);
  free1D(w->mark);
  free1D(w->newMark);
  free1D(w->members);
  free1D(w->perm);
  free1D(w->eligible);
}

// The median of the smoothed values whose mark is (or is not) 1, -999 left
// out; not a number when none is left.
static double MedianOfMarked(int nRows, BealsTestWork* w, int* mark, bool marked) {
  int k = 0;
  for (int i = 0; i < nRows; i++)
    if ((mark[i] == 1) == marked && w->column[i] != MV) w->sel1[k++] = w->column[i];
  if (k == 0) return NAN;
  gsl_sort(w->sel1, 1, (size_t)k);
  return gsl_stats_median_from_sorted_data(w->sel1, 1, (size_t)k);
}

// The statistic of OTU t on the smoothed column `column` with the marks of
// presence `mark`; nPresent and nAbsent come from the observed data.
static double BealsStatisticOf(BealsStatistic kind, int nRows, BealsTestWork* w, int* mark,
                               int nPresent, int nAbsent) {
  if (kind == kCorrelation) {
    int m = 0;
    for (int i = 0; i < nRows; i++)
      if (w->eligible[i]) {
        w->sel1[m] = w->wColumn[i];
        w->sel2[m] = w->column[i];
        m++;
      }
    return Correlation2VecMV(m, w->sel1, w->sel2);
  }
  if (kind == kDifferenceOfMedians)
    return MedianOfMarked(nRows, w, mark, true) - MedianOfMarked(nRows, w, mark, false);
  double present = 0.0, others = 0.0;
  for (int i = 0; i < nRows; i++) {
    if (mark[i] == 1)
      present += w->column[i];
    else
      others += w->column[i];
  }
  return present / nPresent - others / nAbsent;
}

// The draws of RndListSelect on the identity list, on the work arrays.
static void ShuffleEligible(int nRows, BealsTestWork* w) {
  int m = 0;
  for (int i = 0; i < nRows; i++) {
    w->list[i] = i + 1;
    if (w->eligible[i]) w->members[m++] = i + 1;
  }
  RndList(m, w->perm);
  for (int i = 0; i < m; i++) w->list[w->members[i] - 1] = w->members[w->perm[i] - 1];
}

// Observed statistic and probability of OTU t.
static void BealsTestOTU(int t, int nRows, int nCols, int niter, double** W, double** A1,
                         double** observed, double** observedM, int mode, bool partial,
                         BealsStatistic kind, bool includeTarget, BealsTestWork* w,
                         double* statistic, double* probabilities) {
  int nPresent = 0, nAbsent = 0;
  for (int i = 0; i < nRows; i++) {
    w->mark[i] = W[i][t] > 0 ? 1 : 0;
    nPresent += w->mark[i];
    if (W[i][t] == 0.0) nAbsent++;
    w->eligible[i] = !(AlmostEqual2sComplement(A1[i][t], 0.0, 1) || W[i][t] == MV);
    w->column[i] = observed[i][t];
    w->wColumn[i] = W[i][t];
  }
  double observedStat = BealsStatisticOf(kind, nRows, w, w->mark, nPresent, nAbsent);
  statistic[t] = observedStat;
  CopyMatrix(nRows, nCols, W, w->Wc);
  double count = 1.0;
  for (int iter = 1; iter < niter; iter++) {
    if (omp_get_thread_num() == 0) {
      char status[100];
      snprintf(status, sizeof status, "Taxon: %d %d Permutation: %d %d", t + 1, nCols, iter + 1,
               niter);
      HandleEventInfoWhere2(status);
    }
    // One shared generator: the draws of the threads interleave, so these
    // tests are not repeatable from the seed; the lock only keeps its state whole.
#pragma omp critical(kolvenRandomGenerator)
    ShuffleEligible(nRows, w);
    for (int k = 0; k < nRows; k++) {
      w->Wc[k][t] = W[w->list[k] - 1][t];
      w->newMark[k] = w->mark[w->list[k] - 1];
      w->wColumn[k] = w->Wc[k][t];
    }
    bool perTarget = partial || kind == kCorrelation;
    if (perTarget) CopyMatrix(nRows, nCols, observed, w->out);
    SmoothPerTarget(nRows, nCols, w->Wc, w->Wc, w->out, perTarget, t,
                    perTarget ? observedM : nullptr, includeTarget, mode, w->A, w->local,
                    w->total);
    for (int i = 0; i < nRows; i++) w->column[i] = w->out[i][t];
    double s = BealsStatisticOf(kind, nRows, w, w->newMark, nPresent, nAbsent);
    if (AlmostEqual2sComplement(s, observedStat, 1) || s > observedStat) count += 1.0;
  }
  probabilities[t] = count / niter;
}

static void BealsTestRun(int nRows, int nCols, int niter, double** W, double* statistic,
                         double* probabilities, int mode, bool partial, BealsStatistic kind,
                         bool includeTarget) {
  if (nRows <= 0 || nCols <= 0) return;
  double** A1 = dim2Double(nRows, nCols);
  double** A2 = dim2Double(nRows, nCols);
  double** M1 = dim2Double(nCols, nCols);
  double** M2 = dim2Double(nCols, nCols);
  BealsSmoothing(nRows, nCols, W, W, A1, false, 0, M1, true, mode);
  BealsSmoothing(nRows, nCols, W, W, A2, false, 0, M2, false, mode);
  double** observed = includeTarget ? A1 : A2;
  double** observedM = includeTarget ? M1 : M2;
  int nThreads = omp_get_max_threads();
  BealsTestWork* work = (BealsTestWork*)dim1D(sizeof(BealsTestWork), nThreads);
  for (int i = 0; i < nThreads; i++) AllocWork(&work[i], nRows, nCols);

#pragma omp parallel for schedule(static)
  for (int t = 0; t < nCols; t++)
    BealsTestOTU(t, nRows, nCols, niter, W, A1, observed, observedM, mode, partial, kind,
                 includeTarget, &work[omp_get_thread_num()], statistic, probabilities);

  for (int i = 0; i < nThreads; i++) FreeWork(&work[i], nRows, nCols);
  free1D(work);
  free2D(M2, nCols);
  free2D(M1, nCols);
  free2D(A2, nRows);
  free2D(A1, nRows);
}

void BealsTest(int nRows, int nCols, int niter, double** W, double* statistic,
               double* probabilities, int mode) {
  BealsTestRun(nRows, nCols, niter, W, statistic, probabilities, mode, false,
               kDifferenceOfMeans, false);
}

void BealsTest_Partial(int nRows, int nCols, int niter, double** W, double* statistic,
                       double* probabilities, int mode) {
  BealsTestRun(nRows, nCols, niter, W, statistic, probabilities, mode, true,
               kDifferenceOfMeans, false);
}

void BealsTest_Partial(int nRows, int nCols, int niter, double** W, double* statistic,
                       double* probabilities, int mode, int centre) {
  BealsTestRun(nRows, nCols, niter, W, statistic, probabilities, mode, true,
               centre == 1 ? kDifferenceOfMedians : kDifferenceOfMeans, false);
}

void BealsTestBSA(int nRows, int nCols, int niter, double** W, double* statistic,
                  double* probabilities, int mode, bool includeTarget) {
  BealsTestRun(nRows, nCols, niter, W, statistic, probabilities, mode, true, kCorrelation,
               includeTarget);
}

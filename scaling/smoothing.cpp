// Beals and fuzzy smoothing of community matrices, and the randomisation tests of the smoothing of each OTU.
// Beals smoothing: Beals (1984) Adv. Ecol. Res. 14: 1-55; De Caceres & Legendre (2008)
// "Beals smoothing revisited", Oecologia 156: 657-669 (estimates without the target).
#include "scaling/smoothing.h"

#include <omp.h>

#include <cstdio>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibStats.h"
#include "scaling/community.h"
#include "shell/shell.h"

static const double MV = -999.0;

// ---- Conditional probabilities ----

// The raw (unnormalised) weight of the pair (i, j) over the communities
// where neither value is missing. Wt holds W transposed: OTUs by communities.
static double RawPair(int nRows, double* wi, double* wj, int mode) {
  double sum = 0.0;
  for (int r = 0; r < nRows; r++) {
    double a = wi[r], b = wj[r];
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

static double** Transpose(int nRows, int nCols, double** W) {
  double** Wt = dim2Double(nCols, nRows);
  for (int r = 0; r < nRows; r++)
    for (int c = 0; c < nCols; c++) Wt[c][r] = W[r][c];
  return Wt;
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
  if (mode == 0 || mode == 1 || mode == 2) {
    double** Wt = Transpose(nRows, nCols, W);
    for (int i = 0; i < nCols; i++)
      for (int j = 0; j < nCols; j++) M[i][j] = RawPair(nRows, Wt[i], Wt[j], mode);
    free2D(Wt, nCols);
  }
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
static void RenewCrossProducts(int target, int nRows, int nCols, double** Wt, double** M) {
  double* total = dim1Double(nRows);
  for (int r = 0; r < nRows; r++)
    for (int k = 0; k < nCols; k++)
      if (Wt[k][r] != MV) total[r] += Wt[k][r];
  for (int j = 0; j < nCols; j++) {
    double tj = 0.0;
    for (int r = 0; r < nRows; r++)
      if (Wt[j][r] != MV) tj += Wt[j][r] * total[r];
    double divisor = tj == 0.0 ? 1.0 : tj;  // the rule of UnitSumRowsAdjMV
    if (j == target) {
      for (int k = 0; k < nCols; k++) M[j][k] = RawPair(nRows, Wt[j], Wt[k], 2) / divisor;
      continue;
    }
    double rawT = RawPair(nRows, Wt[j], Wt[target], 2);
    double rawD = RawPair(nRows, Wt[j], Wt[j], 2);
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
  free1D(total);
}

void ConditionalProb(int target, int nRows, int nCols, double** W, double** M, int mode) {
  if (target < 0 || target >= nCols) return;
  double** Wt = Transpose(nRows, nCols, W);
  if (mode == 2) {
    RenewCrossProducts(target, nRows, nCols, Wt, M);
  } else if (mode == 0 || mode == 1) {
    for (int k = 0; k < nCols; k++) M[target][k] = RawPair(nRows, Wt[target], Wt[k], mode);
    NormaliseRowByDiagonal(nCols, M[target], target);
    // Rows other than the target keep their divisor: it doesn't involve the target.
    for (int j = 0; j < nCols; j++) {
      if (j == target) continue;
      double d = RawPair(nRows, Wt[j], Wt[j], mode);
      double raw = RawPair(nRows, Wt[j], Wt[target], mode);
      M[j][target] = d > 0 ? raw / d : raw;
    }
  } else {
    NormaliseRowByDiagonal(nCols, M[target], target);
  }
  free2D(Wt, nCols);
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

void BealsSmoothing(int nRows, int nCols, double** Wrows, double** Wcond, double** out,
                    bool partial, int target, double** M, bool includeTarget, int mode) {
  double** A = dim2Double(nRows, nCols);
  double** local = dim2Double(nCols, nCols);
  UnitSumRowsAdjMV(nRows, nCols, A, Wrows);
  if (!partial) {
    ConditionalProb(nRows, nCols, Wcond, local, mode);
    if (!includeTarget) ExcludeTarget(nCols, local, mode);
    MatrixProdMV(nRows, nCols, nCols, nCols, A, local, out);
    if (M != nullptr) CopyMatrix(nCols, nCols, local, M);
  } else {
    CopyMatrix(nCols, nCols, M, local);
    ConditionalProb(target, nRows, nCols, Wcond, local, mode);
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
  free2D(local, nCols);
  free2D(A, nRows);
}

// ---- Randomisation tests ----

enum BealsStatistic { kDifferenceOfMeans, kDifferenceOfMedians, kCorrelation };

struct BealsTestWork {  // one thread's private arrays
  double** Wc;
  double** out;
  double** M;
  double* column;
  double* wColumn;
  double* sel1;
  double* sel2;
  int* list;
  int* mark;
  int* newMark;
  int* absent;
  bool* eligible;
};

static void AllocWork(BealsTestWork* w, int nRows, int nCols) {
  w->Wc = dim2Double(nRows, nCols);
  w->out = dim2Double(nRows, nCols);
  w->M = dim2Double(nCols, nCols);
  w->column = dim1Double(nRows);
  w->wColumn = dim1Double(nRows);
  w->sel1 = dim1Double(nRows);
  w->sel2 = dim1Double(nRows);
  w->list = dim1Dint(nRows);
  w->mark = dim1Dint(nRows);
  w->newMark = dim1Dint(nRows);
  w->absent = dim1Dint(nRows);
  w->eligible = (bool*)dim1D(sizeof(bool), nRows);
}

static void FreeWork(BealsTestWork* w, int nRows, int nCols) {
  free2D(w->Wc, nRows);
  free2D(w->out, nRows);
  free2D(w->M, nCols);
  free1D(w->column);
  free1D(w->wColumn);
  free1D(w->sel1);
  free1D(w->sel2);
  free1D(w->list);
  free1D(w->mark);
  free1D(w->newMark);
  free1D(w->absent);
  free1D(w->eligible);
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
  if (kind == kDifferenceOfMedians) {
    for (int i = 0; i < nRows; i++) w->absent[i] = mark[i] == 1 ? 0 : 1;
    return Median(nRows, w->column, mark) - Median(nRows, w->column, w->absent);
  }
  double present = 0.0, others = 0.0;
  for (int i = 0; i < nRows; i++) {
    if (mark[i] == 1)
      present += w->column[i];
    else
      others += w->column[i];
  }
  return present / nPresent - others / nAbsent;
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

#pragma omp parallel for schedule(static)
  for (int t = 0; t < nCols; t++) {
    BealsTestWork w;
    AllocWork(&w, nRows, nCols);
    int nPresent = 0, nAbsent = 0;
    for (int i = 0; i < nRows; i++) {
      w.mark[i] = W[i][t] > 0 ? 1 : 0;
      nPresent += w.mark[i];
      if (W[i][t] == 0.0) nAbsent++;
      w.eligible[i] = !(AlmostEqual2sComplement(A1[i][t], 0.0, 1) || W[i][t] == MV);
      w.column[i] = observed[i][t];
      w.wColumn[i] = W[i][t];
    }
    double observedStat = BealsStatisticOf(kind, nRows, &w, w.mark, nPresent, nAbsent);
    statistic[t] = observedStat;
    CopyMatrix(nRows, nCols, W, w.Wc);
    double count = 1.0;
    for (int iter = 1; iter < niter; iter++) {
      if (omp_get_thread_num() == 0) {
        char status[100];
        snprintf(status, sizeof status, "Taxon: %d %d Permutation: %d %d", t + 1, nCols,
                 iter + 1, niter);
        HandleEventInfoWhere2(status);
      }
      for (int i = 0; i < nRows; i++) w.list[i] = i + 1;
      // One shared generator: the draws of the threads interleave, so these
      // tests are not repeatable from the seed; the lock only keeps its state whole.
#pragma omp critical(kolvenRandomGenerator)
      RndListSelect(nRows, w.list, w.eligible);
      for (int k = 0; k < nRows; k++) {
        w.Wc[k][t] = W[w.list[k] - 1][t];
        w.newMark[k] = w.mark[w.list[k] - 1];
        w.wColumn[k] = w.Wc[k][t];
      }
      if (partial || kind == kCorrelation) {
        CopyMatrix(nRows, nCols, observed, w.out);
        BealsSmoothing(nRows, nCols, w.Wc, w.Wc, w.out, true, t, observedM, includeTarget, mode);
      } else {
        BealsSmoothing(nRows, nCols, w.Wc, w.Wc, w.out, false, t, nullptr, includeTarget, mode);
      }
      for (int i = 0; i < nRows; i++) w.column[i] = w.out[i][t];
      double s = BealsStatisticOf(kind, nRows, &w, w.newMark, nPresent, nAbsent);
      if (AlmostEqual2sComplement(s, observedStat, 1) || s > observedStat) count += 1.0;
    }
    probabilities[t] = count / niter;
    FreeWork(&w, nRows, nCols);
  }
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

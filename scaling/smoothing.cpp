// The randomisation tests of the Beals smoothing of each OTU; the smoothing
// itself is in TarnLib/tarnlibBeals.
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
#include "shell/shell.h"

static const double MV = -999.0;

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

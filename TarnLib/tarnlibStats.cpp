// Vector statistics, cross products, correlations and adjustments of vectors and matrices under the -999 rule.
// Sums of squared deviations by the textbook one-pass form (sum x^2 - (sum x)^2 / k);
// pairwise-deletion covariance and correlation over complete pairs.
#include "TarnLib/tarnlibStats.h"

#include <cfloat>
#include <cmath>
#include <cstdlib>

#include <gsl/gsl_sort.h>
#include <gsl/gsl_statistics_double.h>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"

namespace {

const double MV = -999.0;

inline bool isMV(double x) { return x == MV; }

// Single-precision limits written as doubles: some ranges start from them on purpose.
const double floatMinNormal = 1.1754943508222875e-38;
const double floatMax = 3.4028234663852886e+38;

template <typename T> double sumOfSquaresT(int n, T* x) {
  double s = 0.0;
  for (int i = 0; i < n; i++)
    if (!isMV(x[i])) s += (double)x[i] * (double)x[i];
  return s;
}

template <typename T> void sumsMV(int n, T* x, double* sum, double* ss, int* k) {
  *sum = 0.0;
  *ss = 0.0;
  *k = 0;
  for (int i = 0; i < n; i++) {
    if (isMV(x[i])) continue;
    double v = x[i];
    *sum += v;
    *ss += v * v;
    (*k)++;
  }
}

template <typename T> double sumOfSquaresDevT(int n, T* x) {
  double sum, ss;
  int k;
  sumsMV(n, x, &sum, &ss, &k);
  return ss - sum * sum / k; // k = 0 gives 0/0: a NaN travels on
}

template <typename T> double varianceT(int n, T* x) {
  double sum, ss;
  int k;
  sumsMV(n, x, &sum, &ss, &k);
  return (ss - sum * sum / k) / (k - 1);
}

template <typename T> double meanT(int n, T* x) {
  double sum = 0.0;
  for (int i = 0; i < n; i++) sum += x[i];
  return sum / n;
}

template <typename T, typename R> void meanStDevT(int n, T* x, R* mean, R* sd) {
  double sum = 0.0, ss = 0.0;
  for (int i = 0; i < n; i++) {
    sum += x[i];
    ss += (double)x[i] * (double)x[i];
  }
  *mean = (R)(sum / n);
  *sd = (R)sqrt((ss - sum * sum / n) / (n - 1));
}

template <typename T> double momentT(int n, T* x, int order) {
  double mean = meanT(n, x);
  double s = 0.0;
  for (int i = 0; i < n; i++) s += pow((double)x[i] - mean, order);
  return s / n;
}

template <typename T> double rangeT(int n, T* x) {
  // The maximum starts at 0: an all-negative vector gives 0 minus its minimum.
  double mx = 0.0, mn = DBL_MAX;
  for (int i = 0; i < n; i++) {
    if (x[i] > mx) mx = x[i];
    if (x[i] < mn) mn = x[i];
  }
  return mx - mn;
}

template <typename T> double matrixMaxT(int rows, int cols, T** m) {
  double mx = 0.0; // from 0 on purpose: a matrix of negatives gives 0
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++)
      if (m[i][j] > mx) mx = m[i][j];
  return mx;
}

template <typename T> double maxVectorT(int n, T* x) {
  double mx = -DBL_MAX;
  for (int i = 0; i < n; i++)
    if (x[i] > mx) mx = x[i];
  return mx;
}

template <typename T> double minVectorT(int n, T* x) {
  double mn = DBL_MAX;
  for (int i = 0; i < n; i++)
    if (x[i] < mn) mn = x[i];
  return mn;
}

template <typename T> int maxVectorWhichT(int n, T* x) {
  double mx = -DBL_MAX;
  int which = 0;
  for (int i = 0; i < n; i++)
    if (x[i] > mx) {
      mx = x[i];
      which = i;
    }
  return which;
}

template <typename T> void rowTotalsT(int rows, int cols, T** m, double* totals, bool mv) {
  for (int i = 0; i < rows; i++) {
    double s = 0.0;
    for (int j = 0; j < cols; j++)
      if (!mv || !isMV(m[i][j])) s += m[i][j];
    totals[i] = s;
  }
}

template <typename T> void colTotalsT(int rows, int cols, T** m, double* totals, bool mv) {
  for (int j = 0; j < cols; j++) totals[j] = 0.0;
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++)
      if (!mv || !isMV(m[i][j])) totals[j] += m[i][j];
}

template <typename T> double matrixTotalT(int rows, int cols, T** m, bool mv) {
  double s = 0.0;
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++)
      if (!mv || !isMV(m[i][j])) s += m[i][j];
  return s;
}

// Adds label to the list of distinct labels when new.
void addDistinct(int label, int* distinct, int* count) {
  for (int g = 0; g < *count; g++)
    if (distinct[g] == label) return;
  distinct[(*count)++] = label;
}

bool anyMissing(int rows, int cols, double** m) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++)
      if (isMV(m[i][j])) return true;
  return false;
}

} // namespace

// ---------------------------------------------------------------- statistics
double SumOfSquares(int n, double* x) { return n < 1 ? 0.0 : sumOfSquaresT(n, x); }
double SumOfSquares(int n, float* x) { return n < 1 ? 0.0 : sumOfSquaresT(n, x); }
double SumOfSquaresDev(int n, double* x) { return sumOfSquaresDevT(n, x); }
double SumOfSquaresDev(int n, float* x) { return sumOfSquaresDevT(n, x); }
double Variance(int n, double* x) { return varianceT(n, x); }
double Variance(int n, float* x) { return varianceT(n, x); }
double Mean(int n, double* x) { return meanT(n, x); }
double Mean(int n, float* x) { return meanT(n, x); }
void MeanStDev(int n, double* x, double* mean, double* sd) { meanStDevT(n, x, mean, sd); }
void MeanStDev(int n, float* x, float* mean, float* sd) { meanStDevT(n, x, mean, sd); }
void MeanStDev(int n, float* x, double* mean, double* sd) { meanStDevT(n, x, mean, sd); }
double Moment(int n, double* x, int order) { return momentT(n, x, order); }
double Moment(int n, float* x, int order) { return momentT(n, x, order); }
double Range(int n, double* x) { return rangeT(n, x); }
double Range(int n, float* x) { return rangeT(n, x); }
double MatrixMax(int rows, int cols, double** m) { return matrixMaxT(rows, cols, m); }
double MatrixMax(int rows, int cols, float** m) { return matrixMaxT(rows, cols, m); }
double maxVector(int n, double* x) { return maxVectorT(n, x); }
double maxVector(int n, float* x) { return maxVectorT(n, x); }
double minVector(int n, double* x) { return minVectorT(n, x); }
double minVector(int n, float* x) { return minVectorT(n, x); }
int MaxVectorWhich(int n, double* x) { return maxVectorWhichT(n, x); }
int MaxVectorWhich(int n, float* x) { return maxVectorWhichT(n, x); }

double Median(int n, double* x, int* select) {
  if (n < 1) return NAN;
  double* w = dim1Double(n);
  int k = 0;
  for (int i = 0; i < n; i++) {
    bool left = isMV(x[i]) || (select && select[i] != 1);
    w[i] = left ? DBL_MAX : x[i]; // left-out elements sort to the end
    if (!left) k++;
  }
  gsl_sort(w, 1, n);
  double med = k > 0 ? gsl_stats_median_from_sorted_data(w, 1, k) : NAN;
  free1D(w);
  return med;
}

void CountGroups(int n, int* labels, int* nGroups, int* distinct) {
  int count = 0;
  for (int i = 0; i < n; i++) addDistinct(labels[i], distinct, &count);
  qsort(distinct, count, sizeof(int), compareInt);
  *nGroups = count;
}

void CountGroupsSelect(int n, int* labels, int* select, int* nGroups, int* distinct) {
  int* list = distinct ? distinct : dim1Dint(n > 0 ? n : 1);
  int count = 0;
  for (int i = 0; i < n; i++)
    if (select[i] == 1) addDistinct(labels[i], list, &count);
  qsort(list, count, sizeof(int), compareInt);
  *nGroups = count;
  if (!distinct) free1D(list);
}

void RowTotalsMV(int rows, int cols, double** m, double* totals) { rowTotalsT(rows, cols, m, totals, true); }
void RowTotalsMV(int rows, int cols, float** m, double* totals) { rowTotalsT(rows, cols, m, totals, true); }
void ColTotalsMV(int rows, int cols, double** m, double* totals) { colTotalsT(rows, cols, m, totals, true); }
void ColTotalsMV(int rows, int cols, float** m, double* totals) { colTotalsT(rows, cols, m, totals, true); }
double MatrixTotalMV(int rows, int cols, double** m) { return matrixTotalT(rows, cols, m, true); }
double MatrixTotalMV(int rows, int cols, float** m) { return matrixTotalT(rows, cols, m, true); }
void RowTotals(int rows, int cols, double** m, double* totals) { rowTotalsT(rows, cols, m, totals, false); }
void RowTotals(int rows, int cols, float** m, double* totals) { rowTotalsT(rows, cols, m, totals, false); }
void ColTotals(int rows, int cols, double** m, double* totals) { colTotalsT(rows, cols, m, totals, false); }
void ColTotals(int rows, int cols, float** m, double* totals) { colTotalsT(rows, cols, m, totals, false); }
double MatrixTotal(int rows, int cols, double** m) { return matrixTotalT(rows, cols, m, false); }
double MatrixTotal(int rows, int cols, float** m) { return matrixTotalT(rows, cols, m, false); }

// ------------------------------------------------------------ matrix helpers
void CopyMatrix(int rows, int cols, double** from, double** to) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) to[i][j] = from[i][j];
}

void TransposeMatrix(int rows, int cols, double** from, double** to) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) to[j][i] = from[i][j];
}

void TransposeSqMatrix(int n, double** from, double** to) {
  if (from != to) CopyMatrix(n, n, from, to);
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) {
      double t = to[i][j];
      to[i][j] = to[j][i];
      to[j][i] = t;
    }
}

void UpperToLowerMatrix(int n, double** m) {
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) m[j][i] = m[i][j];
}

void LowerToUpperMatrix(int n, double** m) {
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) m[i][j] = m[j][i];
}

// True when no element of the rows by cols matrix m is -999.
static bool NoMissing(int rows, int cols, double** m) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++)
      if (isMV(m[i][j])) return false;
  return true;
}

int MatrixProd(int r1, int c1, int r2, int c2, double** a, double** b, double** c) {
  if (c1 != r2) return 1;
  if (NoMissing(r1, c1, a) && NoMissing(r2, c2, b)) {
    // No term to skip: a row of c at a time, each element still the sum of
    // its terms in the order of k, from 0, so the bits are those below.
    for (int i = 0; i < r1; i++) {
      double* ci = c[i];
      for (int j = 0; j < c2; j++) ci[j] = 0.0;
      for (int k = 0; k < c1; k++) {
        double aik = a[i][k];
        const double* bk = b[k];
        for (int j = 0; j < c2; j++) ci[j] += aik * bk[j];
      }
    }
    return 0;
  }
  for (int i = 0; i < r1; i++)
    for (int j = 0; j < c2; j++) {
      double s = 0.0;
      for (int k = 0; k < c1; k++) {
        // A term with a missing factor is skipped, although the name has no MV.
        if (isMV(a[i][k]) || isMV(b[k][j])) continue;
        s += a[i][k] * b[k][j];
      }
      c[i][j] = s;
    }
  return 0;
}

int MatrixSum(int r1, int c1, int r2, int c2, double** a, double** b, double** c, double sign) {
  if (r1 != r2 || c1 != c2) return 1;
  for (int i = 0; i < r1; i++)
    for (int j = 0; j < c1; j++) c[i][j] = a[i][j] + sign * b[i][j];
  return 0;
}

double MatrixTrace(int n, double** m) {
  double s = 0.0;
  for (int i = 0; i < n; i++) s += m[i][i];
  return s;
}

double VectorProd(int n, double* a, double* b) {
  double s = 0.0;
  for (int i = 0; i < n; i++) s += a[i] * b[i];
  return s;
}

// ------------------------------------------ cross products and correlations
double CrossProduct2VecMV(int n, double* a, double* b) {
  double s = 0.0;
  for (int i = 0; i < n; i++)
    if (!isMV(a[i]) && !isMV(b[i])) s += a[i] * b[i];
  return s;
}

void CrossProductMV(int rows, int cols, double** in, double** out) {
  if (anyMissing(rows, cols, in)) {
    for (int i = 0; i < rows; i++)
      for (int j = i; j < rows; j++) out[i][j] = CrossProduct2VecMV(cols, in[i], in[j]);
    return;
  }
  for (int i = 0; i < rows; i++)
    for (int j = i; j < rows; j++) {
      double s = 0.0;
      for (int k = 0; k < cols; k++) s += in[i][k] * in[j][k];
      out[i][j] = s;
    }
}

double Covariance2VecMV(int n, double* a, double* b) {
  if (n < 1) return 0.0;
  double sa = 0.0, sb = 0.0;
  int k = 0;
  for (int i = 0; i < n; i++)
    if (!isMV(a[i]) && !isMV(b[i])) {
      sa += a[i];
      sb += b[i];
      k++;
    }
  double ma = sa / k, mb = sb / k, s = 0.0;
  for (int i = 0; i < n; i++)
    if (!isMV(a[i]) && !isMV(b[i])) s += (b[i] - mb) * (a[i] - ma) / (k - 1);
  return s;
}

void CovarianceMV(int rows, int cols, double** in, double** out) {
  if (anyMissing(rows, cols, in)) {
    for (int i = 0; i < rows; i++)
      for (int j = i; j < rows; j++) out[i][j] = Covariance2VecMV(cols, in[i], in[j]);
    return;
  }
  double** work = dim2Double(rows, cols);
  CenterRowsCovMV(rows, cols, in, work);
  CrossProductMV(rows, cols, work, out);
  free2D(work, rows);
}

void CenterRowsCovMV(int rows, int cols, double** in, double** out) {
  for (int i = 0; i < rows; i++) {
    double sum, ss;
    int k;
    sumsMV(cols, in[i], &sum, &ss, &k);
    double mean = sum / k, root = sqrt((double)(k - 1));
    for (int j = 0; j < cols; j++) out[i][j] = isMV(in[i][j]) ? MV : (in[i][j] - mean) / root;
  }
}

void CenterColsCovMV(int rows, int cols, double** in, double** out) {
  for (int j = 0; j < cols; j++) {
    double sum = 0.0;
    int k = 0;
    for (int i = 0; i < rows; i++)
      if (!isMV(in[i][j])) {
        sum += in[i][j];
        k++;
      }
    double mean = sum / k, root = sqrt((double)(k - 1));
    for (int i = 0; i < rows; i++) out[i][j] = isMV(in[i][j]) ? MV : (in[i][j] - mean) / root;
  }
}

// Correlation over the pairs that `use` admits; no test for a zero sum of
// squares, so a constant vector gives a not-a-number.
static double correlationPairs(int n, double* a, double* b, bool mv) {
  double sa = 0.0, sb = 0.0;
  int k = 0;
  for (int i = 0; i < n; i++)
    if (!mv || (!isMV(a[i]) && !isMV(b[i]))) {
      sa += a[i];
      sb += b[i];
      k++;
    }
  double ma = sa / k, mb = sb / k, ssa = 0.0, ssb = 0.0;
  for (int i = 0; i < n; i++)
    if (!mv || (!isMV(a[i]) && !isMV(b[i]))) {
      ssa += (a[i] - ma) * (a[i] - ma);
      ssb += (b[i] - mb) * (b[i] - mb);
    }
  double ra = sqrt(ssa), rb = sqrt(ssb), r = 0.0;
  for (int i = 0; i < n; i++)
    if (!mv || (!isMV(a[i]) && !isMV(b[i]))) r += (a[i] - ma) / ra * ((b[i] - mb) / rb);
  return r;
}

double Correlation2VecMV(int n, double* a, double* b) { return correlationPairs(n, a, b, true); }
double Correlation2Vec(int n, double* a, double* b) { return correlationPairs(n, a, b, false); }

void CorrelationMV(int rows, int cols, double** in, double** out) {
  if (anyMissing(rows, cols, in)) {
    for (int i = 0; i < rows; i++)
      for (int j = i; j < rows; j++) out[i][j] = Correlation2VecMV(cols, in[i], in[j]);
    return;
  }
  // Without missing values a constant row is left at zeros by the
  // normalisation and so correlates 0 with every row, itself included.
  double** work = dim2Double(rows, cols);
  CenterRowsMV(rows, cols, in, work);
  NormalizeRowsMV(rows, cols, work, work);
  CrossProductMV(rows, cols, work, out);
  free2D(work, rows);
}

double Spearman2Vec(int n, double* a, double* b) {
  double* ra = dim1Double(n > 0 ? n : 1);
  double* rb = dim1Double(n > 0 ? n : 1);
  RankVectorAdj(n, a, ra);
  RankVectorAdj(n, b, rb);
  double d = 0.0;
  for (int i = 0; i < n; i++) d += (ra[i] - rb[i]) * (ra[i] - rb[i]);
  free1D(ra);
  free1D(rb);
  double nn = n;
  return 1.0 - 6.0 * d / (nn * nn * nn - nn);
}

// -------------------------------------------------------------- adjustments
void CenterRowsMV(int rows, int cols, double** in, double** out) {
  for (int i = 0; i < rows; i++) {
    double sum, ss;
    int k;
    sumsMV(cols, in[i], &sum, &ss, &k);
    double mean = sum / k;
    for (int j = 0; j < cols; j++) out[i][j] = isMV(in[i][j]) ? MV : in[i][j] - mean;
  }
}

template <typename T> static double colMeanMV(int rows, T** in, int j) {
  double sum = 0.0;
  int k = 0;
  for (int i = 0; i < rows; i++)
    if (!isMV(in[i][j])) {
      sum += in[i][j];
      k++;
    }
  return sum / k;
}

void CenterColsMV(int rows, int cols, double** in, double** out) {
  for (int j = 0; j < cols; j++) {
    double mean = colMeanMV(rows, in, j);
    for (int i = 0; i < rows; i++) out[i][j] = isMV(in[i][j]) ? MV : in[i][j] - mean;
  }
}

void CenterColsMV(int rows, int cols, float** in, double** out) {
  for (int j = 0; j < cols; j++) {
    double mean = colMeanMV(rows, in, j);
    // Rounded to float before it is stored: the double result keeps float accuracy.
    for (int i = 0; i < rows; i++) out[i][j] = isMV(in[i][j]) ? MV : (double)(float)(in[i][j] - mean);
  }
}

void CenterRows(int rows, int cols, double** in, double** out) {
  for (int i = 0; i < rows; i++) CenterVector(cols, in[i], out[i]);
}

void CenterCols(int rows, int cols, double** in, double** out) {
  for (int j = 0; j < cols; j++) {
    double sum = 0.0;
    for (int i = 0; i < rows; i++) sum += in[i][j];
    double mean = sum / rows;
    for (int i = 0; i < rows; i++) out[i][j] = in[i][j] - mean;
  }
}

void CenterVector(int n, double* in, double* out) {
  double mean = meanT(n, in);
  for (int i = 0; i < n; i++) out[i] = in[i] - mean;
}

static void normalizeVectorT(int n, double* in, double* out, bool mv) {
  double ss = 0.0;
  for (int i = 0; i < n; i++)
    if (!mv || !isMV(in[i])) ss += in[i] * in[i];
  double root = sqrt(ss);
  for (int i = 0; i < n; i++) {
    if (mv && isMV(in[i])) out[i] = MV;
    else out[i] = ss > 0.0 ? in[i] / root : in[i];
  }
}

static void normalizeColsT(int rows, int cols, double** in, double** out, bool mv) {
  for (int j = 0; j < cols; j++) {
    double ss = 0.0;
    for (int i = 0; i < rows; i++)
      if (!mv || !isMV(in[i][j])) ss += in[i][j] * in[i][j];
    double root = sqrt(ss);
    for (int i = 0; i < rows; i++) {
      if (mv && isMV(in[i][j])) out[i][j] = MV;
      else out[i][j] = ss > 0.0 ? in[i][j] / root : in[i][j];
    }
  }
}

void NormalizeRowsMV(int rows, int cols, double** in, double** out) {
  for (int i = 0; i < rows; i++) normalizeVectorT(cols, in[i], out[i], true);
}
void NormalizeRows(int rows, int cols, double** in, double** out) {
  for (int i = 0; i < rows; i++) normalizeVectorT(cols, in[i], out[i], false);
}
void NormalizeColsMV(int rows, int cols, double** in, double** out) { normalizeColsT(rows, cols, in, out, true); }
void NormalizeCols(int rows, int cols, double** in, double** out) { normalizeColsT(rows, cols, in, out, false); }
void NormalizeVector(int n, double* in, double* out) { normalizeVectorT(n, in, out, false); }

void ZStandardizationRowsMV(int rows, int cols, double** in, double** out) {
  CenterRowsMV(rows, cols, in, out);
  for (int i = 0; i < rows; i++) {
    double ss = sumOfSquaresT(cols, out[i]);
    // The divisor is the full row length, not the count of non-missing values.
    double sd = ss == 0.0 ? 1.0 : sqrt(ss / cols);
    for (int j = 0; j < cols; j++)
      if (!isMV(out[i][j])) out[i][j] /= sd;
  }
}

void ZStandardizationColsMV(int rows, int cols, double** in, double** out) {
  CenterColsMV(rows, cols, in, out);
  for (int j = 0; j < cols; j++) {
    double ss = 0.0;
    for (int i = 0; i < rows; i++)
      if (!isMV(out[i][j])) ss += out[i][j] * out[i][j];
    // The divisor is the full column length, not the count of non-missing values.
    double sd = ss == 0.0 ? 1.0 : sqrt(ss / rows);
    for (int i = 0; i < rows; i++)
      if (!isMV(out[i][j])) out[i][j] /= sd;
  }
}

void ZStandardizationRowsMV(int rows, int cols, double* means, double* sds, double** in, double** out) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++)
      if (!isMV(in[i][j])) out[i][j] = (in[i][j] - means[i]) / sds[i];
}

void ZStandardizationColsMV(int rows, int cols, double* means, double* sds, double** in, double** out) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++)
      if (!isMV(in[i][j])) out[i][j] = (in[i][j] - means[j]) / sds[j];
}

template <typename T> static void corrAdjT(int rows, int cols, T** out, T** in) {
  for (int j = 0; j < cols; j++) {
    double sum = 0.0, ss = 0.0;
    int k = 0;
    for (int i = 0; i < rows; i++)
      if (!isMV(in[i][j])) {
        sum += in[i][j];
        ss += (double)in[i][j] * in[i][j];
        k++;
      }
    double mean = sum / k, dev = ss - sum * sum / k;
    double root = dev == 0.0 ? 1.0 : sqrt(dev);
    for (int i = 0; i < rows; i++)
      // A missing input leaves the output untouched. The quotient goes through
      // float on purpose: results that depend on it carry float accuracy.
      if (!isMV(in[i][j])) out[i][j] = (T)(float)((in[i][j] - mean) / root);
  }
}

void CorrAdj(int rows, int cols, double** out, double** in) { corrAdjT(rows, cols, out, in); }
void CorrAdj(int rows, int cols, float** out, float** in) { corrAdjT(rows, cols, out, in); }

template <typename T> static void unitLengthAdjT(int rows, int cols, T** out, T** in) {
  for (int i = 0; i < rows; i++) {
    double ss = 0.0;
    for (int j = 0; j < cols; j++) ss += (double)in[i][j] * in[i][j];
    double root = ss == 0.0 ? 1.0 : sqrt(ss);
    // Rounded to float on purpose, as CorrAdj.
    for (int j = 0; j < cols; j++) out[i][j] = (T)(float)(in[i][j] / root);
  }
}

void UnitLengthAdj(int rows, int cols, double** out, double** in) { unitLengthAdjT(rows, cols, out, in); }
void UnitLengthAdj(int rows, int cols, float** out, float** in) { unitLengthAdjT(rows, cols, out, in); }

static void unitSumVector(int n, double* out, double* in, bool mv, bool hellinger) {
  double total = 0.0;
  for (int i = 0; i < n; i++)
    if (!mv || !isMV(in[i])) total += in[i];
  if (total == 0.0) total = 1.0; // a zero row stays zero
  for (int i = 0; i < n; i++) {
    if (mv && isMV(in[i])) out[i] = MV;
    else out[i] = hellinger ? sqrt(in[i] / total) : in[i] / total;
  }
}

static void unitSumCols(int rows, int cols, double** out, double** in, bool mv, bool hellinger) {
  for (int j = 0; j < cols; j++) {
    double total = 0.0;
    for (int i = 0; i < rows; i++)
      if (!mv || !isMV(in[i][j])) total += in[i][j];
    if (total == 0.0) total = 1.0;
    for (int i = 0; i < rows; i++) {
      if (mv && isMV(in[i][j])) out[i][j] = MV;
      else out[i][j] = hellinger ? sqrt(in[i][j] / total) : in[i][j] / total;
    }
  }
}

void UnitSumRowsAdjMV(int rows, int cols, double** out, double** in) {
  for (int i = 0; i < rows; i++) unitSumVector(cols, out[i], in[i], true, false);
}
void UnitSumRowsAdj(int rows, int cols, double** out, double** in) {
  for (int i = 0; i < rows; i++) unitSumVector(cols, out[i], in[i], false, false);
}
void UnitSumColsAdjMV(int rows, int cols, double** out, double** in) { unitSumCols(rows, cols, out, in, true, false); }
void UnitSumColsAdj(int rows, int cols, double** out, double** in) { unitSumCols(rows, cols, out, in, false, false); }
void UnitSumVectorAdjMV(int n, double* out, double* in) { unitSumVector(n, out, in, true, false); }
void HellingerRowsAdjMV(int rows, int cols, double** out, double** in) {
  for (int i = 0; i < rows; i++) unitSumVector(cols, out[i], in[i], true, true);
}
void HellingerColsAdjMV(int rows, int cols, double** out, double** in) {
  unitSumCols(rows, cols, out, in, true, true);
}

void MaxAdjMV(int n, double* in, double* out) {
  double mx = floatMinNormal; // never 0 or negative
  for (int i = 0; i < n; i++)
    if (!isMV(in[i]) && in[i] > mx) mx = in[i];
  for (int i = 0; i < n; i++) out[i] = isMV(in[i]) ? MV : in[i] / mx;
}

template <typename T> static void rangeColsAdjT(int rows, int cols, T** out, T** in) {
  for (int j = 0; j < cols; j++) {
    // Float limits in both overloads: part of the definition.
    double mn = floatMax, mx = -floatMax;
    for (int i = 0; i < rows; i++) {
      if (isMV(in[i][j])) continue;
      if (in[i][j] < mn) mn = in[i][j];
      if (in[i][j] > mx) mx = in[i][j];
    }
    double range = mx - mn;
    if (range == 0.0) range = 1.0;
    for (int i = 0; i < rows; i++)
      out[i][j] = isMV(in[i][j]) ? (T)MV : (T)((in[i][j] - mn) / range);
  }
}

void RangeColsAdjMV(int rows, int cols, double** out, double** in) { rangeColsAdjT(rows, cols, out, in); }
void RangeColsAdjMV(int rows, int cols, float** out, float** in) { rangeColsAdjT(rows, cols, out, in); }

void RangeRowsAdjMV(int rows, int cols, double** out, double** in) {
  for (int i = 0; i < rows; i++) {
    double mn = DBL_MAX, mx = -DBL_MAX;
    for (int j = 0; j < cols; j++) {
      if (isMV(in[i][j])) continue;
      if (in[i][j] < mn) mn = in[i][j];
      if (in[i][j] > mx) mx = in[i][j];
    }
    // Divides by the range without subtracting the minimum: intended, unlike
    // RangeColsAdjMV; no fallback divisor.
    double range = mx - mn;
    for (int j = 0; j < cols; j++) out[i][j] = isMV(in[i][j]) ? MV : in[i][j] / range;
  }
}

void DeviationsExpectationsMV(int rows, int cols, double** in, double** out) {
  double* r = dim1Double(rows > 0 ? rows : 1);
  double* c = dim1Double(cols > 0 ? cols : 1);
  RowTotalsMV(rows, cols, in, r);
  ColTotalsMV(rows, cols, in, c);
  double g = MatrixTotalMV(rows, cols, in);
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) {
      double x = in[i][j];
      if (isMV(x) || !(r[i] > 0.0) || !(c[j] > 0.0)) out[i][j] = x;
      else out[i][j] = (x * g - r[i] * c[j]) / (sqrt(r[i] * c[j]) * g);
    }
  free1D(r);
  free1D(c);
}

void GowerStandardizationRows(int rows, int cols, double** m) {
  double s = 0.0;
  for (int i = 0; i < rows; i++) s += SumOfSquares(cols, m[i]);
  s /= (cols - 1);
  double root = sqrt(s);
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++)
      if (!isMV(m[i][j])) m[i][j] /= root;
}

void GowerStandardizationCols(int rows, int cols, double** m) {
  double s = 0.0;
  for (int i = 0; i < rows; i++) s += sumOfSquaresT(cols, m[i]);
  s /= (rows - 1);
  double root = sqrt(s);
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++)
      if (!isMV(m[i][j])) m[i][j] /= root;
}

// -------------------------------------------------------------------- ranks
// Orders by sort2 on one-based copies; order[k] is the one-based index of the
// element in k-th place.
static void orderOneBased(int n, double* w, double* idx, int* order) {
  sort2(n, w, idx);
  for (int k = 0; k < n; k++) order[k] = (int)idx[k + 1];
}

template <typename T> static void rankVectorT(int n, T* x, int* order, bool absolute) {
  if (n < 1) return;
  double* w = dim1Double(n + 1);
  double* idx = dim1Double(n + 1);
  for (int i = 0; i < n; i++) {
    w[i + 1] = absolute ? fabs((double)x[i]) : (double)x[i];
    idx[i + 1] = i + 1;
  }
  orderOneBased(n, w, idx, order);
  free1D(w);
  free1D(idx);
}

void RankVector(int n, int* x, int* order) { rankVectorT(n, x, order, false); }
void RankVector(int n, float* x, int* order) { rankVectorT(n, x, order, false); }
void RankVector(int n, double* x, int* order) { rankVectorT(n, x, order, false); }
void RankVectorAbs(int n, double* x, int* order) { rankVectorT(n, x, order, true); }

void IndexVector(int n, int* x, int* index) {
  if (n < 1) return;
  // Integer keys throughout: through a float, large neighbours would tie.
  int* a = dim1Dint(n + 1);
  int* idx = dim1Dint(n + 1);
  for (int i = 0; i < n; i++) a[i + 1] = x[i];
  indexx(n, a, idx);
  for (int k = 0; k < n; k++) index[k] = idx[k + 1];
  free1D(a);
  free1D(idx);
}

void RankVectorAdj(int n, double* x, double* ranks) {
  if (n < 1) return;
  double* w = dim1Double(n + 1);
  double* idx = dim1Double(n + 1);
  for (int i = 0; i < n; i++) {
    w[i + 1] = x[i];
    idx[i + 1] = i + 1;
  }
  double s;
  sort2(n, w, idx);
  crank(n, w, &s);
  sort2(n, idx, w); // back to the input order
  for (int i = 0; i < n; i++) ranks[i] = w[i + 1];
  free1D(w);
  free1D(idx);
}

void RankVectorAdjMV(int n, double* x, double* ranks) {
  if (n < 1) return;
  // The places of the missing values are kept apart: ranks may be x itself.
  char* missing = dim1Dchar(n);
  int c = 0;
  for (int i = 0; i < n; i++)
    if (isMV(x[i])) {
      missing[i] = 1;
      c++;
    }
  // The missing values sort to the low end (no real value lies below -999)
  // and take the first c ranks; the others are shifted down by c.
  RankVectorAdj(n, x, ranks);
  for (int i = 0; i < n; i++) ranks[i] = missing[i] ? MV : ranks[i] - c;
  free1D(missing);
}

void RankVectorDAdj(int n, double* x, double* ranks) {
  for (int i = 0; i < n; i++) {
    int below = 0, equal = 0;
    for (int j = 0; j < n; j++) {
      if (x[j] < x[i]) below++;
      else if (x[j] == x[i]) equal++;
    }
    ranks[i] = below + (equal + 1) / 2.0;
  }
}

void RankRowsAdj(int rows, int cols, double** out, double** in) {
  for (int i = 0; i < rows; i++) RankVectorAdj(cols, in[i], out[i]);
}

void RankRowsDAdj(int rows, int cols, double** out, double** in) {
  double* w = dim1Double(cols > 0 ? cols : 1);
  for (int i = 0; i < rows; i++) {
    RankVectorDAdj(cols, in[i], w); // out may be in: rank from an untouched row
    for (int j = 0; j < cols; j++) out[i][j] = w[j];
  }
  free1D(w);
}

void RankReseAdj(int n, double** in, double** out) {
  int m = n * (n - 1) / 2;
  if (m < 1) return;
  double* list = dim1Double(m);
  double* ranks = dim1Double(m);
  int k = 0;
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) list[k++] = in[i][j];
  RankVectorAdj(m, list, ranks);
  k = 0;
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) out[i][j] = ranks[k++];
  free1D(list);
  free1D(ranks);
}

// Coded data transformations: a pre-transformation, a column step and a row step applied in place.
#include "TarnLib/tarnlibStats.h"

#include <cfloat>
#include <cmath>

#include "TarnLib/tarnlibBeals.h"
#include "TarnLib/tarnlibDim.h"

namespace {
const double MV = -999.0;
inline bool isMV(double x) { return x == MV; }
} // namespace

// ------------------------------------------------------ coded transformations
void ClassesMV(int n, double* x, double* out, int classes) {
  double mn = DBL_MAX, mx = -DBL_MAX;
  for (int i = 0; i < n; i++) {
    if (isMV(x[i])) continue;
    if (x[i] < mn) mn = x[i];
    if (x[i] > mx) mx = x[i];
  }
  for (int i = 0; i < n; i++) {
    if (isMV(x[i])) out[i] = MV;
    else if (x[i] == mn) out[i] = 1.0;
    else if (x[i] == mx) out[i] = classes;
    else out[i] = ceil((x[i] - mn) * classes / (mx - mn));
  }
}

static void preTransform(int rows, int cols, double** m, int code) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) {
      double x = m[i][j];
      if (isMV(x)) continue;
      if (code == 1 && x > 0.0) m[i][j] = 1.0;
      else if (code == 2) m[i][j] = sqrt(fabs(x));
      else if (code == 3 && x > 0.0) m[i][j] = log10(fabs(x + 1.0));
    }
}

// Applies a vector routine (classes or ranks) to every column, through a work vector.
static void columnsByVector(int rows, int cols, double** m, int code, int classes) {
  double* in = dim1Double(rows > 0 ? rows : 1);
  double* out = dim1Double(rows > 0 ? rows : 1);
  for (int j = 0; j < cols; j++) {
    for (int i = 0; i < rows; i++) in[i] = m[i][j];
    if (code == 8) ClassesMV(rows, in, out, classes);
    else RankVectorAdjMV(rows, in, out);
    for (int i = 0; i < rows; i++) m[i][j] = out[i];
  }
  free1D(in);
  free1D(out);
}

static void colStep(int rows, int cols, double** m, int code, int classes) {
  switch (code) {
  case 1: UnitSumColsAdjMV(rows, cols, m, m); break;
  case 2: CenterColsCovMV(rows, cols, m, m); break;
  case 3: CenterColsMV(rows, cols, m, m); break;
  case 4: NormalizeColsMV(rows, cols, m, m); break;
  case 5:
    CenterColsMV(rows, cols, m, m);
    NormalizeColsMV(rows, cols, m, m);
    break;
  case 7: RangeColsAdjMV(rows, cols, m, m); break;
  case 8:
  case 9: columnsByVector(rows, cols, m, code, classes); break;
  case 10: HellingerColsAdjMV(rows, cols, m, m); break;
  default: break; // 6 and 11 are row steps only; any other code skips the step
  }
}

static void rowStep(int rows, int cols, double** m, int code, int classes, double bealsExponent,
                    int bealsOption) {
  switch (code) {
  case 1: UnitSumRowsAdjMV(rows, cols, m, m); break;
  case 2: CenterRowsCovMV(rows, cols, m, m); break;
  case 3: CenterRowsMV(rows, cols, m, m); break;
  case 4: NormalizeRowsMV(rows, cols, m, m); break;
  case 5:
    CenterRowsMV(rows, cols, m, m);
    NormalizeRowsMV(rows, cols, m, m);
    break;
  case 6: DeviationsExpectationsMV(rows, cols, m, m); break;
  case 7: RangeRowsAdjMV(rows, cols, m, m); break;
  case 8:
    for (int i = 0; i < rows; i++) ClassesMV(cols, m[i], m[i], classes);
    break;
  case 9:
    for (int i = 0; i < rows; i++) RankVectorAdjMV(cols, m[i], m[i]);
    break;
  case 10: HellingerRowsAdjMV(rows, cols, m, m); break;
  case 11: {
    // The smoothing reads the whole matrix, so its result goes to a work
    // matrix first. The option picks the smoothing mode; the target OTU
    // counts in its own estimate. The exponent has no role in this library's
    // smoothing and is not used.
    (void)bealsExponent;
    double** work = dim2Double(rows, cols);
    BealsSmoothing(rows, cols, m, m, work, true, bealsOption);
    CopyMatrix(rows, cols, work, m);
    free2D(work, rows);
    break;
  }
  default: break;
  }
}

void DataTransformationsLib(int rows, int cols, double** m, int preTransformation, int colAdjustment,
                            int rowAdjustment, int colClasses, int rowClasses, double bealsExponent,
                            int bealsOption) {
  preTransform(rows, cols, m, preTransformation);
  colStep(rows, cols, m, colAdjustment, colClasses);
  rowStep(rows, cols, m, rowAdjustment, rowClasses, bealsExponent, bealsOption);
}

void DataTransformationsLib(int rows, int cols, double** m, int preTransformation, int colAdjustment,
                            int rowAdjustment, int colClasses, int rowClasses, double bealsExponent,
                            int bealsOption, int* select) {
  if (!select) {
    DataTransformationsLib(rows, cols, m, preTransformation, colAdjustment, rowAdjustment, colClasses,
                           rowClasses, bealsExponent, bealsOption);
    return;
  }
  // The selected rows are gathered by their row pointers, so the steps work
  // on them in place and the other rows stay as they are.
  double** sel = (double**)dim1D(sizeof(double*), rows > 0 ? rows : 1);
  int k = 0;
  for (int i = 0; i < rows; i++)
    if (select[i] == 1) sel[k++] = m[i];
  DataTransformationsLib(k, cols, sel, preTransformation, colAdjustment, rowAdjustment, colClasses,
                         rowClasses, bealsExponent, bealsOption);
  free1D(sel);
}

void DataTransformationsLib_D(int rows, int cols, double** m, int preTransformation, int colAdjustment,
                              int rowAdjustment, int colClasses, int rowClasses, double bealsExponent,
                              int bealsOption) {
  DataTransformationsLib(rows, cols, m, preTransformation, colAdjustment, rowAdjustment, colClasses,
                         rowClasses, bealsExponent, bealsOption);
}

// Text tables: matrices and vectors written aligned (folded at maxColsPrint) or tab-separated, and flat lists.
#include "TarnLib/tarnlibTables.h"

#include <cmath>

// Widest line of an aligned table; a preference, read and saved by the shell.
int maxColsPrint = 2147483647;

// Length of x written with "%.*g"; the measure uses a 200-character buffer.
static int WidthOf(double x, int digits) {
  char buffer[200];
  int len = snprintf(buffer, sizeof buffer, "%.*g", digits, x);
  return len < 0 ? 0 : (len > 199 ? 199 : len);
}

template <typename T>
static int WidthMaxOf(int rows, int cols, T** m, int digits, int squareRoot) {
  int width = 0;
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) {
      double x = squareRoot ? sqrt((double)m[i][j]) : (double)m[i][j];
      int w = WidthOf(x, digits);
      if (w > width) width = w;
    }
  return width;
}

template <typename T>
static int WidthMaxVector(int n, T* v, int digits) {
  int width = 0;
  for (int i = 0; i < n; i++) {
    int w = WidthOf((double)v[i], digits);
    if (w > width) width = w;
  }
  return width;
}

int GetWidthMax(int rows, int cols, double** m, int digits) { return WidthMaxOf(rows, cols, m, digits, 0); }
int GetWidthMax(int rows, int cols, float** m, int digits) { return WidthMaxOf(rows, cols, m, digits, 0); }
int GetWidthMax(int n, double* v, int digits) { return WidthMaxVector(n, v, digits); }
int GetWidthMax(int n, float* v, int digits) { return WidthMaxVector(n, v, digits); }
int GetWidthMaxSqrt(int rows, int cols, double** m, int digits, int squareRoot) {
  return WidthMaxOf(rows, cols, m, digits, squareRoot);
}
int GetWidthMaxSqrt(int rows, int cols, float** m, int digits, int squareRoot) {
  return WidthMaxOf(rows, cols, m, digits, squareRoot);
}

// ---------------------------------------------------------------------------
// Aligned style

// The fold of one aligned line: the counter is tested before each field, so a
// line may run past maxColsPrint by one field. A continuation line opens with
// a blank field of `blank` characters, under the caller's row labels.
static void Fold(FILE* f, long* counter, int width, int blank, long restart) {
  if (*counter > maxColsPrint) {
    fprintf(f, "\n%*s\t", blank, "");
    *counter = restart;
  }
  *counter += width + 1;
}

template <typename T>
static int PrintMatrixOf(FILE* f, int rows, int cols, T** m, int digits, int width) {
  if (width == 0) width = GetWidthMax(rows, cols, m, digits);
  for (int i = 0; i < rows; i++) {
    long counter = 0;
    for (int j = 0; j < cols; j++) {
      Fold(f, &counter, width, width, 0);
      fprintf(f, "%*.*g\t", width, digits, (double)m[i][j]);
    }
    fprintf(f, "\n");
  }
  return width;
}

int PrintMatrix(FILE* f, int rows, int cols, double** m, int digits, int width) {
  return PrintMatrixOf(f, rows, cols, m, digits, width);
}
int PrintMatrix(FILE* f, int rows, int cols, float** m, int digits, int width) {
  return PrintMatrixOf(f, rows, cols, m, digits, width);
}
int PrintMatrixFloat(FILE* f, int rows, int cols, float** m, int digits, int width) {
  return PrintMatrixOf(f, rows, cols, m, digits, width);
}
int PrintMatrixFloat(FILE* f, int rows, int cols, double** m, int digits, int width) {
  return PrintMatrixOf(f, rows, cols, m, digits, width);
}

template <typename T>
static int PrintHalfMatrixOf(FILE* f, int n, T** m, int skip, int digits, int squareRoot) {
  int width = GetWidthMaxSqrt(n, n, m, digits, squareRoot);
  for (int i = 0; i < n - skip; i++) {
    long counter = 0;
    for (int j = 0; j < n; j++) {
      Fold(f, &counter, width, width, 0);
      if (j < i + skip) {
        fprintf(f, "%*s\t", width, "");
      } else {
        double x = squareRoot ? sqrt((double)m[i][j]) : (double)m[i][j];
        fprintf(f, "%*.*g\t", width, digits, x);
      }
    }
    fprintf(f, "\n");
  }
  return width;
}

int PrintHalfMatrix(FILE* f, int n, double** m, int skip, int digits) {
  return PrintHalfMatrixOf(f, n, m, skip, digits, 0);
}
int PrintHalfMatrix(FILE* f, int n, float** m, int skip, int digits) {
  return PrintHalfMatrixOf(f, n, m, skip, digits, 0);
}
int PrintHalfMatrix(FILE* f, int n, double** m, int skip, int digits, int squareRoot) {
  return PrintHalfMatrixOf(f, n, m, skip, digits, squareRoot);
}
int PrintHalfMatrix(FILE* f, int n, float** m, int skip, int digits, int squareRoot) {
  return PrintHalfMatrixOf(f, n, m, skip, digits, squareRoot);
}

template <typename T>
static int PrintLowerHalfMatrixOf(FILE* f, int n, T** m, int digits, int width) {
  if (width == 0) width = GetWidthMax(n, n, m, digits);
  for (int i = 0; i < n; i++) {
    long counter = 0;
    for (int j = 0; j <= i; j++) {
      Fold(f, &counter, width, width, 0);
      fprintf(f, "%*.*g\t", width, digits, (double)m[i][j]);
    }
    fprintf(f, "\n");
  }
  return width;
}

int PrintLowerHalfMatrix(FILE* f, int n, double** m, int digits, int width) {
  return PrintLowerHalfMatrixOf(f, n, m, digits, width);
}
int PrintLowerHalfMatrix(FILE* f, int n, float** m, int digits, int width) {
  return PrintLowerHalfMatrixOf(f, n, m, digits, width);
}

static int Item(int i, int* order) { return order ? order[i] - 1 : i; }

template <typename T>
static int PrintVectorOf(FILE* f, int n, T* v, int digits, int width, int indent, int* order) {
  if (width == 0) width = GetWidthMax(n, v, digits);
  long counter = indent;
  for (int i = 0; i < n; i++) {
    Fold(f, &counter, width, indent, indent);
    fprintf(f, "%*.*g\t", width, digits, (double)v[Item(i, order)]);
  }
  fprintf(f, "\n");
  return width;
}

int PrintVector(FILE* f, int n, double* v, int digits, int width, int indent, int* order) {
  return PrintVectorOf(f, n, v, digits, width, indent, order);
}
int PrintVector(FILE* f, int n, float* v, int digits, int width, int indent, int* order) {
  return PrintVectorOf(f, n, v, digits, width, indent, order);
}

int PrintStringVector(FILE* f, int n, char** s, int width, int indent, int* order) {
  long counter = indent;
  for (int i = 0; i < n; i++) {
    Fold(f, &counter, width, indent, indent);
    fprintf(f, "%*s\t", width, s[Item(i, order)]);
  }
  fprintf(f, "\n");
  return width;
}

// ---------------------------------------------------------------------------
// Tab style

int PrintMatrixTab(FILE* f, int rows, int cols, char** m) {
  for (int i = 0; i < rows; i++) {
    for (int j = 0; j < cols; j++) fprintf(f, "%c\t", m[i][j]);
    fprintf(f, "\n");
  }
  return 1;
}

int PrintMatrixTab(FILE* f, int rows, int cols, int** m) {
  for (int i = 0; i < rows; i++) {
    for (int j = 0; j < cols; j++) fprintf(f, "%d\t", m[i][j]);
    fprintf(f, "\n");
  }
  return 1;
}

int PrintMatrixTab(FILE* f, int rows, int cols, unsigned long** m) {
  for (int i = 0; i < rows; i++) {
    for (int j = 0; j < cols; j++) fprintf(f, "%ld\t", (long)m[i][j]);
    fprintf(f, "\n");
  }
  return 1;
}

template <typename T>
static int PrintMatrixTabOf(FILE* f, int rows, int cols, T** m, int digits) {
  for (int i = 0; i < rows; i++) {
    for (int j = 0; j < cols; j++) fprintf(f, "%.*g\t", digits, (double)m[i][j]);
    fprintf(f, "\n");
  }
  return 1;
}

int PrintMatrixTab(FILE* f, int rows, int cols, double** m, int digits) {
  return PrintMatrixTabOf(f, rows, cols, m, digits);
}
int PrintMatrixTab(FILE* f, int rows, int cols, float** m, int digits) {
  return PrintMatrixTabOf(f, rows, cols, m, digits);
}

template <typename T>
static int PrintLowerHalfMatrixTabOf(FILE* f, int n, T** m, int digits) {
  for (int i = 0; i < n; i++) {
    for (int j = 0; j <= i; j++) fprintf(f, "%.*g\t", digits, (double)m[i][j]);
    fprintf(f, "\n");
  }
  return 1;
}

int PrintLowerHalfMatrixTab(FILE* f, int n, double** m, int digits) {
  return PrintLowerHalfMatrixTabOf(f, n, m, digits);
}
int PrintLowerHalfMatrixTab(FILE* f, int n, float** m, int digits) {
  return PrintLowerHalfMatrixTabOf(f, n, m, digits);
}
int PrintLowerHalfMatrixTab(FILE* f, int n, int** m) {
  for (int i = 0; i < n; i++) {
    for (int j = 0; j <= i; j++) fprintf(f, "%d\t", m[i][j]);
    fprintf(f, "\n");
  }
  return 1;
}

// Intended: every column of each row is written, the lower part included.
template <typename T>
static int PrintHalfMatrixTabOf(FILE* f, int n, T** m, int skip) {
  for (int i = 0; i < n - skip; i++) {
    for (int j = 0; j < n; j++) fprintf(f, "%g\t", (double)m[i][j]);
    fprintf(f, "\n");
  }
  return 1;
}

int PrintHalfMatrixTab(FILE* f, int n, double** m, int skip) { return PrintHalfMatrixTabOf(f, n, m, skip); }
int PrintHalfMatrixTab(FILE* f, int n, float** m, int skip) { return PrintHalfMatrixTabOf(f, n, m, skip); }
int PrintHalfMatrixTab(FILE* f, int n, int** m, int skip) {
  for (int i = 0; i < n - skip; i++) {
    for (int j = 0; j < n; j++) fprintf(f, "%d\t", m[i][j]);
    fprintf(f, "\n");
  }
  return 1;
}

int PrintVectorTab(FILE* f, int n, int* v, int* order) {
  for (int i = 0; i < n; i++) fprintf(f, "%d\t", v[Item(i, order)]);
  fprintf(f, "\n");
  return 1;
}

template <typename T>
static int PrintVectorTabOf(FILE* f, int n, T* v, int digits, int* order) {
  for (int i = 0; i < n; i++) fprintf(f, "%.*g\t", digits, (double)v[Item(i, order)]);
  fprintf(f, "\n");
  return 1;
}

int PrintVectorTab(FILE* f, int n, double* v, int digits, int* order) {
  return PrintVectorTabOf(f, n, v, digits, order);
}
int PrintVectorTab(FILE* f, int n, float* v, int digits, int* order) {
  return PrintVectorTabOf(f, n, v, digits, order);
}

int PrintStringVectorTab(FILE* f, int n, char** s, int* order) {
  for (int i = 0; i < n; i++) fprintf(f, "%s\t", s[Item(i, order)]);
  fprintf(f, "\n");
  return 1;
}

template <typename T>
static int PrintNeighborReseOf(FILE* f, int n, T** m, int digits) {
  for (int i = 0; i < n - 1; i++) fprintf(f, "%.*g\t", digits, (double)m[i + 1][i]);
  fprintf(f, "\n");
  return 1;
}

int PrintNeighborRese(FILE* f, int n, double** m, int digits) { return PrintNeighborReseOf(f, n, m, digits); }
int PrintNeighborRese(FILE* f, int n, float** m, int digits) { return PrintNeighborReseOf(f, n, m, digits); }

// ---------------------------------------------------------------------------
// Flat lists

template <typename T>
static void PrintLowerHalfMatrix_ffOf(FILE* f, int n, T** m, int digits, bool diagonal) {
  for (int i = 0; i < n; i++) {
    int last = diagonal ? i : i - 1;
    for (int j = 0; j <= last; j++) fprintf(f, "%.*g\n", digits, (double)m[i][j]);
  }
}

void PrintLowerHalfMatrix_ff(FILE* f, int n, double** m, int digits, bool diagonal) {
  PrintLowerHalfMatrix_ffOf(f, n, m, digits, diagonal);
}
void PrintLowerHalfMatrix_ff(FILE* f, int n, float** m, int digits, bool diagonal) {
  PrintLowerHalfMatrix_ffOf(f, n, m, digits, diagonal);
}

template <typename T>
static void PrintHalfMatrix_ffOf(FILE* f, int n, T** m, int skip) {
  for (int i = 0; i < n - skip; i++)
    for (int j = i + skip; j < n; j++) fprintf(f, "%.12g\n", (double)m[i][j]);
}

void PrintHalfMatrix_ff(FILE* f, int n, double** m, int skip) { PrintHalfMatrix_ffOf(f, n, m, skip); }
void PrintHalfMatrix_ff(FILE* f, int n, float** m, int skip) { PrintHalfMatrix_ffOf(f, n, m, skip); }

template <typename T>
static void PrintHalfMatrix_rowOf(FILE* f, int n, T** m, int skip, int squareRoot) {
  for (int i = 0; i < n - skip; i++)
    for (int j = i + skip; j < n; j++)
      fprintf(f, "%g\t", squareRoot ? sqrt((double)m[i][j]) : (double)m[i][j]);
}

void PrintHalfMatrix_row(FILE* f, int n, double** m, int skip) { PrintHalfMatrix_rowOf(f, n, m, skip, 0); }
void PrintHalfMatrix_row(FILE* f, int n, float** m, int skip) { PrintHalfMatrix_rowOf(f, n, m, skip, 0); }
void PrintHalfMatrix_row(FILE* f, int n, double** m, int skip, int squareRoot) {
  PrintHalfMatrix_rowOf(f, n, m, skip, squareRoot);
}
void PrintHalfMatrix_row(FILE* f, int n, float** m, int skip, int squareRoot) {
  PrintHalfMatrix_rowOf(f, n, m, skip, squareRoot);
}

// Writes x at `*offset` and moves the offset past the write; skips on a failed seek.
static void WriteAt(FILE* f, double x, long* offset) {
  if (fseek(f, *offset, SEEK_SET) != 0) return;
  fprintf(f, "% #14e ", x);
  *offset = ftell(f);
}

template <typename T>
static void PrintHalfMatrix_biOf(FILE* f, int n, T** m, long** offsets, int skip) {
  for (int i = 0; i < n - skip; i++)
    for (int j = i + skip; j < n; j++) WriteAt(f, (double)m[i][j], &offsets[i][j]);
}

void PrintHalfMatrix_bi(FILE* f, int n, double** m, long** offsets, int skip) {
  PrintHalfMatrix_biOf(f, n, m, offsets, skip);
}
void PrintHalfMatrix_bi(FILE* f, int n, float** m, long** offsets, int skip) {
  PrintHalfMatrix_biOf(f, n, m, offsets, skip);
}
void PrintVector_bi(FILE* f, int n, double* v, long* offsets) {
  for (int i = 0; i < n; i++) WriteAt(f, v[i], &offsets[i]);
}
void PrintVector_bi(FILE* f, int n, float* v, long* offsets) {
  for (int i = 0; i < n; i++) WriteAt(f, (double)v[i], &offsets[i]);
}

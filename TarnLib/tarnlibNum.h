// Number helpers: equality within float rounding, rounding, small numbers, qsort comparators, and the classical one-based routines.
#ifndef TARNLIB_NUM_H
#define TARNLIB_NUM_H

// ---- Equality within rounding, in units of the last place of a 32-bit float ----
// maxUlps must lie in 1 .. 4*1024*1024 - 1; otherwise the program stops.
bool AlmostEqual2sComplement(float a, float b, int maxUlps);
// The double form rounds both numbers to float first: maxUlps counts float steps.
bool AlmostEqual2sComplement(double a, double b, int maxUlps);
bool AlmostEqual2sComplement(float a, float b, int maxUlps, bool absolute);
bool AlmostEqual2sComplement(double a, double b, int maxUlps, bool absolute);
// a > b, or a almost equal to b; with `absolute` both are taken as |a|, |b|.
bool IsLargerThanOrEqual(double a, double b, int maxUlps, bool absolute);
// |a - b| < tolerance, strictly.
bool AlmostEqual_Tolerance(float a, float b, float tolerance);
bool AlmostEqual_Tolerance(double a, double b, double tolerance);

// ---- Rounding and small numbers ----
double Round(double x, int digits);     // floor(x * 10^digits + 0.5) / 10^digits
float Round(float x, int digits);
double RoundDigit(double x, int digits); // to `digits` significant digits
float RoundDigit(float x, int digits);
double Fmax(double a, double b);
float Fmax(float a, float b);
int Fmax(int a, int b);
double Fmin(double a, double b);
float Fmin(float a, float b);
int Fmin(int a, int b);
double Factorial(double x);
float Factorial(float x);
long double Factorial(long double x);
long double Factorial(int x);
// Two base-62 digits of n (0-9, A-Z, a-z) into out, no terminator; returns out.
char* IntToAlpha(int n, char* out);

// ---- Counting of integer states (non-negative whole numbers; -999 skipped) ----
int CountStates(int n, double* x);
int CountStates(int n, float* x);
// Also writes the states above 0, increasing, to `states`.
int CountStates(int n, double* x, int* states);
int CountStates(int n, float* x, int* states);

// ---- Comparators for qsort ----
int compareInt(const void* a, const void* b);
int compareIntDecreasing(const void* a, const void* b);
int compareDouble(const void* a, const void* b);
int compareDoubleDecreasing(const void* a, const void* b);
int compareFloat(const void* a, const void* b);
int compareFloatDecreasing(const void* a, const void* b);
// On the first element of rows: sort a matrix's row pointers by column 0.
int compare2Double(const void* a, const void* b);
int compare2DoubleDecreasing(const void* a, const void* b);
int compare2Dfloat(const void* a, const void* b);
int compare2DfloatDecreasing(const void* a, const void* b);
int compareStr(const void* a, const void* b);

// Exchanges elements i and j of an array of pointers (matrix rows, labels).
template <typename T>
inline void swap(T** array, int i, int j) {
  T* t = array[i];
  array[i] = array[j];
  array[j] = t;
}
// Exchanges the two pointers that a and b point to.
template <typename T>
inline void swapArray1D(T** a, T** b) {
  T* t = *a;
  *a = *b;
  *b = t;
}

// ---- Classical routines on one-based arrays (places 1..n) ----
// Quicksort of a[1..n] increasing, carrying b along; not stable.
void sort2(unsigned long n, double a[], double b[]);
void sort2(unsigned long n, double a[], int b[]);
void sort2(unsigned long n, float a[], float b[]);
void sort2(unsigned long n, int a[], int b[]);
// Sorted w[1..n] replaced by ranks, ties at their mean rank; *s = sum(t^3 - t).
void crank(unsigned long n, double w[], double* s);
void crank(unsigned long n, float w[], float* s);
// index[1..n]: index table of a[1..n] in increasing order; a unchanged.
void indexx(unsigned long n, float a[], int index[]);
void indexx(unsigned long n, double a[], int index[]);
void indexx(unsigned long n, int a[], int index[]);
// Cholesky on zero-based a[0..n-1][0..n-1]: factor below the diagonal of a,
// its diagonal in p. Returns 1, or prints "\ncholdc failed" and returns 0.
int choldc(double** a, int n, double* p);
// Gauss-Jordan with full pivoting on one-based a[1..n][1..n], b[1..n][1..m]:
// a becomes its inverse, b the solutions. A singular matrix is reported on
// stderr and the elimination carries on.
void gaussj(double** a, int n, double** b, int m);
// The same, silent; returns 0 on a singular matrix, else 1.
int gaussj_Tarn(double** a, int n, double** b, int m);
// Writes the text and a closing line to stderr and ends the process with 1.
[[noreturn]] void nrerror(const char* text);
int* ivector(long nl, long nh); // int vector with indices nl..nh
void free_ivector(int* v, long nl, long nh);
// Copies a zero-based rows x cols matrix to places 1.. of a larger one, and back.
void Convertn_n1(int rows, int cols, double** from, double** to);
void Convertn1_n(int rows, int cols, double** from, double** to);

#endif

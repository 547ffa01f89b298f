// Number helpers: equality within float rounding, rounding, small numbers, qsort comparators, and the classical one-based routines.
// Equality by units in the last place follows B. Dawson, "Comparing floating
// point numbers" (2004). sort2, crank, indexx, choldc and gaussj are the
// routines of W. H. Press et al., Numerical Recipes in C, 2nd ed. (1992),
// sections 8.2, 14.6, 8.4, 2.9 and 2.1, on the same one-based arrays.
#include "TarnLib/tarnlibNum.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "TarnLib/tarnlibDim.h"

// ---------------------------------------------------------------------------
// Equality within rounding

// The float's bit pattern as an integer ordered like the floats: negative
// patterns are mapped to 0x80000000 - pattern, so -0 and +0 both become 0.
static int32_t OrderedBits(float x) {
  int32_t i;
  memcpy(&i, &x, sizeof i);
  if (i < 0) i = (int32_t)(0x80000000u - (uint32_t)i);
  return i;
}

bool AlmostEqual2sComplement(float a, float b, int maxUlps) {
  if (!(maxUlps > 0 && maxUlps < 4 * 1024 * 1024)) {
    fflush(stdout);
    fprintf(stderr,
            "../TarnLib/tarnlibDim: AlmostEqual2sComplement: Assertion `maxUlps > 0 && "
            "maxUlps < 4 * 1024 * 1024' failed.\n");
    abort();
  }
  // Difference and absolute value with 32-bit wrap-around, compared as signed
  // integers. Intended: a difference of exactly 2^31 (infinity against
  // -FLT_MIN, say) stays negative after the absolute value and so counts as
  // equal; the comparison has always behaved so.
  uint32_t d = (uint32_t)OrderedBits(a) - (uint32_t)OrderedBits(b);
  int32_t diff;
  memcpy(&diff, &d, sizeof diff);
  uint32_t absBits = diff < 0 ? 0u - d : d;
  int32_t absDiff;
  memcpy(&absDiff, &absBits, sizeof absDiff);
  return absDiff <= maxUlps;
}

// Intended: the doubles are compared as floats, so maxUlps counts float steps
// and two doubles that round to the same float are equal. The permutation
// tests count ties through this.
bool AlmostEqual2sComplement(double a, double b, int maxUlps) {
  return AlmostEqual2sComplement((float)a, (float)b, maxUlps);
}

bool AlmostEqual2sComplement(float a, float b, int maxUlps, bool absolute) {
  if (absolute) return AlmostEqual2sComplement(fabsf(a), fabsf(b), maxUlps);
  return AlmostEqual2sComplement(a, b, maxUlps);
}

bool AlmostEqual2sComplement(double a, double b, int maxUlps, bool absolute) {
  if (absolute) return AlmostEqual2sComplement(fabs(a), fabs(b), maxUlps);
  return AlmostEqual2sComplement(a, b, maxUlps);
}

bool IsLargerThanOrEqual(double a, double b, int maxUlps, bool absolute) {
  if (absolute) {
    a = fabs(a);
    b = fabs(b);
  }
  return AlmostEqual2sComplement(a, b, maxUlps) || a > b;
}

bool AlmostEqual_Tolerance(float a, float b, float tolerance) {
  return fabsf(a - b) < tolerance;
}

bool AlmostEqual_Tolerance(double a, double b, double tolerance) {
  return fabs(a - b) < tolerance;
}

// ---------------------------------------------------------------------------
// Rounding and small numbers

double Round(double x, int digits) {
  double p = pow(10.0, digits);
  return floor(x * p + 0.5) / p;
}

// Intended mix of precisions: power and product in float, the half added in
// double, the division in float.
float Round(float x, int digits) {
  float p = (float)pow(10.0, digits);
  float product = x * p;
  float rounded = (float)floor(product + 0.5);
  return rounded / p;
}

double RoundDigit(double x, int digits) {
  char buffer[200];
  double result = x;
  snprintf(buffer, sizeof buffer, "%.*g", digits, x);
  sscanf(buffer, "%lf", &result);
  return result;
}

float RoundDigit(float x, int digits) {
  char buffer[200];
  float result = x;
  snprintf(buffer, sizeof buffer, "%.*g", digits, (double)x);
  sscanf(buffer, "%f", &result);
  return result;
}

// A failed comparison (not-a-number) returns the second argument.
double Fmax(double a, double b) { return a > b ? a : b; }
float Fmax(float a, float b) { return a > b ? a : b; }
int Fmax(int a, int b) { return a > b ? a : b; }
double Fmin(double a, double b) { return a < b ? a : b; }
float Fmin(float a, float b) { return a < b ? a : b; }
int Fmin(int a, int b) { return a < b ? a : b; }

// The product x * (int(x) - 1) * ... * 2, kept in the argument's type: a
// fraction or a negative returns itself. Beyond the cap every floating type
// has overflowed already, so the loop need not run further.
template <typename T>
static T FactorialOf(T x) {
  if (x == 0) return 1;
  T result = x;
  long long top = x > 5000 ? 5000 : (x < 0 || x != x ? 0 : (long long)x);
  for (long long i = top - 1; i >= 2; i--) result *= (T)i;
  return result;
}

double Factorial(double x) { return FactorialOf(x); }
float Factorial(float x) { return FactorialOf(x); }
long double Factorial(long double x) { return FactorialOf(x); }
long double Factorial(int x) { return FactorialOf((long double)x); }

char* IntToAlpha(int n, char* out) {
  static const char digits[] =
      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  int high = (n / 62) % 62, low = n % 62;
  if (high < 0) high = -high;
  if (low < 0) low = -low;
  out[0] = digits[high];
  out[1] = digits[low];
  return out;
}

// ---------------------------------------------------------------------------
// Counting of states

// Elements that are not states (-999, other negatives, not-a-number, and
// numbers beyond the int range, whose truncation is undefined) are skipped,
// so they never index the table.
template <typename T>
static int CountStatesOf(int n, T* x, int* states) {
  int maximum = -2147483647;
  for (int i = 0; i < n; i++)
    if (x[i] != -999 && x[i] > maximum && x[i] < 2147483647.0) maximum = (int)x[i];
  if (maximum < 0) return 0;
  int* table = dim1Dint(maximum + 1);
  for (int i = 0; i < n; i++)
    if (x[i] >= 0 && x[i] <= maximum) table[(int)x[i]]++;
  int count = 0, listed = 0;
  for (int s = 0; s <= maximum; s++) {
    if (table[s] <= 0) continue;
    count++;
    if (states != nullptr && s > 0) states[listed++] = s;
  }
  free1D(table);
  return count;
}

int CountStates(int n, double* x) { return CountStatesOf(n, x, (int*)nullptr); }
int CountStates(int n, float* x) { return CountStatesOf(n, x, (int*)nullptr); }
int CountStates(int n, double* x, int* states) { return CountStatesOf(n, x, states); }
int CountStates(int n, float* x, int* states) { return CountStatesOf(n, x, states); }

// ---------------------------------------------------------------------------
// Comparators

int compareInt(const void* a, const void* b) { return *(const int*)a - *(const int*)b; }
int compareIntDecreasing(const void* a, const void* b) { return *(const int*)b - *(const int*)a; }

template <typename T>
static int CompareUp(T a, T b) {
  if (a > b) return 1;
  if (b > a) return -1;
  return 0;
}

int compareDouble(const void* a, const void* b) {
  return CompareUp(*(const double*)a, *(const double*)b);
}
int compareDoubleDecreasing(const void* a, const void* b) {
  return -CompareUp(*(const double*)a, *(const double*)b);
}
int compareFloat(const void* a, const void* b) {
  return CompareUp(*(const float*)a, *(const float*)b);
}
int compareFloatDecreasing(const void* a, const void* b) {
  return -CompareUp(*(const float*)a, *(const float*)b);
}
int compare2Double(const void* a, const void* b) {
  return CompareUp((*(double* const*)a)[0], (*(double* const*)b)[0]);
}
int compare2DoubleDecreasing(const void* a, const void* b) {
  return -CompareUp((*(double* const*)a)[0], (*(double* const*)b)[0]);
}
int compare2Dfloat(const void* a, const void* b) {
  return CompareUp((*(float* const*)a)[0], (*(float* const*)b)[0]);
}
int compare2DfloatDecreasing(const void* a, const void* b) {
  return -CompareUp((*(float* const*)a)[0], (*(float* const*)b)[0]);
}
int compareStr(const void* a, const void* b) {
  return strcmp(*(char* const*)a, *(char* const*)b);
}

// ---------------------------------------------------------------------------
// Classical one-based routines

void nrerror(const char* text) {
  fflush(stdout);
  fprintf(stderr, "%s\n", text);
  fprintf(stderr, "Sorry, you have to quit and restart the program.\n");
  exit(1);
}

int* ivector(long nl, long nh) {
  int* v = (int*)malloc((size_t)(nh - nl + 2) * sizeof(int));
  if (!v) nrerror("allocation failure in ivector()");
  return v - nl + 1;
}

void free_ivector(int* v, long nl, long nh) {
  (void)nh;
  free(v + nl - 1);
}

#define SORT_SMALL 7   // subarrays below this size go to straight insertion
#define SORT_STACK 64  // enough for any n below 2^32

// Median-of-three quicksort with an explicit stack. The scans of the
// partition are bounded by the subarray, so not-a-numbers cannot lead them
// out of the array.
template <typename A, typename B>
static void Sort2Of(unsigned long n, A arr[], B brr[]) {
  unsigned long i, ir = n, j, k, l = 1;
  unsigned long stack[SORT_STACK + 1];
  int jstack = 0;
  A a, ta;
  B b, tb;
  if (n < 2) return;
#define SWAP2(x, y) { ta = arr[x]; arr[x] = arr[y]; arr[y] = ta; tb = brr[x]; brr[x] = brr[y]; brr[y] = tb; }
  for (;;) {
    if (ir - l < SORT_SMALL) {
      for (j = l + 1; j <= ir; j++) {
        a = arr[j];
        b = brr[j];
        for (i = j - 1; i >= l; i--) {
          if (arr[i] <= a) break;
          arr[i + 1] = arr[i];
          brr[i + 1] = brr[i];
        }
        arr[i + 1] = a;
        brr[i + 1] = b;
      }
      if (jstack == 0) return;
      ir = stack[jstack];
      l = stack[jstack - 1];
      jstack -= 2;
    } else {
      k = (l + ir) >> 1;
      SWAP2(k, l + 1)
      if (arr[l] > arr[ir]) SWAP2(l, ir)
      if (arr[l + 1] > arr[ir]) SWAP2(l + 1, ir)
      if (arr[l] > arr[l + 1]) SWAP2(l, l + 1)
      i = l + 1;
      j = ir;
      a = arr[l + 1];
      b = brr[l + 1];
      for (;;) {
        do i++; while (i < ir && arr[i] < a);
        do j--; while (j > l && arr[j] > a);
        if (j < i) break;
        SWAP2(i, j)
      }
      arr[l + 1] = arr[j];
      arr[j] = a;
      brr[l + 1] = brr[j];
      brr[j] = b;
      jstack += 2;
      if (jstack > SORT_STACK) nrerror("NSTACK too small in sort2.");
      if (ir - i + 1 >= j - l) {
        stack[jstack] = ir;
        stack[jstack - 1] = i;
        ir = j - 1;
      } else {
        stack[jstack] = j - 1;
        stack[jstack - 1] = l;
        l = i;
      }
    }
  }
#undef SWAP2
}

void sort2(unsigned long n, double a[], double b[]) { Sort2Of(n, a, b); }
void sort2(unsigned long n, double a[], int b[]) { Sort2Of(n, a, b); }
void sort2(unsigned long n, float a[], float b[]) { Sort2Of(n, a, b); }
void sort2(unsigned long n, int a[], int b[]) { Sort2Of(n, a, b); }

template <typename T>
static void CrankOf(unsigned long n, T w[], T* s) {
  unsigned long j = 1, ji, jt;
  *s = 0;
  while (j < n) {
    if (w[j + 1] != w[j]) {
      w[j] = (T)j;
      ++j;
    } else {
      for (jt = j + 1; jt <= n && w[jt] == w[j]; jt++) {}
      T rank = (T)(0.5 * (double)(j + jt - 1));
      for (ji = j; ji <= jt - 1; ji++) w[ji] = rank;
      T t = (T)(jt - j);
      *s += t * t * t - t;
      j = jt;
    }
  }
  if (j == n) w[n] = (T)n;
}

void crank(unsigned long n, double w[], double* s) { CrankOf(n, w, s); }
void crank(unsigned long n, float w[], float* s) { CrankOf(n, w, s); }

// Index table by the same quicksort, moving indices instead of values.
template <typename T>
static void IndexxOf(unsigned long n, T arr[], int indx[]) {
  unsigned long i, ir = n, j, k, l = 1;
  unsigned long stack[SORT_STACK + 1];
  int jstack = 0, indxt, itemp;
  T a;
  for (j = 1; j <= n; j++) indx[j] = (int)j;
  if (n < 2) return;
#define SWAPI(x, y) { itemp = indx[x]; indx[x] = indx[y]; indx[y] = itemp; }
  for (;;) {
    if (ir - l < SORT_SMALL) {
      for (j = l + 1; j <= ir; j++) {
        indxt = indx[j];
        a = arr[indxt];
        for (i = j - 1; i >= l; i--) {
          if (arr[indx[i]] <= a) break;
          indx[i + 1] = indx[i];
        }
        indx[i + 1] = indxt;
      }
      if (jstack == 0) return;
      ir = stack[jstack--];
      l = stack[jstack--];
    } else {
      k = (l + ir) >> 1;
      SWAPI(k, l + 1)
      if (arr[indx[l]] > arr[indx[ir]]) SWAPI(l, ir)
      if (arr[indx[l + 1]] > arr[indx[ir]]) SWAPI(l + 1, ir)
      if (arr[indx[l]] > arr[indx[l + 1]]) SWAPI(l, l + 1)
      i = l + 1;
      j = ir;
      indxt = indx[l + 1];
      a = arr[indxt];
      for (;;) {
        do i++; while (i < ir && arr[indx[i]] < a);
        do j--; while (j > l && arr[indx[j]] > a);
        if (j < i) break;
        SWAPI(i, j)
      }
      indx[l + 1] = indx[j];
      indx[j] = indxt;
      jstack += 2;
      if (jstack > SORT_STACK) nrerror("NSTACK too small in indexx.");
      if (ir - i + 1 >= j - l) {
        stack[jstack] = ir;
        stack[jstack - 1] = i;
        ir = j - 1;
      } else {
        stack[jstack] = j - 1;
        stack[jstack - 1] = l;
        l = i;
      }
    }
  }
#undef SWAPI
}

void indexx(unsigned long n, float a[], int index[]) { IndexxOf(n, a, index); }
void indexx(unsigned long n, double a[], int index[]) { IndexxOf(n, a, index); }
void indexx(unsigned long n, int a[], int index[]) { IndexxOf(n, a, index); }

int choldc(double** a, int n, double* p) {
  for (int i = 0; i < n; i++) {
    for (int j = i; j < n; j++) {
      double sum = a[i][j];
      for (int k = i - 1; k >= 0; k--) sum -= a[i][k] * a[j][k];
      if (i == j) {
        if (!(sum > 0.0)) {
          printf("\ncholdc failed");
          return 0;
        }
        p[i] = sqrt(sum);
      } else {
        a[j][i] = sum / p[i];
      }
    }
  }
  return 1;
}

// The elimination of both gaussj forms. With `stopOnSingular` it returns 0 at
// the first sign of a singular matrix; otherwise it writes the message and
// goes on, so that a zero pivot gives infinities.
static int GaussJordan(double** a, int n, double** b, int m, bool stopOnSingular) {
  int* indxc = ivector(1, n);
  int* indxr = ivector(1, n);
  int* ipiv = ivector(1, n);
  int icol = 1, irow = 1;
  for (int j = 1; j <= n; j++) ipiv[j] = 0;
  for (int i = 1; i <= n; i++) {
    double big = 0.0;
    bool told = false;
    for (int j = 1; j <= n; j++) {
      if (ipiv[j] == 1) continue;
      for (int k = 1; k <= n; k++) {
        if (ipiv[k] == 0) {
          if (fabs(a[j][k]) >= big) {
            big = fabs(a[j][k]);
            irow = j;
            icol = k;
          }
        } else if (ipiv[k] > 1) {
          if (stopOnSingular) goto singular;
          if (!told) {
            fflush(stdout);
            fprintf(stderr, "gaussj: Singular Matrix-1\n");
            told = true;
          }
        }
      }
    }
    ++ipiv[icol];
    if (irow != icol) {
      for (int l = 1; l <= n; l++) { double t = a[irow][l]; a[irow][l] = a[icol][l]; a[icol][l] = t; }
      for (int l = 1; l <= m; l++) { double t = b[irow][l]; b[irow][l] = b[icol][l]; b[icol][l] = t; }
    }
    indxr[i] = irow;
    indxc[i] = icol;
    if (a[icol][icol] == 0.0) {
      if (stopOnSingular) goto singular;
      fflush(stdout);
      fprintf(stderr, "gaussj: Singular Matrix-2\n");
    }
    double pivinv = 1.0 / a[icol][icol];
    a[icol][icol] = 1.0;
    for (int l = 1; l <= n; l++) a[icol][l] *= pivinv;
    for (int l = 1; l <= m; l++) b[icol][l] *= pivinv;
    for (int ll = 1; ll <= n; ll++) {
      if (ll == icol) continue;
      double dum = a[ll][icol];
      a[ll][icol] = 0.0;
      for (int l = 1; l <= n; l++) a[ll][l] -= a[icol][l] * dum;
      for (int l = 1; l <= m; l++) b[ll][l] -= b[icol][l] * dum;
    }
  }
  for (int l = n; l >= 1; l--) {
    if (indxr[l] == indxc[l]) continue;
    for (int k = 1; k <= n; k++) {
      double t = a[k][indxr[l]];
      a[k][indxr[l]] = a[k][indxc[l]];
      a[k][indxc[l]] = t;
    }
  }
  free_ivector(ipiv, 1, n);
  free_ivector(indxr, 1, n);
  free_ivector(indxc, 1, n);
  return 1;
singular:
  free_ivector(ipiv, 1, n);
  free_ivector(indxr, 1, n);
  free_ivector(indxc, 1, n);
  return 0;
}

void gaussj(double** a, int n, double** b, int m) { GaussJordan(a, n, b, m, false); }

int gaussj_Tarn(double** a, int n, double** b, int m) { return GaussJordan(a, n, b, m, true); }

void Convertn_n1(int rows, int cols, double** from, double** to) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) to[i + 1][j + 1] = from[i][j];
}

void Convertn1_n(int rows, int cols, double** from, double** to) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) to[i][j] = from[i + 1][j + 1];
}

// The four-lane forms of the permutation loops (AVX2): distances with the
// sums of their pairs, Mantel's cross products, and the products of
// abundances and rows. Built only for processor families that have
// <immintrin.h>; each lane does the operations of one pair, one sum or one
// column in the order of the two-lane forms, so the results are theirs.
#include "permutation/permKernels.h"

#if defined(__x86_64__) || defined(__i386__)

#include <immintrin.h>

#include <cmath>

// AVX2 in the processor, with its registers enabled by the system.
bool WideKernelsSupported() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
}

// Everything below runs only where the processor has AVX2. No fused
// multiply-add is enabled: a sum of squares rounds each product, as the
// distances of one pair at a time do.
#pragma GCC push_options
#pragma GCC target("avx2")

// s > 0 ? sqrt(s) : 0 lane by lane (a NaN gives 0); the square root is
// correctly rounded in every lane.
static inline __m256d RootOrZero4(__m256d s) {
  return _mm256_and_pd(_mm256_sqrt_pd(s), _mm256_cmp_pd(s, _mm256_setzero_pd(), _CMP_GT_OQ));
}

// Distances of row i to rows j to j + 4 VECS - 1 into row, from cols
// columns of n values each, one after the other in data.
template <int VECS>
static inline void Block(const double* data, int n, int cols, int i, int j, double* row) {
  __m256d s[VECS];
  for (int v = 0; v < VECS; v++) s[v] = _mm256_setzero_pd();
  for (int k = 0; k < cols; k++, data += n) {
    __m256d x = _mm256_broadcast_sd(data + i);
    for (int v = 0; v < VECS; v++) {
      __m256d d = _mm256_sub_pd(x, _mm256_loadu_pd(data + j + 4 * v));
      s[v] = _mm256_add_pd(s[v], _mm256_mul_pd(d, d));
    }
  }
  for (int v = 0; v < VECS; v++) _mm256_storeu_pd(row + j + 4 * v, RootOrZero4(s[v]));
}

// The distance of the pair (i, j), one at a time, into row.
static inline void Pair(const double* data, int n, int cols, int i, int j, double* row) {
  double sum = 0.0;
  for (int k = 0; k < cols; k++, data += n) {
    double d = data[i] - data[j];
    sum += d * d;
  }
  row[j] = sum > 0.0 ? std::sqrt(sum) : 0.0;
}

// |r[i] - r[j]| to |r[i] - r[j + 4 vecs - 1]|, into row (clearing the sign
// bit, as fabs does).
static inline void AbsBlock(const double* r, int i, int j, int vecs, double* row) {
  __m256d x = _mm256_broadcast_sd(r + i), sign = _mm256_set1_pd(-0.0);
  for (int v = 0; v < vecs; v++)
    _mm256_storeu_pd(row + j + 4 * v, _mm256_andnot_pd(sign, _mm256_sub_pd(x, _mm256_loadu_pd(r + j + 4 * v))));
}

// The pairs (i, j) to (i, j + count - 1) of each matrix added to its sum,
// in order; the sums are independent, so their additions overlap.
template <bool R>
static inline void AddPairs(const double* a, const double* b, const double* c, int count, double* t) {
  double x = t[0], y = t[1], z = t[2];
  for (int k = 0; k < count; k++) {
    x += a[k];
    y += b[k];
    if (R) z += c[k];
  }
  t[0] = x, t[1] = y, t[2] = z;
}

// Row i's pairs from *j on, VECS vectors at a time, of both matrices and,
// when R, the entropies' DR. The sums in t lag one block behind: after a
// block is made, the pairs before it (from *summed on) are added, so that
// those additions overlap the square roots of the block.
template <bool R, int VECS>
static inline void Blocks(int n, const LaneMatrix* a, const LaneMatrix* b, const double* r, int i, int* j,
                          int* summed, double* rowR, double* t) {
  double *rowA = a->D[i], *rowB = b->D[i];
  for (; *j + 4 * VECS <= n; *j += 4 * VECS) {
    Block<VECS>(a->data, n, a->cols, i, *j, rowA);
    Block<VECS>(b->data, n, b->cols, i, *j, rowB);
    if (R) AbsBlock(r, i, *j, VECS, rowR);
    int k = *summed;
    AddPairs<R>(rowA + k, rowB + k, R ? rowR + k : NULL, *j - k, t);
    *summed = *j;
  }
}

// Every row of a, b and, when R, DR; the sums of their pairs in t.
template <bool R>
static void Rows(int n, const LaneMatrix* a, const LaneMatrix* b, const double* r, double** DR, double* t) {
  for (int i = 0; i < n; i++) {
    double *rowA = a->D[i], *rowB = b->D[i], *rowR = R ? DR[i] : NULL;
    rowA[i] = rowB[i] = 0.0;
    if (R) rowR[i] = 0.0;
    int j = i + 1, summed = i + 1;
    Blocks<R, 4>(n, a, b, r, i, &j, &summed, rowR, t);
    Blocks<R, 2>(n, a, b, r, i, &j, &summed, rowR, t);
    Blocks<R, 1>(n, a, b, r, i, &j, &summed, rowR, t);
    for (; j < n; j++) {
      Pair(a->data, n, a->cols, i, j, rowA);
      Pair(b->data, n, b->cols, i, j, rowB);
      if (R) rowR[j] = std::fabs(r[i] - r[j]);
    }
    AddPairs<R>(rowA + summed, rowB + summed, R ? rowR + summed : NULL, n - summed, t);
  }
}

// Two matrices side by side; one alone takes the two-lane form, whose bits
// are the same.
static void FourLaneDistances(int n, LaneMatrix* a, LaneMatrix* b, const double* r, double** DR,
                              double* totalR) {
  if (!b) {
    TwoLaneDistances(n, a, b, r, DR, totalR);
    return;
  }
  double t[3] = {0.0, 0.0, 0.0};
  if (r)
    Rows<true>(n, a, b, r, DR, t);
  else
    Rows<false>(n, a, b, r, DR, t);
  a->total = t[0], b->total = t[1];
  if (r) *totalR = t[2];
}

static void FourLaneCrossSums(int n, double** DT, double** DX, double** DR, double mT, double mX, double mR,
                              const double* eyze, double* sums) {
  const __m256d mT4 = _mm256_set1_pd(mT), mX4 = _mm256_set1_pd(mX), mR4 = _mm256_set1_pd(mR);
  // Lanes (tE, tY, tZ, xE), (xT, xY, xZ, rE), (rX, rT, sT, sX); sR alone.
  __m256d a1 = _mm256_setzero_pd(), a2 = a1, a3 = a1;
  double sR = 0.0;
  const double* e = eyze;
  for (int i = 0; i < n; i++) {
    const double *dt = DT[i], *dx = DX[i], *dr = DR[i];
    for (int j = i + 1; j < n; j++, e += 4) {
      __m256d T = _mm256_sub_pd(_mm256_broadcast_sd(dt + j), mT4);
      __m256d X = _mm256_sub_pd(_mm256_broadcast_sd(dx + j), mX4);
      __m256d R = _mm256_sub_pd(_mm256_broadcast_sd(dr + j), mR4);
      __m256d EYZE = _mm256_loadu_pd(e);
      a1 = _mm256_add_pd(a1, _mm256_mul_pd(_mm256_blend_pd(T, X, 8), EYZE));
      a2 = _mm256_add_pd(a2, _mm256_mul_pd(_mm256_blend_pd(X, R, 8), _mm256_blend_pd(T, EYZE, 14)));
      __m256d RRTX = _mm256_blend_pd(_mm256_blend_pd(R, T, 4), X, 8);
      a3 = _mm256_add_pd(a3, _mm256_mul_pd(RRTX, _mm256_blend_pd(X, T, 6)));
      double r = _mm256_cvtsd_f64(R);
      sR += r * r;
    }
  }
  _mm256_storeu_pd(sums, a1);
  _mm256_storeu_pd(sums + 4, a2);
  _mm256_storeu_pd(sums + 8, a3);
  sums[12] = sR;
}

// out[4 v .. 4 v + 3] for v < VECS: the sums over x < m of a[x] times
// rows[x][4 v ..], each column's sum in the order of x.
template <int VECS>
static inline void ProductVecs(int m, const double* a, double* const* rows, int k, double* out) {
  __m256d s[VECS];
  for (int v = 0; v < VECS; v++) s[v] = _mm256_setzero_pd();
  for (int x = 0; x < m; x++) {
    __m256d ax = _mm256_broadcast_sd(a + x);
    const double* r = rows[x] + k;
    for (int v = 0; v < VECS; v++) s[v] = _mm256_add_pd(s[v], _mm256_mul_pd(ax, _mm256_loadu_pd(r + 4 * v)));
  }
  for (int v = 0; v < VECS; v++) _mm256_storeu_pd(out + k + 4 * v, s[v]);
}

// Whole vectors of four columns, then the columns left one at a time.
static void FourLaneProducts(int m, const double* a, double* const* rows, int cols, double* out) {
  int k = 0, vecs = cols / 4;
  for (; vecs >= 6; vecs -= 6, k += 24) ProductVecs<6>(m, a, rows, k, out);
  switch (vecs) {
    case 5: ProductVecs<5>(m, a, rows, k, out); break;
    case 4: ProductVecs<4>(m, a, rows, k, out); break;
    case 3: ProductVecs<3>(m, a, rows, k, out); break;
    case 2: ProductVecs<2>(m, a, rows, k, out); break;
    case 1: ProductVecs<1>(m, a, rows, k, out); break;
    default: break;
  }
  for (k = cols / 4 * 4; k < cols; k++) {
    double sum = 0.0;
    for (int x = 0; x < m; x++) sum += a[x] * rows[x][k];
    out[k] = sum;
  }
}

#pragma GCC pop_options

extern const PermKernels permKernelsFourLane;
const PermKernels permKernelsFourLane = {"four-lane", FourLaneDistances, FourLaneCrossSums, FourLaneProducts};

#endif

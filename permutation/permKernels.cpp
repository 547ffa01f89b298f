// The two-lane forms of the permutation loops (two doubles to a vector,
// IEEE arithmetic lane by lane) and the one dispatch point that picks the
// four-lane forms where they are built and the processor has AVX2.
#include "permutation/permKernels.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cmath>
#include <cstring>

#ifdef KOLVEN_WIDE_KERNELS
// Defined in permKernelsWide.cpp, which is built only where the processor
// family has the four-lane instructions.
extern const PermKernels permKernelsFourLane;
bool WideKernelsSupported();
#endif

const PermKernels permKernelsTwoLane = {"two-lane", TwoLaneDistances, TwoLaneCrossSums, TwoLaneProducts};

static const PermKernels* WideKernelsIfSupported() {
#ifdef KOLVEN_WIDE_KERNELS
  if (WideKernelsSupported()) return &permKernelsFourLane;
#endif
  return nullptr;
}

const PermKernels* permKernelsWide = WideKernelsIfSupported();
const PermKernels* permKernels = permKernelsWide ? permKernelsWide : &permKernelsTwoLane;

// Two doubles that the compiler adds and multiplies lane by lane.
typedef double Lanes2 __attribute__((vector_size(16)));

// Pairs of a row whose sums run side by side in the distances.
#define DIST_BLOCK 8

// s > 0 ? sqrt(s) : 0 lane by lane (a NaN gives 0). The square root is
// correctly rounded whether taken two at a time or one by one.
static inline Lanes2 RootOrZero(Lanes2 s) {
#ifdef __SSE2__
  return (Lanes2)_mm_and_pd(_mm_sqrt_pd((__m128d)s), _mm_cmpgt_pd((__m128d)s, _mm_setzero_pd()));
#else
  Lanes2 r = {s[0] > 0.0 ? std::sqrt(s[0]) : 0.0, s[1] > 0.0 ? std::sqrt(s[1]) : 0.0};
  return r;
#endif
}

bool ColumnsOf(int n, int cols, double** data, double* out) {
  for (int i = 0; i < n; i++)
    for (int k = 0; k < cols; k++) {
      if (data[i][k] == -999.0) return false;
      out[(long)k * n + i] = data[i][k];
    }
  return true;
}

// Row i of the entropy distances |r[i] - r[j]|, the diagonal and j > i,
// each added to *total in pair order.
static inline void EntropyRow(int n, int i, const double* r, double* row, double* total) {
  double x = r[i], sum = *total;
  row[i] = 0.0;
  for (int j = i + 1; j < n; j++) {
    double d = std::fabs(x - r[j]);
    row[j] = d;
    sum += d;
  }
  *total = sum;
}

void EntropyDistances(int n, const double* r, double** D, double* pairSum) {
  double total = 0.0;
  for (int i = 0; i < n; i++) EntropyRow(n, i, r, D[i], &total);
  *pairSum = total;
}

// The distances of one matrix, each pair's sum over k in order (as
// EucliDist adds them), DIST_BLOCK pairs of a row at a time so that
// independent sums run side by side; with r, the rows of DR are made
// along with them, so that their additions overlap the sums of squares.
static void OneMatrix(int n, LaneMatrix* a, const double* r, double** DR, double* totalR) {
  const double* c = a->data;
  int cols = a->cols;
  double total = 0.0, sumR = 0.0;
  for (int i = 0; i < n; i++) {
    double* row = a->D[i];
    row[i] = 0.0;
    int j = i + 1;
    for (; j + DIST_BLOCK <= n; j += DIST_BLOCK) {
      // Two pairs to a vector: each lane does its own pair's operations.
      Lanes2 s0 = {0.0, 0.0}, s1 = s0, s2 = s0, s3 = s0;
      for (int k = 0; k < cols; k++) {
        const double* colK = c + (long)k * n;
        Lanes2 x = {colK[i], colK[i]}, a0, a1, a2, a3;
        memcpy(&a0, colK + j, sizeof(a0));
        memcpy(&a1, colK + j + 2, sizeof(a1));
        memcpy(&a2, colK + j + 4, sizeof(a2));
        memcpy(&a3, colK + j + 6, sizeof(a3));
        Lanes2 d0 = x - a0, d1 = x - a1, d2 = x - a2, d3 = x - a3;
        s0 += d0 * d0;
        s1 += d1 * d1;
        s2 += d2 * d2;
        s3 += d3 * d3;
      }
      s0 = RootOrZero(s0), s1 = RootOrZero(s1), s2 = RootOrZero(s2), s3 = RootOrZero(s3);
      memcpy(row + j, &s0, sizeof(s0));
      memcpy(row + j + 2, &s1, sizeof(s1));
      memcpy(row + j + 4, &s2, sizeof(s2));
      memcpy(row + j + 6, &s3, sizeof(s3));
      for (int t = 0; t < DIST_BLOCK; t++) total += row[j + t];
    }
    for (; j + 2 <= n; j += 2) {
      Lanes2 s0 = {0.0, 0.0};
      for (int k = 0; k < cols; k++) {
        const double* colK = c + (long)k * n;
        Lanes2 x = {colK[i], colK[i]}, a0;
        memcpy(&a0, colK + j, sizeof(a0));
        Lanes2 d0 = x - a0;
        s0 += d0 * d0;
      }
      s0 = RootOrZero(s0);
      memcpy(row + j, &s0, sizeof(s0));
      total += row[j];
      total += row[j + 1];
    }
    for (; j < n; j++) {
      double sum = 0.0;
      for (int k = 0; k < cols; k++) {
        double d = c[(long)k * n + i] - c[(long)k * n + j];
        sum += d * d;
      }
      double d = sum > 0.0 ? std::sqrt(sum) : 0.0;
      row[j] = d;
      total += d;
    }
    if (r) EntropyRow(n, i, r, DR[i], &sumR);
  }
  a->total = total;
  if (r) *totalR = sumR;
}

void TwoLaneDistances(int n, LaneMatrix* a, LaneMatrix* b, const double* r, double** DR, double* totalR) {
  if (!b) {
    OneMatrix(n, a, r, DR, totalR);
    return;
  }
  // The entropies along with the second matrix.
  OneMatrix(n, a, nullptr, nullptr, nullptr);
  OneMatrix(n, b, r, DR, totalR);
}

void TwoLaneCrossSums(int n, double** DT, double** DX, double** DR, double mT, double mX, double mR,
                      const double* eyze, double* sums) {
  // Two sums to a vector, each lane its own sum with the same operations
  // in the same order: (tE, tY), (tZ, xE), (xT, xY), (xZ, rE), (rX, rT),
  // (sT, sX); sR alone.
  const Lanes2 mTX = {mT, mX};
  Lanes2 aTETY = {0.0, 0.0}, aTZXE = aTETY, aXTXY = aTETY, aXZRE = aTETY, aRXRT = aTETY, aSTSX = aTETY;
  double sR = 0.0;
  long p = 0;
  for (int i = 0; i < n; i++) {
    const double *dt = DT[i], *dx = DX[i], *dr = DR[i];
    for (int j = i + 1; j < n; j++, p++) {
      Lanes2 d = {dt[j], dx[j]};
      Lanes2 TX = d - mTX;
      double R = dr[j] - mR;
      Lanes2 EY, ZE;
      memcpy(&EY, eyze + 4 * p, sizeof(EY));
      memcpy(&ZE, eyze + 4 * p + 2, sizeof(ZE));
      double T = TX[0], X = TX[1];
      Lanes2 TT = {T, T}, XX = {X, X}, RR = {R, R}, XR = {X, R}, TY = {T, EY[1]}, XT = {X, T};
      sR += R * R;
      aSTSX += TX * TX;
      aTETY += TT * EY;
      aTZXE += TX * ZE;
      aXTXY += XX * TY;
      aXZRE += XR * ZE;
      aRXRT += RR * XT;
    }
  }
  const double t[13] = {aTETY[0], aTETY[1], aTZXE[0], aTZXE[1], aXTXY[0], aXTXY[1], aXZRE[0],
                        aXZRE[1], aRXRT[0], aRXRT[1], aSTSX[0], aSTSX[1], sR};
  memcpy(sums, t, sizeof(t));
}

double RhoOfSums(double cross, double ssA, double ssB) {
  return (ssA == 0.0 || ssB == 0.0) ? 0.0 : cross / std::sqrt(ssA * ssB);
}

// o[k .. k + 2 NB - 1] = sum over x < m of a[x] rows[x][k ..], each column's
// sum in the order of x, two columns to a vector.
template <int NB>
static void ProductColumns(int m, const double* a, double* const* rows, int k, double* o) {
  Lanes2 sum[NB];
  for (int b = 0; b < NB; b++) sum[b] = Lanes2{0.0, 0.0};
  for (int x = 0; x < m; x++) {
    Lanes2 ax = {a[x], a[x]};
    const double* r = rows[x] + k;
    for (int b = 0; b < NB; b++) {
      Lanes2 v;
      memcpy(&v, r + 2 * b, sizeof(v));
      sum[b] += ax * v;
    }
  }
  for (int b = 0; b < NB; b++) memcpy(o + k + 2 * b, &sum[b], sizeof(sum[b]));
}

void TwoLaneProducts(int m, const double* a, double* const* rows, int cols, double* o) {
  int k = 0;
  for (; cols - k >= 8; k += 8) ProductColumns<4>(m, a, rows, k, o);
  if (cols - k >= 6) ProductColumns<3>(m, a, rows, k, o), k += 6;
  else if (cols - k >= 4) ProductColumns<2>(m, a, rows, k, o), k += 4;
  else if (cols - k >= 2) ProductColumns<1>(m, a, rows, k, o), k += 2;
  if (k < cols) {
    double sum = 0.0;
    for (int x = 0; x < m; x++) sum += a[x] * rows[x][k];
    o[k] = sum;
  }
}

// The columns of the four lanes at position j: from ints, or from four
// 16-bit columns read as one 64-bit word (fewer loads in the hottest loop).
static inline void LaneColumns(const int* c, int j, int* out) {
  for (int L = 0; L < 4; L++) out[L] = c[4 * j + L];
}
static inline void LaneColumns(const uint16_t* c, int j, int* out) {
  uint64_t v;
  memcpy(&v, c + 4 * j, sizeof(v));
  for (int L = 0; L < 4; L++) out[L] = (int)((v >> (16 * L)) & 0xffff);
}

// The four lanes' sums two lanes to a vector: each lane's products and sum
// as one at a time.
template <typename Column>
static void LaneSums(int M, const double* q, double* const* rows, const Column* c, double* sums) {
  Lanes2 s01 = {0.0, 0.0}, s23 = s01;
  for (int i = 0; i < M; i++) {
    const double *r0 = rows[4 * i], *r1 = rows[4 * i + 1], *r2 = rows[4 * i + 2], *r3 = rows[4 * i + 3];
    Lanes2 p01, p23;
    memcpy(&p01, q + 4 * i, sizeof(p01));
    memcpy(&p23, q + 4 * i + 2, sizeof(p23));
    for (int j = 0; j < M; j++) {
      int cj[4];
      LaneColumns(c, j, cj);
      Lanes2 q01, q23;
      memcpy(&q01, q + 4 * j, sizeof(q01));
      memcpy(&q23, q + 4 * j + 2, sizeof(q23));
      Lanes2 d01 = {r0[cj[0]], r1[cj[1]]}, d23 = {r2[cj[2]], r3[cj[3]]};
      s01 += p01 * (q01 * d01);
      s23 += p23 * (q23 * d23);
    }
  }
  sums[0] = s01[0], sums[1] = s01[1], sums[2] = s23[0], sums[3] = s23[1];
}

void RaoLaneSums(int M, const double* q, double* const* rows, const int* col, double* sums) {
  LaneSums(M, q, rows, col, sums);
}

void RaoLaneSums(int M, const double* q, double* const* rows, const uint16_t* col, double* sums) {
  LaneSums(M, q, rows, col, sums);
}

// The functional and phylogenetic correlation test: a Monte Carlo permutation
// test of matrix correlations (Mantel 1967, Cancer Research 27: 209-220) for
// trait-convergence and trait-divergence assembly patterns (Pillar et al.
// 2009, J. Veg. Sci. 20: 334-348) and phylogenetic structure (Pillar & Duarte
// 2010, Ecology Letters 13: 587-596), with Procrustes and RV alternatives.
#include "permutation/permTest.h"

#include <omp.h>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cmath>
#include <cstdint>
#include <cstring>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibRese.h"
#include "TarnLib/tarnlibStats.h"
#include "TarnLib/tarnlibTables.h"
#include "permutation/permCoef.h"
#include "permutation/permLanes.h"
#include "scaling/community.h"
#include "scaling/scalingUp.h"
#include "shell/shell.h"

bool permTestPlainLoops = false;
// Below this the distances of an iteration run faster on one thread than a
// team can meet at the end of each parallel loop, thousands of times a test.
double permTestSmallWork = 4000000.0;
// Two runs that drew the same arrangements agree here to the last bit.
double permTestRandomSums[N_PERMTEST_STATS];

// Digits of the numbers in the intermediate file.
#define PERM_DETAIL_DIGITS 6

// The resemblance matrices that enter Mantel correlations.
enum { RHO_E, RHO_Y, RHO_Z, RHO_T, RHO_X, RHO_R, RHO_P, RHO_RP, N_RHO_MATRICES };

// Communities whose Rao entropies run side by side: independent sums overlap.
#define RAO_LANES 4

// Working storage of one call, allocated once before the iterations. The
// permuted B, U, Q and PCoA scores are row-pointer arrays into the caller's
// rows: a permuted row is the same row, so nothing is copied per iteration.
struct PermWork {
  PermTest_FunctionalPhyl_Correl_Input* in;
  int n;               // communities
  int code;            // ResemblanceLib code for X and P
  bool mantel;         // opt_ro 1: statistics on resemblance matrices
  bool taxa;           // taxa shuffle (else site shuffle)
  bool phyl;           // phylogenetic statistics wanted
  int* list;           // permutation list of the present iteration
  int listLength;      // entries of list that the shuffle moves
  int listSize;        // entries of list allocated
  double** Brnd;       // [nOTUs] rows of B in permuted order
  double** Urnd;       // [nOTUs] rows of U in permuted order
  double** Qrnd;       // [nOTUs] rows of Q in permuted order
  double** scoresRnd;  // [nOTUs] rows of the PCoA scores in permuted order
  double** Srnd;       // [nOTUs][nOTUs] permuted Sb
  double** Sfrnd;      // [nOTUs][nOTUs] permuted Sf
  double** Bnorm;      // [nOTUs][nTraits] B with columns at unit length
  double** T;          // [n][nTraits] observed, then random T
  double** X;          // [n][nTypes]
  double** P;          // [n][nTaxa]
  double** R;          // [n][1] Rao entropy from Sb
  double** Rp;         // [n][1] Rao entropy from Sf
  double** Tobs;       // observed T (normalised), X, P, R, Rp: what the
  double** Xobs;       // site shuffle permutes
  double** Pobs;
  double** Robs;
  double** Rpobs;
  double** DT;         // [n][n] resemblance matrices, Mantel only
  double** DX;
  double** DP;
  double** DR;
  double** DRp;
  double** printWork;  // [max(n, nOTUs)]^2 transpose for printing
  // Occurrences: the products and Rao entropies of a community only need
  // the OTUs with an abundance other than 0, since a zero abundance adds an
  // exact 0 to every sum. Each community's call then runs over those alone.
  bool compactT;       // T from the occurrences (B finite, W finite)
  bool compactXP;      // X and P from the occurrences (U, Q finite, no -999)
  bool compactR;       // Rao entropies from the occurrences (finite d)
  int* occStart;       // [n + 1] start of each community in occOTU
  int* occOTU;         // zero-based OTU of each occurrence
  double* occW;        // its abundance
  int* occWeight;      // its weight_OTUs
  double** rowsSub;    // [nOTUs] rows of the permuted matrix for one community
  double** Ssub;       // [maxOcc]^2 permuted distances among one community's OTUs
  double** Db;         // [nOTUs]^2 Rao distance d of each entry of Sb
  double** Df;         // [nOTUs]^2 the same of Sf
  int maxOcc;          // most occurrences in a community
  bool plainTerms;     // no -999 among the occurrences, every weight 1
  bool plainB;         // B holds no -999
  // T and X of an arrangement in one pass on wide lanes: B and U side by
  // side, padded with zeros to whole vectors; NULL when not in use.
  double** BU;         // [nOTUs][colsBU]
  int colsBU;          // nTraits + nTypes rounded up to a multiple of 4
  double* rowTX;       // [colsBU] one community's sums
  double** colsT;      // [max(nTraits, nTypes)][n] data by columns for the distances
  double** colsX;      // [nTypes][n] X by columns, when T's distances run beside it
                       // (each of the two is one block, a column after the other)
  double* rowR;        // [n] the entropies in one array, for the same pass
  // Rao entropies in lanes: communities by decreasing occurrences, four at a
  // time, each padded with zero shares to the first one's count.
  bool raoLanes;       // the lanes are in use (no -999, all weights 1)
  int nGroups;         // groups of RAO_LANES communities
  int* laneStart;      // [nGroups + 1] start of each group in laneQ, laneOTU
  int* laneComm;       // [nGroups * RAO_LANES] community of each lane, -1 none
  double* laneQ;       // share a / total of each occurrence, 0 when padding:
                       // the x-th of lane L at RAO_LANES x + L in its group
  int* laneOTU;        // its zero-based OTU (0 when padding), the same way
  double** laneRow;    // [RAO_LANES * maxOcc] permuted distance rows
  int* laneCol;        // [RAO_LANES * maxOcc] permuted columns
  uint16_t* laneCol16; // the same in 16 bits when every OTU fits, else NULL
  // Mantel correlations of three communities or more on prepared matrices:
  // each matrix's pairs minus their mean once, then one pass per correlation.
  bool prepared;       // the prepared forms are in use
  long pairs;          // pairs i < j of communities
  double* cen[N_RHO_MATRICES];  // [pairs] centred pairs of each matrix
  double ss[N_RHO_MATRICES];    // their sums of squares
  bool ok[N_RHO_MATRICES];      // prepared (no -999): else MatrixCorr
  double* eyze;                 // [4 pairs] centred E, Y, Z, E of each pair
  double stat[N_PERMTEST_STATS];   // statistics of the present arrangement
  double count[N_PERMTEST_STATS];  // running counts, the observed one included
  double rXT, rXR, rTR;            // helpers of the partial statistics
  bool fused;                      // the iteration's rho values are in fusedRho
  double fusedRho[3][4];           // those of StatsT, StatsXP and StatsR, in their order
  double rXE_R, rTE_R, rXT_R;
  CoefWork coef;                   // Procrustes and RV statistics on prepared matrices
};

// ---------------------------------------------------------------------------
// Statistics

// Number of pairs of a row whose sums run side by side in Distances, and
// two doubles that the compiler adds and multiplies lane by lane (IEEE
// arithmetic per lane, the same as one at a time).
#define DIST_BLOCK 8
typedef double Lanes2 __attribute__((vector_size(16)));

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

// Row i of the entropy distances |R[i] - R[j]|, the diagonal and j > i,
// each added to *total in pair order.
static inline void EntropyRow(int n, int i, double** R, double* row, double* total) {
  double x = R[i][0], sum = *total;
  row[i] = 0.0;
  for (int j = i + 1; j < n; j++) {
    double d = std::fabs(x - R[j][0]);
    row[j] = d;
    sum += d;
  }
  *total = sum;
}

// out[k][i] = data[i][k]; false at the first -999.
static bool ByColumns(int n, int cols, double** data, double** out) {
  for (int i = 0; i < n; i++)
    for (int k = 0; k < cols; k++) {
      if (data[i][k] == -999.0) return false;
      out[k][i] = data[i][k];
    }
  return true;
}

// D = Euclidean distances between the rows of data (n by cols), as
// ResemblanceLib with code 3 gives them: EucliDist's sums, each pair's over
// k in order, but DIST_BLOCK pairs of a row at a time from the data by
// columns, so that independent sums run side by side. Only the diagonal and
// the pairs i < j are written: nothing here reads the lower triangle. Data
// with -999 go to ResemblanceLib. On this path *pairSum gets the sum of the
// pairs i < j in pair order, as MatrixCorrPairSums adds them (no pair is
// -999 here), and the result is true; false after ResemblanceLib. With R
// (entropies without -999), the rows of their distances DR and the sum of
// those pairs (*pairSumR) are made row by row with these, so that their
// additions overlap the sums of squares.
static bool Distances(PermWork* w, int cols, double** data, double** D, int code, double* pairSum,
                      double** R = NULL, double** DR = NULL, double* pairSumR = NULL) {
  int n = w->n;
  if (!w->colsT || code != 3 || !ByColumns(n, cols, data, w->colsT)) {
    ResemblanceLib(n, cols, data, D, 1, code, 0, NULL, 0.0, 0.0, 0, false);
    return false;
  }
  double** c = w->colsT;
  double total = 0.0, totalR = 0.0;
  for (int i = 0; i < n; i++) {
    double* row = D[i];
    row[i] = 0.0;
    int j = i + 1;
    for (; j + DIST_BLOCK <= n; j += DIST_BLOCK) {
      // Two pairs to a vector: each lane does its own pair's operations.
      Lanes2 s0 = {0.0, 0.0}, s1 = s0, s2 = s0, s3 = s0;
      for (int k = 0; k < cols; k++) {
        const double* col = c[k] + j;
        Lanes2 x = {c[k][i], c[k][i]}, a0, a1, a2, a3;
        memcpy(&a0, col, sizeof(a0));
        memcpy(&a1, col + 2, sizeof(a1));
        memcpy(&a2, col + 4, sizeof(a2));
        memcpy(&a3, col + 6, sizeof(a3));
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
        Lanes2 x = {c[k][i], c[k][i]}, a0;
        memcpy(&a0, c[k] + j, sizeof(a0));
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
        double d = c[k][i] - c[k][j];
        sum += d * d;
      }
      double d = sum > 0.0 ? std::sqrt(sum) : 0.0;
      row[j] = d;
      total += d;
    }
    if (R) EntropyRow(n, i, R, DR[i], &totalR);
  }
  *pairSum = total;
  if (R) *pairSumR = totalR;
  return true;
}

// No entropy is -999 (and the loops here are in use).
static bool EntropiesPlain(const PermWork* w, double** R) {
  if (permTestPlainLoops) return false;
  for (int i = 0; i < w->n; i++)
    if (R[i][0] == -999.0) return false;
  return true;
}

// D = |R[i] - R[j]| of the entropies, AbsValFunctionMV's values for one
// column (0 + |x| is |x|); the pairs i < j and the diagonal only, like
// Distances, and their sum in pair order in *pairSum (true). With -999,
// AbsValFunctionMV (false).
static bool EntropyDistances(PermWork* w, double** R, double** D, double* pairSum) {
  int n = w->n;
  if (!EntropiesPlain(w, R)) {
    AbsValFunctionMV(n, 1, R, D);
    return false;
  }
  double total = 0.0;
  for (int i = 0; i < n; i++) EntropyRow(n, i, R, D[i], &total);
  *pairSum = total;
  return true;
}

// c(A, B) of two data matrices with `rows` rows: Procrustes for opt_ro 2,
// RV for 3.
static double CoefRows(const PermWork* w, int rows, double** a, int colsA, double** b, int colsB) {
  if (w->in->opt_ro == 2) return ProcrustesCoeff(rows, colsA, colsB, a, b);
  if (w->in->opt_ro == 3) return RVcoeff(rows, colsA, colsB, a, b);
  return 0.0;
}

static double Rho(const PermWork* w, double** a, double** b) { return RhoResemblance(w->n, a, b); }

// Prepares matrix `which` (D) for the correlations that follow.
static void PrepareRho(PermWork* w, int which, double** D) {
  if (w->prepared) w->ok[which] = MatrixCorrPrepare(w->n, D, w->cen[which], &w->ss[which]);
}

// r[m] = rho(A, B[m]) for k <= 4 partners, where A is matrix `a` and B[m]
// matrix b[m]: one pass over the pairs for those prepared, MatrixCorr for
// the others. Either way the same bits.
static void RhoMany(PermWork* w, int a, double** A, int k, const int* b, double** const* B, double* r) {
  const double* partners[4];
  double ssB[4], out[4];
  int which[4], used = 0;
  for (int m = 0; m < k; m++) {
    if (w->prepared && w->ok[a] && w->ok[b[m]]) {
      partners[used] = w->cen[b[m]];
      ssB[used] = w->ss[b[m]];
      which[used++] = m;
    } else {
      r[m] = Rho(w, A, B[m]);
    }
  }
  if (used == 0) return;
  MatrixCorrPrepared(w->pairs, w->cen[a], w->ss[a], used, partners, ssB, out);
  for (int u = 0; u < used; u++) r[which[u]] = out[u];
}

// DT, DX and, when wanted and plain, DR of an arrangement in one pass on
// wide lanes, with the sums of their pairs in sum[0..2]; *drDone tells
// whether DR was made. False, with nothing made, when the lanes are off or
// the data need the general distances.
static bool WideDistances(PermWork* w, bool wantR, double* sum, bool* drDone) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n;
  *drDone = false;
  if (!permTestWideLanes || !w->colsT || w->code != 3 || !ByColumns(n, in->nTraits, w->T, w->colsT) ||
      !ByColumns(n, in->nTypes, w->X, w->colsX))
    return false;
  bool withR = wantR && EntropiesPlain(w, w->R);
  if (withR)
    for (int c = 0; c < n; c++) w->rowR[c] = w->R[c][0];
  LaneMatrix t = {in->nTraits, w->colsT[0], w->DT, 0.0}, x = {in->nTypes, w->colsX[0], w->DX, 0.0};
  LaneDistances(n, &t, &x, withR ? w->rowR : NULL, w->DR, &sum[2]);
  sum[0] = t.total;
  sum[1] = x.total;
  *drDone = withR;
  return true;
}

// The matrices of the statistics that follow, as the bits of `which`.
enum { MM_T = 1, MM_X = 2, MM_R = 4 };

// r = cross / sqrt(ssA ssB), 0 for a zero sum of squares: MatrixCorr's end.
static double RhoOf(double cross, double ssA, double ssB) {
  return (ssA == 0.0 || ssB == 0.0) ? 0.0 : cross / std::sqrt(ssA * ssB);
}

// Mantel's second pass over the pairs of DT, DX and DR with their means:
// t = tE, tY, tZ, xE, xT, xY, xZ, rE, rX, rT, sT, sX, sR, as LaneCrossSums
// gives them, two sums to a vector.
static void CrossSums(const PermWork* w, double mT, double mX, double mR, double* t) {
  // Two sums to a vector, each lane its own sum with the same operations
  // in the same order: (tE, tY), (tZ, xE), (xT, xY), (xZ, rE), (rX, rT),
  // (sT, sX); sR alone.
  const double* eyze = w->eyze;
  const Lanes2 mTX = {mT, mX};
  Lanes2 aTETY = {0.0, 0.0}, aTZXE = aTETY, aXTXY = aTETY, aXZRE = aTETY, aRXRT = aTETY, aSTSX = aTETY;
  double sR = 0.0;
  long p = 0;
  for (int i = 0; i < w->n; i++) {
    const double *dt = w->DT[i], *dx = w->DX[i], *dr = w->DR[i];
    for (int j = i + 1; j < w->n; j++, p++) {
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
  const double sums[13] = {aTETY[0], aTETY[1], aTZXE[0], aTZXE[1], aXTXY[0], aXTXY[1], aXZRE[0],
                           aXZRE[1], aRXRT[0], aRXRT[1], aSTSX[0], aSTSX[1], sR};
  memcpy(t, sums, sizeof(sums));
}

// Without phylogeny, when DE, DY and DZ are prepared and DT, DX and DR
// hold no -999: the ten rho values of an arrangement with MatrixCorr's two
// passes over the pairs shared by all: the sums of DT, DX and DR side by
// side, then their deviations from the means, sums of squares and the ten
// cross products, each sum in pair order. Nothing else reads the prepared
// forms of DT, DX and DR in an iteration, so they are not stored. `given`
// is true when `sum` already holds the three sums of pairs.
static bool FusedRho(PermWork* w, bool given, double* sum) {
  w->fused = false;
  if (!w->prepared || w->phyl || !w->ok[RHO_E] || !w->ok[RHO_Y] || !w->ok[RHO_Z]) return false;
  if (!given) {
    double** D[3] = {w->DT, w->DX, w->DR};
    bool missing[3];
    MatrixCorrPairSums(w->n, 3, D, sum, missing);
    if (missing[0] || missing[1] || missing[2]) return false;
  }
  long count = w->pairs;
  double mT = sum[0] / count, mX = sum[1] / count, mR = sum[2] / count;
  double t[13];
  if (permTestWideLanes)
    LaneCrossSums(w->n, w->DT, w->DX, w->DR, mT, mX, mR, w->eyze, t);
  else
    CrossSums(w, mT, mX, mR, t);
  double tE = t[0], tY = t[1], tZ = t[2], xE = t[3], xT = t[4], xY = t[5], xZ = t[6], rE = t[7];
  double rX = t[8], rT = t[9], sT = t[10], sX = t[11], sR = t[12];
  double* ss = w->ss;
  ss[RHO_T] = sT, ss[RHO_X] = sX, ss[RHO_R] = sR;
  w->ok[RHO_T] = w->ok[RHO_X] = w->ok[RHO_R] = true;
  double(*f)[4] = w->fusedRho;
  f[0][0] = RhoOf(tE, ss[RHO_T], ss[RHO_E]);
  f[0][1] = RhoOf(tY, ss[RHO_T], ss[RHO_Y]);
  f[0][2] = RhoOf(tZ, ss[RHO_T], ss[RHO_Z]);
  f[1][0] = RhoOf(xE, ss[RHO_X], ss[RHO_E]);
  f[1][1] = RhoOf(xT, ss[RHO_X], ss[RHO_T]);
  f[1][2] = RhoOf(xY, ss[RHO_X], ss[RHO_Y]);
  f[1][3] = RhoOf(xZ, ss[RHO_X], ss[RHO_Z]);
  f[2][0] = RhoOf(rE, ss[RHO_R], ss[RHO_E]);
  f[2][1] = RhoOf(rX, ss[RHO_R], ss[RHO_X]);
  f[2][2] = RhoOf(rT, ss[RHO_R], ss[RHO_T]);
  w->fused = true;
  return true;
}

// With Mantel, the resemblance matrices of T (MM_T), of X and P (MM_X) and
// of the Rao entropies (MM_R), prepared together: their sums run side by
// side instead of one after the other.
static void MantelMatrices(PermWork* w, int which, bool tryFused) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  if (!w->mantel) return;
  int n = w->n, k = 0, id[5];
  double** D[5];
  // The sums of pairs of DT, DX and DR, when their loops give them.
  double sum[3], spare;
  bool given = true, drDone = false;
  bool wide = (which & MM_T) && (which & MM_X) && WideDistances(w, which & MM_R, sum, &drDone);
  if (which & MM_T) {
    if (!wide) given &= Distances(w, in->nTraits, w->T, w->DT, 3, &sum[0]);
    D[k] = w->DT, id[k++] = RHO_T;
  }
  // DR along with DX when both are wanted and the entropies are plain.
  if (which & MM_X) {
    if (!wide) {
      bool withR = (which & MM_R) && EntropiesPlain(w, w->R);
      drDone = Distances(w, in->nTypes, w->X, w->DX, w->code, &sum[1], withR ? w->R : NULL, w->DR, &sum[2]);
      given &= drDone;
      drDone &= withR;
    }
    D[k] = w->DX, id[k++] = RHO_X;
    if (w->phyl) {
      Distances(w, in->nTaxa, w->P, w->DP, w->code, &spare);
      D[k] = w->DP, id[k++] = RHO_P;
    }
  }
  if (which & MM_R) {
    if (!drDone) given &= EntropyDistances(w, w->R, w->DR, &sum[2]);
    D[k] = w->DR, id[k++] = RHO_R;
    if (w->phyl) {
      EntropyDistances(w, w->Rp, w->DRp, &spare);
      D[k] = w->DRp, id[k++] = RHO_RP;
    }
  }
  given &= which == (MM_T | MM_X | MM_R);
  if (!w->prepared || k == 0 || (tryFused && FusedRho(w, given, sum))) return;
  double* centred[5];
  double ss[5];
  bool ok[5];
  for (int m = 0; m < k; m++) centred[m] = w->cen[id[m]];
  MatrixCorrPrepareMany(n, k, D, centred, ss, ok);
  for (int m = 0; m < k; m++) {
    w->ss[id[m]] = ss[m];
    w->ok[id[m]] = ok[m];
  }
}

// r(TE), r(YT), r(ZT) of the present T (with Mantel, on DT).
static void StatsT(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  if (w->mantel) {
    const int b[3] = {RHO_E, RHO_Y, RHO_Z};
    double** const B[3] = {in->DE, in->DY, in->DZ};
    double r[3];
    if (w->fused)
      memcpy(r, w->fusedRho[0], sizeof(r));
    else
      RhoMany(w, RHO_T, w->DT, 3, b, B, r);
    w->stat[PT_rTE] = r[0];
    w->stat[PT_rYT] = r[1];
    w->stat[PT_rZT] = r[2];
  } else {
    CoefNewArrangement(&w->coef);
    CoefStatsT(&w->coef, w->T, w->stat);
  }
}

// Statistics of X and P, given those of T: 1, 3, 8 to 11, and 14 to 22.
static void StatsXP(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  double* s = w->stat;
  if (w->mantel) {
    const int b[4] = {RHO_E, RHO_T, RHO_Y, RHO_Z};
    double** const B[4] = {in->DE, w->DT, in->DY, in->DZ};
    double r[4];
    if (w->fused)
      memcpy(r, w->fusedRho[1], sizeof(r));
    else
      RhoMany(w, RHO_X, w->DX, 4, b, B, r);
    s[PT_rXE] = r[0];
    w->rXT = r[1];
    s[PT_roXY] = r[2];
    s[PT_roXZ] = r[3];
    s[PT_rXE_T] = PartialCorrelation(s[PT_rXE], w->rXT, s[PT_rTE]);
    s[PT_roXY_T] = PartialCorrelation(s[PT_roXY], w->rXT, s[PT_rYT]);
    s[PT_roXZ_T] = PartialCorrelation(s[PT_roXZ], w->rXT, s[PT_rZT]);
    if (!w->phyl) return;
    const int bp[3] = {RHO_E, RHO_T, RHO_X};
    double** const BP[3] = {in->DE, w->DT, w->DX};
    RhoMany(w, RHO_P, w->DP, 3, bp, BP, r);
    s[PT_roPE] = r[0];
    s[PT_roPT] = r[1];
    s[PT_roPX] = r[2];
    s[PT_roPX_T] = PartialCorrelation(s[PT_roPX], s[PT_roPT], w->rXT);
    s[PT_roTE_P] = PartialCorrelation(s[PT_rTE], s[PT_roPT], s[PT_roPE]);
    s[PT_roXE_P] = PartialCorrelation(s[PT_rXE], s[PT_roPX], s[PT_roPE]);
    double roXT_P = PartialCorrelation(w->rXT, s[PT_roPX], s[PT_roPT]);
    s[PT_roXE_TP] = PartialCorrelation(s[PT_roXE_P], roXT_P, s[PT_roTE_P]);
    s[PT_roPE_T] = PartialCorrelation(s[PT_roPE], s[PT_roPT], s[PT_rTE]);
    s[PT_roPE_X] = PartialCorrelation(s[PT_roPE], s[PT_roPX], s[PT_rXE]);
    return;
  }
  CoefStatsXP(&w->coef, w->T, w->X, w->P, s, &w->rXT);
}

// Statistics of the Rao entropies, given those of T and X: 4, 5 and 13.
static void StatsR(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  double* s = w->stat;
  if (w->mantel) {
    const int b[3] = {RHO_E, RHO_X, RHO_T};
    double** const B[3] = {in->DE, w->DX, w->DT};
    double r[3];
    if (w->fused)
      memcpy(r, w->fusedRho[2], sizeof(r));
    else
      RhoMany(w, RHO_R, w->DR, 3, b, B, r);
    s[PT_rRE] = r[0];
    w->rXR = r[1];
    w->rTR = r[2];
    if (w->phyl) {
      RhoMany(w, RHO_RP, w->DRp, 1, b, B, r);
      s[PT_rFE] = r[0];
    }
    w->rXE_R = PartialCorrelation(s[PT_rXE], w->rXR, s[PT_rRE]);
    w->rTE_R = PartialCorrelation(s[PT_rTE], w->rTR, s[PT_rRE]);
    w->rXT_R = PartialCorrelation(w->rXT, w->rXR, w->rTR);
    s[PT_rXE_TR] = PartialCorrelation(w->rXE_R, w->rXT_R, w->rTE_R);
    return;
  }
  // c(X, R), c(T, R) and the partials made of them are printed only in the
  // intermediate file, with Procrustes and RV.
  bool detail = in->saveDetail && in->detailFile;
  CoefStatsR(&w->coef, w->T, w->R, w->Rp, s, detail ? &w->rXR : NULL, detail ? &w->rTR : NULL);
  if (!detail) return;
  w->rXE_R = PartialCorrelation(s[PT_rXE], w->rXR, s[PT_rRE]);
  w->rTE_R = PartialCorrelation(s[PT_rTE], w->rTR, s[PT_rRE]);
  w->rXT_R = PartialCorrelation(w->rXT, w->rXR, w->rTR);
}

// Rao entropies of every community on the OTU resemblances given.
static void RaoAll(PermWork* w, double** Sb, double** Sf) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  for (int c = 0; c < w->n; c++) {
    w->R[c][0] = RaoIndex_Weight(in->nOTUs, in->W[c], Sb, false, in->sqrtDissimTraits, in->weightOTUs,
                                 in->restrictRao);
    if (w->phyl)
      w->Rp[c][0] = RaoIndex_Weight(in->nOTUs, in->W[c], Sf, in->phylogenyIsDissimilarity,
                                    in->sqrtDissimPhyl, in->weightOTUs, in->restrictRao);
  }
}

// Adds 1 to the count of statistic k when the random value is at least as
// extreme as the observed one; partial statistics always in absolute value.
static void Count(PermWork* w, const double* stat, const double* observed, int k, bool partial) {
  bool absolute = partial || w->in->twoTailed;
  if (IsLargerThanOrEqual(stat[k], observed[k], 1, absolute)) w->count[k] += 1.0;
}

// ---------------------------------------------------------------------------
// Intermediate output

static void PrintMat(PermWork* w, int rows, int cols, double** m) {
  PrintMatrixTab(w->in->detailFile, rows, cols, m, PERM_DETAIL_DIGITS);
}

// A resemblance matrix holds its values in the upper triangle; the printer
// shows the lower one, so it prints the transpose.
static void PrintRese(PermWork* w, int n, double** m) {
  TransposeSqMatrix(n, m, w->printWork);
  PrintLowerHalfMatrixTab(w->in->detailFile, n, w->printWork, PERM_DETAIL_DIGITS);
}

static void PrintCol(PermWork* w, double** v) {
  for (int c = 0; c < w->n; c++) w->printWork[0][c] = v[c][0];
  PrintVectorTab(w->in->detailFile, w->n, w->printWork[0], PERM_DETAIL_DIGITS, (int*)NULL);
}

static void PrintList(PermWork* w, int n) { PrintVectorTab(w->in->detailFile, n, w->list, (int*)NULL); }

static void DetailPointA(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  FILE* f = in->detailFile;
  int n = w->n;
  fprintf(f, "\nPERMUTATION TEST FOR CORRELATIONS ro(XE), ro(TE) AND ro(RE), AND PARTIAL CORRELATIONS "
             "ro(XE.T), ro(XE.TR)\n");
  fprintf(f, "INTERMEDIATE RESULTS\n");
  fprintf(f, "\nObserved trait matrix (B):\n");
  PrintMat(w, in->nOTUs, in->nTraits, in->B);
  fprintf(f, "\nMatrix W (%d communities by %d OTUs):\n", n, in->nOTUs);
  PrintMat(w, n, in->nOTUs, in->W);
  fprintf(f, "\n\nMatrix T (comunity weighted means traits in %d communities by %d traits) computed after B "
             "(T = W x B):\n", n, in->nTraits);
  PrintMat(w, n, in->nTraits, w->T);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DT between %d communities (based on matrix T of traits by communities):\n",
            n);
    PrintRese(w, n, w->DT);
    fprintf(f, "\nResemblance matrix DE between %d communities (based on matrix E of ecological variables by "
               "communities):\n", n);
    PrintRese(w, n, in->DE);
    fprintf(f, "\nMatrix correlation between DT and DE:\t%g\n", w->stat[PT_rTE]);
  } else {
    fprintf(f, "\nMatrix E of communities by ecological variables):\n");
    PrintMat(w, n, in->nEnv, in->E);
    if (in->opt_ro == 3)
      fprintf(f, "\nRV coefficient between T and E:\t%g\n", w->stat[PT_rTE]);
    else
      fprintf(f, "\nProcrustes correlation between T and E:\t%g\n", w->stat[PT_rTE]);
  }
  fprintf(f, "\nObserved belonging matrix (U):\n");
  PrintMat(w, in->nOTUs, in->nTypes, in->U);
  fprintf(f, "\nObserved ro(XT)=\t%g\n", w->rXT);
  fprintf(f, "Observed ro(XE)=\t%g\n", w->stat[PT_rXE]);
  fprintf(f, "Observed ro(XE.T)=\t%g\n", w->stat[PT_rXE_T]);
}

static void DetailPointB(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  FILE* f = in->detailFile;
  int n = w->n;
  fprintf(f, "\nObserved similarity matrix (Sb) between OTUs, based on the traits:\n:");
  PrintMat(w, in->nOTUs, in->nOTUs, in->Sb);
  fprintf(f, "\n\nRao entropy vector R (%d communities) computed after Sb:\n", n);
  PrintCol(w, w->R);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DR comparing communities based on their Rao entropy: \n");
    PrintRese(w, n, w->DR);
  }
  if (!w->phyl) return;
  if (in->phylogenyIsDissimilarity)
    fprintf(f, "\nObserved dissimilarity matrix (Sf) in the range 0-1 between OTUs, based on the phylogeny:\n:");
  else
    fprintf(f, "\nObserved similarity matrix (Sf) in the range 0-1 between OTUs, based on the phylogeny:\n:");
  PrintMat(w, in->nOTUs, in->nOTUs, in->Sf);
  fprintf(f, "\n\nRao entropy vector R (%d communities) computed after Sf:\n", n);
  PrintCol(w, w->Rp);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DRaoPhyl comparing communities after based on their Rao entropy using "
               "phylogenetic distances: \n");
    PrintRese(w, n, w->DRp);
  }
}

static void DetailPointC(PermWork* w, int iter) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  FILE* f = in->detailFile;
  int n = w->n;
  if (w->taxa) {
    fprintf(f, "\n\nITERATION\t%d\n", iter);
    fprintf(f, "Permuted trait matrix (Brnd):\n");
    PrintMat(w, in->nOTUs, in->nTraits, w->Brnd);
    fprintf(f, "\nOrder of original OTUs in permuted traits matrix Brnd:\t");
    PrintList(w, in->nOTUs);
    fprintf(f, "\n\nMatrix Trnd (%d communities by %d traits) generated after Brnd (Trnd = W x Brnd):\n", n,
            in->nTraits);
  } else {
    fprintf(f, "\nOrder of original communities in permuted traits matrix Trnd:\t");
    PrintList(w, n);
    fprintf(f, "\n\nMatrix Trnd (%d communities by %d traits) permuted by site shuffle:\n", n, in->nTraits);
  }
  PrintMat(w, n, in->nTraits, w->T);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DT between %d communities:\n", n);
    PrintRese(w, n, w->DT);
  }
  fprintf(f, "\nIteration %d\tRandom ro(TE) =\t%g\tCummulative frequency for ro(TE)=%g\n", iter,
          w->stat[PT_rTE], w->count[PT_rTE]);
}

static void DetailPointD(PermWork* w, int iter) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  FILE* f = in->detailFile;
  int n = w->n;
  const double* s = w->stat;
  const double* k = w->count;
  fprintf(f, "\n\nITERATION\t%d\n", iter);
  if (w->taxa) {
    fprintf(f, "Permuted belonging matrix (Urnd) based on traits:\n");
    PrintMat(w, in->nOTUs, in->nTypes, w->Urnd);
    fprintf(f, "\nOrder of original OTUs in permuted belongin matrix Urnd:\t");
    PrintList(w, in->nOTUs);
    fprintf(f, "\n\nMatrix Xrnd (%d communities by %d PFTs) generated after Urnd (Xrnd = W x Urnd):\n", n,
            in->nTypes);
  } else {
    fprintf(f, "\nOrder of original communities in permuted matrix Xrnd:\t");
    PrintList(w, n);
    fprintf(f, "\n\nMatrix Xrnd (%d communities by %d PFTs) generated by site shuffle:\n", n, in->nTypes);
  }
  PrintMat(w, n, in->nTypes, w->X);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DX between %d communities:\n", n);
    PrintRese(w, n, w->DX);
  }
  fprintf(f, "\nIteration %d\tRandom ro(XT) =\t%g\tRandom ro(XE) =\t%g\tRandom ro(XE.T) =\t%g\tCummulative "
             "frequency for ro(XE)=%g\tCummulative frequency for ro(XE.T)=%g\n",
          iter, w->rXT, s[PT_rXE], s[PT_rXE_T], k[PT_rXE], k[PT_rXE_T]);
  if (!w->phyl) return;
  if (w->taxa) {
    fprintf(f, "Permuted belonging matrix (Qrnd) based on phylogeny:\n");
    PrintMat(w, in->nOTUs, in->nTaxa, w->Qrnd);
    fprintf(f, "\nOrder of original OTUs in permuted belongin matrix Qrnd:\t");
    PrintList(w, in->nOTUs);
    fprintf(f, "\n\nMatrix Prnd (%d communities by %d taxa) generated after Qrnd (Prnd = W x Qrnd):\n", n,
            in->nTaxa);
  } else {
    fprintf(f, "\n\nITERATION\t%d\n", iter);
    fprintf(f, "\nOrder of original communities in permuted matrix Prnd:\t");
    PrintList(w, n);
    fprintf(f, "\n\nMatrix Prnd (%d communities by %d taxa) generated site shuffle:\n", n, in->nTaxa);
  }
  PrintMat(w, n, in->nTaxa, w->P);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DP between %d communities:\n", n);
    PrintRese(w, n, w->DP);
  }
  fprintf(f, "\nIteration %d\tRandom values and cummulative frequencies for the following:\n ro(PE) =\t%g\t%g\n"
             "Random ro(PT) =\t%g\t%g\nRandom ro(PX) =\t%g\t%g\nRandom ro(PX.T) =\t%g\t%g\nRandom ro(TE.P) =\t%g\t"
             "%g\nRandom ro(XE.P) =\t%g\t%g\nRandom ro(XE.TP) =\t%g\t%g\nRandom ro(PE.T) =\t%g\t%g\nRandom "
             "ro(PE.X) =\t%g\t%g\n",
          iter, s[PT_roPE], k[PT_roPE], s[PT_roPT], k[PT_roPT], s[PT_roPX], k[PT_roPX], s[PT_roPX_T],
          k[PT_roPX_T], s[PT_roTE_P], k[PT_roTE_P], s[PT_roXE_P], k[PT_roXE_P], s[PT_roXE_TP], k[PT_roXE_TP],
          s[PT_roPE_T], k[PT_roPE_T], s[PT_roPE_X], k[PT_roPE_X]);
}

static void DetailPointE(PermWork* w, int iter) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  FILE* f = in->detailFile;
  int n = w->n;
  const double* s = w->stat;
  fprintf(f, "\n\nITERATION\t%d\n", iter);
  if (w->taxa) {
    fprintf(f, "Permuted similarity matrix (Srnd):\n");
    PrintMat(w, in->nOTUs, in->nOTUs, w->Srnd);
    fprintf(f, "\nOrder of original OTUs in permuted similarity matrix Srnd:\t");
    PrintList(w, in->nOTUs);
    fprintf(f, "\n\nRao entropy vector Rrnd (%d communities) generated after Srnd:\n", n);
  } else {
    fprintf(f, "\nOrder of original OTUs in permuted Rao diversity vector:\t");
    PrintList(w, n);
    fprintf(f, "\n\nRao entropy vector Rrnd (%d communities) generated by site shuffle:\n", n);
  }
  PrintCol(w, w->R);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DR between %d communities:\n", n);
    PrintRese(w, n, w->DR);
  }
  fprintf(f, "\nIteration %d\tRandom ro(RE) =\t%g\tRandom ro(XR) =\t%g\tRandom ro(TR) =\t%g\tRandom ro(XE.R) "
             "=\t%g\tRandom ro(TE.R) =\t%g\tRandom ro(XT.R) =\t%g\tRandom ro(XE.TR) =\t%g\tCummulative frequency "
             "for ro(RE)=%g\tCummulative frequency for ro(XE.TR)=%g\n",
          iter, s[PT_rRE], w->rXR, w->rTR, w->rXE_R, w->rTE_R, w->rXT_R, s[PT_rXE_TR], w->count[PT_rRE],
          w->count[PT_rXE_TR]);
  if (!w->phyl) return;
  if (w->taxa) {
    fprintf(f, "Permuted phylogenetic similarity matrix (Sf_rnd):\n");
    PrintMat(w, in->nOTUs, in->nOTUs, w->Sfrnd);
    fprintf(f, "\nOrder of original OTUs in permuted similarity matrix Sf_rnd:\t");
    PrintList(w, in->nOTUs);
    fprintf(f, "\n\nRao entropy vector Rrnd (%d communities) generated after Sf_rnd:\n", n);
  } else {
    fprintf(f, "\nOrder of original communities in permuted phylogenetic diversity vector:\t");
    PrintList(w, n);
    fprintf(f, "\n\nRao entropy vector Rrnd (%d communities) generated by site shuffle:\n", n);
  }
  PrintCol(w, w->Rp);
  if (w->mantel) {
    fprintf(f, "\nResemblance matrix DR between %d communities:\n", n);
    PrintRese(w, n, w->DRp);
  }
  fprintf(f, "\nIteration %d\tRandom ro(FE) =\t%g\tCummulative frequency for ro(FE)=%g\n", iter, s[PT_rFE],
          w->count[PT_rFE]);
}

// ---------------------------------------------------------------------------
// Setup and release

static double** PointerRows(int n) { return (double**)dim1D(sizeof(double*), n > 0 ? n : 1); }

int WeightedOTUListLength(int nOTUs, int nCommunities, double** W) {
  int L = 0;
  for (int c = 0; c < nCommunities; c++)
    for (int i = 0; i < nOTUs; i++)
      if (W[c][i] > 0.0) L++;
  if (L == 0) return 0;
  int passes = (nOTUs + L - 1) / L;
  return L * (passes > 1 ? passes : 1);
}

void FillWeightedOTUList(int nOTUs, int nCommunities, double** W, int* list, int length) {
  int k = 0;
  while (k < length)
    for (int c = 0; c < nCommunities; c++)
      for (int i = 0; i < nOTUs; i++)
        if (W[c][i] > 0.0 && k < length) list[k++] = i + 1;
}

// cols columns of n values in one block, column k at row pointer k.
static double** ColumnBlock(int cols, int n) {
  if (cols < 1) cols = 1;
  double** c = PointerRows(cols);
  c[0] = (double*)dim1D(sizeof(double) * (unsigned long)cols, n);
  for (int k = 1; k < cols; k++) c[k] = c[0] + (long)k * n;
  return c;
}

static void AllocWork(PermWork* w, PermTest_FunctionalPhyl_Correl_Input* in) {
  memset(w, 0, sizeof(*w));
  w->in = in;
  w->n = in->nCommunities;
  w->mantel = in->opt_ro == 1;
  w->taxa = in->taxaSiteShuffle != 's' && in->taxaSiteShuffle != 'S';
  w->phyl = in->includePhylogeny;
  w->code = TranslateReseOpt_KOLVEN_DARVOL(in->rese_opt);
  int n = w->n, nO = in->nOTUs;
  int weightedLength = (w->taxa && in->weightedNullModel) ? WeightedOTUListLength(nO, n, in->W) : 0;
  if (w->taxa) {
    w->listLength = weightedLength > 0 ? weightedLength : nO;
    w->listSize = w->listLength > nO ? w->listLength : (nO > 0 ? nO : 1);
    w->list = dim1Dint(w->listSize);
    if (weightedLength > 0)
      FillWeightedOTUList(nO, n, in->W, w->list, weightedLength);
    else
      for (int i = 0; i < nO; i++) w->list[i] = i + 1;
  } else {
    w->listLength = n;
    w->listSize = n > 0 ? n : 1;
    w->list = dim1Dint(w->listSize);
    for (int c = 0; c < n; c++) w->list[c] = c + 1;
  }
  w->T = dim2Double(n, in->nTraits);
  w->X = dim2Double(n, in->nTypes);
  w->R = dim2Double(n, 1);
  w->Tobs = dim2Double(n, in->nTraits);
  w->Xobs = dim2Double(n, in->nTypes);
  w->Robs = dim2Double(n, 1);
  if (w->phyl) {
    w->P = dim2Double(n, in->nTaxa);
    w->Rp = dim2Double(n, 1);
    w->Pobs = dim2Double(n, in->nTaxa);
    w->Rpobs = dim2Double(n, 1);
    w->Bnorm = dim2Double(nO, in->nTraits);
  }
  if (w->taxa) {
    w->Brnd = PointerRows(nO);
    w->Urnd = PointerRows(nO);
    w->Srnd = dim2Double(nO, nO);
    if (w->phyl) {
      w->Qrnd = PointerRows(nO);
      w->Sfrnd = dim2Double(nO, nO);
      w->scoresRnd = PointerRows(nO);
    }
  }
  if (w->mantel) {
    w->DT = dim2Double(n, n);
    w->DX = dim2Double(n, n);
    w->DR = dim2Double(n, n);
    if (w->phyl) {
      w->DP = dim2Double(n, n);
      w->DRp = dim2Double(n, n);
    }
  }
  w->prepared = w->mantel && n >= 3 && n <= 46340 && !permTestPlainLoops;
  if (w->mantel && !permTestPlainLoops && n > 0) {
    int cols = in->nTraits > in->nTypes ? in->nTraits : in->nTypes;
    if (w->phyl && in->nTaxa > cols) cols = in->nTaxa;
    w->colsT = ColumnBlock(cols, n);
    w->colsX = ColumnBlock(in->nTypes, n);
    w->rowR = dim1Double(n);
  }
  if (w->prepared) {
    w->pairs = (long)n * (n - 1) / 2;
    for (int k = 0; k < N_RHO_MATRICES; k++) w->cen[k] = dim1Double(w->pairs);
    PrepareRho(w, RHO_E, in->DE);
    PrepareRho(w, RHO_Y, in->DY);
    PrepareRho(w, RHO_Z, in->DZ);
    // Their pairs side by side, as the products of an iteration read them.
    w->eyze = dim1Double(4 * w->pairs);
    for (long p = 0; p < w->pairs; p++) {
      w->eyze[4 * p] = w->eyze[4 * p + 3] = w->cen[RHO_E][p];
      w->eyze[4 * p + 1] = w->cen[RHO_Y][p];
      w->eyze[4 * p + 2] = w->cen[RHO_Z][p];
    }
  }
  if (in->saveDetail && in->detailFile) {
    int side = n > nO ? n : nO;
    w->printWork = dim2Double(side, side > 0 ? side : 1);
  }
  // Every observed statistic; the iterations may leave some out.
  if (!w->mantel) CoefWorkAlloc(&w->coef, in, true);
}

static void FreeWork(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  free1D(w->list);
  free2D(w->T, n);
  free2D(w->X, n);
  free2D(w->R, n);
  free2D(w->Tobs, n);
  free2D(w->Xobs, n);
  free2D(w->Robs, n);
  if (w->phyl) {
    free2D(w->P, n);
    free2D(w->Rp, n);
    free2D(w->Pobs, n);
    free2D(w->Rpobs, n);
    free2D(w->Bnorm, nO);
  }
  if (w->taxa) {
    free1D(w->Brnd);
    free1D(w->Urnd);
    free2D(w->Srnd, nO);
    if (w->phyl) {
      free1D(w->Qrnd);
      free2D(w->Sfrnd, nO);
      free1D(w->scoresRnd);
    }
  }
  if (w->mantel) {
    free2D(w->DT, n);
    free2D(w->DX, n);
    free2D(w->DR, n);
    if (w->phyl) {
      free2D(w->DP, n);
      free2D(w->DRp, n);
    }
  }
  if (w->prepared) {
    for (int k = 0; k < N_RHO_MATRICES; k++) free1D(w->cen[k]);
    free1D(w->eyze);
  }
  if (w->colsT) {
    free1D(w->colsT[0]);
    free1D(w->colsT);
    free1D(w->colsX[0]);
    free1D(w->colsX);
    free1D(w->rowR);
  }
  if (w->printWork) {
    int side = n > nO ? n : nO;
    free2D(w->printWork, side);
  }
  if (!w->mantel) CoefWorkFree(&w->coef);
}

// ---------------------------------------------------------------------------
// Occurrences

static bool AbundancesUsable(int rows, int cols, double** W) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) {
      double x = W[i][j];
      if (x != -999.0 && !(std::isfinite(x) && x >= 0.0)) return false;
    }
  return true;
}

// Finite values (and, with missingAllowed, -999): a zero factor then gives 0.
static bool FiniteMatrix(int rows, int cols, double** m, bool missingAllowed) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) {
      double x = m[i][j];
      if (x == -999.0 ? !missingAllowed : !std::isfinite(x)) return false;
    }
  return true;
}

// The distance d that the Rao entropy takes from each entry s of S: 1 - s,
// sqrt(1 - s), s or sqrt(s) by the flags, the same expressions, so the same
// bits, as in the entropy itself; -999 stays -999. Computed once here, the
// iterations hand these distances over as dissimilarities without a root.
// False, and the iterations keep the plain path, when some distance isn't
// finite (a zero abundance would then not add an exact 0) or would read as
// the missing value.
static bool RaoDistances(int n, double** S, bool isDissimilarity, bool sqrtDissim, double** D) {
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) {
      double x = S[i][j];
      if (x == -999.0) {
        D[i][j] = x;
        continue;
      }
      double d = isDissimilarity ? (sqrtDissim ? sqrt(x) : x) : (sqrtDissim ? sqrt(1.0 - x) : 1.0 - x);
      if (!std::isfinite(d) || d == -999.0) return false;
      D[i][j] = d;
    }
  return true;
}

// Every entry finite, not -999, and equal to its mirror image.
static bool SymmetricDistances(int n, double** D) {
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++)
      if (D[i][j] == -999.0 || !std::isfinite(D[i][j]) || D[i][j] != D[j][i]) return false;
  return true;
}

// The lanes of the Rao entropies, when every term is a plain product: no
// -999 among the distances or abundances, no weight other than 1, finite
// totals. A padded term is then an exact zero, and a sum that starts at +0
// is never -0, so adding it changes no bit of the entropy.
static void SetupRaoLanes(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  if (!SymmetricDistances(nO, w->Db) || (w->phyl && !SymmetricDistances(nO, w->Df))) return;
  int total = w->occStart[n];
  for (int k = 0; k < total; k++)
    if (w->occW[k] == -999.0 || (in->weightOTUs && w->occWeight[k] != 1)) return;
  for (int c = 0; c < n; c++) {
    double sum = 0.0;
    for (int k = w->occStart[c]; k < w->occStart[c + 1]; k++) sum += w->occW[k];
    if (!std::isfinite(sum)) return;
  }
  // Communities by decreasing occurrences (insertion sort: once per test).
  int* order = dim1Dint(n > 0 ? n : 1);
  for (int c = 0; c < n; c++) {
    int m = w->occStart[c + 1] - w->occStart[c], k = c;
    while (k > 0 && w->occStart[order[k - 1] + 1] - w->occStart[order[k - 1]] < m) {
      order[k] = order[k - 1];
      k--;
    }
    order[k] = c;
  }
  w->nGroups = (n + RAO_LANES - 1) / RAO_LANES;
  w->laneStart = dim1Dint(w->nGroups + 1);
  w->laneComm = dim1Dint(w->nGroups * RAO_LANES > 0 ? w->nGroups * RAO_LANES : 1);
  int size = 0;
  for (int g = 0; g < w->nGroups; g++) {
    int c = order[g * RAO_LANES];
    w->laneStart[g] = size;
    size += RAO_LANES * (w->occStart[c + 1] - w->occStart[c]);
  }
  w->laneStart[w->nGroups] = size;
  w->laneQ = dim1Double(size > 0 ? size : 1);
  w->laneOTU = dim1Dint(size > 0 ? size : 1);
  for (int g = 0; g < w->nGroups; g++) {
    for (int L = 0; L < RAO_LANES; L++) {
      int slot = g * RAO_LANES + L;
      int c = slot < n ? order[slot] : -1;
      w->laneComm[slot] = c;
      if (c < 0) continue;
      int s = w->occStart[c], m = w->occStart[c + 1] - s;
      // The entropy's own total and shares, in its order.
      double sum = 0.0;
      for (int x = 0; x < m; x++) sum += w->occW[s + x];
      for (int x = 0; x < m; x++) {
        w->laneQ[w->laneStart[g] + RAO_LANES * x + L] = w->occW[s + x] / sum;
        w->laneOTU[w->laneStart[g] + RAO_LANES * x + L] = w->occOTU[s + x];
      }
    }
  }
  free1D(order);
  int side = RAO_LANES * (w->maxOcc > 0 ? w->maxOcc : 1);
  w->laneRow = PointerRows(side);
  w->laneCol = dim1Dint(side);
  if (nO <= 65536) w->laneCol16 = (uint16_t*)dim1D(sizeof(uint16_t), side);
  w->raoLanes = true;
}

// B and U side by side for WideProducts.
static void SetupBU(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int nO = in->nOTUs, nT = in->nTraits, nY = in->nTypes;
  w->colsBU = (nT + nY + 3) / 4 * 4;
  w->BU = dim2Double(nO, w->colsBU);
  w->rowTX = dim1Double(w->colsBU);
  for (int i = 0; i < nO; i++) {
    memcpy(w->BU[i], in->B[i], sizeof(double) * nT);
    memcpy(w->BU[i] + nT, in->U[i], sizeof(double) * nY);
  }
}

// Lists the occurrences of every community and decides which sums may skip
// the zero abundances; Sb and Sf are read after the observed entropies have
// made them symmetric.
static void SetupOccurrences(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  if (!w->taxa || permTestPlainLoops || !AbundancesUsable(n, nO, in->W)) return;
  w->compactT = FiniteMatrix(nO, in->nTraits, in->B, true);
  w->compactXP = FiniteMatrix(nO, in->nTypes, in->U, false) &&
                 (!w->phyl || FiniteMatrix(nO, in->nTaxa, in->Q, false));
  w->Db = dim2Double(nO, nO);
  if (w->phyl) w->Df = dim2Double(nO, nO);
  w->compactR = RaoDistances(nO, in->Sb, false, in->sqrtDissimTraits, w->Db) &&
                (!w->phyl || RaoDistances(nO, in->Sf, in->phylogenyIsDissimilarity, in->sqrtDissimPhyl, w->Df));
  if (!w->compactT && !w->compactXP && !w->compactR) return;
  int total = 0;
  for (int c = 0; c < n; c++)
    for (int i = 0; i < nO; i++)
      if (in->W[c][i] != 0.0) total++;
  w->occStart = dim1Dint(n + 1);
  w->occOTU = dim1Dint(total > 0 ? total : 1);
  w->occW = dim1Double(total > 0 ? total : 1);
  w->occWeight = dim1Dint(total > 0 ? total : 1);
  int k = 0;
  for (int c = 0; c < n; c++) {
    w->occStart[c] = k;
    for (int i = 0; i < nO; i++)
      if (in->W[c][i] != 0.0) {
        w->occOTU[k] = i;
        w->occW[k] = in->W[c][i];
        w->occWeight[k] = in->weightOTUs ? in->weightOTUs[i] : 1;
        k++;
      }
    if (k - w->occStart[c] > w->maxOcc) w->maxOcc = k - w->occStart[c];
  }
  w->occStart[n] = k;
  w->plainTerms = true;
  for (int x = 0; x < k; x++)
    if (w->occW[x] == -999.0 || (in->weightOTUs && w->occWeight[x] != 1)) w->plainTerms = false;
  w->plainB = FiniteMatrix(nO, in->nTraits, in->B, false);
  if (permTestWideLanes && w->compactT && w->compactXP && w->plainTerms && w->plainB) SetupBU(w);
  w->rowsSub = PointerRows(nO);
  if (w->compactR) w->Ssub = dim2Double(w->maxOcc > 0 ? w->maxOcc : 1, w->maxOcc > 0 ? w->maxOcc : 1);
  if (w->compactR) SetupRaoLanes(w);
}

static void FreeOccurrences(PermWork* w) {
  int nO = w->in->nOTUs;
  if (w->Db) free2D(w->Db, nO);
  if (w->Df) free2D(w->Df, nO);
  if (!w->occStart) return;
  free1D(w->occStart);
  free1D(w->occOTU);
  free1D(w->occW);
  free1D(w->occWeight);
  free1D(w->rowsSub);
  if (w->BU) {
    free2D(w->BU, nO);
    free1D(w->rowTX);
  }
  if (w->Ssub) free2D(w->Ssub, w->maxOcc > 0 ? w->maxOcc : 1);
  if (!w->raoLanes) return;
  free1D(w->laneStart);
  free1D(w->laneComm);
  free1D(w->laneQ);
  free1D(w->laneOTU);
  free1D(w->laneRow);
  free1D(w->laneCol);
  if (w->laneCol16) free1D(w->laneCol16);
}

// A thread's own work: what an iteration writes is allocated anew, at the
// sizes of w's; what it only reads (the inputs, the observed matrices, the
// occurrences, the lanes' shares, the prepared E, Y and Z) is shared.
static void CloneWork(PermWork* t, const PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  *t = *w;
  t->list = NULL;
  t->printWork = NULL;
  t->T = dim2Double(n, in->nTraits);
  t->X = dim2Double(n, in->nTypes);
  t->R = dim2Double(n, 1);
  if (w->P) t->P = dim2Double(n, in->nTaxa);
  if (w->Rp) t->Rp = dim2Double(n, 1);
  if (w->Brnd) t->Brnd = PointerRows(nO);
  if (w->Urnd) t->Urnd = PointerRows(nO);
  if (w->Qrnd) t->Qrnd = PointerRows(nO);
  if (w->scoresRnd) t->scoresRnd = PointerRows(nO);
  if (w->Srnd) t->Srnd = dim2Double(nO, nO);
  if (w->Sfrnd) t->Sfrnd = dim2Double(nO, nO);
  double*** square[] = {&t->DT, &t->DX, &t->DP, &t->DR, &t->DRp};
  for (double*** d : square)
    if (*d) *d = dim2Double(n, n);
  if (w->colsT) {
    int cols = in->nTraits > in->nTypes ? in->nTraits : in->nTypes;
    if (w->phyl && in->nTaxa > cols) cols = in->nTaxa;
    t->colsT = ColumnBlock(cols, n);
    t->colsX = ColumnBlock(in->nTypes, n);
    t->rowR = dim1Double(n);
  }
  if (w->prepared)
    for (int k = RHO_T; k < N_RHO_MATRICES; k++) t->cen[k] = dim1Double(w->pairs);
  if (w->rowsSub) t->rowsSub = PointerRows(nO);
  if (w->rowTX) t->rowTX = dim1Double(w->colsBU);
  if (w->Ssub) t->Ssub = dim2Double(w->maxOcc > 0 ? w->maxOcc : 1, w->maxOcc > 0 ? w->maxOcc : 1);
  if (w->raoLanes) {
    int side = RAO_LANES * (w->maxOcc > 0 ? w->maxOcc : 1);
    t->laneRow = PointerRows(side);
    t->laneCol = dim1Dint(side);
    if (w->laneCol16) t->laneCol16 = (uint16_t*)dim1D(sizeof(uint16_t), side);
  }
  if (!w->mantel) CoefWorkAlloc(&t->coef, in, w->coef.smoothed);
}

static void FreeClone(PermWork* t) {
  int n = t->n, nO = t->in->nOTUs;
  free2D(t->T, n);
  free2D(t->X, n);
  free2D(t->R, n);
  if (t->P) free2D(t->P, n);
  if (t->Rp) free2D(t->Rp, n);
  void* pointers[] = {t->Brnd, t->Urnd, t->Qrnd, t->scoresRnd, t->rowR, t->rowsSub, t->rowTX, t->laneRow,
                      t->laneCol, t->laneCol16};
  for (void* p : pointers)
    if (p) free1D(p);
  if (t->Srnd) free2D(t->Srnd, nO);
  if (t->Sfrnd) free2D(t->Sfrnd, nO);
  double** square[] = {t->DT, t->DX, t->DP, t->DR, t->DRp};
  for (double** d : square)
    if (d) free2D(d, n);
  if (t->colsT) {
    free1D(t->colsT[0]);
    free1D(t->colsT);
    free1D(t->colsX[0]);
    free1D(t->colsX);
  }
  if (t->prepared)
    for (int k = RHO_T; k < N_RHO_MATRICES; k++) free1D(t->cen[k]);
  if (t->Ssub) free2D(t->Ssub, t->maxOcc > 0 ? t->maxOcc : 1);
  if (!t->mantel) CoefWorkFree(&t->coef);
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

// out[c] = W[c] times the permuted rows of `from`, over the occurrences of c.
// With plain terms (no -999 on either side, every weight 1) each entry is
// the product's sum of abundance times value, term by term in the same
// order, each column's sum kept in a register, two columns to a vector.
static void OccurrenceProducts(PermWork* w, double** from, int cols, double** out, int* mask, bool plain) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  if (plain) {
    for (int c = 0; c < w->n; c++) {
      int s = w->occStart[c], m = w->occStart[c + 1] - s;
      for (int x = 0; x < m; x++) w->rowsSub[x] = from[w->list[w->occOTU[s + x]] - 1];
      const double* a = w->occW + s;
      double* o = out[c];
      int k = 0;
      for (; cols - k >= 8; k += 8) ProductColumns<4>(m, a, w->rowsSub, k, o);
      if (cols - k >= 6) ProductColumns<3>(m, a, w->rowsSub, k, o), k += 6;
      else if (cols - k >= 4) ProductColumns<2>(m, a, w->rowsSub, k, o), k += 4;
      else if (cols - k >= 2) ProductColumns<1>(m, a, w->rowsSub, k, o), k += 2;
      if (k < cols) {
        double sum = 0.0;
        for (int x = 0; x < m; x++) sum += a[x] * w->rowsSub[x][k];
        o[k] = sum;
      }
      if (mask)
        for (int j = 0; j < cols; j++)
          if (mask[j] != 1) o[j] = 0.0;
    }
    return;
  }
  for (int c = 0; c < w->n; c++) {
    int s = w->occStart[c], m = w->occStart[c + 1] - s;
    for (int x = 0; x < m; x++) w->rowsSub[x] = from[w->list[w->occOTU[s + x]] - 1];
    double* abundances = w->occW + s;
    int* weights = in->weightOTUs ? w->occWeight + s : NULL;
    if (mask)
      MatrixProdSelectMV_Weight(1, m, m, cols, &abundances, w->rowsSub, &out[c], mask, weights);
    else
      MatrixProdMV_Weight(1, m, m, cols, &abundances, w->rowsSub, &out[c], weights);
  }
}

// The columns of the four lanes at position j: from ints, or from four
// 16-bit columns read as one 64-bit word (fewer loads in the hottest loop).
static inline void LaneColumns(const int* c, int j, int* out) {
  for (int L = 0; L < RAO_LANES; L++) out[L] = c[RAO_LANES * j + L];
}
static inline void LaneColumns(const uint16_t* c, int j, int* out) {
  uint64_t v;
  memcpy(&v, c + RAO_LANES * j, sizeof(v));
  for (int L = 0; L < RAO_LANES; L++) out[L] = (int)((v >> (16 * L)) & 0xffff);
}

// The four lanes' sums over i, then j, of q_i (q_j d_ij), two lanes to a
// vector: each lane's products and sum as one at a time.
template <typename Column>
static void LaneSums(int M, const double* q, double* const* rows, const Column* c, double* sums) {
  Lanes2 s01 = {0.0, 0.0}, s23 = s01;
  for (int i = 0; i < M; i++) {
    const double *r0 = rows[4 * i], *r1 = rows[4 * i + 1], *r2 = rows[4 * i + 2], *r3 = rows[4 * i + 3];
    Lanes2 p01, p23;
    memcpy(&p01, q + 4 * i, sizeof(p01));
    memcpy(&p23, q + 4 * i + 2, sizeof(p23));
    for (int j = 0; j < M; j++) {
      int cj[RAO_LANES];
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

// RaoIndex_Weight of the communities of group g, lane by lane: for each the
// sum over i, then j, of q_i (q_j d_ij) with q the shares, the entropy's
// terms in its order (the distances are symmetric, so the mirrored lower
// triangle it reads is the same).
static void LaneRao(PermWork* w, int g, double** D, double** out) {
  const int* list = w->list;
  int base = w->laneStart[g], M = (w->laneStart[g + 1] - base) / RAO_LANES;
  for (int k = 0; k < RAO_LANES * M; k++) {
    int o = list[w->laneOTU[base + k]] - 1;
    if (w->laneCol16)
      w->laneCol16[k] = (uint16_t)o;
    else
      w->laneCol[k] = o;
    w->laneRow[k] = D[o];
  }
  double sums[RAO_LANES];
  if (w->laneCol16)
    LaneSums(M, w->laneQ + base, w->laneRow, w->laneCol16, sums);
  else
    LaneSums(M, w->laneQ + base, w->laneRow, w->laneCol, sums);
  for (int L = 0; L < RAO_LANES; L++)
    if (w->laneComm[g * RAO_LANES + L] >= 0) out[w->laneComm[g * RAO_LANES + L]][0] = sums[L];
}

// Rao entropy of every community on the permuted distances D, over its
// occurrences.
static void OccurrenceRao(PermWork* w, double** D, double** out) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  if (w->raoLanes) {
    for (int g = 0; g < w->nGroups; g++) LaneRao(w, g, D, out);
    return;
  }
  const int* list = w->list;
  for (int c = 0; c < w->n; c++) {
    int s = w->occStart[c], m = w->occStart[c + 1] - s;
    for (int x = 0; x < m; x++) {
      const double* row = D[list[w->occOTU[s + x]] - 1];
      double* to = w->Ssub[x];
      for (int y = x; y < m; y++) to[y] = row[list[w->occOTU[s + y]] - 1];
    }
    int* weights = in->weightOTUs ? w->occWeight + s : NULL;
    out[c][0] = RaoIndex_Weight(m, w->occW + s, w->Ssub, true, false, weights, in->restrictRao);
  }
}

// ---------------------------------------------------------------------------
// The two phases

static void ObservedPhase(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  MatrixProdSelectMV_Weight(n, nO, nO, in->nTraits, in->W, in->B, w->T, in->traitMask, in->weightOTUs);
  if (in->keepObserved && in->Tout) CopyMatrix(n, in->nTraits, w->T, in->Tout);
  NormalizeCols(n, in->nTraits, w->T, w->T);
  MantelMatrices(w, MM_T, false);
  StatsT(w);
  CopyMatrix(n, in->nTraits, w->T, w->Tobs);
  if (in->keepObserved && in->Tout) CopyMatrix(n, in->nTraits, w->T, in->Tout);
  MatrixProdMV_Weight(n, nO, nO, in->nTypes, in->W, in->U, w->X, in->weightOTUs);
  CopyMatrix(n, in->nTypes, w->X, w->Xobs);
  if (in->keepObserved && in->Xout) CopyMatrix(n, in->nTypes, w->X, in->Xout);
  if (w->phyl) {
    MatrixProdMV_Weight(n, nO, nO, in->nTaxa, in->W, in->Q, w->P, in->weightOTUs);
    CopyMatrix(n, in->nTaxa, w->P, w->Pobs);
    if (in->keepObserved && in->Pout) CopyMatrix(n, in->nTaxa, w->P, in->Pout);
    NormalizeCols(nO, in->nTraits, in->B, w->Bnorm);
    if (w->mantel) {
      w->stat[PT_roBF] = MatrixCorr(nO, in->Sb, in->Sf);
      if (in->phylogenyIsDissimilarity) w->stat[PT_roBF] = -w->stat[PT_roBF];
    } else {
      w->stat[PT_roBF] = CoefRows(w, nO, w->Bnorm, in->nTraits, in->pcoaScores, in->nPCoAAxes);
    }
  }
  MantelMatrices(w, MM_X, false);
  StatsXP(w);
  if (in->saveDetail && in->detailFile) DetailPointA(w);
  RaoAll(w, in->Sb, in->Sf);
  CopyMatrix(n, 1, w->R, w->Robs);
  if (in->keepObserved && in->Rout)
    for (int c = 0; c < n; c++) in->Rout[c] = w->R[c][0];
  if (w->phyl) {
    CopyMatrix(n, 1, w->Rp, w->Rpobs);
    if (in->keepObserved && in->RpOut)
      for (int c = 0; c < n; c++) in->RpOut[c] = w->Rp[c][0];
  }
  MantelMatrices(w, MM_R, false);
  StatsR(w);
  if (in->saveDetail && in->detailFile) DetailPointB(w);
}

// A new order of the OTUs in list for the next iteration, from the one
// generator; the site shuffle keeps its identity list and draws nothing.
static void NewList(PermWork* w, int* list) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  if (!w->taxa) return;
  if (in->weightedNullModel)
    RndListSpecified(w->listLength, list);
  else if (in->restrictPermutations == 1 && in->nestingMembership)
    RndListNestedNew(in->nOTUs, in->nestingMembership, 1, list);
  else
    RndListSpecified(in->nOTUs, list);
}

// m[a][b] = from[list[a]-1][list[b]-1], both triangles.
static void PermuteSquare(int n, const int* list, double** from, double** m) {
  for (int a = 0; a < n; a++) {
    const double* row = from[list[a] - 1];
    double* to = m[a];
    for (int b = 0; b < n; b++) to[b] = row[list[b] - 1];
  }
}

// T and X of the arrangement from BU: each entry the sum of abundance
// times value over the occurrences, in their order, as OccurrenceProducts
// makes it; T's columns outside the trait mask are 0.
static void WideProducts(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int nT = in->nTraits, nY = in->nTypes;
  for (int c = 0; c < w->n; c++) {
    int s = w->occStart[c], m = w->occStart[c + 1] - s;
    for (int x = 0; x < m; x++) w->rowsSub[x] = w->BU[w->list[w->occOTU[s + x]] - 1];
    LaneProducts(m, w->occW + s, w->rowsSub, w->colsBU / 4, w->rowTX);
    for (int j = 0; j < nT; j++) w->T[c][j] = (in->traitMask && in->traitMask[j] != 1) ? 0.0 : w->rowTX[j];
    memcpy(w->X[c], w->rowTX + nT, sizeof(double) * nY);
  }
}

static void RandomT(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  if (w->taxa) {
    for (int k = 0; k < nO; k++) w->Brnd[k] = in->B[w->list[k] - 1];
    // The random T is not normalised although the observed one is: intended,
    // the probabilities depend on it.
    if (w->BU)
      WideProducts(w);  // X as well
    else if (w->compactT)
      OccurrenceProducts(w, in->B, in->nTraits, w->T, in->traitMask, w->plainTerms && w->plainB);
    else
      MatrixProdSelectMV_Weight(n, nO, nO, in->nTraits, in->W, w->Brnd, w->T, in->traitMask, in->weightOTUs);
  } else {
    for (int k = 0; k < n; k++) memcpy(w->T[k], w->Tobs[w->list[k] - 1], sizeof(double) * in->nTraits);
  }
}

static void RandomXP(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  if (w->taxa) {
    for (int k = 0; k < nO; k++) w->Urnd[k] = in->U[w->list[k] - 1];
    // With BU, X was made along with T.
    if (!w->BU && w->compactXP)
      OccurrenceProducts(w, in->U, in->nTypes, w->X, NULL, w->plainTerms);
    else if (!w->BU)
      MatrixProdMV_Weight(n, nO, nO, in->nTypes, in->W, w->Urnd, w->X, in->weightOTUs);
    if (w->phyl) {
      for (int k = 0; k < nO; k++) w->Qrnd[k] = in->Q[w->list[k] - 1];
      if (w->compactXP)
        OccurrenceProducts(w, in->Q, in->nTaxa, w->P, NULL, w->plainTerms);
      else
        MatrixProdMV_Weight(n, nO, nO, in->nTaxa, in->W, w->Qrnd, w->P, in->weightOTUs);
    }
  } else {
    for (int k = 0; k < n; k++) memcpy(w->X[k], w->Xobs[w->list[k] - 1], sizeof(double) * in->nTypes);
    if (w->phyl)
      for (int k = 0; k < n; k++) memcpy(w->P[k], w->Pobs[w->list[k] - 1], sizeof(double) * in->nTaxa);
  }
}

// Rao entropies on the permuted OTU resemblances, and the random ro(BF).
// Under the site shuffle the OTUs keep their order, so ro(BF) has no random
// value: the arrangement is the observed one, and it counts as such.
static void RandomR(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  if (!w->taxa) {
    for (int c = 0; c < n; c++) {
      w->R[c][0] = w->Robs[w->list[c] - 1][0];
      if (w->phyl) w->Rp[c][0] = w->Rpobs[w->list[c] - 1][0];
    }
    return;
  }
  const int* list = w->list;
  bool detail = in->saveDetail && in->detailFile;
  if (!w->compactR || detail) PermuteSquare(nO, list, in->Sb, w->Srnd);
  if (w->phyl) {
    PermuteSquare(nO, list, in->Sf, w->Sfrnd);
    if (w->mantel) {
      // No sign change here, unlike the observed value; intended.
      w->stat[PT_roBF] = MatrixCorr(nO, in->Sb, w->Sfrnd);
    } else {
      for (int a = 0; a < nO; a++) w->scoresRnd[a] = in->pcoaScores[list[a] - 1];
      w->stat[PT_roBF] = CoefRows(w, nO, w->Bnorm, in->nTraits, w->scoresRnd, in->nPCoAAxes);
    }
  }
  if (!w->compactR) {
    RaoAll(w, w->Srnd, w->Sfrnd);
    return;
  }
  OccurrenceRao(w, w->Db, w->R);
  if (w->phyl) OccurrenceRao(w, w->Df, w->Rp);
}

// Everything random of the arrangement in w->list, and its statistics in
// w->stat. Reads the shared inputs and writes only w's own arrays.
static void Evaluate(PermWork* w) {
  // Each arrangement's T, X, P and entropies first, so that their
  // resemblance matrices are prepared together.
  RandomT(w);
  RandomXP(w);
  RandomR(w);
  MantelMatrices(w, MM_T | MM_X | MM_R, true);
  StatsT(w);
  StatsXP(w);
  StatsR(w);
}

// Counts iteration i, whose statistics are stat, into w's running counts;
// with the intermediate file, prints it from ev, the work that evaluated it.
// The counts of each point are made before its lines, which print them.
static void CountIteration(PermWork* w, PermWork* ev, const double* stat, const double* observed, int i,
                           bool detail) {
  Count(w, stat, observed, PT_rTE, false);
  Count(w, stat, observed, PT_rYT, false);
  Count(w, stat, observed, PT_rZT, false);
  if (detail) DetailPointC(ev, i);
  Count(w, stat, observed, PT_rXE, false);
  Count(w, stat, observed, PT_rXE_T, true);
  Count(w, stat, observed, PT_roXY, false);
  Count(w, stat, observed, PT_roXZ, false);
  Count(w, stat, observed, PT_roXY_T, true);
  Count(w, stat, observed, PT_roXZ_T, true);
  if (w->phyl) {
    Count(w, stat, observed, PT_roPE, false);
    Count(w, stat, observed, PT_roPT, false);
    Count(w, stat, observed, PT_roPX, false);
    for (int k = PT_roPX_T; k <= PT_roPE_X; k++) Count(w, stat, observed, k, true);
  }
  if (detail) DetailPointD(ev, i);
  Count(w, stat, observed, PT_rRE, false);
  if (w->phyl) {
    Count(w, stat, observed, PT_rFE, false);
    if (w->taxa)
      Count(w, stat, observed, PT_roBF, false);
    else
      w->count[PT_roBF] += 1.0;
  }
  Count(w, stat, observed, PT_rXE_TR, true);
  for (int k = 0; k < N_PERMTEST_STATS; k++) permTestRandomSums[k] += stat[k];
  if (detail) DetailPointE(ev, i);
}

// Iterations whose lists are drawn before they are evaluated together.
#define PERM_BLOCK 256

// The lists and statistics of one block of iterations.
struct PermBlock {
  int first;      // its first iteration
  int size;       // its iterations
  int* lists;     // [size][listSize]
  double* stats;  // [size][N_PERMTEST_STATS]
};

// Draws the lists of the block of `size` iterations from `first`, in
// iteration order, from the one generator; master keeps the draw's state.
static void DrawBlock(PermWork* w, int* master, PermBlock* b, int first, int size) {
  b->first = first;
  b->size = size;
  for (int k = 0; k < size; k++) {
    NewList(w, master);
    memcpy(b->lists + (long)k * w->listSize, master, sizeof(int) * w->listSize);
  }
}

// Counts a block in iteration order, with its progress line.
static void CountBlock(PermWork* w, const PermBlock* b, const double* observed) {
  for (int k = 0; k < b->size; k++)
    CountIteration(w, w, b->stats + (long)k * N_PERMTEST_STATS, observed, b->first + k, false);
  char status[64];
  snprintf(status, sizeof(status), "Permutation test: %d of %d", b->first + b->size - 1, w->in->niter);
  HandleEventInfoWhere2(status);
}

// One iteration at a time on this thread, each counted (and printed to the
// intermediate file) as soon as it is evaluated.
static void SerialIterations(PermWork* w, const double* observed, bool detail) {
  int* master = w->list;
  char status[64];
  for (int i = 1; i < w->in->niter; i++) {
    snprintf(status, sizeof(status), "Permutation test: %d of %d", i, w->in->niter);
    HandleEventInfoWhere2(status);
    NewList(w, master);
    Evaluate(w);
    CountIteration(w, w, w->stat, observed, i, detail);
  }
}

// Blocks of iterations on the team. While the team evaluates block k, the
// main thread first draws the lists of block k + 1 and counts block k - 1,
// then joins the evaluation: draws and counts stay in iteration order on
// the one thread, and nothing waits for them.
static void ParallelIterations(PermWork* w, int threads, const double* observed) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int block = PERM_BLOCK * threads, listSize = w->listSize;
  int* master = w->list;
  PermBlock blocks[2];
  for (int h = 0; h < 2; h++) {
    blocks[h].lists = dim1Dint(block * listSize);
    blocks[h].stats = dim1Double(block * N_PERMTEST_STATS);
    blocks[h].size = 0;
  }
  PermWork** work = (PermWork**)dim1D(sizeof(PermWork*), threads);
  work[0] = w;
  for (int t = 1; t < threads; t++) {
    work[t] = (PermWork*)dim1D(sizeof(PermWork), 1);
    CloneWork(work[t], w);
  }
  int total = in->niter - 1;
  DrawBlock(w, master, &blocks[0], 1, total < block ? total : block);
  for (int k = 0; blocks[k % 2].size > 0; k++) {
    PermBlock* now = &blocks[k % 2];
    PermBlock* other = &blocks[(k + 1) % 2];
    int next = now->first + now->size, left = in->niter - next;
#pragma omp parallel num_threads(threads)
    {
      if (omp_get_thread_num() == 0) {
        if (k > 0) CountBlock(w, other, observed);
        if (left > 0)
          DrawBlock(w, master, other, next, left < block ? left : block);
        else
          other->size = 0;
      }
#pragma omp for schedule(dynamic, 1)
      for (int b = 0; b < now->size; b++) {
        PermWork* t = work[omp_get_thread_num()];
        t->list = now->lists + (long)b * listSize;
        Evaluate(t);
        memcpy(now->stats + (long)b * N_PERMTEST_STATS, t->stat, sizeof(t->stat));
      }
    }
    if (other->size == 0) CountBlock(w, now, observed);
  }
  w->list = master;
  for (int t = 1; t < threads; t++) {
    FreeClone(work[t]);
    free1D(work[t]);
  }
  free1D(work);
  for (int h = 0; h < 2; h++) {
    free1D(blocks[h].lists);
    free1D(blocks[h].stats);
  }
}

static void PermutationPhase(PermWork* w, int team) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  double observed[N_PERMTEST_STATS];
  memcpy(observed, w->stat, sizeof(observed));
  memset(permTestRandomSums, 0, sizeof(permTestRandomSums));
  bool detail = in->saveDetail && in->detailFile;
  // The report prints no statistic of Y and Z: with Procrustes and RV, where
  // they cost most, the iterations leave them out unless asked for all.
  if (!w->mantel) w->coef.smoothed = detail || !in->printedOnly;
  // The intermediate file prints the matrices of each iteration as it is
  // counted, so it takes one iteration at a time on this thread.
  int threads = detail ? 1 : team;
  if (threads > 1 && in->niter > 2)
    ParallelIterations(w, threads, observed);
  else
    SerialIterations(w, observed, detail);
  memcpy(w->stat, observed, sizeof(observed));
  w->fused = false;
}

// One thread for the inner parallel loops when every resemblance matrix of
// an iteration is small; the distances are the same whatever the team, so
// this changes no result. Returns the team size to restore.
static int SmallProblemTeam(PermTest_FunctionalPhyl_Correl_Input* in) {
  int team = omp_get_max_threads();
  int cols = in->nTraits;
  if (in->nTypes > cols) cols = in->nTypes;
  if (in->includePhylogeny && in->nTaxa > cols) cols = in->nTaxa;
  double work = 0.5 * (double)in->nCommunities * in->nCommunities * cols;
  if (team > 1 && work < permTestSmallWork) omp_set_num_threads(1);
  return team;
}

bool PermTest_FunctionalPhyl_Correl(PermTest_FunctionalPhyl_Correl_Input* input) {
  int team = SmallProblemTeam(input);
  // Iterations run on the team; the parallel loops inside them then run on
  // the thread that meets them.
  int levels = omp_get_max_active_levels();
  omp_set_max_active_levels(1);
  PermWork w;
  AllocWork(&w, input);
  for (int k = 0; k < N_PERMTEST_STATS; k++) w.count[k] = 1.0;
  ObservedPhase(&w);
  SetupOccurrences(&w);
  PermutationPhase(&w, team);
  for (int k = 0; k < N_PERMTEST_STATS; k++) {
    input->statistics[k] = w.stat[k];
    // niter 0 gives a positive infinity here: the division is meant.
    input->probabilities[k] = w.count[k] / input->niter;
  }
  // Statistics left out of the iterations have no probability.
  static const int smoothedStats[] = {PT_rYT, PT_rZT, PT_roXY, PT_roXZ, PT_roXY_T, PT_roXZ_T};
  if (!w.mantel && !w.coef.smoothed && input->niter > 1)
    for (int k : smoothedStats) input->probabilities[k] = NAN;
  FreeOccurrences(&w);
  FreeWork(&w);
  omp_set_num_threads(team);
  omp_set_max_active_levels(levels);
  return true;
}

// Unit tests of the permutation loops: every form (two-lane, and four-lane
// where the processor has it) gives the bits of the one-at-a-time loop.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "permutation/permKernels.h"

namespace {

// Deterministic "awkward" numbers in [0, 1).
double Awkward(unsigned k) {
  double x = sin(12.9898 * (k + 1) + 78.233) * 43758.5453;
  return x - floor(x);
}

bool SameBits(double a, double b) { return memcmp(&a, &b, sizeof(double)) == 0; }

// The forms to check: the portable one, and the wide one when in use here.
std::vector<const PermKernels*> Forms() {
  std::vector<const PermKernels*> f = {&permKernelsTwoLane};
  if (permKernelsWide) f.push_back(permKernelsWide);
  return f;
}

// Row-pointer square matrix over one vector.
struct Square {
  std::vector<double> cells;
  std::vector<double*> rows;
  explicit Square(int n) : cells((size_t)n * n, -1.0), rows(n) {
    for (int i = 0; i < n; i++) rows[i] = &cells[(size_t)i * n];
  }
};

// Reference distances of the columns-layout data: each pair's sum of
// squares over k in order, its root, and the total of the pairs i < j.
double ReferenceDistance(const std::vector<double>& data, int n, int cols, int i, int j) {
  double s = 0.0;
  for (int k = 0; k < cols; k++) {
    double d = data[(size_t)k * n + i] - data[(size_t)k * n + j];
    s += d * d;
  }
  return s > 0.0 ? std::sqrt(s) : 0.0;
}

TEST(PermKernelsDistances, EveryFormGivesTheBitsOfOnePairAtATime) {
  // Sizes that reach the blocks of 16, 8, 4 and 2 pairs and the single
  // pairs left at the end of a row.
  for (int n : {1, 2, 3, 9, 13, 22, 37}) {
    const int colsA = 3, colsB = 5;
    std::vector<double> a((size_t)n * colsA), b((size_t)n * colsB), r(n);
    for (size_t k = 0; k < a.size(); k++) a[k] = 2.385 * Awkward(7 * k + n) - 0.6;
    for (size_t k = 0; k < b.size(); k++) b[k] = 1e3 * Awkward(11 * k + 3 * n);
    for (int i = 0; i < n; i++) r[i] = 0.37 * Awkward(500 + i) * (i % 3 == 0 ? -1.0 : 1.0);
    b[0] = b[n > 1 ? 1 : 0];  // a pair at distance 0 in b's first column only
    for (const PermKernels* form : Forms()) {
      for (bool two : {false, true}) {
        for (bool withR : {false, true}) {
          Square DA(n), DB(n), DR(n);
          LaneMatrix ma = {colsA, a.data(), DA.rows.data(), 0.0};
          LaneMatrix mb = {colsB, b.data(), DB.rows.data(), 0.0};
          double totalR = -1.0;
          form->distances(n, &ma, two ? &mb : nullptr, withR ? r.data() : nullptr, DR.rows.data(), &totalR);
          double tA = 0.0, tB = 0.0, tR = 0.0;
          for (int i = 0; i < n; i++) {
            EXPECT_EQ(0.0, DA.rows[i][i]);
            for (int j = i + 1; j < n; j++) {
              double da = ReferenceDistance(a, n, colsA, i, j), db = ReferenceDistance(b, n, colsB, i, j);
              double dr = std::fabs(r[i] - r[j]);
              tA += da, tB += db, tR += dr;
              ASSERT_TRUE(SameBits(da, DA.rows[i][j])) << form->name << " n " << n << " pair " << i << "," << j;
              if (two) {
                ASSERT_TRUE(SameBits(db, DB.rows[i][j])) << form->name << " b, n " << n;
              }
              if (withR) {
                ASSERT_TRUE(SameBits(dr, DR.rows[i][j])) << form->name << " DR, n " << n;
              }
            }
            for (int j = 0; j < i; j++) EXPECT_EQ(-1.0, DA.rows[i][j]) << "lower triangle untouched";
          }
          EXPECT_TRUE(SameBits(tA, ma.total)) << form->name << " total of a, n " << n;
          if (two) {
            EXPECT_TRUE(SameBits(tB, mb.total)) << form->name << " total of b, n " << n;
          }
          if (withR) {
            EXPECT_TRUE(SameBits(tR, totalR)) << form->name << " total of DR, n " << n;
          }
        }
      }
    }
  }
}

TEST(PermKernelsDistances, ColumnsAndEntropyDistances) {
  double r0[2] = {1.5, -999.0}, r1[2] = {2.25, 4.0}, r2[2] = {-0.125, 8.5};
  double* rows[3] = {r0, r1, r2};
  double out[6];
  EXPECT_FALSE(ColumnsOf(3, 2, rows, out)) << "a missing value asks for the general distances";
  r0[1] = 0.75;
  ASSERT_TRUE(ColumnsOf(3, 2, rows, out));
  const double expected[6] = {1.5, 2.25, -0.125, 0.75, 4.0, 8.5};
  for (int k = 0; k < 6; k++) EXPECT_EQ(expected[k], out[k]) << "column layout, cell " << k;

  double r[4] = {0.3, -1.7, 2.385, 0.3};
  Square D(4);
  double total = 0.0;
  EntropyDistances(4, r, D.rows.data(), &total);
  EXPECT_EQ(0.0, D.rows[0][3]) << "equal entropies";
  EXPECT_DOUBLE_EQ(4.085, D.rows[1][2]);
  EXPECT_DOUBLE_EQ(2.0 + 2.085 + 0.0 + 4.085 + 2.0 + 2.085, total);
}

TEST(PermKernelsCrossSums, EveryFormGivesTheSumsInPairOrder) {
  for (int n : {2, 5, 12}) {
    Square DT(n), DX(n), DR(n);
    long pairs = (long)n * (n - 1) / 2;
    std::vector<double> eyze(4 * pairs);
    for (long p = 0; p < pairs; p++) {
      eyze[4 * p] = eyze[4 * p + 3] = Awkward(900 + p) - 0.5;
      eyze[4 * p + 1] = 3.0 * Awkward(1900 + p) - 1.0;
      eyze[4 * p + 2] = 0.01 * Awkward(2900 + p);
    }
    for (int i = 0; i < n; i++)
      for (int j = i + 1; j < n; j++) {
        DT.rows[i][j] = 2.385 * Awkward(100 * i + j);
        DX.rows[i][j] = 0.7 * Awkward(3000 + 100 * i + j);
        DR.rows[i][j] = 12.5 * Awkward(6000 + 100 * i + j);
      }
    const double mT = 1.1, mX = 0.33, mR = 6.2;
    // One sum at a time, in pair order.
    double ref[13] = {0};
    long p = 0;
    for (int i = 0; i < n; i++)
      for (int j = i + 1; j < n; j++, p++) {
        double T = DT.rows[i][j] - mT, X = DX.rows[i][j] - mX, R = DR.rows[i][j] - mR;
        double E = eyze[4 * p], Y = eyze[4 * p + 1], Z = eyze[4 * p + 2];
        const double terms[13] = {T * E, T * Y, T * Z, X * E, X * T, X * Y, X * Z,
                                  R * E, R * X, R * T, T * T, X * X, R * R};
        for (int k = 0; k < 13; k++) ref[k] += terms[k];
      }
    for (const PermKernels* form : Forms()) {
      double sums[13];
      form->crossSums(n, DT.rows.data(), DX.rows.data(), DR.rows.data(), mT, mX, mR, eyze.data(), sums);
      for (int k = 0; k < 13; k++) EXPECT_TRUE(SameBits(ref[k], sums[k])) << form->name << " n " << n << " sum " << k;
    }
  }
  EXPECT_EQ(0.0, RhoOfSums(1.5, 0.0, 2.0)) << "a constant matrix correlates 0";
  EXPECT_DOUBLE_EQ(0.5, RhoOfSums(1.5, 4.0, 2.25));
}

TEST(PermKernelsProducts, EveryColumnCountGivesTheSumsInOccurrenceOrder) {
  const int m = 7;
  std::vector<double> a(m);
  for (int x = 0; x < m; x++) a[x] = 1.3 + 0.1 * ((7 * x) % 5) + Awkward(40 + x);
  // Column counts that reach every block of two and four columns and the
  // single columns after them.
  for (int cols = 1; cols <= 29; cols++) {
    std::vector<std::vector<double>> data(m, std::vector<double>(cols));
    std::vector<double*> rows(m);
    for (int x = 0; x < m; x++) {
      for (int k = 0; k < cols; k++) data[x][k] = 2.385 * Awkward(1000 + 31 * x + k) - 0.4;
      rows[x] = data[x].data();
    }
    for (const PermKernels* form : Forms()) {
      std::vector<double> out(cols + 1, -7.0);
      form->products(m, a.data(), rows.data(), cols, out.data());
      for (int k = 0; k < cols; k++) {
        double s = 0.0;
        for (int x = 0; x < m; x++) s += a[x] * data[x][k];
        ASSERT_TRUE(SameBits(s, out[k])) << form->name << " cols " << cols << " column " << k;
      }
      EXPECT_EQ(-7.0, out[cols]) << form->name << " wrote past its columns, cols " << cols;
    }
  }
}

TEST(PermKernelsRao, LanesGiveEachCommunitysEntropyAndPaddingChangesNothing) {
  // Five OTUs with symmetric distances; lane 0 has three occurrences, lane 1
  // two (padded with a zero share), lane 2 one, lane 3 none at all.
  const int nO = 5;
  Square d(nO);
  for (int i = 0; i < nO; i++)
    for (int j = 0; j < nO; j++) d.rows[i][j] = i == j ? 0.0 : 0.1 + Awkward(10 * std::min(i, j) + std::max(i, j));
  const int M = 3;
  const int otu[4][M] = {{4, 0, 2}, {1, 3, 0}, {2, 0, 0}, {0, 0, 0}};
  const double share[4][M] = {{0.2, 0.45, 0.35}, {0.625, 0.375, 0.0}, {1.0, 0.0, 0.0}, {0.0, 0.0, 0.0}};
  std::vector<double> q(4 * M);
  std::vector<double*> rows(4 * M);
  int col[4 * M];
  uint16_t col16[4 * M];
  for (int x = 0; x < M; x++)
    for (int L = 0; L < 4; L++) {
      q[4 * x + L] = share[L][x];
      rows[4 * x + L] = d.rows[otu[L][x]];
      col[4 * x + L] = col16[4 * x + L] = (uint16_t)otu[L][x];
    }
  double sums[4], sums16[4];
  RaoLaneSums(M, q.data(), rows.data(), col, sums);
  RaoLaneSums(M, q.data(), rows.data(), col16, sums16);
  for (int L = 0; L < 4; L++) {
    double ref = 0.0;
    for (int i = 0; i < M; i++)
      for (int j = 0; j < M; j++) ref += share[L][i] * (share[L][j] * d.rows[otu[L][i]][otu[L][j]]);
    EXPECT_TRUE(SameBits(ref, sums[L])) << "lane " << L;
    EXPECT_TRUE(SameBits(ref, sums16[L])) << "lane " << L << ", 16-bit columns";
  }
  EXPECT_TRUE(SameBits(0.0, sums[3])) << "an empty lane sums to +0";
  EXPECT_EQ(0.0, sums[2]) << "a single OTU has no diversity";
  // Lane 1 unpadded: the two-OTU entropy 2 p q d.
  EXPECT_DOUBLE_EQ(2.0 * 0.625 * 0.375 * d.rows[1][3], sums[1]);
}

}  // namespace

// Unit tests of the number helpers and the classical one-based routines.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "tests/unit/test_util.h"

using namespace testutil;

TEST(TarnlibNumEqual, SignedZerosAndSmallestFloats) {
  EXPECT_TRUE(AlmostEqual2sComplement(0.0f, -0.0f, 1));
  EXPECT_TRUE(AlmostEqual2sComplement(0.0, -0.0, 1));
  float tiny = std::numeric_limits<float>::denorm_min();
  // One step each side of zero: 2 steps apart.
  EXPECT_TRUE(AlmostEqual2sComplement(tiny, 0.0f, 1));
  EXPECT_FALSE(AlmostEqual2sComplement(tiny, -tiny, 1));
  EXPECT_TRUE(AlmostEqual2sComplement(tiny, -tiny, 2));
  // The largest float and infinity are neighbours in the ordering.
  EXPECT_TRUE(AlmostEqual2sComplement(FLT_MAX, INFINITY, 1));
  EXPECT_FALSE(AlmostEqual2sComplement(FLT_MAX, -FLT_MAX, 1000));
  // Orderings 2^31 apart: the wrapped absolute value stays negative.
  EXPECT_TRUE(AlmostEqual2sComplement(INFINITY, -FLT_MIN, 1));
  EXPECT_TRUE(AlmostEqual2sComplement(-FLT_MIN, INFINITY, 1));
}

TEST(TarnlibNumEqual, DoubleCountsFloatSteps) {
  EXPECT_TRUE(AlmostEqual2sComplement(1.0, 1.0 + 1e-9, 1));
  float next = nextafterf(2.385f, 3.0f);
  float next2 = nextafterf(next, 3.0f);
  EXPECT_TRUE(AlmostEqual2sComplement(2.385f, next, 1));
  EXPECT_FALSE(AlmostEqual2sComplement(2.385f, next2, 1));
  EXPECT_TRUE(AlmostEqual2sComplement((double)2.385f, (double)next2, 2));
  EXPECT_FALSE(AlmostEqual2sComplement(-2.385, 2.385, 1));
  EXPECT_TRUE(AlmostEqual2sComplement(-2.385, 2.385, 1, true));
  EXPECT_TRUE(AlmostEqual2sComplement(1.0f, 1.25f, 4194303));  // 2^21 steps apart
  EXPECT_FALSE(AlmostEqual2sComplement(1.0f, 2.0f, 4194303));  // 2^23 steps apart
}

TEST(TarnlibNumEqual, LargerOrEqualAndTolerance) {
  EXPECT_TRUE(IsLargerThanOrEqual(-3.0, 2.0, 1, true));
  EXPECT_FALSE(IsLargerThanOrEqual(-3.0, 2.0, 1, false));
  EXPECT_TRUE(IsLargerThanOrEqual(0.1 + 0.2, 0.3, 1, false));
  EXPECT_FALSE(IsLargerThanOrEqual(0.299, 0.3, 1, false));
  EXPECT_FALSE(AlmostEqual_Tolerance(1.0, 1.5, 0.5));
  EXPECT_FALSE(AlmostEqual_Tolerance(1.0f, 1.5f, 0.5f));
  EXPECT_TRUE(AlmostEqual_Tolerance(-2.385f, -2.3f, 0.1f));
}

TEST(TarnlibNumRound, DecimalPlacesAndHalves) {
  EXPECT_DOUBLE_EQ(Round(2.5, 0), 3.0);
  EXPECT_DOUBLE_EQ(Round(-2.5, 0), -2.0);
  EXPECT_DOUBLE_EQ(Round(2.3851, 2), 2.39);
  EXPECT_DOUBLE_EQ(Round(1234.5, -2), 1200.0);
  EXPECT_FLOAT_EQ(Round(7.3851f, 1), 7.4f);
  // Significant digits.
  EXPECT_DOUBLE_EQ(RoundDigit(1234.5, 2), 1200.0);
  EXPECT_DOUBLE_EQ(RoundDigit(0.0023851, 3), 0.00239);
  EXPECT_DOUBLE_EQ(RoundDigit(-98765.4, 1), -100000.0);
}

TEST(TarnlibNumSmall, MaxMinFactorialAndBase62) {
  EXPECT_EQ(Fmax(2.385, -7.5), 2.385);
  EXPECT_EQ(Fmin(2.385, -7.5), -7.5);
  EXPECT_EQ(Fmax((double)NAN, 4.0), 4.0);
  EXPECT_TRUE(std::isnan(Fmax(4.0, (double)NAN)));
  // Factorial: a fraction or a negative returns itself.
  EXPECT_EQ(Factorial(0.0), 1.0);
  EXPECT_EQ(Factorial(5.0), 120.0);
  EXPECT_EQ(Factorial(2.5), 2.5);
  EXPECT_EQ(Factorial(-4.0), -4.0);
  EXPECT_EQ(Factorial(6.5f), 6.5f * 5 * 4 * 3 * 2);
  EXPECT_EQ(Factorial(20), 2432902008176640000.0L);
  EXPECT_TRUE(std::isinf(Factorial(1e12)));
  // Two base-62 digits, high first, no terminator.
  char out[3] = {'x', 'x', 'x'};
  EXPECT_EQ(IntToAlpha(62 * 10 + 36, out), out);
  EXPECT_EQ(std::string(out, 3), "Aax");
  IntToAlpha(71, out);  // 1 * 62 + 9
  EXPECT_EQ(std::string(out, 2), "19");
  IntToAlpha(3843, out);
  EXPECT_EQ(std::string(out, 2), "zz");
}

TEST(TarnlibNumStates, CountsAndLists) {
  double x[] = {0, 2, 2, 5};
  EXPECT_EQ(CountStates(4, x), 3);
  int states[4] = {-1, -1, -1, -1};
  EXPECT_EQ(CountStates(4, x, states), 3);
  EXPECT_EQ(states[0], 2);
  EXPECT_EQ(states[1], 5);
  EXPECT_EQ(states[2], -1) << "state 0 must not be listed";

  // Missing values are no state; truncation merges 3 and 3.7.
  float f[] = {-999, 3.7f, 3, 1, -999, 7};
  int fs[6] = {0};
  EXPECT_EQ(CountStates(6, f, fs), 3);
  EXPECT_EQ(fs[0], 1);
  EXPECT_EQ(fs[1], 3);
  EXPECT_EQ(fs[2], 7);
  double missing[] = {-999, -999, 3e12};
  EXPECT_EQ(CountStates(3, missing), 0) << "no state, not even from a number beyond int";
}

TEST(TarnlibNumCompare, QsortOrders) {
  double d[] = {2.385, -1.5, 7.25, 0.0, -1.5};
  qsort(d, 5, sizeof(double), compareDoubleDecreasing);
  EXPECT_EQ(d[0], 7.25);
  EXPECT_EQ(d[4], -1.5);
  double a = NAN, b = 1.0;
  EXPECT_EQ(compareDouble(&a, &b), 0) << "a not-a-number compares equal";
  // Rows of a matrix sorted by column 0 carry their other columns along.
  Mat m(3, 2);
  m[0][0] = 4.5; m[1][0] = -1.25; m[2][0] = 2.0;
  m[0][1] = 40; m[1][1] = 10; m[2][1] = 20;
  qsort(m, 3, sizeof(double*), compare2Double);
  EXPECT_EQ(m[0][1], 10);
  EXPECT_EQ(m[2][1], 40);
}

TEST(TarnlibNumClassical, Sort2CarriesCompanionWithTies) {
  // Places 1..12, many ties, longer than the insertion-sort limit.
  double a[13] = {0, 4.5, -1.25, 4.5, 9, 0, 4.5, -7.75, 2.385, 9, 0, 3, -1.25};
  double b[13];
  for (int i = 0; i <= 12; i++) b[i] = 100 + i;
  double orig[13];
  memcpy(orig, a, sizeof a);
  sort2(12, a, b);
  for (int i = 2; i <= 12; i++) EXPECT_LE(a[i - 1], a[i]) << "place " << i;
  for (int i = 1; i <= 12; i++) {
    int from = (int)b[i] - 100;
    EXPECT_EQ(orig[from], a[i]) << "companion of place " << i;
  }
  EXPECT_EQ(a[0], 0) << "place 0 is not part of the array";
}

TEST(TarnlibNumClassical, CrankMeanRanksAndTieSum) {
  double w[9] = {0, 1.5, 2.0, 2.0, 2.0, 3.25, 7.0, 7.0, 8.5};
  double s = -1;
  crank(8, w, &s);
  double expect[9] = {0, 1, 3, 3, 3, 5, 6.5, 6.5, 8};
  for (int i = 1; i <= 8; i++) EXPECT_DOUBLE_EQ(w[i], expect[i]) << "rank " << i;
  EXPECT_DOUBLE_EQ(s, (27 - 3) + (8 - 2));

  double allTied[4] = {0, 2.385, 2.385, 2.385};
  crank(3, allTied, &s);
  EXPECT_DOUBLE_EQ(allTied[3], 2.0);
  EXPECT_DOUBLE_EQ(s, 24);
}

TEST(TarnlibNumClassical, IndexTable) {
  float a[11] = {0, 5.5f, -2, 3, 3, 11, 0.25f, -8, 7, 1, 2.385f};
  int index[11];
  indexx(10, a, index);
  for (int i = 2; i <= 10; i++) EXPECT_LE(a[index[i - 1]], a[index[i]]);
  EXPECT_EQ(index[1], 7);
  EXPECT_EQ(index[10], 5);
  EXPECT_EQ(a[1], 5.5f) << "indexx must leave the values in place";
}

TEST(TarnlibNumClassical, CholeskyReconstructs) {
  Mat a(3, 3);
  double m[3][3] = {{4.41, 1.2, -0.6}, {1.2, 3.385, 0.75}, {-0.6, 0.75, 2.9}};
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) a[i][j] = m[i][j];
  double p[3];
  ASSERT_EQ(choldc(a, 3, p), 1);
  // L with p on its diagonal times its transpose gives the matrix back.
  for (int i = 0; i < 3; i++)
    for (int j = 0; j <= i; j++) {
      double sum = 0;
      for (int k = 0; k <= j; k++) {
        double lik = k == i ? p[i] : a[i][k];
        double ljk = k == j ? p[j] : a[j][k];
        sum += lik * ljk;
      }
      EXPECT_NEAR(sum, m[i][j], 1e-12) << i << "," << j;
    }
  // A perfect correlation is not positive definite.
  a[0][0] = 1; a[0][1] = 1; a[1][0] = 1; a[1][1] = 1;
  testing::internal::CaptureStdout();
  EXPECT_EQ(choldc(a, 2, p), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\ncholdc failed");
}

TEST(TarnlibNumClassical, GaussJordanInverseAndSolution) {
  Mat a(4, 4), b(4, 2);
  double m[3][3] = {{2.385, -1.0, 0.5}, {0.25, 3.0, -2.0}, {1.5, 0.0, 4.75}};
  double x[3] = {1.5, -2.0, 0.125};
  for (int i = 0; i < 3; i++) {
    b[i + 1][1] = 0;
    for (int j = 0; j < 3; j++) {
      a[i + 1][j + 1] = m[i][j];
      b[i + 1][1] += m[i][j] * x[j];
    }
  }
  EXPECT_EQ(gaussj_Tarn(a, 3, b, 1), 1);
  for (int i = 0; i < 3; i++) EXPECT_NEAR(b[i + 1][1], x[i], 1e-12);
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) {
      double sum = 0;
      for (int k = 0; k < 3; k++) sum += m[i][k] * a[k + 1][j + 1];
      EXPECT_NEAR(sum, i == j ? 1.0 : 0.0, 1e-12) << i << "," << j;
    }
}

TEST(TarnlibNumClassical, GaussJordanSingular) {
  Mat a(3, 3), b(3, 2);
  a[1][1] = 1.5; a[1][2] = 3.0; a[2][1] = 0.5; a[2][2] = 1.0;
  b[1][1] = 1; b[2][1] = 2;
  EXPECT_EQ(gaussj_Tarn(a, 2, b, 1), 0);
  a[1][1] = 1.5; a[1][2] = 3.0; a[2][1] = 0.5; a[2][2] = 1.0;
  testing::internal::CaptureStderr();
  gaussj(a, 2, b, 1);
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find("gaussj: Singular Matrix-2"), std::string::npos) << err;
  EXPECT_FALSE(std::isfinite(a[1][1]) && std::isfinite(a[2][2]) && std::isfinite(b[1][1]) &&
               std::isfinite(b[2][1]))
      << "a zero pivot must give a non-finite value";
}


// Unit tests of the smaller permutation tests and their neighbouring helpers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "permutation/permOther.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {


const double kDist5[25] = {0,    2.385, 4.12, 1.07, 3.3,  2.385, 0,    1.9,  2.6,  0.44, 4.12, 1.9, 0,
                           5.01, 2.72,  1.07, 2.6,  5.01, 0,     3.95, 3.3,  0.44, 2.72, 3.95, 0};

int CountLines(FILE* f, const char* start) {
  rewind(f);
  char line[1024];
  int n = 0;
  while (fgets(line, sizeof(line), f))
    if (strncmp(line, start, strlen(start)) == 0) n++;
  fclose(f);
  return n;
}

}  // namespace

// A against itself correlates 1; against -A, -1 with the same probability
// (two-tailed). Only A's upper triangle is read.
TEST(PermOtherMantel, TwoTailedAndUpperTriangleOnly) {
  double neg[25], junk[25];
  for (int k = 0; k < 25; k++) neg[k] = -kDist5[k], junk[k] = (k % 5 > k / 5) ? kDist5[k] : 99.5;
  Mat A(5, 5, junk), B(5, 5, kDist5), C(5, 5, neg);
  double r = 0.0, rNeg = 0.0;
  InitRndNumberGenerator(31);
  double p = ProbMantel(5, 60, A, B, &r);
  InitRndNumberGenerator(31);
  double pNeg = ProbMantel(5, 60, A, C, &rNeg);
  EXPECT_NEAR(1.0, r, 1e-12);
  EXPECT_NEAR(-1.0, rNeg, 1e-12);
  EXPECT_EQ(p, pNeg);
  EXPECT_TRUE(p >= 1.0 / 60 && p <= 1.0) << p;
  EXPECT_EQ(1.0, ProbMantel(5, 1, A, B, &r));
  EXPECT_TRUE(std::isinf(ProbMantel(5, 0, A, B, &r)));
}

TEST(PermOtherLimitingSimilarity, TiesCountAndEveryPassIsWritten) {
  // All OTU pairs equally similar: every permutation gives the observed value.
  double s[16];
  for (int k = 0; k < 16; k++) s[k] = (k % 5 == 0) ? 1.0 : 0.385;
  Mat S(4, 4, s), W(3, 4, {1, 2, 0, 1, 0, 3, 1, 0, 2, 0, 1, 4});
  FILE* f = tmpfile();
  ASSERT_NE(nullptr, f);
  InitRndNumberGenerator(5);
  EXPECT_EQ(1.0, Prob_LimitingSimilarity(20, 4, 3, W, S, false, true, f));
  EXPECT_EQ(19, CountLines(f, "Iteration "));
  EXPECT_EQ(1.0, Prob_LimitingSimilarity(20, 4, 3, W, S, true, false, nullptr));
  // Communities of one OTU each: the statistic is NaN, observed and random
  // alike; neither side of the comparison holds but the float patterns are
  // equal, so every pass counts and the probability, 1, claims nothing.
  Mat W1(3, 4, {1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 3, 0});
  EXPECT_EQ(1.0, Prob_LimitingSimilarity(20, 4, 3, W1, S, false, false, nullptr));
}

TEST(PermOtherXE_T, IdenticalTypesTieAndCountsAreWhole) {
  // Every OTU with the same belonging: X doesn't change under permutation.
  const double same[8] = {0.3, 0.7, 0.3, 0.7, 0.3, 0.7, 0.3, 0.7};
  const double u[8] = {0.9, 0.1, 0.2, 0.8, 0.55, 0.45, 0.05, 0.95};
  Mat Usame(4, 2, same), U(4, 2, u), W(5, 4, {1, 0, 2, 1, 0, 3, 1, 0, 2, 2, 1, 1, 0, 0, 4, 1, 1, 2, 3, 0});
  double de[25];
  for (int k = 0; k < 25; k++) de[k] = (k % 6 == 0) ? 0.0 : kDist5[k] * kDist5[k] + 0.5 * (k % 3);
  Mat DT(5, 5, kDist5), DE(5, 5, de);
  double pXE = 0, pXET = 0;
  InitRndNumberGenerator(8);
  Prob_ro_XE_T(15, 4, 2, 5, Usame, W, 0.37, DT, DE, &pXE, &pXET, 6, false, nullptr);
  EXPECT_EQ(1.0, pXE);
  EXPECT_EQ(1.0, pXET);
  Prob_ro_XE_T(15, 4, 2, 5, Usame, W, 0.37, DT, DE, &pXE, &pXET, 6, false, nullptr, true);
  EXPECT_EQ(1.0, pXE);
  EXPECT_EQ(1.0, pXET);
  Prob_ro_XE_T(0, 4, 2, 5, U, W, 0.37, DT, DE, &pXE, &pXET, 6, false, nullptr, false);
  EXPECT_TRUE(std::isinf(pXE) && std::isinf(pXET));
  FILE* f = tmpfile();
  ASSERT_NE(nullptr, f);
  Prob_ro_XE_T(33, 4, 2, 5, U, W, 0.61, DT, DE, &pXE, &pXET, 10, true, f, true);
  EXPECT_EQ(32, CountLines(f, "Iteration "));
  for (double p : {pXE, pXET}) EXPECT_NEAR(p * 33, floor(p * 33 + 0.5), 1e-9) << p;
}

// With S the identity the Rao entropy (d = sqrt(1 - s)) is the Gini-Simpson
// index, a permutation of the identity is the identity, and redundancy
// 0.625 - Rao ties in every pass. W row (1, 3): Rao = 2 * 0.25 * 0.75 = 0.375.
TEST(PermOtherRedundancy, IdentityResemblanceTiesInEveryCommunity) {
  const double id[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1}, w[6] = {1, 3, 0, 2, 2, 2};
  Mat S(3, 3, id), W(2, 3, w);
  double simpson[2] = {0.625, 0.9}, prob[2] = {0, 0};
  FILE* f = tmpfile();
  ASSERT_NE(nullptr, f);
  InitRndNumberGenerator(12);
  Prob_Redundancy(7, 3, 1, 2, simpson, prob, S, W, false, true, f, false);
  EXPECT_EQ(1.0, prob[0]);
  EXPECT_EQ(1.0, prob[1]);
  // The observed redundancies and those of the 6 passes, 0.25 first.
  EXPECT_EQ(7, CountLines(f, "0.25\t"));
  Prob_Redundancy(7, 3, 1, 2, simpson, prob, S, W, false, false, nullptr, true);
  EXPECT_EQ(1.0, prob[0]);
}

TEST(PermOtherPartialCorrelation, AgreesWithRepeatedFirstOrderFormula) {
  auto first = [](double xy, double xz, double yz) { return (xy - xz * yz) / sqrt((1 - xz * xz) * (1 - yz * yz)); };
  Mat R(4, 4, {1, 0.62, 0.35, -0.18, 0.62, 1, 0.41, 0.27, 0.35, 0.41, 1, 0.12, -0.18, 0.27, 0.12, 1});
  int given[2] = {2, 3};
  EXPECT_NEAR(first(0.62, 0.35, 0.41), PartialCorrelation_GeneralProc(4, R, 1, 0, 1, given), 1e-12);
  double r01_2 = first(0.62, 0.35, 0.41), r03_2 = first(-0.18, 0.35, 0.12), r13_2 = first(0.27, 0.41, 0.12);
  EXPECT_NEAR(first(r01_2, r03_2, r13_2), PartialCorrelation_GeneralProc(4, R, 0, 1, 2, given), 1e-12);
  EXPECT_DOUBLE_EQ(0.62, PartialCorrelation_GeneralProc(4, R, 0, 1, 0, given));
  // Variables 2 and 3 correlating 1 can't be inverted.
  R[2][3] = R[3][2] = 1.0;
  double singular = PartialCorrelation_GeneralProc(4, R, 0, 1, 2, given);
  EXPECT_TRUE(std::isinf(singular) && singular > 0) << singular;
}

// Two rows: each one's communality is their squared correlation. A constant
// third row (fewest positive values) makes the cross products singular: it
// is left out with -999 and the rank is 2.
TEST(PermOtherCommunality, SquaredCorrelationAndSingularRowLeftOut) {
  const double d[12] = {1, 2, 4, 7.5, 2, 1, 5, 3.25, -2.5, -2.5, -2.5, -2.5};
  Mat data(3, 4, d);
  double sxy = 0, sxx = 0, syy = 0;
  for (int k = 0; k < 4; k++) {
    double x = d[k] - 3.625, y = d[4 + k] - 2.8125;
    sxy += x * y, sxx += x * x, syy += y * y;
  }
  double comm[3] = {0, 0, 0};
  int rank = 0;
  EXPECT_TRUE(Communality(2, 4, data, comm, &rank));
  EXPECT_EQ(2, rank);
  EXPECT_NEAR(sxy * sxy / (sxx * syy), comm[0], 1e-10);
  EXPECT_NEAR(sxy * sxy / (sxx * syy), comm[1], 1e-10);
  Communality(3, 4, data, comm, &rank);
  EXPECT_EQ(2, rank);
  EXPECT_EQ(-999.0, comm[2]);
  EXPECT_NEAR(sxy * sxy / (sxx * syy), comm[0], 1e-10);
}

TEST(PermOtherBinarize, QualitativeColumnsBecomeIndicators) {
  Mat data(4, 2, {2, 1.5, 5, 2.25, 2.7, -0.5, -999, 3}), out(4, 8);
  int** states = dim2Dint(2, 4);
  int nStates[2] = {0, 0}, nOut = 0;
  bool qualitative[2] = {true, false};
  EXPECT_TRUE(Binarize(4, 2, qualitative, data, out, &nOut, states, nStates));
  ASSERT_EQ(3, nStates[0]);  // -999, 2 (2 and 2.7 truncated), 5
  EXPECT_EQ(-999, states[0][0]);
  EXPECT_EQ(2, states[0][1]);
  EXPECT_EQ(5, states[0][2]);
  ASSERT_EQ(4, nOut);
  const double expected[4][4] = {{0, 1, 0, 1.5}, {0, 0, 1, 2.25}, {0, 1, 0, -0.5}, {1, 0, 0, 3}};
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) EXPECT_EQ(expected[i][j], out[i][j]) << "row " << i << " column " << j;
  free2D(states, 2);
}

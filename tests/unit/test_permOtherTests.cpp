// Unit tests of the smaller permutation tests and their neighbouring helpers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "permutation/otherTests.h"

namespace {

double** Square(int n, const double* values) {
  double** m = dim2Double(n, n);
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) m[i][j] = values[i * n + j];
  return m;
}

double** Rows(int rows, int cols, const double* values) {
  double** m = dim2Double(rows, cols);
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) m[i][j] = values[i * cols + j];
  return m;
}

const double kDist5[25] = {0,     2.385, 4.12,  1.07, 3.3,   2.385, 0,     1.9,  2.6, 0.44, 4.12, 1.9, 0,
                           5.01,  2.72,  1.07,  2.6,  5.01,  0,     3.95,  3.3,  0.44, 2.72, 3.95, 0};

}  // namespace

TEST(PermOtherMantel, IdenticalMatricesCorrelateOneAndSignDoesNotMatter) {
  double** A = Square(5, kDist5);
  double** B = Square(5, kDist5);
  double neg[25];
  for (int k = 0; k < 25; k++) neg[k] = -kDist5[k];
  double** C = Square(5, neg);
  double r = 0.0;
  InitRndNumberGenerator(31);
  double p = ProbMantel(5, 60, A, B, &r);
  EXPECT_NEAR(1.0, r, 1e-12);
  EXPECT_GT(p, 0.0);
  EXPECT_LE(p, 1.0);
  // Two-tailed: a negated matrix gives -1 and, with the same draws, the same
  // probability.
  double rNeg = 0.0;
  InitRndNumberGenerator(31);
  double pNeg = ProbMantel(5, 60, A, C, &rNeg);
  EXPECT_NEAR(-1.0, rNeg, 1e-12);
  EXPECT_EQ(p, pNeg);
  EXPECT_EQ(1.0, ProbMantel(5, 1, A, B, &r));
  EXPECT_TRUE(std::isinf(ProbMantel(5, 0, A, B, &r)));
  free2D(A, 5);
  free2D(B, 5);
  free2D(C, 5);
}

TEST(PermOtherMantel, ReadsOnlyTheUpperTriangleOfA) {
  double lowerJunk[25];
  for (int i = 0; i < 5; i++)
    for (int j = 0; j < 5; j++) lowerJunk[i * 5 + j] = (j > i) ? kDist5[i * 5 + j] : 99.5;
  double** A = Square(5, lowerJunk);
  double** B = Square(5, kDist5);
  double r = 0.0;
  InitRndNumberGenerator(2);
  ProbMantel(5, 10, A, B, &r);
  EXPECT_NEAR(1.0, r, 1e-12);
  free2D(A, 5);
  free2D(B, 5);
}

TEST(PermOtherLimitingSimilarity, EqualResemblancesTieAndSingleOTUCommunitiesNeverCount) {
  // All OTU pairs equally similar: every permutation gives the observed value.
  double s[16];
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) s[i * 4 + j] = (i == j) ? 1.0 : 0.385;
  double** S = Square(4, s);
  const double w[12] = {1, 2, 0, 1, 0, 3, 1, 0, 2, 0, 1, 4};
  double** W = Rows(3, 4, w);
  InitRndNumberGenerator(5);
  EXPECT_EQ(1.0, Prob_LimitingSimilarity(20, 4, 3, W, S, false, false, nullptr));
  EXPECT_EQ(1.0, Prob_LimitingSimilarity(20, 4, 3, W, S, true, false, nullptr));
  // Communities of one OTU each: the statistic is NaN, observed and random
  // alike. Neither side of the comparison holds; the equality of the float
  // patterns does, so every pass counts and the probability is 1, which
  // claims nothing.
  const double single[12] = {1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 3, 0};
  double** W1 = Rows(3, 4, single);
  EXPECT_EQ(1.0, Prob_LimitingSimilarity(20, 4, 3, W1, S, false, false, nullptr));
  free2D(S, 4);
  free2D(W, 3);
  free2D(W1, 3);
}

TEST(PermOtherLimitingSimilarity, IntermediateOutputHasEveryIteration) {
  double** S = Square(5, kDist5);
  const double w[10] = {1, 1, 0, 1, 0, 0, 1, 1, 0, 1};
  double** W = Rows(2, 5, w);
  FILE* f = tmpfile();
  ASSERT_NE(nullptr, f);
  InitRndNumberGenerator(6);
  Prob_LimitingSimilarity(4, 5, 2, W, S, true, true, f);
  rewind(f);
  char line[512];
  int iterations = 0;
  bool header = false;
  while (fgets(line, sizeof(line), f)) {
    if (strncmp(line, "Iteration ", 10) == 0) iterations++;
    if (strstr(line, "Observed dissimilarity matrix of 5 OTUs:")) header = true;
  }
  fclose(f);
  EXPECT_TRUE(header);
  EXPECT_EQ(3, iterations);
  free2D(S, 5);
  free2D(W, 2);
}

TEST(PermOtherXE_T, IdenticalTypesTieAndBoundaryIterations) {
  // Every OTU with the same belonging: X doesn't change under permutation.
  const double u[8] = {0.3, 0.7, 0.3, 0.7, 0.3, 0.7, 0.3, 0.7};
  double** U = Rows(4, 2, u);
  const double w[20] = {1, 0, 2, 1, 0, 3, 1, 0, 2, 2, 1, 1, 0, 0, 4, 1, 1, 2, 3, 0};
  double** W = Rows(5, 4, w);
  double** DT = Square(5, kDist5);
  double de[25];
  for (int k = 0; k < 25; k++) de[k] = kDist5[k] * kDist5[k] + 0.5 * (k % 3);
  double** DE = Square(5, de);
  for (int i = 0; i < 5; i++) DE[i][i] = 0.0;
  double pXE = 0, pXET = 0;
  InitRndNumberGenerator(8);
  Prob_ro_XE_T(15, 4, 2, 5, U, W, 0.37, DT, DE, &pXE, &pXET, 6, false, nullptr);
  EXPECT_EQ(1.0, pXE);
  EXPECT_EQ(1.0, pXET);
  Prob_ro_XE_T(15, 4, 2, 5, U, W, 0.37, DT, DE, &pXE, &pXET, 6, false, nullptr, true);
  EXPECT_EQ(1.0, pXE);
  EXPECT_EQ(1.0, pXET);
  Prob_ro_XE_T(0, 4, 2, 5, U, W, 0.37, DT, DE, &pXE, &pXET, 6, false, nullptr, false);
  EXPECT_TRUE(std::isinf(pXE) && std::isinf(pXET));
  free2D(U, 4);
  free2D(W, 5);
  free2D(DT, 5);
  free2D(DE, 5);
}

TEST(PermOtherXE_T, ProbabilitiesAreCountsAndReproducible) {
  const double u[10] = {0.9, 0.1, 0.2, 0.8, 0.55, 0.45, 0.05, 0.95, 0.7, 0.3};
  double** U = Rows(5, 2, u);
  const double w[25] = {1, 0, 2, 1, 0, 3, 1, 0, 2, 2, 1, 1, 0, 0, 4, 1, 1, 2, 3, 0, 0, 2, 2, 0, 1};
  double** W = Rows(5, 5, w);
  double** DT = Square(5, kDist5);
  double** DE = Square(5, kDist5);
  double a1 = 0, b1 = 0, a2 = 0, b2 = 0;
  InitRndNumberGenerator(10);
  Prob_ro_XE_T(33, 5, 2, 5, U, W, 0.61, DT, DE, &a1, &b1, 6, false, nullptr, true);
  InitRndNumberGenerator(10);
  Prob_ro_XE_T(33, 5, 2, 5, U, W, 0.61, DT, DE, &a2, &b2, 6, false, nullptr, true);
  EXPECT_EQ(a1, a2);
  EXPECT_EQ(b1, b2);
  double count = a1 * 33;
  EXPECT_NEAR(count, floor(count + 0.5), 1e-9);
  EXPECT_GE(count, 1.0 - 1e-9);
  free2D(U, 5);
  free2D(W, 5);
  free2D(DT, 5);
  free2D(DE, 5);
}

// With S the identity the Rao entropy (d = sqrt(1 - s)) is the Gini-Simpson
// index, a permutation of the identity is the identity, and redundancy
// 0.625 - Rao ties in every pass. W row (1, 3): Rao = 2 * 0.25 * 0.75 = 0.375.
TEST(PermOtherRedundancy, IdentityResemblanceTiesInEveryCommunity) {
  const double id[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  double** S = Square(3, id);
  const double w[6] = {1, 3, 0, 2, 2, 2};
  double** W = Rows(2, 3, w);
  double simpson[2] = {0.625, 0.9};
  double prob[2] = {0, 0};
  FILE* f = tmpfile();
  InitRndNumberGenerator(12);
  Prob_Redundancy(7, 3, 1, 2, simpson, prob, S, W, false, true, f, false);
  EXPECT_EQ(1.0, prob[0]);
  EXPECT_EQ(1.0, prob[1]);
  rewind(f);
  char line[256];
  bool observed = false;
  while (fgets(line, sizeof(line), f))
    if (strncmp(line, "0.25\t", 5) == 0) observed = true;  // 0.625 - 0.375
  fclose(f);
  EXPECT_TRUE(observed) << "observed redundancy of the first community";
  Prob_Redundancy(7, 3, 1, 2, simpson, prob, S, W, false, false, nullptr, true);
  EXPECT_EQ(1.0, prob[0]);
  free2D(S, 3);
  free2D(W, 2);
}

TEST(PermOtherPartialCorrelation, MatchesFirstOrderFormulaAndFailsOnSingularControls) {
  const double r[16] = {1, 0.5, 0.3, 0.3, 0.5, 1, 0.2, 0.2, 0.3, 0.2, 1, 1, 0.3, 0.2, 1, 1};
  double** R = Square(4, r);
  int given[2] = {2, 3};
  double expected = (0.5 - 0.3 * 0.2) / sqrt((1 - 0.09) * (1 - 0.04));
  EXPECT_NEAR(expected, PartialCorrelation_GeneralProc(4, R, 0, 1, 1, given), 1e-12);
  EXPECT_NEAR(expected, PartialCorrelation_GeneralProc(4, R, 1, 0, 1, given), 1e-12);
  // Variables 2 and 3 correlate 1: their matrix can't be inverted.
  double singular = PartialCorrelation_GeneralProc(4, R, 0, 1, 2, given);
  EXPECT_TRUE(std::isinf(singular) && singular > 0) << singular;
  EXPECT_DOUBLE_EQ(0.5, PartialCorrelation_GeneralProc(4, R, 0, 1, 0, given));
  free2D(R, 4);
}

TEST(PermOtherPartialCorrelation, SecondOrderEqualsRepeatedFirstOrder) {
  const double r[16] = {1, 0.62, 0.35, -0.18, 0.62, 1, 0.41, 0.27, 0.35, 0.41, 1, 0.12, -0.18, 0.27, 0.12, 1};
  double** R = Square(4, r);
  auto first = [](double xy, double xz, double yz) { return (xy - xz * yz) / sqrt((1 - xz * xz) * (1 - yz * yz)); };
  double r01_2 = first(0.62, 0.35, 0.41);
  double r03_2 = first(-0.18, 0.35, 0.12);
  double r13_2 = first(0.27, 0.41, 0.12);
  int given[2] = {2, 3};
  EXPECT_NEAR(first(r01_2, r03_2, r13_2), PartialCorrelation_GeneralProc(4, R, 0, 1, 2, given), 1e-12);
  free2D(R, 4);
}

// Two rows: each one's communality is the squared correlation between them.
TEST(PermOtherCommunality, TwoRowsGiveSquaredCorrelation) {
  const double d[8] = {1, 2, 4, 7.5, 2, 1, 5, 3.25};
  double** data = Rows(2, 4, d);
  double mx = 3.625, my = 2.8125, sxy = 0, sxx = 0, syy = 0;
  for (int k = 0; k < 4; k++) {
    sxy += (d[k] - mx) * (d[4 + k] - my);
    sxx += (d[k] - mx) * (d[k] - mx);
    syy += (d[4 + k] - my) * (d[4 + k] - my);
  }
  double r2 = sxy * sxy / (sxx * syy);
  double comm[2] = {0, 0};
  int rank = 0;
  EXPECT_TRUE(Communality(2, 4, data, comm, &rank));
  EXPECT_EQ(2, rank);
  EXPECT_NEAR(r2, comm[0], 1e-10);
  EXPECT_NEAR(r2, comm[1], 1e-10);
  free2D(data, 2);
}

// The third row (fewest positive values) is constant: centred it is zero, the
// cross products of the three rows are singular, the first two are kept and
// the third gets -999.
TEST(PermOtherCommunality, ConstantRowIsLeftOut) {
  const double d[12] = {3, 1, 4, 1.5, 1, 5, -9, 2, -2.5, -2.5, -2.5, -2.5};
  double** data = Rows(3, 4, d);
  double comm[3] = {0, 0, 0};
  int rank = 0;
  Communality(3, 4, data, comm, &rank);
  EXPECT_EQ(2, rank);
  EXPECT_EQ(-999.0, comm[2]);
  EXPECT_NEAR(comm[0], comm[1], 1e-10);
  EXPECT_GE(comm[0], 0.0);
  EXPECT_LE(comm[0], 1.0);
  free2D(data, 3);
}

TEST(PermOtherBinarize, QualitativeColumnsBecomeIndicators) {
  const double d[8] = {2, 1.5, 5, 2.25, 2.7, -0.5, -999, 3};
  double** data = Rows(4, 2, d);
  double** out = dim2Double(4, 8);
  int** states = dim2Dint(2, 4);
  int nStates[2] = {0, 0};
  bool qualitative[2] = {true, false};
  int nOut = 0;
  EXPECT_TRUE(Binarize(4, 2, qualitative, data, out, &nOut, states, nStates));
  ASSERT_EQ(3, nStates[0]);  // -999, 2 (2 and 2.7 truncated), 5
  EXPECT_EQ(-999, states[0][0]);
  EXPECT_EQ(2, states[0][1]);
  EXPECT_EQ(5, states[0][2]);
  ASSERT_EQ(4, nOut);
  const double expected[4][4] = {{0, 1, 0, 1.5}, {0, 0, 1, 2.25}, {0, 1, 0, -0.5}, {1, 0, 0, 3}};
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) EXPECT_EQ(expected[i][j], out[i][j]) << "row " << i << " column " << j;
  free2D(data, 4);
  free2D(out, 4);
  free2D(states, 2);
}

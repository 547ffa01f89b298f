// Unit tests of vector statistics, correlations, adjustments, ranks and coded transformations.
#include <cmath>

#include <gtest/gtest.h>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibStats.h"
#include "tests/unit/test_util.h"

using namespace testutil;

TEST(StatsMissing, SumsAndCountsLeaveOutMissingValues) {
  double y[] = {2.5, M, 4.1, 1.3};
  EXPECT_NEAR(SumOfSquaresDev(4, y), 3.9466666666666667, 1e-12);
  EXPECT_NEAR(Variance(4, y), 1.9733333333333334, 1e-12);
  EXPECT_NEAR(SumOfSquares(4, y), 24.75, 1e-12);
  double none[] = {M, M};
  EXPECT_TRUE(std::isnan(SumOfSquaresDev(2, none))) << "k = 0 must give a NaN, not an error";
  double rows[2], cols[2];
  Mat m(2, 2, {1.5, M, 2.25, 3.0});
  RowTotalsMV(2, 2, m, rows);
  ColTotalsMV(2, 2, m, cols);
  ExpectValues(rows, {1.5, 5.25}, "row totals");
  ExpectValues(cols, {3.75, 3.0}, "column totals");
  EXPECT_DOUBLE_EQ(MatrixTotalMV(2, 2, m), 6.75);
}

TEST(StatsMissing, PairwiseDeletionInCovarianceAndCorrelation) {
  double a[] = {1, 2, 3}, b[] = {2, M, 6};
  EXPECT_NEAR(Correlation2VecMV(3, a, b), 1.0, 1e-12);
  double c[] = {2.385, 1.2, M, 4.7, 3.3}, d[] = {1.1, 0.4, 9.9, 2.8, M};
  EXPECT_NEAR(Covariance2VecMV(5, c, d), 2.194166666666667, 1e-12);
  EXPECT_NEAR(Correlation2VecMV(5, c, d), 0.9986591881757266, 1e-12);
  EXPECT_NEAR(CrossProduct2VecMV(5, c, d), 2.385 * 1.1 + 1.2 * 0.4 + 4.7 * 2.8, 1e-12);
  double k[] = {4.2, 4.2, 4.2};
  EXPECT_TRUE(std::isnan(Correlation2VecMV(3, k, a))) << "a constant vector has no correlation";
}

TEST(StatsMissing, MatrixFormsAgreeWithPairwiseForms) {
  // Without a missing value the fast path (centre, cross-multiply) must give
  // what the pairwise routine gives.
  Mat in(3, 4, {2.385, 1.2, 4.7, 3.3, 0.5, 0.9, 2.8, 1.75, 6.1, 2.2, 3.3, 0.4}), cov(3, 3), cor(3, 3);
  CovarianceMV(3, 4, in, cov);
  CorrelationMV(3, 4, in, cor);
  for (int i = 0; i < 3; i++)
    for (int j = i; j < 3; j++) {
      EXPECT_NEAR(cov[i][j], Covariance2VecMV(4, in[i], in[j]), 1e-12) << "covariance " << i << "," << j;
      EXPECT_NEAR(cor[i][j], Correlation2VecMV(4, in[i], in[j]), 1e-12) << "correlation " << i << "," << j;
    }
  EXPECT_EQ(cov[1][0], 0.0) << "the lower triangle is not touched";
}

TEST(StatsMissing, ConstantRowCorrelatesZeroWithoutMissingAndNaNWithOne) {
  Mat in(2, 3, {3.5, 3.5, 3.5, 1.2, 4.4, 2.9}), out(2, 2);
  CorrelationMV(2, 3, in, out);
  ExpectValues(out[0], {0.0, 0.0}, "constant row");
  EXPECT_NEAR(out[1][1], 1.0, 1e-12);
  in[1][2] = M;
  CorrelationMV(2, 3, in, out);
  EXPECT_TRUE(std::isnan(out[0][0])) << "with one -999 anywhere the constant row gives a NaN";
  EXPECT_NEAR(out[1][1], 1.0, 1e-12);
}

TEST(StatsAdjust, MissingValuesPassThroughTransformations) {
  Mat m(1, 3, {1, M, 3});
  CenterRowsMV(1, 3, m, m);
  ExpectValues(m[0], {-1, M, 1}, "CenterRowsMV in place");

  Mat col(3, 1, {1, 3, M}), out(3, 1);
  ZStandardizationColsMV(3, 1, col, out);
  // The divisor is the root of 2 / 3 (full length), not of 2 / 2.
  EXPECT_NEAR(out[0][0], -1.0 / sqrt(2.0 / 3.0), 1e-12);
  EXPECT_NEAR(out[1][0], 1.0 / sqrt(2.0 / 3.0), 1e-12);
  EXPECT_EQ(out[2][0], M);

  Mat us(3, 3, {2.5, M, 1.5, 0, 0, 0, M, M, M});
  UnitSumRowsAdjMV(3, 3, us, us);
  ExpectValues(us[0], {0.625, M, 0.375}, "unit sum row");
  ExpectValues(us[1], {0, 0, 0}, "an all-zero row stays zero");
  ExpectValues(us[2], {M, M, M}, "an all-missing row stays missing");

  Mat hm(1, 4, {1.44, M, 0.81, 0.25});
  HellingerRowsAdjMV(1, 4, hm, hm);
  ExpectValues(hm[0], {sqrt(1.44 / 2.5), M}, "Hellinger");
}

TEST(StatsAdjust, RangeAdjustments) {
  Mat m(4, 2, {4.2, -3.2, 4.2, M, 4.2, -1.2, 4.2, -2.7});
  RangeColsAdjMV(4, 2, m, m);
  for (int i = 0; i < 4; i++) EXPECT_EQ(m[i][0], 0.0) << "a constant column gives 0, row " << i;
  double second[] = {m[0][1], m[1][1], m[2][1], m[3][1]};
  ExpectValues(second, {0.0, M, 1.0, 0.25}, "range column");

  Mat row(1, 3, {2, 4, 6.5});
  RangeRowsAdjMV(1, 3, row, row);
  ExpectValues(row[0], {2 / 4.5, 4 / 4.5, 6.5 / 4.5}, "RangeRowsAdjMV: no minimum subtracted");

  double neg[] = {-3.0, -5.5, -4.25};
  EXPECT_DOUBLE_EQ(Range(3, neg), 5.5) << "the maximum starts at 0";
  EXPECT_EQ(MatrixMax(1, 3, Mat(1, 3, neg)), 0.0);
  double mx[3];
  MaxAdjMV(3, neg, mx);
  EXPECT_DOUBLE_EQ(mx[0], -3.0 / 1.1754943508222875e-38) << "the maximum can't be 0 or negative";
}

TEST(StatsAdjust, FloatRoundingsAreKept) {
  Mat m(4, 1, {2.5, M, 4.1, 1.3}), out(4, 1);
  out[1][0] = 77.0;
  CorrAdj(4, 1, out, m);
  EXPECT_EQ(out[0][0], (double)(float)-0.06711560552140242);
  EXPECT_EQ(out[1][0], 77.0) << "CorrAdj doesn't write where the input is missing";
  EXPECT_EQ(out[2][0], (double)(float)0.7382716607354266);

  Mat lm(2, 2, {3.3, 4.4, 0, 0});
  UnitLengthAdj(2, 2, lm, lm);
  EXPECT_EQ(lm[0][0], (double)(float)0.6);
  EXPECT_EQ(lm[0][1], (double)(float)0.8);
  EXPECT_EQ(lm[1][0], 0.0) << "a zero row is divided by 1";

  float f[] = {1.1f, 2.2f, -999.0f};
  float* fr[] = {&f[0], &f[1], &f[2]};
  Mat dc(3, 1);
  CenterColsMV(3, 1, fr, dc);
  EXPECT_EQ(dc[0][0], (double)(float)(1.1f - (1.1f + (double)2.2f) / 2));
  EXPECT_EQ(dc[2][0], M);
}

TEST(StatsAdjust, DeviationsNormalisingAndGowerStandardization) {
  Mat m(2, 2, {1.5, 2.5, 3.0, M});
  DeviationsExpectationsMV(2, 2, m, m);
  ExpectValues(m[0], {-0.2525381361380527, 0.3388154635894692}, "deviations, row 0");
  ExpectValues(m[1], {0.29160592175990213, M}, "deviations, row 1");

  Mat nm(2, 3, {3, M, 4, 0, 0, 0});
  NormalizeRowsMV(2, 3, nm, nm);
  ExpectValues(nm[0], {0.6, M}, "normalised row");
  EXPECT_EQ(nm[1][0], 0.0) << "a zero row is left as it is";

  Mat gm(2, 2, {1, 2, M, 2});
  GowerStandardizationRows(2, 2, gm); // s = (1 + 4 + 4) / 1
  EXPECT_NEAR(gm[0][1], 2.0 / 3.0, 1e-12);
  EXPECT_EQ(gm[1][0], M);
}

TEST(StatsVector, MedianExtremesAndGroups) {
  double x[] = {5.5, M, 1.25, 3.0, 9.75};
  EXPECT_DOUBLE_EQ(Median(5, x, nullptr), 4.25);
  int select[] = {1, 1, 1, 0, 1};
  EXPECT_DOUBLE_EQ(Median(5, x, select), 5.5);
  EXPECT_EQ(minVector(5, x), M) << "-999 is an ordinary value here";
  double t[] = {2.5, 7.25, 7.25, 1.0};
  EXPECT_EQ(MaxVectorWhich(4, t), 1);

  int labels[] = {7, -2, 7, 3};
  int distinct[4], nGroups;
  CountGroups(4, labels, &nGroups, distinct);
  ASSERT_EQ(nGroups, 3);
  ExpectInts(distinct, {-2, 3, 7}, "distinct labels");
  int sel[] = {1, 0, 1, 1};
  CountGroupsSelect(4, labels, sel, &nGroups, nullptr);
  EXPECT_EQ(nGroups, 2);
}

TEST(StatsMatrix, ProductSkipsMissingFactors) {
  Mat A(2, 2, {1.5, M, 2, 0.5}), B(2, 2, {2, 4, 3, 1}), C(2, 2);
  EXPECT_EQ(MatrixProd(2, 2, 2, 2, A, B, C), 0);
  EXPECT_DOUBLE_EQ(C[0][0], 3.0) << "the term with a missing factor is skipped";
  EXPECT_DOUBLE_EQ(C[1][1], 8.5);
  C[0][0] = 42;
  EXPECT_EQ(MatrixProd(2, 2, 3, 2, A, B, C), 1);
  EXPECT_EQ(C[0][0], 42.0) << "a shape mismatch does nothing";
  TransposeSqMatrix(2, B, B);
  ExpectValues(B[0], {2, 3}, "in-place transposition");
}

TEST(StatsRanks, OrderingsAndMidranks) {
  double x[] = {30, 10, 20};
  int order[3];
  RankVector(3, x, order);
  ExpectInts(order, {2, 3, 1}, "RankVector");
  double ab[] = {-3.5, 1.25, 2};
  RankVectorAbs(3, ab, order);
  EXPECT_EQ(order[2], 1) << "absolute values";
  // 16777217 and 16777216 are one float: the ordering must see them apart.
  int ix[] = {16777217, -4, 16777216};
  IndexVector(3, ix, order);
  ExpectInts(order, {2, 3, 1}, "IndexVector");
  EXPECT_EQ(ix[0], 16777217) << "IndexVector leaves x in place";

  double t[] = {10, 20, 20, 30}, r[4];
  RankVectorAdj(4, t, r);
  ExpectValues(r, {1, 2.5, 2.5, 4}, "midranks");
  double u[] = {2.2, 0.7, 2.2, 5.1, 2.2, 0.7}, ru[6], rd[6];
  RankVectorAdj(6, u, ru);
  RankVectorDAdj(6, u, rd);
  ExpectValues(rd, {ru[0], ru[1], ru[2], ru[3], ru[4], ru[5]}, "counting and sorting give the same midranks");
  EXPECT_DOUBLE_EQ(ru[0], 4.0);

  double m[] = {5, M, 7}, rm[3];
  RankVectorAdjMV(3, m, rm);
  ExpectValues(rm, {1, M, 2}, "missing values kept out of the ranking");
  double m2[] = {2.2, M, 1.1, 2.2, M};
  RankVectorAdjMV(5, m2, m2);
  ExpectValues(m2, {2.5, M, 1, 2.5, M}, "ties and two missing values, in place");

  double s1[] = {1.5, 2.25, 9, 4}, s2[] = {10, 20, 70, 35}, s3[] = {4, 3, 1, 2};
  EXPECT_NEAR(Spearman2Vec(4, s1, s2), 1.0, 1e-12);
  EXPECT_NEAR(Spearman2Vec(4, s1, s3), -1.0, 1e-12);

  Mat rows(1, 4, {5, 4, 6.5, 1});
  RankRowsDAdj(1, 4, rows, rows);
  ExpectValues(rows[0], {3, 2, 4, 1}, "RankRowsDAdj in place");
}

TEST(StatsRanks, ResemblanceTriangleRankedAsOneList) {
  Mat in(3, 3, {9, 0.5, 0.2, 9, 9, 0.5, 9, 9, 9}), out(3, 3);
  out[1][1] = -5;
  RankReseAdj(3, in, out);
  ExpectValues(out[0], {0, 2.5, 1.0}, "first row");
  EXPECT_EQ(out[1][2], 2.5);
  EXPECT_EQ(out[1][1], -5.0) << "diagonal untouched";
  EXPECT_EQ(out[1][0], 0.0) << "lower triangle untouched";
}

TEST(StatsCoded, ClassesAndTransformationSteps) {
  double x[] = {2, M, 5, 3.5, 4.1}, c[5];
  ClassesMV(5, x, c, 4);
  ExpectValues(c, {1, M, 4, 2, 3}, "ClassesMV");

  Mat m(2, 3, {0, 2.5, M, 7, 0.1, 0});
  DataTransformationsLib(2, 3, m, 1, 0, 1, 0, 0, 1.0, 0); // presence, then unit row sums
  ExpectValues(m[0], {0, 1, M}, "presence and unit sum, row 0");
  ExpectValues(m[1], {0.5, 0.5, 0}, "presence and unit sum, row 1");

  Mat sm(2, 3, {1, 3, 9, 2, M, 4});
  int select[] = {0, 1};
  DataTransformationsLib(2, 3, sm, 0, 0, 9, 0, 0, 1.0, 0, select);
  ExpectValues(sm[0], {1, 3, 9}, "unselected row untouched");
  ExpectValues(sm[1], {1, M, 2}, "ranked selected row, -999 kept");
  DataTransformationsLib(2, 3, sm, 3, 77, 77, 0, 0, 1.0, 0); // log10(x + 1); unknown codes skip
  EXPECT_NEAR(sm[0][2], 1.0, 1e-12);
}

// Unit tests of vector statistics, correlations, adjustments, ranks and coded transformations.
#include <cmath>

#include <gtest/gtest.h>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibStats.h"

namespace {

const double MV = -999.0;

// A rows x cols matrix from values given row by row.
double** Mat(int rows, int cols, const double* v) {
  double** m = dim2Double(rows, cols);
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) m[i][j] = v[i * cols + j];
  return m;
}

void ExpectRow(const double* got, const double* want, int n, const char* what) {
  for (int i = 0; i < n; i++) EXPECT_NEAR(got[i], want[i], 1e-12) << what << ", element " << i;
}

} // namespace

TEST(StatsMissing, SumsAndCountsLeaveOutMissingValues) {
  double y[] = {2.5, MV, 4.1, 1.3};
  EXPECT_NEAR(SumOfSquaresDev(4, y), 3.9466666666666667, 1e-12);
  EXPECT_NEAR(Variance(4, y), 1.9733333333333334, 1e-12);
  EXPECT_NEAR(SumOfSquares(4, y), 24.75, 1e-12);
  float yf[] = {2.5f, -999.0f, 4.1f, 1.3f};
  EXPECT_NEAR(SumOfSquaresDev(4, yf), 3.9466666666666667, 1e-5);
  double none[] = {MV, MV};
  EXPECT_TRUE(std::isnan(SumOfSquaresDev(2, none))) << "k = 0 must give a NaN, not an error";
  double v[] = {1.5, MV, 2.25, 3.0}, rows[2], cols[2];
  double** m = Mat(2, 2, v);
  RowTotalsMV(2, 2, m, rows);
  ColTotalsMV(2, 2, m, cols);
  double wantRows[] = {1.5, 5.25}, wantCols[] = {3.75, 3.0};
  ExpectRow(rows, wantRows, 2, "row totals");
  ExpectRow(cols, wantCols, 2, "column totals");
  EXPECT_DOUBLE_EQ(MatrixTotalMV(2, 2, m), 6.75);
  free2D(m, 2);
}

TEST(StatsMissing, PairwiseDeletionInCovarianceAndCorrelation) {
  double a[] = {1, 2, 3}, b[] = {2, MV, 6};
  EXPECT_NEAR(Correlation2VecMV(3, a, b), 1.0, 1e-12);
  double c[] = {2.385, 1.2, MV, 4.7, 3.3}, d[] = {1.1, 0.4, 9.9, 2.8, MV};
  EXPECT_NEAR(Covariance2VecMV(5, c, d), 2.194166666666667, 1e-12);
  EXPECT_NEAR(Correlation2VecMV(5, c, d), 0.9986591881757266, 1e-12);
  EXPECT_NEAR(CrossProduct2VecMV(5, c, d), 2.385 * 1.1 + 1.2 * 0.4 + 4.7 * 2.8, 1e-12);
  double k[] = {4.2, 4.2, 4.2};
  EXPECT_TRUE(std::isnan(Correlation2VecMV(3, k, a))) << "a constant vector has no correlation";
}

TEST(StatsMissing, MatrixFormsAgreeWithPairwiseForms) {
  // Without a missing value the fast path (centre, cross-multiply) must give
  // what the pairwise routine gives.
  double v[] = {2.385, 1.2, 4.7, 3.3, 0.5, 0.9, 2.8, 1.75, 6.1, 2.2, 3.3, 0.4};
  double** in = Mat(3, 4, v);
  double** cov = dim2Double(3, 3);
  double** cor = dim2Double(3, 3);
  CovarianceMV(3, 4, in, cov);
  CorrelationMV(3, 4, in, cor);
  for (int i = 0; i < 3; i++)
    for (int j = i; j < 3; j++) {
      EXPECT_NEAR(cov[i][j], Covariance2VecMV(4, in[i], in[j]), 1e-12) << "covariance " << i << "," << j;
      EXPECT_NEAR(cor[i][j], Correlation2VecMV(4, in[i], in[j]), 1e-12) << "correlation " << i << "," << j;
    }
  EXPECT_EQ(cov[1][0], 0.0) << "the lower triangle is not touched";
  free2D(in, 3);
  free2D(cov, 3);
  free2D(cor, 3);
}

TEST(StatsMissing, ConstantRowCorrelatesZeroWithoutMissingAndNaNWithOne) {
  double v[] = {3.5, 3.5, 3.5, 1.2, 4.4, 2.9};
  double** in = Mat(2, 3, v);
  double** out = dim2Double(2, 2);
  CorrelationMV(2, 3, in, out);
  EXPECT_EQ(out[0][0], 0.0) << "constant row, diagonal";
  EXPECT_EQ(out[0][1], 0.0);
  EXPECT_NEAR(out[1][1], 1.0, 1e-12);
  in[1][2] = MV;
  CorrelationMV(2, 3, in, out);
  EXPECT_TRUE(std::isnan(out[0][0])) << "with one -999 anywhere the constant row gives a NaN";
  EXPECT_NEAR(out[1][1], 1.0, 1e-12);
  free2D(in, 2);
  free2D(out, 2);
}

TEST(StatsAdjust, MissingValuesPassThroughTransformations) {
  double v[] = {1, MV, 3};
  double** m = Mat(1, 3, v);
  CenterRowsMV(1, 3, m, m);
  double want[] = {-1, MV, 1};
  ExpectRow(m[0], want, 3, "CenterRowsMV in place");
  free2D(m, 1);

  double z[] = {1, 3, MV};
  double** col = Mat(3, 1, z);
  double** out = dim2Double(3, 1);
  ZStandardizationColsMV(3, 1, col, out);
  // The divisor is the root of 2 / 3 (full length), not of 2 / 2.
  EXPECT_NEAR(out[0][0], -1.0 / sqrt(2.0 / 3.0), 1e-12);
  EXPECT_NEAR(out[1][0], 1.0 / sqrt(2.0 / 3.0), 1e-12);
  EXPECT_EQ(out[2][0], MV);
  free2D(col, 3);
  free2D(out, 3);

  double u[] = {2.5, MV, 1.5, 0, 0, 0, MV, MV, MV};
  double** us = Mat(3, 3, u);
  UnitSumRowsAdjMV(3, 3, us, us);
  double w0[] = {0.625, MV, 0.375}, w1[] = {0, 0, 0}, w2[] = {MV, MV, MV};
  ExpectRow(us[0], w0, 3, "unit sum row");
  ExpectRow(us[1], w1, 3, "an all-zero row stays zero");
  ExpectRow(us[2], w2, 3, "an all-missing row stays missing");
  free2D(us, 3);

  double h[] = {1.44, MV, 0.81, 0.25};
  double** hm = Mat(1, 4, h);
  HellingerRowsAdjMV(1, 4, hm, hm);
  EXPECT_NEAR(hm[0][0], sqrt(1.44 / 2.5), 1e-12);
  EXPECT_EQ(hm[0][1], MV);
  free2D(hm, 1);
}

TEST(StatsAdjust, RangeAdjustments) {
  double v[] = {4.2, -3.2, 4.2, MV, 4.2, -1.2, 4.2, -2.7};
  double** m = Mat(4, 2, v);
  RangeColsAdjMV(4, 2, m, m);
  for (int i = 0; i < 4; i++) EXPECT_EQ(m[i][0], 0.0) << "a constant column gives 0, row " << i;
  EXPECT_NEAR(m[0][1], 0.0, 1e-12);
  EXPECT_EQ(m[1][1], MV);
  EXPECT_NEAR(m[2][1], 1.0, 1e-12);
  EXPECT_NEAR(m[3][1], 0.25, 1e-12);
  free2D(m, 4);

  double r[] = {2, 4, 6.5};
  double** row = Mat(1, 3, r);
  RangeRowsAdjMV(1, 3, row, row);
  double want[] = {2 / 4.5, 4 / 4.5, 6.5 / 4.5}; // no minimum subtracted
  ExpectRow(row[0], want, 3, "RangeRowsAdjMV");
  free2D(row, 1);

  double neg[] = {-3.0, -5.5, -4.25};
  EXPECT_DOUBLE_EQ(Range(3, neg), 5.5) << "the maximum starts at 0";
  double** nm = Mat(1, 3, neg);
  EXPECT_EQ(MatrixMax(1, 3, nm), 0.0);
  free2D(nm, 1);
  double mx[3];
  MaxAdjMV(3, neg, mx);
  EXPECT_DOUBLE_EQ(mx[0], -3.0 / 1.1754943508222875e-38) << "the maximum can't be 0 or negative";
}

TEST(StatsAdjust, FloatRoundingsAreKept) {
  double v[] = {2.5, MV, 4.1, 1.3};
  double** m = Mat(4, 1, v);
  double** out = dim2Double(4, 1);
  out[1][0] = 77.0;
  CorrAdj(4, 1, out, m);
  EXPECT_EQ(out[0][0], (double)(float)-0.06711560552140242);
  EXPECT_EQ(out[1][0], 77.0) << "CorrAdj doesn't write where the input is missing";
  EXPECT_EQ(out[2][0], (double)(float)0.7382716607354266);
  free2D(m, 4);
  free2D(out, 4);

  double l[] = {3.3, 4.4, 0, 0};
  double** lm = Mat(2, 2, l);
  UnitLengthAdj(2, 2, lm, lm);
  EXPECT_EQ(lm[0][0], (double)(float)0.6);
  EXPECT_EQ(lm[0][1], (double)(float)0.8);
  EXPECT_EQ(lm[1][0], 0.0) << "a zero row is divided by 1";
  free2D(lm, 2);

  float f[] = {1.1f, 2.2f, -999.0f};
  float* fr[] = {&f[0], &f[1], &f[2]};
  double** dc = dim2Double(3, 1);
  CenterColsMV(3, 1, fr, dc);
  EXPECT_EQ(dc[0][0], (double)(float)(1.1f - (1.1f + (double)2.2f) / 2));
  EXPECT_EQ(dc[2][0], MV);
  free2D(dc, 3);
}

TEST(StatsAdjust, DeviationsNormalisingAndGowerStandardization) {
  double v[] = {1.5, 2.5, 3.0, MV};
  double** m = Mat(2, 2, v);
  DeviationsExpectationsMV(2, 2, m, m);
  EXPECT_NEAR(m[0][0], -0.2525381361380527, 1e-12);
  EXPECT_NEAR(m[0][1], 0.3388154635894692, 1e-12);
  EXPECT_NEAR(m[1][0], 0.29160592175990213, 1e-12);
  EXPECT_EQ(m[1][1], MV);
  free2D(m, 2);

  double n[] = {3, MV, 4, 0, 0, 0};
  double** nm = Mat(2, 3, n);
  NormalizeRowsMV(2, 3, nm, nm);
  EXPECT_NEAR(nm[0][0], 0.6, 1e-12);
  EXPECT_EQ(nm[0][1], MV);
  EXPECT_EQ(nm[1][0], 0.0) << "a zero row is left as it is";
  free2D(nm, 2);

  double g[] = {1, 2, MV, 2};
  double** gm = Mat(2, 2, g);
  GowerStandardizationRows(2, 2, gm); // s = (1 + 4 + 4) / 1
  EXPECT_NEAR(gm[0][1], 2.0 / 3.0, 1e-12);
  EXPECT_EQ(gm[1][0], MV);
  free2D(gm, 2);
}

TEST(StatsVector, MedianExtremesAndGroups) {
  double x[] = {5.5, MV, 1.25, 3.0, 9.75};
  EXPECT_DOUBLE_EQ(Median(5, x, nullptr), 4.25);
  int select[] = {1, 1, 1, 0, 1};
  EXPECT_DOUBLE_EQ(Median(5, x, select), 5.5);
  EXPECT_EQ(minVector(5, x), MV) << "-999 is an ordinary value here";
  double t[] = {2.5, 7.25, 7.25, 1.0};
  EXPECT_EQ(MaxVectorWhich(4, t), 1);

  int labels[] = {7, -2, 7, 3};
  int distinct[4], nGroups;
  CountGroups(4, labels, &nGroups, distinct);
  ASSERT_EQ(nGroups, 3);
  EXPECT_EQ(distinct[0], -2);
  EXPECT_EQ(distinct[1], 3);
  EXPECT_EQ(distinct[2], 7);
  int sel[] = {1, 0, 1, 1};
  CountGroupsSelect(4, labels, sel, &nGroups, nullptr);
  EXPECT_EQ(nGroups, 2);
}

TEST(StatsMatrix, ProductSkipsMissingFactors) {
  double a[] = {1.5, MV, 2, 0.5}, b[] = {2, 4, 3, 1};
  double** A = Mat(2, 2, a);
  double** B = Mat(2, 2, b);
  double** C = dim2Double(2, 2);
  EXPECT_EQ(MatrixProd(2, 2, 2, 2, A, B, C), 0);
  EXPECT_DOUBLE_EQ(C[0][0], 3.0) << "the term with a missing factor is skipped";
  EXPECT_DOUBLE_EQ(C[1][1], 8.5);
  C[0][0] = 42;
  EXPECT_EQ(MatrixProd(2, 2, 3, 2, A, B, C), 1);
  EXPECT_EQ(C[0][0], 42.0) << "a shape mismatch does nothing";
  TransposeSqMatrix(2, B, B);
  EXPECT_EQ(B[0][1], 3.0) << "in-place transposition";
  EXPECT_EQ(B[1][0], 4.0);
  free2D(A, 2);
  free2D(B, 2);
  free2D(C, 2);
}

TEST(StatsRanks, OrderingsAndMidranks) {
  double x[] = {30, 10, 20};
  int order[3];
  RankVector(3, x, order);
  EXPECT_EQ(order[0], 2);
  EXPECT_EQ(order[1], 3);
  EXPECT_EQ(order[2], 1);
  double ab[] = {-3.5, 1.25, 2};
  RankVectorAbs(3, ab, order);
  EXPECT_EQ(order[2], 1) << "absolute values";
  // 16777217 and 16777216 are one float: the ordering must see them apart.
  int ix[] = {16777217, -4, 16777216};
  IndexVector(3, ix, order);
  EXPECT_EQ(order[0], 2);
  EXPECT_EQ(order[1], 3);
  EXPECT_EQ(order[2], 1);
  EXPECT_EQ(ix[0], 16777217) << "IndexVector leaves x in place";

  double t[] = {10, 20, 20, 30}, r[4];
  RankVectorAdj(4, t, r);
  double want[] = {1, 2.5, 2.5, 4};
  ExpectRow(r, want, 4, "midranks");
  double u[] = {2.2, 0.7, 2.2, 5.1, 2.2, 0.7}, ru[6], rd[6];
  RankVectorAdj(6, u, ru);
  RankVectorDAdj(6, u, rd);
  ExpectRow(rd, ru, 6, "counting and sorting give the same midranks");
  EXPECT_DOUBLE_EQ(ru[0], 4.0);

  double m[] = {5, MV, 7}, rm[3];
  RankVectorAdjMV(3, m, rm);
  double wm[] = {1, MV, 2};
  ExpectRow(rm, wm, 3, "missing values kept out of the ranking");
  double m2[] = {2.2, MV, 1.1, 2.2, MV};
  RankVectorAdjMV(5, m2, m2);
  double wm2[] = {2.5, MV, 1, 2.5, MV};
  ExpectRow(m2, wm2, 5, "ties and two missing values, in place");

  double s1[] = {1.5, 2.25, 9, 4}, s2[] = {10, 20, 70, 35}, s3[] = {4, 3, 1, 2};
  EXPECT_NEAR(Spearman2Vec(4, s1, s2), 1.0, 1e-12);
  EXPECT_NEAR(Spearman2Vec(4, s1, s3), -1.0, 1e-12);

  double rr[] = {5, 4, 6.5, 1};
  double** rows = Mat(1, 4, rr);
  RankRowsDAdj(1, 4, rows, rows);
  double wr[] = {3, 2, 4, 1};
  ExpectRow(rows[0], wr, 4, "RankRowsDAdj in place");
  free2D(rows, 1);
}

TEST(StatsRanks, ResemblanceTriangleRankedAsOneList) {
  double v[] = {9, 0.5, 0.2, 9, 9, 0.5, 9, 9, 9};
  double** in = Mat(3, 3, v);
  double** out = dim2Double(3, 3);
  out[1][1] = -5;
  RankReseAdj(3, in, out);
  EXPECT_EQ(out[0][1], 2.5);
  EXPECT_EQ(out[0][2], 1.0);
  EXPECT_EQ(out[1][2], 2.5);
  EXPECT_EQ(out[1][1], -5.0) << "diagonal untouched";
  EXPECT_EQ(out[1][0], 0.0) << "lower triangle untouched";
  free2D(in, 3);
  free2D(out, 3);
}

TEST(StatsCoded, ClassesAndTransformationSteps) {
  double x[] = {2, MV, 5, 3.5, 4.1}, c[5];
  ClassesMV(5, x, c, 4);
  double want[] = {1, MV, 4, 2, 3};
  ExpectRow(c, want, 5, "ClassesMV");

  double v[] = {0, 2.5, MV, 7, 0.1, 0};
  double** m = Mat(2, 3, v);
  DataTransformationsLib(2, 3, m, 1, 0, 1, 0, 0, 1.0, 0); // presence, then unit row sums
  double w0[] = {0, 1, MV}, w1[] = {0.5, 0.5, 0};
  ExpectRow(m[0], w0, 3, "presence and unit sum, row 0");
  ExpectRow(m[1], w1, 3, "presence and unit sum, row 1");
  free2D(m, 2);

  double s[] = {1, 3, 9, 2, MV, 4};
  double** sm = Mat(2, 3, s);
  int select[] = {0, 1};
  DataTransformationsLib(2, 3, sm, 0, 0, 9, 0, 0, 1.0, 0, select);
  double s0[] = {1, 3, 9}, s1[] = {1, MV, 2};
  ExpectRow(sm[0], s0, 3, "unselected row untouched");
  ExpectRow(sm[1], s1, 3, "ranked selected row, -999 kept");
  DataTransformationsLib(2, 3, sm, 3, 77, 77, 0, 0, 1.0, 0); // log10(x + 1); unknown codes skip
  EXPECT_NEAR(sm[0][2], 1.0, 1e-12);
  free2D(sm, 2);
}

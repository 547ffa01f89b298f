// Unit tests of the regression, its report and the residual routines.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "TarnLib/tarnlibRegression.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

double SumSq(int rows, int cols, double** m)
{
    double s = 0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) s += m[i][j] * m[i][j];
    return s;
}

}  // namespace

TEST(RegressionFit, RecoversExactLinearModel)
{
    const int n = 7;
    double** x = Noise(n, 2, 5u);
    Mat y(n, 2);
    for (int i = 0; i < n; i++) {
        y[i][0] = 1.75 + 2.5 * x[i][0] - 0.35 * x[i][1];
        y[i][1] = -4.125 + 0.8 * x[i][1];
    }
    Mat B(2, 2), pred(n, 2), res(n, 2);
    double b0[2], r2[2], tss[2];
    EXPECT_EQ(regression(n, 2, 2, y, x, B, b0, pred, r2, tss, false, nullptr, 0, false), 1);
    const double coef[] = {2.5, 0.0, -0.35, 0.8};
    for (int k = 0; k < 4; k++) EXPECT_NEAR(B[k / 2][k % 2], coef[k], 1e-10) << "coefficient " << k;
    EXPECT_NEAR(b0[0], 1.75, 1e-10);
    EXPECT_NEAR(b0[1], -4.125, 1e-10);
    EXPECT_NEAR(r2[0], 1.0, 1e-12);
    EXPECT_NEAR(r2[1], 1.0, 1e-12);
    Regression_ResidualsSelect(n, 2, 2, y, x, res, nullptr);
    EXPECT_NEAR(SumSq(n, 2, res), 0.0, 1e-18);
    Free(n, {x});
}

TEST(RegressionFit, SelectedPredictorsAndResponses)
{
    const int n = 9;
    double** x = Noise(n, 3, 9u);
    double** y = Noise(n, 2, 19u);
    Mat res(n, 2), pred(n, 2);
    int pick[3] = {1, 0, 1}, onlySecond[2] = {0, 1};
    Regression_ResidualsSelect(n, 2, 3, y, x, res, pick);
    // residuals: mean 0, orthogonal to the chosen predictors, not to the other
    double dot[4] = {0, 0, 0, 0};
    for (int i = 0; i < n; i++) {
        dot[0] += res[i][1];
        for (int k = 0; k < 3; k++) dot[k + 1] += res[i][1] * x[i][k];
        pred[i][0] = 2.385;
    }
    for (int k : {0, 1, 3}) EXPECT_NEAR(dot[k], 0.0, 1e-10) << "sum or product with predictor " << k;
    EXPECT_GT(std::fabs(dot[2]), 1e-3);
    Regression_PredictedSelect(n, 2, 3, y, x, pred, pick, onlySecond);
    for (int i = 0; i < n; i++) {
        EXPECT_EQ(pred[i][0], 2.385) << "an unselected response is left alone";
        EXPECT_NEAR(pred[i][1], y[i][1] - res[i][1], 1e-12);
    }
    Free(n, {x, y});
}

TEST(RegressionFit, EnglishReport)
{
    Mat x(4, 1, {0, 1, 2, 3}), y(4, 1, {0.5, 2.5, 4.5, 6.5}), B(1, 1), pred(4, 1);
    double b0, r2, tss;
    FILE* f = tmpfile();
    ASSERT_NE(f, nullptr);
    regression(4, 1, 1, y, x, B, &b0, pred, &r2, &tss, true, f, 0, false);
    EXPECT_NEAR(tss, 20.0, 1e-12);
    EXPECT_EQ(Contents(f),
                 "\nRegression coefficients for each factor (rows), one model for each response variable (coluns):\n"
                 "Factor 1:\t2\t\n"
                 "\nIntersection (bo for each response variable):\n0.5\t\n"
                 "\nCoefficient of determination (r squared) for 1 response variables:\n1\t\n");
    fclose(f);
}

TEST(RegressionResiduals, SquareMatrixPairs)
{
    const int n = 6;
    double** a = Noise(n, n, 3u);
    double** b = Noise(n, n, 4u);
    Mat res(n, n), pred(n, n);
    ResidualsMatrixRegression(n, a, b, res);
    double sum = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) sum += res[i][j];
    EXPECT_NEAR(sum / 15, 0.0, 1e-5);
    EXPECT_EQ(res[3][1], 0.0) << "lower triangle must not be written";
    // b an exact line of a: predictions meet b within float rounding
    for (int i = 0; i < n * n; i++) b[i / n][i % n] = 1.5 - 0.75 * a[i / n][i % n];
    PredictedMatrixRegression(n, a, b, pred);
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) EXPECT_NEAR(pred[i][j], b[i][j], 1e-5) << i << "," << j;
    Free(n, {a, b});
}

TEST(RegressionPca, NumberOfComponentsLimitedBySampleSize)
{
    const int n = 10;
    double** x = Noise(n, 4, 77u);
    double** y = Noise(n, 2, 78u);
    Mat full(n, 2), pca(n, 2), two(n, 2), one(n, 2);
    // factor 1: L = 8, above the 4 axes: all components span the space of X
    Regression_ResidualsSelect(n, 2, 4, y, x, full, nullptr);
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, pca, nullptr, 2, 1.0);
    for (int i = 0; i < n; i++) EXPECT_NEAR(pca[i][0], full[i][0], 1e-10) << i;
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, pca, nullptr, 1, 1.0);
    for (int i = 0; i < n; i++) EXPECT_NEAR(pca[i][1], full[i][1], 1e-10) << "covariance form " << i;
    // factor 4: L = 2 exactly; 3.5 gives 2.29, truncated after the comparison; 4.5 gives 1
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, pca, nullptr, 2, 4.0);
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, two, nullptr, 2, 3.5);
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, one, nullptr, 2, 4.5);
    for (int i = 0; i < n; i++) EXPECT_NEAR(pca[i][1], two[i][1], 1e-12) << i;
    EXPECT_LT(SumSq(n, 2, full), SumSq(n, 2, two));
    EXPECT_LT(SumSq(n, 2, two), SumSq(n, 2, one));
    // no predictor selected: residuals are the centred responses
    int none[4] = {0, 0, 0, 0};
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, pca, none, 2, 2.0);
    double mean = 0;
    for (int i = 0; i < n; i++) mean += y[i][0] / n;
    for (int i = 0; i < n; i++) EXPECT_NEAR(pca[i][0], y[i][0] - mean, 1e-12);
    Free(n, {x, y});
}

// Unit tests of the regression, its report, the residual routines and the matrix inverse.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRegression.h"

namespace {

double** Noise(int rows, int cols, unsigned seed)
{
    double** m = dim2Double(rows, cols);
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            seed = seed * 1664525u + 1013904223u;
            m[i][j] = ((seed >> 9) % 10000) / 997.0 - 4.385;
        }
    return m;
}

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
    double** y = dim2Double(n, 2);
    for (int i = 0; i < n; i++) {
        y[i][0] = 1.75 + 2.5 * x[i][0] - 0.35 * x[i][1];
        y[i][1] = -4.125 + 0.8 * x[i][1];
    }
    double** B = dim2Double(2, 2);
    double b0[2], r2[2], tss[2];
    double** pred = dim2Double(n, 2);
    EXPECT_EQ(regression(n, 2, 2, y, x, B, b0, pred, r2, tss, false, nullptr, 0, false), 1);
    EXPECT_NEAR(B[0][0], 2.5, 1e-10);
    EXPECT_NEAR(B[1][0], -0.35, 1e-10);
    EXPECT_NEAR(B[0][1], 0.0, 1e-10);
    EXPECT_NEAR(B[1][1], 0.8, 1e-10);
    EXPECT_NEAR(b0[0], 1.75, 1e-10);
    EXPECT_NEAR(b0[1], -4.125, 1e-10);
    EXPECT_NEAR(r2[0], 1.0, 1e-12);
    EXPECT_NEAR(r2[1], 1.0, 1e-12);
    for (int i = 0; i < n; i++) EXPECT_NEAR(pred[i][0], y[i][0], 1e-10) << "object " << i;
    double mean = 0, ss = 0;
    for (int i = 0; i < n; i++) mean += y[i][1] / n;
    for (int i = 0; i < n; i++) ss += (y[i][1] - mean) * (y[i][1] - mean);
    EXPECT_NEAR(tss[1], ss, 1e-10);
    double** res = dim2Double(n, 2);
    Regression_ResidualsSelect(n, 2, 2, y, x, res, nullptr);
    EXPECT_NEAR(SumSq(n, 2, res), 0.0, 1e-18);
    // float data give the same model
    float** xf = dim2Dfloat(n, 2);
    float** yf = dim2Dfloat(n, 2);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < 2; j++) {
            xf[i][j] = (float)x[i][j];
            yf[i][j] = (float)y[i][j];
        }
    regression(n, 2, 2, yf, xf, B, b0, pred, r2);
    EXPECT_NEAR(B[0][0], 2.5, 1e-4);
    for (double** m : {x, y, pred, res}) free2D(m, n);
    free2D(xf, n);
    free2D(yf, n);
    free2D(B, 2);
}

TEST(RegressionFit, SelectedPredictorsAndResponses)
{
    const int n = 9;
    double** x = Noise(n, 3, 9u);
    double** y = Noise(n, 2, 19u);
    int pick[3] = {1, 0, 1};
    double** sub = dim2Double(n, 2);
    for (int i = 0; i < n; i++) {
        sub[i][0] = x[i][0];
        sub[i][1] = x[i][2];
    }
    double** r1 = dim2Double(n, 2);
    double** r2 = dim2Double(n, 2);
    Regression_ResidualsSelect(n, 2, 3, y, x, r1, pick);
    Regression_ResidualsSelect(n, 2, 2, y, sub, r2, nullptr);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < 2; j++) EXPECT_NEAR(r1[i][j], r2[i][j], 1e-12);
    // residuals are orthogonal to the chosen predictors and have mean 0
    double dot = 0, sum = 0;
    for (int i = 0; i < n; i++) {
        dot += r1[i][1] * x[i][2];
        sum += r1[i][1];
    }
    EXPECT_NEAR(dot, 0.0, 1e-10);
    EXPECT_NEAR(sum, 0.0, 1e-10);
    // predictions of the second response only; the first column is kept
    double** pred = dim2Double(n, 2);
    for (int i = 0; i < n; i++) pred[i][0] = 2.385;
    int onlySecond[2] = {0, 1};
    Regression_PredictedSelect(n, 2, 3, y, x, pred, pick, onlySecond);
    for (int i = 0; i < n; i++) {
        EXPECT_EQ(pred[i][0], 2.385);
        EXPECT_NEAR(pred[i][1], y[i][1] - r1[i][1], 1e-12);
    }
    for (double** m : {x, y, sub, r1, r2, pred}) free2D(m, n);
}

TEST(RegressionFit, EnglishReport)
{
    const int n = 4;
    double** x = dim2Double(n, 1);
    double** y = dim2Double(n, 1);
    for (int i = 0; i < n; i++) {
        x[i][0] = i;
        y[i][0] = 0.5 + 2 * i;
    }
    double** B = dim2Double(1, 1);
    double b0, r2, tss;
    double** pred = dim2Double(n, 1);
    FILE* f = tmpfile();
    ASSERT_NE(f, nullptr);
    regression(n, 1, 1, y, x, B, &b0, pred, &r2, &tss, true, f, 0, false);
    rewind(f);
    char text[1024];
    size_t got = fread(text, 1, sizeof text - 1, f);
    text[got] = '\0';
    fclose(f);
    EXPECT_STREQ(text,
                 "\nRegression coefficients for each factor (rows), one model for each response variable (coluns):\n"
                 "Factor 1:\t2\t\n"
                 "\nIntersection (bo for each response variable):\n0.5\t\n"
                 "\nCoefficient of determination (r squared) for 1 response variables:\n1\t\n");
    for (double** m : {x, y, pred}) free2D(m, n);
    free2D(B, 1);
}

TEST(RegressionResiduals, SquareMatrixPairs)
{
    const int n = 6;
    double** a = Noise(n, n, 3u);
    double** b = Noise(n, n, 4u);
    double** res = dim2Double(n, n);
    ResidualsMatrixRegression(n, a, b, res);
    double sum = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) sum += res[i][j];
    EXPECT_NEAR(sum / 15, 0.0, 1e-5);
    EXPECT_EQ(res[3][1], 0.0) << "lower triangle must not be written";
    // b an exact line of a: residuals vanish within float rounding, and the
    // predictions give b back
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++) b[i][j] = 1.5 - 0.75 * a[i][j];
    ResidualsMatrixRegression(n, a, b, res);
    double** pred = dim2Double(n, n);
    PredictedMatrixRegression(n, a, b, pred);
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            EXPECT_NEAR(res[i][j], 0.0, 1e-5) << i << "," << j;
            EXPECT_NEAR(pred[i][j], b[i][j], 1e-5) << i << "," << j;
        }
    for (double** m : {a, b, res, pred}) free2D(m, n);
}

TEST(RegressionPca, NumberOfComponentsLimitedBySampleSize)
{
    const int n = 10;
    double** x = Noise(n, 4, 77u);
    double** y = Noise(n, 2, 78u);
    double** full = dim2Double(n, 2);
    double** pca = dim2Double(n, 2);
    double** two = dim2Double(n, 2);
    double** one = dim2Double(n, 2);
    // factor 1: L = 8 is above the 4 axes, all are used: the same space as X
    Regression_ResidualsSelect(n, 2, 4, y, x, full, nullptr);
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, pca, nullptr, 2, 1.0);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < 2; j++) EXPECT_NEAR(pca[i][j], full[i][j], 1e-10);
    // factor 4: L = 2 exactly; 3.5 gives 2.29 and so 2 components too
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, pca, nullptr, 2, 4.0);
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, two, nullptr, 2, 3.5);
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, one, nullptr, 2, 4.5);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < 2; j++) EXPECT_NEAR(pca[i][j], two[i][j], 1e-12);
    // fewer components leave more unexplained
    EXPECT_LT(SumSq(n, 2, full), SumSq(n, 2, two));
    EXPECT_LT(SumSq(n, 2, two), SumSq(n, 2, one));
    // covariance components (option 1) on all axes span the same space
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, pca, nullptr, 1, 1.0);
    for (int i = 0; i < n; i++) EXPECT_NEAR(pca[i][1], full[i][1], 1e-10);
    // no predictor selected: residuals are the centred responses
    int none[4] = {0, 0, 0, 0};
    PCA_Regression_ResidualsSelect(n, 2, 4, y, x, pca, none, 2, 2.0);
    double mean = 0;
    for (int i = 0; i < n; i++) mean += y[i][0] / n;
    for (int i = 0; i < n; i++) EXPECT_NEAR(pca[i][0], y[i][0] - mean, 1e-12);
    for (double** m : {x, y, full, pca, two, one}) free2D(m, n);
}

TEST(RegressionInverse, InverseAndSingularMatrix)
{
    double** a = dim2Double(3, 3);
    const double v[] = {2.385, 0.5, -1.25, 0.5, 3.1, 0.75, -1.25, 0.75, 4.2};
    for (int k = 0; k < 9; k++) a[k / 3][k % 3] = v[k];
    double** inv = dim2Double(3, 3);
    ASSERT_EQ(MatrixInverse(3, 3, a, inv), 1);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++) {
            double s = 0;
            for (int k = 0; k < 3; k++) s += a[i][k] * inv[k][j];
            EXPECT_NEAR(s, i == j ? 1.0 : 0.0, 1e-12) << i << "," << j;
        }
    for (int j = 0; j < 3; j++) a[2][j] = a[0][j] + a[1][j];
    inv[0][0] = 7.5;
    EXPECT_EQ(MatrixInverse(3, 3, a, inv), 0);
    EXPECT_EQ(inv[0][0], 7.5);
    free2D(a, 3);
    free2D(inv, 3);
}

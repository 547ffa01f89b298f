// Unit tests of the Mantel, Procrustes and RV coefficients and the other matrix coefficients.
#include <gtest/gtest.h>

#include <cmath>

#include "TarnLib/tarnlibCongruence.h"
#include "tests/unit/test_reseHelpers.h"

using namespace testrese;

namespace {

double PearsonOfPairs(int n, double** a, double** b)
{
    double xs[64], ys[64], mx = 0, my = 0, sxy = 0, sxx = 0, syy = 0;
    int k = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++)
            if (a[i][j] != M && b[i][j] != M) {
                xs[k] = a[i][j];
                ys[k++] = b[i][j];
            }
    for (int t = 0; t < k; t++) { mx += xs[t] / k; my += ys[t] / k; }
    for (int t = 0; t < k; t++) {
        sxy += (xs[t] - mx) * (ys[t] - my);
        sxx += (xs[t] - mx) * (xs[t] - mx);
        syy += (ys[t] - my) * (ys[t] - my);
    }
    return sxy / std::sqrt(sxx * syy);
}

// X' Y (p by q, at most 3 by 3) after centring columns and scaling each
// matrix to a total sum of squares of 1.
void ScaledCross(int rows, int p, int q, double** a, double** b, double c[3][3])
{
    double** x = dim2Double(rows, p);
    double** y = dim2Double(rows, q);
    double** in[2] = {a, b};
    double** out[2] = {x, y};
    int cols[2] = {p, q};
    for (int m = 0; m < 2; m++) {
        double total = 0;
        for (int j = 0; j < cols[m]; j++) {
            double mean = 0;
            for (int i = 0; i < rows; i++) mean += in[m][i][j] / rows;
            for (int i = 0; i < rows; i++) {
                out[m][i][j] = in[m][i][j] - mean;
                total += out[m][i][j] * out[m][i][j];
            }
        }
        for (int i = 0; i < rows; i++)
            for (int j = 0; j < cols[m]; j++) out[m][i][j] /= std::sqrt(total);
    }
    for (int s = 0; s < p; s++)
        for (int t = 0; t < q; t++) {
            c[s][t] = 0;
            for (int i = 0; i < rows; i++) c[s][t] += x[i][s] * y[i][t];
        }
    Free(rows, {x, y});
}

double SquaredNorm(int p, int q, double c[3][3])
{
    double s = 0;
    for (int i = 0; i < p; i++)
        for (int j = 0; j < q; j++) s += c[i][j] * c[i][j];
    return s;
}

}  // namespace

TEST(CongruenceMantel, AgreesWithPearsonOfUpperTrianglePairs)
{
    double** a = Symmetric(6, 7u);
    double** b = Symmetric(6, 99u);
    EXPECT_NEAR(MatrixCorr(6, a, b), PearsonOfPairs(6, a, b), 1e-12);
    EXPECT_NEAR(MatrixCorr(6, a, a), 1.0, 1e-14);
    b[4][1] = 1e6;  // lower triangle and diagonal are not read
    b[2][2] = -3e5;
    a[0][3] = M;    // a pair with -999 on either side drops out of means and sums
    b[2][5] = M;
    EXPECT_NEAR(MatrixCorr(6, a, b), PearsonOfPairs(6, a, b), 1e-12);
    double** c = dim2Double(6, 6);
    for (int i = 0; i < 36; i++) c[i / 6][i % 6] = 2.5;
    EXPECT_EQ(MatrixCorr(6, a, c), 0.0) << "a zero sum of squares gives 0";
    EXPECT_EQ(MatrixCorr(2, a, b), 0.0) << "one pair: zero sums of squares";
    float** f = dim2Dfloat(6, 6);
    for (int i = 0; i < 36; i++) f[i / 6][i % 6] = (float)b[i / 6][i % 6];
    EXPECT_NEAR(MatrixCorr(6, a, f), MatrixCorr(6, a, b), 1e-6);
    Free(6, {a, b, c});
    free2D(f, 6);
}

TEST(CongruenceProcrustes, SumOfSingularValuesOfScaledCrossProduct)
{
    double** a = Noise(9, 2, 3u);
    double** b = Noise(9, 2, 41u);
    double** v = Noise(9, 1, 5u);
    double** w = Noise(9, 3, 8u);
    double c[3][3];
    // two columns each: the singular values of a 2 by 2 matrix sum to
    // the root of (its squared norm + 2 |det|)
    ScaledCross(9, 2, 2, a, b, c);
    double det = c[0][0] * c[1][1] - c[0][1] * c[1][0];
    EXPECT_NEAR(ProcrustesCoeff(9, 2, 2, a, b), std::sqrt(SquaredNorm(2, 2, c) + 2 * std::fabs(det)), 1e-12);
    // a single column: the one singular value is the norm of X' y
    ScaledCross(9, 3, 1, w, v, c);
    EXPECT_NEAR(ProcrustesCoeff(9, 3, 1, w, v), std::sqrt(SquaredNorm(3, 1, c)), 1e-12);
    EXPECT_NEAR(ProcrustesCoeff(9, 1, 3, v, w), std::sqrt(SquaredNorm(3, 1, c)), 1e-12) << "swapped";
    EXPECT_NEAR(ProcrustesCoeff(9, 2, 3, a, w), ProcrustesCoeff(9, 3, 2, w, a), 1e-12) << "swapped";
    EXPECT_NEAR(ProcrustesCoeff(9, 2, 2, a, b), ProcrustesCoeff(9, 2, 2, b, a), 1e-12) << "swapped";
    EXPECT_NEAR(ProcrustesCoeff(9, 1, 1, v, v), 1.0, 1e-12);
    Free(9, {a, b, v, w});
}

TEST(CongruenceRV, AgreesWithEscoufierDefinition)
{
    double** a = Noise(8, 3, 11u);
    double** b = Noise(8, 2, 13u);
    double xy[3][3], xx[3][3], yy[3][3];
    ScaledCross(8, 3, 2, a, b, xy);
    ScaledCross(8, 3, 3, a, a, xx);
    ScaledCross(8, 2, 2, b, b, yy);
    // RV = ||X'Y||^2 / (||X'X|| ||Y'Y||), Frobenius norms of centred data
    double rv = SquaredNorm(3, 2, xy) / std::sqrt(SquaredNorm(3, 3, xx) * SquaredNorm(2, 2, yy));
    EXPECT_NEAR(RVcoeff(8, 3, 2, a, b), rv, 1e-12);
    EXPECT_NEAR(RVcoeff(8, 2, 3, b, a), rv, 1e-12);
    EXPECT_NEAR(RVcoeff(8, 3, 3, a, a), 1.0, 1e-12);
    double** k = dim2Double(8, 2);
    EXPECT_TRUE(std::isnan(RVcoeff(8, 3, 2, a, k))) << "a constant matrix has no guard";
    Free(8, {a, b, k});
}

TEST(CongruencePartial, PartialCorrelationsAtTheEdgesAndPartialMantel)
{
    EXPECT_EQ(PartialCorrelation(0.5, 1.0, 0.2), 0.0);
    EXPECT_EQ(PartialCorrelation(0.5, 0.2, 1.0 - 1e-10), 0.0);
    EXPECT_DOUBLE_EQ(PartialCorrelation(0.5, 0.0, 0.0), 0.5);
    EXPECT_NEAR(PartialCorrelation(0.6, 0.3, 0.4), 0.48 / std::sqrt(0.84 * 0.91), 1e-15);
    EXPECT_FALSE(std::isfinite(PartialCorrelation(0.5, -1.0, 0.2))) << "-1 is not caught";
    double** a = Symmetric(7, 3u);
    double** b = Symmetric(7, 5u);
    double** c = Symmetric(7, 8u);
    double r = PartialCorrelation(MatrixCorr(7, a, b), MatrixCorr(7, a, c), MatrixCorr(7, b, c));
    EXPECT_NEAR(PartialMatrixCorr(7, a, b, c), r, 1e-12);
    Free(7, {a, b, c});
}

TEST(CongruencePartial, PartialMatrixCorrelationOnResiduals)
{
    double** a = Noise(10, 3, 31u);
    double** b = Noise(10, 2, 37u);
    double** z = Noise(10, 2, 43u);
    int none[2] = {0, 0}, second[2] = {0, 1};
    // no predictor selected: residuals are the centred data
    EXPECT_NEAR(PartialMatrixCorrelation(10, 3, 2, a, b, 3, 2.0, 1, 2, none, z), RVcoeff(10, 3, 2, a, b), 1e-12);
    EXPECT_NEAR(PartialMatrixCorrelation(10, 3, 2, a, b, 2, 2.0, 1, 2, none, z),
                ProcrustesCoeff(10, 3, 2, a, b), 1e-12);
    EXPECT_EQ(PartialMatrixCorrelation(10, 3, 2, a, b, 1, 2.0, 1, 2, nullptr, z), 0.0);
    // one matrix of two columns, or three controls giving the same two columns
    double** z0 = dim2Double(10, 1);
    double** w = dim2Double(10, 2);
    for (int i = 0; i < 10; i++) {
        z0[i][0] = z[i][0];
        w[i][0] = -7.5;
        w[i][1] = z[i][1];
    }
    double joined = PartialMatrixCorrelation(10, 3, 2, a, b, 3, 1.0, 1, 2, nullptr, z);
    double split = PartialMatrixCorrelation(10, 3, 2, a, b, 3, 1.0, 3, 1, nullptr, z0, 2, none, b, 2, second, w);
    EXPECT_NEAR(joined, split, 1e-12);
    EXPECT_GT(std::fabs(joined - RVcoeff(10, 3, 2, a, b)), 1e-6) << "the control must change RV";
    Free(10, {a, b, z, z0, w});
}

TEST(CongruenceOther, CoefficientsOfPairs)
{
    double** a = Symmetric(5, 61u);
    double** b = dim2Double(5, 5);
    double** e = dim2Double(5, 5);
    double** z = dim2Double(5, 5);
    for (int i = 0; i < 25; i++) {
        b[i / 5][i % 5] = 2.0 * a[i / 5][i % 5] + 1.5;
        e[i / 5][i % 5] = std::exp(a[i / 5][i % 5]);
    }
    double sumAbs = 0, sumSq = 0, sa = 0, sb = 0, cross = 0, ssa = 0, ssb = 0;
    for (int i = 0; i < 5; i++)
        for (int j = i + 1; j < 5; j++) {
            sumAbs += std::fabs(a[i][j] - b[i][j]);
            sumSq += (a[i][j] - b[i][j]) * (a[i][j] - b[i][j]);
            sa += a[i][j];
            sb += b[i][j];
            cross += a[i][j] * b[i][j];
            ssa += a[i][j] * a[i][j];
            ssb += b[i][j] * b[i][j];
        }
    EXPECT_NEAR(MatrixStress(5, a, b), 0.0, 1e-12);
    EXPECT_NEAR(MatrixRankCorr(5, a, e), 1.0, 1e-12) << "ranks ignore monotone changes";
    EXPECT_NEAR(MatrixAbsValDist(5, a, b), sumAbs, 1e-12);
    EXPECT_NEAR(MatrixEudDist(5, a, b), std::sqrt(sumSq), 1e-12);
    EXPECT_NEAR(MatrixCos(5, a, b), cross / std::sqrt(ssa * ssb), 1e-12);
    EXPECT_NEAR(MatrixCov(5, a, b), (cross - sa * sb / 10) / 9, 1e-12);
    EXPECT_NEAR(MatrixCorrAdj(5, a, b), 1.0, 1e-12);
    double x, y;
    EXPECT_NEAR(MatrixProdMomentAdj(5, &x, &y, a, b) / std::sqrt(x * y), 1.0, 1e-5);
    EXPECT_NEAR(MatrixDist(5, a, b), MatrixDist(5, b, a), 1e-6);
    EXPECT_EQ(MatrixStressKruskal(5, z, z), -1.0);
    EXPECT_EQ(MatrixCos(5, a, z), 0.0);
    // whole-matrix helpers
    double all = 0, sq = 0, ab = 0;
    for (int i = 0; i < 25; i++) {
        double p = a[i / 5][i % 5], q = e[i / 5][i % 5];
        all += p * q;
        sq += (p - q) * (p - q);
        ab += std::fabs(p - q);
    }
    EXPECT_NEAR(vecProd(5, a, e), all, 1e-10);
    EXPECT_NEAR(SQMatrixDeviations(5, 5, a, e), 1.0 - sq / 10.0, 1e-10);
    EXPECT_NEAR(SumAbsMatrixDeviations(5, 5, a, e), 1.0 - ab / 10.0, 1e-10);
    Free(5, {a, b, e, z});
}

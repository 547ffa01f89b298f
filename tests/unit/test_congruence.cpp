// Unit tests of the Mantel, Procrustes and RV coefficients and the other matrix coefficients.
#include <gtest/gtest.h>

#include <cmath>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"

namespace {

const double M = -999.0;

// Reproducible awkward numbers.
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

double** Symmetric(int n, unsigned seed)
{
    double** m = Noise(n, n, seed);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < i; j++) m[i][j] = m[j][i];
    return m;
}

double PearsonOfPairs(int n, double** a, double** b)
{
    double xs[64], ys[64];
    int k = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            if (a[i][j] == M || b[i][j] == M) continue;
            xs[k] = a[i][j];
            ys[k++] = b[i][j];
        }
    double mx = 0, my = 0;
    for (int t = 0; t < k; t++) { mx += xs[t] / k; my += ys[t] / k; }
    double sxy = 0, sxx = 0, syy = 0;
    for (int t = 0; t < k; t++) {
        sxy += (xs[t] - mx) * (ys[t] - my);
        sxx += (xs[t] - mx) * (xs[t] - mx);
        syy += (ys[t] - my) * (ys[t] - my);
    }
    return sxy / std::sqrt(sxx * syy);
}

// Columns centred and scaled so that the total sum of squares is 1.
void CentreToUnitTrace(int rows, int cols, double** in, double** out)
{
    double total = 0;
    for (int j = 0; j < cols; j++) {
        double mean = 0;
        for (int i = 0; i < rows; i++) mean += in[i][j] / rows;
        for (int i = 0; i < rows; i++) {
            out[i][j] = in[i][j] - mean;
            total += out[i][j] * out[i][j];
        }
    }
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) out[i][j] /= std::sqrt(total);
}

// Cross product X' Y of the scaled matrices (p by q).
void ScaledCross(int rows, int p, int q, double** a, double** b, double c[2][2])
{
    double** x = dim2Double(rows, p);
    double** y = dim2Double(rows, q);
    CentreToUnitTrace(rows, p, a, x);
    CentreToUnitTrace(rows, q, b, y);
    for (int s = 0; s < p; s++)
        for (int t = 0; t < q; t++) {
            c[s][t] = 0;
            for (int i = 0; i < rows; i++) c[s][t] += x[i][s] * y[i][t];
        }
    free2D(x, rows);
    free2D(y, rows);
}

}  // namespace

TEST(CongruenceMantel, AgreesWithPearsonOfUpperTrianglePairs)
{
    double** a = Symmetric(6, 7u);
    double** b = Symmetric(6, 99u);
    EXPECT_NEAR(MatrixCorr(6, a, b), PearsonOfPairs(6, a, b), 1e-12);
    EXPECT_NEAR(MatrixCorr(6, a, a), 1.0, 1e-14);
    // the lower triangle and the diagonal are not read
    b[4][1] = 1e6;
    b[2][2] = -3e5;
    EXPECT_NEAR(MatrixCorr(6, a, b), PearsonOfPairs(6, a, b), 1e-12);
    // a pair with -999 in either matrix drops out of means and sums alike
    a[0][3] = M;
    b[2][5] = M;
    EXPECT_NEAR(MatrixCorr(6, a, b), PearsonOfPairs(6, a, b), 1e-12);
    double** c = dim2Double(6, 6);
    for (int i = 0; i < 6; i++)
        for (int j = 0; j < 6; j++) c[i][j] = 2.385;
    // sums of a constant may round, leaving a deviation of the last place
    EXPECT_NEAR(MatrixCorr(6, a, c), 0.0, 1e-12);
    for (int i = 0; i < 6; i++)
        for (int j = 0; j < 6; j++) c[i][j] = 2.5;
    EXPECT_EQ(MatrixCorr(6, a, c), 0.0) << "a zero sum of squares gives 0";
    EXPECT_EQ(MatrixCorr(2, a, b), 0.0) << "one pair: zero sums of squares";
    EXPECT_EQ(MatrixCorr(1, a, b), 0.0);
    float** f = dim2Dfloat(6, 6);
    for (int i = 0; i < 6; i++)
        for (int j = 0; j < 6; j++) f[i][j] = (float)a[i][j];
    EXPECT_NEAR(MatrixCorr(6, f, f), 1.0, 1e-12);
    free2D(a, 6);
    free2D(b, 6);
    free2D(c, 6);
    free2D(f, 6);
}

TEST(CongruenceProcrustes, SumOfSingularValuesOfScaledCrossProduct)
{
    double** a = Noise(9, 2, 3u);
    double** b = Noise(9, 2, 41u);
    double** v = Noise(9, 1, 5u);
    double c[2][2];
    // two columns each: the singular values of a 2 by 2 matrix sum to
    // the root of (its squared norm + 2 |det|)
    ScaledCross(9, 2, 2, a, b, c);
    double norm2 = c[0][0] * c[0][0] + c[0][1] * c[0][1] + c[1][0] * c[1][0] + c[1][1] * c[1][1];
    double det = c[0][0] * c[1][1] - c[0][1] * c[1][0];
    EXPECT_NEAR(ProcrustesCoeff(9, 2, 2, a, b), std::sqrt(norm2 + 2 * std::fabs(det)), 1e-12);
    // a single column against two: the one singular value is the norm of X' y
    ScaledCross(9, 2, 1, a, v, c);
    double expected = std::sqrt(c[0][0] * c[0][0] + c[1][0] * c[1][0]);
    EXPECT_NEAR(ProcrustesCoeff(9, 2, 1, a, v), expected, 1e-12);
    EXPECT_NEAR(ProcrustesCoeff(9, 1, 2, v, a), expected, 1e-12) << "arguments swapped";
    EXPECT_NEAR(ProcrustesCoeff(9, 1, 1, v, v), 1.0, 1e-12);
    EXPECT_NEAR(ProcrustesCoeff(9, 2, 2, a, a), 1.0, 1e-12);
    free2D(a, 9);
    free2D(b, 9);
    free2D(v, 9);
}

TEST(CongruenceProcrustes, SymmetricInItsArguments)
{
    double** a = Noise(12, 3, 17u);
    double** b = Noise(12, 5, 23u);
    EXPECT_NEAR(ProcrustesCoeff(12, 3, 5, a, b), ProcrustesCoeff(12, 5, 3, b, a), 1e-12);
    double** c = Noise(12, 3, 29u);
    EXPECT_NEAR(ProcrustesCoeff(12, 3, 3, a, c), ProcrustesCoeff(12, 3, 3, c, a), 1e-12);
    double value = ProcrustesCoeff(12, 3, 5, a, b);
    EXPECT_GT(value, 0.0);
    EXPECT_LE(value, 1.0 + 1e-12);
    free2D(a, 12);
    free2D(b, 12);
    free2D(c, 12);
}

TEST(CongruenceRV, AgreesWithEscoufierDefinition)
{
    double** a = Noise(8, 3, 11u);
    double** b = Noise(8, 2, 13u);
    EXPECT_NEAR(RVcoeff(8, 3, 3, a, a), 1.0, 1e-12);
    // RV = ||X'Y||^2 / (||X'X|| ||Y'Y||) on centred columns
    double** x = dim2Double(8, 3);
    double** y = dim2Double(8, 2);
    CentreToUnitTrace(8, 3, a, x);
    CentreToUnitTrace(8, 2, b, y);
    double xy = 0, xx = 0, yy = 0;
    for (int s = 0; s < 3; s++)
        for (int t = 0; t < 2; t++) {
            double c = 0;
            for (int i = 0; i < 8; i++) c += x[i][s] * y[i][t];
            xy += c * c;
        }
    for (int s = 0; s < 3; s++)
        for (int t = 0; t < 3; t++) {
            double c = 0;
            for (int i = 0; i < 8; i++) c += x[i][s] * x[i][t];
            xx += c * c;
        }
    for (int s = 0; s < 2; s++)
        for (int t = 0; t < 2; t++) {
            double c = 0;
            for (int i = 0; i < 8; i++) c += y[i][s] * y[i][t];
            yy += c * c;
        }
    EXPECT_NEAR(RVcoeff(8, 3, 2, a, b), xy / std::sqrt(xx * yy), 1e-12);
    EXPECT_NEAR(RVcoeff(8, 2, 3, b, a), xy / std::sqrt(xx * yy), 1e-12);
    double** k = dim2Double(8, 2);
    EXPECT_TRUE(std::isnan(RVcoeff(8, 3, 2, a, k))) << "a constant matrix has no guard";
    free2D(a, 8);
    free2D(b, 8);
    free2D(x, 8);
    free2D(y, 8);
    free2D(k, 8);
}

TEST(CongruencePartial, FirstOrderPartialCorrelationAtTheEdges)
{
    EXPECT_EQ(PartialCorrelation(0.5, 1.0, 0.2), 0.0);
    EXPECT_EQ(PartialCorrelation(0.5, 0.2, 1.0 - 1e-10), 0.0);
    EXPECT_DOUBLE_EQ(PartialCorrelation(0.5, 0.0, 0.0), 0.5);
    EXPECT_NEAR(PartialCorrelation(0.6, 0.3, 0.4), (0.6 - 0.12) / std::sqrt(0.84 * 0.91), 1e-15);
    EXPECT_FALSE(std::isfinite(PartialCorrelation(0.5, -1.0, 0.2))) << "-1 is not caught";
}

TEST(CongruencePartial, PartialMantelInOnePass)
{
    double** a = Symmetric(7, 3u);
    double** b = Symmetric(7, 5u);
    double** c = Symmetric(7, 8u);
    double expected = PartialCorrelation(MatrixCorr(7, a, b), MatrixCorr(7, a, c), MatrixCorr(7, b, c));
    EXPECT_NEAR(PartialMatrixCorr(7, a, b, c), expected, 1e-12);
    free2D(a, 7);
    free2D(b, 7);
    free2D(c, 7);
}

TEST(CongruencePartial, PartialMatrixCorrelationOnResiduals)
{
    double** a = Noise(10, 3, 31u);
    double** b = Noise(10, 2, 37u);
    double** z = Noise(10, 2, 43u);
    int none[2] = {0, 0};
    // no predictor selected: residuals are the centred data, which the
    // coefficients centre anyway
    EXPECT_NEAR(PartialMatrixCorrelation(10, 3, 2, a, b, 3, 2.0, 1, 2, none, z),
                RVcoeff(10, 3, 2, a, b), 1e-12);
    EXPECT_NEAR(PartialMatrixCorrelation(10, 3, 2, a, b, 2, 2.0, 1, 2, none, z),
                ProcrustesCoeff(10, 3, 2, a, b), 1e-12);
    EXPECT_EQ(PartialMatrixCorrelation(10, 3, 2, a, b, 1, 2.0, 1, 2, nullptr, z), 0.0);
    // the same predictors given as one matrix or as two controls of one column
    // each (with an unselected control between them) give the same result
    double** z0 = dim2Double(10, 1);
    double** w = dim2Double(10, 2);
    for (int i = 0; i < 10; i++) {
        z0[i][0] = z[i][0];
        w[i][0] = -7.5;
        w[i][1] = z[i][1];
    }
    int second[2] = {0, 1};
    double joined = PartialMatrixCorrelation(10, 3, 2, a, b, 3, 1.0, 1, 2, nullptr, z);
    double split = PartialMatrixCorrelation(10, 3, 2, a, b, 3, 1.0, 3, 1, nullptr, z0, 2, none, b,
                                            2, second, w);
    EXPECT_NEAR(joined, split, 1e-12);
    EXPECT_GT(std::fabs(joined - RVcoeff(10, 3, 2, a, b)), 1e-6) << "the control must change RV";
    free2D(z0, 10);
    free2D(a, 10);
    free2D(b, 10);
    free2D(z, 10);
    free2D(w, 10);
}

TEST(CongruenceOther, CoefficientsOfPairs)
{
    double** a = Symmetric(5, 61u);
    double** b = dim2Double(5, 5);
    for (int i = 0; i < 5; i++)
        for (int j = 0; j < 5; j++) b[i][j] = 2.0 * a[i][j] + 1.5;
    EXPECT_NEAR(MatrixStress(5, a, b), 0.0, 1e-12);
    EXPECT_NEAR(MatrixRankCorr(5, a, b), 1.0, 1e-12);
    double** e = dim2Double(5, 5);
    for (int i = 0; i < 5; i++)
        for (int j = 0; j < 5; j++) e[i][j] = std::exp(a[i][j]);
    EXPECT_NEAR(MatrixRankCorr(5, a, e), 1.0, 1e-12) << "ranks ignore monotone changes";
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
    EXPECT_NEAR(MatrixAbsValDist(5, a, b), sumAbs, 1e-12);
    EXPECT_NEAR(MatrixEudDist(5, a, b), std::sqrt(sumSq), 1e-12);
    EXPECT_NEAR(MatrixCos(5, a, b), cross / std::sqrt(ssa * ssb), 1e-12);
    EXPECT_NEAR(MatrixCov(5, a, b), (cross - sa * sb / 10) / 9, 1e-12);
    EXPECT_NEAR(MatrixCorrAdj(5, a, b), 1.0, 1e-12);
    double x, y;
    double cp = MatrixProdMomentAdj(5, &x, &y, a, b);
    EXPECT_NEAR(cp / std::sqrt(x * y), 1.0, 1e-5);
    EXPECT_NEAR(MatrixDist(5, a, a), 0.0, 1e-6);
    double** z = dim2Double(5, 5);
    EXPECT_EQ(MatrixStressKruskal(5, z, z), -1.0);
    EXPECT_EQ(MatrixCos(5, a, z), 0.0);
    EXPECT_NEAR(MatrixStressKruskal(5, a, a), 0.0, 1e-15);
    free2D(a, 5);
    free2D(b, 5);
    free2D(e, 5);
    free2D(z, 5);
}

TEST(CongruenceOther, ScalarProductAndDeviations)
{
    double** a = Noise(3, 3, 71u);
    double** b = Noise(3, 3, 73u);
    double sum = 0, sq = 0, ab = 0;
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++) {
            sum += a[i][j] * b[i][j];
            sq += (a[i][j] - b[i][j]) * (a[i][j] - b[i][j]);
            ab += std::fabs(a[i][j] - b[i][j]);
        }
    EXPECT_NEAR(vecProd(3, a, b), sum, 1e-12);
    EXPECT_NEAR(SQMatrixDeviations(3, 3, a, b), 1.0 - sq / 6.0, 1e-12);
    EXPECT_NEAR(SumAbsMatrixDeviations(3, 3, a, b), 1.0 - ab / 6.0, 1e-12);
    EXPECT_EQ(SQMatrixDeviations(3, 3, a, a), 1.0);
    free2D(a, 3);
    free2D(b, 3);
}

// Unit tests of the Mantel, Procrustes and RV coefficients and the other matrix coefficients.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibRegression.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

// Pearson correlation of the pairs i < j with no -999 on either side.
double PearsonOfPairs(int n, double** a, double** b)
{
    double xs[64], ys[64];
    int k = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++)
            if (a[i][j] != M && b[i][j] != M) {
                xs[k] = a[i][j];
                ys[k++] = b[i][j];
            }
    return Pearson(k, xs, ys);
}

// X' Y (at most 3 by 3) of the data with centred columns, each matrix scaled
// to a total sum of squares of 1; returns the squared Frobenius norm.
double ScaledCross(int rows, int p, int q, double** a, double** b, double c[3][3])
{
    double** m[2] = {dim2Double(rows, p), dim2Double(rows, q)};
    double** in[2] = {a, b};
    int cols[2] = {p, q};
    for (int s = 0; s < 2; s++) {
        double total = 0;
        for (int j = 0; j < cols[s]; j++) {
            double mean = 0;
            for (int i = 0; i < rows; i++) mean += in[s][i][j] / rows;
            for (int i = 0; i < rows; i++) {
                m[s][i][j] = in[s][i][j] - mean;
                total += m[s][i][j] * m[s][i][j];
            }
        }
        for (int i = 0; i < rows; i++)
            for (int j = 0; j < cols[s]; j++) m[s][i][j] /= std::sqrt(total);
    }
    double norm = 0;
    for (int s = 0; s < p; s++)
        for (int t = 0; t < q; t++) {
            c[s][t] = 0;
            for (int i = 0; i < rows; i++) c[s][t] += m[0][i][s] * m[1][i][t];
            norm += c[s][t] * c[s][t];
        }
    Free(rows, {m[0], m[1]});
    return norm;
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
    Mat c(6, 6);
    for (int i = 0; i < 36; i++) c[i / 6][i % 6] = 2.5;
    EXPECT_EQ(MatrixCorr(6, a, c), 0.0) << "a zero sum of squares gives 0";
    EXPECT_EQ(MatrixCorr(2, a, b), 0.0) << "one pair: zero sums of squares";
    Free(6, {a, b});
}

// The prepared form must reproduce MatrixCorr exactly, not nearly: the
// permutation test counts ties between random and observed statistics.
TEST(CongruenceMantel, PreparedFormGivesMatrixCorrBitForBit)
{
    for (int n : {2, 3, 23}) {
        const int k = 7;  // more matrices than one pass takes
        double** m[k];
        for (int s = 0; s < k; s++) m[s] = Symmetric(n, 31u * s + 5u);
        for (int i = 0; i < n; i++)
            for (int j = 0; j < n; j++) {
                m[1][i][j] = 83250.125 + m[1][i][j] * 1e-7;  // large mean, tiny spread
                m[2][i][j] = 2.385e-9 * m[2][i][j];
                m[3][i][j] = i < j && (i + j) % 3 == 0 ? 1e12 : m[3][i][j];
                m[4][i][j] = 7.75;                            // no spread at all
            }
        m[5][0][0] = M;  // diagonal and lower triangle are never read
        m[5][n - 1][0] = M;
        m[6][0][n - 1] = M;  // a pair with -999: MatrixCorr's business
        double* cen[k];
        double ss[k];
        bool ok[k];
        long pairs = (long)n * (n - 1) / 2;
        for (int s = 0; s < k; s++) cen[s] = dim1Double((int)pairs);
        MatrixCorrPrepareMany(n, k, m, cen, ss, ok);
        for (int s = 0; s < k; s++) EXPECT_EQ(s < 6, ok[s]) << "matrix " << s << ", n " << n;
        double single;
        EXPECT_TRUE(MatrixCorrPrepare(n, m[1], cen[6], &single));
        EXPECT_EQ(ss[1], single) << "one matrix or several, the same sum of squares";
        for (int a = 0; a < 6; a++) {
            double r[6];
            MatrixCorrPrepared(pairs, cen[a], ss[a], 6, cen, ss, r);
            for (int b = 0; b < 6; b++) {
                double plain = MatrixCorr(n, m[a], m[b]);
                EXPECT_EQ(0, std::memcmp(&r[b], &plain, sizeof(double)))
                    << "n " << n << ", matrices " << a << " and " << b << ": prepared " << r[b]
                    << ", MatrixCorr " << plain;
            }
        }
        for (int s = 0; s < k; s++) {
            free1D(cen[s]);
            free2D(m[s], n);
        }
    }
    double* none = dim1Double(1);
    double ss = 1.5;
    double** one = Symmetric(1, 3u);
    EXPECT_FALSE(MatrixCorrPrepare(1, one, none, &ss)) << "a single object has no pair";
    free1D(none);
    free2D(one, 1);
}

TEST(CongruenceProcrustes, SumOfSingularValuesOfScaledCrossProduct)
{
    double** a = Noise(9, 2, 3u);
    double** b = Noise(9, 2, 41u);
    double** v = Noise(9, 1, 5u);
    double** w = Noise(9, 3, 8u);
    double c[3][3];
    // the singular values of a 2 by 2 matrix sum to root(squared norm + 2 |det|)
    double norm = ScaledCross(9, 2, 2, a, b, c);
    double det = c[0][0] * c[1][1] - c[0][1] * c[1][0];
    EXPECT_NEAR(ProcrustesCoeff(9, 2, 2, a, b), std::sqrt(norm + 2 * std::fabs(det)), 1e-12);
    // a single column: the one singular value is the norm of X' y
    norm = ScaledCross(9, 3, 1, w, v, c);
    EXPECT_NEAR(ProcrustesCoeff(9, 3, 1, w, v), std::sqrt(norm), 1e-12);
    EXPECT_NEAR(ProcrustesCoeff(9, 1, 3, v, w), std::sqrt(norm), 1e-12) << "swapped";
    EXPECT_NEAR(ProcrustesCoeff(9, 2, 2, a, b), ProcrustesCoeff(9, 2, 2, b, a), 1e-12) << "swapped";
    EXPECT_NEAR(ProcrustesCoeff(9, 1, 1, v, v), 1.0, 1e-12);
    Free(9, {a, b, v, w});
}

TEST(CongruenceRV, AgreesWithEscoufierDefinition)
{
    double** a = Noise(8, 3, 11u);
    double** b = Noise(8, 2, 13u);
    double c[3][3];
    // RV = ||X'Y||^2 / (||X'X|| ||Y'Y||), Frobenius norms of centred data
    double rv = ScaledCross(8, 3, 2, a, b, c) /
                std::sqrt(ScaledCross(8, 3, 3, a, a, c) * ScaledCross(8, 2, 2, b, b, c));
    EXPECT_NEAR(RVcoeff(8, 3, 2, a, b), rv, 1e-12);
    EXPECT_NEAR(RVcoeff(8, 2, 3, b, a), rv, 1e-12);
    EXPECT_NEAR(RVcoeff(8, 3, 3, a, a), 1.0, 1e-12);
    Mat k(8, 2);
    EXPECT_TRUE(std::isnan(RVcoeff(8, 3, 2, a, k))) << "a constant matrix has no guard";
    Free(8, {a, b});
}

// Both coefficients worked by hand on two 3 by 2 matrices whose columns
// already have mean 0: A'B = [-1.5 7.5; -9 9], A'A = [15.5 5; 5 14],
// B'B = [6 -5.25; -5.25 7.125]; total variances 29.5 / 2 and 13.125 / 2.
TEST(CongruencePrepared, HandWorkedThreeByTwo)
{
    Mat a(3, 2, {2.5, -1, 0.5, 3, -3, -2});
    Mat b(3, 2, {1, 0.25, -2, 1.75, 1, -2});
    // singular values of a 2 by 2 matrix M sum to root(||M||^2 + 2 |det M|)
    double svSum = std::sqrt(220.5 + 2 * 54.0);
    double procrustes = svSum / (2 * std::sqrt(14.75 * 6.5625));
    double rv = 220.5 / std::sqrt(486.25 * 141.890625);
    EXPECT_NEAR(ProcrustesCoeff(3, 2, 2, a, b), procrustes, 1e-14);
    EXPECT_NEAR(ProcrustesCoeffPadded(3, 2, 2, a, b), procrustes, 1e-14);
    EXPECT_NEAR(RVcoeff(3, 2, 2, a, b), rv, 1e-14);
    EXPECT_NEAR(RVcoeffOuter(3, 2, 2, a, b), rv, 1e-14);
    // a form prepared once serves any number of partners, either side
    CongruenceForm fa, fb;
    CongruenceFormAlloc(&fa, 2, 3, 4);
    CongruenceFormAlloc(&fb, 2, 3, 2);
    PrepareCongruence(&fa, 2, a);
    PrepareCongruence(&fb, 2, b);
    double work[4];
    EXPECT_NEAR(CongruencePrepared(&fa, &fb, work), procrustes, 1e-14);
    EXPECT_NEAR(CongruencePrepared(&fb, &fa, work), procrustes, 1e-14);
    CongruenceFormFree(&fa);
    CongruenceFormFree(&fb);
}

// Relative difference, 0 when both are the same not-a-number.
static double Relative(double got, double want)
{
    if (std::isnan(got) && std::isnan(want)) return 0.0;
    return std::fabs(got - want) / std::fmax(std::fabs(want), 1e-300);
}

// The decompositions of the small matrix against the big ones, on shapes of
// the permutation tests: a narrow X against E, T and a Y wider than it is
// tall; rank-deficient columns; -999 in either; one column against many.
TEST(CongruencePrepared, ThinDecompositionsAgreeWithTheBigOnes)
{
    const int shapes[][3] = {{9, 2, 3}, {12, 5, 5}, {7, 3, 11}, {20, 8, 6}, {6, 1, 4}, {30, 4, 40}, {5, 5, 1}};
    unsigned seed = 17;
    double worst = 0.0;
    for (const auto& s : shapes)
        for (int variant = 0; variant < 4; variant++) {
            int rows = s[0], p = s[1], q = s[2];
            double** a = Noise(rows, p, seed += 7);
            double** b = Noise(rows, q, seed += 7);
            for (int i = 0; i < rows; i++) b[i][0] *= 1e3;  // columns of very different units
            if (variant == 1 && p > 1)
                for (int i = 0; i < rows; i++) a[i][p - 1] = 2.0 * a[i][0] - 0.5;
            if (variant == 2) {
                a[rows / 2][0] = M;
                b[rows - 1][q - 1] = M;
            }
            if (variant == 3)
                for (int i = 0; i < rows; i++) a[i][0] = b[i][0] / 7.0;  // sharing a direction
            double pairs[2][2] = {{ProcrustesCoeffThin(rows, p, q, a, b), ProcrustesCoeffPadded(rows, p, q, a, b)},
                                  {RVcoeffThin(rows, p, q, a, b), RVcoeffOuter(rows, p, q, a, b)}};
            for (auto& pair : pairs) {
                double d = Relative(pair[0], pair[1]);
                EXPECT_LT(d, 1e-10) << rows << " by " << p << " and " << q << ", variant " << variant << ": "
                                    << pair[0] << " against " << pair[1];
                worst = std::fmax(worst, d);
            }
            Free(rows, {a, b});
        }
    EXPECT_LT(worst, 1e-10);
}

TEST(CongruencePrepared, NonFiniteDataTakeTheBigDecompositions)
{
    double** a = Noise(6, 2, 3u);
    Mat constant(6, 3);
    for (int i = 0; i < 6; i++)
        for (int j = 0; j < 3; j++) constant[i][j] = 4.25;
    double thin = ProcrustesCoeffThin(6, 2, 3, a, constant), big = ProcrustesCoeffPadded(6, 2, 3, a, constant);
    EXPECT_TRUE(thin == big || (std::isnan(thin) && std::isnan(big))) << thin << " against " << big;
    EXPECT_TRUE(std::isnan(RVcoeffThin(6, 2, 3, a, constant)));
    a[2][1] = INFINITY;
    Mat b(6, 1, {1, 2, 3.5, 4, 0, 1});
    thin = RVcoeffThin(6, 2, 1, a, b), big = RVcoeffOuter(6, 2, 1, a, b);
    EXPECT_TRUE(thin == big || (std::isnan(thin) && std::isnan(big))) << thin << " against " << big;
    free2D(a, 6);
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

TEST(CongruencePartial, PartialMatrixCorrelationOnPcaResiduals)
{
    const int n = 10;
    double** a = Noise(n, 3, 31u);
    double** b = Noise(n, 2, 37u);
    double** z = Noise(n, 2, 43u);
    Mat ra(n, 3), rb(n, 2);
    PCA_Regression_ResidualsSelect(n, 3, 2, a, z, ra, nullptr, 2, 4.0);
    PCA_Regression_ResidualsSelect(n, 2, 2, b, z, rb, nullptr, 2, 4.0);
    EXPECT_EQ(PartialMatrixCorrelation(n, 3, 2, a, b, 3, 4.0, 1, 2, (int*)nullptr, z), RVcoeff(n, 3, 2, ra, rb));
    EXPECT_EQ(PartialMatrixCorrelation(n, 3, 2, a, b, 2, 4.0, 1, 2, (int*)nullptr, z),
              ProcrustesCoeff(n, 3, 2, ra, rb));
    EXPECT_EQ(PartialMatrixCorrelation(n, 3, 2, a, b, 1, 4.0, 1, 2, (int*)nullptr, z), 0.0);
    EXPECT_TRUE(std::isnan(PartialMatrixCorrelation(n, 3, 2, a, b, 3, 4.0, 0))) << "no control: zero residuals";
    // no column selected: residuals are the centred data
    int none[2] = {0, 0}, second[2] = {0, 1};
    EXPECT_NEAR(PartialMatrixCorrelation(n, 3, 2, a, b, 3, 2.0, 1, 2, none, z), RVcoeff(n, 3, 2, a, b), 1e-12);
    // controls are joined side by side, selected columns only
    Mat z0(n, 1), w(n, 2);
    for (int i = 0; i < n; i++) {
        z0[i][0] = z[i][0];
        w[i][0] = -7.5;
        w[i][1] = z[i][1];
    }
    double joined = PartialMatrixCorrelation(n, 3, 2, a, b, 3, 1.0, 1, 2, (int*)nullptr, z);
    double split = PartialMatrixCorrelation(n, 3, 2, a, b, 3, 1.0, 3, 1, (int*)nullptr, z0.p, 2, none, b, 2, second, w.p);
    EXPECT_NEAR(joined, split, 1e-12);
    Free(n, {a, b, z});
}

TEST(CongruenceOther, CoefficientsOfPairs)
{
    // pairs of a: 1, 2, 4; of e: 2, 0.5, 1
    Mat a(3, 3, {0, 1, 2, 9, 0, 4, 9, 9, 0}), e(3, 3, {0, 2, 0.5, 0, 0, 1, 0, 0, 0}), z(3, 3);
    EXPECT_NEAR(MatrixRankCorr(3, a, e), -0.5, 1e-12);
    EXPECT_NEAR(MatrixCov(3, a, e), -7.0 / 12.0, 1e-12);
    EXPECT_NEAR(MatrixEudDist(3, a, e), 3.5, 1e-12);
    EXPECT_NEAR(MatrixStressKruskal(3, a, e), std::sqrt(12.25 / 10.0625), 1e-12);
    EXPECT_EQ(MatrixStressKruskal(3, z, z), -1.0);
    EXPECT_EQ(MatrixCos(3, a, z), 0.0);
    // whole-matrix helpers, diagonals and lower triangles included
    EXPECT_NEAR(vecProd(3, a, e), 7.0, 1e-12);
    EXPECT_NEAR(SQMatrixDeviations(3, 3, a, e), 1.0 - 255.25 / 6.0, 1e-12);
    EXPECT_NEAR(SumAbsMatrixDeviations(3, 3, a, e), 1.0 - 32.5 / 6.0, 1e-12);
}

TEST(RhoResemblance, PairFormulaAndMatrixCorrelation) {
  double a0[3] = {0, 2.5, 1.25}, a1[3] = {0, 0, 3.75}, a2[3] = {0, 0, 0};
  double b0[3] = {0, 1.0, 2.0}, b1[3] = {0, 0, 4.5}, b2[3] = {0, 0, 0};
  double* a[3] = {a0, a1, a2};
  double* b[3] = {b0, b1, b2};
  EXPECT_NEAR(RhoResemblance(2, a, b), 1.0 - 1.5 / 2.5, 1e-12);
  // Pearson of (2.5, 1.25, 3.75) and (1, 2, 4.5)
  EXPECT_NEAR(RhoResemblance(3, a, b), 0.6933752, 1e-6);
  b0[1] = 0.0;
  a0[1] = 0.0;
  EXPECT_TRUE(std::isnan(RhoResemblance(2, a, b))) << "two zero distances: 0/0";
}

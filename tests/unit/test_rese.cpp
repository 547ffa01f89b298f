// Unit tests of the resemblance measures, their dispatcher and the matrix conversions.
#include <gtest/gtest.h>

#include <cmath>
#include <omp.h>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRese.h"
#include "scaling/similarity.h"

namespace {

const double M = -999.0;

double** FromRows(int rows, int cols, const double* values)
{
    double** m = dim2Double(rows, cols);
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) m[i][j] = values[i * cols + j];
    return m;
}

double Pearson(int n, const double* a, const double* b)
{
    double ma = 0, mb = 0;
    for (int k = 0; k < n; k++) { ma += a[k] / n; mb += b[k] / n; }
    double sab = 0, saa = 0, sbb = 0;
    for (int k = 0; k < n; k++) {
        sab += (a[k] - ma) * (b[k] - mb);
        saa += (a[k] - ma) * (a[k] - ma);
        sbb += (b[k] - mb) * (b[k] - mb);
    }
    return sab / std::sqrt(saa * sbb);
}

// Runs ResemblanceLib on a copy of the data and returns the n by n result.
double** Rese(int rows, int cols, double** data, int code, int exponent = 0, double p1 = 1.0)
{
    double** out = dim2Double(rows, rows);
    ResemblanceLib(rows, cols, data, out, 1, code, exponent, nullptr, p1, 0.0, 0, false);
    return out;
}

void ExpectSymmetric(int n, double** m, int code)
{
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++)
            if (!std::isnan(m[i][j])) {
                EXPECT_EQ(m[i][j], m[j][i]) << "code " << code << " at " << i << "," << j;
            }
}

// Three objects, one missing value, one negative value.
const double kMixed[] = {1.5, 2.25, -0.5, 4.0,
                         0.5, 3.25, 1.5, 2.0,
                         2.5, M, 0.0, 1.0};
// The same without the missing value.
const double kComplete[] = {1.5, 2.25, -0.5, 4.0,
                            0.5, 3.25, 1.5, 2.0,
                            2.5, 1.0, 0.0, 1.0};

}  // namespace

TEST(ReseContinuous, DistancesOverCompletePairs)
{
    double** x = FromRows(3, 4, kMixed);
    double** d = Rese(3, 4, x, 3);
    EXPECT_NEAR(d[0][1], std::sqrt(10.0), 1e-12);
    EXPECT_NEAR(d[0][2], std::sqrt(10.25), 1e-12) << "the missing descriptor must drop out";
    EXPECT_NEAR(d[1][2], std::sqrt(7.25), 1e-12);
    EXPECT_EQ(d[1][1], 0.0);
    ExpectSymmetric(3, d, 3);
    double** a = Rese(3, 4, x, 2);
    EXPECT_NEAR(a[0][1], 6.0, 1e-12);
    EXPECT_NEAR(a[0][2], 4.5, 1e-12);
    EXPECT_NEAR(a[1][2], 4.5, 1e-12);
    // squared and rooted results
    double** d2 = Rese(3, 4, x, 3, 1);
    EXPECT_NEAR(d2[2][0], 10.25, 1e-12);
    double** a2 = Rese(3, 4, x, 2, 2);
    EXPECT_NEAR(a2[1][0], std::sqrt(6.0), 1e-12);
    // rows with no complete pair have distance 0, not missing
    const double disjoint[] = {1.0, M, M, 7.0};
    double** y = FromRows(2, 2, disjoint);
    double** e = Rese(2, 2, y, 3);
    EXPECT_EQ(e[0][1], 0.0);
    for (double** m : {x, d, a, d2, a2}) free2D(m, 3);
    free2D(y, 2);
    free2D(e, 2);
}

TEST(ReseContinuous, BrayCurtisShiftsNegativeDataInDenominatorOnly)
{
    double** x = FromRows(3, 4, kMixed);
    double** d = Rese(3, 4, x, 20);
    // smallest value -0.5: each complete descriptor adds 2 * 0.5 to the denominator
    EXPECT_NEAR(d[0][1], 6.0 / 18.5, 1e-12);
    EXPECT_NEAR(d[0][2], 4.5 / 11.5, 1e-12);
    EXPECT_NEAR(d[1][2], 4.5 / 10.5, 1e-12);
    EXPECT_EQ(d[0][0], 0.0);
    // rows of zeros leave the element as the caller's array held it
    double** z = dim2Double(2, 3);
    double** out = dim2Double(2, 2);
    out[0][1] = 0.375;
    BrayCurtisMV(2, 3, z, out);
    EXPECT_EQ(out[0][1], 0.375);
    free2D(x, 3);
    free2D(d, 3);
    free2D(z, 2);
    free2D(out, 2);
}

TEST(ReseContinuous, ChordDistanceIsRootedOnlyWithoutMissingValues)
{
    const double full[] = {3.0, 4.0, 4.0, 3.0};
    double** x = FromRows(2, 2, full);
    double** d = Rese(2, 2, x, 18);
    EXPECT_NEAR(d[0][1], std::sqrt(0.08), 1e-12);
    // a missing value anywhere switches every pair to the squared distance
    const double gappy[] = {3.0, 4.0, M, 4.0, 3.0, 5.5};
    double** y = FromRows(2, 3, gappy);
    double** e = Rese(2, 3, y, 18);
    EXPECT_NEAR(e[0][1], 0.08, 1e-12);
    EXPECT_NEAR(e[0][0], 0.0, 1e-15);
    free2D(x, 2);
    free2D(d, 2);
    free2D(y, 2);
    free2D(e, 2);
}

TEST(ReseContinuous, ProductsCorrelationsAndEigenMeasureAgreeWithDefinitions)
{
    double** x = FromRows(3, 4, kComplete);
    double** cp = Rese(3, 4, x, 1);
    EXPECT_NEAR(cp[0][1], 15.3125, 1e-12);
    EXPECT_NEAR(cp[0][0], 23.5625, 1e-12);
    double** r = Rese(3, 4, x, 17);
    double** cov = Rese(3, 4, x, 22);
    double** h = Rese(3, 4, x, 21);
    for (int i = 0; i < 3; i++)
        for (int j = i + 1; j < 3; j++) {
            double p = Pearson(4, &kComplete[i * 4], &kComplete[j * 4]);
            EXPECT_NEAR(r[i][j], p, 1e-12) << "correlation " << i << "," << j;
            EXPECT_NEAR(r[j][i], p, 1e-12);
            // smaller eigenvalue of [[1, r], [r, 1]] of two standardised rows
            EXPECT_NEAR(h[i][j], 1.0 - std::fabs(p), 1e-12) << "code 21 " << i << "," << j;
        }
    // covariance of rows 0 and 1: sum of cross deviations / 3
    EXPECT_NEAR(cov[0][1], (15.3125 - 7.25 * 7.25 / 4.0) / 3.0, 1e-12);
    for (double** m : {x, cp, r, cov, h}) free2D(m, 3);
}

TEST(ReseContinuous, GowerAndLegendreChodorowskiGoThroughDispatcher)
{
    double** x = FromRows(3, 4, kComplete);
    double** copy = FromRows(3, 4, kComplete);
    int types[4] = {3, 3, 3, 3};
    double** viaLib = dim2Double(3, 3);
    double** direct = dim2Double(3, 3);
    ResemblanceLib(3, 4, x, viaLib, 1, 5, 0, types, 0.0, 0.0, 1, false);
    GowerMVOpt(3, 4, types, copy, direct, nullptr, nullptr, 1);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++) EXPECT_NEAR(viaLib[i][j], direct[i][j], 1e-14);
    ResemblanceLib(3, 4, x, viaLib, 1, 19, 0, nullptr, 0.0, 0.3, 0, false);
    LegendreChodorowski(3, 4, copy, direct, nullptr, (double)(float)0.3);
    for (int i = 0; i < 3; i++)
        for (int j = i; j < 3; j++) EXPECT_NEAR(viaLib[i][j], direct[i][j], 1e-14);
    ExpectSymmetric(3, viaLib, 19);
    for (double** m : {x, copy, viaLib, direct}) free2D(m, 3);
}

TEST(ReseEntropyCodes, NominalVariablesAsRows)
{
    // rows 0 and 1 identical, row 2 independent of both
    const double states[] = {1, 1, 2, 2, 1, 1, 2, 2, 1, 2, 1, 2};
    double** x = FromRows(3, 4, states);
    double** chi = Rese(3, 4, x, 10);
    EXPECT_NEAR(chi[0][1], 4.0, 1e-12);
    EXPECT_NEAR(chi[0][2], 0.0, 1e-12);
    double** coh = Rese(3, 4, x, 9, 0, 1.0);
    EXPECT_NEAR(coh[0][1], 1.0, 1e-7);
    EXPECT_NEAR(coh[1][2], 0.0, 1e-7);
    double** dis = Rese(3, 4, x, 8, 0, 1.0);
    EXPECT_NEAR(dis[0][1], 0.0, 1e-7);
    EXPECT_NEAR(dis[0][2], 1.0, 1e-7);
    EXPECT_NEAR(dis[1][1], 0.0, 1e-7);
    double** me = Rese(3, 4, x, 7, 0, 1.0);
    EXPECT_NEAR(me[0][1], std::log(2.0), 1e-12);
    EXPECT_NEAR(me[0][2], 0.0, 1e-12);
    double** mdis = Rese(3, 4, x, 6);
    EXPECT_NEAR(mdis[0][1], 8.0 * std::log(2.0), 1e-12);
    EXPECT_NEAR(mdis[2][0], 0.0, 1e-12);
    // code 4 on frequency rows of equal totals: 3 log(4/3)
    const double freq[] = {2, 0, 3, 1, 1, 3};
    double** f = FromRows(2, 3, freq);
    double** mi = Rese(2, 3, f, 4);
    EXPECT_NEAR(mi[0][1], 3.0 * std::log(4.0 / 3.0), 1e-6);
    for (double** m : {x, chi, coh, dis, me, mdis}) free2D(m, 3);
    free2D(f, 2);
    free2D(mi, 2);
}

TEST(ReseBinary, CoefficientsFromJointCounts)
{
    // rows 0 and 1: a = 1, b = 2, c = 1, d = 1 (the last descriptor is missing in row 0)
    const double bin[] = {1, 1, 0, 1, 0, M,
                          1, 0, 1, 0, 0, 1,
                          M, M, M, M, M, M,
                          0, 0, 0, 0, 0, 0};
    double** x = FromRows(4, 6, bin);
    int a, b, c, d;
    JointFreq(6, x[0], x[1], &a, &b, &c, &d);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 2);
    EXPECT_EQ(c, 1);
    EXPECT_EQ(d, 1);
    struct Case { int code; double pair; double empty; };
    const Case cases[] = {
        {11, 1.0 / 4.0, 0.0}, {12, 2.0 / 5.0, 0.0}, {13, 1.0 / 5.0, 0.0},
        {14, 1.0 / std::sqrt(6.0), 0.0}, {15, 2.0 / 5.0, 0.0}, {16, 1.0 / 36.0, 0.0},
        {23, 3.0 / 4.0, 1.0}, {24, 2.0 / 3.0, M}, {25, 1.0 / 12.0, M},
        {26, 3.0 / 5.0, 1.0}, {27, 0.5, M}, {28, 0.1, M}};
    for (const Case& k : cases) {
        double** out = Rese(4, 6, x, k.code);
        EXPECT_NEAR(out[0][1], k.pair, 1e-12) << "code " << k.code;
        EXPECT_NEAR(out[1][0], k.pair, 1e-12) << "code " << k.code << " mirrored";
        // row 2 is all missing: a, b, c, d are all 0
        EXPECT_EQ(out[0][2], k.empty) << "code " << k.code << " with an empty row";
        free2D(out, 4);
    }
    // diagonal of the turnover: 0 for a row with some 1, -999 for an empty row
    double** t = Rese(4, 6, x, 24);
    EXPECT_EQ(t[0][0], 0.0);
    EXPECT_EQ(t[2][2], M);
    EXPECT_EQ(t[3][3], M);
    // a zero marginal sum makes the mean square contingency 0
    double** msc = Rese(4, 6, x, 16);
    EXPECT_EQ(msc[1][3], 0.0);
    free2D(t, 4);
    free2D(msc, 4);
    free2D(x, 4);
}

TEST(ReseBinary, SimpleMatchingTakesAnyValues)
{
    const double v[] = {1, 2, 3, 1, 5, 3};
    double** x = FromRows(2, 3, v);
    double** out = Rese(2, 3, x, 12);
    EXPECT_NEAR(out[0][1], 2.0 / 3.0, 1e-15);
    EXPECT_EQ(out[1][1], 1.0);
    free2D(x, 2);
    free2D(out, 2);
}

TEST(ReseDispatcher, ColumnsAsObjectsUnknownCodeAndExponent)
{
    double** x = FromRows(3, 4, kMixed);
    double** xt = dim2Double(4, 3);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 4; j++) xt[j][i] = x[i][j];
    double** byRows = Rese(3, 4, x, 3);
    double** byCols = dim2Double(3, 3);
    ResemblanceLib(4, 3, xt, byCols, 2, 3, 0, nullptr, 0.0, 0.0, 0, false);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++) EXPECT_EQ(byCols[i][j], byRows[i][j]);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 4; j++) EXPECT_EQ(xt[j][i], kMixed[i * 4 + j]) << "data changed";
    // an unknown code keeps out, and the exponent then squares what was there
    double** out = dim2Double(2, 2);
    out[0][1] = 1.5;
    out[1][0] = 7.0;
    ResemblanceLib(2, 4, x, out, 1, 99, 1, nullptr, 0.0, 0.0, 0, false);
    EXPECT_EQ(out[0][1], 2.25);
    EXPECT_EQ(out[1][0], 2.25);
    free2D(x, 3);
    free2D(xt, 4);
    free2D(byRows, 3);
    free2D(byCols, 3);
    free2D(out, 2);
}

TEST(ReseDispatcher, TranslationOfDialogueOptions)
{
    const int expected[] = {0, 0, 1, 0, 17, 3, 0, 2, 0, 18};
    for (int option = 1; option <= 10; option++)
        EXPECT_EQ(TranslateReseOpt_KOLVEN_DARVOL(option), expected[option - 1]) << option;
    EXPECT_EQ(TranslateReseOpt_KOLVEN_DARVOL(0), 1);
    EXPECT_EQ(TranslateReseOpt_KOLVEN_DARVOL(11), 1);
    EXPECT_TRUE(IsSimilarityCode(22));
    EXPECT_FALSE(IsSimilarityCode(23));
    EXPECT_FALSE(IsSimilarityCode(18));
}

TEST(ReseNominal, OptionsOfTheDialogue)
{
    const double v[] = {3.0, 4.0, 4.0, 3.0};
    double** x = FromRows(2, 2, v);
    double** out = dim2Double(2, 2);
    NominalReseNonHier(2, 2, x, out, 6);
    EXPECT_NEAR(out[0][1], std::sqrt(2.0), 1e-12);
    NominalReseNonHier(2, 2, x, out, 9);
    EXPECT_NEAR(out[0][1], 2.0, 1e-12);
    NominalReseNonHier(2, 2, x, out, 10);
    EXPECT_NEAR(out[0][1], std::sqrt(0.08), 1e-12);
    out[0][1] = 0.625;
    NominalReseNonHier(2, 2, x, out, 3);
    EXPECT_EQ(out[0][1], 0.625);
    free2D(x, 2);
    free2D(out, 2);
}

TEST(ReseConversions, GowerCentringGivesCentredCoordinateProducts)
{
    // points 0, 1.5 and 4 on a line
    const double pos[] = {0.0, 1.5, 4.0};
    double** d = dim2Double(3, 3);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++) d[i][j] = std::fabs(pos[i] - pos[j]);
    double** b = dim2Double(3, 3);
    DissToCenterProdMatrix(3, d, b, false);
    double mean = 5.5 / 3.0;
    for (int i = 0; i < 3; i++)
        for (int j = i; j < 3; j++)
            EXPECT_NEAR(b[i][j], (pos[i] - mean) * (pos[j] - mean), 1e-12) << i << "," << j;
    EXPECT_EQ(b[2][0], 0.0) << "lower triangle must not be written";
    // products back to squared distances
    double** sq = dim2Double(3, 3);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < i; j++) b[i][j] = b[j][i];
    ProdToSqDist(3, b, sq);
    EXPECT_NEAR(sq[0][2], 16.0, 1e-12);
    EXPECT_NEAR(sq[1][2], 6.25, 1e-12);
    // in-place conversions
    double** c = dim2Double(2, 2);
    c[0][0] = c[1][1] = 1.0;
    c[0][1] = c[1][0] = 0.375;
    CorrToSqDist(2, c, c);
    EXPECT_NEAR(c[1][0], 1.25, 1e-15);
    EXPECT_EQ(c[0][0], 0.0);
    SquareRootSqMatrix(2, c, c);
    EXPECT_NEAR(c[0][1], std::sqrt(1.25), 1e-15);
    SquareSqMatrix(2, c, c);
    EXPECT_NEAR(c[1][0], 1.25, 1e-14);
    ProbToDissim(2, c, c);
    EXPECT_NEAR(c[0][1], -0.25, 1e-14);
    EXPECT_EQ(c[1][1], 1.0);
    free2D(d, 3);
    free2D(b, 3);
    free2D(sq, 3);
    free2D(c, 2);
}

TEST(ReseParallel, EuclideanDistancesSameWithOneAndTwoThreads)
{
    const int rows = 61, cols = 7;
    double** x = dim2Double(rows, cols);
    unsigned state = 12345u;
    for (int i = 0; i < rows; i++)
        for (int k = 0; k < cols; k++) {
            state = state * 1103515245u + 12345u;
            x[i][k] = (state >> 8) % 1000 / 37.0;
            if ((state >> 20) % 17 == 0) x[i][k] = M;
        }
    int select[cols] = {1, 0, 1, 1, 0, 1, 1};
    double** one[3];
    double** two[3];
    for (int t = 1; t <= 2; t++) {
        omp_set_num_threads(t);
        double*** res = t == 1 ? one : two;
        for (int f = 0; f < 3; f++) res[f] = dim2Double(rows, rows);
        EucliDist(rows, cols, x, res[0]);
        EucliDistMV(rows, cols, x, res[1]);
        EucliDistMVSelect(rows, cols, x, res[2], select);
    }
    for (int f = 0; f < 3; f++)
        for (int i = 0; i < rows; i++)
            for (int j = i; j < rows; j++)
                ASSERT_EQ(one[f][i][j], two[f][i][j]) << "routine " << f << " at " << i << "," << j;
    EXPECT_GT(one[1][0][1], 0.0);
    for (int f = 0; f < 3; f++) {
        free2D(one[f], rows);
        free2D(two[f], rows);
    }
    free2D(x, rows);
}

// Unit tests of the resemblance measures, their dispatcher and the matrix conversions.
#include <gtest/gtest.h>

#include <cmath>
#include <omp.h>

#include "TarnLib/tarnlibRese.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

double** Rese(int rows, int cols, double** data, int code, int exponent = 0)
{
    double** out = dim2Double(rows, rows);
    ResemblanceLib(rows, cols, data, out, 1, code, exponent, nullptr, 1.0, 0.0, 0, false);
    return out;
}

// Three objects with one missing and one negative value; kComplete has none missing.
const double kMixed[] = {1.5, 2.25, -0.5, 4.0, 0.5, 3.25, 1.5, 2.0, 2.5, M, 0.0, 1.0};
const double kComplete[] = {1.5, 2.25, -0.5, 4.0, 0.5, 3.25, 1.5, 2.0, 2.5, 1.0, 0.0, 1.0};

}  // namespace

TEST(ReseContinuous, DistancesOverCompletePairsBrayCurtisShiftAndChord)
{
    Mat x(3, 4, kMixed);
    double** d = Rese(3, 4, x, 3);
    EXPECT_NEAR(d[0][1], std::sqrt(10.0), 1e-12);
    EXPECT_NEAR(d[2][0], std::sqrt(10.25), 1e-12) << "missing descriptor must drop out, mirrored";
    double** a = Rese(3, 4, x, 2, 2);  // rooted absolute value function
    EXPECT_NEAR(a[0][1], std::sqrt(6.0), 1e-12);
    EXPECT_NEAR(a[1][2], std::sqrt(4.5), 1e-12);
    // the minimum -0.5 adds 2 * 0.5 per complete descriptor to the denominator
    double** bc = Rese(3, 4, x, 20);
    EXPECT_NEAR(bc[0][1], 6.0 / 18.5, 1e-12);
    EXPECT_NEAR(bc[0][2], 4.5 / 11.5, 1e-12);
    EXPECT_EQ(bc[1][1], 0.0);
    // zero rows: Bray-Curtis leaves the element; no complete pair: distance 0
    Mat z(3, 4);
    for (int k = 0; k < 4; k++) z[2][k] = M;
    Mat out(3, 3);
    out[0][1] = 0.375;
    BrayCurtisMV(3, 4, z, out);
    EXPECT_EQ(out[0][1], 0.375);
    out[1][2] = 9.0;
    EucliDistMV(3, 4, z, out);
    EXPECT_EQ(out[1][2], 0.0);
    // chord distance: rooted without -999, squared with one (rows 3, 4, -999 and 4, 3, 5.5)
    Mat y(2, 3, {3.0, 4.0, M, 4.0, 3.0, 5.5});
    double** gappy = Rese(2, 3, y, 18);
    double** chord = Rese(2, 2, y, 18);  // the first two columns only
    EXPECT_NEAR(gappy[0][1], 0.08, 1e-12);
    EXPECT_NEAR(chord[0][1], std::sqrt(0.08), 1e-12);
    Free(3, {d, a, bc});
    Free(2, {gappy, chord});
}

TEST(ReseContinuous, CorrelationsAndEigenMeasureAgreeWithDefinitions)
{
    Mat x(3, 4, kComplete);
    double** r = Rese(3, 4, x, 17);
    double** h = Rese(3, 4, x, 21);
    for (int i = 0; i < 3; i++)
        for (int j = i + 1; j < 3; j++) {
            double p = Pearson(4, &kComplete[i * 4], &kComplete[j * 4]);
            EXPECT_NEAR(r[j][i], p, 1e-12) << "correlation " << i << "," << j;
            // smaller eigenvalue of [[1, r], [r, 1]] for two standardised rows
            EXPECT_NEAR(h[i][j], 1.0 - std::fabs(p), 1e-12) << "code 21 " << i << "," << j;
        }
    Free(3, {r, h});
}

TEST(ReseEntropyCodes, NominalVariablesAsRows)
{
    // rows 0 and 1 identical, row 2 independent of both
    Mat x(3, 4, {1, 1, 2, 2, 1, 1, 2, 2, 1, 2, 1, 2});
    struct Case { int code; double same, independent; };
    const Case cases[] = {{10, 4.0, 0.0}, {9, 1.0, 0.0}, {8, 0.0, 1.0},
                          {7, std::log(2.0), 0.0}, {6, 8.0 * std::log(2.0), 0.0}};
    for (const Case& k : cases) {
        double** out = Rese(3, 4, x, k.code);
        EXPECT_NEAR(out[0][1], k.same, 1e-7) << "code " << k.code;
        EXPECT_NEAR(out[2][0], k.independent, 1e-7) << "code " << k.code;
        if (k.code == 8) {
            EXPECT_NEAR(out[1][1], 1.0, 1e-7) << "code 8 turns only the pairs i < j to distances";
        }
        Free(3, {out});
    }
    // code 4 on frequency rows of equal totals: 3 log(4/3)
    Mat f(2, 3, {2, 0, 3, 1, 1, 3});
    double** mi = Rese(2, 3, f, 4);
    EXPECT_NEAR(mi[0][1], 3.0 * std::log(4.0 / 3.0), 1e-6);
    Free(2, {mi});
}

TEST(ReseBinary, CoefficientsFromJointCountsAndEmptyCases)
{
    // rows 0 and 1: a = 1, b = 2, c = 1, d = 1 (the last descriptor is missing in row 0)
    Mat x(4, 6, {1, 1, 0, 1, 0, M, 1, 0, 1, 0, 0, 1, M, M, M, M, M, M, 0, 0, 0, 0, 0, 0});
    int a, b, c, d;
    JointFreq(6, x[0], x[1], &a, &b, &c, &d);
    EXPECT_EQ(a * 1000 + b * 100 + c * 10 + d, 1211);
    struct Case { int code; double pair, empty; };
    const Case cases[] = {
        {11, 1.0 / 4, 0.0}, {12, 2.0 / 5, 0.0}, {13, 1.0 / 5, 0.0}, {14, 1.0 / std::sqrt(6.0), 0.0},
        {15, 2.0 / 5, 0.0}, {16, 1.0 / 36, 0.0}, {23, 3.0 / 4, 1.0}, {24, 2.0 / 3, M},
        {25, 1.0 / 12, M}, {26, 3.0 / 5, 1.0}, {27, 0.5, M}, {28, 0.1, M}};
    for (const Case& k : cases) {
        double** out = Rese(4, 6, x, k.code);
        EXPECT_NEAR(out[1][0], k.pair, 1e-12) << "code " << k.code;
        EXPECT_EQ(out[0][2], k.empty) << "code " << k.code << " against an all-missing row";
        if (k.code == 24) {  // turnover diagonal: 0 with some 1, -999 for an empty row
            EXPECT_EQ(out[0][0], 0.0);
            EXPECT_EQ(out[3][3], M);
        }
        if (k.code == 16) {
            EXPECT_EQ(out[1][3], 0.0) << "a zero marginal sum gives 0";
        }
        Free(4, {out});
    }
    const double any[] = {1, 2, 3, 1, 5, 3};  // simple matching needs no binary data
    Mat y(2, 3, any);
    double** sm = Rese(2, 3, y, 12);
    EXPECT_NEAR(sm[0][1], 2.0 / 3.0, 1e-15);
    Free(2, {sm});
}

TEST(ReseDispatcher, ColumnsAsObjectsUnknownCodeAndTranslation)
{
    Mat x(3, 4, kMixed), xt(4, 3);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 4; j++) xt[j][i] = x[i][j];
    double** byRows = Rese(3, 4, x, 3);
    Mat byCols(3, 3);
    ResemblanceLib(4, 3, xt, byCols, 2, 3, 0, nullptr, 0.0, 0.0, 0, false);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 4; j++) {
            if (j < 3) {
                EXPECT_EQ(byCols[i][j], byRows[i][j]);
            }
            EXPECT_EQ(xt[j][i], kMixed[i * 4 + j]) << "data changed";
        }
    // an unknown code keeps out, and the exponent squares what was there
    byCols[0][1] = 1.5;
    ResemblanceLib(2, 4, x, byCols, 1, 99, 1, nullptr, 0.0, 0.0, 0, false);
    EXPECT_EQ(byCols[1][0], 2.25);
    const int expected[] = {1, 0, 0, 1, 0, 17, 3, 0, 2, 0, 18, 1};
    for (int option = 0; option <= 11; option++)
        EXPECT_EQ(TranslateReseOpt_KOLVEN_DARVOL(option), expected[option]) << option;
    // dialogue options: 9 absolute values, 10 chord, 3 nothing
    Mat y(2, 2, {3.0, 4.0, 4.0, 3.0});
    NominalReseNonHier(2, 2, y, byCols, 9);
    EXPECT_NEAR(byCols[0][1], 2.0, 1e-12);
    NominalReseNonHier(2, 2, y, byCols, 10);
    EXPECT_NEAR(byCols[0][1], std::sqrt(0.08), 1e-12);
    NominalReseNonHier(2, 2, y, byCols, 3);
    EXPECT_NEAR(byCols[0][1], std::sqrt(0.08), 1e-12);
    Free(3, {byRows});
}

TEST(ReseConversions, GowerCentringGivesCentredCoordinateProducts)
{
    const double pos[] = {0.0, 1.5, 4.0}, mean = 5.5 / 3.0;  // points on a line
    Mat d(3, 3), b(3, 3);
    for (int i = 0; i < 9; i++) d[i / 3][i % 3] = std::fabs(pos[i / 3] - pos[i % 3]);
    DissToCenterProdMatrix(3, d, b, false);
    for (int i = 0; i < 3; i++)
        for (int j = i; j < 3; j++)
            EXPECT_NEAR(b[i][j], (pos[i] - mean) * (pos[j] - mean), 1e-12) << i << "," << j;
    EXPECT_EQ(b[2][0], 0.0) << "lower triangle must not be written";
    ProdToSqDist(3, b, d);
    EXPECT_NEAR(d[0][2], 16.0, 1e-12);
    // in place: a correlation of 0.375 is a squared distance of 1.25
    Mat c(2, 2);
    c[0][0] = c[1][1] = 1.0;
    c[0][1] = c[1][0] = 0.375;
    CorrToSqDist(2, c, c);
    EXPECT_NEAR(c[1][0], 1.25, 1e-15);
    SquareRootSqMatrix(2, c, c);
    SquareSqMatrix(2, c, c);
    ProbToDissim(2, c, c);
    EXPECT_NEAR(c[0][1], -0.25, 1e-14);
    EXPECT_EQ(c[1][1], 1.0);
}

TEST(ReseParallel, EuclideanDistancesSameWithOneAndTwoThreads)
{
    const int rows = 61, cols = 7;
    double** x = Noise(rows, cols, 12345u);
    for (int i = 0; i < rows; i += 5) x[i][i % cols] = M;
    int select[cols] = {1, 0, 1, 1, 0, 1, 1};
    double** res[2][3];
    for (int t = 0; t < 2; t++) {
        omp_set_num_threads(t + 1);
        for (int f = 0; f < 3; f++) res[t][f] = dim2Double(rows, rows);
        EucliDist(rows, cols, x, res[t][0]);
        EucliDistMV(rows, cols, x, res[t][1]);
        EucliDistMVSelect(rows, cols, x, res[t][2], select);
    }
    for (int f = 0; f < 3; f++)
        for (int i = 0; i < rows; i++)
            for (int j = i; j < rows; j++)
                ASSERT_EQ(res[0][f][i][j], res[1][f][i][j]) << "routine " << f << " at " << i << "," << j;
    Free(rows, {x, res[0][0], res[0][1], res[0][2], res[1][0], res[1][1], res[1][2]});
}

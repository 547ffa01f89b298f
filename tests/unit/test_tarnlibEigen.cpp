// Unit tests of the eigenanalysis, decomposition and ordination routines.
#include <gtest/gtest.h>

#include <cmath>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibEigen.h"
#include "TarnLib/tarnlibRandom.h"
#include "tests/unit/test_util.h"

#include <gsl/gsl_randist.h>

namespace {

// A symmetric 2 by 2 matrix with eigenvalues l1, l2 along a rotated basis.
double** RotatedDiagonal(double l1, double l2, double angle)
{
    double c = std::cos(angle), s = std::sin(angle);
    double** m = dim2Double(2, 2);
    m[0][0] = l1 * c * c + l2 * s * s;
    m[1][1] = l1 * s * s + l2 * c * c;
    m[0][1] = m[1][0] = (l1 - l2) * c * s;
    return m;
}

}  // namespace

using namespace testutil;

TEST(EigenGsl, EigenvectorsSatisfyDefinitionAndNegativeEigenvalueFlag)
{
    Mat a(4, 4, {4.385, 1.2, -0.7, 2.1, 1.2, 3.05, 0.4, -1.3,
                 -0.7, 0.4, 2.77, 0.9, 2.1, -1.3, 0.9, 5.12});
    Mat vec(4, 4);
    double* val = dim1Double(4);
    EigenHouseholderQL_GSL_D(4, a, vec, val);
    for (int k = 0; k < 4; k++) {
        if (k > 0) {
            EXPECT_GE(val[k - 1], val[k]) << "eigenvalues not decreasing at " << k;
        }
        double norm = 0.0;
        for (int i = 0; i < 4; i++) {
            double av = 0.0;
            for (int j = 0; j < 4; j++) av += a[i][j] * vec[k][j];
            EXPECT_NEAR(av, val[k] * vec[k][i], 1e-10) << "axis " << k << " element " << i;
            norm += vec[k][i] * vec[k][i];
        }
        EXPECT_NEAR(norm, 1.0, 1e-12);
    }
    EXPECT_EQ(a[3][1], -1.3) << "a must be left as it was";
    // -0.5 / 9.5 is below -0.001: not positive semi-definite, results stored all the same
    double** bad = RotatedDiagonal(10.0, -0.5, 0.37);
    EXPECT_FALSE(EigenHouseholderQL_GSL_D(2, bad, vec, val));
    EXPECT_NEAR(val[1], -0.5, 1e-12);
    double** nearly = RotatedDiagonal(10.0, -0.005, 0.37);  // -0.005 / 9.995: accepted
    EXPECT_TRUE(EigenHouseholderQL_GSL_D(2, nearly, vec, val));
    Free(2, {bad, nearly});
    free1D(val);
}

TEST(EigenGsl, SingularValueDecompositionReconstructs)
{
    Mat a(4, 3, {2.385, -1.1, 0.7, 3.3, 0.25, -2.6, 1.9, 0.8, 4.4, -0.3, 1.7, 2.2}), u(4, 3), v(3, 3);
    double* s = dim1Double(3);
    ASSERT_TRUE(SingValueDecomp(4, 3, a, u, s, v));
    for (int i = 0; i < 4; i++)
        for (int j = 0; j < 3; j++) {
            double x = 0.0;
            for (int k = 0; k < 3; k++) x += u[i][k] * s[k] * v[j][k];
            EXPECT_NEAR(x, a[i][j], 1e-10) << "element " << i << "," << j;
        }
    EXPECT_FALSE(SingValueDecomp(3, 4, a, u, s, v)) << "a wider than tall matrix is refused";
    free1D(s);
}

TEST(EigenOrdination, PrincipalCoordinatesOfPointsOnALine)
{
    const double pos[] = {0.0, 1.5, 4.0};
    Mat d(3, 3), s(3, 3);
    for (int i = 0; i < 9; i++) {
        d[i / 3][i % 3] = std::fabs(pos[i / 3] - pos[i % 3]);
        s[i / 3][i % 3] = pos[i / 3] * pos[i % 3];
    }
    Mat vec(3, 3), scores(3, 3);
    double* val = dim1Double(3);
    int axes = -1;
    bool ok = false;
    EXPECT_EQ(OrdinationLib_D(3, 3, nullptr, d, vec, scores, &axes, val, &ok, 1, 3, 1), 1);
    EXPECT_TRUE(ok);
    ASSERT_EQ(axes, 1);
    for (int i = 0; i < 9; i++)
        EXPECT_NEAR(std::fabs(scores[0][i / 3] - scores[0][i % 3]), d[i / 3][i % 3], 1e-12) << i;
    // a similarity (code 1, cross products) goes through squared distances
    EXPECT_EQ(OrdinationLib_Scores(3, 3, nullptr, s, scores, 1, 1, 1), 1);
    EXPECT_NEAR(std::fabs(scores[0][2] - scores[0][0]), 4.0, 1e-12);
    free1D(val);
}

TEST(EigenOrdination, TinyEigenvalueGivesNoAxis)
{
    Mat a(2, 2), scores(2, 2), data(2, 2);
    a[0][0] = 100.0;
    a[1][1] = 1e-9;
    data[0][0] = data[1][1] = 1.0;
    scores[1][0] = scores[1][1] = 2.385;
    EXPECT_EQ(OrdinationLib_Scores(2, 2, data, a, scores, 2, 1, 1), 1);
    EXPECT_EQ(scores[1][0] + scores[1][1], 0.0) << "the rows of scores are cleared, used or not";
    a[1][1] = 1e-5;  // 1e-5 percent: kept
    EXPECT_EQ(OrdinationLib_Scores(2, 2, data, a, scores, 2, 1, 1), 2);
}

TEST(EigenCorrelatedData, IdentityKeepsNumbersAndCorrelationIsReached)
{
    InitRndNumberGenerator(2385);
    Mat id(3, 3);
    for (int i = 0; i < 3; i++) id[i][i] = 1.0;
    Mat out(5, 3);
    CorrToData_New(4, 3, id, out, 2);
    InitRndNumberGenerator(2385);
    for (int i = 0; i < 12; i++) EXPECT_EQ(out[i / 3][i % 3], gsl_ran_gaussian(r, 1.0)) << i;
    // a prescribed correlation of 0.6 is met by a large sample
    const int n = 4000;
    Mat corr(2, 2);
    corr[0][0] = corr[1][1] = 1.0;
    corr[0][1] = corr[1][0] = 0.6;
    Mat big(n, 2);
    CorrToData_New(n, 2, corr, big, 1);
    double a[n], b[n];
    for (int i = 0; i < n; i++) { a[i] = big[i][0]; b[i] = big[i][1]; }
    EXPECT_NEAR(Pearson(n, a, b), 0.6, 0.05);
    // law 8 on a matrix that isn't square stays within it
    CorrToData_New(5, 3, id, out, 8);
    CorrToData_BothRowsColumns(2, 3, id, corr, out, 8);
    EXPECT_EQ(out[1][2], 0.0);
}

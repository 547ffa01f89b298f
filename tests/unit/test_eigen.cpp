// Unit tests of the eigenanalysis, decomposition and ordination routines.
#include <gtest/gtest.h>

#include <cmath>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibEigen.h"
#include "TarnLib/tarnlibRandom.h"
#include "tests/unit/test_reseHelpers.h"

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

using namespace testrese;

TEST(EigenGsl, EigenvectorsSatisfyDefinitionAndAreSorted)
{
    const double values[] = {4.385, 1.2, -0.7, 2.1, 1.2, 3.05, 0.4, -1.3,
                             -0.7, 0.4, 2.77, 0.9, 2.1, -1.3, 0.9, 5.12};
    double** a = FromRows(4, 4, values);
    double** vec = dim2Double(4, 4);
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
    // a itself is left as it was
    EXPECT_EQ(a[0][0], 4.385);
    EXPECT_EQ(a[3][1], -1.3);
    free2D(a, 4);
    free2D(vec, 4);
    free1D(val);
}

TEST(EigenGsl, IdentityAndNegativeEigenvalueFlag)
{
    double** id = dim2Double(3, 3);
    for (int i = 0; i < 3; i++) id[i][i] = 1.0;
    double** vec = dim2Double(3, 3);
    double* val = dim1Double(3);
    EXPECT_TRUE(EigenHouseholderQL_GSL_D(3, id, vec, val));
    for (int k = 0; k < 3; k++) EXPECT_NEAR(val[k], 1.0, 1e-14);

    // -0.5 / 9.5 is below -0.001: not positive semi-definite
    double** bad = RotatedDiagonal(10.0, -0.5, 0.37);
    EXPECT_FALSE(EigenHouseholderQL_GSL_D(2, bad, vec, val));
    EXPECT_NEAR(val[0], 10.0, 1e-12);  // results stored all the same
    EXPECT_NEAR(val[1], -0.5, 1e-12);
    // -0.005 / 9.995 is above -0.001: accepted
    double** nearly = RotatedDiagonal(10.0, -0.005, 0.37);
    EXPECT_TRUE(EigenHouseholderQL_GSL_D(2, nearly, vec, val));
    free2D(id, 3);
    free2D(bad, 2);
    free2D(nearly, 2);
    free2D(vec, 3);
    free1D(val);
}

TEST(EigenGsl, SingularValueDecompositionReconstructs)
{
    const double values[] = {2.385, -1.1, 0.7, 3.3, 0.25, -2.6, 1.9, 0.8, 4.4, -0.3, 1.7, 2.2};
    double** a = FromRows(4, 3, values);
    double** u = dim2Double(4, 3);
    double** v = dim2Double(3, 3);
    double* s = dim1Double(3);
    ASSERT_TRUE(SingValueDecomp(4, 3, a, u, s, v));
    for (int i = 0; i < 4; i++)
        for (int j = 0; j < 3; j++) {
            double x = 0.0;
            for (int k = 0; k < 3; k++) x += u[i][k] * s[k] * v[j][k];
            EXPECT_NEAR(x, a[i][j], 1e-10) << "element " << i << "," << j;
        }
    // a wider than tall matrix is refused
    EXPECT_FALSE(SingValueDecomp(3, 4, a, u, s, v));
    free2D(a, 4);
    free2D(u, 4);
    free2D(v, 3);
    free1D(s);
}

TEST(EigenOrdination, PrincipalCoordinatesOfPointsOnALine)
{
    const double pos[] = {0.0, 1.5, 4.0};
    double** d = dim2Double(3, 3);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++) d[i][j] = std::fabs(pos[i] - pos[j]);
    double** vec = dim2Double(3, 3);
    double** scores = dim2Double(3, 3);
    double* val = dim1Double(3);
    int axes = -1;
    bool ok = false;
    EXPECT_EQ(OrdinationLib_D(3, 3, nullptr, d, vec, scores, &axes, val, &ok, 1, 3, 1), 1);
    EXPECT_TRUE(ok);
    ASSERT_EQ(axes, 1);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++)
            EXPECT_NEAR(std::fabs(scores[0][i] - scores[0][j]), d[i][j], 1e-12) << i << "," << j;
    // a similarity (code 1, cross products) goes through squared distances
    double** s = dim2Double(3, 3);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++) s[i][j] = pos[i] * pos[j];
    EXPECT_EQ(OrdinationLib_Scores(3, 3, nullptr, s, scores, 1, 1, 1), 1);
    EXPECT_NEAR(std::fabs(scores[0][2] - scores[0][0]), 4.0, 1e-12);
    free2D(d, 3);
    free2D(s, 3);
    free2D(vec, 3);
    free2D(scores, 3);
    free1D(val);
}

TEST(EigenOrdination, TinyEigenvalueGivesNoAxis)
{
    double** a = dim2Double(2, 2);
    a[0][0] = 100.0;
    a[1][1] = 1e-9;
    double** scores = dim2Double(2, 2);
    double** data = dim2Double(2, 2);
    data[0][0] = 1.0;
    data[1][1] = 1.0;
    EXPECT_EQ(OrdinationLib_Scores(2, 2, data, a, scores, 2, 1, 1), 1);
    a[1][1] = 1e-5;  // 1e-5 percent: kept
    EXPECT_EQ(OrdinationLib_Scores(2, 2, data, a, scores, 2, 1, 1), 2);
    free2D(a, 2);
    free2D(scores, 2);
    free2D(data, 2);
}

TEST(EigenCorrelatedData, IdentityKeepsNumbersAndCorrelationIsReached)
{
    InitRndNumberGenerator(2385);
    double** id = dim2Double(3, 3);
    for (int i = 0; i < 3; i++) id[i][i] = 1.0;
    double** out = dim2Double(4, 3);
    CorrToData_New(4, 3, id, out, 2);
    InitRndNumberGenerator(2385);
    for (int i = 0; i < 4; i++)
        for (int j = 0; j < 3; j++) EXPECT_EQ(out[i][j], gsl_ran_gaussian(r, 1.0)) << i << "," << j;
    // a prescribed correlation of 0.6 is met by a large sample
    const int n = 4000;
    double** corr = dim2Double(2, 2);
    corr[0][0] = corr[1][1] = 1.0;
    corr[0][1] = corr[1][0] = 0.6;
    double** big = dim2Double(n, 2);
    CorrToData_New(n, 2, corr, big, 1);
    double ma = 0, mb = 0, sab = 0, saa = 0, sbb = 0;
    for (int i = 0; i < n; i++) { ma += big[i][0] / n; mb += big[i][1] / n; }
    for (int i = 0; i < n; i++) {
        sab += (big[i][0] - ma) * (big[i][1] - mb);
        saa += (big[i][0] - ma) * (big[i][0] - ma);
        sbb += (big[i][1] - mb) * (big[i][1] - mb);
    }
    EXPECT_NEAR(sab / std::sqrt(saa * sbb), 0.6, 0.05);
    // law 8 on a matrix that isn't square stays within it
    double** odd = dim2Double(5, 3);
    CorrToData_New(5, 3, id, odd, 8);
    CorrToData_BothRowsColumns(2, 3, id, corr, odd, 8);
    EXPECT_EQ(odd[1][2], 0.0);
    free2D(id, 3);
    free2D(out, 4);
    free2D(corr, 2);
    free2D(big, n);
    free2D(odd, 5);
}

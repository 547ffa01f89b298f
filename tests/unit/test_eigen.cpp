// Unit tests of the eigenanalysis, decomposition and ordination routines.
#include <gtest/gtest.h>

#include <cmath>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibEigen.h"

namespace {

double** FromRows(int rows, int cols, const double* values)
{
    double** m = dim2Double(rows, cols);
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) m[i][j] = values[i * cols + j];
    return m;
}

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

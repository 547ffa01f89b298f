// Unit tests of the entropies, contingency tables and pairwise measures between nominal variables.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibEntropy.h"

namespace {

const double M = -999.0;

double** Table2(double a, double b, double c, double d)
{
    double** t = dim2Double(2, 2);
    t[0][0] = a;
    t[0][1] = b;
    t[1][0] = c;
    t[1][1] = d;
    return t;
}

struct Entropies {
    double joint, ofCols, ofRows, mutual, complement, coherence;
};

Entropies Order(double** t, int rows, int cols, double alpha)
{
    Entropies e;
    Entropy_MV(rows, cols, t, &e.joint, &e.ofCols, &e.ofRows, &e.mutual, &e.complement,
               &e.coherence, alpha, alpha, 1.0);
    return e;
}

}  // namespace

TEST(EntropyTables, PerfectAssociationAndIndependenceAtOrderOne)
{
    const double ln2 = std::log(2.0);
    double** tied = Table2(10, 0, 0, 10);
    Entropies e = Order(tied, 2, 2, 1.0);
    EXPECT_NEAR(e.joint, ln2, 1e-14);
    EXPECT_NEAR(e.ofRows, ln2, 1e-14);
    EXPECT_NEAR(e.ofCols, ln2, 1e-14);
    EXPECT_NEAR(e.mutual, ln2, 1e-14);
    EXPECT_NEAR(e.complement, 0.0, 1e-14);
    EXPECT_NEAR(e.coherence, 1.0, 1e-14);
    double** flat = Table2(5, 5, 5, 5);
    e = Order(flat, 2, 2, 1.0);
    EXPECT_NEAR(e.joint, std::log(4.0), 1e-14);
    EXPECT_NEAR(e.mutual, 0.0, 1e-14);
    EXPECT_NEAR(e.coherence, 0.0, 1e-7);
    EXPECT_NEAR(CoheCoefMV(2, 2, flat, 1.0), 0.0, 1e-7);
    EXPECT_NEAR(CoheCoefMV(2, 2, tied, 1.0), 1.0, 1e-14);
    free2D(tied, 2);
    free2D(flat, 2);
}

TEST(EntropyTables, RenyiOrdersAndMissingCells)
{
    // order 2 of a uniform 2 by 2 table: -log(4 * 0.25^2) = log 4
    double** flat = Table2(5, 5, 5, 5);
    Entropies e = Order(flat, 2, 2, 2.0);
    EXPECT_NEAR(e.joint, std::log(4.0), 1e-14);
    EXPECT_NEAR(e.ofRows, std::log(2.0), 1e-14);
    // a missing cell is left out of every sum: 5, -999 / 5, 5 is a table of 15
    double** gap = Table2(5, M, 5, 5);
    e = Order(gap, 2, 2, 1.0);
    EXPECT_NEAR(e.joint, std::log(3.0), 1e-14);
    EXPECT_NEAR(e.ofCols, -(2.0 / 3 * std::log(2.0 / 3) + 1.0 / 3 * std::log(1.0 / 3)), 1e-14);
    // a single non-zero cell: entropies 0 and a 0 / 0 coherence
    double** single = Table2(0, 0, 0, 2.385);
    e = Order(single, 2, 2, 1.0);
    EXPECT_EQ(e.joint, 0.0);
    EXPECT_EQ(e.ofRows, 0.0);
    EXPECT_TRUE(std::isnan(e.coherence));
    free2D(flat, 2);
    free2D(gap, 2);
    free2D(single, 2);
}

TEST(EntropyTables, RangeOfOrders)
{
    double** t = Table2(3, 1, 2, 6);
    double joint[5], cols[5], rows[5];
    for (int k = 0; k < 5; k++) joint[k] = cols[k] = rows[k] = 123.0;
    EntropyMV(2, 2, t, joint, cols, rows, 2.0, 1.0, 0.5);
    EXPECT_EQ(joint[0], 123.0) << "a range from 2 down to 1 must fill nothing";
    EntropyMV(2, 2, t, joint, cols, rows, 0.5, 2.0, 0.5);
    EXPECT_NE(joint[3], 123.0);
    EXPECT_EQ(joint[4], 123.0);
    // Renyi entropies do not increase with the order
    for (int k = 1; k < 4; k++) EXPECT_LE(joint[k], joint[k - 1] + 1e-15) << k;
    free2D(t, 2);
}

TEST(EntropyTables, MutualEntropyOfOrders)
{
    double** tied = Table2(10, 0, 0, 10);
    EXPECT_NEAR(MutualEntropyMV(2, 2, tied, 1.0), std::log(2.0), 1e-14);
    EXPECT_NEAR(MutualEntropyMV(2, 2, tied, 2.0), std::log(2.0), 1e-14);
    double** indep = Table2(2, 6, 1, 3);  // product of its margins
    EXPECT_NEAR(MutualEntropyMV(2, 2, indep, 1.0), 0.0, 1e-14);
    EXPECT_NEAR(MutualEntropyMV(2, 2, indep, 0.5), 0.0, 1e-14);
    free2D(tied, 2);
    free2D(indep, 2);
}

TEST(EntropyContingency, StatesInOrderOfFirstAppearance)
{
    double x[] = {1, 2, M};
    double y[] = {2, 2, 1};
    double** t = dim2Double(3, 3);
    int dims[2];
    ContingencyMV(3, x, y, t, dims, nullptr);
    EXPECT_EQ(dims[0], 2);
    EXPECT_EQ(dims[1], 2);
    EXPECT_EQ(t[0][0], 1.0);  // x 1, y 2
    EXPECT_EQ(t[1][0], 1.0);  // x 2, y 2
    EXPECT_EQ(t[0][1] + t[1][1], 0.0);
    // a state such as 2.5 is listed as 2 and never counted
    double u[] = {2.5, 2, 1};
    ContingencyMV(3, u, y, t, dims, nullptr);
    EXPECT_EQ(dims[0], 2);
    EXPECT_EQ(t[0][0] + t[0][1] + t[1][0] + t[1][1], 2.0);
    free2D(t, 3);
}

TEST(EntropyPairwise, ChiSquareOfVariableWithItself)
{
    // n (k - 1): 6 objects in 2 equal states give 6; 7 objects in 3 states give 14
    double v[] = {4, 9, 4, 9, 9, 4};
    double w[] = {1, 2, 3, 3, 1, 2, 3};
    double** x = dim2Double(1, 6);
    double** y = dim2Double(1, 7);
    for (int k = 0; k < 6; k++) x[0][k] = v[k];
    for (int k = 0; k < 7; k++) y[0][k] = w[k];
    double** out = dim2Double(1, 1);
    QuiSquareMV(1, 6, x, out, 0);
    EXPECT_NEAR(out[0][0], 6.0, 1e-12);
    QuiSquareMV(1, 7, y, out, 0);
    EXPECT_NEAR(out[0][0], 14.0, 1e-12);
    // MDIS of a variable with itself: 2 n H
    MDISMV(1, 6, x, out, 0);
    EXPECT_NEAR(out[0][0], 12.0 * std::log(2.0), 1e-12);
    free2D(x, 1);
    free2D(y, 1);
    free2D(out, 1);
}

TEST(EntropyPairwise, TablesFileWrittenOnRequest)
{
    char dir[] = "/tmp/kolven_entropyXXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    char here[4096];
    ASSERT_NE(getcwd(here, sizeof here), nullptr);
    ASSERT_EQ(chdir(dir), 0);
    double** x = dim2Double(2, 4);
    const double v[] = {1, 1, 2, 2, 1, 2, 1, M};
    for (int k = 0; k < 8; k++) x[k / 4][k % 4] = v[k];
    double** out = dim2Double(2, 2);
    CoheCoefPairwiseMV(2, 4, x, out, 1.0, 1);
    FILE* f = fopen("Tables.txt", "r");
    ASSERT_NE(f, nullptr);
    char text[2048];
    size_t n = fread(text, 1, sizeof text - 1, f);
    text[n] = '\0';
    fclose(f);
    remove("Tables.txt");
    ASSERT_EQ(chdir(here), 0);
    rmdir(dir);
    EXPECT_NE(strstr(text, "\nContingency table var.1 x var.1:\nRow states (2): 1\t2\t\nColumn states (2): 1\t2\t\n"), nullptr) << text;
    EXPECT_NE(strstr(text, "\nContingency table var.1 x var.2:\n"), nullptr) << text;
    EXPECT_NE(strstr(text, "\nContingency table var.2 x var.2:\n"), nullptr) << text;
    EXPECT_NEAR(out[0][0], 1.0, 1e-12);
    free2D(x, 2);
    free2D(out, 2);
}

TEST(EntropyDivergence, RowsOfFrequencies)
{
    const double v[] = {2, 0, 3, 1, 1, 3};
    double** x = dim2Double(2, 3);
    for (int k = 0; k < 6; k++) x[k / 3][k % 3] = v[k];
    double** out = dim2Double(2, 2);
    IDivergenceMV(2, 3, x, out);
    double expected = 2 * std::log(4.0 / 3) + std::log(2.0 / 3) + std::log(2.0);
    EXPECT_NEAR(out[0][1], expected, 1e-6);
    EXPECT_EQ(out[0][1], (double)(float)out[0][1]) << "sums are kept in float";
    EXPECT_NEAR(out[1][1], 0.0, 1e-7);
    // unequal totals: the divergence of the totals is taken off
    x[1][2] = 8;
    MutualInformationMV(2, 3, x, out);
    double d = 2 * std::log(4.0 / 3) + std::log(2.0 / 3) + std::log(2.0) + 3 * std::log(6.0 / 11) +
               8 * std::log(16.0 / 11);
    double adj = 5 * std::log(10.0 / 15) + 10 * std::log(20.0 / 15);
    EXPECT_NEAR(out[0][1], d - adj, 1e-5);
    free2D(x, 2);
    free2D(out, 2);
}

TEST(EntropyDivergence, SumAbsDeviationsOfProfiles)
{
    double a[] = {1, 3}, b[] = {2, 2}, zero[] = {0, 0};
    EXPECT_NEAR(SumAbsDeviations(2, a, b, false), 0.25, 1e-15);
    EXPECT_NEAR(SumAbsDeviations(2, a, b, true), 0.0625, 1e-15);
    EXPECT_EQ(SumAbsDeviations(2, a, zero, false), 0.0);
}

// Unit tests of the entropies, contingency tables and pairwise measures between nominal variables.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "TarnLib/tarnlibEntropy.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

double** Table2(double a, double b, double c, double d)
{
    const double v[] = {a, b, c, d};
    return FromRows(2, 2, v);
}

struct Entropies {
    double joint, ofCols, ofRows, mutual, complement, coherence;
};

Entropies Order(double** t, double alpha)
{
    Entropies e;
    Entropy_MV(2, 2, t, &e.joint, &e.ofCols, &e.ofRows, &e.mutual, &e.complement, &e.coherence,
               alpha, alpha, 1.0);
    return e;
}

}  // namespace

TEST(EntropyTables, PerfectAssociationIndependenceAndOneCell)
{
    const double ln2 = std::log(2.0);
    double** tied = Table2(10, 0, 0, 10);
    Entropies e = Order(tied, 1.0);
    for (double v : {e.joint, e.ofRows, e.ofCols, e.mutual}) EXPECT_NEAR(v, ln2, 1e-14);
    EXPECT_NEAR(e.complement, 0.0, 1e-14);
    EXPECT_NEAR(e.coherence, 1.0, 1e-14);
    double** flat = Table2(5, 5, 5, 5);
    e = Order(flat, 1.0);
    EXPECT_NEAR(e.mutual, 0.0, 1e-14);
    EXPECT_NEAR(e.coherence, 0.0, 1e-7);
    EXPECT_NEAR(CoheCoefMV(2, 2, flat, 1.0), 0.0, 1e-7);
    e = Order(flat, 2.0);  // Renyi: -log(4 * 0.25^2)
    EXPECT_NEAR(e.joint, std::log(4.0), 1e-14);
    // a missing cell is left out: 5, -999 / 5, 5 is a table of 15
    double** gap = Table2(5, M, 5, 5);
    EXPECT_NEAR(Order(gap, 1.0).joint, std::log(3.0), 1e-14);
    double** single = Table2(0, 0, 0, 2.385);
    e = Order(single, 1.0);
    EXPECT_EQ(e.joint + e.ofRows + e.ofCols, 0.0);
    EXPECT_TRUE(std::isnan(e.coherence)) << "0 / 0 travels on";
    Free(2, {tied, flat, gap, single});
}

TEST(EntropyTables, RangeOfOrdersAndMutualEntropy)
{
    double** t = Table2(3, 1, 2, 6);
    double joint[5], cols[5], rows[5];
    for (int k = 0; k < 5; k++) joint[k] = 123.0;
    EntropyMV(2, 2, t, joint, cols, rows, 2.0, 1.0, 0.5);
    EXPECT_EQ(joint[0], 123.0) << "a range from 2 down to 1 must fill nothing";
    EntropyMV(2, 2, t, joint, cols, rows, 0.5, 2.0, 0.5);
    EXPECT_EQ(joint[4], 123.0) << "four orders only";
    for (int k = 1; k < 4; k++) EXPECT_LT(joint[k], joint[k - 1]) << "Renyi entropy falls with the order";
    double** tied = Table2(10, 0, 0, 10);
    double** indep = Table2(2, 6, 1, 3);  // the product of its margins
    EXPECT_NEAR(MutualEntropyMV(2, 2, tied, 2.0), std::log(2.0), 1e-14);
    EXPECT_NEAR(MutualEntropyMV(2, 2, indep, 1.0), 0.0, 1e-14);
    EXPECT_NEAR(MutualEntropyMV(2, 2, indep, 0.5), 0.0, 1e-14);
    Free(2, {t, tied, indep});
}

TEST(EntropyContingency, StatesInOrderOfFirstAppearance)
{
    double x[] = {1, 2, M}, y[] = {2, 2, 1}, u[] = {2.5, 2, 1};
    Mat t(3, 3);
    int dims[2];
    ContingencyMV(3, x, y, t, dims, nullptr);
    EXPECT_EQ(dims[0] * 10 + dims[1], 22);
    EXPECT_EQ(t[0][0], 1.0);  // x 1, y 2
    EXPECT_EQ(t[1][0], 1.0);  // x 2, y 2
    EXPECT_EQ(t[0][1] + t[1][1], 0.0);
    ContingencyMV(3, u, y, t, dims, nullptr);  // 2.5 is listed as 2, never counted
    EXPECT_EQ(dims[0], 2);
    EXPECT_EQ(t[0][0] + t[0][1] + t[1][0] + t[1][1], 2.0);
}

TEST(EntropyPairwise, TablesFileWrittenOnRequest)
{
    char dir[] = "/tmp/kolven_entropyXXXXXX", here[4096];
    ASSERT_NE(mkdtemp(dir), nullptr);
    ASSERT_NE(getcwd(here, sizeof here), nullptr);
    ASSERT_EQ(chdir(dir), 0);
    Mat x(2, 4, {1, 1, 2, 2, 1, 2, 1, M}), out(2, 2);
    CoheCoefPairwiseMV(2, 4, x, out, 1.0, 1);
    std::string text = FileText("Tables.txt");
    remove("Tables.txt");
    ASSERT_EQ(chdir(here), 0);
    rmdir(dir);
    for (const char* part : {"\nContingency table var.1 x var.1:\nRow states (2): 1\t2\t\nColumn states (2): 1\t2\t\n",
                             "\nContingency table var.1 x var.2:\n", "\nContingency table var.2 x var.2:\n"})
        EXPECT_NE(text.find(part), std::string::npos) << text;
}

TEST(EntropyDivergence, RowsOfFrequenciesAndProfiles)
{
    Mat x(3, 3, {2, 0, 3, 1, 1, 8, 0, 0, 0}), out(3, 3);
    MutualInformationMV(3, 3, x, out);
    double d = 2 * std::log(4.0 / 3) + std::log(2.0 / 3) + std::log(2.0) + 3 * std::log(6.0 / 11) +
               8 * std::log(16.0 / 11);
    double totals = 5 * std::log(10.0 / 15) + 10 * std::log(20.0 / 15);
    EXPECT_NEAR(out[0][1], d - totals, 1e-5);
    EXPECT_TRUE(std::isnan(out[0][2])) << "an empty row gives 0 log 0 in the adjustment, not 0";
    IDivergenceMV(3, 3, x, out);
    EXPECT_EQ(out[0][1], (double)(float)out[0][1]) << "sums are kept in float";
    double a[] = {1, 3}, b[] = {2, 2}, zero[] = {0, 0};
    EXPECT_NEAR(SumAbsDeviations(2, a, b, false), 0.25, 1e-15);
    EXPECT_NEAR(SumAbsDeviations(2, a, b, true), 0.0625, 1e-15);
    EXPECT_EQ(SumAbsDeviations(2, a, zero, false), 0.0);
}

// Unit tests of the text tables: exact text of each routine.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibTables.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

// Runs `write` on a temporary stream and returns what it wrote.
template <typename F>
std::string Text(F write) {
  FILE* f = tmpfile();
  write(f);
  std::string s = Contents(f);
  fclose(f);
  return s;
}

struct TarnlibTablesTest : testing::Test {
  Mat m{3, 3, {2.385, -14.75, 0.5, 1e-07, 3, 1234567.8, -0.25, 42, 7}};
  int saved = maxColsPrint;
  void SetUp() override { maxColsPrint = 2147483647; }
  void TearDown() override { maxColsPrint = saved; }
};

}  // namespace

TEST_F(TarnlibTablesTest, AlignedMatrixPadsToLongestElement) {
  int width = 0;
  std::string s = Text([&](FILE* f) { width = PrintMatrix(f, 2, 2, m, 4, 0); });
  EXPECT_EQ(width, 6);
  EXPECT_EQ(s, " 2.385\t-14.75\t\n 1e-07\t     3\t\n");
  // A given width stands even when a number is wider.
  s = Text([&](FILE* f) { width = PrintMatrix(f, 1, 3, m + 1, 8, 4); });
  EXPECT_EQ(width, 4);
  EXPECT_EQ(s, "1e-07\t   3\t1234567.8\t\n");
  // No rows: nothing written, the width returned.
  s = Text([&](FILE* f) { width = PrintMatrix(f, 0, 3, m, 6, 7); });
  EXPECT_EQ(s, "");
  EXPECT_EQ(width, 7);
}

TEST_F(TarnlibTablesTest, FoldingAfterThirdFieldAtTwenty) {
  maxColsPrint = 20;
  Mat w(1, 5);
  for (int j = 0; j < 5; j++) w[0][j] = j + 0.5;
  std::string s = Text([&](FILE* f) { PrintMatrix(f, 1, 5, w, 6, 9); });
  EXPECT_EQ(s, "      0.5\t      1.5\t      2.5\t\n         \t      3.5\t      4.5\t\n");
  // The vector counter starts at the indent and folds with an indent-wide field.
  double v[5] = {0.5, 1.5, 2.5, 3.5, 4.5};
  s = Text([&](FILE* f) { PrintVector(f, 5, v, 6, 4, 8); });
  EXPECT_EQ(s, " 0.5\t 1.5\t 2.5\t\n        \t 3.5\t 4.5\t\n");
}

TEST_F(TarnlibTablesTest, HalfAndLowerAligned) {
  std::string s = Text([&](FILE* f) { PrintHalfMatrix(f, 3, m, 1, 3); });
  // Width 8 from the whole square; two rows with skip 1.
  EXPECT_EQ(s,
            "        \t   -14.8\t     0.5\t\n"
            "        \t        \t1.23e+06\t\n");
  s = Text([&](FILE* f) { PrintHalfMatrix(f, 2, m, 0, 4); });
  EXPECT_EQ(s, " 2.385\t-14.75\t\n      \t     3\t\n");
  s = Text([&](FILE* f) { PrintHalfMatrix(f, 1, m, 0, 4, 1); });
  EXPECT_EQ(s, "1.544\t\n");
  s = Text([&](FILE* f) { PrintLowerHalfMatrix(f, 3, m, 2, 0); });
  EXPECT_EQ(s,
            "    2.4\t\n"
            "  1e-07\t      3\t\n"
            "  -0.25\t     42\t      7\t\n");
}

TEST_F(TarnlibTablesTest, VectorsWithOrder) {
  double v[3] = {2.385, -7, 10.5};
  int order[3] = {3, 1, 2};
  std::string s = Text([&](FILE* f) { PrintVector(f, 3, v, 6, 0, 0, order); });
  EXPECT_EQ(s, " 10.5\t2.385\t   -7\t\n");
  int width = -1;
  s = Text([&](FILE* f) { width = PrintVector(f, 0, v, 6, 0, 0); });
  EXPECT_EQ(s, "\n");
  EXPECT_EQ(width, 0);
  char a[] = "ab", b[] = "xyz", c[] = "q";
  char* labels[3] = {a, b, c};
  s = Text([&](FILE* f) { PrintStringVector(f, 3, labels, 4, 0, order); });
  EXPECT_EQ(s, "   q\t  ab\t xyz\t\n");
  int iv[3] = {5, -2, 17};
  s = Text([&](FILE* f) { PrintVectorTab(f, 3, iv, order); });
  EXPECT_EQ(s, "17\t5\t-2\t\n");
}

TEST_F(TarnlibTablesTest, TabMatrices) {
  std::string s = Text([&](FILE* f) { PrintMatrixTab(f, 2, 3, m, 3); });
  EXPECT_EQ(s, "2.38\t-14.8\t0.5\t\n1e-07\t3\t1.23e+06\t\n");
  MatrixOf<unsigned long> um(1, 2, {7, 123456789012.0});
  EXPECT_EQ(Text([&](FILE* f) { PrintMatrixTab(f, 1, 2, um); }), "7\t123456789012\t\n");
  EXPECT_EQ(Text([&](FILE* f) { PrintLowerHalfMatrixTab(f, 2, m, 4); }), "2.385\t\n1e-07\t3\t\n");
  // The "half" tab form keeps every column of each row, below the diagonal too.
  EXPECT_EQ(Text([&](FILE* f) { PrintHalfMatrixTab(f, 2, m, 1); }), "2.385\t-14.75\t\n");
  EXPECT_EQ(Text([&](FILE* f) { PrintNeighborRese(f, 3, m, 6); }), "1e-07\t42\t\n");
  EXPECT_EQ(Text([&](FILE* f) { PrintNeighborRese(f, 1, m, 6); }), "\n");
}

TEST_F(TarnlibTablesTest, FlatLists) {
  EXPECT_EQ(Text([&](FILE* f) { PrintLowerHalfMatrix_ff(f, 3, m, 4, false); }), "1e-07\n-0.25\n42\n");
  EXPECT_EQ(Text([&](FILE* f) { PrintLowerHalfMatrix_ff(f, 2, m, 4, true); }), "2.385\n1e-07\n3\n");
  EXPECT_EQ(Text([&](FILE* f) { PrintHalfMatrix_ff(f, 3, m, 1); }), "-14.75\n0.5\n1234567.8\n");
  EXPECT_EQ(Text([&](FILE* f) { PrintHalfMatrix_row(f, 3, m, 1); }), "-14.75\t0.5\t1.23457e+06\t");
  EXPECT_EQ(Text([&](FILE* f) { PrintHalfMatrix_row(f, 2, m + 1, 0, 1); }), "0.000316228\t1.73205\t6.48074\t");
}

TEST_F(TarnlibTablesTest, RewriteInPlace) {
  FILE* f = tmpfile();
  fprintf(f, "%-60s\n", "");
  long pos[2] = {0, 30};
  double v[2] = {2.385, -4};
  PrintVector_bi(f, 2, v, pos);
  EXPECT_EQ(pos[0], 15);
  EXPECT_EQ(pos[1], 45);
  // A failed seek skips the element and leaves its offset as it was.
  long** off = (long**)dim2D(sizeof(long), 2, 2);
  off[0][1] = -5;
  off[0][0] = 45;
  off[1][1] = 0;
  PrintHalfMatrix_bi(f, 2, m, off, 0);
  EXPECT_EQ(off[0][1], -5);
  EXPECT_EQ(off[1][1], 15);
  fflush(f);
  rewind(f);
  char line[80] = {0};
  ASSERT_NE(fgets(line, sizeof line, f), nullptr);
  std::string expect = std::string("  3.000000e+00 ") + std::string(15, ' ') + " -4.000000e+00 " +
                       "  2.385000e+00 \n";
  EXPECT_EQ(std::string(line), expect);
  fclose(f);
  free2D(off, 2);
}

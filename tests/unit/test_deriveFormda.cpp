// Unit tests of the poolings of communities and of the pair dialogue used when a session is derived from another.
#include <gtest/gtest.h>

#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "session/deriveFormda.h"
#include "shell/console.h"
#include "tests/unit/test_util.h"

namespace {

using testutil::Mat;

// Rows {1, 2, 1}, columns {2, 1, 1, 2}: each entry is the mean of its block.
TEST(ConcentrateGroups, BlockMeansOfRowAndColumnGroups) {
  Mat source(3, 4, {1.25, -0.5, 3.0, 7.75,
                    2.5, 4.125, 0.0, -1.0,
                    -3.75, 6.0, 0.5, 2.25});
  int rowGroup[] = {1, 2, 1};
  int colGroup[] = {2, 1, 1, 2};
  Mat target(2, 2);
  ConcentrateGroups(3, 4, source, target, 2, rowGroup, 2, colGroup, 2);
  // Group 1 of rows holds rows 0 and 2; group 1 of columns columns 1 and 2.
  const double want[] = {(-0.5 + 3.0 + 6.0 + 0.5) / 4, (1.25 + 7.75 - 3.75 + 2.25) / 4,
                         (4.125 + 0.0) / 2, (2.5 - 1.0) / 2};
  testutil::ExpectMatrix(target, 2, 2, want, 1e-12, "block means");
}

// Mode 1 scales the block means so that the grand total stays that of the
// block sums, and keeps their proportions.
TEST(ConcentrateGroups, ModeOneKeepsTheGrandTotal) {
  Mat source(3, 3, {0.3, 1.7, 2.9, 4.1, 0.0, 5.3, 1.1, 2.2, 0.7});
  int rowGroup[] = {1, 1, 2};
  int colGroup[] = {1, 2, 2};
  Mat means(2, 2), kept(2, 2);
  ConcentrateGroups(3, 3, source, means, 2, rowGroup, 2, colGroup, 2);
  ConcentrateGroups(3, 3, source, kept, 2, rowGroup, 2, colGroup, 1);
  double total = 0.0, keptTotal = 0.0;
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) total += source[i][j];
  for (int g = 0; g < 2; g++)
    for (int h = 0; h < 2; h++) keptTotal += kept[g][h];
  EXPECT_NEAR(keptTotal, total, 1e-12);
  EXPECT_NEAR(kept[0][1] / kept[1][0], means[0][1] / means[1][0], 1e-12);
}

// A missing value is summed as a number, and each OTU in its own group of
// rows leaves the rows as they are.
TEST(ConcentrateGroups, MissingValueAveragedAsANumber) {
  Mat source(2, 2, {0.25, -999, 1.5, 2.75});
  int own[] = {1, 2};
  int both[] = {1, 1};
  Mat target(2, 1);
  ConcentrateGroups(2, 2, source, target, 2, own, 1, both, 2);
  EXPECT_DOUBLE_EQ(target[0][0], (0.25 - 999) / 2);
  EXPECT_DOUBLE_EQ(target[1][0], (1.5 + 2.75) / 2);
}

TEST(ReleveChange, SecondMinusFirstInEachPair) {
  // Pairs (0, 2) and (1, 3): the order "all 2nd after all 1st".
  Mat source(2, 4, {0.25, 1.5, 3.0, -999, 4.125, 0.0, 1.0, 2.5});
  int group[] = {1, 2, 1, 2};
  Mat target(2, 2, {9, 9, 9, 9});
  ReleveChange(4, source, target, 2, 2, group);
  const double want[] = {3.0 - 0.25, -999 - 1.5, 1.0 - 4.125, 2.5 - 0.0};
  testutil::ExpectMatrix(target, 2, 2, want, 1e-12, "changes");
}

// Three columns of a group give third - second + first; a group without
// columns stays at zero; group numbers above nGroups are not taken.
TEST(ReleveChange, AlternatingDifferencesAndEmptyGroups) {
  Mat source(1, 5, {1.5, 2.25, 7.0, 4.0, 11.0});
  int group[] = {1, 1, 1, 3, 3};
  Mat target(1, 2);
  ReleveChange(5, source, target, 1, 2, group);
  EXPECT_DOUBLE_EQ(target[0][0], 7.0 - 2.25 + 1.5);
  EXPECT_DOUBLE_EQ(target[0][1], 0.0);
}

TEST(SplitMovingWinPool, MeansOfConsecutiveColumns) {
  Mat source(2, 4, {0.25, 0.0, 3.0, -999, 2.0, 0.0, 0.0, 6.5});
  Mat target(2, 3);
  int nNew = 0;
  SplitMovingWinPool(2, 4, source, target, 2, &nNew, false);
  EXPECT_EQ(nNew, 3);
  const double want[] = {0.125, 1.5, -498.0, 1.0, 0.0, 3.25};
  testutil::ExpectMatrix(target, 2, 3, want, 1e-12, "column windows");
}

TEST(SplitMovingWinPool, RowsAndAWindowOfOne) {
  Mat source(3, 2, {1240, 1, 860, 0, 1975, 0});
  Mat byRows(2, 2), same(3, 2);
  int nNew = 0;
  SplitMovingWinPool(3, 2, source, byRows, 2, &nNew, true);
  EXPECT_EQ(nNew, 2);
  const double want[] = {1050, 0.5, 1417.5, 0.0};
  testutil::ExpectMatrix(byRows, 2, 2, want, 1e-12, "row windows");
  SplitMovingWinPool(3, 2, source, same, 1, &nNew, true);
  EXPECT_EQ(nNew, 3);
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 2; j++) EXPECT_EQ(same[i][j], source[i][j]);
}

// The pair dialogue reads its answers from the answer source.
struct PairDialogue : testing::Test {
  void SetUp() override {
    savedIn = in;
    savedOut = out;
    out = fopen("/dev/null", "w");
  }
  void TearDown() override {
    if (in != savedIn) fclose(in);
    fclose(out);
    in = savedIn;
    out = savedOut;
  }
  FILE* savedIn;
  FILE* savedOut;
};

// "Each 2nd follows its 1st" numbers the pairs 1, 1, 3, 3: the numbers are
// not renumbered to 1, 2. An odd count writes one place behind.
TEST_F(PairDialogue, PairOrderKeepsFirstPositionNumbers) {
  in = testutil::StreamOf("1\n2\n");
  int group[6] = {0, 0, 0, 0, 0, -7};
  char** labels = dim2Dchar(2, 5);
  int nNew = 0;
  SettingNewReleves(5, &nNew, group, labels);
  EXPECT_EQ(nNew, 2);
  testutil::ExpectInts(group, {1, 1, 3, 3, 5, 5}, "groups");
  EXPECT_STREQ(labels[0], "1");
  EXPECT_STREQ(labels[1], "2");
  free2D(labels, 2);
}

TEST_F(PairDialogue, SecondsAfterFirstsAndOwnLabels) {
  // "n" asks the labels again; a label is cut to four characters and the
  // rest of the word is the next label.
  in = testutil::StreamOf("2\nx y\nn\nearly\ny\n1\n");
  int group[4];
  char** labels = dim2Dchar(2, 5);
  int nNew = 0;
  SettingNewReleves(4, &nNew, group, labels);
  testutil::ExpectInts(group, {1, 2, 1, 2}, "groups");
  EXPECT_STREQ(labels[0], "earl");
  EXPECT_STREQ(labels[1], "y");
  free2D(labels, 2);
}

}  // namespace

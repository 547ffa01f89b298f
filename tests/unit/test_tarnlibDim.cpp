// Tests of the array family, the checked streams and the string helpers.
#include <gtest/gtest.h>

#include <unistd.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "TarnLib/tarnlibDim.h"
#include "tests/unit/test_util.h"

using namespace testutil;

TEST(TarnlibDimArrays, NewArraysReadAsZeroInEveryType) {
  double** d = dim2Double(3, 4);
  int*** i3 = dim3Dint(2, 3, 5);
  float* f = dim1Dfloat(7);
  char** c = dim2Dchar(2, 11);
  for (int r = 0; r < 3; r++)
    for (int k = 0; k < 4; k++) EXPECT_EQ(d[r][k], 0.0);
  for (int a = 0; a < 2; a++)
    for (int b = 0; b < 3; b++)
      for (int k = 0; k < 5; k++) EXPECT_EQ(i3[a][b][k], 0);
  for (int k = 0; k < 7; k++) EXPECT_EQ(f[k], 0.0f);
  EXPECT_STREQ(c[1], "");
  free2D(d, 3);
  free3D(i3, 2, 3);
  free1D(f);
  free2D(c, 2);
}

TEST(TarnlibDimArrays, EmptyShapesAndNullPointers) {
  void** none = dim2D(sizeof(double), 0, 5);
  ASSERT_NE(none, nullptr);
  free2D(none, 0);
  free1D(nullptr);
  double** holes = (double**)dim2D(sizeof(double), 3, 2);
  free1D(holes[1]);
  holes[1] = nullptr;  // an empty row is skipped on release
  free2D(holes, 3);
  double** tri = (double**)dim2DT(sizeof(double), 4);
  tri[3][3] = 1.5;  // the last row holds the diagonal
  free2D(tri, 4);
  double**** d4 = dim4Double(2, 2, 3, 2);
  d4[1][1][2][1] = 3.0;
  free4D(d4, 2, 2, 3);
}

TEST(TarnlibDimStreams, LettersAtANumberPromptAreSkipped) {
  FILE* fp = StreamOf("abc x 12.5 tail 3");
  double v = 0;
  EXPECT_EQ(freadck1(fp, "%lf", &v, "t"), 1);
  EXPECT_EQ(v, 12.5);
  EXPECT_EQ(ScanNumber(fp, "t", nullptr), 3.0);
  fclose(fp);
}

// The numbers that freadck1 finds in `text`, read until the end of the stream.
static std::vector<double> TolerantNumbers(FILE* fp) {
  std::vector<double> got;
  double v = 0;
  while (freadck1(fp, "%lf", &v, "t") == 1) got.push_back(v);
  return got;
}

TEST(TarnlibDimStreams, WordsThatOpenInfOrNanLoseNoDigitOfTheNextNumber) {
  FILE* fp = StreamOf("psi 1.5\nchi 2 nu -3 in 4 e 5 - 6 na 7 inx8 In9 n( 10 1e+x 0x 11");
  std::vector<double> want = {1.5, 2, -3, 4, 5, 6, 7, 8, 9, 10, 1, 0, 11};
  EXPECT_EQ(TolerantNumbers(fp), want);
}

TEST(TarnlibDimStreams, TextGluedToNumbersIsDroppedExactly) {
  // "5e-.5" holds 5 and then -.5: the sign after the dropped "e" belongs to
  // the second number.
  FILE* fp = StreamOf("psi12abc3 5e-.5 -e7");
  std::vector<double> want = {12, 3, 5, -0.5, 7};
  EXPECT_EQ(TolerantNumbers(fp), want);
}

TEST(TarnlibDimStreams, InfAndNanAreNumbersOfTheTolerantRead) {
  FILE* fp = StreamOf("inf nan(7) -Infinity");
  std::vector<double> got = TolerantNumbers(fp);
  ASSERT_EQ(got.size(), 3u);
  EXPECT_TRUE(std::isinf(got[0]) && got[0] > 0);
  EXPECT_TRUE(std::isnan(got[1]));
  EXPECT_TRUE(std::isinf(got[2]) && got[2] < 0);
}

TEST(TarnlibDimStreams, WhatFollowsANumberStaysForTheNextReader) {
  FILE* fp = StreamOf("na12e+x rest\n");
  double v = 0;
  ASSERT_EQ(freadck1(fp, "%lf", &v, "t"), 1);
  EXPECT_EQ(v, 12.0);
  char word[16];
  ASSERT_EQ(fscanf(fp, "%15s", word), 1);
  EXPECT_STREQ(word, "e+x");
  fclose(fp);
}

TEST(TarnlibDimStreams, TolerantReadOfAPipeKeepsTheCharactersBehindTheNumber) {
  // A pipe cannot seek: what was read ahead must be put back on the stream.
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const char text[] = "chi-2.5infix 7";
  ASSERT_EQ(write(fds[1], text, sizeof text - 1), (ssize_t)(sizeof text - 1));
  close(fds[1]);
  FILE* fp = fdopen(fds[0], "r");
  std::vector<double> want = {-2.5, INFINITY, 7};
  EXPECT_EQ(TolerantNumbers(fp), want);
}

TEST(TarnlibDimStreams, TolerantIntegersSkipTextAndSplitAtTheDecimalPoint) {
  FILE* fp = StreamOf("nu3.7 x-2 99999999999");
  int v = 0;
  std::vector<int> got;
  while (freadck1(fp, "%d", &v, "t") == 1) got.push_back(v);
  std::vector<int> want = {3, 7, -2, INT_MAX};
  EXPECT_EQ(got, want);
}

TEST(TarnlibDimStreams, ALongWordBeforeANumberIsSkippedWhole) {
  FILE* fp = StreamOf(std::string(3000, 'q') + "42" + std::string(700, 'i') + "-8");
  std::vector<double> want = {42, -8};
  EXPECT_EQ(TolerantNumbers(fp), want);
}

TEST(TarnlibDimStreams, TextThenEndOfFileGivesNoNumber) {
  FILE* fp = StreamOf("in na - e ");
  double v = 0;
  EXPECT_EQ(freadck1(fp, "%lf", &v, "t"), 0);  // the stream is closed here
}

// A full device takes the open but no byte: whether the print failed at once
// (a long text fills the buffer) or only when the close flushed it, the
// checked close raises code 3; a file written well closes without a word.
TEST(TarnlibDimStreams, CheckedCloseTellsEveryFailedPrint) {
  FILE* fp = fopen("/dev/full", "w");
  ASSERT_NE(fp, nullptr);
  EXPECT_LT(fprintf(fp, "%s", std::string(70000, 'x').c_str()), 0);
  fprintf(fp, "\n");
  EXPECT_EQ(RunGuarded([&] { fcloseck(fp); }), FAIL_PRINT);
  fp = fopen("/dev/full", "w");
  ASSERT_NE(fp, nullptr);
  EXPECT_EQ(fprintf(fp, "2.385\n"), 6);  // only buffered so far
  EXPECT_EQ(RunGuarded([&] { fcloseck(fp); }), FAIL_PRINT);
  fp = tmpfile();
  fprintf(fp, "2.385\n");
  EXPECT_EQ(RunGuarded([&] { fcloseck(fp); }), 0);
}

TEST(TarnlibDimStreams, NumbersOutsideTheListOrIntervalAreReadAgain) {
  FILE* fp = StreamOf("7 2.0 ");
  EXPECT_EQ(ScanNumber(fp, "t", "1 2 3"), 2.0);
  fclose(fp);
  fp = StreamOf("-1 2147483648 2.5");
  EXPECT_EQ(ScanNumber(fp, "t", "-", 0.0, 2147483647.0), 2.5);
  fclose(fp);
}

TEST(TarnlibDimStreams, EndOfFileRaisesCodeTwo) {
  FILE* fp = StreamOf("   ");
  EXPECT_EQ(RunGuarded([&] { ScanNumber(fp, "t", "1 2"); }), FAIL_READ);
  fp = StreamOf("");
  EXPECT_EQ(RunGuarded([&] { ScanChar(fp, "y n", "t"); }), FAIL_READ);
  fp = StreamOf("abc");
  int n = 0;
  EXPECT_EQ(RunGuarded([&] { freadck(fp, "%d", &n, "t"); }), FAIL_READ);
  fp = StreamOf(" \n\t ");
  char line[8];
  EXPECT_EQ(RunGuarded([&] { freadlineck(fp, 5, line, "t"); }), FAIL_READ);
}

TEST(TarnlibDimStreams, ScanCharTakesOneLetterAndLeavesTheRest) {
  FILE* fp = StreamOf("\n q NOS");
  EXPECT_EQ(ScanChar(fp, "N O S A X", "t"), 'n');
  EXPECT_EQ(ScanChar(fp, "N O S A X", "t"), 'o');
  EXPECT_EQ(ScanChar(fp, nullptr, "t"), 's');
  fclose(fp);
}

TEST(TarnlibDimStreams, LineReadersStopAtLimitAndEndCharacters) {
  FILE* fp = StreamOf("  abcdefgh\tnext line\r\nsp\tace\nlast");
  char buf[64];
  freadlineck(fp, 5, buf, "t");
  EXPECT_STREQ(buf, "abcde");
  freadlineck(fp, 40, buf, "t");
  EXPECT_STREQ(buf, "fgh");  // the character past the limit stayed
  freadlineck(fp, 40, buf, "t");
  EXPECT_STREQ(buf, "next line");
  freadlineckTEMP(fp, 40, buf, "t");
  EXPECT_STREQ(buf, "sp ace");  // a tab inside becomes a blank
  freadlineck(fp, 40, buf, "t");
  EXPECT_STREQ(buf, "last");  // the end of file ends a started line
  fclose(fp);
  fp = StreamOf("word");
  freadlineck(fp, 0, buf, "t");
  EXPECT_STREQ(buf, "");
  fclose(fp);
}

TEST(TarnlibDimStreams, ScanStringCutsAndChecksTheList) {
  FILE* fp = StreamOf("abcdefghijkl yes Maybe");
  char buf[64];
  ASSERT_NE(ScanString(fp, 5, buf, nullptr, 1, "t"), nullptr);
  EXPECT_STREQ(buf, "abcde");
  EXPECT_NE(ScanString(fp, 10, buf, "YES/no", 0, "t"), nullptr);
  EXPECT_EQ(ScanString(fp, 10, buf, "maybe/no", 1, "t"), nullptr);
  EXPECT_STREQ(buf, "");
  EXPECT_EQ(ScanString(fp, 10, buf, nullptr, 1, "t"), nullptr);  // end of file
}

TEST(TarnlibDimStrings, TrimUpperAndCaseFreeCompare) {
  for (auto io : {std::make_pair("a  b   c ", "a b c"), std::make_pair(" x", " x"), std::make_pair("  x", " x")}) {
    char text[16];
    strcpy(text, io.first);
    trimString(text);
    EXPECT_STREQ(text, io.second) << "from \"" << io.first << "\"";
  }
  char d[] = "Abc9z";
  StrToUpper(d);
  EXPECT_STREQ(d, "ABC9Z");
  EXPECT_EQ(StrCmp("Mantel", "MANTEL"), 0);
  EXPECT_LT(StrCmp("abc", "ABD"), 0);
}

TEST(TarnlibDimStreams, OpenFailureReturnsNullWithoutJumping) {
  EXPECT_EQ(fopenck("no-such-file.txt", "/nonexistent-dir/", "r"), nullptr);
}

// A recovery point inside another: each jump returns its code to the
// innermost live point, and the outer point is in force again afterwards.
TEST(TarnlibDimRecovery, NestedPointsAndTheCodeOfEachJump) {
  EXPECT_EQ(0, RunGuarded([] {}));
  EXPECT_EQ(0, jmpLive) << "no live point after the call";
  int inner = -1;
  int outer = RunGuarded([&] {
    inner = RunGuarded([] { FailJump(FAIL_OPEN); });
    EXPECT_EQ(1, jmpLive) << "the outer point is live again";
    FailJump(FAIL_REPORTED);  // reaches the outer point, not the finished inner one
  });
  EXPECT_EQ(FAIL_OPEN, inner);
  EXPECT_EQ(FAIL_REPORTED, outer);
  EXPECT_EQ(0, jmpLive);
  EXPECT_EQ(0, RunGuarded([] {})) << "a clean run after a jump reports no code";
}

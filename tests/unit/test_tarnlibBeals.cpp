// Unit tests of the conditional probabilities and Beals smoothing, on a hand-checked community matrix.
#include <gtest/gtest.h>

#include <cmath>

#include "TarnLib/tarnlibBeals.h"
#include "TarnLib/tarnlibDim.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

const int kRows = 3, kCols = 4;
// Communities by OTUs. Shares: r0 (0.625, 0, 0.375, 0), r1 (2/9, 2/3, 0, 1/9),
// r2 (0, 1/3, 2/3, 0).
const double kW[kRows][kCols] = {{2.5, 0, 1.5, 0}, {1.0, 3.0, 0, 0.5}, {0, 2.0, 4.0, 0}};

// Conditional matrices worked out by hand from the co-occurrences above.
const double kM[3][kCols][kCols] = {
    {{1, 0.5, 0.5, 0.5}, {0.5, 1, 0.5, 0.5}, {0.5, 0.5, 1, 0}, {1, 1, 0, 1}},
    {{1, 1 / 3.5, 2.5 / 3.5, 1 / 3.5},
     {0.6, 1, 0.4, 0.6},
     {1.5 / 5.5, 4 / 5.5, 1, 0},
     {1, 1, 0, 1}},
    {{7.25 / 14.5, 3 / 14.5, 3.75 / 14.5, 0.5 / 14.5},
     {3 / 25.5, 13 / 25.5, 8 / 25.5, 1.5 / 25.5},
     {3.75 / 30, 8 / 30.0, 18.25 / 30, 0},
     {0.5 / 2.25, 1.5 / 2.25, 0, 0.25 / 2.25}}};

// Smoothed values with the target, and without it (estimates from the other OTUs).
const double kWith[3][kRows][kCols] = {
    {{0.8125, 0.5, 0.6875, 0.3125}, {0.666667, 0.888889, 0.444444, 0.555556}, {0.5, 0.666667, 0.833333, 0.166667}},
    {{0.727273, 0.451299, 0.821429, 0.178571}, {0.733333, 0.84127, 0.425397, 0.574603}, {0.381818, 0.818182, 0.8, 0.2}},
    {{0.359375, 0.22931, 0.389763, 0.0215517}, {0.214234, 0.45992, 0.266622, 0.0592242}, {0.122549, 0.347712, 0.510131, 0.0196078}}};
const double kWithout[3][kRows][kCols] = {
    {{0.5, 0.5, 0.5, 0.3125}, {0.571429, 0.666667, 0.444444, 0.5}, {0.5, 0.5, 0.5, 0.166667}},
    {{0.272727, 0.451299, 0.714286, 0.178571}, {0.657143, 0.52381, 0.425397, 0.521429}, {0.381818, 0.727273, 0.4, 0.2}},
    {{0.142857, 0.299407, 0.348837, 0.0223214}, {0.155102, 0.84058, 0.382281, 0.0558036}, {0.139683, 0.363636, 0.457143, 0.0208333}}};


class SmoothingHandChecked : public ::testing::Test {
 protected:
  Mat W{kRows, kCols, &kW[0][0]}, M{kCols, kCols}, out{kRows, kCols};
};

}  // namespace

TEST_F(SmoothingHandChecked, ConditionalProbInEveryMode) {
  for (int mode = 0; mode < 3; mode++) {
    ConditionalProb(kRows, kCols, W, M, mode);
    ExpectMatrix(M, kCols, kCols, &kM[mode][0][0], 1e-12, mode == 0 ? "mode 0" : mode == 1 ? "mode 1" : "mode 2");
  }
  // Another mode only normalises what M holds: divide by the diagonal, then 1.
  const double held[4][4] = {{2, 1, 0.5, 3}, {0, 0, 7, 1}, {4, 4, 8, 2}, {1, 1, 1, -1}};
  const double normalised[4][4] = {{1, 0.5, 0.25, 1.5}, {0, 1, 7, 1}, {0.5, 0.5, 1, 0.25}, {1, 1, 1, 1}};
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) M[i][j] = held[i][j];
  ConditionalProb(kRows, kCols, W, M, 7);
  ExpectMatrix(M, kCols, kCols, &normalised[0][0], 1e-12, "mode 7");
}

TEST_F(SmoothingHandChecked, WholeMatrixFormWithAndWithoutTarget) {
  for (int mode = 0; mode < 3; mode++) {
    BealsSmoothing(kRows, kCols, W, W, out, true, mode);
    ExpectMatrix(out, kRows, kCols, &kWith[mode][0][0], 1e-6, "with target");
    BealsSmoothing(kRows, kCols, W, W, out, false, mode);
    ExpectMatrix(out, kRows, kCols, &kWithout[mode][0][0], 1e-6, "without target");
  }
}

TEST_F(SmoothingHandChecked, RenewingTheTargetEqualsRecomputing) {
  Mat fresh(kCols, kCols);
  const double newColumn[kRows] = {0.75, 0, 3.25};
  for (int mode = 0; mode < 3; mode++) {
    for (int zeroDiagonal = 0; zeroDiagonal < 2; zeroDiagonal++) {
      ConditionalProb(kRows, kCols, W, M, mode);
      if (zeroDiagonal) {  // as the smoothing without target leaves it
        for (int k = 0; k < kCols; k++) M[k][k] = 0;
        if (mode == 2)
          for (int k = 0; k < kCols; k++) {
            double s = 0;
            for (int j = 0; j < kCols; j++) s += M[k][j];
            for (int j = 0; j < kCols; j++) M[k][j] /= s;
          }
      }
      Mat Wnew(kRows, kCols, &kW[0][0]);
      for (int r = 0; r < kRows; r++) Wnew[r][1] = newColumn[r];
      ConditionalProb(1, kRows, kCols, Wnew, M, mode);
      ConditionalProb(kRows, kCols, Wnew, fresh, mode);
      for (int i = 0; i < kCols; i++)
        for (int j = 0; j < kCols; j++) {
          if (zeroDiagonal && i == j && i != 1 && mode != 2) continue;  // left to the caller
          EXPECT_NEAR(fresh[i][j], M[i][j], 1e-12)
              << "mode " << mode << " zeroDiagonal " << zeroDiagonal << " [" << i << "][" << j << "]";
        }
    }
  }
}

TEST_F(SmoothingHandChecked, PerTargetFormsMatchTheWholeForm) {
  Mat whole(kRows, kCols);
  for (int mode = 0; mode < 3; mode++) {
    BealsSmoothing(kRows, kCols, W, W, out, false, 2, M, true, mode);
    ExpectMatrix(out, kRows, kCols, &kWith[mode][0][0], 1e-6, "full per-target form");
    ExpectMatrix(M, kCols, kCols, &kM[mode][0][0], 1e-12, "conditional matrix handed back");
  }
  for (int mode = 0; mode < 2; mode++) {  // mode 2 renormalises instead of m / (1 - m)
    BealsSmoothing(kRows, kCols, W, W, out, false, 1, nullptr, false, mode);
    ExpectMatrix(out, kRows, kCols, &kWithout[mode][0][0], 1e-6, "full form without target");
  }
  // Partial: shares stay those of W; only the conditional data of OTU 3 change.
  Mat Wnew(kRows, kCols, &kW[0][0]);
  Wnew[0][3] = 1.75;
  Wnew[1][3] = 0;
  for (int mode = 0; mode < 2; mode++) {
    BealsSmoothing(kRows, kCols, W, W, out, false, 0, M, true, mode);
    BealsSmoothing(kRows, kCols, W, Wnew, out, true, 3, M, true, mode);
    BealsSmoothing(kRows, kCols, W, Wnew, whole, false, 0, nullptr, true, mode);
    for (int i = 0; i < kRows; i++)
      for (int j = 0; j < kCols; j++)
        EXPECT_NEAR(whole[i][j], out[i][j], 1e-12) << "mode " << mode << " [" << i << "][" << j << "]";
  }
}

TEST(SmoothingEdges, MissingValuesAbsentOTUsAndLoneOTUs) {
  // OTU 3 is missing where it was present and absent elsewhere: no pair counts.
  const double w[3][4] = {{2.5, 0, 1.5, 0}, {1.0, 3.0, 0, -999}, {0, 2.0, 4.0, 0}};
  Mat W(3, 4, &w[0][0]), M(4, 4);
  for (int mode = 0; mode < 2; mode++) {
    ConditionalProb(3, 4, W, M, mode);
    EXPECT_EQ(1.0, M[3][3]);
    for (int j = 0; j < 3; j++) EXPECT_EQ(0.0, M[3][j]) << "mode " << mode;
  }
  ConditionalProb(3, 4, W, M, 0);
  EXPECT_NEAR(0.5, M[1][0], 1e-12);  // OTUs 0 and 1 still meet in community 1

  // OTU 0 alone in community 1: the whole form writes 0, the per-target form divides by 0.
  const double lone[3][3] = {{1.25, 0.5, 0}, {3.0, 0, 0}, {0.5, 2.0, 1.5}};
  Mat L(3, 3, &lone[0][0]), out(3, 3);
  BealsSmoothing(3, 3, L, L, out, false, 1);
  EXPECT_EQ(0.0, out[1][0]);
  BealsSmoothing(3, 3, L, L, out, false, 0, nullptr, false, 1);
  EXPECT_FALSE(std::isfinite(out[1][0]));
}

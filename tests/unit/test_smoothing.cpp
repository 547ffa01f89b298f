// Unit tests of the randomisation tests of Beals smoothing by OTU, on a hand-checked community matrix.
#include <gtest/gtest.h>

#include <cmath>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "scaling/smoothing.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

const int kRows = 3, kCols = 4;
// Communities by OTUs, as in the smoothing tests of TarnLib.
const double kW[kRows][kCols] = {{2.5, 0, 1.5, 0}, {1.0, 3.0, 0, 0.5}, {0, 2.0, 4.0, 0}};

class SmoothingHandChecked : public ::testing::Test {
 protected:
  Mat W{kRows, kCols, &kW[0][0]};
};

}  // namespace

TEST_F(SmoothingHandChecked, TestsByOTUGiveTheObservedStatistics) {
  InitRndNumberGenerator(808);
  double stat[kCols], prob[kCols];
  // Mean of the estimates without target where the OTU is present, minus where absent.
  const double expected[kCols] = {0.0831169, 0.174242, 0.131746, 0.332143};
  BealsTest(kRows, kCols, 25, W, stat, prob, 1);
  for (int t = 0; t < kCols; t++) {
    EXPECT_NEAR(expected[t], stat[t], 1e-6) << "OTU " << t;
    EXPECT_GE(prob[t], 1.0 / 25 - 1e-12);
    EXPECT_LE(prob[t], 1.0);
  }
  BealsTest_Partial(kRows, kCols, 25, W, stat, prob, 1);
  for (int t = 0; t < kCols; t++) EXPECT_NEAR(expected[t], stat[t], 1e-6) << "partial, OTU " << t;
  // With one or two communities on each side, medians are the means.
  BealsTest_Partial(kRows, kCols, 5, W, stat, prob, 1, 1);
  for (int t = 0; t < kCols; t++) EXPECT_NEAR(expected[t], stat[t], 1e-6) << "medians, OTU " << t;
  BealsTest_Partial(kRows, kCols, 1, W, stat, prob, 1, 2);
  for (int t = 0; t < kCols; t++) EXPECT_EQ(1.0, prob[t]) << "one iteration is the observed one";
  BealsTestBSA(kRows, kCols, 10, W, stat, prob, 1, true);
  EXPECT_NEAR(0.793888, stat[0], 1e-6);  // W and its smoothing over the 3 communities
}

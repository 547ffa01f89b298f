// Unit tests of the assembly simulation's logistic, its preparation of traits, sites and E, and its rejection rule.
#include <cmath>

#include <gtest/gtest.h>

#include "simulation/simulation.h"
#include "tests/unit/test_util.h"

using namespace testutil;

TEST(SimulationLogistic, HandComputedValuesCenterAndSlope) {
  // Range 1..3, center at 0.5 of 0..2; the exponent is (x - c) * (-4 slope / r).
  EXPECT_NEAR(Logistic(0.7, 0.0, 2.0, 1.0, 3.0, -0.5, 0.25), 1.9003320053750443, 1e-14);
  // The long-distance probability of a kernel: its value at x = 1 on 0..1.
  EXPECT_NEAR(Logistic(1.0, 0.0, 1.0, 0.1, 1.0, -2.0, 0.5), 0.11044658480077417, 1e-14);
  // At the center the value is the midpoint, and the slope there is `slope`.
  double c = 2.5 + (7.25 - 2.5) * 0.375, h = 1e-6;
  EXPECT_NEAR(Logistic(c, 2.5, 7.25, -1.5, 4.0, 1.75, 0.375), 1.25, 1e-14);
  double d = (Logistic(c + h, 2.5, 7.25, -1.5, 4.0, 1.75, 0.375) -
              Logistic(c - h, 2.5, 7.25, -1.5, 4.0, 1.75, 0.375)) / (2 * h);
  EXPECT_NEAR(d, 1.75, 1e-6);
  // A negative slope falls with x and keeps within the range.
  double left = Logistic(0.0, 0.0, 10.0, 0.0, 1.0, -0.3, 0.4);
  double right = Logistic(10.0, 0.0, 10.0, 0.0, 1.0, -0.3, 0.4);
  EXPECT_GT(left, right);
  EXPECT_LT(left, 1.0);
  EXPECT_GT(right, 0.0);
}

TEST(SimulationLogistic, ZeroSlopeIsTheMidpointAndMakesTheRescaledProbabilityNaN) {
  for (double x : {0.0, 3.7, 12.0}) EXPECT_EQ(Logistic(x, 0.0, 12.0, 0.0, 1.0, 0.0, 0.6), 0.5);
  // The survival probability (L(d) - L(Dmax)) / (L(0) - L(Dmax)) is then 0/0:
  // such an OTU never passes the habitat filter.
  double l0 = Logistic(0.0, 0.0, 5.0, 0.0, 1.0, 0.0, 0.5), lMax = Logistic(5.0, 0.0, 5.0, 0.0, 1.0, 0.0, 0.5);
  EXPECT_TRUE(std::isnan((Logistic(2.0, 0.0, 5.0, 0.0, 1.0, 0.0, 0.5) - lMax) / (l0 - lMax)));
  // With Dmax 0 the center is 0 and the same quotient is 0/0 as well.
  double z = Logistic(0.0, 0.0, 0.0, 0.0, 1.0, -3.0, 0.4);
  EXPECT_TRUE(std::isnan((z - z) / (z - z)));
}

TEST(SimulationPreparation, TraitsBecomeZScoresWithSampleStatisticsKept) {
  Mat B(5, 2, {1.5, 20, 2.25, 35, 0.75, 28, 3.125, 12, 2.0, 40});
  double means[2], sds[2], minZ[2], maxZ[2];
  PrepareTraits(5, 2, B, means, sds, minZ, maxZ);
  ExpectValues(means, {1.925, 27.0}, "means");
  // Standard deviations divide by n - 1 ...
  ExpectValues(sds, {0.8821139382188675, 11.269427669584644}, "standard deviations");
  // ... while the Z scores divide by the root of SS / n.
  const double z[] = {-0.5386656129458063, -0.6944663163659769, 0.4119207628409106, 0.7936757901325451,
                      -1.489251988732523,  0.09920947376656813, 1.520938201258747,  -1.488142106498522,
                      0.09505863757867163, 1.2897231589653857};
  ExpectMatrix(B, 5, 2, z, 1e-12, "Z scores");
  ExpectValues(minZ, {-1.489251988732523, -1.488142106498522}, "smallest Z");
  ExpectValues(maxZ, {1.520938201258747, 1.2897231589653857}, "largest Z");
}

TEST(SimulationPreparation, InteractionRowsKeepTheProductWithTheLastFactor) {
  // Three factors over two sites; rows 3 to 5 are the interaction rows.
  Mat E(6, 2, {0.5, -2, 1.5, 3, -4, 0.25, 9, 9, 9, 9, 9, 9});
  E[5][0] = E[5][1] = 0.0;
  FormInteractions(3, 2, E);
  const double want[] = {0.5, -2, 1.5, 3, -4, 0.25,
                         -2, -0.5,    // factor 1 x factor 3 (1 x 2 is overwritten)
                         -6, 0.75,    // factor 2 x factor 3
                         0, 0};       // never written
  ExpectMatrix(E, 6, 2, want, 0.0, "E with interactions");
  // One factor: no interaction row is touched.
  Mat F(1, 3, {1.25, -1, 2});
  FormInteractions(1, 3, F);
  ExpectValues(F[0], {1.25, -1, 2}, "single factor");
}

TEST(SimulationPreparation, SiteDistancesAreSymmetricAndDividedByTheLargest) {
  // Sites at (0,0), (3,4), (0,8), (6,8): distances 5, 8, 10, 5, 5, 6.
  Mat coord(2, 4, {0, 3, 0, 6, 0, 4, 8, 8}), coordT(4, 2), dist(4, 4);
  SiteDistances(4, coord, coordT, dist);
  const double want[] = {0, 0.5, 0.8, 1.0, 0.5, 0, 0.5, 0.5, 0.8, 0.5, 0, 0.6, 1.0, 0.5, 0.6, 0};
  ExpectMatrix(dist, 4, 4, want, 1e-15, "normalised site distances");
  // Sites all at one place: 0/0 off the diagonal, which no distance limit passes.
  Mat same(2, 3, {7, 7, 7, 1.5, 1.5, 1.5}), sameT(3, 2), d2(3, 3);
  SiteDistances(3, same, sameT, d2);
  EXPECT_TRUE(std::isnan(d2[0][1]) && std::isnan(d2[2][1]));
  EXPECT_EQ(d2[1][1], 0.0);
  EXPECT_FALSE(d2[0][2] < 1.0);
}

TEST(SimulationEvaluation, ProbabilityEqualToAlphaWithinOneFloatStepRejects) {
  EXPECT_TRUE(RejectsHo(0.05, 0.05));
  EXPECT_TRUE(RejectsHo(1.0, 1.0));
  EXPECT_TRUE(RejectsHo(0.04, 0.05));
  EXPECT_FALSE(RejectsHo(0.06, 0.05));
  float above = std::nextafter(0.05f, 1.0f);
  EXPECT_TRUE(RejectsHo((double)above, 0.05)) << "one float step above alpha";
  EXPECT_FALSE(RejectsHo((double)std::nextafter(above, 1.0f), 0.05)) << "two float steps above alpha";
  EXPECT_FALSE(RejectsHo(INFINITY, 0.05)) << "no permutations: the probability is infinite";
}

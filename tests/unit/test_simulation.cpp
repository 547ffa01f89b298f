// Unit tests of the assembly simulation's logistic, its preparation of traits, sites and E, and its rejection rule.
#include <cmath>

#include <gtest/gtest.h>

#include <gsl/gsl_rng.h>

#include "TarnLib/tarnlibRandom.h"
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

TEST(SimulationSetUp, RandomParametersAndSitesFollowTheOrderOfDraws) {
  // Two OTUs on three sites, one trait and one factor read as given.
  simSites = 3;
  simOTUs = 2;
  simTraits = 1;
  simFactors = simPredictors = 1;
  simInteractions = false;
  simMaxIter = 7;
  simCapacity = 5;
  simTraitInput = 't';
  simEnvInput = 'e';
  simKernelInput = simCoordInput = simSurvivalInput = simDensityInput = 'r';
  simMinLongDistance = 0.125;
  const double kernel[4] = {-0.5, -3.5, 0.25, 0.75}, survival[4] = {-1, -2, 0.1, 0.9},
               density[4] = {-4, -6, 0.3, 0.6};
  for (int k = 0; k < 4; k++) {
    simKernelRange[k] = kernel[k];
    simSurvivalRange[k] = survival[k];
    simDensityRange[k] = density[k];
  }
  AllocateSimSizes();
  AllocateSimFactors();
  for (int s = 0; s < 3; s++) simEInit[0][s] = 0.5 * s - 0.25;
  simCommunity[1][1] = 4;  // left by an earlier data set
  simSiteAbundance[2] = 9;
  InitRndNumberGenerator(20261124);
  SetUpDataSet(1);

  // The same stream drawn by hand: kernel slopes, kernel centers, X row, Y
  // row, survival slopes and centers, density slopes and centers.
  gsl_rng* g = gsl_rng_alloc(gsl_rng_mt19937);
  gsl_rng_set(g, 20261124);
  auto between = [&](double a, double b) { return gsl_rng_uniform(g) * (b - a) + a; };
  double ks[2], kc[2], x[3], y[3];
  for (double& v : ks) v = between(-0.5, -3.5);
  for (double& v : kc) v = between(0.25, 0.75);
  for (double& v : x) v = gsl_rng_uniform(g) * 100.0;
  for (double& v : y) v = gsl_rng_uniform(g) * 100.0;
  for (int o = 0; o < 2; o++) {
    EXPECT_EQ(simKernel[o][1], ks[o]) << "kernel slope " << o;
    EXPECT_EQ(simKernel[o][2], kc[o]) << "kernel center " << o;
    EXPECT_EQ(simKernel[o][0], Logistic(1.0, 0.0, 1.0, 0.125, 1.0, ks[o], kc[o])) << "long-distance " << o;
  }
  for (int s = 0; s < 3; s++) {
    EXPECT_EQ(simCoord[0][s], x[s]);
    EXPECT_EQ(simCoord[1][s], y[s]);
  }
  for (int o = 0; o < 2; o++) EXPECT_EQ(simSurvival[o][0], between(-1, -2)) << "survival slope " << o;
  for (int o = 0; o < 2; o++) EXPECT_EQ(simSurvival[o][1], between(0.1, 0.9)) << "survival center " << o;
  for (int o = 0; o < 2; o++) EXPECT_EQ(simDensity[o][0], between(-4, -6)) << "density slope " << o;
  for (int o = 0; o < 2; o++) EXPECT_EQ(simDensity[o][1], between(0.3, 0.6)) << "density center " << o;
  EXPECT_EQ(gsl_rng_uniform(r), gsl_rng_uniform(g)) << "no draw skipped or added";
  gsl_rng_free(g);

  // Distances from the drawn coordinates, at most 1, the largest exactly 1.
  double d01 = std::hypot(x[0] - x[1], y[0] - y[1]), d02 = std::hypot(x[0] - x[2], y[0] - y[2]),
         d12 = std::hypot(x[1] - x[2], y[1] - y[2]);
  double largest = std::fmax(d01, std::fmax(d02, d12));
  EXPECT_NEAR(simDist[0][1], d01 / largest, 1e-15);
  EXPECT_NEAR(simDist[2][0], d02 / largest, 1e-15);
  EXPECT_NEAR(simDist[1][2], d12 / largest, 1e-15);
  // A fresh data set: the earlier one's community, abundance and E are gone.
  EXPECT_EQ(simCommunity[1][1], 0.0);
  EXPECT_EQ(simSiteAbundance[2], 0);
  ExpectValues(simE[0], {-0.25, 0.25, 0.75}, "E restored from the initial E");
  EXPECT_EQ(simStepsToCapacity, 7);
  EXPECT_FALSE(simRecording);
  FreeSimArrays();
}

// Unit tests of Gower similarities, partial similarities and the Legendre-Chodorowski index.
#include <cmath>

#include <gtest/gtest.h>
#include <omp.h>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibGower.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

const double MV = M;

// Binary, nominal, quantitative (one missing) and ordinal traits of three OTUs.
const double mixed[] = {1, 2, 2.5, 10, 0, 2, MV, 30, 0, 3, 4.1, 20};
int mixedTypes[] = {1, 2, 3, 4};

} // namespace

TEST(SimilarityGower, MixedTypesAndDoubleAbsences) {
  Mat data(3, 4, mixed), S(3, 3);
  GowerMVOpt(3, 4, mixedTypes, data, S, nullptr, nullptr, 0);
  EXPECT_NEAR(S[0][1], 1.0 / 3.0, 1e-12);
  EXPECT_NEAR(S[0][2], 0.5 / 4.0, 1e-6) << "quantitative range stored as a float";
  EXPECT_NEAR(S[1][2], 0.25, 1e-12) << "two zeros left out under opt 0";
  for (int i = 0; i < 3; i++) {
    EXPECT_EQ(S[i][i], 1.0) << "diagonal " << i;
    for (int j = i + 1; j < 3; j++) EXPECT_EQ(S[i][j], S[j][i]) << "symmetry " << i << "," << j;
  }
  EXPECT_EQ(data[1][3], 3.0) << "the ordinal column is replaced by its ranks";
  EXPECT_EQ(data[2][3], 2.0);
  GowerMVOpt(3, 4, mixedTypes, data, S, nullptr, nullptr, 1);
  EXPECT_NEAR(S[1][2], 0.5, 1e-12) << "two zeros match under opt 1";
  float w[] = {2.5f, 1.0f, 0.5f, 1.75f};
  GowerMVOpt(3, 4, mixedTypes, data, S, nullptr, w, 1);
  EXPECT_NEAR(S[0][1], 1.0 / 5.25, 1e-7) << "weighted";
}

TEST(SimilarityGower, RangeStartValues) {
  Mat data(3, 1, {-3, -5, -4}), S(3, 3);
  int quant[] = {3};
  // The running maximum starts at a tiny positive number: the range is 5, not 2.
  GowerMVOpt(3, 1, quant, data, S, nullptr, nullptr, 0);
  EXPECT_NEAR(S[0][1], 0.6, 1e-7);
  GowerMV(3, 1, quant, data, S, nullptr, nullptr);
  EXPECT_NEAR(S[0][1], 0.6, 1e-7);
  Mat same(3, 1, {2.385, 2.385, 2.385});
  GowerMVOpt(3, 1, quant, same, S, nullptr, nullptr, 0);
  EXPECT_EQ(S[0][2], 1.0) << "a constant trait gives full similarity";
  float given[] = {10.0f};
  GowerMV(3, 1, quant, data, S, given, nullptr);
  EXPECT_NEAR(S[0][1], 0.8, 1e-7) << "GowerMV uses a range it is given";
  GowerMVOpt(3, 1, quant, data, S, given, nullptr, 0);
  EXPECT_NEAR(S[0][1], 0.6, 1e-7) << "GowerMVOpt always computes its ranges";
}

TEST(SimilarityGower, PlainFloatAndTextMembers) {
  float rows[2][2] = {{1.0f, 4.0f}, {0.0f, 6.0f}}, zeros[2][1] = {{0.0f}, {0.0f}};
  float *data[] = {rows[0], rows[1]}, *zd[] = {zeros[0], zeros[1]};
  MatrixOf<float> Sf(2, 2);
  int types[] = {1, 3}, bin[] = {1}, nom[] = {2, 2, 2};
  Gower(2, 2, types, data, Sf, nullptr, nullptr);
  EXPECT_NEAR(Sf[0][1], 0.0, 1e-6) << "binary mismatch, quantitative at full range";
  Sf[0][1] = 0.375f;
  GowerMV(2, 1, bin, zd, Sf, nullptr, nullptr);
  EXPECT_EQ(Sf[1][0], 0.375f) << "double absences never match: empty denominator keeps the old value";
  char row0[] = " 1 2 3", row1[] = " 1 5 3";
  char* text[] = {row0, row1};
  Mat S(2, 2);
  gower_similarity(2, 3, nom, text, S, nullptr, nullptr, 0);
  EXPECT_NEAR(S[0][1], 2.0 / 3.0, 1e-12) << "two characters a value";
}

TEST(SimilarityPartial, PerTraitValuesAndMissingMarks) {
  Mat S(3, 3);
  double bin[] = {0, 0, 1};
  GowerMVPartial_dAbsences(3, 1, bin, S, 0, 2.5, 0);
  EXPECT_EQ(S[0][1], MV) << "double absence under opt 0";
  EXPECT_EQ(S[0][2], 0.0);
  EXPECT_EQ(S[2][2], 2.5);
  GowerMVPartial_dAbsences(3, 1, bin, S, 0, -1, 1);
  EXPECT_EQ(S[0][1], 1.0) << "negative weight means 1";
  GowerMVPartial_dAbsences(3, 1, bin, S, 0, 1, 2);
  EXPECT_EQ(S[2][2], MV) << "opt other than 0 or 1";
  double q[] = {1.3, MV, 2.9};
  GowerMVPartial_dAbsences(3, 3, q, S, 0, 0.7, 0);
  EXPECT_EQ(S[0][1], MV);
  EXPECT_NEAR(S[0][2], 0.0, 1e-7);
  GowerMVPartial_dAbsences(3, 3, q, S, 0, 0, 0);
  EXPECT_EQ(S[0][2], MV) << "weight 0 says nothing";
  GowerMVPartial_dAbsences(3, 3, q, S, 3.2, 0.7, 0);
  EXPECT_EQ(S[0][2], (double)(float)(0.7 * 0.5)) << "given range, value through a float";
}

TEST(SimilarityPartial, CubeAverageMatchesDirectGower) {
  // Averaging the cube over all traits with their weights gives the direct
  // weighted Gower similarity, and the source data stay as they were.
  countDoubleAbsence = 0;
  Mat data(3, 4, mixed);
  double*** cube = dim3Double(3, 3, 4);
  double ranges[] = {0, 0, 0, 0}, weights[] = {2.5, 1.0, 0.5, 1.75};
  gower_similarityPartial(4, data, 3, cube, mixedTypes, ranges, weights);
  EXPECT_EQ(data[1][3], 30.0) << "source untouched";
  Mat S(3, 3);
  gower_similarityAverage(4, 3, cube, S, weights);
  Mat direct(3, 3);
  float fw[] = {2.5f, 1.0f, 0.5f, 1.75f};
  GowerMVOpt(3, 4, mixedTypes, data, direct, nullptr, fw, 0);
  for (int i = 0; i < 3; i++)
    for (int j = i; j < 3; j++) EXPECT_NEAR(S[i][j], direct[i][j], 1e-6) << "pair " << i << "," << j;

  int mask[] = {0, 1, 0, 1};
  gower_similarityAverage(4, 3, cube, S, mask);
  // Pair (0,2): nominal 0 and ordinal 0.5 * 1.75, averaged by count.
  EXPECT_NEAR(S[0][2], 0.875 / 2.0, 1e-6);

  double zero[] = {0, 0, 0, 0};
  gower_similarityAverage(4, 3, cube, S, zero);
  EXPECT_EQ(S[0][1], MV) << "all weights 0";
  EXPECT_EQ(S[1][1], 1.0);
  int binOnly[] = {1, 0, 0, 0};
  gower_similarityAverage(4, 3, cube, S, binOnly);
  EXPECT_EQ(S[1][2], MV) << "only a double absence left";
  gower_similarityAverage(0, 3, cube, S, weights);
  EXPECT_EQ(S[0][2], MV) << "no trait";
  free3D(cube, 3, 3);
}

TEST(SimilarityOther, LegendreChodorowski) {
  Mat data(2, 3, {3, 0.5, 1.5, 2, 4, 1.5}), S(2, 2);
  LegendreChodorowski(2, 2, data, S, nullptr, 2.0);
  EXPECT_NEAR(S[0][1], 0.25, 1e-7);
  // The third variable is identical, but a weight of 0 stops the loop before it.
  double w[] = {1, 0, 1};
  LegendreChodorowski(2, 3, data, S, w, 2.0);
  EXPECT_NEAR(S[0][1], 0.5, 1e-7);
  float k[] = {2.0f, 5.0f};
  LegendreChodorowski(2, 2, data, S, nullptr, k);
  EXPECT_NEAR(S[1][0], (0.5 + 5.0 / 29.5) / 2.0, 1e-7) << "parameter per variable";
}

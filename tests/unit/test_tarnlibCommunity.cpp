// Unit tests of community products, Rao entropy, nearest-neighbour resemblance and beta divergence.
#include <cmath>

#include <gtest/gtest.h>

#include "TarnLib/tarnlibCommunity.h"
#include "TarnLib/tarnlibDim.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

const double MV = -999.0;


} // namespace

TEST(CommunityProducts, MissingTermsMasksAndTheMinus999Result) {
  // Row 0 cancels exactly after a skipped term; row 1 cancels with no skip.
  const double a[] = {2, MV, 1.5, 2, 0, 1.5};
  Mat A(2, 3, a), B(3, 2, {1.5, 0.25, 7, 3, -2, 0.5}), C(2, 2);
  EXPECT_EQ(MatrixProdMV(2, 3, 3, 2, A, B, C), 0);
  EXPECT_EQ(C[0][0], MV) << "a zero sum with a skipped term is missing";
  EXPECT_EQ(C[1][0], 0.0) << "a zero sum without a skipped term is 0";
  EXPECT_DOUBLE_EQ(C[0][1], 0.5 + 0.75);
  int w[] = {1, 1, 0}, mask[] = {1, 0};
  MatrixProdMV_Weight(2, 3, 3, 2, A, B, C, w);
  EXPECT_DOUBLE_EQ(C[1][0], 3.0) << "weight 0 removes the third term";
  MatrixProdSelectMV(2, 3, 3, 2, A, B, C, mask);
  EXPECT_EQ(C[0][0], 0.0) << "the select members keep the partial sum";
  EXPECT_EQ(C[0][1], 0.0) << "masked column";
  C[0][0] = 42;
  EXPECT_EQ(MatrixProdMV(2, 3, 2, 2, A, B, C), 1);
  EXPECT_EQ(C[0][0], 42.0) << "inner dimensions differ: nothing done";
}

TEST(CommunityProducts, AdjustedProductsDivideByTheirOwnSums) {
  // Two communities, three OTUs, two traits; OTU 2 lacks trait 0.
  const double gone[] = {MV, 10, MV, 20, MV, 30};
  Mat W(2, 3, {0.25, 0.5, 0.25, 0.6, 0.4, 0}), B(3, 2, {2.5, 10, 4.5, 20, MV, 30}), B2(3, 2, gone), T(2, 2);
  int mask[] = {1, 1}, all[] = {1, 1, 1}, some[] = {1, 0, 1};
  MatrixProdSelectMV_Adjust_Weight(2, 3, 3, 2, W, B, T, mask, all);
  EXPECT_NEAR(T[0][0], (0.625 + 2.25) / 0.75, 1e-12) << "the missing value takes its share out of the divisor";
  EXPECT_NEAR(T[0][1], 2.5 + 10 + 7.5, 1e-12);
  MatrixProdSelectMV_Adjust_Weight(2, 3, 3, 2, W, B, T, mask, some);
  EXPECT_NEAR(T[1][0], 1.5 / 1.0, 1e-12) << "weights don't enter the divisor";
  MatrixProdSelectMV_Adjust(2, 3, 3, 2, W, B, T, mask);
  EXPECT_NEAR(T[0][0], (0.625 + 2.25) / 7.0, 1e-12) << "divided by the sum of the right-hand values";
  MatrixProdSelectMV_Adjust_Weight(2, 3, 3, 2, W, B2, T, mask, all);
  EXPECT_TRUE(std::isnan(T[0][0])) << "an all-missing trait gives 0/0";
}

TEST(CommunityProducts, TargetUpdateEqualsAFreshProduct) {
  const double m[] = {1, 0.3, 0.6, 0.25, 1, 0.8, 0.45, 0.1, 1};
  Mat A(2, 3, {0.2, 1.5, 0.7, 3.1, 0.4, 2.2}), M(3, 3, m), M2(3, 3, m);
  for (int k = 0; k < 3; k++) {
    M2[1][k] += 0.125 * (k + 1);
    M2[k][1] -= 0.375;
  }
  Mat C(2, 3), fresh(2, 3);
  MatrixProdMV(2, 3, 3, 3, A, M, C);
  EXPECT_EQ(MatrixProdTargetMV(2, 3, 3, 3, 1, A, M, M2, C), 0);
  MatrixProdMV(2, 3, 3, 3, A, M2, fresh);
  for (int r = 0; r < 2; r++)
    for (int c = 0; c < 3; c++) EXPECT_NEAR(C[r][c], fresh[r][c], 1e-12) << r << "," << c;
  EXPECT_EQ(MatrixProdTargetMV(2, 3, 3, 3, 3, A, M, M2, C), 1) << "target beyond the columns";
}

TEST(CommunityRao, EntropyByHandAndTheFlags) {
  Mat S(2, 2);
  S[0][0] = S[1][1] = 1.0;
  S[0][1] = 0.3; // lower triangle left at 0: the routine mirrors it
  double a[] = {2.385, 2.385}, single[] = {0, 4.4}, empty[] = {0, 0}, withMissing[] = {2.385, MV};
  EXPECT_NEAR(RaoIndex(2, a, S, false, false), 0.35, 1e-12);
  EXPECT_EQ(S[1][0], 0.3) << "upper triangle mirrored in place";
  EXPECT_NEAR(RaoIndex(2, a, S, false, true), 0.5 * sqrt(0.7), 1e-12);
  EXPECT_NEAR(RaoIndex(2, a, S, false), 0.5 * sqrt(0.7), 1e-12) << "one flag: root for similarities";
  S[0][0] = S[1][1] = 0.0;
  EXPECT_NEAR(RaoIndex(2, a, S, true, false), 0.15, 1e-12);
  EXPECT_NEAR(RaoIndex(2, a, S, true, true), 0.5 * sqrt(0.3), 1e-12);
  EXPECT_NEAR(RaoIndex(2, a, S, true), 0.15, 1e-12) << "one flag: no root for dissimilarities";
  EXPECT_EQ(RaoIndex(2, single, S, true, false), 0.0) << "a single-OTU community";
  EXPECT_EQ(RaoIndex(2, empty, S, true, false), 0.0) << "zero total";
  EXPECT_EQ(RaoIndex(2, withMissing, S, true, false), 0.0) << "-999 isn't in the total nor in a pair";
}

TEST(CommunityRao, GiniSimpsonAndThePairFactor) {
  Mat I(3, 3);
  for (int i = 0; i < 3; i++) I[i][i] = 1.0;
  MatrixOf<float> If(3, 3);
  double a[] = {1, 1, 2}, b[] = {1, 2, 1}, single[] = {0, 3.3, 0};
  int all[] = {1, 1, 1}, w[] = {1, 0, 1};
  EXPECT_NEAR(RaoIndex_Weight(3, a, I, false, all, true), 0.625, 1e-12) << "1 - sum of p squared";
  EXPECT_NEAR(RaoIndex(3, a, If, false, false, true), 0.625, 1e-12) << "crisp member ignores the matrix";
  EXPECT_EQ(RaoIndex_Weight(3, single, I, false, all, true), 0.0) << "D of a single-OTU community";
  EXPECT_NEAR(RaoIndex_Weight(3, b, I, false, w, true), 0.125, 1e-12) << "restricted: selected pairs only";
  EXPECT_NEAR(RaoIndex_Weight(3, b, I, false, w, false), 0.625, 1e-12)
      << "unrestricted: pairs with one selected OTU count";
  // Rooted: d = 0.9, 0.6 and 0.7 for the pairs (0,1), (0,2) and (1,2).
  I[0][1] = 0.19;
  I[0][2] = 0.64;
  I[1][2] = 0.51;
  EXPECT_NEAR(RaoIndex_Weight(3, b, I, false, true, w, true), 2 * 0.0625 * 0.6, 1e-12);
  EXPECT_NEAR(RaoIndex_Weight(3, b, I, false, true, w, false), 0.075 + 2 * 0.125 * 0.9 + 2 * 0.125 * 0.7, 1e-12)
      << "unrestricted: only the pair of two unselected OTUs drops";
}

TEST(CommunityNeighbours, NearestNeighbourResemblanceAndBetaDivergence) {
  Mat W(3, 3, {2, 0, 0.5, 1, 1, 1, 0, 3, 0}), S(3, 3);
  S[0][1] = 0.6;
  S[0][2] = 0.3;
  S[1][2] = 0.8;
  double r = NearNeigAvgTraitResemblance_WithinCommunity(3, 3, W, S, false, true, nullptr);
  // Community 0: (0.3 / 1 + 0.3 / 1) / 2; community 1: (0.6 + 0.8 + 0.8) / 3; community 2 skipped.
  EXPECT_NEAR(r, (0.3 + 2.2 / 3) / 2, 1e-12);
  int rich[] = {2, 3, 1};
  EXPECT_NEAR(NearNeigAvgTraitResemblance_WithinCommunity(3, 3, W, S, false, false, rich), r, 1e-12);
  // As dissimilarities the nearest is the smallest value, weighted by the product.
  double d = NearNeigAvgTraitResemblance_WithinCommunity(3, 2, W, S, true, false, nullptr);
  EXPECT_NEAR(d, (0.3 * 1.0 * 2 / 2 + (0.3 + 0.6 + 0.3) / 3) / 2, 1e-12);

  // Beta divergence: community 0 has two nearest neighbours in DE, tied.
  Mat DE(3, 3);
  DE[0][1] = DE[0][2] = 0.5;
  DE[1][2] = 0.9;
  S[1][2] = 7;
  double result[3];
  EXPECT_TRUE(BetaDivergence(3, DE, S, result));
  EXPECT_NEAR(result[0], 0.45, 1e-12) << "both tied neighbours count";
  EXPECT_EQ(result[1], 0.6);
  EXPECT_EQ(result[2], 0.3);
}

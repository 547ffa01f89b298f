// Unit tests of fuzzy and crisp belonging and the partition tools.
#include <cmath>

#include <gtest/gtest.h>
#include <omp.h>

#include "TarnLib/tarnlibDim.h"
#include "scaling/similarity.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

const double MV = M;

// Symmetric matrix with unit diagonal from its strict upper triangle, row by row.
struct Sym : Mat {
  Sym(int n, std::initializer_list<double> upper) : Mat(n, n) {
    auto v = upper.begin();
    for (int i = 0; i < n; i++) {
      p[i][i] = 1.0;
      for (int j = i + 1; j < n; j++) p[i][j] = p[j][i] = *v++;
    }
  }
};

void ExpectRowsSumToOne(int n, int g, double** U, const char* what) {
  for (int i = 0; i < n; i++) {
    double s = 0.0;
    for (int k = 0; k < g; k++) s += U[i][k];
    EXPECT_NEAR(s, 1.0, 1e-12) << what << ": row " << i;
  }
}


} // namespace

TEST(SimilarityBelonging, FuzzyBelongingByHand) {
  Sym S(3, {0.4, 0.7, 0.2});
  Mat U(3, 2);
  int part[] = {5, 5, 8};
  EXPECT_TRUE(FuzzyBelonging(3, 2, S, part, U, false));
  EXPECT_NEAR(U[0][0], 0.5, 1e-12);
  EXPECT_NEAR(U[1][0], 0.7 / 0.9, 1e-12);
  EXPECT_NEAR(U[2][1], 1.0 / 1.45, 1e-12);
  ExpectRowsSumToOne(3, 2, U, "similarities");
  // As dissimilarities, with a zero diagonal.
  for (int i = 0; i < 3; i++) S[i][i] = 0.0;
  FuzzyBelonging(3, 2, S, part, U, true);
  EXPECT_NEAR(U[0][0], (1.0 / 2 + 0.6 / 2) / (0.8 + 0.3), 1e-12);
  ExpectRowsSumToOne(3, 2, U, "dissimilarities");
}

TEST(SimilarityBelonging, IdenticalObjectsInOneGroupAndInTwo) {
  Sym S(3, {1.0, 0.6, 0.6});
  Mat U(3, 2);
  int oneGroup[] = {1, 1, 2};
  FuzzyBelonging(3, 2, S, oneGroup, U, false);
  // The pair counts once in its group's size; each still counts with itself.
  EXPECT_NEAR(U[0][0], 0.625, 1e-12);
  EXPECT_NEAR(U[1][0], 0.625, 1e-12);
  EXPECT_NEAR(U[2][0], 0.375, 1e-12);
  int twoGroups[] = {1, 2, 2};
  FuzzyBelonging(3, 2, S, twoGroups, U, false);
  // Not merged: group 2 has two members, 1 and 2.
  EXPECT_NEAR(U[0][0], 1.0 / 1.8, 1e-12);
  EXPECT_NEAR(U[1][1], 0.8 / 1.8, 1e-12);
  double one = 1.0, u1 = 0.0, *S1 = &one, *U1 = &u1;
  int single[] = {3};
  FuzzyBelonging(1, 1, &S1, single, &U1, false);
  EXPECT_EQ(u1, 1.0) << "n = 1";
  Mat own(3, 3);
  FuzzyBelonging(3, 3, S, nullptr, own, false);
  ExpectRowsSumToOne(3, 3, own, "each object its own group");
  EXPECT_NEAR(own[0][0], 1.0 / 2.6, 1e-12);
}

TEST(SimilarityBelonging, FlagsDoNotDependOnThreads) {
  // Objects 2, 3 and 4 are identical in pairs (2,3) and (3,4), not (2,4).
  // In index order object 2 flags 3, and 4 stays: a thread starting at row 3
  // must not flag 4 first.
  const int n = 6;
  Mat S(n, n);
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) S[i][j] = i == j ? 1.0 : 0.5;
  S[2][3] = 1.0;
  S[3][4] = 1.0;
  S[2][4] = 0.9;
  int part[] = {1, 1, 1, 1, 1, 2};
  Mat U(n, 2);
  int saved = omp_get_max_threads();
  for (int threads = 1; threads <= 3; threads++) {
    omp_set_num_threads(threads);
    for (int i = 0; i < n; i++)
      for (int j = i + 1; j < n; j++) S[j][i] = 0.0;
    FuzzyBelonging(n, 2, S, part, U, false);
    // Object 4: (0.5 + 0.5 + 0.9 + 1) / 4 in its group, 0.5 in the other.
    EXPECT_NEAR(U[4][0], 0.725 / 1.225, 1e-12) << threads << " threads";
    // Object 3 is flagged: it skips its representative 2 and counts itself.
    EXPECT_NEAR(U[3][0], (0.5 + 0.5 + 1.0 + 1.0) / 4 / (0.75 + 0.5), 1e-12) << threads << " threads";
    ExpectRowsSumToOne(n, 2, U, "thread test");
  }
  omp_set_num_threads(saved);
}

TEST(SimilarityPartitions, CrispIdenticalsAndTrimming) {
  Mat C(3, 2);
  int part[] = {7, 3, 7};
  EXPECT_TRUE(CrispBelonging(3, 2, part, C));
  EXPECT_EQ(C[0][1] + C[1][0] + C[2][1], 3.0) << "groups in the order of the sorted labels";
  EXPECT_EQ(C[0][0] + C[1][1] + C[2][0], 0.0);

  Sym S(4, {0.3, 1.0, 0.2, 0.4, 0.6, 1.0});
  int labels[4], g;
  ClusterIdenticals(4, S, labels, &g, false);
  ASSERT_EQ(g, 2);
  ExpectInts(labels, {1, 2, 1, 1}, "object");
  S[0][2] = 1.0 - 1e-12;
  ClusterIdenticals(4, S, labels, &g, false);
  EXPECT_EQ(g, 3) << "equality is exact";
  S[1][3] = 0.0;
  ClusterIdenticals(4, S, labels, &g, true);
  EXPECT_EQ(labels[3], 2) << "as dissimilarities, 0 joins objects 2 and 4";

  int groups[] = {1, 2, 1, 3};
  Mat T(3, 3);
  TrimRese(4, 3, groups, S, T);
  EXPECT_EQ(T[0][2], 0.2) << "objects 1 and 4 stand for groups 1 and 3";
  EXPECT_EQ(T[0][1], 0.3);
  EXPECT_EQ(T[1][0], 0.0) << "upper triangle only";
}

TEST(SimilarityPartitions, NearestNeighbourDistanceBetweenGroups) {
  Sym D(4, {0.3, 0.9, 0.4, 0.7, 0.8, 0.2});
  int group[] = {1, 1, 2, 2}, all[] = {1, 1, 1, 1}, some[] = {1, 1, 1, 0};
  EXPECT_NEAR(NearNeighDist(4, D, group, all), 2.2 / 4, 1e-12);
  EXPECT_NEAR(NearNeighDist(4, D, group, some), 2.3 / 3, 1e-12);
  int oneGroup[] = {1, 1, 1, 1};
  EXPECT_TRUE(std::isnan(NearNeighDist(4, D, oneGroup, all)));
}

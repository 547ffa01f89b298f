// Unit tests of the kernels of the search for Rao entropy criteria: entropies of all communities at once, and the similarities of the first types' OTUs.
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "ranking/rankSearch.h"
#include "scaling/community.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

// Uniform numbers in [0, 1) from a generator whose output the standard fixes.
struct Uniform {
  std::mt19937 gen;
  explicit Uniform(unsigned seed) : gen(seed) {}
  double Next() { return gen() / 4294967296.0; }
};

}  // namespace

TEST(RankingRao, EntropiesOfTheFirstOTUsByHand) {
  // Two OTUs of similarity 0.25 in equal shares: 2 (0.5 0.5 0.75); the third
  // OTU lies beyond g and is not counted, not even in the total.
  Mat W(2, 3, {1, 1, 2,
               3, 0, 0});
  Mat S(3, 3, {1, 0.25, 0.9,
               0.25, 1, 0.9,
               0.9, 0.9, 1});
  Mat R(2, 1);
  double distances[4], shares[2];
  RankRaoEntropies(2, 2, W, S, false, distances, shares, R);
  EXPECT_DOUBLE_EQ(R[0][0], 0.375);
  EXPECT_EQ(R[1][0], 0.0) << "a community of one OTU has no entropy";
  RankRaoEntropies(2, 2, W, S, true, distances, shares, R);
  EXPECT_DOUBLE_EQ(R[0][0], 0.5 * sqrt(0.75));
}

TEST(RankingRao, EntropiesMatchRaoIndexBitForBit) {
  const int n = 7, rows = 6;
  Uniform g(29);
  Mat W(rows, n), S(n, n);
  for (int c = 0; c < rows; c++)
    for (int i = 0; i < n; i++) W[c][i] = g.Next() < 0.3 ? 0.0 : 1.0 + 9.0 * g.Next();
  W[2][1] = M;                                  // a missing abundance
  for (int i = 0; i < n; i++) W[4][i] = 0.0;    // an empty community
  for (int i = 0; i < n; i++)
    for (int j = i; j < n; j++) S[i][j] = S[j][i] = i == j ? 1.0 : 0.1 + 0.8 * g.Next();
  S[0][3] = M;                                  // a pair without similarity, upper triangle only
  Mat R(rows, 1), copy(n, n);
  std::vector<double> distances(n * n), shares(n);
  for (int sqrtDissim = 0; sqrtDissim <= 1; sqrtDissim++)
    for (int types : {3, 5, n}) {
      RankRaoEntropies(types, rows, W, S, sqrtDissim != 0, distances.data(), shares.data(), R);
      for (int c = 0; c < rows; c++) {
        for (int i = 0; i < n; i++)
          for (int j = 0; j < n; j++) copy[i][j] = S[i][j];
        double want = RaoIndex(types, W[c], copy, false, sqrtDissim != 0);
        EXPECT_EQ(R[c][0], want) << "community " << c << ", " << types << " types";
      }
    }
}

TEST(RankingRao, LeadingSimilarityIsTheCornerOfTheWholeMatrix) {
  const int n = 6, p = 4;
  Uniform g(5);
  for (int withMissing = 1; withMissing >= 0; withMissing--) {
    double*** cube = dim3Double(n, n, p);
    for (int i = 0; i < n; i++)
      for (int j = i; j < n; j++)
        for (int t = 0; t < p; t++) {
          double u = g.Next();
          cube[i][j][t] = withMissing && (u < 0.25 || (i == 0 && j == 2)) ? M : u * 0.95;
        }
    RankCube c;
    RankCubeBuild(&c, p, n, cube);
    RankPrefix entries, counts;
    RankPrefixAlloc(&entries, p, c.pairs);
    RankPrefixAlloc(&counts, p, c.pairs);
    std::vector<double> values(c.pairs);
    Mat whole(n, n), corner(n, n);
    int mask[p];
    std::vector<int> list(p);
    for (int k = 1; k <= p; k++) {
      long long m = RankCombinations(p, k);
      for (long long i = 0; i < m; i++) {
        PermuteArray(p, k, list.data(), i == 0);
        for (int t = 0; t < p; t++) mask[t] = 0;
        for (int j = 0; j < k; j++) mask[list[j] - 1] = 1;
        RankSubset s = {k, list.data(), mask, 3, 0, false};
        RankSimilarity(&c, &s, &entries, &counts, whole, values.data());
        for (int types : {2, 4, n}) {
          RankLeadingSimilarity(&c, &s, types, corner);
          for (int a = 0; a < types; a++)
            for (int b = 0; b < types; b++)
              EXPECT_EQ(corner[a][b], whole[a][b]) << "S of " << k << " traits";
        }
      }
    }
    if (withMissing) {
      EXPECT_EQ(corner[0][2], M) << "a pair that no trait describes stays missing";
    }
    RankPrefixFree(&entries);
    RankPrefixFree(&counts);
    RankCubeFree(&c);
    free3D(cube, n, n);
  }
}

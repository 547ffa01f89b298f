// Unit tests of the random generator's lists and of the combination enumerator.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "TarnLib/tarnlibRandom.h"

namespace {

std::vector<int> Sorted(const int* list, int n) {
  std::vector<int> v(list, list + n);
  std::sort(v.begin(), v.end());
  return v;
}

std::vector<int> Iota(int n) {
  std::vector<int> v(n);
  for (int i = 0; i < n; i++) v[i] = i + 1;
  return v;
}

// One draw of every list kind, in a fixed order, concatenated.
std::vector<int> DrawEverything(unsigned long seed) {
  InitRndNumberGenerator(seed);
  std::vector<int> all;
  int list[15];
  RndList(11, list);
  all.insert(all.end(), list, list + 11);
  for (int i = 0; i < 7; i++) list[i] = 10 * i + 3;
  RndListSpecified(7, list);
  all.insert(all.end(), list, list + 7);
  RndListPartial(7, list);
  all.insert(all.end(), list, list + 7);
  RndListBootstrap(6, list);
  all.insert(all.end(), list, list + 6);
  RndListBootstrapN(4, 9, list);
  all.insert(all.end(), list, list + 9);
  int groups[8] = {5, 2, 5, 9, 2, 9, 5, 2};
  RndListNestedNew(8, groups, 1, list);
  all.insert(all.end(), list, list + 8);
  RndListMantelRestricted(10, list, 5);
  all.insert(all.end(), list, list + 10);
  all.push_back(RndIntegers(-4, 17));
  return all;
}

}  // namespace

TEST(TarnlibRandomLists, SameSeedGivesSameListsAndOtherSeedsDiffer) {
  std::vector<int> first = DrawEverything(4093);
  std::vector<int> second = DrawEverything(4093);
  EXPECT_EQ(first, second);
  EXPECT_NE(first, DrawEverything(4094));
}

TEST(TarnlibRandomLists, ShuffleDrawsFromTheFrontWithShrinkingRanges) {
  // The draw order is what makes runs repeatable: place i is exchanged with
  // place i + U(n - i), for i = 0 .. n-2.
  const int n = 9;
  gsl_rng* twin = gsl_rng_alloc(gsl_rng_mt19937);
  gsl_rng_set(twin, 77);
  std::vector<int> expected = Iota(n);
  for (int i = 0; i < n - 1; i++)
    std::swap(expected[i], expected[i + gsl_rng_uniform_int(twin, n - i)]);
  InitRndNumberGenerator(77);
  int list[n];
  RndList(n, list);
  EXPECT_EQ(expected, std::vector<int>(list, list + n));
  // The next draw of both generators must coincide: no extra draw was taken.
  EXPECT_EQ(gsl_rng_uniform_int(twin, 1000), gsl_rng_uniform_int(r, 1000));
  gsl_rng_free(twin);
}

TEST(TarnlibRandomLists, ShortListsDrawNothing) {
  InitRndNumberGenerator(31);
  unsigned long reference = gsl_rng_uniform_int(r, 100000);
  InitRndNumberGenerator(31);
  int list[2] = {-5, -5};
  RndList(0, list);
  EXPECT_EQ(-5, list[0]);
  RndList(1, list);
  EXPECT_EQ(1, list[0]);
  bool none[4] = {false, false, false, false};
  int held[4] = {4, 3, 2, 1};
  RndListSelect(4, held, none);
  EXPECT_EQ((std::vector<int>{4, 3, 2, 1}), std::vector<int>(held, held + 4));
  EXPECT_EQ(reference, gsl_rng_uniform_int(r, 100000)) << "a draw was consumed";
  EXPECT_EQ(3, RndIntegers(3, 3));
}

TEST(TarnlibRandomLists, SelectShufflesOnlyTheSelectedPlaces) {
  InitRndNumberGenerator(12);
  bool select[8] = {true, false, true, true, false, false, true, true};
  bool seenMove = false;
  for (int rep = 0; rep < 30; rep++) {
    int list[8];
    for (int i = 0; i < 8; i++) list[i] = i + 1;
    RndListSelect(8, list, select);
    std::vector<int> chosen;
    for (int i = 0; i < 8; i++) {
      if (!select[i])
        EXPECT_EQ(i + 1, list[i]) << "unselected place " << i << " changed";
      else
        chosen.push_back(list[i]);
      if (list[i] != i + 1) seenMove = true;
    }
    std::sort(chosen.begin(), chosen.end());
    EXPECT_EQ((std::vector<int>{1, 3, 4, 7, 8}), chosen);
  }
  EXPECT_TRUE(seenMove);
}

TEST(TarnlibRandomNested, WithinGroupsNoObjectLeavesItsGroup) {
  int groups[10] = {7, -3, 12, 7, 7, -3, 12, 12, 7, -3};
  InitRndNumberGenerator(555);
  for (int rep = 0; rep < 100; rep++) {
    int list[10];
    RndListNestedNew(10, groups, 1, list);
    EXPECT_EQ(Iota(10), Sorted(list, 10));
    for (int i = 0; i < 10; i++)
      EXPECT_EQ(groups[i], groups[list[i] - 1]) << "object " << list[i] << " moved to place " << i;
  }
}

TEST(TarnlibRandomNested, BlocksMoveWholeOnlyWhenGroupsHaveEqualSizes) {
  int unequal[6] = {1, 1, 2, 2, 2, 3};
  InitRndNumberGenerator(9);
  for (int rep = 0; rep < 20; rep++) {
    int list[6];
    RndListNestedNew(6, unequal, 2, list);
    EXPECT_EQ(Iota(6), std::vector<int>(list, list + 6));
  }
  // Equal groups of 3, interleaved: block moves keep the member order.
  int groups[9] = {4, 8, 6, 4, 8, 6, 4, 8, 6};
  bool sawExchange = false;
  for (int rep = 0; rep < 40; rep++) {
    int list[9];
    RndListNestedNew(9, groups, 2, list);
    EXPECT_EQ(Iota(9), Sorted(list, 9));
    for (int g = 0; g < 3; g++) {
      // members of the group at places g, g+3, g+6 come from one group, in order
      int source = (list[g] - 1) % 3;
      for (int m = 0; m < 3; m++) EXPECT_EQ(source + 3 * m + 1, list[g + 3 * m]);
      if (source != g) sawExchange = true;
    }
  }
  EXPECT_TRUE(sawExchange);
}

TEST(TarnlibRandomMantel, PairListFollowsOnePermutationOfObjects) {
  const int n = 5, nPairs = 10;
  int pairNumber[n][n];
  int k = 0;
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) pairNumber[i][j] = pairNumber[j][i] = ++k;
  InitRndNumberGenerator(321);
  for (int rep = 0; rep < 20; rep++) {
    int list[nPairs];
    RndListMantelRestricted(nPairs, list, n);
    EXPECT_EQ(Iota(nPairs), Sorted(list, nPairs));
    std::vector<int> perm = {0, 1, 2, 3, 4};
    bool explained = false;
    do {
      bool all = true;
      k = 0;
      for (int i = 0; i < n && all; i++)
        for (int j = i + 1; j < n; j++)
          if (list[k++] != pairNumber[perm[i]][perm[j]]) {
            all = false;
            break;
          }
      explained = all;
    } while (!explained && std::next_permutation(perm.begin(), perm.end()));
    EXPECT_TRUE(explained) << "pair list is not an object permutation";
  }
}

TEST(TarnlibRandomCombinations, FourChooseTwoInLexicographicOrder) {
  const int expected[6][4] = {{1, 2, 3, 4}, {1, 3, 2, 4}, {1, 4, 2, 3},
                              {2, 3, 1, 4}, {2, 4, 1, 3}, {3, 4, 1, 2}};
  for (int run = 0; run < 2; run++) {  // a second run starts clean
    int out[4];
    for (int c = 0; c < 6; c++) {
      long long counter = PermuteArray(4, 2, out, c == 0);
      EXPECT_EQ(c + 1, counter);
      EXPECT_EQ(std::vector<int>(expected[c], expected[c] + 4), std::vector<int>(out, out + 4))
          << "combination " << c + 1;
    }
  }
  int out[3];
  EXPECT_EQ(1, PermuteArray(3, 3, out, true));
  EXPECT_EQ((std::vector<int>{1, 2, 3}), std::vector<int>(out, out + 3));
  // Past 170! the factorials overflow: 200 choose 2 still counts 19900.
  std::vector<int> big(200);
  EXPECT_EQ(1, PermuteArray(200, 2, big.data(), true));
  EXPECT_EQ(2, PermuteArray(200, 2, big.data(), false)) << "the enumeration stopped after one";
  EXPECT_EQ(1, big[0]);
  EXPECT_EQ(3, big[1]);
}

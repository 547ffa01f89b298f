// Unit tests of hierarchical clustering, partition cutting and label renumbering.
#include <cmath>

#include <gtest/gtest.h>

#include "TarnLib/tarnlibCluster.h"
#include "TarnLib/tarnlibDim.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

// Upper-triangular distances between points on a line.
double** LineDistances(int n, const double* x, bool squared) {
  double** d = dim2Double(n, n);
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) d[i][j] = squared ? (x[i] - x[j]) * (x[i] - x[j]) : fabs(x[i] - x[j]);
  return d;
}

clusterReport* NewReport(int n) {
  clusterReport* r = (clusterReport*)dim1D(sizeof(clusterReport), n - 1);
  for (int k = 0; k < n - 1; k++) r[k].members = dim1Dint(n);
  return r;
}

void FreeReport(clusterReport* r, int n) {
  for (int k = 0; k < n - 1; k++) free1D(r[k].members);
  free1D(r);
}

void ExpectLevels(clusterReport* r, const double* want, int count, const char* what) {
  for (int k = 0; k < count; k++) EXPECT_NEAR(r[k].level, want[k], 1e-6) << what << ", fusion " << k;
}

} // namespace

TEST(ClusterLinkage, FourPointsOnALineByEachMethod) {
  const double x[] = {0, 1, 3, 7};
  double** d = LineDistances(4, x, false);
  clusterReport* r = NewReport(4);
  LinkageCluster(4, d, r, true, false, 1, true);
  const double single[] = {1, 2, 4}, complete[] = {1, 3, 7}, wpgma[] = {1, 2.5, 5.25}, upgma[] = {1, 2.5, 17.0 / 3.0};
  ExpectLevels(r, single, 3, "single linkage");
  ExpectInts(r[2].members, {1, 2, 3, 4}, "last record's members");
  EXPECT_EQ(r[2].size, 4);
  EXPECT_EQ(r[1].lastOfFirst, 2);
  EXPECT_EQ(d[0][1], 1.0) << "with copy the input is kept";
  LinkageCluster(4, d, r, true, false, 2, true);
  ExpectLevels(r, complete, 3, "complete linkage");
  // {1,2} to 3: (3 + 2) / 2; then {1,2,3} to 4: ((7 + 6) / 2 + 4) / 2 by pairs, (7 + 6 + 4) / 3 by objects.
  LinkageCluster(4, d, r, true, false, 5, true);
  ExpectLevels(r, wpgma, 3, "WPGMA");
  LinkageCluster(4, d, r, true, false, 4, false);
  ExpectLevels(r, upgma, 3, "UPGMA on the input itself");
  FreeReport(r, 4);
  free2D(d, 4);
}

TEST(ClusterLinkage, TiesSimilaritiesAndSquaredInput) {
  // Pairs (0,1), (0,2) and (2,3) all at 1.5: the first in row order wins, and
  // then group {1,2} to object 3 (min(1.5, 4.4)) beats (3,4) at the same value.
  const double up[] = {0, 1.5, 1.5, 9.1, 0, 0, 4.4, 8.2, 0, 0, 0, 1.5, 0, 0, 0, 0};
  Mat d(4, 4);
  for (int k = 0; k < 16; k++) d[k / 4][k % 4] = up[k];
  clusterReport* r = NewReport(4);
  LinkageCluster(4, d, r, true, false, 1, true);
  ExpectInts(r[0].members, {1, 2}, "first fusion");
  ExpectInts(r[1].members, {1, 2, 3}, "second fusion");

  // Similarities: the largest value fuses first and levels fall, in float precision.
  Mat s(3, 3);
  s[0][1] = 0.35;
  s[0][2] = 0.8;
  s[1][2] = 0.6;
  LinkageCluster(3, s, r, false, false, 1, true);
  EXPECT_EQ(r[0].level, (double)0.8f);
  EXPECT_EQ(r[1].level, (double)0.6f);

  // Squared distances of 0, 1, 3: UPGMA averages the distances and keeps the
  // plain average; single linkage reports the root of the squared level.
  const double x[] = {0, 1, 3};
  double** q = LineDistances(3, x, true);
  LinkageCluster(3, q, r, true, true, 4, true);
  EXPECT_EQ(r[1].level, 2.5);
  LinkageCluster(3, q, r, true, true, 1, true);
  EXPECT_EQ(r[1].level, 2.0);
  FreeReport(r, 4);
  free2D(q, 3);
}

TEST(ClusterSumSq, WardLevelsOnALine) {
  const double x[] = {0, 1, 3, 7};
  double** d = LineDistances(4, x, false);
  clusterReport* r = NewReport(4);
  SumSqCluster(4, d, r, false);
  const double levels[] = {0.5, 14.0 / 3.0, 28.75};
  ExpectLevels(r, levels, 3, "Ward");
  EXPECT_NEAR(r[1].cost, 25.0 / 6.0, 1e-6);
  EXPECT_NEAR(r[1].increaseFirst, 14.0 / 3.0 - 0.5, 1e-6);
  EXPECT_NEAR(r[1].increaseSecond, 14.0 / 3.0, 1e-6);
  EXPECT_NEAR(r[2].level - r[1].level, r[2].cost, 1e-5) << "the level grows by the cost";
  EXPECT_EQ(d[0][1], 1.0) << "the input is kept";
  double** d2 = LineDistances(4, x, true);
  SumSqCluster(4, d2, r, true);
  ExpectLevels(r, levels, 3, "already squared input");
  FreeReport(r, 4);
  free2D(d, 4);
  free2D(d2, 4);
}

TEST(ClusterPartition, CuttingTheHistoryAndRenaming) {
  const double x[] = {0, 1, 3, 7};
  double** d = LineDistances(4, x, false);
  clusterReport* r = NewReport(4);
  LinkageCluster(4, d, r, true, false, 1, true);
  int labels[6];
  GetClusterPartitionNew(4, 2, labels, r, 1);
  ExpectInts(labels, {1, 1, 1, 2}, "k = 2");
  GetClusterPartitionNew(4, 1, labels, r, 1);
  ExpectInts(labels, {1, 1, 1, 1}, "k = 1");
  GetClusterPartitionNew(4, 4, labels, r, 1);
  ExpectInts(labels, {1, 2, 3, 4}, "k = n");

  // Points 0, 1, 2, 3, 100, 103: the pair (100, 103) fuses after {0, 1, 2, 3}
  // but at a lower level (4.5 against 5); with sum of squares the cut takes
  // fusions by level, the other methods by fusion order.
  const double y[] = {0, 1, 2, 3, 100, 103};
  double** e = LineDistances(6, y, false);
  clusterReport* r6 = NewReport(6);
  SumSqCluster(6, e, r6, false);
  ASSERT_NEAR(r6[3].level, 4.5, 1e-6);
  GetClusterPartitionNew(6, 3, labels, r6, 3);
  ExpectInts(labels, {1, 1, 2, 2, 3, 3}, "sum of squares, k = 3");
  GetClusterPartitionNew(6, 3, labels, r6, 1);
  ExpectInts(labels, {1, 1, 1, 1, 2, 3}, "fusion order, k = 3");

  int gaps[] = {2, 5, 2, 9}, more[] = {4, 4, 7};
  RenamePartitionLabels(4, 3, gaps);
  ExpectInts(gaps, {1, 2, 1, 3}, "renamed labels");
  RenamePartitionLabels(3, 5, more); // a k above the true count must still end
  ExpectInts(more, {1, 1, 2}, "renamed with too large a k");
  FreeReport(r6, 6);
  FreeReport(r, 4);
  free2D(e, 6);
  free2D(d, 4);
}

TEST(ClusterEigen, TwoVectorCrossProducts) {
  // C = [[8.5, -1.75], [-1.75, 1.25]]: trace 9.75, determinant 7.5625.
  double a[] = {1.5, 2.5}, b[] = {0.5, -1.0};
  double first, second, v1[2], v2[2], only;
  EXPECT_TRUE(HierFactorialEigen(2, a, b, &first, &second, v1, v2));
  EXPECT_NEAR(first + second, 9.75, 1e-10);
  EXPECT_NEAR(first * second, 7.5625, 1e-10);
  EXPECT_GT(first, second);
  EXPECT_NEAR(8.5 * v2[0] - 1.75 * v2[1], second * v2[0], 1e-10) << "C v = lambda v, second";
  EXPECT_NEAR(-1.75 * v1[0] + 1.25 * v1[1], first * v1[1], 1e-10) << "C v = lambda v, first";
  HierFactorialEigen(2, a, b, nullptr, &only, nullptr, nullptr);
  EXPECT_EQ(only, second);
}

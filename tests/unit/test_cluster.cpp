// Unit tests of hierarchical clustering, partition cutting and label renumbering.
#include <cmath>

#include <gtest/gtest.h>

#include "TarnLib/tarnlibCluster.h"
#include "TarnLib/tarnlibDim.h"

namespace {

// Upper-triangular distances between points on a line.
double** LineDistances(int n, const double* x, bool squared) {
  double** d = dim2Double(n, n);
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) {
      double v = fabs(x[i] - x[j]);
      d[i][j] = squared ? v * v : v;
    }
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

} // namespace

TEST(ClusterLinkage, FourPointsOnALine) {
  const double x[] = {0, 1, 3, 7};
  double** d = LineDistances(4, x, false);
  clusterReport* r = NewReport(4);
  LinkageCluster(4, d, r, true, false, 1, true);
  EXPECT_EQ(r[0].level, 1.0);
  EXPECT_EQ(r[1].level, 2.0);
  EXPECT_EQ(r[2].level, 4.0);
  EXPECT_EQ(r[2].size, 4);
  const int members[] = {1, 2, 3, 4};
  for (int k = 0; k < 4; k++) EXPECT_EQ(r[2].members[k], members[k]) << "member " << k;
  EXPECT_EQ(r[1].lastOfFirst, 2);
  EXPECT_EQ(r[0].cost, 0.0) << "linkage methods leave cost at 0";
  EXPECT_EQ(d[0][1], 1.0) << "with copy the input is kept";

  LinkageCluster(4, d, r, true, false, 2, true); // complete linkage
  EXPECT_EQ(r[1].level, 3.0);
  EXPECT_EQ(r[2].level, 7.0);
  LinkageCluster(4, d, r, true, false, 5, true); // WPGMA
  // {1,2} to 3: (3 + 2) / 2 = 2.5 < 4, then {1,2,3} to 4: ((7 + 6) / 2 + 4) / 2
  EXPECT_EQ(r[1].level, 2.5);
  EXPECT_EQ(r[2].level, 5.25);
  FreeReport(r, 4);
  free2D(d, 4);
}

TEST(ClusterLinkage, TiesGoToTheLowestPair) {
  // Pairs (0,1), (0,2) and (2,3) all at 1.5: the first, in row order, wins.
  double** d = dim2Double(4, 4);
  d[0][1] = 1.5;
  d[0][2] = 1.5;
  d[0][3] = 9.1;
  d[1][2] = 4.4;
  d[1][3] = 8.2;
  d[2][3] = 1.5;
  clusterReport* r = NewReport(4);
  LinkageCluster(4, d, r, true, false, 1, false);
  EXPECT_EQ(r[0].members[0], 1);
  EXPECT_EQ(r[0].members[1], 2);
  // Group {1,2} (row 0) to object 3 (now row 1) is min(1.5, 4.4) = 1.5, as is (3,4): row 0 wins.
  EXPECT_EQ(r[1].members[2], 3);
  EXPECT_EQ(r[1].size, 3);
  FreeReport(r, 4);
  free2D(d, 4);
}

TEST(ClusterLinkage, SimilaritiesTwoObjectsAndSquaredAverages) {
  double** s = dim2Double(3, 3);
  s[0][1] = 0.35;
  s[0][2] = 0.8;
  s[1][2] = 0.6;
  clusterReport* r = NewReport(3);
  LinkageCluster(3, s, r, false, false, 1, true);
  EXPECT_EQ(r[0].level, (double)0.8f) << "level rounded to float";
  EXPECT_EQ(r[1].level, (double)0.6f) << "similarity levels fall";
  FreeReport(r, 3);
  free2D(s, 3);

  double** two = dim2Double(2, 2);
  two[0][1] = 2.385;
  clusterReport* r2 = NewReport(2);
  LinkageCluster(2, two, r2, true, false, 4, true);
  EXPECT_EQ(r2[0].level, (double)2.385f);
  EXPECT_EQ(r2[0].size, 2);
  FreeReport(r2, 2);
  free2D(two, 2);

  // Squared distances of 0, 1, 3; UPGMA averages the distances themselves
  // and reports the plain average.
  const double x[] = {0, 1, 3};
  double** d = LineDistances(3, x, true);
  clusterReport* r3 = NewReport(3);
  LinkageCluster(3, d, r3, true, true, 4, true);
  EXPECT_EQ(r3[0].level, 1.0);
  EXPECT_EQ(r3[1].level, 2.5);
  LinkageCluster(3, d, r3, true, true, 1, true);
  EXPECT_EQ(r3[1].level, 2.0) << "single linkage reports the root of a squared level";
  FreeReport(r3, 3);
  free2D(d, 3);
}

TEST(ClusterSumSq, WardLevelsOnALine) {
  const double x[] = {0, 1, 3, 7};
  double** d = LineDistances(4, x, false);
  clusterReport* r = NewReport(4);
  SumSqCluster(4, d, r, false);
  EXPECT_NEAR(r[0].level, 0.5, 1e-6);
  EXPECT_NEAR(r[1].level, 14.0 / 3.0, 1e-6);
  EXPECT_NEAR(r[2].level, 28.75, 1e-6) << "within sum of squares of all four points";
  EXPECT_NEAR(r[1].cost, 25.0 / 6.0, 1e-6);
  EXPECT_NEAR(r[1].increaseFirst, 14.0 / 3.0 - 0.5, 1e-6);
  EXPECT_NEAR(r[1].increaseSecond, 14.0 / 3.0, 1e-6);
  for (int k = 1; k < 3; k++)
    EXPECT_NEAR(r[k].level - r[k - 1].level, r[k].cost, 1e-5) << "Ward: level grows by the cost, fusion " << k;
  EXPECT_EQ(d[0][1], 1.0) << "the input is kept";

  // Already squared input gives the same history.
  double** d2 = LineDistances(4, x, true);
  clusterReport* r2 = NewReport(4);
  SumSqCluster(4, d2, r2, true);
  for (int k = 0; k < 3; k++) EXPECT_EQ(r2[k].level, r[k].level) << "fusion " << k;
  FreeReport(r, 4);
  FreeReport(r2, 4);
  free2D(d, 4);
  free2D(d2, 4);
}

TEST(ClusterPartition, CuttingTheHistory) {
  const double x[] = {0, 1, 3, 7};
  double** d = LineDistances(4, x, false);
  clusterReport* r = NewReport(4);
  LinkageCluster(4, d, r, true, false, 1, true);
  int labels[4];
  GetClusterPartitionNew(4, 2, labels, r, 1);
  const int two[] = {1, 1, 1, 2};
  for (int i = 0; i < 4; i++) EXPECT_EQ(labels[i], two[i]) << "k = 2, object " << i;
  GetClusterPartitionNew(4, 1, labels, r, 1);
  for (int i = 0; i < 4; i++) EXPECT_EQ(labels[i], 1) << "k = 1, object " << i;
  GetClusterPartitionNew(4, 4, labels, r, 1);
  for (int i = 0; i < 4; i++) EXPECT_EQ(labels[i], i + 1) << "k = n, object " << i;

  // Points 0, 1, 2, 3, 100, 103: the pair (100, 103) fuses after {0, 1, 2, 3}
  // but at a lower level (4.5 against 5); the cut takes fusions by level.
  const double y[] = {0, 1, 2, 3, 100, 103};
  double** e = LineDistances(6, y, false);
  clusterReport* r6 = NewReport(6);
  SumSqCluster(6, e, r6, false);
  ASSERT_NEAR(r6[2].level, 5.0, 1e-6);
  ASSERT_NEAR(r6[3].level, 4.5, 1e-6);
  int labels6[6];
  GetClusterPartitionNew(6, 3, labels6, r6, 3);
  const int three[] = {1, 1, 2, 2, 3, 3};
  for (int i = 0; i < 6; i++) EXPECT_EQ(labels6[i], three[i]) << "sum of squares, k = 3, object " << i;
  GetClusterPartitionNew(6, 3, labels6, r6, 1); // fusion order, as for linkage methods
  const int inOrder[] = {1, 1, 1, 1, 2, 3};
  for (int i = 0; i < 6; i++) EXPECT_EQ(labels6[i], inOrder[i]) << "fusion order, k = 3, object " << i;
  FreeReport(r6, 6);
  free2D(e, 6);
  FreeReport(r, 4);
  free2D(d, 4);
}

TEST(ClusterPartition, RenameLabels) {
  int labels[] = {2, 5, 2, 9};
  RenamePartitionLabels(4, 3, labels);
  const int want[] = {1, 2, 1, 3};
  for (int i = 0; i < 4; i++) EXPECT_EQ(labels[i], want[i]) << "object " << i;
  int more[] = {4, 4, 7};
  RenamePartitionLabels(3, 5, more); // a k larger than the true count must still end
  EXPECT_EQ(more[0], 1);
  EXPECT_EQ(more[2], 2);
}

TEST(ClusterEigen, TwoVectorCrossProducts) {
  double a[] = {1.5, 2.5}, b[] = {0.5, -1.0};
  double first, second, v1[2], v2[2];
  EXPECT_TRUE(HierFactorialEigen(2, a, b, &first, &second, v1, v2));
  EXPECT_NEAR(first + second, 9.75, 1e-10) << "trace";
  EXPECT_NEAR(first * second, 7.5625, 1e-10) << "determinant";
  EXPECT_GT(first, second);
  // Each vector satisfies C v = lambda v for C = [[8.5, -1.75], [-1.75, 1.25]].
  EXPECT_NEAR(8.5 * v2[0] - 1.75 * v2[1], second * v2[0], 1e-10);
  EXPECT_NEAR(-1.75 * v1[0] + 1.25 * v1[1], first * v1[1], 1e-10);
  double only;
  HierFactorialEigen(2, a, b, nullptr, &only, nullptr, nullptr);
  EXPECT_EQ(only, second);
}

// Hierarchical agglomerative clustering of a resemblance matrix and the cutting of its fusion history.
#ifndef TARNLIB_CLUSTER_H
#define TARNLIB_CLUSTER_H

// One fusion of a clustering; n objects give n - 1 records in fusion order.
// The caller allocates the records (zero-filled) and a `members` array of n
// ints for each.
struct clusterReport {
  double level;          // fusion level, rounded to float precision
  double cost;           // sum of squares: increase of the criterion (float precision); 0 otherwise
  int size;              // objects in the new group
  int* members;          // one-based objects: first parent's, then second parent's
  int lastOfFirst;       // last member of the first parent
  double increaseFirst;  // sum of squares: new within-group SS per object minus the first parent's
  double increaseSecond; // the same for the second parent
};

// Methods: 1 single, 2 complete, 4 UPGMA, 5 WPGMA linkage; 3 sum of squares.
// Only the upper triangle (i < j) of `d` is read. With `copy` false, `d` is
// used as work matrix and destroyed.
void LinkageCluster(int n, double** d, clusterReport* report, bool dissimilarity, bool squared,
                    int method, bool copy);
// Ward's criterion on squared dissimilarities (squared here unless `squared`); `d` is kept.
void SumSqCluster(int n, double** d, clusterReport* report, bool squared);
// One update of the n-group matrix after fusing groups a < b; removes b.
void LinkageFusion(int n, int* sizes, int a, int b, double** d, bool dissimilarity, int method);
// Lance-Williams centroid update for the sum-of-squares method; removes b.
void FusionMatrix(int n, int* sizes, int a, int b, double** d, bool dissimilarity);
// Cuts the history into k groups, labels 1..k.
void GetClusterPartitionNew(int n, int k, int* labels, clusterReport* report, int method);
// Compacts labels to 1..k in place, order kept; k must be the true number of distinct labels.
void RenamePartitionLabels(int n, int k, int* labels);
// Eigenanalysis of the 2 x 2 cross-product matrix of a and b; first,
// vectorFirst and vectorSecond (2 values each) may be null. Returns the
// eigen routine's verdict (false: a clearly negative eigenvalue).
bool HierFactorialEigen(int n, double* a, double* b, double* first, double* second, double* vectorFirst,
                        double* vectorSecond);

#endif

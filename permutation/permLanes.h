// The inner loops of a permutation iteration four lanes to a vector, on
// processors with AVX2: each lane does the operations of one pair, one sum
// or one column in the same order as the scalar loops, so the results are
// theirs, bit for bit.
#ifndef PERMUTATION_PERMLANES_H
#define PERMUTATION_PERMLANES_H

extern bool permTestWideLanes;  // the processor has AVX2 and the wide lanes are in use

// One matrix of Euclidean distances between the n rows of data given by
// columns: data[k n + i] is column k of row i; D receives the diagonal and
// the pairs i < j; total receives the sum of those pairs in pair order.
struct LaneMatrix {
  int cols;
  const double* data;
  double** D;
  double total;
};

// The distances of a and b and, when r is not NULL, DR = |r[i] - r[j]| with
// the sum of its pairs in *totalR: one pass over the rows, so that the
// three sums in pair order run side by side. The caller checks
// permTestWideLanes first.
void LaneDistances(int n, LaneMatrix* a, LaneMatrix* b, const double* r, double** DR, double* totalR);

// Mantel's second pass over the pairs i < j of DT, DX and DR together, with
// their means mT, mX, mR and the centred pairs eyze (E, Y, Z, E of each
// pair): sums[0..12] = tE, tY, tZ, xE, xT, xY, xZ, rE, rX, rT, sT, sX, sR,
// where t, x, r are the centred pairs of DT, DX, DR, s a sum of squares,
// each sum in pair order.
void LaneCrossSums(int n, double** DT, double** DX, double** DR, double mT, double mX, double mR,
                   const double* eyze, double* sums);

// out[k] for k < 4 vecs: the sum over x < m of a[x] rows[x][k], each
// column's sum in the order of x (every row holds 4 vecs columns).
void LaneProducts(int m, const double* a, double* const* rows, int vecs, double* out);

#endif

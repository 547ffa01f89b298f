// The hot loops of permutation iterations and subset searches, over plain
// arrays: distances between communities, Rao entropies, products over the
// occurrences and Mantel's cross sums. Each loop comes in a portable two-lane
// form and, where built and the processor has AVX2, a four-lane form; every
// form does each lane's operations in the order of the one-at-a-time loop, so
// all forms give the same bits. The forms in use are chosen once, at start.
#ifndef PERMUTATION_PERMKERNELS_H
#define PERMUTATION_PERMKERNELS_H

#include <cstdint>

// A matrix of communities given by columns, for CommunityDistances:
// data[k n + i] is column k of row i (n rows). D receives the diagonal and
// the pairs i < j of the Euclidean distances (nothing below the diagonal);
// total receives the sum of those pairs in pair order.
struct LaneMatrix {
  int cols;
  const double* data;
  double** D;
  double total;
};

// One form of each dispatched loop family.
struct PermKernels {
  const char* name;  // "two-lane" or "four-lane"
  // Distances of a and, when b is not NULL, of b; when r is not NULL, also
  // DR = |r[i] - r[j]| with the sum of its pairs in *totalR.
  void (*distances)(int n, LaneMatrix* a, LaneMatrix* b, const double* r, double** DR, double* totalR);
  // Mantel's second pass: see MantelCrossSums.
  void (*crossSums)(int n, double** DT, double** DX, double** DR, double mT, double mX, double mR,
                    const double* eyze, double* sums);
  // out[k] for k < cols: the sum over x < m of a[x] rows[x][k], each in
  // the order of x.
  void (*products)(int m, const double* a, double* const* rows, int cols, double* out);
};

extern const PermKernels permKernelsTwoLane;  // the portable forms
extern const PermKernels* permKernelsWide;    // the four-lane forms; NULL when not built or no AVX2
extern const PermKernels* permKernels;        // the forms in use: the widest there is (tests may switch)

// Euclidean distances of the communities of a (and b, when not NULL) and the
// entropy distances DR of r (when not NULL), through the forms in use. Each
// matrix's total is its own sum in pair order, whichever form runs.
inline void CommunityDistances(int n, LaneMatrix* a, LaneMatrix* b, const double* r, double** DR,
                               double* totalR) {
  permKernels->distances(n, a, b, r, DR, totalR);
}

// Mantel's second pass over the pairs i < j of DT, DX and DR together, with
// their means mT, mX, mR and the centred pairs eyze (E, Y, Z, E of each
// pair, four doubles a pair): sums[0..12] = tE, tY, tZ, xE, xT, xY, xZ, rE,
// rX, rT, sT, sX, sR, where t, x, r are the centred pairs of DT, DX, DR and
// s a sum of squares, each sum in pair order.
inline void MantelCrossSums(int n, double** DT, double** DX, double** DR, double mT, double mX, double mR,
                            const double* eyze, double* sums) {
  permKernels->crossSums(n, DT, DX, DR, mT, mX, mR, eyze, sums);
}

// out[k] = sum over x < m of a[x] rows[x][k], k < cols: one community's row
// of T = W B (or X = W U) over its occurrences, a holding their abundances
// and rows the matching rows of B. Plain terms only: no -999, no weights.
inline void OccurrenceRowProducts(int m, const double* a, double* const* rows, int cols, double* out) {
  permKernels->products(m, a, rows, cols, out);
}

// out[k n + i] = data[i][k] for n rows and cols columns, the layout of
// LaneMatrix; false at the first -999 (the general distances are then needed).
bool ColumnsOf(int n, int cols, double** data, double* out);

// D = |r[i] - r[j]| on the diagonal and the pairs i < j, with their sum in
// pair order in *pairSum. No -999 in r.
void EntropyDistances(int n, const double* r, double** D, double* pairSum);

// Rao entropies of four communities at once ("lanes"): for lane L, the sum
// over i, then j, of q_i (q_j d_ij), the terms of RaoIndex_Weight in its
// order. The M shares of lane L are at q[4 x + L]; rows[4 x + L] is the
// distance row of its x-th OTU and col[4 x + L] that OTU's column. A lane
// padded with zero shares to M gives its entropy unchanged.
void RaoLaneSums(int M, const double* q, double* const* rows, const int* col, double* sums);
// The same with columns in 16 bits (every OTU number below 65536).
void RaoLaneSums(int M, const double* q, double* const* rows, const uint16_t* col, double* sums);

// r = cross / sqrt(ssA ssB), 0 for a zero sum of squares: MatrixCorr's end,
// for the sums of MantelCrossSums or of prepared pairs.
double RhoOfSums(double cross, double ssA, double ssB);

// The two-lane forms, also reached through permKernelsTwoLane (tests
// compare the forms with one another).
void TwoLaneDistances(int n, LaneMatrix* a, LaneMatrix* b, const double* r, double** DR, double* totalR);
void TwoLaneCrossSums(int n, double** DT, double** DX, double** DR, double mT, double mX, double mR,
                      const double* eyze, double* sums);
void TwoLaneProducts(int m, const double* a, double* const* rows, int cols, double* out);

#endif

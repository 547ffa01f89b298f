// Community-level products of W with B, U and Q; Rao entropy, nearest-neighbour resemblance, beta divergence.
#ifndef TARNLIB_TARNLIBCOMMUNITY_H
#define TARNLIB_TARNLIBCOMMUNITY_H

// ---- Products C = A B: A is n1 x n2, B is n3 x n4, C gets n1 x n4 ----
// Each returns 1 and does nothing when n2 != n3, else 0. A term with a -999
// factor is skipped. C must not be A or B. `mask` (per column of B): 1 in use,
// other columns come out 0. `w` (per k, i.e. per OTU) multiplies each term.

// -999 when a sum is exactly 0 and at least one term was skipped.
int MatrixProdMV(int n1, int n2, int n3, int n4, double** A, double** B, double** C);
int MatrixProdMV_Weight(int n1, int n2, int n3, int n4, double** A, double** B, double** C, int* w);
int MatrixProdSelectMV(int n1, int n2, int n3, int n4, double** A, double** B, double** C, int* mask);
int MatrixProdSelect(int n1, int n2, int n3, int n4, double** A, double** B, double** C, int* mask);
int MatrixProdSelectMV_Weight(int n1, int n2, int n3, int n4, double** A, double** B, double** C, int* mask,
                              int* w);
// (sum of w A B) / (sum of A), both over the terms not skipped; 0/0 gives NaN.
int MatrixProdSelectMV_Adjust_Weight(int n1, int n2, int n3, int n4, double** A, double** B, double** C,
                                     int* mask, int* w);
// (sum of A B) / (sum of B): divides by the right-hand values, unlike the
// _Weight member above; intended.
int MatrixProdSelectMV_Adjust(int n1, int n2, int n3, int n4, double** A, double** B, double** C, int* mask);
// Updates C = A B in place for a B replaced by D in row and column `target`:
// the terms with c = target, k = target or k = c are exchanged. 1 when n4 <= target.
int MatrixProdTargetMV(int n1, int n2, int n3, int n4, int target, double** A, double** B, double** D,
                       double** C);
// C = value A for n x p, -999 kept.
void ScalarMatrixProd(int n, int p, double value, double** A, double** C);

// ---- Rao quadratic entropy of one community with abundances a[0..n-1] ----
// The strict upper triangle of the matrix is mirrored into the lower one, in
// place. d = 1 - s, sqrt(1 - s), s or sqrt(s) by the two flags.
double RaoIndex(int n, double* a, double** S, bool isDissimilarity, bool sqrtDissim);
double RaoIndex(int n, double* a, float** S, bool isDissimilarity, bool sqrtDissim);
// crisp true: Gini-Simpson, the matrix isn't read nor mirrored.
double RaoIndex(int n, double* a, float** S, bool isDissimilarity, bool sqrtDissim, bool crisp);
// One flag: d = s for dissimilarities, sqrt(1 - s) for similarities.
double RaoIndex(int n, double* a, double** S, bool isDissimilarity);
double RaoIndex(int n, double* a, float** S, bool isDissimilarity);
double RaoIndex(int n, float* a, float** S, bool isDissimilarity);
// Pair factor: w[i] w[j] with `restrict`, else 1 when either is 1. The total
// always includes unselected OTUs.
double RaoIndex_Weight(int n, double* a, double** S, bool isDissimilarity, int* w, bool restrict);
double RaoIndex_Weight(int n, double* a, double** S, bool isDissimilarity, bool sqrtDissim, int* w,
                       bool restrict);

// Mean nearest-neighbour resemblance within communities; W is communities x
// OTUs; `richness` may be null (then counted from W > 0).
double NearNeigAvgTraitResemblance_WithinCommunity(int nOTUs, int nCommunities, double** W, double** S,
                                                   bool isDissimilarity, bool mirror, int* richness);
// result[i] = mean DX[i][j] over the j nearest to i in DE (ties all count).
// Mirrors DE and DX.
bool BetaDivergence(int n, double** DE, double** DX, double* result);

#endif

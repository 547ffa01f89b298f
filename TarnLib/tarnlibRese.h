// Resemblance measures between the objects of a data matrix, the ResemblanceLib dispatcher and matrix conversions.
// Distances and binary coefficients as in Legendre & Legendre, Numerical
// Ecology (2012), ch. 7; Gower's centring of a distance matrix after Gower
// (1966), Biometrika 53: 325-338.
#ifndef TARNLIB_RESE_H
#define TARNLIB_RESE_H

// All measures take (rows, cols, in, out): the objects are the rows of `in`,
// `out` is rows by rows, allocated by the caller. They write the upper
// triangle (and the diagonal where stated); ResemblanceLib mirrors it.
// Pairs with -999 on either side are left out, except in EucliDist.

// Euclidean distance, no test for -999. Parallel over rows (OpenMP).
void EucliDist(int rows, int cols, double** in, double** out);
// Euclidean distance over complete pairs. Parallel over rows (OpenMP).
void EucliDistMV(int rows, int cols, double** in, double** out);
// EucliDistMV over the descriptors k with select[k] not 0.
void EucliDistMVSelect(int rows, int cols, double** in, double** out, int* select);
// Sum of absolute differences.
void AbsValFunctionMV(int rows, int cols, double** in, double** out);
// Bray-Curtis dissimilarity, with negative data shifted in the denominator.
void BrayCurtisMV(int rows, int cols, double** in, double** out);
// Chord distance; squared chord distance when `in` holds any -999.
void ChordDistMV(int rows, int cols, double** in, double** out);
// Squared chord distance of two vectors over their complete pairs.
double ChordDistSq2VecMV(int n, double* a, double* b);

// Resemblance between communities by the dialogue's option rese_opt:
// 6, 7 Euclidean; 8, 9 absolute value function; 10 chord. Others: nothing.
void NominalReseNonHier(int rows, int cols, double** in, double** out, int option);

// Counts of joint presence (a), presence in x only (b), in y only (c) and
// joint absence (d). Only the exact values 0 and 1 count.
void JointFreq(int n, double* x, double* y, int* a, int* b, int* c, int* d);
// Binary coefficients from JointFreq, diagonal included.
void Jaccard(int rows, int cols, double** in, double** out);
void SokalMichener(int rows, int cols, double** in, double** out);
void Ochiai(int rows, int cols, double** in, double** out);
void Sorensen(int rows, int cols, double** in, double** out);
void MeanSquareContingency(int rows, int cols, double** in, double** out);
void JaccardDissimilarity(int rows, int cols, double** in, double** out);
void JaccardTurnover(int rows, int cols, double** in, double** out);
void JaccardNestedness(int rows, int cols, double** in, double** out);
void SorensenDissimilarity(int rows, int cols, double** in, double** out);
void SorensenTurnover(int rows, int cols, double** in, double** out);
void SorensenNestedness(int rows, int cols, double** in, double** out);
// Share of exactly equal values among the descriptors complete in both.
void SimpleMatching(int rows, int cols, double** in, double** out);

// Conversions of n by n matrices.
// in[i][i] + in[j][j] - 2 in[i][j] for i < j, diagonal 0; upper triangle only.
void ProdToSqDist(int n, double** in, double** out);
// 2 (1 - r), both triangles, diagonal 0. in may be out.
void CorrToSqDist(int n, double** in, double** out);
// 1 - p, both triangles. in may be out.
void ProbToDissim(int n, double** in, double** out);
// Square, or square root, of each element, both triangles. in may be out.
void SquareSqMatrix(int n, double** in, double** out);
void SquareRootSqMatrix(int n, double** in, double** out);
// Gower's centring -0.5 (d2 - row mean - column mean + grand mean) of the
// dissimilarities (squared already when `squared`); upper triangle only.
void DissToCenterProdMatrix(int n, double** in, double** out, bool squared);

// Resemblance by code (1 to 28) between the rows of data, or between its
// columns when compare is 2. exponent 1 squares the result, 2 takes its
// root. types and gowerOpt serve code 5, p1 codes 7 to 9, p2 code 19, flag
// (contingency tables to "Tables.txt") codes 6 to 10. out is mirrored at the
// end. Returns 1.
int ResemblanceLib(int rows, int cols, double** data, double** out, int compare, int code,
                   int exponent, int* types, double p1, double p2, int gowerOpt, bool flag);
int ResemblanceLib(int rows, int cols, double** data, double** out, int compare, int code,
                   int* types, double p1, double p2, int gowerOpt, bool flag);
// True for the codes of ResemblanceLib that give similarities.
bool IsSimilarityCode(int code);

// ResemblanceLib code of the dialogue's resemblance option rese_opt (1 to 10).
int TranslateReseOpt_KOLVEN_DARVOL(int option);

#endif

// The library's smaller permutation tests (Mantel, limiting similarity,
// partial ro(XE.T), redundancy) and three neighbouring helpers.
#ifndef PERMUTATION_PERMOTHER_H
#define PERMUTATION_PERMOTHER_H

#include <cstdio>

// All tests count the observed arrangement as the first of niter: the count
// starts at 1 and the probability is count / niter. Intermediate results go to
// `out` with 6 digits when saveDetail is true.

// Two-tailed Mantel test of A (upper triangle read) against B; the observed
// correlation goes to *observed. Returns the probability.
double ProbMantel(int n, int niter, double** A, double** B, double* observed);

// Test of the mean nearest-neighbour resemblance within communities; counts
// the random values with less structure than the observed one. Mirrors S.
double Prob_LimitingSimilarity(int niter, int nOTUs, int nCommunities, double** W, double** S,
                               bool isDissimilarity, bool saveDetail, FILE* out);

// One-tailed tests of r(XE) and of the partial r(XE.T), with X = W U and the
// OTUs of U permuted; DT, DE resemblance matrices between communities, rTE
// their congruence. Probabilities into *pXE and *pXET.
bool Prob_ro_XE_T(int niter, int nOTUs, int nTypes, int nCommunities, double** U, double** W, double rTE,
                  double** DT, double** DE, double* pXE, double* pXET, int rese_opt, bool saveDetail,
                  FILE* out);
// The same with the OTU list of the weighted null model when the flag is set.
bool Prob_ro_XE_T(int niter, int nOTUs, int nTypes, int nCommunities, double** U, double** W, double rTE,
                  double** DT, double** DE, double* pXE, double* pXET, int rese_opt, bool saveDetail,
                  FILE* out, bool weightedNullModel);

// One probability per community for redundancy = simpson - Rao entropy, with
// the OTUs of S permuted. Mirrors S.
bool Prob_Redundancy(int niter, int nOTUs, int nTypes, int nCommunities, double* simpson, double* probabilities,
                     double** S, double** W, bool isDissimilarity, bool saveDetail, FILE* out,
                     bool weightedNullModel);

// Partial correlation of variables i and j (zero-based) given the k variables
// in `given`, from the correlation matrix R; +infinity when the correlations
// among the given variables form a singular matrix.
double PartialCorrelation_GeneralProc(int n, double** R, int i, int j, int k, int* given);

// Share of each row's variance explained by the other rows; rows beyond the
// largest invertible set get -999. *rank receives the size of that set.
bool Communality(int nRows, int nCols, double** data, double* communality, int* rank);

// Replaces each qualitative variable by one 0/1 column per state. states must
// hold nVars rows of at least nRows ints, out nRows rows wide enough for all
// columns; *nOut receives the number of columns written.
bool Binarize(int nRows, int nVars, bool* qualitative, double** data, double** out, int* nOut, int** states,
              int* nStates);

#endif

// Entropies of order alpha, mutual entropy, coherence and contingency measures between nominal variables.
// Shannon (1948) at order 1 and Renyi (1961) otherwise; mutual entropy and
// coherence coefficient after Orloci & Pillar, and the minimum discrimination
// information statistic of Kullback (1959). Missing value -999 is left out.
#ifndef TARNLIB_ENTROPY_H
#define TARNLIB_ENTROPY_H

#include <cstdio>

// Joint, column and row entropies of the frequency table (rows by cols), one
// place of each array for every order alpha from alphaFrom while not above
// alphaTo, by a running sum of alphaStep. The caller sizes the arrays.
void EntropyMV(int rows, int cols, double** table, double* joint, double* ofCols,
               double* ofRows, double alphaFrom, double alphaTo, double alphaStep);
// EntropyMV, plus the mutual entropy, its complement and the coherence.
void Entropy_MV(int rows, int cols, double** table, double* joint, double* ofCols,
                double* ofRows, double* mutual, double* complement, double* coherence,
                double alphaFrom, double alphaTo, double alphaStep);
// Coherence coefficient of the table at order alpha (rounded to float).
double CoheCoefMV(int rows, int cols, double** table, double alpha);
// Mutual entropy of the table at order alpha.
double MutualEntropyMV(int rows, int cols, double** table, double alpha);
// Information divergence between the rows of `in`, out[i][j] for i <= j.
void IDivergenceMV(int rows, int cols, double** in, double** out);
// IDivergenceMV adjusted for the row totals, out[i][j] for i <= j.
void MutualInformationMV(int rows, int cols, double** in, double** out);
// Contingency table of the states of x and y (n objects). States are taken
// in order of first appearance; dims[0], dims[1] get their counts. table must
// be square with side at least the larger state count. With a stream, the
// states and the table are written to it.
void ContingencyMV(int n, double* x, double* y, double** table, int* dims, FILE* stream);

// Pairwise measures between the rows (variables with integer states) of `in`
// (rows by n objects); out[i][j] for i <= j. tables 1 writes every
// contingency table to "Tables.txt".
void MDISMV(int rows, int n, double** in, double** out, char tables);
void MutualEntropyPairwiseMV(int rows, int n, double** in, double** out, double alpha,
                             char tables);
void CoheCoefPairwiseMV(int rows, int n, double** in, double** out, double alpha,
                        char tables);
void QuiSquareMV(int rows, int n, double** in, double** out, char tables);

// Half the sum of absolute (squared, with `squared`) differences of a and b
// once each is scaled to a total of 1; 0 when a total is not above 0.
double SumAbsDeviations(int n, double* a, double* b, bool squared);

#endif

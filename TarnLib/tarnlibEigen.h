// Eigenanalysis, singular value decomposition, ordination and correlated random data.
// Symmetric eigenanalysis and SVD are GSL's (gsl_eigen_symmv: Householder
// tridiagonalisation and implicit QL, after Golub & Van Loan, Matrix
// Computations; gsl_linalg_SV_decomp: one-sided Golub-Reinsch). Principal
// coordinates follow Gower (1966), Biometrika 53: 325-338.
#ifndef TARNLIB_EIGEN_H
#define TARNLIB_EIGEN_H

// Eigenanalysis of the symmetric n by n matrix `a` (left unchanged).
// vectors[k] receives the k-th eigenvector (vectors[k][i] for object i),
// values[k] its eigenvalue, in decreasing order. Both n long, owned by the
// caller. False when some eigenvalue / (sum of eigenvalues) is below -0.001,
// i.e. the matrix is clearly not positive semi-definite; results are stored
// in any case.
bool EigenHouseholderQL_GSL_D(int n, double** a, double** vectors, double* values);

// Singular value decomposition of `a` (rows by cols, rows >= cols): u is rows
// by cols, s has cols values, v is cols by cols (V itself, not transposed).
// False, with nothing stored, when GSL fails; false also when some
// s / (sum of s) is below -0.001.
bool SingValueDecomp(int rows, int cols, double** a, double** u, double* s, double** v);

// Ordination of the n by n resemblance matrix `rese` (code: the resemblance
// code of ResemblanceLib) by method 1 principal coordinates, 2 principal
// components, 3 correspondence analysis. `data` (methods 2, 3) holds the n
// objects in its rows when orientation is 1, in its columns otherwise; it may
// be null for method 1. Caller's arrays: vectors n by n, values n, scores
// n by n (method 1) or n by cols (methods 2, 3). *nAxes receives the number
// of axes kept, *ok the result of the eigenanalysis. Returns 1.
int OrdinationLib_D(int n, int cols, double** data, double** rese, double** vectors,
                    double** scores, int* nAxes, double* values, bool* ok, int method,
                    int code, int orientation);
// OrdinationLib_D with private vectors and values; returns the number of axes.
int OrdinationLib_Scores(int n, int cols, double** data, double** rese, double** scores,
                         int method, int code, int orientation);

// Fills out (nObjects by nVars) with random data whose columns have the
// correlations `corr` (nVars square), by the Cholesky factor of corr. The
// numbers come from the program's generator r; `distribution` picks their law
// (1 uniform, 2 normal, 5 lognormal, 7 and 8 exponential of mean 0, any other
// normal). A failed Cholesky decomposition ends the program with status 1.
void CorrToData_New(int nObjects, int nVars, double** corr, double** out, int distribution);
// Fills out (rows by cols) with data correlated among columns by corrCols
// (cols square) and among rows by corrRows (rows square).
void CorrToData_BothRowsColumns(int rows, int cols, double** corrCols, double** corrRows,
                                double** out, int distribution);

#endif

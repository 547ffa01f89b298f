// Matrix congruence: Mantel, Procrustes and RV coefficients, their partial forms, and other coefficients between square matrices.
// Mantel (1967), Cancer Research 27: 209-220; symmetric Procrustes statistic
// after Gower (1971) and Peres-Neto & Jackson (2001), Oecologia 129: 169-178;
// RV coefficient of Escoufier (1973), Biometrics 29: 751-760.
#ifndef TARNLIB_CONGRUENCE_H
#define TARNLIB_CONGRUENCE_H

// Square resemblance matrices: only the pairs i < j are read.
// Mantel correlation; pairs with -999 in either matrix are left out; 0 for a
// zero sum of squares or n below 2. Allocates nothing.
double MatrixCorr(int n, double** a, double** b);
double MatrixCorr(int n, float** a, float** b);
double MatrixCorr(int n, float** a, double** b);
double MatrixCorr(int n, double** a, float** b);
// For many Mantel correlations on the same matrices: `centred` receives the
// n (n - 1) / 2 pairs i < j of a, row by row, minus their mean, and `ss`
// their sum of squares. False when n is below 2 or a pair holds -999; those
// matrices need MatrixCorr.
bool MatrixCorrPrepare(int n, double** a, double* centred, double* ss);
// The same for k matrices a[m] at once, their sums running side by side:
// ok[m] tells whether centred[m] and ss[m] were filled.
void MatrixCorrPrepareMany(int n, int k, double** const* a, double* const* centred, double* ss, bool* ok);
// MatrixCorr's first pass alone, for k matrices side by side: sum[m] of the
// pairs i < j of a[m] in its order; missing[m] when one of them is -999.
void MatrixCorrPairSums(int n, int k, double** const* a, double* sum, bool* missing);
// r[m] = Mantel correlation of the prepared a with the prepared b[m], m < k,
// in one pass over the pairs: the same value, bit for bit, as MatrixCorr.
void MatrixCorrPrepared(long pairs, const double* a, double ssA, int k, const double* const* b,
                        const double* ssB, double* r);

// Data matrices with the same rows: a is rows by p, b rows by q.
// Symmetric Procrustes coefficient by its defining decomposition: the sum of
// the singular values of the cross-product zero-padded to big by big; 0 when
// the decomposition fails.
double ProcrustesCoeff(int rows, int p, int q, double** a, double** b);
// RV coefficient from the products S = A A' and T = B B' of the centred data,
// rows by rows; a constant matrix gives a not-a-number. These two keep the
// defining order of the sums, so that two subsets whose columns are the same
// up to the order of the first two tie exactly, as the subset search needs.
double RVcoeff(int rows, int p, int q, double** a, double** b);
double ProcrustesCoeffPadded(int rows, int p, int q, double** a, double** b);
double RVcoeffOuter(int rows, int p, int q, double** a, double** b);
// The same two coefficients through the prepared forms below (thin
// decompositions, no product with as many rows and columns as there are
// objects): they agree with the two above to rounding, and take them for
// data with non-finite values. For the permutation test's iterations.
double ProcrustesCoeffThin(int rows, int p, int q, double** a, double** b);
double RVcoeffThin(int rows, int p, int q, double** a, double** b);

// A data matrix prepared once for many Procrustes or RV coefficients against
// matrices with the same rows. Its columns are centred and, for Procrustes,
// scaled together to a total variance of 1, and stored one after the other.
// A -999 is stored as 0: the products leave such terms out, and 0 adds
// nothing. The coefficient of two such forms is the sum of the singular
// values of the small by big cross-product (one-sided Jacobi rotations of
// its rows, Hestenes 1958), or, for RV, ||A'B||^2 / (||A'A|| ||B'B||) with
// Frobenius norms, instead of products with as many rows and columns as
// there are objects.
struct CongruenceForm {
    int which;      // 2 Procrustes, 3 RV
    int rows;       // objects
    int cols;       // columns of the matrix prepared
    int maxCols;    // columns the storage holds
    bool finite;    // every prepared value finite; else the general routines
    double** data;  // the matrix as prepared, for those routines
    double* col;    // [maxCols * rows] prepared columns, one after the other
    double gram;    // RV: ||A'A||^2 of the prepared columns
};
// Storage for matrices of up to maxCols columns; freed by CongruenceFormFree.
void CongruenceFormAlloc(CongruenceForm* f, int which, int rows, int maxCols);
void CongruenceFormFree(CongruenceForm* f);
// Prepares a (rows by cols, cols at most maxCols). Allocates nothing. a must
// keep its values while the form is used.
void PrepareCongruence(CongruenceForm* f, int cols, double** a);
// The coefficient of two prepared matrices (of the same kind); `work` holds
// at least a->cols * b->cols doubles. Allocates nothing, unless a value is
// not finite and the general routine runs.
double CongruencePrepared(const CongruenceForm* a, const CongruenceForm* b, double* work);

// First-order partial correlation of X and Y given Z; 0 when rXZ or rYZ is
// within 1e-09 of 1.
double PartialCorrelation(double rXY, double rXZ, double rYZ);
// Partial Procrustes (which 2) or RV (which 3) coefficient of a and b given
// nControls control matrices, on residuals of a PCA regression. For each
// control follow: int number of columns, int* selection (null for all; else
// column k used when select[k] is 1), double** matrix with `rows` rows.
// Pass an empty selection as (int*)nullptr, never as a bare 0.
double PartialMatrixCorrelation(int rows, int p, int q, double** a, double** b, int which,
                                double overfitFactor, int nControls, ...);

// Sum over all i, j of a[i][j] * b[i][j].
double vecProd(int n, double** a, double** b);
// 1 - (sum of squared differences) / (2 rows).
double SQMatrixDeviations(int rows, int cols, double** a, double** b);
// 1 - (sum of absolute differences) / (2 rows).
double SumAbsMatrixDeviations(int rows, int cols, double** a, double** b);

// Other coefficients between square matrices, over the pairs i < j.
double MatrixCov(int n, double** a, double** b);
double MatrixCorrAdj(int n, double** a, double** b);
double MatrixProdMomentAdj(int n, double* ssA, double* ssB, double** a, double** b);
double MatrixRankCorr(int n, double** a, double** b);
double MatrixCos(int n, double** a, double** b);
double MatrixStress(int n, double** a, double** b);
double MatrixStressKruskal(int n, double** a, double** b);
double MatrixAbsValDist(int n, double** a, double** b);
double MatrixEudDist(int n, double** a, double** b);
double MatrixDist(int n, double** a, double** b);
double PartialMatrixCorr(int n, double** a, double** b, double** c);

// Congruence rho of two resemblance matrices between n communities (values in
// the upper triangle): MatrixCorr for n >= 3, otherwise 1 - |a - b| / max(a, b)
// on the single pair, row 0 column 1.
double RhoResemblance(int n, double** a, double** b);

#endif

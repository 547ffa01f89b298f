// Eigenanalysis, singular value decomposition, ordination and correlated random data.
// Symmetric eigenanalysis and SVD are GSL's (gsl_eigen_symmv: Householder
// tridiagonalisation and implicit QL, after Golub & Van Loan, Matrix
// Computations; gsl_linalg_SV_decomp: one-sided Golub-Reinsch). Principal
// coordinates follow Gower (1966), Biometrika 53: 325-338.
#include "TarnLib/tarnlibEigen.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <gsl/gsl_eigen.h>
#include <gsl/gsl_linalg.h>
#include <gsl/gsl_matrix.h>
#include <gsl/gsl_randist.h>
#include <gsl/gsl_vector.h>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibRese.h"
#include "TarnLib/tarnlibStats.h"

// An eigenvalue (or singular value) below this share of their sum marks a
// matrix that is clearly not positive semi-definite.
static const double negativeShare = -0.001;

bool EigenHouseholderQL_GSL_D(int n, double** a, double** vectors, double* values)
{
    if (n < 1) return true;
    gsl_matrix* m = gsl_matrix_alloc(n, n);
    gsl_vector* eval = gsl_vector_alloc(n);
    gsl_matrix* evec = gsl_matrix_alloc(n, n);
    gsl_eigen_symmv_workspace* work = gsl_eigen_symmv_alloc(n);
    if (m == nullptr || eval == nullptr || evec == nullptr || work == nullptr) FailJump(FAIL_MEMORY);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++) gsl_matrix_set(m, i, j, a[i][j]);
    gsl_eigen_symmv(m, eval, evec, work);
    gsl_eigen_symmv_sort(eval, evec, GSL_EIGEN_SORT_VAL_DESC);
    double total = 0.0;
    for (int k = 0; k < n; k++) {
        values[k] = gsl_vector_get(eval, k);
        total += values[k];
        for (int i = 0; i < n; i++) vectors[k][i] = gsl_matrix_get(evec, i, k);
    }
    bool ok = true;
    for (int k = 0; k < n; k++)
        if (values[k] / total < negativeShare) ok = false;
    gsl_eigen_symmv_free(work);
    gsl_matrix_free(evec);
    gsl_vector_free(eval);
    gsl_matrix_free(m);
    return ok;
}

bool SingValueDecomp(int rows, int cols, double** a, double** u, double* s, double** v)
{
    // GSL decomposes only matrices at least as tall as wide.
    if (cols < 1 || rows < cols) return false;
    gsl_matrix* m = gsl_matrix_alloc(rows, cols);
    gsl_matrix* vm = gsl_matrix_alloc(cols, cols);
    gsl_vector* sv = gsl_vector_alloc(cols);
    gsl_vector* work = gsl_vector_alloc(cols);
    if (m == nullptr || vm == nullptr || sv == nullptr || work == nullptr) FailJump(FAIL_MEMORY);
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) gsl_matrix_set(m, i, j, a[i][j]);
    bool ok = gsl_linalg_SV_decomp(m, vm, sv, work) == 0;
    if (ok) {
        double total = 0.0;
        for (int k = 0; k < cols; k++) {
            s[k] = gsl_vector_get(sv, k);
            total += s[k];
        }
        for (int i = 0; i < rows; i++)
            for (int j = 0; j < cols; j++) u[i][j] = gsl_matrix_get(m, i, j);
        for (int i = 0; i < cols; i++)
            for (int j = 0; j < cols; j++) v[i][j] = gsl_matrix_get(vm, i, j);
        for (int k = 0; k < cols; k++)
            if (s[k] / total < negativeShare) ok = false;
    }
    gsl_vector_free(work);
    gsl_vector_free(sv);
    gsl_matrix_free(vm);
    gsl_matrix_free(m);
    return ok;
}

// ---- Ordination ----

static const double missing = -999.0;

// The n objects of the eigenanalysis as the rows of D, whatever the orientation.
static double** ObjectRows(int n, int cols, double** data, int orientation)
{
    double** d = dim2Double(n, cols);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < cols; j++) d[i][j] = orientation == 1 ? data[i][j] : data[j][i];
    return d;
}

// Principal coordinates: centred products of the squared distances.
static void CentredProducts(int n, double** rese, int code, double** w)
{
    if (code < 23 && IsSimilarityCode(code)) {
        ProdToSqDist(n, rese, w);
        UpperToLowerMatrix(n, w);
    } else {
        for (int i = 0; i < n; i++)
            for (int j = 0; j < n; j++) w[i][j] = rese[i][j] * rese[i][j];
    }
    DissToCenterProdMatrix(n, w, w, true);
    UpperToLowerMatrix(n, w);
}

static void ComponentScores(int n, int cols, double** data, double** vectors, double** scores,
                            int nAxes, int code, int orientation)
{
    double** d = ObjectRows(n, cols, data, orientation);
    for (int k = 0; k < nAxes; k++) {
        double ss = 0.0;
        for (int i = 0; i < n; i++) ss += vectors[k][i] * vectors[k][i];
        double norm = std::sqrt(ss);
        if (norm > 0.0)
            for (int i = 0; i < n; i++) vectors[k][i] /= norm;
    }
    if (code == 22) {
        CenterRowsCovMV(n, cols, d, d);
    } else if (code == 17) {
        CenterRowsMV(n, cols, d, d);
        NormalizeRowsMV(n, cols, d, d);
    }
    for (int k = 0; k < n; k++)
        for (int j = 0; j < cols; j++) scores[k][j] = 0.0;
    for (int k = 0; k < nAxes; k++)
        for (int j = 0; j < cols; j++) {
            double sum = 0.0;
            for (int i = 0; i < n; i++)
                if (d[i][j] != missing) sum += d[i][j] * vectors[k][i];
            scores[k][j] = sum;
        }
    free2D(d, n);
}

static void CorrespondenceScores(int n, int cols, double** data, double** vectors,
                                 double** scores, double* values, int nAxes, int orientation)
{
    double** d = ObjectRows(n, cols, data, orientation);
    double* rowTotal = dim1Double(n);
    double* colTotal = dim1Double(cols);
    RowTotalsMV(n, cols, d, rowTotal);
    ColTotalsMV(n, cols, d, colTotal);
    double grand = MatrixTotalMV(n, cols, d);
    for (int k = 0; k < nAxes; k++) {
        for (int i = 0; i < n; i++)
            if (rowTotal[i] > 0.0) vectors[k][i] *= std::sqrt(grand / rowTotal[i]);
        for (int j = 0; j < cols; j++) {
            double sum = 0.0;
            if (colTotal[j] > 0.0)
                for (int i = 0; i < n; i++)
                    if (d[i][j] != missing)
                        sum += d[i][j] * vectors[k][i] / (colTotal[j] * std::sqrt(values[k]));
            scores[k][j] = sum;
        }
    }
    free1D(rowTotal);
    free1D(colTotal);
    free2D(d, n);
}

int OrdinationLib_D(int n, int cols, double** data, double** rese, double** vectors,
                    double** scores, int* nAxes, double* values, bool* ok, int method,
                    int code, int orientation)
{
    *nAxes = 0;
    if (n < 1) return 1;
    double** w = dim2Double(n, n);
    if (method == 1) {
        CentredProducts(n, rese, code, w);
    } else {
        for (int i = 0; i < n; i++)
            for (int j = 0; j < n; j++) w[i][j] = rese[i][j];
    }
    *ok = EigenHouseholderQL_GSL_D(n, w, vectors, values);
    free2D(w, n);
    double positive = 0.0;
    for (int k = 0; k < n; k++)
        if (values[k] > 0.0) positive += values[k];
    for (int k = 0; k < n; k++)
        if (values[k] * 100.0 / positive > 1e-6) (*nAxes)++;
    if (method == 1) {
        for (int k = 0; k < *nAxes; k++) {
            double ss = 0.0;
            for (int i = 0; i < n; i++) ss += vectors[k][i] * vectors[k][i];
            for (int i = 0; i < n; i++) scores[k][i] = vectors[k][i] * std::sqrt(values[k] / ss);
        }
    } else if (method == 2) {
        ComponentScores(n, cols, data, vectors, scores, *nAxes, code, orientation);
    } else if (method == 3) {
        CorrespondenceScores(n, cols, data, vectors, scores, values, *nAxes, orientation);
    }
    return 1;
}

int OrdinationLib_Scores(int n, int cols, double** data, double** rese, double** scores,
                         int method, int code, int orientation)
{
    if (n < 1) return 0;
    double** vectors = dim2Double(n, n);
    double* values = dim1Double(n);
    int nAxes = 0;
    bool ok = true;
    OrdinationLib_D(n, cols, data, rese, vectors, scores, &nAxes, values, &ok, method, code,
                    orientation);
    free2D(vectors, n);
    free1D(values);
    return nAxes;
}

// ---- Correlated random data ----

// Upper triangular factor U (U' U = corr) by Cholesky; a failure is fatal,
// since the simulation that asks for the data cannot go on.
static double** CholeskyUpper(int n, double** corr)
{
    double** c = dim2Double(n, n);
    double* p = dim1Double(n);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++) c[i][j] = corr[i][j];
    if (!choldc(c, n, p)) {
        fflush(stdout);
        exit(1);
    }
    double** u = dim2Double(n, n);
    for (int i = 0; i < n; i++) {
        u[i][i] = p[i];
        for (int j = i + 1; j < n; j++) u[i][j] = c[j][i];
    }
    free2D(c, n);
    free1D(p);
    return u;
}

static double RandomValue(int distribution)
{
    switch (distribution) {
    case 1: return gsl_rng_uniform(r) - 0.5;
    case 5: return gsl_ran_lognormal(r, 0.0, 1.0);
    case 7:
    case 8: return gsl_ran_exponential(r, 0.0);
    default: return gsl_ran_gaussian(r, 1.0);
    }
}

void CorrToData_New(int nObjects, int nVars, double** corr, double** out, int distribution)
{
    if (nObjects < 1 || nVars < 1) return;
    double** u = CholeskyUpper(nVars, corr);
    double** z = dim2Double(nObjects, nVars);
    for (int i = 0; i < nObjects; i++)
        for (int j = 0; j < nVars; j++) {
            z[i][j] = RandomValue(distribution);
            // Law 8 takes the cube of the mirrored element; only where that
            // element exists, since Z need not be square.
            if (distribution == 8 && j < nObjects && i < nVars) z[i][j] = std::pow(z[j][i], 3.0);
        }
    MatrixProd(nObjects, nVars, nVars, nVars, z, u, out);
    free2D(z, nObjects);
    free2D(u, nVars);
}

void CorrToData_BothRowsColumns(int rows, int cols, double** corrCols, double** corrRows,
                                double** out, int distribution)
{
    if (rows < 1 || cols < 1) return;
    double** t = dim2Double(cols, rows);
    CorrToData_New(cols, rows, corrRows, t, distribution);
    double** u = CholeskyUpper(cols, corrCols);
    double** tt = dim2Double(rows, cols);
    TransposeMatrix(cols, rows, t, tt);
    MatrixProd(rows, cols, cols, cols, tt, u, out);
    free2D(t, cols);
    free2D(tt, rows);
    free2D(u, cols);
}

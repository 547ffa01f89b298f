// Eigenanalysis, singular value decomposition, ordination and correlated random data.
// Symmetric eigenanalysis and SVD are GSL's (gsl_eigen_symmv: Householder
// tridiagonalisation and implicit QL, after Golub & Van Loan, Matrix
// Computations; gsl_linalg_SV_decomp: one-sided Golub-Reinsch). Principal
// coordinates follow Gower (1966), Biometrika 53: 325-338.
#include "TarnLib/tarnlibEigen.h"

#include <cmath>

#include <gsl/gsl_eigen.h>
#include <gsl/gsl_linalg.h>
#include <gsl/gsl_matrix.h>
#include <gsl/gsl_vector.h>

#include "TarnLib/tarnlibDim.h"

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

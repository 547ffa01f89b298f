// Multiple linear regression of several responses, and residuals on (principal components of) predictors.
// Least squares by the normal equations, solved by Gauss-Jordan elimination
// (gaussj); principal component regression limits the number of components
// to (n - 2) / overfitFactorPCARegr.
#ifndef TARNLIB_REGRESSION_H
#define TARNLIB_REGRESSION_H

#include <cstdio>

// Regression of each column of Y (n by nY) on the columns of X (n by nX).
// Fills B (nX by nY, one model per column), b0 (nY), predicted (n by nY),
// r2 (nY) and totalSS (nY, when not null). With `report`, writes the English
// report to `stream` (`language` other than 0 is not supported and also gives
// English); `details` adds the data, predictions and residuals. Returns 1.
int regression(int n, int nY, int nX, double** Y, double** X, double** B, double* b0,
               double** predicted, double* r2, double* totalSS, bool report, FILE* stream,
               int language, bool details);
int regression(int n, int nY, int nX, double** Y, double** X, double** B, double* b0,
               double** predicted, double* r2);
// The same with float data (double work arrays).
int regression(int n, int nY, int nX, float** Y, float** X, double** B, double* b0,
               double** predicted, double* r2, double* totalSS, bool report, FILE* stream,
               int language, bool details);
int regression(int n, int nY, int nX, float** Y, float** X, double** B, double* b0,
               double** predicted, double* r2);

// Residuals (predictions) of the pairs i < j of square matrix b regressed on
// those of a; only the upper triangle of the result is written.
void ResidualsMatrixRegression(int n, double** a, double** b, double** residuals);
void PredictedMatrixRegression(int n, double** a, double** b, double** predicted);

// Residuals of Y on the columns k of X with select[k] 1 (all when select is
// null). Returns 1.
int Regression_ResidualsSelect(int n, int nY, int nX, double** Y, double** X,
                               double** residuals, int* select);
// Predictions of Y on the selected columns of X. With selectY not null only
// the responses j with selectY[j] 1 are fitted; other columns of predicted
// are left as they are. Returns 1.
int Regression_PredictedSelect(int n, int nY, int nX, double** Y, double** X,
                               double** predicted, int* select, int* selectY);
// Residuals of Y on the leading principal components of the selected columns
// of X: option 1 covariance, 2 correlation matrix. No more components than
// (n - 2) / overfitFactorPCARegr are used. Returns 1.
int PCA_Regression_ResidualsSelect(int n, int nY, int nX, double** Y, double** X,
                                   double** residuals, int* select, int option,
                                   double overfitFactorPCARegr);

// The regressors of PCA_Regression_ResidualsSelect: the leading
// principal components of the selected columns of X, written to the first
// columns of `components` (n by at least the number selected); returns their
// number. Lets a caller regress several responses on the same components.
int PCA_RegressionComponents(int n, int nX, double** X, int* select, int option,
                             double overfitFactorPCARegr, double** components);

// Inverse of the square matrix a (rows by cols, rows == cols) into inverse.
// Returns 1, or 0 for a singular matrix.
int MatrixInverse(int rows, int cols, double** a, double** inverse);

#endif

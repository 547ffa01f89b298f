// Multiple linear regression of several responses, and residuals on (principal components of) predictors.
// Least squares by the normal equations, solved by Gauss-Jordan elimination
// (gaussj); principal component regression limits the number of components
// to (n - 2) / overfitFactorPCARegr.
#include "TarnLib/tarnlibRegression.h"

#include <cmath>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibEigen.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibStats.h"

// ---- The regression and its report ----

static void PrintRows(FILE* stream, int rows, int cols, double** m)
{
    for (int i = 0; i < rows; i++) {
        for (int j = 0; j < cols; j++) fprintck(fprintf(stream, "%g\t", m[i][j]));
        fprintck(fprintf(stream, "\n"));
    }
}

static void RegressionReport(FILE* stream, int n, int nY, int nX, double** Y, double** X,
                             double** B, double* b0, double** predicted, double* r2,
                             double* meanY, bool details)
{
    if (details) {
        fprintck(fprintf(stream, "\nFactor matrix:\n"));
        PrintRows(stream, n, nX, X);
        fprintck(fprintf(stream, "\nResponse matrix:\n"));
        PrintRows(stream, n, nY, Y);
    }
    fprintck(fprintf(stream, "\nRegression coefficients for each factor (rows), one model for each response variable (coluns):\n"));
    for (int k = 0; k < nX; k++) {
        fprintck(fprintf(stream, "Factor %d:\t", k + 1));
        for (int j = 0; j < nY; j++) fprintck(fprintf(stream, "%g\t", B[k][j]));
        fprintck(fprintf(stream, "\n"));
    }
    fprintck(fprintf(stream, "\nIntersection (bo for each response variable):\n"));
    for (int j = 0; j < nY; j++) fprintck(fprintf(stream, "%g\t", b0[j]));
    fprintck(fprintf(stream, "\n"));
    if (details) {
        fprintck(fprintf(stream, "\n\nPredicted model responses (for each response variable in columns, and sampling unit in rows):\n"));
        PrintRows(stream, n, nY, predicted);
        fprintck(fprintf(stream, "\nResiduals not explained by the model (for each response variable in columns, and sampling unit in rows):\n"));
        for (int i = 0; i < n; i++) {
            for (int j = 0; j < nY; j++) fprintck(fprintf(stream, "%g\t", Y[i][j] - predicted[i][j]));
            fprintck(fprintf(stream, "\n"));
        }
        fprintck(fprintf(stream, "\nResponse variables with values adjusted by removing the effects of the predictor variable(s) (this is simply the residuals plus the mean of the response variable) (for each response variable in columns, and sampling unit in rows):\n"));
        for (int i = 0; i < n; i++) {
            for (int j = 0; j < nY; j++)
                fprintck(fprintf(stream, "%g\t", Y[i][j] + meanY[j] - predicted[i][j]));
            fprintck(fprintf(stream, "\n"));
        }
    }
    fprintck(fprintf(stream, "\nCoefficient of determination (r squared) for %d response variables:\n", nY));
    for (int j = 0; j < nY; j++) fprintck(fprintf(stream, "%g\t", r2[j]));
    fprintck(fprintf(stream, "\n"));
}

// Solves (Xc' Xc) B = Xc' Yc for the centred data by gaussj; B is nX by nY.
static void SolveNormalEquations(int n, int nY, int nX, double** xc, double** yc, double** B)
{
    double** xt = dim2Double(nX, n);
    double** a = dim2Double(nX, nX);
    TransposeMatrix(n, nX, xc, xt);
    // A shape mismatch is the only failure; it is told and the work goes on.
    if (MatrixProd(nX, n, n, nX, xt, xc, a) != 0) printf("Matrices are not compatible");
    if (MatrixProd(nX, n, n, nY, xt, yc, B) != 0) printf("Matrices are not compatible");
    double** a1 = dim2Double(nX + 1, nX + 1);
    double** b1 = dim2Double(nX + 1, nY + 1);
    Convertn_n1(nX, nX, a, a1);
    Convertn_n1(nX, nY, B, b1);
    gaussj(a1, nX, b1, nY);
    Convertn1_n(nX, nY, b1, B);
    free2D(a1, nX + 1);
    free2D(b1, nX + 1);
    free2D(a, nX);
    free2D(xt, nX);
}

int regression(int n, int nY, int nX, double** Y, double** X, double** B, double* b0,
               double** predicted, double* r2, double* totalSS, bool report, FILE* stream,
               int, bool details)
{
    if (n < 1 || nY < 1) return 1;
    double* meanY = dim1Double(nY);
    double* meanX = dim1Double(nX > 0 ? nX : 1);
    for (int i = 0; i < n; i++) {
        for (int j = 0; j < nY; j++) meanY[j] += Y[i][j] / n;
        for (int k = 0; k < nX; k++) meanX[k] += X[i][k] / n;
    }
    double** xc = dim2Double(n, nX > 0 ? nX : 1);
    double** yc = dim2Double(n, nY);
    if (nX > 0) CenterColsMV(n, nX, X, xc);
    CenterColsMV(n, nY, Y, yc);
    double* column = dim1Double(n);
    double* tss = dim1Double(nY);
    for (int j = 0; j < nY; j++) {
        for (int i = 0; i < n; i++) column[i] = yc[i][j];
        tss[j] = SumOfSquaresDev(n, column);
        if (totalSS != nullptr) totalSS[j] = tss[j];
    }
    // With no predictor the model is the mean alone.
    if (nX > 0) SolveNormalEquations(n, nY, nX, xc, yc, B);
    for (int j = 0; j < nY; j++) {
        b0[j] = meanY[j];
        for (int k = 0; k < nX; k++) b0[j] -= B[k][j] * meanX[k];
    }
    for (int i = 0; i < n; i++)
        for (int j = 0; j < nY; j++) predicted[i][j] = 0.0;
    // The predictions come from the centred predictors with their means put
    // back, not from X itself: the two differ in the last bits.
    for (int i = 0; i < n; i++)
        for (int k = 0; k < nX; k++) xc[i][k] += meanX[k];
    if (nX > 0) MatrixProd(n, nX, nX, nY, xc, B, predicted);
    // r2 is taken before the intercept is added: it moves no sum of squares.
    for (int j = 0; j < nY; j++) {
        for (int i = 0; i < n; i++) column[i] = predicted[i][j];
        r2[j] = SumOfSquaresDev(n, column) / tss[j];
        for (int i = 0; i < n; i++) predicted[i][j] += b0[j];
    }
    if (report && stream != nullptr)
        RegressionReport(stream, n, nY, nX, Y, X, B, b0, predicted, r2, meanY, details);
    free1D(column);
    free1D(tss);
    free2D(xc, n);
    free2D(yc, n);
    free1D(meanX);
    free1D(meanY);
    return 1;
}

int regression(int n, int nY, int nX, double** Y, double** X, double** B, double* b0,
               double** predicted, double* r2)
{
    return regression(n, nY, nX, Y, X, B, b0, predicted, r2, nullptr, false, nullptr, 0, false);
}

static double** FloatToDouble(int rows, int cols, float** m)
{
    double** d = dim2Double(rows, cols > 0 ? cols : 1);
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) d[i][j] = m[i][j];
    return d;
}

int regression(int n, int nY, int nX, float** Y, float** X, double** B, double* b0,
               double** predicted, double* r2, double* totalSS, bool report, FILE* stream,
               int language, bool details)
{
    double** y = FloatToDouble(n, nY, Y);
    double** x = FloatToDouble(n, nX, X);
    regression(n, nY, nX, y, x, B, b0, predicted, r2, totalSS, report, stream, language, details);
    free2D(y, n);
    free2D(x, n);
    return 1;
}

int regression(int n, int nY, int nX, float** Y, float** X, double** B, double* b0,
               double** predicted, double* r2)
{
    return regression(n, nY, nX, Y, X, B, b0, predicted, r2, nullptr, false, nullptr, 0, false);
}

// ---- Residuals of square matrices ----

// Regresses the pairs i < j of b on those of a; the work vectors hold the
// values in float precision on purpose, so the results carry float rounding.
static void MatrixRegression(int n, double** a, double** b, double** result, bool residuals)
{
    int m = n * (n - 1) / 2;
    if (m < 1) return;
    double** x = dim2Double(m, 1);
    double** y = dim2Double(m, 1);
    double** predicted = dim2Double(m, 1);
    double** coef = dim2Double(1, 1);
    double b0, r2;
    int k = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++, k++) {
            x[k][0] = (float)a[i][j];
            y[k][0] = (float)b[i][j];
        }
    regression(m, 1, 1, y, x, coef, &b0, predicted, &r2);
    k = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++, k++) {
            float fit = (float)predicted[k][0];
            result[i][j] = residuals ? b[i][j] - fit : fit;
        }
    free2D(x, m);
    free2D(y, m);
    free2D(predicted, m);
    free2D(coef, 1);
}

void ResidualsMatrixRegression(int n, double** a, double** b, double** residuals)
{
    MatrixRegression(n, a, b, residuals, true);
}

void PredictedMatrixRegression(int n, double** a, double** b, double** predicted)
{
    MatrixRegression(n, a, b, predicted, false);
}

// ---- Residuals and predictions on selected predictors ----

// Copies the columns of X with select[k] 1 (all when select is null).
static double** SelectColumns(int n, int nX, double** X, int* select, int* width)
{
    *width = 0;
    for (int k = 0; k < nX; k++)
        if (select == nullptr || select[k] == 1) (*width)++;
    double** chosen = dim2Double(n, *width > 0 ? *width : 1);
    int c = 0;
    for (int k = 0; k < nX; k++) {
        if (select != nullptr && select[k] != 1) continue;
        for (int i = 0; i < n; i++) chosen[i][c] = X[i][k];
        c++;
    }
    return chosen;
}

// Short regression of Y on the chosen predictors; predicted is n by nY.
// Without a selection X is used as it stands, with no copy.
static void FitSelected(int n, int nY, int nX, double** Y, double** X, int* select,
                        double** predicted)
{
    int width = nX;
    double** chosen = select != nullptr ? SelectColumns(n, nX, X, select, &width) : X;
    double** B = dim2Double(width > 0 ? width : 1, nY);
    double* b0 = dim1Double(nY);
    double* r2 = dim1Double(nY);
    regression(n, nY, width, Y, chosen, B, b0, predicted, r2);
    if (chosen != X) free2D(chosen, n);
    free2D(B, width > 0 ? width : 1);
    free1D(b0);
    free1D(r2);
}

int Regression_ResidualsSelect(int n, int nY, int nX, double** Y, double** X,
                               double** residuals, int* select)
{
    if (n < 1 || nY < 1) return 1;
    double** predicted = dim2Double(n, nY);
    FitSelected(n, nY, nX, Y, X, select, predicted);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < nY; j++) residuals[i][j] = Y[i][j] - predicted[i][j];
    free2D(predicted, n);
    return 1;
}

int Regression_PredictedSelect(int n, int nY, int nX, double** Y, double** X,
                               double** predicted, int* select, int* selectY)
{
    if (n < 1 || nY < 1) return 1;
    if (selectY == nullptr) {
        FitSelected(n, nY, nX, Y, X, select, predicted);
        return 1;
    }
    int width;
    double** responses = SelectColumns(n, nY, Y, selectY, &width);
    if (width > 0) {
        double** fitted = dim2Double(n, width);
        FitSelected(n, width, nX, responses, X, select, fitted);
        int c = 0;
        for (int j = 0; j < nY; j++) {
            if (selectY[j] != 1) continue;
            for (int i = 0; i < n; i++) predicted[i][j] = fitted[i][c];
            c++;
        }
        free2D(fitted, n);
    }
    free2D(responses, n);
    return 1;
}

int PCA_RegressionComponents(int n, int nX, double** X, int* select, int option,
                             double overfitFactorPCARegr, double** components)
{
    int m = 0;
    for (int k = 0; k < nX; k++)
        if (select == nullptr || select[k] == 1) m++;
    if (n < 1 || m < 1) return 0;
    // The chosen predictors become the rows of V.
    double** v = dim2Double(m, n);
    for (int k = 0, row = 0; k < nX; k++) {
        if (select != nullptr && select[k] != 1) continue;
        for (int i = 0; i < n; i++) v[row][i] = X[i][k];
        row++;
    }
    if (option == 1) {
        CenterRowsCovMV(m, n, v, v);
    } else {
        CenterRowsMV(m, n, v, v);
        NormalizeRowsMV(m, n, v, v);
    }
    double** cross = dim2Double(m, m);
    CrossProductMV(m, n, v, cross);
    UpperToLowerMatrix(m, cross);
    // V with its predictors in rows (orientation 1) is read exactly as V
    // transposed with them in columns would be, without the transposed copy.
    double** scores = dim2Double(m, n);
    int axes = OrdinationLib_Scores(m, n, v, cross, scores, 2, option == 1 ? 1 : 17, 1);
    // Too many components for the number of objects overfit: the
    // truncation to a whole number comes after the comparison.
    double limit = (n - 2) / overfitFactorPCARegr;
    if (limit < axes) axes = limit > 0.0 ? (int)limit : 0;
    for (int k = 0; k < axes; k++)
        for (int i = 0; i < n; i++) components[i][k] = scores[k][i];
    free2D(scores, m);
    free2D(cross, m);
    free2D(v, m);
    return axes;
}

int PCA_Regression_ResidualsSelect(int n, int nY, int nX, double** Y, double** X,
                                   double** residuals, int* select, int option,
                                   double overfitFactorPCARegr)
{
    if (n < 1 || nY < 1) return 1;
    double** components = dim2Double(n, nX > 0 ? nX : 1);
    int axes = PCA_RegressionComponents(n, nX, X, select, option, overfitFactorPCARegr, components);
    Regression_ResidualsSelect(n, nY, axes, Y, components, residuals, nullptr);
    free2D(components, n);
    return 1;
}

int MatrixInverse(int rows, int cols, double** a, double** inverse)
{
    if (rows < 1 || rows != cols) return 0;
    double** a1 = dim2Double(rows + 1, rows + 1);
    double** b1 = dim2Double(rows + 1, 2);
    Convertn_n1(rows, rows, a, a1);
    int ok = gaussj_Tarn(a1, rows, b1, 1);
    if (ok) Convertn1_n(rows, rows, a1, inverse);
    free2D(a1, rows + 1);
    free2D(b1, rows + 1);
    return ok ? 1 : 0;
}

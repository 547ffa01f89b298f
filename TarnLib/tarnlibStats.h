// Vector statistics, cross products, correlations, adjustments and ranks, with the -999 missing-value rules.
#ifndef TARNLIB_STATS_H
#define TARNLIB_STATS_H

// Missing-value rules of the routines whose name ends in MV (-999, compared
// exactly): left out of sums, counts, minima and maxima; a pair is dropped when
// either value is missing; a missing value passes a transformation unchanged.
// Argument orders: Adj routines take (rows, cols, output, input); the other
// matrix routines take (rows, cols, input, output). Every transformation may
// be called with output equal to input.

// ---- Statistics of a vector (float twins: float input, double sums) ----
double SumOfSquares(int n, double* x);
double SumOfSquares(int n, float* x);
double SumOfSquaresDev(int n, double* x);
double SumOfSquaresDev(int n, float* x);
double Variance(int n, double* x);
double Variance(int n, float* x);
double Mean(int n, double* x);
double Mean(int n, float* x);
void MeanStDev(int n, double* x, double* mean, double* sd);
void MeanStDev(int n, float* x, float* mean, float* sd);
void MeanStDev(int n, float* x, double* mean, double* sd);
double Moment(int n, double* x, int order);
double Moment(int n, float* x, int order);
double Range(int n, double* x);
double Range(int n, float* x);
double MatrixMax(int rows, int cols, double** m);
double MatrixMax(int rows, int cols, float** m);
// `select` may be null; otherwise only places with select[i] == 1 count.
double Median(int n, double* x, int* select);
double maxVector(int n, double* x);
double maxVector(int n, float* x);
double minVector(int n, double* x);
double minVector(int n, float* x);
int MaxVectorWhich(int n, double* x);
int MaxVectorWhich(int n, float* x);
void CountGroups(int n, int* labels, int* nGroups, int* distinct);
void CountGroupsSelect(int n, int* labels, int* select, int* nGroups, int* distinct);
void RowTotalsMV(int rows, int cols, double** m, double* totals);
void RowTotalsMV(int rows, int cols, float** m, double* totals);
void ColTotalsMV(int rows, int cols, double** m, double* totals);
void ColTotalsMV(int rows, int cols, float** m, double* totals);
double MatrixTotalMV(int rows, int cols, double** m);
double MatrixTotalMV(int rows, int cols, float** m);
void RowTotals(int rows, int cols, double** m, double* totals);
void RowTotals(int rows, int cols, float** m, double* totals);
void ColTotals(int rows, int cols, double** m, double* totals);
void ColTotals(int rows, int cols, float** m, double* totals);
double MatrixTotal(int rows, int cols, double** m);
double MatrixTotal(int rows, int cols, float** m);

// ---- Matrix helpers ----
void CopyMatrix(int rows, int cols, double** from, double** to);
void TransposeMatrix(int rows, int cols, double** from, double** to);
void TransposeSqMatrix(int n, double** from, double** to);
void UpperToLowerMatrix(int n, double** m);
void LowerToUpperMatrix(int n, double** m);
// c = a * b; 1 and nothing done when c1 != r2. Terms with a -999 factor are skipped.
int MatrixProd(int r1, int c1, int r2, int c2, double** a, double** b, double** c);
// c = a + sign * b; 1 on a shape mismatch.
int MatrixSum(int r1, int c1, int r2, int c2, double** a, double** b, double** c, double sign);
double MatrixTrace(int n, double** m);
double VectorProd(int n, double* a, double* b);

// ---- Cross products, covariance, correlation (rows are the variables) ----
// The square results fill out[i][j] for j >= i only.
double CrossProduct2VecMV(int n, double* a, double* b);
void CrossProductMV(int rows, int cols, double** in, double** out);
double Covariance2VecMV(int n, double* a, double* b);
void CovarianceMV(int rows, int cols, double** in, double** out);
void CenterRowsCovMV(int rows, int cols, double** in, double** out);
void CenterColsCovMV(int rows, int cols, double** in, double** out);
double Correlation2VecMV(int n, double* a, double* b);
// Without any -999 a constant row correlates 0 with everything (itself too);
// with a -999 anywhere the same row gives a not-a-number. Both are intended.
void CorrelationMV(int rows, int cols, double** in, double** out);
double Correlation2Vec(int n, double* a, double* b);
double Spearman2Vec(int n, double* a, double* b);

// ---- Adjustments ----
void CenterRowsMV(int rows, int cols, double** in, double** out);
void CenterColsMV(int rows, int cols, double** in, double** out);
// Float input, double output: each result is rounded to float before storing.
void CenterColsMV(int rows, int cols, float** in, double** out);
void CenterRows(int rows, int cols, double** in, double** out);
void CenterCols(int rows, int cols, double** in, double** out);
void CenterVector(int n, double* in, double* out);
void NormalizeRowsMV(int rows, int cols, double** in, double** out);
void NormalizeColsMV(int rows, int cols, double** in, double** out);
void NormalizeRows(int rows, int cols, double** in, double** out);
void NormalizeCols(int rows, int cols, double** in, double** out);
void NormalizeVector(int n, double* in, double* out);
void ZStandardizationRowsMV(int rows, int cols, double** in, double** out);
void ZStandardizationColsMV(int rows, int cols, double** in, double** out);
void ZStandardizationRowsMV(int rows, int cols, double* means, double* sds, double** in, double** out);
void ZStandardizationColsMV(int rows, int cols, double* means, double* sds, double** in, double** out);
// Results rounded to float precision on purpose (double overload).
void CorrAdj(int rows, int cols, double** out, double** in);
void CorrAdj(int rows, int cols, float** out, float** in);
void UnitLengthAdj(int rows, int cols, double** out, double** in);
void UnitLengthAdj(int rows, int cols, float** out, float** in);
void UnitSumRowsAdjMV(int rows, int cols, double** out, double** in);
void UnitSumColsAdjMV(int rows, int cols, double** out, double** in);
void UnitSumRowsAdj(int rows, int cols, double** out, double** in);
void UnitSumColsAdj(int rows, int cols, double** out, double** in);
void UnitSumVectorAdjMV(int n, double* out, double* in);
void HellingerRowsAdjMV(int rows, int cols, double** out, double** in);
void HellingerColsAdjMV(int rows, int cols, double** out, double** in);
void MaxAdjMV(int n, double* in, double* out);
void RangeColsAdjMV(int rows, int cols, double** out, double** in);
void RangeColsAdjMV(int rows, int cols, float** out, float** in);
// Divides by the range without subtracting the minimum: intended.
void RangeRowsAdjMV(int rows, int cols, double** out, double** in);
void DeviationsExpectationsMV(int rows, int cols, double** in, double** out);
void GowerStandardizationRows(int rows, int cols, double** m);
void GowerStandardizationCols(int rows, int cols, double** m);

// ---- Ranks (vectors zero-based, ranks with one-based meaning) ----
// order[k] = one-based index of the k-th smallest element: an ordering, not ranks.
void RankVector(int n, int* x, int* order);
void RankVector(int n, float* x, int* order);
void RankVector(int n, double* x, int* order);
void RankVectorAbs(int n, double* x, int* order);
void IndexVector(int n, int* x, int* index);
// Midranks; the MV form ranks only the non-missing values and keeps -999.
void RankVectorAdj(int n, double* x, double* ranks);
void RankVectorAdjMV(int n, double* x, double* ranks);
void RankVectorDAdj(int n, double* x, double* ranks);
void RankRowsAdj(int rows, int cols, double** out, double** in);
void RankRowsDAdj(int rows, int cols, double** out, double** in);
// Midranks over the upper triangle taken as one list; written to out's upper triangle.
void RankReseAdj(int n, double** in, double** out);

// ---- Coded transformations (in place) ----
// Scales the non-missing range to 1..classes; -999 stays.
void ClassesMV(int n, double* x, double* out, int classes);
void DataTransformationsLib(int rows, int cols, double** m, int preTransformation, int colAdjustment,
                            int rowAdjustment, int colClasses, int rowClasses, double bealsExponent,
                            int bealsOption);
// As above; `select` (one flag per row, may be null) keeps rows with flag 0 out of the steps.
void DataTransformationsLib(int rows, int cols, double** m, int preTransformation, int colAdjustment,
                            int rowAdjustment, int colClasses, int rowClasses, double bealsExponent,
                            int bealsOption, int* select);
void DataTransformationsLib_D(int rows, int cols, double** m, int preTransformation, int colAdjustment,
                              int rowAdjustment, int colClasses, int rowClasses, double bealsExponent,
                              int bealsOption);

#endif

// Text tables: matrices and vectors written aligned (folded at maxColsPrint) or tab-separated, and flat lists.
#ifndef TARNLIB_TABLES_H
#define TARNLIB_TABLES_H

#include <cstdio>

extern int maxColsPrint;  // widest table printed, in characters (a preference)

// All routines write to an open stream and neither flush nor close it.
// `order`, where present, is a list of one-based indices or a null pointer.

// ---- Measuring: the longest element written with "%.*g" (0 with no rows) ----
int GetWidthMax(int rows, int cols, double** m, int digits);
int GetWidthMax(int rows, int cols, float** m, int digits);
int GetWidthMax(int n, double* v, int digits);
int GetWidthMax(int n, float* v, int digits);
// The same of the square roots when squareRoot isn't 0.
int GetWidthMaxSqrt(int rows, int cols, double** m, int digits, int squareRoot);
int GetWidthMaxSqrt(int rows, int cols, float** m, int digits, int squareRoot);

// ---- Aligned style: fields of `width` ("%*.*g\t"), width 0 measures; rows
// fold when the line passes maxColsPrint. Each returns the width used ----
int PrintMatrix(FILE* f, int rows, int cols, double** m, int digits, int width);
int PrintMatrix(FILE* f, int rows, int cols, float** m, int digits, int width);
int PrintMatrixFloat(FILE* f, int rows, int cols, float** m, int digits, int width);
int PrintMatrixFloat(FILE* f, int rows, int cols, double** m, int digits, int width);
// Upper triangle: rows 0..n-skip-1, blanks left of column i+skip.
int PrintHalfMatrix(FILE* f, int n, double** m, int skip, int digits);
int PrintHalfMatrix(FILE* f, int n, float** m, int skip, int digits);
int PrintHalfMatrix(FILE* f, int n, double** m, int skip, int digits, int squareRoot);
int PrintHalfMatrix(FILE* f, int n, float** m, int skip, int digits, int squareRoot);
// Lower triangle with the diagonal; the width is measured over the square.
int PrintLowerHalfMatrix(FILE* f, int n, double** m, int digits, int width);
int PrintLowerHalfMatrix(FILE* f, int n, float** m, int digits, int width);
// One logical line; the fold counter starts at `indent`.
int PrintVector(FILE* f, int n, double* v, int digits, int width, int indent, int* order = nullptr);
int PrintVector(FILE* f, int n, float* v, int digits, int width, int indent, int* order = nullptr);
int PrintStringVector(FILE* f, int n, char** s, int width, int indent, int* order = nullptr);

// ---- Tab style: each item unpadded with a tab behind; never folds ----
int PrintMatrixTab(FILE* f, int rows, int cols, char** m);
int PrintMatrixTab(FILE* f, int rows, int cols, int** m);
int PrintMatrixTab(FILE* f, int rows, int cols, unsigned long** m);
int PrintMatrixTab(FILE* f, int rows, int cols, double** m, int digits);
int PrintMatrixTab(FILE* f, int rows, int cols, float** m, int digits);
int PrintLowerHalfMatrixTab(FILE* f, int n, double** m, int digits);
int PrintLowerHalfMatrixTab(FILE* f, int n, float** m, int digits);
int PrintLowerHalfMatrixTab(FILE* f, int n, int** m);
// Rows 0..n-skip-1, every column of each ("%g\t"): the lower part is not blanked.
int PrintHalfMatrixTab(FILE* f, int n, double** m, int skip);
int PrintHalfMatrixTab(FILE* f, int n, float** m, int skip);
int PrintHalfMatrixTab(FILE* f, int n, int** m, int skip);
int PrintVectorTab(FILE* f, int n, int* v, int* order = nullptr);
int PrintVectorTab(FILE* f, int n, double* v, int digits, int* order = nullptr);
int PrintVectorTab(FILE* f, int n, float* v, int digits, int* order = nullptr);
int PrintStringVectorTab(FILE* f, int n, char** s, int* order = nullptr);
// The subdiagonal m[i+1][i] on one line.
int PrintNeighborRese(FILE* f, int n, double** m, int digits);
int PrintNeighborRese(FILE* f, int n, float** m, int digits);

// ---- Flat lists ----
// One value a line ("%.*g\n"): row i, columns 0..i-1 (0..i with the diagonal).
void PrintLowerHalfMatrix_ff(FILE* f, int n, double** m, int digits, bool diagonal);
void PrintLowerHalfMatrix_ff(FILE* f, int n, float** m, int digits, bool diagonal);
// One value a line ("%.12g\n"): rows 0..n-skip-1, columns i+skip..n-1.
void PrintHalfMatrix_ff(FILE* f, int n, double** m, int skip);
void PrintHalfMatrix_ff(FILE* f, int n, float** m, int skip);
// The same elements on one row ("%g\t"), no newline.
void PrintHalfMatrix_row(FILE* f, int n, double** m, int skip);
void PrintHalfMatrix_row(FILE* f, int n, float** m, int skip);
void PrintHalfMatrix_row(FILE* f, int n, double** m, int skip, int squareRoot);
void PrintHalfMatrix_row(FILE* f, int n, float** m, int skip, int squareRoot);
// Rewrites values in place ("% #14e ") at the file positions in `offsets`,
// each updated to the position after its write; a failed seek skips the item.
void PrintHalfMatrix_bi(FILE* f, int n, double** m, long** offsets, int skip);
void PrintHalfMatrix_bi(FILE* f, int n, float** m, long** offsets, int skip);
void PrintVector_bi(FILE* f, int n, double* v, long* offsets);
void PrintVector_bi(FILE* f, int n, float* v, long* offsets);

#endif

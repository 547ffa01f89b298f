// Small matrices and element checks shared by the unit tests.
#ifndef TEST_UTIL_H
#define TEST_UTIL_H

#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <string>

#include <gtest/gtest.h>

#include "TarnLib/tarnlibDim.h"

namespace testutil {

const double M = -999.0;

// A zero-filled rows x cols matrix of the dim family, filled row by row from
// `values` when they are given, and released when it goes out of scope.
template <typename T>
struct MatrixOf {
    T** p;
    int rows;
    MatrixOf(int r, int c, std::initializer_list<double> values = {}) : p((T**)dim2D(sizeof(T), r, c)), rows(r)
    {
        int k = 0;
        for (double v : values) { p[k / c][k % c] = (T)v; k++; }
    }
    MatrixOf(int r, int c, const double* values) : MatrixOf(r, c)
    {
        for (int k = 0; k < r * c; k++) p[k / c][k % c] = (T)values[k];
    }
    ~MatrixOf() { free2D(p, rows); }
    MatrixOf(const MatrixOf&) = delete;
    MatrixOf& operator=(const MatrixOf&) = delete;
    operator T**() const { return p; }
    T* operator[](int i) const { return p[i]; }
};
using Mat = MatrixOf<double>;

// got[i] against the wanted values, -999 included, within `tol`.
inline void ExpectValues(const double* got, std::initializer_list<double> want, const char* what,
                         double tol = 1e-12)
{
    int i = 0;
    for (double w : want) { EXPECT_NEAR(got[i], w, tol) << what << ", element " << i; i++; }
}

inline void ExpectInts(const int* got, std::initializer_list<int> want, const char* what)
{
    int i = 0;
    for (int w : want) { EXPECT_EQ(got[i], w) << what << ", element " << i; i++; }
}

// A rows x cols matrix against values given row by row.
inline void ExpectMatrix(double** got, int rows, int cols, const double* want, double tol, const char* what)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++)
            EXPECT_NEAR(got[i][j], want[i * cols + j], tol) << what << " [" << i << "][" << j << "]";
}

// Runs `body` under a live recovery point: 0 when it returned, else the code.
template <typename F>
int RunGuarded(F body)
{
    return RunRecoverable([](void* f) { (*static_cast<F*>(f))(); }, &body);
}

// A temporary stream holding `text`, read from its start.
inline FILE* StreamOf(const std::string& text)
{
    FILE* fp = tmpfile();
    fputs(text.c_str(), fp);
    rewind(fp);
    return fp;
}

// Everything written to `fp` so far; the stream stays open.
inline std::string Contents(FILE* fp)
{
    fflush(fp);
    rewind(fp);
    std::string s;
    for (int c; (c = fgetc(fp)) != EOF;) s += (char)c;
    return s;
}

// The whole text of the file `name`, empty when it can't be opened.
inline std::string FileText(const char* name)
{
    FILE* fp = fopen(name, "rb");
    if (fp == nullptr) return "";
    std::string s = Contents(fp);
    fclose(fp);
    return s;
}

inline double** FromRows(int rows, int cols, const double* values)
{
    double** m = dim2Double(rows, cols);
    for (int k = 0; k < rows * cols; k++) m[k / cols][k % cols] = values[k];
    return m;
}

// Reproducible awkward numbers in about -4.4 to 5.6.
inline double** Noise(int rows, int cols, unsigned seed)
{
    double** m = dim2Double(rows, cols);
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            seed = seed * 1664525u + 1013904223u;
            m[i][j] = ((seed >> 9) % 10000) / 997.0 - 4.385;
        }
    return m;
}

// Pearson correlation of two vectors, straight from its definition.
inline double Pearson(int n, const double* a, const double* b)
{
    double ma = 0, mb = 0, sab = 0, saa = 0, sbb = 0;
    for (int k = 0; k < n; k++) { ma += a[k] / n; mb += b[k] / n; }
    for (int k = 0; k < n; k++) {
        sab += (a[k] - ma) * (b[k] - mb);
        saa += (a[k] - ma) * (a[k] - ma);
        sbb += (b[k] - mb) * (b[k] - mb);
    }
    return sab / std::sqrt(saa * sbb);
}

inline double** Symmetric(int n, unsigned seed)
{
    double** m = Noise(n, n, seed);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < i; j++) m[i][j] = m[j][i];
    return m;
}

inline void Free(int rows, std::initializer_list<double**> matrices)
{
    for (double** m : matrices) free2D(m, rows);
}

}  // namespace testutil

#endif

// Small matrices for the tests of resemblance, entropy, eigen, regression and congruence routines.
#ifndef TEST_RESE_HELPERS_H
#define TEST_RESE_HELPERS_H

#include <cmath>
#include <initializer_list>

#include "TarnLib/tarnlibDim.h"

namespace testrese {

const double M = -999.0;

inline double** FromRows(int rows, int cols, const double* values)
{
    double** m = dim2Double(rows, cols);
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) m[i][j] = values[i * cols + j];
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

}  // namespace testrese

#endif

// Matrix congruence: Mantel, Procrustes and RV coefficients, their partial forms, and other coefficients between square matrices.
// Mantel (1967), Cancer Research 27: 209-220; symmetric Procrustes statistic
// after Gower (1971) and Peres-Neto & Jackson (2001), Oecologia 129: 169-178;
// RV coefficient of Escoufier (1973), Biometrics 29: 751-760.
#include "TarnLib/tarnlibCongruence.h"

#include <cmath>
#include <cstdarg>

#include "TarnLib/tarnlibCommunity.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibEigen.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibRegression.h"
#include "TarnLib/tarnlibStats.h"

static const double missing = -999.0;

// ---- Mantel ----

// Pearson correlation of the pairs i < j; a pair with -999 on either side is
// left out of the means and of the sums. Runs in every permutation, so it
// allocates nothing.
template <typename TA, typename TB>
static double MantelCorr(int n, TA** a, TB** b)
{
    if (n < 2) return 0.0;
    double sumA = 0.0, sumB = 0.0;
    long count = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            if (a[i][j] == missing || b[i][j] == missing) continue;
            sumA += a[i][j];
            sumB += b[i][j];
            count++;
        }
    if (count == 0) return 0.0;
    double meanA = sumA / count, meanB = sumB / count;
    double ssA = 0.0, ssB = 0.0, cross = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            if (a[i][j] == missing || b[i][j] == missing) continue;
            double da = a[i][j] - meanA, db = b[i][j] - meanB;
            ssA += da * da;
            ssB += db * db;
            cross += da * db;
        }
    if (ssA == 0.0 || ssB == 0.0) return 0.0;
    return cross / std::sqrt(ssA * ssB);
}

double MatrixCorr(int n, double** a, double** b) { return MantelCorr(n, a, b); }

// MantelCorr's sums of the pairs of K matrices, each in MantelCorr's order;
// bad[m] when a pair of a[m] holds -999.
template <int K>
static void PairSums(int n, double** const* a, double* sum, bool* bad)
{
    double s[K];
    bool b[K];
    for (int m = 0; m < K; m++) {
        s[m] = 0.0;
        b[m] = false;
    }
    for (int i = 0; i < n; i++) {
        const double* row[K];
        for (int m = 0; m < K; m++) row[m] = a[m][i];
        for (int j = i + 1; j < n; j++)
            for (int m = 0; m < K; m++) {
                double x = row[m][j];
                b[m] |= x == missing;
                s[m] += x;
            }
    }
    for (int m = 0; m < K; m++) {
        sum[m] = s[m];
        bad[m] = b[m];
    }
}

// MantelCorr's deviations from the means and their sums of squares.
template <int K>
static void PairDeviations(int n, double** const* a, const double* mean, double* const* centred, double* ss)
{
    double q[K];
    for (int m = 0; m < K; m++) q[m] = 0.0;
    long p = 0;
    for (int i = 0; i < n; i++) {
        const double* row[K];
        for (int m = 0; m < K; m++) row[m] = a[m][i];
        for (int j = i + 1; j < n; j++, p++)
            for (int m = 0; m < K; m++) {
                double d = row[m][j] - mean[m];
                centred[m][p] = d;
                q[m] += d * d;
            }
    }
    for (int m = 0; m < K; m++) ss[m] = q[m];
}

// Up to four matrices in one pass of each kind.
static void PrepareFour(int n, int k, double** const* a, double* const* centred, double* ss, bool* ok)
{
    double sum[4];
    bool bad[4];
    if (k == 4) PairSums<4>(n, a, sum, bad);
    else if (k == 3) PairSums<3>(n, a, sum, bad);
    else if (k == 2) PairSums<2>(n, a, sum, bad);
    else PairSums<1>(n, a, sum, bad);
    long count = (long)n * (n - 1) / 2;
    double** good[4];
    double* to[4];
    double mean[4], squares[4];
    int used = 0;
    for (int m = 0; m < k; m++) {
        ok[m] = !bad[m];
        ss[m] = 0.0;
        if (bad[m]) continue;
        good[used] = a[m];
        to[used] = centred[m];
        mean[used++] = sum[m] / count;
    }
    if (used == 4) PairDeviations<4>(n, good, mean, to, squares);
    else if (used == 3) PairDeviations<3>(n, good, mean, to, squares);
    else if (used == 2) PairDeviations<2>(n, good, mean, to, squares);
    else if (used == 1) PairDeviations<1>(n, good, mean, to, squares);
    for (int m = 0, u = 0; m < k; m++)
        if (ok[m]) ss[m] = squares[u++];
}

void MatrixCorrPrepareMany(int n, int k, double** const* a, double* const* centred, double* ss, bool* ok)
{
    for (int m = 0; m < k; m++) {
        ok[m] = false;
        ss[m] = 0.0;
    }
    if (n < 2) return;
    for (int first = 0; first < k; first += 4)
        PrepareFour(n, k - first < 4 ? k - first : 4, a + first, centred + first, ss + first, ok + first);
}

void MatrixCorrPairSums(int n, int k, double** const* a, double* sum, bool* missing)
{
    for (int first = 0; first < k; first += 4) {
        int now = k - first < 4 ? k - first : 4;
        if (now == 4) PairSums<4>(n, a + first, sum + first, missing + first);
        else if (now == 3) PairSums<3>(n, a + first, sum + first, missing + first);
        else if (now == 2) PairSums<2>(n, a + first, sum + first, missing + first);
        else PairSums<1>(n, a + first, sum + first, missing + first);
    }
}

bool MatrixCorrPrepare(int n, double** a, double* centred, double* ss)
{
    bool ok;
    MatrixCorrPrepareMany(n, 1, &a, &centred, ss, &ok);
    return ok;
}

// K cross products in one pass: K running sums, each in pair order.
template <int K>
static void CrossProducts(long pairs, const double* a, const double* const* b, double* cross)
{
    double s[K];
    for (int m = 0; m < K; m++) s[m] = 0.0;
    for (long p = 0; p < pairs; p++) {
        double x = a[p];
        for (int m = 0; m < K; m++) s[m] += x * b[m][p];
    }
    for (int m = 0; m < K; m++) cross[m] = s[m];
}

void MatrixCorrPrepared(long pairs, const double* a, double ssA, int k, const double* const* b,
                        const double* ssB, double* r)
{
    for (int first = 0; first < k; first += 4) {
        double cross[4];
        int left = k - first;
        if (left >= 4) CrossProducts<4>(pairs, a, b + first, cross);
        else if (left == 3) CrossProducts<3>(pairs, a, b + first, cross);
        else if (left == 2) CrossProducts<2>(pairs, a, b + first, cross);
        else CrossProducts<1>(pairs, a, b + first, cross);
        int used = left < 4 ? left : 4;
        for (int m = 0; m < used; m++) {
            double ssb = ssB[first + m];
            r[first + m] = (ssA == 0.0 || ssb == 0.0) ? 0.0 : cross[m] / std::sqrt(ssA * ssb);
        }
    }
}
double MatrixCorr(int n, float** a, float** b) { return MantelCorr(n, a, b); }
double MatrixCorr(int n, float** a, double** b) { return MantelCorr(n, a, b); }
double MatrixCorr(int n, double** a, float** b) { return MantelCorr(n, a, b); }

// ---- Procrustes and RV ----

double vecProd(int n, double** a, double** b)
{
    double sum = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++) sum += a[i][j] * b[i][j];
    return sum;
}

// S = C times C transposed (rows by rows) from the centred data C and its
// transpose Ct, with MatrixProd's arithmetic, terms with a -999 factor
// skipped. S[j][i] would repeat the products of S[i][j] in the same order,
// so only j >= i is computed and mirrored: the same matrix at half the cost.
// Without any -999 in C the terms need no test.
static void OuterProduct(int rows, int cols, double** c, double** ct, double** s)
{
    bool complete = true;
    for (int i = 0; i < rows && complete; i++)
        for (int k = 0; k < cols; k++)
            if (c[i][k] == missing) complete = false;
    for (int i = 0; i < rows; i++) {
        const double* ci = c[i];
        for (int j = i; j < rows; j++) {
            double sum = 0.0;
            if (complete) {
                for (int k = 0; k < cols; k++) sum += ci[k] * ct[k][j];
            } else {
                for (int k = 0; k < cols; k++)
                    if (ci[k] != missing && ct[k][j] != missing) sum += ci[k] * ct[k][j];
            }
            s[i][j] = sum;
            s[j][i] = sum;
        }
    }
}

double RVcoeffOuter(int rows, int p, int q, double** a, double** b)
{
    int side = rows;
    if (p > side) side = p;
    if (q > side) side = q;
    double** centred = dim2Double(side, side);
    double** transposed = dim2Double(side, side);
    double** s = dim2Double(rows, rows);
    double** t = dim2Double(rows, rows);
    CenterColsMV(rows, p, a, centred);
    TransposeMatrix(rows, p, centred, transposed);
    OuterProduct(rows, p, centred, transposed, s);
    CenterColsMV(rows, q, b, centred);
    TransposeMatrix(rows, q, centred, transposed);
    OuterProduct(rows, q, centred, transposed, t);
    // vecProd(S, T), vecProd(S, S) and vecProd(T, T) in one pass: each sum
    // runs in the same order as alone, so the results are the same.
    double st = 0.0, ss = 0.0, tt = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < rows; j++) {
            st += s[i][j] * t[i][j];
            ss += s[i][j] * s[i][j];
            tt += t[i][j] * t[i][j];
        }
    // No guard: a constant matrix gives 0 / 0, which the tests carry on.
    double rv = st / std::sqrt(ss * tt);
    free2D(centred, side);
    free2D(transposed, side);
    free2D(s, rows);
    free2D(t, rows);
    return rv;
}

double ProcrustesCoeffPadded(int rows, int p, int q, double** a, double** b)
{
    // X is the narrower matrix (a at equal width): the result is symmetric.
    double** x = p <= q ? a : b;
    double** y = p <= q ? b : a;
    int small = p <= q ? p : q;
    int big = p <= q ? q : p;
    if (rows < 2 || small < 1) return 0.0;
    double** xt = dim2Double(small, rows);
    double** yc = dim2Double(rows, big);
    double** c = dim2Double(big, big);
    double** u = dim2Double(big, big);
    double** v = dim2Double(big, big);
    double* s = dim1Double(big);
    TransposeMatrix(rows, small, x, xt);
    CenterRowsMV(small, rows, xt, xt);
    CenterColsMV(rows, big, y, yc);
    GowerStandardizationRows(small, rows, xt);
    GowerStandardizationCols(rows, big, yc);
    MatrixProd(small, rows, rows, big, xt, yc, c);
    ScalarMatrixProd(big, big, 1.0 / (rows - 1), c, c);
    double sum = 0.0;
    if (SingValueDecomp(big, big, c, u, s, v))
        for (int k = 0; k < big; k++) sum += s[k];
    free2D(xt, small);
    free2D(yc, rows);
    free2D(c, big);
    free2D(u, big);
    free2D(v, big);
    free1D(s);
    return sum;
}

// ---- Prepared matrices ----

// Scalar product in four running sums, which the processor overlaps.
static inline double Dot(int n, const double* x, const double* y)
{
    double s0 = 0.0, s1 = 0.0, s2 = 0.0, s3 = 0.0;
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        s0 += x[i] * y[i];
        s1 += x[i + 1] * y[i + 1];
        s2 += x[i + 2] * y[i + 2];
        s3 += x[i + 3] * y[i + 3];
    }
    for (; i < n; i++) s0 += x[i] * y[i];
    return (s0 + s1) + (s2 + s3);
}

void CongruenceFormAlloc(CongruenceForm* f, int which, int rows, int maxCols)
{
    f->which = which;
    f->rows = rows;
    f->cols = 0;
    f->maxCols = maxCols > 0 ? maxCols : 1;
    f->finite = true;
    f->data = nullptr;
    f->col = dim1Double(f->maxCols * (rows > 0 ? rows : 1));
    f->gram = 0.0;
}

void CongruenceFormFree(CongruenceForm* f)
{
    free1D(f->col);
    f->col = nullptr;
}

void PrepareCongruence(CongruenceForm* f, int cols, double** a)
{
    int rows = f->rows;
    f->cols = cols;
    f->data = a;
    double total = 0.0;
    for (int j = 0; j < cols; j++) {
        double* c = f->col + (long)j * rows;
        double sum = 0.0;
        int k = 0;
        for (int i = 0; i < rows; i++)
            if (a[i][j] != missing) {
                sum += a[i][j];
                k++;
            }
        double mean = sum / k;
        for (int i = 0; i < rows; i++) {
            double d = a[i][j] == missing ? 0.0 : a[i][j] - mean;
            c[i] = d;
            total += d * d;
        }
    }
    long size = (long)cols * rows;
    if (f->which == 2) {
        // Total variance 1: the sum of squares over rows - 1.
        double root = std::sqrt(total / (rows - 1));
        for (long e = 0; e < size; e++) f->col[e] /= root;
    }
    bool finite = true;
    for (long e = 0; e < size && finite; e++) finite = std::isfinite(f->col[e]);
    f->finite = finite;
    f->gram = 0.0;
    if (f->which != 3 || !finite) return;
    double diagonal = 0.0, off = 0.0;
    for (int s = 0; s < cols; s++) {
        const double* x = f->col + (long)s * rows;
        double d = Dot(rows, x, x);
        diagonal += d * d;
        for (int t = s + 1; t < cols; t++) {
            double c = Dot(rows, x, f->col + (long)t * rows);
            off += c * c;
        }
    }
    f->gram = diagonal + 2.0 * off;
}

// Sum of the singular values of the k by m matrix c (row after row, k at
// most m), by one-sided Jacobi rotations that make its rows orthogonal:
// the singular values are then their norms. c is overwritten. The rotations
// stop when every pair is orthogonal to 1e-15 of its norms, which takes a
// handful of sweeps; 60 is a bound that finite data never reach.
static double SumSingularValues(int k, int m, double* c)
{
    for (int sweep = 0; sweep < 60; sweep++) {
        bool rotated = false;
        for (int a = 0; a + 1 < k; a++)
            for (int b = a + 1; b < k; b++) {
                double* x = c + (long)a * m;
                double* y = c + (long)b * m;
                double alpha = Dot(m, x, x), beta = Dot(m, y, y), gamma = Dot(m, x, y);
                if (gamma == 0.0 || std::fabs(gamma) <= 1e-15 * std::sqrt(alpha * beta)) continue;
                rotated = true;
                double zeta = (beta - alpha) / (2.0 * gamma);
                double t = (zeta >= 0.0 ? 1.0 : -1.0) / (std::fabs(zeta) + std::sqrt(1.0 + zeta * zeta));
                double cs = 1.0 / std::sqrt(1.0 + t * t), sn = cs * t;
                for (int i = 0; i < m; i++) {
                    double u = x[i], v = y[i];
                    x[i] = cs * u - sn * v;
                    y[i] = sn * u + cs * v;
                }
            }
        if (!rotated) break;
    }
    double sum = 0.0;
    for (int a = 0; a < k; a++) {
        const double* x = c + (long)a * m;
        sum += std::sqrt(Dot(m, x, x));
    }
    return sum;
}

double CongruencePrepared(const CongruenceForm* a, const CongruenceForm* b, double* work)
{
    int rows = a->rows;
    if (a->which == 2) {
        // The narrower matrix gives the rows of the cross-product.
        const CongruenceForm* x = a->cols <= b->cols ? a : b;
        const CongruenceForm* y = a->cols <= b->cols ? b : a;
        if (rows < 2 || x->cols < 1) return 0.0;
        if (!a->finite || !b->finite) return ProcrustesCoeffPadded(rows, a->cols, b->cols, a->data, b->data);
        double scale = 1.0 / (rows - 1);
        for (int s = 0; s < x->cols; s++)
            for (int t = 0; t < y->cols; t++)
                work[(long)s * y->cols + t] =
                    Dot(rows, x->col + (long)s * rows, y->col + (long)t * rows) * scale;
        return SumSingularValues(x->cols, y->cols, work);
    }
    if (!a->finite || !b->finite) return RVcoeffOuter(rows, a->cols, b->cols, a->data, b->data);
    // ||A'B||^2 is the scalar product of A A' and B B'. No guard: a constant
    // matrix gives 0 / 0.
    double cross = 0.0;
    for (int s = 0; s < a->cols; s++)
        for (int t = 0; t < b->cols; t++) {
            double c = Dot(rows, a->col + (long)s * rows, b->col + (long)t * rows);
            cross += c * c;
        }
    return cross / std::sqrt(a->gram * b->gram);
}

// One coefficient of two matrices: both prepared, then compared.
static double PreparedPair(int which, int rows, int p, int q, double** a, double** b)
{
    CongruenceForm fa, fb;
    CongruenceFormAlloc(&fa, which, rows, p);
    CongruenceFormAlloc(&fb, which, rows, q);
    double* work = dim1Double(p * q > 0 ? p * q : 1);
    PrepareCongruence(&fa, p, a);
    PrepareCongruence(&fb, q, b);
    double coefficient = CongruencePrepared(&fa, &fb, work);
    free1D(work);
    CongruenceFormFree(&fa);
    CongruenceFormFree(&fb);
    return coefficient;
}

double ProcrustesCoeffThin(int rows, int p, int q, double** a, double** b)
{
    if (rows < 2 || p < 1 || q < 1) return 0.0;
    return PreparedPair(2, rows, p, q, a, b);
}

double RVcoeffThin(int rows, int p, int q, double** a, double** b)
{
    return PreparedPair(3, rows, p, q, a, b);
}

double ProcrustesCoeff(int rows, int p, int q, double** a, double** b)
{
    return ProcrustesCoeffPadded(rows, p, q, a, b);
}

double RVcoeff(int rows, int p, int q, double** a, double** b)
{
    return RVcoeffOuter(rows, p, q, a, b);
}

// ---- Partial forms ----

double PartialCorrelation(double rXY, double rXZ, double rYZ)
{
    // Only +1 is caught; -1 divides by zero and the result is not finite.
    if (AlmostEqual_Tolerance(rXZ, 1.0, 1e-09) || AlmostEqual_Tolerance(rYZ, 1.0, 1e-09)) return 0.0;
    return (rXY - rXZ * rYZ) / (std::sqrt(1.0 - rYZ * rYZ) * std::sqrt(1.0 - rXZ * rXZ));
}

double PartialMatrixCorrelation(int rows, int p, int q, double** a, double** b, int which,
                                double overfitFactor, int nControls, ...)
{
    // Two passes over the arguments: the stated widths size the predictors,
    // then the selected columns are copied side by side in the order given.
    va_list args;
    va_start(args, nControls);
    int stated = 0;
    for (int m = 0; m < nControls; m++) {
        stated += va_arg(args, int);
        (void)va_arg(args, int*);
        (void)va_arg(args, double**);
    }
    va_end(args);
    double** predictors = dim2Double(rows, stated > 0 ? stated : 1);
    int width = 0;
    va_start(args, nControls);
    for (int m = 0; m < nControls; m++) {
        int cols = va_arg(args, int);
        int* select = va_arg(args, int*);
        double** control = va_arg(args, double**);
        for (int k = 0; k < cols; k++) {
            if (select != nullptr && select[k] != 1) continue;
            for (int i = 0; i < rows; i++) predictors[i][width] = control[i][k];
            width++;
        }
    }
    va_end(args);
    double** resA = dim2Double(rows, p);
    double** resB = dim2Double(rows, q);
    if (nControls >= 1) {
        // PCA_Regression_ResidualsSelect of a and of b, with option 2, no
        // selection and overfitFactor: both are regressed on the same
        // components, so these are found once, with the same results.
        double** components = dim2Double(rows, width > 0 ? width : 1);
        int axes = PCA_RegressionComponents(rows, width, predictors, nullptr, 2, overfitFactor, components);
        Regression_ResidualsSelect(rows, p, axes, a, components, resA, nullptr);
        Regression_ResidualsSelect(rows, q, axes, b, components, resB, nullptr);
        free2D(components, rows);
    }
    double coefficient = 0.0;
    if (which == 3) coefficient = RVcoeff(rows, p, q, resA, resB);
    else if (which == 2) coefficient = ProcrustesCoeff(rows, p, q, resA, resB);
    free2D(predictors, rows);
    free2D(resA, rows);
    free2D(resB, rows);
    return coefficient;
}

// ---- Deviations between matrices ----

double SQMatrixDeviations(int rows, int cols, double** a, double** b)
{
    double sum = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) sum += (a[i][j] - b[i][j]) * (a[i][j] - b[i][j]);
    return 1.0 - sum / (2.0 * rows);
}

double SumAbsMatrixDeviations(int rows, int cols, double** a, double** b)
{
    double sum = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) sum += std::fabs(a[i][j] - b[i][j]);
    return 1.0 - sum / (2.0 * rows);
}

// ---- Other coefficients over the pairs i < j ----

double MatrixCov(int n, double** a, double** b)
{
    long m = (long)n * (n - 1) / 2;
    if (m < 2) return 0.0;
    double sumA = 0.0, sumB = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            sumA += a[i][j];
            sumB += b[i][j];
        }
    double meanA = sumA / m, meanB = sumB / m, cross = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) cross += (a[i][j] - meanA) * (b[i][j] - meanB);
    return cross / (m - 1);
}

// Pairs where both elements are below 1e-06 in absolute value are left out.
static bool BothNearZero(double x, double y)
{
    return std::fabs(x) < 1e-06 && std::fabs(y) < 1e-06;
}

double MatrixCorrAdj(int n, double** a, double** b)
{
    double sumA = 0.0, sumB = 0.0;
    long count = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            if (BothNearZero(a[i][j], b[i][j])) continue;
            sumA += a[i][j];
            sumB += b[i][j];
            count++;
        }
    if (count == 0) return 0.0;
    double meanA = sumA / count, meanB = sumB / count, ssA = 0.0, ssB = 0.0, cross = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            if (BothNearZero(a[i][j], b[i][j])) continue;
            double da = a[i][j] - meanA, db = b[i][j] - meanB;
            ssA += da * da;
            ssB += db * db;
            cross += da * db;
        }
    if (ssA == 0.0 || ssB == 0.0) return 0.0;
    return cross / std::sqrt(ssA * ssB);
}

double MatrixProdMomentAdj(int n, double* ssA, double* ssB, double** a, double** b)
{
    *ssA = 0.0;
    *ssB = 0.0;
    if (n < 2) return 0.0;
    // Float precision throughout, as this coefficient always had it.
    float sumA = 0.0f, sumB = 0.0f;
    long count = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            if (BothNearZero(a[i][j], b[i][j])) continue;
            sumA += (float)a[i][j];
            sumB += (float)b[i][j];
            count++;
        }
    if (count == 0) return 0.0;
    float meanA = sumA / count, meanB = sumB / count, sa = 0.0f, sb = 0.0f, cross = 0.0f;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            if (BothNearZero(a[i][j], b[i][j])) continue;
            float da = (float)a[i][j] - meanA, db = (float)b[i][j] - meanB;
            sa += da * da;
            sb += db * db;
            cross += da * db;
        }
    *ssA = sa;
    *ssB = sb;
    return cross;
}

double MatrixRankCorr(int n, double** a, double** b)
{
    int m = n * (n - 1) / 2;
    if (m < 2) return 0.0;
    double** pairs = dim2Double(2, m);
    double** ranks = dim2Double(2, m);
    int k = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++, k++) {
            pairs[0][k] = a[i][j];
            pairs[1][k] = b[i][j];
        }
    RankRowsAdj(2, m, ranks, pairs);
    double d = 0.0;
    for (k = 0; k < m; k++) {
        // Ranks are held in float precision.
        float diff = (float)ranks[0][k] - (float)ranks[1][k];
        d += diff * diff;
    }
    free2D(pairs, 2);
    free2D(ranks, 2);
    double md = m;
    return 1.0 - 6.0 * d / (md * md * md - md);
}

double MatrixCos(int n, double** a, double** b)
{
    double cross = 0.0, ssA = 0.0, ssB = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            cross += a[i][j] * b[i][j];
            ssA += a[i][j] * a[i][j];
            ssB += b[i][j] * b[i][j];
        }
    if (ssA == 0.0 || ssB == 0.0) return 0.0;
    return cross / std::sqrt(ssA * ssB);
}

double MatrixStress(int n, double** a, double** b)
{
    double r = MatrixCorr(n, a, b);
    return 1.0 - r * r;
}

double MatrixStressKruskal(int n, double** a, double** b)
{
    double num = 0.0, den = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            double d = a[i][j] - b[i][j], h = (a[i][j] + b[i][j]) / 2.0;
            num += d * d;
            den += h * h;
        }
    if (den == 0.0) return -1.0;
    return std::sqrt(num / den);
}

double MatrixAbsValDist(int n, double** a, double** b)
{
    double sum = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) sum += std::fabs(a[i][j] - b[i][j]);
    return sum;
}

double MatrixEudDist(int n, double** a, double** b)
{
    double sum = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) sum += (a[i][j] - b[i][j]) * (a[i][j] - b[i][j]);
    return sum > 0.0 ? std::sqrt(sum) : sum;
}

double MatrixDist(int n, double** a, double** b)
{
    // Float precision, as this coefficient always had it.
    float ssA = 0.0f, ssB = 0.0f;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            ssA += (float)(a[i][j] * a[i][j]);
            ssB += (float)(b[i][j] * b[i][j]);
        }
    float ra = ssA > 0.0f ? std::sqrt(ssA) : 1.0f, rb = ssB > 0.0f ? std::sqrt(ssB) : 1.0f;
    float sum = 0.0f;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            float d = (float)a[i][j] / ra - (float)b[i][j] / rb;
            sum += d * d;
        }
    return std::sqrt(sum);
}

double PartialMatrixCorr(int n, double** a, double** b, double** c)
{
    if (n < 2) return 0.0;
    double m = (double)n * (n - 1) / 2.0;
    double sa = 0, sb = 0, sc = 0, saa = 0, sbb = 0, scc = 0, sab = 0, sac = 0, sbc = 0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) {
            double x = a[i][j], y = b[i][j], z = c[i][j];
            sa += x; sb += y; sc += z;
            saa += x * x; sbb += y * y; scc += z * z;
            sab += x * y; sac += x * z; sbc += y * z;
        }
    double ssA = saa - sa * sa / m, ssB = sbb - sb * sb / m, ssC = scc - sc * sc / m;
    double cAB = sab - sa * sb / m, cAC = sac - sa * sc / m, cBC = sbc - sb * sc / m;
    // A zero sum of squares makes the two correlations that use it 0.
    double rAB = ssA == 0.0 || ssB == 0.0 ? 0.0 : cAB / std::sqrt(ssA * ssB);
    double rAC = ssA == 0.0 || ssC == 0.0 ? 0.0 : cAC / std::sqrt(ssA * ssC);
    double rBC = ssB == 0.0 || ssC == 0.0 ? 0.0 : cBC / std::sqrt(ssB * ssC);
    return PartialCorrelation(rAB, rAC, rBC);
}

double RhoResemblance(int n, double** a, double** b) {
  if (n >= 3) return MatrixCorr(n, a, b);
  if (n < 2) return NAN;  // no pair of communities to compare
  double x = a[0][1], y = b[0][1];
  double larger = x > y ? x : y;
  return 1.0 - std::fabs(x - y) / larger;
}

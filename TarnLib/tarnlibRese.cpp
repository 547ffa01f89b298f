// Resemblance measures between the objects of a data matrix, the ResemblanceLib dispatcher and matrix conversions.
// Distances and binary coefficients as in Legendre & Legendre, Numerical
// Ecology (2012), ch. 7; Gower's centring of a distance matrix after Gower
// (1966), Biometrika 53: 325-338.
#include "TarnLib/tarnlibRese.h"

#include <cfloat>
#include <cmath>
#include <cstdint>

#include "TarnLib/tarnlibCluster.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibEntropy.h"
#include "TarnLib/tarnlibGower.h"
#include "TarnLib/tarnlibStats.h"

static const double missing = -999.0;

// ---- Continuous measures ----

static bool HasMissing(int rows, int cols, double** in)
{
    for (int i = 0; i < rows; i++)
        for (int k = 0; k < cols; k++)
            if (in[i][k] == missing) return true;
    return false;
}

// The Euclidean loops zero the diagonal on the calling thread, then share the
// rows among the team by a static schedule; each thread writes only its own
// rows of out and reads in, so the result is the same with any team size.
// Below about four million differences a team costs more to start and to
// meet again than it saves (the analysis calls these loops many times on a
// few dozen communities), so they stay on the calling thread.
static bool TeamWorthIt(int rows, int cols)
{
    return 0.5 * rows * rows * cols >= 4000000.0;
}

void EucliDist(int rows, int cols, double** in, double** out)
{
    for (int i = 0; i < rows; i++) out[i][i] = 0.0;
#pragma omp parallel for schedule(static) if (TeamWorthIt(rows, cols))
    for (int i = 0; i < rows; i++) {
        for (int j = i + 1; j < rows; j++) {
            double sum = 0.0;
            for (int k = 0; k < cols; k++) {
                double d = in[i][k] - in[j][k];
                sum += d * d;
            }
            out[i][j] = sum > 0.0 ? std::sqrt(sum) : 0.0;
        }
    }
}

// Runs in every permutation: complete data, the usual case, skip the tests
// for -999, which would leave out nothing.
void EucliDistMV(int rows, int cols, double** in, double** out)
{
    if (!HasMissing(rows, cols, in)) {
        EucliDist(rows, cols, in, out);
        return;
    }
    for (int i = 0; i < rows; i++) out[i][i] = 0.0;
#pragma omp parallel for schedule(static) if (TeamWorthIt(rows, cols))
    for (int i = 0; i < rows; i++) {
        for (int j = i + 1; j < rows; j++) {
            double sum = 0.0;
            for (int k = 0; k < cols; k++) {
                if (in[i][k] == missing || in[j][k] == missing) continue;
                double d = in[i][k] - in[j][k];
                sum += d * d;
            }
            out[i][j] = sum > 0.0 ? std::sqrt(sum) : 0.0;
        }
    }
}

void EucliDistMVSelect(int rows, int cols, double** in, double** out, int* select)
{
    for (int i = 0; i < rows; i++) out[i][i] = 0.0;
#pragma omp parallel for schedule(static) if (TeamWorthIt(rows, cols))
    for (int i = 0; i < rows; i++) {
        for (int j = i + 1; j < rows; j++) {
            double sum = 0.0;
            for (int k = 0; k < cols; k++) {
                if (select[k] == 0 || in[i][k] == missing || in[j][k] == missing) continue;
                double d = in[i][k] - in[j][k];
                sum += d * d;
            }
            out[i][j] = sum > 0.0 ? std::sqrt(sum) : 0.0;
        }
    }
}

void AbsValFunctionMV(int rows, int cols, double** in, double** out)
{
    for (int i = 0; i < rows; i++) {
        out[i][i] = 0.0;
        for (int j = i + 1; j < rows; j++) {
            double sum = 0.0;
            for (int k = 0; k < cols; k++)
                if (in[i][k] != missing && in[j][k] != missing) sum += std::fabs(in[i][k] - in[j][k]);
            out[i][j] = sum;
        }
    }
}

void BrayCurtisMV(int rows, int cols, double** in, double** out)
{
    // Negative data are shifted by their minimum in the denominator only.
    double least = DBL_MAX;
    for (int i = 0; i < rows; i++)
        for (int k = 0; k < cols; k++)
            if (in[i][k] != missing && in[i][k] < least) least = in[i][k];
    double shift = least < 0.0 ? least : 0.0;
    for (int i = 0; i < rows; i++) {
        out[i][i] = 0.0;
        for (int j = i + 1; j < rows; j++) {
            double num = 0.0, den = 0.0;
            for (int k = 0; k < cols; k++) {
                double x = in[i][k], y = in[j][k];
                if (x == missing || y == missing) continue;
                num += std::fabs(x - y);
                den += x - shift + y - shift;
            }
            // An empty denominator leaves the caller's element as it was.
            if (den > 0.0) out[i][j] = num / den;
        }
    }
}

double ChordDistSq2VecMV(int n, double* a, double* b)
{
    double ssa = 0.0, ssb = 0.0;
    for (int k = 0; k < n; k++) {
        if (a[k] == missing || b[k] == missing) continue;
        ssa += a[k] * a[k];
        ssb += b[k] * b[k];
    }
    double ra = std::sqrt(ssa), rb = std::sqrt(ssb);
    double sum = 0.0;
    for (int k = 0; k < n; k++) {
        if (a[k] == missing || b[k] == missing) continue;
        double d = a[k] / ra - b[k] / rb;
        sum += d * d;
    }
    return sum;
}

void ChordDistMV(int rows, int cols, double** in, double** out)
{
    if (!HasMissing(rows, cols, in)) {
        double** work = dim2Double(rows, cols);
        NormalizeRowsMV(rows, cols, in, work);
        EucliDistMV(rows, cols, work, out);
        free2D(work, rows);
        return;
    }
    // With missing values the pairs give squared chord distances (no root):
    // the two paths differ on purpose and callers rely on each as it is.
    for (int i = 0; i < rows; i++)
        for (int j = i; j < rows; j++) out[i][j] = ChordDistSq2VecMV(cols, in[i], in[j]);
}

void NominalReseNonHier(int rows, int cols, double** in, double** out, int option)
{
    if (option == 6 || option == 7) {
        EucliDistMV(rows, cols, in, out);
    } else if (option == 8 || option == 9) {
        AbsValFunctionMV(rows, cols, in, out);
    } else if (option == 10) {
        double** work = dim2Double(rows, cols);
        NormalizeRowsMV(rows, cols, in, work);
        EucliDistMV(rows, cols, work, out);
        free2D(work, rows);
    }
}

// ---- Binary measures ----

void JointFreq(int n, double* x, double* y, int* a, int* b, int* c, int* d)
{
    *a = *b = *c = *d = 0;
    for (int k = 0; k < n; k++) {
        if (x[k] == 1.0 && y[k] == 1.0) (*a)++;
        else if (x[k] == 1.0 && y[k] == 0.0) (*b)++;
        else if (x[k] == 0.0 && y[k] == 1.0) (*c)++;
        else if (x[k] == 0.0 && y[k] == 0.0) (*d)++;
    }
}

typedef double (*BinaryCoefficient)(int a, int b, int c, int d);

// Applies a coefficient of the four counts to every pair, diagonal included.
static void BinaryMeasure(int rows, int cols, double** in, double** out, BinaryCoefficient coef)
{
    int a, b, c, d;
    for (int i = 0; i < rows; i++)
        for (int j = i; j < rows; j++) {
            JointFreq(cols, in[i], in[j], &a, &b, &c, &d);
            out[i][j] = coef(a, b, c, d);
        }
}

static double JaccardCoef(int a, int b, int c, int)
{
    return a + b + c > 0 ? (double)a / (a + b + c) : 0.0;
}
static double SokalMichenerCoef(int a, int b, int c, int d)
{
    return a + b + c + d > 0 ? (double)a / (a + b + c + d) : 0.0;
}
static double OchiaiCoef(int a, int b, int c, int)
{
    double den = std::sqrt((double)(a + c) * (a + b));
    return den > 0.0 ? a / den : 0.0;
}
static double SorensenCoef(int a, int b, int c, int)
{
    return 2 * a + b + c > 0 ? 2.0 * a / (2 * a + b + c) : 0.0;
}
static double MeanSquareContingencyCoef(int a, int b, int c, int d)
{
    // The product of the four marginal sums is formed in 32-bit integers, so
    // it wraps for large counts exactly as the measure always has.
    uint32_t prod = (uint32_t)(a + c) * (uint32_t)(a + b) * (uint32_t)(d + c) * (uint32_t)(d + b);
    int32_t den = (int32_t)prod;
    if (den <= 0) return 0.0;
    double num = (double)a * d - (double)b * c;
    return num * num / den;
}
static double JaccardDissimilarityCoef(int a, int b, int c, int)
{
    return a + b + c > 0 ? (double)(b + c) / (a + b + c) : 1.0;
}
static double JaccardTurnoverCoef(int a, int b, int c, int)
{
    int m = b < c ? b : c;
    return a + 2 * m > 0 ? 2.0 * m / (a + 2 * m) : missing;
}
static double JaccardNestednessCoef(int a, int b, int c, int)
{
    int m = b < c ? b : c, big = b < c ? c : b;
    if (a + 2 * m <= 0 || a + b + c <= 0) return missing;
    return a * ((double)(big - m) / (a + b + c)) / (a + 2 * m);
}
static double SorensenDissimilarityCoef(int a, int b, int c, int)
{
    return 2 * a + b + c > 0 ? (double)(b + c) / (2 * a + b + c) : 1.0;
}
static double SorensenTurnoverCoef(int a, int b, int c, int)
{
    int m = b < c ? b : c;
    return a + m > 0 ? (double)m / (a + m) : missing;
}
static double SorensenNestednessCoef(int a, int b, int c, int)
{
    int m = b < c ? b : c, big = b < c ? c : b;
    if (a + m <= 0 || 2 * a + b + c < 1) return missing;
    return a * ((double)(big - m) / (2 * a + b + c)) / (a + m);
}

void Jaccard(int rows, int cols, double** in, double** out)
{
    BinaryMeasure(rows, cols, in, out, JaccardCoef);
}
void SokalMichener(int rows, int cols, double** in, double** out)
{
    BinaryMeasure(rows, cols, in, out, SokalMichenerCoef);
}
void Ochiai(int rows, int cols, double** in, double** out)
{
    BinaryMeasure(rows, cols, in, out, OchiaiCoef);
}
void Sorensen(int rows, int cols, double** in, double** out)
{
    BinaryMeasure(rows, cols, in, out, SorensenCoef);
}
void MeanSquareContingency(int rows, int cols, double** in, double** out)
{
    BinaryMeasure(rows, cols, in, out, MeanSquareContingencyCoef);
}
void JaccardDissimilarity(int rows, int cols, double** in, double** out)
{
    BinaryMeasure(rows, cols, in, out, JaccardDissimilarityCoef);
}
void JaccardTurnover(int rows, int cols, double** in, double** out)
{
    BinaryMeasure(rows, cols, in, out, JaccardTurnoverCoef);
}
void JaccardNestedness(int rows, int cols, double** in, double** out)
{
    BinaryMeasure(rows, cols, in, out, JaccardNestednessCoef);
}
void SorensenDissimilarity(int rows, int cols, double** in, double** out)
{
    BinaryMeasure(rows, cols, in, out, SorensenDissimilarityCoef);
}
void SorensenTurnover(int rows, int cols, double** in, double** out)
{
    BinaryMeasure(rows, cols, in, out, SorensenTurnoverCoef);
}
void SorensenNestedness(int rows, int cols, double** in, double** out)
{
    BinaryMeasure(rows, cols, in, out, SorensenNestednessCoef);
}

void SimpleMatching(int rows, int cols, double** in, double** out)
{
    for (int i = 0; i < rows; i++)
        for (int j = i; j < rows; j++) {
            int equal = 0, complete = 0;
            for (int k = 0; k < cols; k++) {
                if (in[i][k] == missing || in[j][k] == missing) continue;
                complete++;
                if (in[i][k] == in[j][k]) equal++;
            }
            out[i][j] = complete > 0 ? (double)equal / complete : 0.0;
        }
}

// ---- Conversions ----

void ProdToSqDist(int n, double** in, double** out)
{
    for (int i = 0; i < n; i++) {
        out[i][i] = 0.0;
        for (int j = i + 1; j < n; j++) out[i][j] = in[i][i] + in[j][j] - 2.0 * in[i][j];
    }
}

void CorrToSqDist(int n, double** in, double** out)
{
    for (int i = 0; i < n; i++) {
        for (int j = i + 1; j < n; j++) {
            double d = 2.0 * (1.0 - in[i][j]);
            out[i][j] = d;
            out[j][i] = d;
        }
        out[i][i] = 0.0;
    }
}

void ProbToDissim(int n, double** in, double** out)
{
    for (int i = 0; i < n; i++)
        for (int j = i; j < n; j++) {
            double d = 1.0 - in[i][j];
            out[i][j] = d;
            out[j][i] = d;
        }
}

void SquareSqMatrix(int n, double** in, double** out)
{
    for (int i = 0; i < n; i++)
        for (int j = i; j < n; j++) {
            double d = in[i][j] * in[i][j];
            out[i][j] = d;
            out[j][i] = d;
        }
}

void SquareRootSqMatrix(int n, double** in, double** out)
{
    for (int i = 0; i < n; i++)
        for (int j = i; j < n; j++) {
            double d = std::sqrt(in[i][j]);
            out[i][j] = d;
            out[j][i] = d;
        }
}

void DissToCenterProdMatrix(int n, double** in, double** out, bool squared)
{
    if (n < 1) return;
    for (int i = 0; i < n; i++)
        for (int j = i; j < n; j++) out[i][j] = squared ? in[i][j] : in[i][j] * in[i][j];
    double* rowMean = dim1Double(n);
    double grand = 0.0;
    for (int i = 0; i < n; i++) {
        double sum = 0.0;
        for (int j = 0; j < n; j++) sum += i <= j ? out[i][j] : out[j][i];
        rowMean[i] = sum / n;
        grand += sum;
    }
    grand /= (double)n * n;
    for (int i = 0; i < n; i++)
        for (int j = i; j < n; j++)
            out[i][j] = -0.5 * (out[i][j] - rowMean[i] - rowMean[j] + grand);
    free1D(rowMean);
}

// ---- Dispatcher ----

bool IsSimilarityCode(int code)
{
    return code == 1 || code == 5 || code == 6 || code == 7 || code == 9 || code == 10 ||
           (code >= 11 && code <= 17) || code == 19 || code == 22;
}

// Code 21: rows centred and normalised, then the smaller eigenvalue of the
// 2 by 2 cross-product matrix of each pair of rows.
static void HierFactorialRese(int rows, int cols, double** data, double** out)
{
    double** work = dim2Double(rows, cols);
    CenterRowsMV(rows, cols, data, work);
    NormalizeRowsMV(rows, cols, work, work);
    for (int i = 0; i < rows; i++)
        for (int j = i + 1; j < rows; j++) {
            double second = 0.0;
            HierFactorialEigen(cols, work[i], work[j], nullptr, &second, nullptr, nullptr);
            out[i][j] = second;
        }
    free2D(work, rows);
}

static void ComputeMeasure(int rows, int cols, double** data, double** out, int code,
                           int* types, double p1, double p2, int gowerOpt, bool flag)
{
    char tables = flag ? 1 : 0;
    switch (code) {
    case 1: CrossProductMV(rows, cols, data, out); break;
    case 2: AbsValFunctionMV(rows, cols, data, out); break;
    case 3: EucliDistMV(rows, cols, data, out); break;
    case 4: MutualInformationMV(rows, cols, data, out); break;
    case 5: GowerMVOpt(rows, cols, types, data, out, nullptr, nullptr, gowerOpt); break;
    case 6: MDISMV(rows, cols, data, out, tables); break;
    case 7: MutualEntropyPairwiseMV(rows, cols, data, out, p1, tables); break;
    case 8:
        CoheCoefPairwiseMV(rows, cols, data, out, p1, tables);
        // Coherence turned to a distance over the pairs i < j only: the
        // diagonal keeps the coherence of each variable with itself.
        for (int i = 0; i < rows; i++)
            for (int j = i + 1; j < rows; j++) {
                double root = std::sqrt(1.0 - out[i][j] * out[i][j]);
                out[i][j] = root > 0.0 ? root : 0.0;
            }
        break;
    case 9: CoheCoefPairwiseMV(rows, cols, data, out, p1, tables); break;
    case 10: QuiSquareMV(rows, cols, data, out, tables); break;
    case 11: Jaccard(rows, cols, data, out); break;
    case 12: SimpleMatching(rows, cols, data, out); break;
    case 13: SokalMichener(rows, cols, data, out); break;
    case 14: Ochiai(rows, cols, data, out); break;
    case 15: Sorensen(rows, cols, data, out); break;
    case 16: MeanSquareContingency(rows, cols, data, out); break;
    case 17: CorrelationMV(rows, cols, data, out); break;
    case 18: ChordDistMV(rows, cols, data, out); break;
    // The parameter is rounded to float, as the coefficient always had it.
    case 19: LegendreChodorowski(rows, cols, data, out, nullptr, (double)(float)p2); break;
    case 20: BrayCurtisMV(rows, cols, data, out); break;
    case 21: HierFactorialRese(rows, cols, data, out); break;
    case 22: CovarianceMV(rows, cols, data, out); break;
    case 23: JaccardDissimilarity(rows, cols, data, out); break;
    case 24: JaccardTurnover(rows, cols, data, out); break;
    case 25: JaccardNestedness(rows, cols, data, out); break;
    case 26: SorensenDissimilarity(rows, cols, data, out); break;
    case 27: SorensenTurnover(rows, cols, data, out); break;
    case 28: SorensenNestedness(rows, cols, data, out); break;
    default: break;  // unknown code: out keeps what it held
    }
}

int ResemblanceLib(int rows, int cols, double** data, double** out, int compare, int code,
                   int exponent, int* types, double p1, double p2, int gowerOpt, bool flag)
{
    int objects = rows, descriptors = cols;
    double** work = data;
    if (compare == 2) {
        objects = cols;
        descriptors = rows;
        work = dim2Double(cols, rows);
        TransposeMatrix(rows, cols, data, work);
    }
    ComputeMeasure(objects, descriptors, work, out, code, types, p1, p2, gowerOpt, flag);
    if (compare == 2) {
        // Some measures (code 5) change the data: give the caller those changes.
        TransposeMatrix(cols, rows, work, data);
        free2D(work, cols);
    }
    for (int i = 0; i < objects; i++)
        for (int j = i; j < objects; j++) {
            if (exponent == 1) out[i][j] *= out[i][j];
            else if (exponent == 2) out[i][j] = std::sqrt(out[i][j]);
        }
    for (int i = 0; i < objects; i++)
        for (int j = i + 1; j < objects; j++) out[j][i] = out[i][j];
    return 1;
}

int ResemblanceLib(int rows, int cols, double** data, double** out, int compare, int code,
                   int* types, double p1, double p2, int gowerOpt, bool flag)
{
    return ResemblanceLib(rows, cols, data, out, compare, code, 0, types, p1, p2, gowerOpt, flag);
}

int TranslateReseOpt_KOLVEN_DARVOL(int option)
{
    static const int codes[10] = {0, 0, 1, 0, 17, 3, 0, 2, 0, 18};
    if (option >= 1 && option <= 10) return codes[option - 1];
    return 1;
}

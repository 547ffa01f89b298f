// Entropies of order alpha, mutual entropy, coherence and contingency measures between nominal variables.
// Shannon (1948) at order 1 and Renyi (1961) otherwise; mutual entropy and
// coherence coefficient after Orloci & Pillar, and the minimum discrimination
// information statistic of Kullback (1959). Missing value -999 is left out.
#include "TarnLib/tarnlibEntropy.h"

#include <climits>
#include <cmath>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibStats.h"
#include "TarnLib/tarnlibTables.h"

static const double missing = -999.0;

// Cell, row and column probabilities of a frequency table; missing cells stay
// -999, and everything stays 0 when the total is not above 0.
struct TableProbabilities {
    double** cell;
    double* row;
    double* col;
};

static TableProbabilities MakeProbabilities(int rows, int cols, double** table)
{
    TableProbabilities p;
    p.cell = dim2Double(rows, cols);
    p.row = dim1Double(rows);
    p.col = dim1Double(cols);
    double total = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            if (table[i][j] == missing) {
                p.cell[i][j] = missing;
                continue;
            }
            p.row[i] += table[i][j];
            p.col[j] += table[i][j];
            total += table[i][j];
        }
    if (total > 0.0) {
        for (int i = 0; i < rows; i++) {
            p.row[i] /= total;
            for (int j = 0; j < cols; j++)
                if (table[i][j] != missing) p.cell[i][j] = table[i][j] / total;
        }
        for (int j = 0; j < cols; j++) p.col[j] /= total;
    } else {
        for (int i = 0; i < rows; i++) p.row[i] = 0.0;
        for (int j = 0; j < cols; j++) p.col[j] = 0.0;
    }
    return p;
}

static void FreeProbabilities(int rows, TableProbabilities* p)
{
    free2D(p->cell, rows);
    free1D(p->row);
    free1D(p->col);
}

// Entropy of order alpha of the positive probabilities in p[0..n-1].
static double OrderEntropy(int n, const double* p, double alpha)
{
    double sum = 0.0;
    if (alpha == 1.0) {
        for (int k = 0; k < n; k++)
            if (p[k] > 0.0) sum += p[k] * std::log(p[k]);
        return sum < 0.0 ? -sum : sum;
    }
    for (int k = 0; k < n; k++)
        if (p[k] > 0.0) sum += std::pow(p[k], alpha);
    return std::log(sum) / (1.0 - alpha);
}

static double JointEntropy(int rows, int cols, double** cell, double alpha)
{
    double sum = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            double p = cell[i][j];
            if (p <= 0.0) continue;
            sum += alpha == 1.0 ? p * std::log(p) : std::pow(p, alpha);
        }
    if (alpha == 1.0) return sum < 0.0 ? -sum : sum;
    return std::log(sum) / (1.0 - alpha);
}

// The orders run by a running addition, so rounding may drop the last one.
// A step that is not above 0 gives the first order only, never an endless loop.
static int OrderCount(double alphaFrom, double alphaTo, double alphaStep)
{
    int count = 0;
    for (double alpha = alphaFrom; alpha <= alphaTo; alpha += alphaStep) {
        count++;
        if (!(alphaStep > 0.0)) break;
    }
    return count;
}

void EntropyMV(int rows, int cols, double** table, double* joint, double* ofCols,
               double* ofRows, double alphaFrom, double alphaTo, double alphaStep)
{
    TableProbabilities p = MakeProbabilities(rows, cols, table);
    int k = 0;
    for (double alpha = alphaFrom; alpha <= alphaTo; alpha += alphaStep, k++) {
        joint[k] = JointEntropy(rows, cols, p.cell, alpha);
        ofRows[k] = OrderEntropy(rows, p.row, alpha);
        ofCols[k] = OrderEntropy(cols, p.col, alpha);
        if (!(alphaStep > 0.0)) break;
    }
    FreeProbabilities(rows, &p);
}

void Entropy_MV(int rows, int cols, double** table, double* joint, double* ofCols,
                double* ofRows, double* mutual, double* complement, double* coherence,
                double alphaFrom, double alphaTo, double alphaStep)
{
    EntropyMV(rows, cols, table, joint, ofCols, ofRows, alphaFrom, alphaTo, alphaStep);
    int orders = OrderCount(alphaFrom, alphaTo, alphaStep);
    for (int k = 0; k < orders; k++) {
        double m = ofRows[k] + ofCols[k] - joint[k];
        if (m >= 0.0) {
            mutual[k] = m;
            complement[k] = 1.0 - m / joint[k];
            coherence[k] = std::sqrt(1.0 - complement[k] * complement[k]);
        } else {
            mutual[k] = 0.0;
            complement[k] = 1.0;
            coherence[k] = 0.0;
        }
    }
}

double CoheCoefMV(int rows, int cols, double** table, double alpha)
{
    double joint, ofCols, ofRows, mutual, complement, coherence = 0.0;
    double order = (float)alpha;
    Entropy_MV(rows, cols, table, &joint, &ofCols, &ofRows, &mutual, &complement, &coherence,
               order, order, 1.0);
    return coherence;
}

double MutualEntropyMV(int rows, int cols, double** table, double alpha)
{
    TableProbabilities p = MakeProbabilities(rows, cols, table);
    double sum = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            double q = p.cell[i][j];
            if (q <= 0.0) continue;
            double rc = p.row[i] * p.col[j];
            if (alpha == 1.0) sum += q * std::log(q / rc);
            else sum += std::pow(q, alpha) / std::pow(rc, alpha - 1.0);
        }
    FreeProbabilities(rows, &p);
    return alpha == 1.0 ? sum : std::log(sum) / (alpha - 1.0);
}

void IDivergenceMV(int rows, int cols, double** in, double** out)
{
    for (int i = 0; i < rows; i++)
        for (int j = i; j < rows; j++) {
            // The two sums are kept in float precision, as the measure always was.
            float sumX = 0.0f, sumY = 0.0f;
            for (int k = 0; k < cols; k++) {
                double x = in[i][k], y = in[j][k];
                if (x > 0.0 && x != missing) sumX += (float)(x * std::log(2.0 * x / (x + y)));
                if (y > 0.0 && y != missing) sumY += (float)(y * std::log(2.0 * y / (x + y)));
            }
            out[i][j] = (float)(sumX + sumY);
        }
}

void MutualInformationMV(int rows, int cols, double** in, double** out)
{
    IDivergenceMV(rows, cols, in, out);
    double* totals = dim1Double(rows);
    RowTotalsMV(rows, cols, in, totals);
    for (int i = 0; i < rows; i++)
        for (int j = i; j < rows; j++) {
            double ri = totals[i], rj = totals[j];
            // No test for empty rows here, unlike the cells of IDivergenceMV:
            // a row total of 0 gives 0 * log 0, a not-a-number that travels on.
            out[i][j] -= ri * std::log(2.0 * ri / (ri + rj)) + rj * std::log(2.0 * rj / (ri + rj));
        }
    free1D(totals);
}

// Distinct whole-number states of x in order of first appearance; -999 skipped.
static int CollectStates(int n, double* x, int* states)
{
    int count = 0;
    for (int k = 0; k < n; k++) {
        if (x[k] == missing) continue;
        // A value beyond the range of int is no whole-number state: it is
        // listed as INT_MIN and, like 2.5, never counted.
        int s = x[k] >= -2147483648.0 && x[k] < 2147483648.0 ? (int)x[k] : INT_MIN;
        bool known = false;
        for (int m = 0; m < count && !known; m++) known = states[m] == s;
        if (!known) states[count++] = s;
    }
    return count;
}

static void PrintStates(FILE* stream, const char* heading, int count, const int* states)
{
    fprintck(fprintf(stream, heading, count));
    for (int m = 0; m < count; m++) fprintck(fprintf(stream, "%d\t", states[m]));
}

void ContingencyMV(int n, double* x, double* y, double** table, int* dims, FILE* stream)
{
    int* rowStates = dim1Dint(n > 0 ? n : 1);
    int* colStates = dim1Dint(n > 0 ? n : 1);
    dims[0] = CollectStates(n, x, rowStates);
    dims[1] = CollectStates(n, y, colStates);
    for (int r = 0; r < dims[0]; r++)
        for (int c = 0; c < dims[1]; c++) table[r][c] = 0.0;
    for (int k = 0; k < n; k++) {
        if (x[k] == missing || y[k] == missing) continue;
        // States are whole numbers: a value such as 2.5 matches no state.
        int r = 0, c = 0;
        while (r < dims[0] && x[k] != rowStates[r]) r++;
        while (c < dims[1] && y[k] != colStates[c]) c++;
        if (r < dims[0] && c < dims[1]) table[r][c] += 1.0;
    }
    if (stream != nullptr) {
        PrintStates(stream, "Row states (%d): ", dims[0], rowStates);
        PrintStates(stream, "\nColumn states (%d): ", dims[1], colStates);
        fprintck(fprintf(stream, "\n"));
        PrintMatrixFloat(stream, dims[0], dims[1], table, 6, 0);
    }
    free1D(rowStates);
    free1D(colStates);
}

// ---- Pairwise measures between variables ----

typedef double (*TableMeasure)(int rows, int cols, double** table, double alpha);

static double MdisOfTable(int rows, int cols, double** table, double)
{
    double total = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) total += table[i][j];
    return 2.0 * total * MutualEntropyMV(rows, cols, table, 1.0);
}

static double QuiSquareOfTable(int rows, int cols, double** table, double)
{
    double* rowTotal = dim1Double(rows);
    double* colTotal = dim1Double(cols);
    double total = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            rowTotal[i] += table[i][j];
            colTotal[j] += table[i][j];
            total += table[i][j];
        }
    double sum = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            double expected = rowTotal[i] * colTotal[j] / total;
            double d = table[i][j] - expected;
            sum += d * d / expected;
        }
    free1D(rowTotal);
    free1D(colTotal);
    return sum;
}

// Builds the contingency table of every pair of rows i <= j and stores the
// measure of it; tables 1 writes them all to "Tables.txt".
static void PairwiseTables(int rows, int n, double** in, double** out, double alpha,
                           char tables, TableMeasure measure)
{
    FILE* stream = nullptr;
    if (tables == 1) {
        stream = fopenck("Tables.txt", nullptr, "w");
        if (stream == nullptr) FailJump(FAIL_OPEN);
    }
    int* states = dim1Dint(n > 0 ? n : 1);
    int side = 1;
    for (int i = 0; i < rows; i++) {
        int count = CollectStates(n, in[i], states);
        if (count > side) side = count;
    }
    free1D(states);
    double** table = dim2Double(side, side);
    int dims[2];
    for (int i = 0; i < rows; i++)
        for (int j = i; j < rows; j++) {
            if (stream != nullptr)
                fprintck(fprintf(stream, "\nContingency table var.%d x var.%d:\n", i + 1, j + 1));
            ContingencyMV(n, in[i], in[j], table, dims, stream);
            out[i][j] = measure(dims[0], dims[1], table, alpha);
        }
    free2D(table, side);
    if (stream != nullptr) fclose(stream);
}

void MDISMV(int rows, int n, double** in, double** out, char tables)
{
    PairwiseTables(rows, n, in, out, 1.0, tables, MdisOfTable);
}

void MutualEntropyPairwiseMV(int rows, int n, double** in, double** out, double alpha,
                             char tables)
{
    PairwiseTables(rows, n, in, out, (float)alpha, tables, MutualEntropyMV);
}

void CoheCoefPairwiseMV(int rows, int n, double** in, double** out, double alpha,
                        char tables)
{
    PairwiseTables(rows, n, in, out, alpha, tables, CoheCoefMV);
}

void QuiSquareMV(int rows, int n, double** in, double** out, char tables)
{
    PairwiseTables(rows, n, in, out, 0.0, tables, QuiSquareOfTable);
}

double SumAbsDeviations(int n, double* a, double* b, bool squared)
{
    double totalA = 0.0, totalB = 0.0;
    for (int k = 0; k < n; k++) {
        totalA += a[k];
        totalB += b[k];
    }
    if (!(totalA > 0.0) || !(totalB > 0.0)) return 0.0;
    double sum = 0.0;
    for (int k = 0; k < n; k++) {
        double d = a[k] / totalA - b[k] / totalB;
        sum += squared ? d * d : std::fabs(d);
    }
    return sum / 2.0;
}

// Micro-benchmark of the matrix congruence coefficients on 75 communities.
#include <benchmark/benchmark.h>

#include <cmath>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"

namespace {

const int kCommunities = 75;

// Data from a fixed seed, so that every run times the same numbers.
double** RandomMatrix(int rows, int cols, unsigned seed)
{
    double** m = dim2Double(rows, cols);
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            seed = seed * 1664525u + 1013904223u;
            m[i][j] = (seed >> 8) / 16777216.0;
        }
    return m;
}

// Euclidean distances between the rows of a random data matrix.
double** RandomDistances(int n, int cols, unsigned seed)
{
    double** x = RandomMatrix(n, cols, seed);
    double** d = dim2Double(n, n);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++) {
            double s = 0;
            for (int k = 0; k < cols; k++) s += (x[i][k] - x[j][k]) * (x[i][k] - x[j][k]);
            d[i][j] = std::sqrt(s);
        }
    free2D(x, n);
    return d;
}

void BM_MatrixCorr(benchmark::State& state)
{
    double** a = RandomDistances(kCommunities, 6, 11u);
    double** b = RandomDistances(kCommunities, 9, 29u);
    for (auto _ : state) benchmark::DoNotOptimize(MatrixCorr(kCommunities, a, b));
    free2D(a, kCommunities);
    free2D(b, kCommunities);
}

// A coefficient of two random data matrices; arguments: their columns
// (traits, OTU types).
void TimePair(benchmark::State& state, double (*coefficient)(int, int, int, double**, double**))
{
    int p = (int)state.range(0), q = (int)state.range(1);
    double** a = RandomMatrix(kCommunities, p, 3u);
    double** b = RandomMatrix(kCommunities, q, 5u);
    for (auto _ : state) benchmark::DoNotOptimize(coefficient(kCommunities, p, q, a, b));
    free2D(a, kCommunities);
    free2D(b, kCommunities);
}

// The thin forms, which the permutation test takes for its iterations.
void BM_RVcoeffThin(benchmark::State& state) { TimePair(state, RVcoeffThin); }
void BM_ProcrustesCoeffThin(benchmark::State& state) { TimePair(state, ProcrustesCoeffThin); }

// Partial RV given one control matrix of 6 columns, as the permutation test
// computes it: X (OTU types) against E (4 variables), given T.
void BM_PartialMatrixCorrelation(benchmark::State& state)
{
    int p = (int)state.range(0);
    double** a = RandomMatrix(kCommunities, p, 3u);
    double** b = RandomMatrix(kCommunities, 4, 5u);
    double** t = RandomMatrix(kCommunities, 6, 7u);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            PartialMatrixCorrelation(kCommunities, p, 4, a, b, 3, 2.0, 1, 6, (int*)nullptr, t));
    free2D(a, kCommunities);
    free2D(b, kCommunities);
    free2D(t, kCommunities);
}

}  // namespace

// The decompositions of the big square (padded SVD, rows-by-rows RV), and
// the prepared forms as the permutation test uses them: one side fixed and
// prepared once, the other prepared on every call.
void BM_ProcrustesCoeffPadded(benchmark::State& state) { TimePair(state, ProcrustesCoeffPadded); }
void BM_RVcoeffOuter(benchmark::State& state) { TimePair(state, RVcoeffOuter); }

// Arguments: columns of the matrix prepared on each call, of the fixed
// one, and the measure (2 Procrustes, 3 RV).
void BM_CongruencePrepared(benchmark::State& state)
{
    int p = (int)state.range(0), q = (int)state.range(1), which = (int)state.range(2);
    double** a = RandomMatrix(kCommunities, p, 7u);
    double** b = RandomMatrix(kCommunities, q, 13u);
    CongruenceForm fa, fb;
    CongruenceFormAlloc(&fa, which, kCommunities, p);
    CongruenceFormAlloc(&fb, which, kCommunities, q);
    double* work = dim1Double(p * q);
    PrepareCongruence(&fb, q, b);
    for (auto _ : state) {
        PrepareCongruence(&fa, p, a);
        benchmark::DoNotOptimize(CongruencePrepared(&fa, &fb, work));
    }
    free1D(work);
    CongruenceFormFree(&fa);
    CongruenceFormFree(&fb);
    free2D(a, kCommunities);
    free2D(b, kCommunities);
}

BENCHMARK(BM_MatrixCorr);
BENCHMARK(BM_ProcrustesCoeffPadded)->Args({8, 6})->Args({8, 82});
BENCHMARK(BM_RVcoeffOuter)->Args({8, 6})->Args({8, 82});
BENCHMARK(BM_CongruencePrepared)->Args({8, 6, 2})->Args({8, 82, 2})->Args({8, 6, 3})->Args({8, 82, 3});
BENCHMARK(BM_RVcoeffThin)->Args({5, 8})->Args({10, 40});
BENCHMARK(BM_ProcrustesCoeffThin)->Args({5, 8})->Args({10, 40});
BENCHMARK(BM_PartialMatrixCorrelation)->Arg(8)->Arg(40);
BENCHMARK_MAIN();

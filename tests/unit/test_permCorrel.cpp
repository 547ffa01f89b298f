// Unit tests of the functional and phylogenetic correlation test: small cases
// whose probabilities can be reasoned out.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "permutation/permCorrel.h"
#include "permutation/permKernels.h"

namespace {

// A small data set, the record that points into it, and what to release.
struct PermCase {
  int nC, nO, nT;
  double **B, **W, **E, **U, **Q, **DE, **Tout, **Xout, **Pout;
  int* weights;
  PermTest_FunctionalPhyl_Correl_Input in;
  double** mats[32];
  int rows[32];
  void* vecs[8];
  int nMats, nVecs;
};

double** Mat(PermCase* pc, int rows, int cols) {
  pc->rows[pc->nMats] = rows;
  return pc->mats[pc->nMats++] = dim2Double(rows, cols);
}

// Deterministic "awkward" numbers in [0, 1).
double Awkward(unsigned k) {
  double x = sin(12.9898 * (k + 1) + 78.233) * 43758.5453;
  return x - floor(x);
}

void EuclidRows(int n, int cols, double** data, double** d) {
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) {
      double s = 0.0;
      for (int k = 0; k < cols; k++) s += (data[i][k] - data[j][k]) * (data[i][k] - data[j][k]);
      d[i][j] = sqrt(s);
    }
}

// OTU i carries the values of profile group[i], so OTUs of one profile are
// identical in every OTU-indexed matrix (group null: one profile per OTU).
// Types 2, taxa 3, variables 2, PCoA axes 2; phylogeny in, Mantel, taxa
// shuffle, two-tailed, one iteration.
void Build(PermCase* pc, int nC, int nO, int nT, const int* group, unsigned seed) {
  memset(pc, 0, sizeof(*pc));
  pc->nC = nC, pc->nO = nO, pc->nT = nT;
  PermTest_FunctionalPhyl_Correl_Input* in = &pc->in;
  in->B = pc->B = Mat(pc, nO, nT);
  in->U = pc->U = Mat(pc, nO, 2);
  in->Q = pc->Q = Mat(pc, nO, 3);
  in->pcoaScores = Mat(pc, nO, 2);
  in->Sb = Mat(pc, nO, nO);
  in->Sf = Mat(pc, nO, nO);
  in->E = pc->E = Mat(pc, nC, 2);
  in->W = pc->W = Mat(pc, nC, nO);
  in->Y = Mat(pc, nC, nO);
  in->Z = Mat(pc, nC, nO);
  in->DE = pc->DE = Mat(pc, nC, nC);
  in->DY = Mat(pc, nC, nC);
  in->DZ = Mat(pc, nC, nC);
  in->Tout = pc->Tout = Mat(pc, nC, nT);
  in->Xout = pc->Xout = Mat(pc, nC, 2);
  in->Pout = pc->Pout = Mat(pc, nC, 3);
  in->Rout = (double*)(pc->vecs[pc->nVecs++] = dim1Double(nC));
  in->RpOut = (double*)(pc->vecs[pc->nVecs++] = dim1Double(nC));
  in->traitMask = (int*)(pc->vecs[pc->nVecs++] = dim1Dint(nT));
  in->weightOTUs = pc->weights = (int*)(pc->vecs[pc->nVecs++] = dim1Dint(nO));
  in->nestingMembership = (int*)(pc->vecs[pc->nVecs++] = dim1Dint(nO));
  for (int t = 0; t < nT; t++) in->traitMask[t] = 1;
  for (int i = 0; i < nO; i++) {
    int p = group ? group[i] : i;
    pc->weights[i] = 1;
    in->nestingMembership[i] = group ? group[i] + 1 : 1;
    for (int t = 0; t < nT; t++) pc->B[i][t] = 0.5 + 3.0 * Awkward(seed + 10 * p + t);
    double u = Awkward(seed + 100 + p), q = Awkward(seed + 200 + p);
    pc->U[i][0] = u, pc->U[i][1] = 1.0 - u;
    pc->Q[i][0] = pc->Q[i][1] = q * 0.5, pc->Q[i][2] = 1.0 - q;
    in->pcoaScores[i][0] = Awkward(seed + 300 + p) - 0.5;
    in->pcoaScores[i][1] = Awkward(seed + 400 + p) - 0.5;
  }
  for (int i = 0; i < nO; i++)
    for (int j = 0; j < nO; j++) {
      double d = 0.0;
      for (int t = 0; t < nT; t++) d += fabs(pc->B[i][t] - pc->B[j][t]);
      in->Sb[i][j] = exp(-d);
      in->Sf[i][j] = exp(-fabs(pc->Q[i][2] - pc->Q[j][2]) - fabs(in->pcoaScores[i][0] - in->pcoaScores[j][0]));
    }
  for (int c = 0; c < nC; c++) {
    pc->E[c][0] = 10.0 * Awkward(seed + 500 + c);
    pc->E[c][1] = 2.0 * Awkward(seed + 600 + c);
    for (int i = 0; i < nO; i++) {
      double a = Awkward(seed + 1000 + 37 * c + i);
      pc->W[c][i] = a < 0.35 ? 0.0 : floor(a * 5.0);
      in->Y[c][i] = 0.3 * pc->W[c][i] + Awkward(seed + 2000 + 37 * c + i);
      in->Z[c][i] = 0.7 * pc->W[c][i] + Awkward(seed + 3000 + 37 * c + i);
    }
    pc->W[c][c % nO] += 1.0;  // no empty community
  }
  EuclidRows(nC, 2, pc->E, pc->DE);
  EuclidRows(nC, nO, in->Y, in->DY);
  EuclidRows(nC, nO, in->Z, in->DZ);
  in->niter = 1;
  in->nTraits = nT, in->nOTUs = nO, in->nTypes = 2, in->nTaxa = 3, in->nEnv = 2;
  in->nCommunities = nC, in->nPCoAAxes = 2;
  in->rese_opt = 6, in->opt_ro = 1, in->overfitFactorPCARegr = 2.0;
  in->includePhylogeny = true, in->keepObserved = true, in->twoTailed = true;
  in->taxaSiteShuffle = 't';
}

void Release(PermCase* pc) {
  for (int k = 0; k < pc->nMats; k++) free2D(pc->mats[k], pc->rows[k]);
  for (int k = 0; k < pc->nVecs; k++) free1D(pc->vecs[k]);
}

void RunTest(PermCase* pc, unsigned long seed) {
  InitRndNumberGenerator(seed);
  PermTest_FunctionalPhyl_Correl(&pc->in);
}

void ExpectAllProbabilities(const PermCase& pc, double p, const char* what) {
  for (int k = 0; k < N_PERMTEST_STATS; k++) EXPECT_EQ(p, pc.in.probabilities[k]) << what << ", statistic " << k + 1;
}

// Runs twice, with `change` applied before the second run, and expects the
// same statistics, probabilities and random statistics bit for bit (a
// random value one unit off in the last place seldom changes a count).
template <typename F> void ExpectSameRuns(PermCase* pc, unsigned long seed, F change, const char* what) {
  RunTest(pc, seed);
  double stats[N_PERMTEST_STATS], probs[N_PERMTEST_STATS], sums[N_PERMTEST_STATS];
  memcpy(stats, pc->in.statistics, sizeof(stats));
  memcpy(probs, pc->in.probabilities, sizeof(probs));
  memcpy(sums, permTestRandomSums, sizeof(sums));
  change();
  RunTest(pc, seed);
  for (int k = 0; k < N_PERMTEST_STATS; k++) {
    EXPECT_EQ(0, memcmp(&sums[k], &permTestRandomSums[k], sizeof(double)))
        << what << ", statistic " << k + 1 << ": random values sum to " << sums[k] << ", then to "
        << permTestRandomSums[k];
    EXPECT_EQ(probs[k], pc->in.probabilities[k]) << what << ", statistic " << k + 1;
    if (!std::isnan(stats[k])) {
      EXPECT_EQ(stats[k], pc->in.statistics[k]) << what << ", statistic " << k + 1;
    }
  }
}

char* ReadAll(FILE* f) {
  long size = ftell(f);
  rewind(f);
  char* text = (char*)calloc(size + 1, 1);
  if (fread(text, 1, size, f) != (size_t)size) text[0] = '\0';
  fclose(f);
  return text;
}

const int kMeasures[3] = {1, 2, 3};

}  // namespace

TEST(PermTestIterations, OneZeroAndManyIterations) {
  for (int ro : kMeasures) {
    PermCase pc;
    Build(&pc, 6, 5, 2, nullptr, 11);
    pc.in.opt_ro = ro;
    RunTest(&pc, 3);
    ExpectAllProbabilities(pc, 1.0, "one iteration");
    pc.in.niter = 0;  // counts stay at 1, divided by 0
    RunTest(&pc, 3);
    ExpectAllProbabilities(pc, HUGE_VAL, "no iteration");
    pc.in.niter = 37;
    RunTest(&pc, 5);
    for (int k = 0; k < N_PERMTEST_STATS; k++) {
      double count = pc.in.probabilities[k] * 37;
      EXPECT_NEAR(count, floor(count + 0.5), 1e-9) << "opt_ro " << ro << ", statistic " << k + 1;
      EXPECT_TRUE(count > 0.999 && count < 37.001) << "opt_ro " << ro << ", statistic " << k + 1;
    }
    Release(&pc);
  }
}

TEST(PermTestNullModels, SiteShuffleGivesProbabilityOneEverywhere) {
  for (int ro : kMeasures) {
    PermCase pc;
    Build(&pc, 6, 5, 2, nullptr, 14);
    pc.in.opt_ro = ro;
    pc.in.taxaSiteShuffle = 's';
    pc.in.niter = 9;
    RunTest(&pc, 8);
    ExpectAllProbabilities(pc, 1.0, "site shuffle");
    Release(&pc);
  }
}

// OTUs 1-2, 3-4 and 5-6 are identical in pairs and form the nesting groups;
// one trait, so that the random T (not normalised) is the observed one up to
// a factor. Permutations within the groups reproduce the observed
// arrangement: every random value ties with the observed one, within
// rounding, and is counted.
TEST(PermTestNullModels, RestrictedPermutationWithinIdenticalGroupsTiesEverywhere) {
  const int groups[6] = {0, 0, 1, 1, 2, 2};
  for (int ro : kMeasures) {
    PermCase pc;
    Build(&pc, 7, 6, 1, groups, 15);
    pc.in.opt_ro = ro;
    pc.in.twoTailed = false;
    pc.in.restrictPermutations = 1;
    pc.in.niter = 25;
    RunTest(&pc, 21);
    ExpectAllProbabilities(pc, 1.0, "restricted");
    // Unrestricted, OTUs move between groups and some probability falls.
    pc.in.restrictPermutations = 0;
    RunTest(&pc, 21);
    double smallest = 1.0;
    for (int k = 0; k < N_PERMTEST_STATS; k++) smallest = fmin(smallest, pc.in.probabilities[k]);
    EXPECT_LT(smallest, 1.0) << "opt_ro " << ro;
    Release(&pc);
  }
}

// Fewer occurrences than OTUs: the weighted list is walked again until it
// covers every OTU place, so only the two occurring OTUs are ever drawn.
TEST(PermTestNullModels, WeightedNullModelDrawsOnlyOccurringOTUs) {
  PermCase pc;
  Build(&pc, 4, 6, 1, nullptr, 41);
  for (int c = 0; c < 4; c++)
    for (int i = 0; i < 6; i++) pc.W[c][i] = 0.0;
  pc.W[0][1] = 2.5, pc.W[2][4] = 1.25, pc.W[3][4] = 0.75;
  pc.in.weightedNullModel = true;
  pc.in.saveDetail = true;
  pc.in.detailFile = tmpfile();
  ASSERT_NE(nullptr, pc.in.detailFile);
  pc.in.niter = 6;
  RunTest(&pc, 8);
  char* text = ReadAll(pc.in.detailFile);
  const char* head = "Order of original OTUs in permuted traits matrix Brnd:\t";
  int lists = 0;
  for (const char* at = strstr(text, head); at; at = strstr(at + 1, head), lists++) {
    int v[6];
    ASSERT_EQ(6, sscanf(at + strlen(head), "%d %d %d %d %d %d", &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]));
    for (int k = 0; k < 6; k++) EXPECT_TRUE(v[k] == 2 || v[k] == 5) << "list " << lists << " drew OTU " << v[k];
  }
  EXPECT_EQ(5, lists);
  free(text);
  Release(&pc);
}

// Two communities: rho comes from the single pair, 1 - |a - b| / max(a, b).
// W = (1 0 2 | 0 3 1), one trait 1.5, 2.5, 4: T = 9.5, 11.5, normalised by
// sqrt(222.5), so DT = 2 / sqrt(222.5); E = (0.2, 1), (0.5, 1): DE = 0.3.
TEST(PermTestStatistics, TwoCommunitiesUseThePairFormula) {
  PermCase pc;
  Build(&pc, 2, 3, 1, nullptr, 17);
  const double w[2][3] = {{1, 0, 2}, {0, 3, 1}}, b[3] = {1.5, 2.5, 4.0};
  for (int i = 0; i < 3; i++) pc.B[i][0] = b[i], pc.W[0][i] = w[0][i], pc.W[1][i] = w[1][i];
  pc.E[0][0] = 0.2, pc.E[1][0] = 0.5, pc.E[0][1] = pc.E[1][1] = 1.0;
  EuclidRows(2, 2, pc.E, pc.DE);
  pc.in.niter = 12;
  RunTest(&pc, 4);
  EXPECT_NEAR(1.0 - (0.3 - 2.0 / sqrt(222.5)) / 0.3, pc.in.statistics[PT_rTE], 1e-12);
  EXPECT_NEAR(9.5 / sqrt(222.5), pc.Tout[0][0], 1e-12);
  EXPECT_NEAR(11.5 / sqrt(222.5), pc.Tout[1][0], 1e-12);
  for (int k = 0; k < N_PERMTEST_STATS; k++)
    EXPECT_TRUE(pc.in.probabilities[k] > 0.0 && pc.in.probabilities[k] <= 1.0) << "statistic " << k + 1;
  Release(&pc);
}

// W the identity and E proportional to the one trait: r(TE) = 1 by every
// measure. The observed X and P are W U and W Q.
// The observed Procrustes and RV statistics, made from forms prepared once
// and residuals shared between statistics, are those of the library's
// routines called one statistic at a time on the returned T, X, P and
// entropies, bit for bit; a trait left out of the mask.
TEST(PermTestStatistics, ObservedCoefficientsAgreeWithTheLibrarysOnTheReturnedMatrices) {
  for (int ro = 2; ro <= 3; ro++) {
    PermCase pc;
    Build(&pc, 11, 9, 3, nullptr, 81);
    PermTest_FunctionalPhyl_Correl_Input* in = &pc.in;
    in->opt_ro = ro;
    in->traitMask[1] = 0;
    for (int i = 0; i < 9; i++) pc.B[i][1] = 0.0;  // unused columns of B are 0
    RunTest(&pc, 3);
    int n = 11, nT = 3, nX = 2, nP = 3, nE = 2, nO = 9;
    double f = in->overfitFactorPCARegr;
    double** T = pc.Tout;
    double** X = pc.Xout;
    double** P = pc.Pout;
    double** R = dim2Double(n, 1);
    for (int c = 0; c < n; c++) R[c][0] = in->Rout[c];
    double (*c)(int, int, int, double**, double**) = ro == 2 ? ProcrustesCoeffThin : RVcoeffThin;
    const double* s = in->statistics;
    EXPECT_EQ(c(n, nT, nE, T, pc.E), s[PT_rTE]);
    EXPECT_EQ(c(n, nT, nO, T, in->Y), s[PT_rYT]);
    EXPECT_EQ(c(n, nX, nE, X, pc.E), s[PT_rXE]);
    EXPECT_EQ(c(n, nX, nO, X, in->Z), s[PT_roXZ]);
    EXPECT_EQ(c(n, 1, nE, R, pc.E), s[PT_rRE]);
    EXPECT_EQ(c(n, nE, nP, pc.E, P), s[PT_roPE]);
    int* mask = in->traitMask;
    EXPECT_NEAR(PartialMatrixCorrelation(n, nX, nE, X, pc.E, ro, f, 1, nT, mask, T), s[PT_rXE_T], 1e-10 * std::fabs(s[PT_rXE_T]));
    EXPECT_NEAR(PartialMatrixCorrelation(n, nX, nO, X, in->Y, ro, f, 1, nT, mask, T), s[PT_roXY_T], 1e-10 * std::fabs(s[PT_roXY_T]));
    EXPECT_NEAR(PartialMatrixCorrelation(n, nX, nE, X, pc.E, ro, f, 2, nT, mask, T, 1, (int*)NULL, R), s[PT_rXE_TR], 1e-10 * std::fabs(s[PT_rXE_TR]));
    EXPECT_NEAR(PartialMatrixCorrelation(n, nP, nX, P, X, ro, f, 1, nT, mask, T), s[PT_roPX_T], 1e-10 * std::fabs(s[PT_roPX_T]));
    EXPECT_NEAR(PartialMatrixCorrelation(n, nT, nE, T, pc.E, ro, f, 1, nP, (int*)NULL, P), s[PT_roTE_P], 1e-10 * std::fabs(s[PT_roTE_P]));
    EXPECT_NEAR(PartialMatrixCorrelation(n, nX, nE, X, pc.E, ro, f, 2, nT, mask, T, nP, (int*)NULL, P), s[PT_roXE_TP], 1e-10 * std::fabs(s[PT_roXE_TP]));
    EXPECT_NEAR(PartialMatrixCorrelation(n, nP, nE, P, pc.E, ro, f, 1, nT, mask, T), s[PT_roPE_T], 1e-10 * std::fabs(s[PT_roPE_T]));
    EXPECT_NEAR(PartialMatrixCorrelation(n, nP, nE, P, pc.E, ro, f, 1, nX, (int*)NULL, X), s[PT_roPE_X], 1e-10 * std::fabs(s[PT_roPE_X]));
    free2D(R, n);
    Release(&pc);
  }
}

TEST(PermTestStatistics, ProportionalTraitsAndReturnedMatrices) {
  for (int ro : kMeasures) {
    PermCase pc;
    Build(&pc, 5, 5, 1, nullptr, 18);
    for (int c = 0; c < 5; c++) {
      for (int i = 0; i < 5; i++) pc.W[c][i] = (c == i) ? 1.0 : 0.0;
      pc.E[c][0] = pc.E[c][1] = 2.385 * pc.B[c][0];
    }
    EuclidRows(5, 2, pc.E, pc.DE);
    pc.in.opt_ro = ro;
    RunTest(&pc, 1);
    EXPECT_NEAR(1.0, pc.in.statistics[PT_rTE], 1e-9) << "opt_ro " << ro;
    for (int c = 0; c < 5; c++) {
      EXPECT_EQ(pc.U[c][1], pc.Xout[c][1]) << "X row " << c;
      EXPECT_EQ(pc.Q[c][2], pc.Pout[c][2]) << "P row " << c;
    }
    Release(&pc);
  }
}

// Same seed, one or two threads in the distance loops (the small-work
// shortcut off), and the faster iterations against the plain ones: the
// same bits. The caller's team size is given back.
TEST(PermTestReproducibility, ThreadsAndFasterPathChangeNothing) {
  for (int ro : kMeasures) {
    PermCase pc;
    Build(&pc, 12, 9, 3, nullptr, 20);
    pc.in.opt_ro = ro;
    pc.in.niter = 40;
    permTestSmallWork = 0.0;
    omp_set_num_threads(1);
    ExpectSameRuns(&pc, 2024, [] { omp_set_num_threads(2); }, "threads");
    permTestSmallWork = 4000000.0;
    RunTest(&pc, 2024);
    EXPECT_EQ(2, omp_get_max_threads()) << "team size restored";
    Release(&pc);
  }
  // Variants 4 and 5 have no weight 0 and no -999: the Rao entropies then
  // run four communities side by side, padded with zero shares; 5 has no
  // phylogeny, so that its ten rho values share one pass.
  for (int variant = 0; variant < 6; variant++) {
    PermCase pc;
    int v = variant % 4;
    Build(&pc, variant < 4 ? 9 : 11, 8, 2, nullptr, 30 + variant);
    pc.in.niter = 30;
    pc.in.opt_ro = variant == 3 ? 3 : 1;
    pc.in.sqrtDissimTraits = v % 2 == 1;
    pc.in.sqrtDissimPhyl = v >= 2;
    pc.in.restrictRao = v == 2 || variant == 4;
    pc.in.weightedNullModel = v == 1;
    pc.in.includePhylogeny = variant != 5;
    if (variant < 4) {
      pc.weights[3] = 0;
      pc.W[2][5] = -999.0;
    } else {
      // Abundances that are not small integers, so that the order of a
      // sum shows in its last bits, and a trait left out.
      for (int c = 0; c < pc.in.nCommunities; c++)
        for (int i = 0; i < pc.in.nOTUs; i++) pc.W[c][i] *= 1.3 + 0.1 * ((7 * c + i) % 5);
      pc.in.traitMask[1] = 0;
    }
    permTestPlainLoops = true;
    ExpectSameRuns(&pc, 99, [] { permTestPlainLoops = false; }, "zero abundances skipped");
    // The four-lane distances and cross products, where the processor has
    // them, against the two-lane ones.
    if (permKernelsWide) {
      permKernels = &permKernelsTwoLane;
      ExpectSameRuns(&pc, 99, [] { permKernels = permKernelsWide; }, "wide lanes");
    }
    Release(&pc);
  }
}

// Iterations on 1, 2 and 3 threads: the lists are drawn in order from the
// one generator and counted in order, so statistics, probabilities and the
// sums of the random values agree bit for bit. Enough iterations for
// several blocks of lists, and a last block cut short. OTUs identical in
// pairs make some arrangements repeat the observed one: ties, which count.
TEST(PermTestReproducibility, AnyNumberOfThreadsGivesTheSameCounts) {
  const int pairs[10] = {0, 0, 1, 1, 2, 2, 3, 3, 4, 4};
  for (int ro : kMeasures)
    for (int variant = 0; variant < 3; variant++) {
      PermCase pc;
      Build(&pc, 9, 10, 2, pairs, 50 + variant);
      pc.in.opt_ro = ro;
      pc.in.niter = 457;
      pc.in.weightedNullModel = variant == 1;
      pc.in.includePhylogeny = variant != 2;
      pc.in.twoTailed = variant != 0;
      double probs[3][N_PERMTEST_STATS], sums[3][N_PERMTEST_STATS];
      for (int threads = 1; threads <= 3; threads++) {
        omp_set_num_threads(threads);
        RunTest(&pc, 777);
        memcpy(probs[threads - 1], pc.in.probabilities, sizeof(probs[0]));
        memcpy(sums[threads - 1], permTestRandomSums, sizeof(sums[0]));
      }
      for (int t = 1; t < 3; t++)
        for (int k = 0; k < N_PERMTEST_STATS; k++) {
          EXPECT_EQ(probs[0][k], probs[t][k]) << "opt_ro " << ro << ", variant " << variant << ", " << t + 1
                                              << " threads, statistic " << k + 1;
          EXPECT_EQ(0, memcmp(&sums[0][k], &sums[t][k], sizeof(double)))
              << "opt_ro " << ro << ", variant " << variant << ", " << t + 1 << " threads, statistic " << k + 1;
        }
      Release(&pc);
    }
  // Within the identical pairs every arrangement is the observed one: all
  // ties, all counted, on any number of threads.
  for (int ro : kMeasures) {
    PermCase pc;
    Build(&pc, 8, 10, 1, pairs, 60);
    pc.in.opt_ro = ro;
    pc.in.niter = 150;
    pc.in.twoTailed = false;
    pc.in.restrictPermutations = 1;
    for (int threads = 1; threads <= 3; threads++) {
      omp_set_num_threads(threads);
      RunTest(&pc, 5);
      ExpectAllProbabilities(pc, 1.0, threads == 1 ? "tied, 1 thread" : "tied, several threads");
    }
    Release(&pc);
  }
  omp_set_num_threads(2);
}

// Asked for the printed statistics only, Procrustes and RV leave the six of
// Y and Z out of the iterations (their probabilities become not-a-numbers)
// and every other probability stays as it was.
TEST(PermTestStatistics, PrintedOnlyLeavesTheOthersUnchanged) {
  const int smoothed[6] = {PT_rYT, PT_rZT, PT_roXY, PT_roXZ, PT_roXY_T, PT_roXZ_T};
  for (int ro = 1; ro <= 3; ro++) {
    PermCase pc;
    Build(&pc, 10, 8, 2, nullptr, 70);
    pc.in.opt_ro = ro;
    pc.in.niter = 60;
    RunTest(&pc, 31);
    double stats[N_PERMTEST_STATS], probs[N_PERMTEST_STATS];
    memcpy(stats, pc.in.statistics, sizeof(stats));
    memcpy(probs, pc.in.probabilities, sizeof(probs));
    pc.in.printedOnly = true;
    RunTest(&pc, 31);
    for (int k = 0; k < N_PERMTEST_STATS; k++) {
      bool left = ro != 1 && std::find(smoothed, smoothed + 6, k) != smoothed + 6;
      EXPECT_EQ(stats[k], pc.in.statistics[k]) << "opt_ro " << ro << ", observed statistic " << k + 1;
      if (left)
        EXPECT_TRUE(std::isnan(pc.in.probabilities[k])) << "opt_ro " << ro << ", statistic " << k + 1;
      else
        EXPECT_EQ(probs[k], pc.in.probabilities[k]) << "opt_ro " << ro << ", statistic " << k + 1;
    }
    Release(&pc);
  }
}

// The intermediate file holds points A to E, and its last running count is
// the returned probability times the iterations.
TEST(PermTestDetail, IntermediateFileHoldsEveryPointAndFinalCounts) {
  PermCase pc;
  Build(&pc, 5, 4, 2, nullptr, 21);
  pc.in.saveDetail = true;
  pc.in.detailFile = tmpfile();
  ASSERT_NE(nullptr, pc.in.detailFile);
  pc.in.niter = 4;
  RunTest(&pc, 9);
  char* text = ReadAll(pc.in.detailFile);
  const char* marks[] = {"INTERMEDIATE RESULTS\n", "\nObserved ro(XE.T)=\t",
                         "Rao entropy vector R (5 communities) computed after Sf:\n",
                         "Permuted trait matrix (Brnd):\n", "Permuted belonging matrix (Qrnd) based on phylogeny:\n",
                         "Permuted phylogenetic similarity matrix (Sf_rnd):\n", "\nIteration 3\tRandom ro(FE) =\t"};
  for (const char* m : marks) EXPECT_NE(nullptr, strstr(text, m)) << "missing: " << m;
  const char* last = strstr(text, "\nIteration 3\tRandom ro(TE) =\t");
  ASSERT_NE(nullptr, last);
  double value = 0, count = 0;
  ASSERT_EQ(2, sscanf(last, "\nIteration 3\tRandom ro(TE) =\t%lf\tCummulative frequency for ro(TE)=%lf", &value,
                      &count));
  EXPECT_DOUBLE_EQ(pc.in.probabilities[PT_rTE] * 4, count);
  EXPECT_EQ(nullptr, strstr(text, "ITERATION\t4")) << "one iteration too many";
  free(text);
  Release(&pc);
}

// Unit tests of the functional and phylogenetic correlation test: small cases
// whose probabilities can be reasoned out.
#include <gtest/gtest.h>
#include <omp.h>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "permutation/permTest.h"

namespace {

// A small data set and the record that points into it.
struct PermCase {
  int nC, nO, nT, nTy, nTa, nE, nAx;
  double **B, **Sb, **Sf, **scores, **E, **U, **Q, **W, **DE, **DY, **DZ, **Y, **Z;
  double **Tout, **Xout, **Pout;
  double *Rout, *RpOut;
  int *mask, *weights, *nesting;
  PermTest_FunctionalPhyl_Correl_Input in;
};

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

// OTU i carries the values of its "profile" group[i]: OTUs of one profile are
// identical in every OTU-indexed matrix. group null: every OTU its own profile.
void Build(PermCase* pc, int nC, int nO, int nT, const int* group, unsigned seed) {
  memset(pc, 0, sizeof(*pc));
  pc->nC = nC;
  pc->nO = nO;
  pc->nT = nT;
  pc->nTy = 2;
  pc->nTa = 3;
  pc->nE = 2;
  pc->nAx = 2;
  pc->B = dim2Double(nO, nT);
  pc->Sb = dim2Double(nO, nO);
  pc->Sf = dim2Double(nO, nO);
  pc->scores = dim2Double(nO, pc->nAx);
  pc->U = dim2Double(nO, pc->nTy);
  pc->Q = dim2Double(nO, pc->nTa);
  pc->E = dim2Double(nC, pc->nE);
  pc->W = dim2Double(nC, nO);
  pc->Y = dim2Double(nC, nO);
  pc->Z = dim2Double(nC, nO);
  pc->DE = dim2Double(nC, nC);
  pc->DY = dim2Double(nC, nC);
  pc->DZ = dim2Double(nC, nC);
  pc->Tout = dim2Double(nC, nT);
  pc->Xout = dim2Double(nC, pc->nTy);
  pc->Pout = dim2Double(nC, pc->nTa);
  pc->Rout = dim1Double(nC);
  pc->RpOut = dim1Double(nC);
  pc->mask = dim1Dint(nT);
  pc->weights = dim1Dint(nO);
  pc->nesting = dim1Dint(nO);
  for (int t = 0; t < nT; t++) pc->mask[t] = 1;
  for (int i = 0; i < nO; i++) {
    int p = group ? group[i] : i;
    pc->weights[i] = 1;
    pc->nesting[i] = group ? group[i] + 1 : 1;
    for (int t = 0; t < nT; t++) pc->B[i][t] = 0.5 + 3.0 * Awkward(seed + 10 * p + t);
    double u = Awkward(seed + 100 + p);
    pc->U[i][0] = u;
    pc->U[i][1] = 1.0 - u;
    double q = Awkward(seed + 200 + p);
    pc->Q[i][0] = q * 0.5;
    pc->Q[i][1] = q * 0.5;
    pc->Q[i][2] = 1.0 - q;
    pc->scores[i][0] = Awkward(seed + 300 + p) - 0.5;
    pc->scores[i][1] = Awkward(seed + 400 + p) - 0.5;
  }
  for (int i = 0; i < nO; i++)
    for (int j = 0; j < nO; j++) {
      double d = 0.0;
      for (int t = 0; t < nT; t++) d += fabs(pc->B[i][t] - pc->B[j][t]);
      pc->Sb[i][j] = exp(-d);
      pc->Sf[i][j] = exp(-fabs(pc->Q[i][2] - pc->Q[j][2]) - fabs(pc->scores[i][0] - pc->scores[j][0]));
    }
  for (int c = 0; c < nC; c++) {
    pc->E[c][0] = 10.0 * Awkward(seed + 500 + c);
    pc->E[c][1] = 2.0 * Awkward(seed + 600 + c);
    for (int i = 0; i < nO; i++) {
      double a = Awkward(seed + 1000 + 37 * c + i);
      pc->W[c][i] = a < 0.35 ? 0.0 : floor(a * 5.0);
      pc->Y[c][i] = 0.3 * pc->W[c][i] + Awkward(seed + 2000 + 37 * c + i);
      pc->Z[c][i] = 0.7 * pc->W[c][i] + Awkward(seed + 3000 + 37 * c + i);
    }
    pc->W[c][c % nO] += 1.0;  // no empty community
  }
  EuclidRows(nC, pc->nE, pc->E, pc->DE);
  EuclidRows(nC, nO, pc->Y, pc->DY);
  EuclidRows(nC, nO, pc->Z, pc->DZ);

  PermTest_FunctionalPhyl_Correl_Input* in = &pc->in;
  in->niter = 1;
  in->nTraits = nT;
  in->traitMask = pc->mask;
  in->nOTUs = nO;
  in->nTypes = pc->nTy;
  in->nTaxa = pc->nTa;
  in->nEnv = pc->nE;
  in->nCommunities = nC;
  in->nPCoAAxes = pc->nAx;
  in->B = pc->B;
  in->Sb = pc->Sb;
  in->pcoaScores = pc->scores;
  in->Sf = pc->Sf;
  in->E = pc->E;
  in->U = pc->U;
  in->Q = pc->Q;
  in->W = pc->W;
  in->DE = pc->DE;
  in->DY = pc->DY;
  in->DZ = pc->DZ;
  in->Y = pc->Y;
  in->Z = pc->Z;
  in->rese_opt = 6;
  in->opt_ro = 1;
  in->overfitFactorPCARegr = 2.0;
  in->includePhylogeny = true;
  in->taxaSiteShuffle = 't';
  in->keepObserved = true;
  in->twoTailed = true;
  in->Tout = pc->Tout;
  in->Xout = pc->Xout;
  in->Pout = pc->Pout;
  in->Rout = pc->Rout;
  in->RpOut = pc->RpOut;
  in->weightOTUs = pc->weights;
  in->nestingMembership = pc->nesting;
}

void Release(PermCase* pc) {
  int nC = pc->nC, nO = pc->nO;
  free2D(pc->B, nO);
  free2D(pc->Sb, nO);
  free2D(pc->Sf, nO);
  free2D(pc->scores, nO);
  free2D(pc->U, nO);
  free2D(pc->Q, nO);
  free2D(pc->E, nC);
  free2D(pc->W, nC);
  free2D(pc->Y, nC);
  free2D(pc->Z, nC);
  free2D(pc->DE, nC);
  free2D(pc->DY, nC);
  free2D(pc->DZ, nC);
  free2D(pc->Tout, nC);
  free2D(pc->Xout, nC);
  free2D(pc->Pout, nC);
  free1D(pc->Rout);
  free1D(pc->RpOut);
  free1D(pc->mask);
  free1D(pc->weights);
  free1D(pc->nesting);
}

void RunTest(PermCase* pc, unsigned long seed) {
  InitRndNumberGenerator(seed);
  PermTest_FunctionalPhyl_Correl(&pc->in);
}

const int kMeasures[3] = {1, 2, 3};

}  // namespace

TEST(PermTestIterations, OneIterationGivesProbabilityOneEverywhere) {
  for (int ro : kMeasures) {
    PermCase pc;
    Build(&pc, 6, 5, 2, nullptr, 11);
    pc.in.opt_ro = ro;
    pc.in.niter = 1;
    RunTest(&pc, 3);
    for (int k = 0; k < N_PERMTEST_STATS; k++)
      EXPECT_EQ(1.0, pc.in.probabilities[k]) << "opt_ro " << ro << ", statistic " << k + 1;
    Release(&pc);
  }
}

TEST(PermTestIterations, ZeroIterationsGivePositiveInfinity) {
  PermCase pc;
  Build(&pc, 6, 5, 2, nullptr, 12);
  pc.in.niter = 0;
  RunTest(&pc, 3);
  for (int k = 0; k < N_PERMTEST_STATS; k++) {
    EXPECT_TRUE(std::isinf(pc.in.probabilities[k]) && pc.in.probabilities[k] > 0)
        << "statistic " << k + 1 << " probability " << pc.in.probabilities[k];
  }
  Release(&pc);
}

TEST(PermTestIterations, ProbabilitiesAreCountsOverIterations) {
  PermCase pc;
  Build(&pc, 7, 6, 2, nullptr, 13);
  pc.in.niter = 37;
  RunTest(&pc, 5);
  for (int k = 0; k < N_PERMTEST_STATS; k++) {
    double count = pc.in.probabilities[k] * 37;
    EXPECT_NEAR(count, floor(count + 0.5), 1e-9) << "statistic " << k + 1;
    EXPECT_GE(count, 1.0 - 1e-9) << "statistic " << k + 1;
    EXPECT_LE(count, 37.0 + 1e-9) << "statistic " << k + 1;
  }
  Release(&pc);
}

TEST(PermTestNullModels, SiteShuffleGivesProbabilityOneEverywhere) {
  for (int ro : kMeasures) {
    PermCase pc;
    Build(&pc, 6, 5, 2, nullptr, 14);
    pc.in.opt_ro = ro;
    pc.in.taxaSiteShuffle = 's';
    pc.in.niter = 9;
    RunTest(&pc, 8);
    for (int k = 0; k < N_PERMTEST_STATS; k++)
      EXPECT_EQ(1.0, pc.in.probabilities[k]) << "opt_ro " << ro << ", statistic " << k + 1;
    Release(&pc);
  }
}

// OTUs 1-2, 3-4 and 5-6 are identical in pairs and form the nesting groups,
// and there is one trait so that the random T (not normalised) is the
// observed one up to a factor. A permutation restricted within the groups
// reproduces the observed arrangement, so every random value ties with the
// observed one, within rounding, and is counted.
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
    for (int k = 0; k < N_PERMTEST_STATS; k++)
      EXPECT_EQ(1.0, pc.in.probabilities[k]) << "opt_ro " << ro << ", statistic " << k + 1;
    // Unrestricted, the same data move between groups and some statistic
    // gets a smaller probability.
    pc.in.restrictPermutations = 0;
    RunTest(&pc, 21);
    double smallest = 1.0;
    for (int k = 0; k < N_PERMTEST_STATS; k++) smallest = fmin(smallest, pc.in.probabilities[k]);
    EXPECT_LT(smallest, 1.0) << "opt_ro " << ro;
    Release(&pc);
  }
}

TEST(PermTestNullModels, WeightedNullModelIsReproducibleAndBounded) {
  PermCase pc;
  Build(&pc, 6, 5, 2, nullptr, 16);
  pc.in.weightedNullModel = true;
  pc.in.niter = 30;
  RunTest(&pc, 77);
  double first[N_PERMTEST_STATS];
  memcpy(first, pc.in.probabilities, sizeof(first));
  RunTest(&pc, 77);
  for (int k = 0; k < N_PERMTEST_STATS; k++) {
    EXPECT_EQ(first[k], pc.in.probabilities[k]) << "statistic " << k + 1;
    EXPECT_GT(pc.in.probabilities[k], 0.0);
    EXPECT_LE(pc.in.probabilities[k], 1.0);
  }
  Release(&pc);
}

// Fewer occurrences than OTUs: the weighted list is walked again until it
// covers every OTU place, so only the two occurring OTUs are ever drawn.
TEST(PermTestNullModels, WeightedNullModelWithFewerOccurrencesThanOTUs) {
  PermCase pc;
  Build(&pc, 4, 6, 1, nullptr, 41);
  for (int c = 0; c < 4; c++)
    for (int i = 0; i < 6; i++) pc.W[c][i] = 0.0;
  pc.W[0][1] = 2.5;
  pc.W[2][4] = 1.25;
  pc.W[3][4] = 0.75;
  pc.in.weightedNullModel = true;
  pc.in.saveDetail = true;
  pc.in.detailFile = tmpfile();
  ASSERT_NE(nullptr, pc.in.detailFile);
  pc.in.niter = 6;
  RunTest(&pc, 8);
  rewind(pc.in.detailFile);
  char line[4096];
  int lists = 0;
  while (fgets(line, sizeof(line), pc.in.detailFile)) {
    const char* head = "Order of original OTUs in permuted traits matrix Brnd:\t";
    if (strncmp(line, head, strlen(head)) != 0) continue;
    lists++;
    int values[6], n = sscanf(line + strlen(head), "%d %d %d %d %d %d", &values[0], &values[1], &values[2],
                              &values[3], &values[4], &values[5]);
    ASSERT_EQ(6, n) << line;
    for (int k = 0; k < 6; k++) EXPECT_TRUE(values[k] == 2 || values[k] == 5) << line;
  }
  fclose(pc.in.detailFile);
  EXPECT_EQ(5, lists);
  for (int k = 0; k < N_PERMTEST_STATS; k++) EXPECT_LE(pc.in.probabilities[k], 1.0) << "statistic " << k + 1;
  Release(&pc);
}

// Two communities: rho comes from the single pair, 1 - |a - b| / max(a, b).
// W = (1 0 2 | 0 3 1), one trait 1.5, 2.5, 4: T = 9.5, 11.5, normalised by
// sqrt(222.5), so DT = 2 / sqrt(222.5); E = 0.2, 0.5 gives DE = 0.3.
TEST(PermTestStatistics, TwoCommunitiesUseThePairFormula) {
  PermCase pc;
  Build(&pc, 2, 3, 1, nullptr, 17);
  double w[2][3] = {{1, 0, 2}, {0, 3, 1}};
  double b[3] = {1.5, 2.5, 4.0};
  for (int c = 0; c < 2; c++)
    for (int i = 0; i < 3; i++) pc.W[c][i] = w[c][i];
  for (int i = 0; i < 3; i++) pc.B[i][0] = b[i];
  pc.E[0][0] = 0.2;
  pc.E[1][0] = 0.5;
  pc.E[0][1] = pc.E[1][1] = 1.0;
  EuclidRows(2, pc.nE, pc.E, pc.DE);
  pc.in.niter = 12;
  RunTest(&pc, 4);
  double dt = 2.0 / sqrt(222.5);
  EXPECT_NEAR(1.0 - fabs(0.3 - dt) / 0.3, pc.in.statistics[PT_rTE], 1e-12);
  EXPECT_NEAR(9.5 / sqrt(222.5), pc.Tout[0][0], 1e-12);
  EXPECT_NEAR(11.5 / sqrt(222.5), pc.Tout[1][0], 1e-12);
  for (int k = 0; k < N_PERMTEST_STATS; k++) {
    EXPECT_GT(pc.in.probabilities[k], 0.0) << "statistic " << k + 1;
    EXPECT_LE(pc.in.probabilities[k], 1.0) << "statistic " << k + 1;
  }
  Release(&pc);
}

// E proportional to the one trait's community means, with W the identity:
// every measure gives r(TE) = 1.
TEST(PermTestStatistics, TraitsProportionalToEnvironmentCorrelatePerfectly) {
  for (int ro : kMeasures) {
    PermCase pc;
    Build(&pc, 5, 5, 1, nullptr, 18);
    for (int c = 0; c < 5; c++) {
      for (int i = 0; i < 5; i++) pc.W[c][i] = (c == i) ? 1.0 : 0.0;
      pc.E[c][0] = 2.385 * pc.B[c][0];
      pc.E[c][1] = 2.385 * pc.B[c][0];
    }
    EuclidRows(5, pc.nE, pc.E, pc.DE);
    pc.in.opt_ro = ro;
    RunTest(&pc, 1);
    EXPECT_NEAR(1.0, pc.in.statistics[PT_rTE], 1e-9) << "opt_ro " << ro;
    Release(&pc);
  }
}

TEST(PermTestStatistics, ObservedMatricesAreReturned) {
  PermCase pc;
  Build(&pc, 4, 3, 2, nullptr, 19);
  RunTest(&pc, 1);
  // X = W U and P = W Q with unit weights.
  for (int c = 0; c < 4; c++) {
    for (int g = 0; g < pc.nTy; g++) {
      double x = 0.0;
      for (int i = 0; i < 3; i++) x += pc.W[c][i] * pc.U[i][g];
      EXPECT_NEAR(x, pc.Xout[c][g], 1e-12) << "X row " << c;
    }
    for (int g = 0; g < pc.nTa; g++) {
      double p = 0.0;
      for (int i = 0; i < 3; i++) p += pc.W[c][i] * pc.Q[i][g];
      EXPECT_NEAR(p, pc.Pout[c][g], 1e-12) << "P row " << c;
    }
  }
  // T normalised: unit column lengths.
  for (int t = 0; t < 2; t++) {
    double ss = 0.0;
    for (int c = 0; c < 4; c++) ss += pc.Tout[c][t] * pc.Tout[c][t];
    EXPECT_NEAR(1.0, ss, 1e-12) << "trait " << t;
  }
  Release(&pc);
}

TEST(PermTestReproducibility, SameSeedAndAnyThreadCountGiveSameResults) {
  for (int ro : kMeasures) {
    PermCase pc;
    Build(&pc, 12, 9, 3, nullptr, 20);
    pc.in.opt_ro = ro;
    pc.in.niter = 40;
    permTestSmallWork = 0.0;  // keep the team in the distance loops
    omp_set_num_threads(1);
    RunTest(&pc, 2024);
    double stats1[N_PERMTEST_STATS], probs1[N_PERMTEST_STATS];
    memcpy(stats1, pc.in.statistics, sizeof(stats1));
    memcpy(probs1, pc.in.probabilities, sizeof(probs1));
    omp_set_num_threads(2);
    RunTest(&pc, 2024);
    permTestSmallWork = 4000000.0;
    EXPECT_EQ(2, omp_get_max_threads()) << "team size restored after the test";
    for (int k = 0; k < N_PERMTEST_STATS; k++) {
      EXPECT_EQ(probs1[k], pc.in.probabilities[k]) << "opt_ro " << ro << ", statistic " << k + 1;
      if (!std::isnan(stats1[k])) {
        EXPECT_EQ(stats1[k], pc.in.statistics[k]) << "opt_ro " << ro << ", statistic " << k + 1;
      }
    }
    Release(&pc);
  }
}

// The intermediate file: points A to E, and its running counts end at the
// returned probabilities times the iterations.
TEST(PermTestDetail, IntermediateFileHoldsEveryPointAndFinalCounts) {
  PermCase pc;
  Build(&pc, 5, 4, 2, nullptr, 21);
  FILE* f = tmpfile();
  ASSERT_NE(nullptr, f);
  pc.in.saveDetail = true;
  pc.in.detailFile = f;
  pc.in.niter = 4;
  RunTest(&pc, 9);
  long size = ftell(f);
  rewind(f);
  char* text = (char*)calloc(size + 1, 1);
  ASSERT_EQ((size_t)size, fread(text, 1, size, f));
  fclose(f);
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

// The iterations skip the zero abundances of each community; that must not
// change a single bit of any statistic or probability.
TEST(PermTestReproducibility, SkippingZeroAbundancesChangesNothing) {
  for (int variant = 0; variant < 4; variant++) {
    PermCase pc;
    Build(&pc, 9, 8, 2, nullptr, 30 + variant);
    pc.in.niter = 30;
    pc.in.opt_ro = variant == 3 ? 3 : 1;
    pc.in.sqrtDissimTraits = variant % 2 == 1;
    pc.in.sqrtDissimPhyl = variant >= 2;
    pc.in.restrictRao = variant == 2;
    pc.in.weightedNullModel = variant == 1;
    pc.weights[3] = 0;
    pc.W[2][5] = -999.0;
    permTestPlainLoops = true;
    RunTest(&pc, 99);
    double stats1[N_PERMTEST_STATS], probs1[N_PERMTEST_STATS];
    memcpy(stats1, pc.in.statistics, sizeof(stats1));
    memcpy(probs1, pc.in.probabilities, sizeof(probs1));
    permTestPlainLoops = false;
    RunTest(&pc, 99);
    for (int k = 0; k < N_PERMTEST_STATS; k++) {
      EXPECT_EQ(probs1[k], pc.in.probabilities[k]) << "variant " << variant << ", statistic " << k + 1;
      if (!std::isnan(stats1[k])) {
        EXPECT_EQ(stats1[k], pc.in.statistics[k]) << "variant " << variant << ", statistic " << k + 1;
      }
    }
    Release(&pc);
  }
}

// A small test runs its distances on one thread; the caller's team size is
// given back afterwards.
TEST(PermTestReproducibility, TeamSizeIsRestored) {
  PermCase pc;
  Build(&pc, 5, 4, 2, nullptr, 40);
  pc.in.niter = 3;
  omp_set_num_threads(2);
  RunTest(&pc, 1);
  EXPECT_EQ(2, omp_get_max_threads());
  Release(&pc);
}

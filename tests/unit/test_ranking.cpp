// Unit tests of the trait subset search: its kernels against the library routines they stand for, the enumeration order, the ranking table, the criterion texts.
#include <cmath>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibRese.h"
#include "TarnLib/tarnlibStats.h"
#include "permutation/permKernels.h"
#include "ranking/rankSearch.h"
#include "ranking/ranking.h"
#include "scaling/community.h"
#include "scaling/scalingUp.h"
#include "scaling/settings.h"
#include "scaling/similarity.h"
#include "session/session.h"
#include "shell/shell.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

// A small generator of its own, so that the data don't depend on r.
struct Lcg {
  unsigned long long s;
  explicit Lcg(unsigned long long seed) : s(seed) {}
  double Next() {
    s = s * 6364136223846793005ULL + 1442695040888963407ULL;
    return (double)(s >> 11) / 9007199254740992.0;
  }
};

// Bitwise equality, so that a difference in the last place shows.
void ExpectSameBits(double got, double want, const std::string& what) {
  EXPECT_EQ(memcmp(&got, &want, sizeof got), 0) << what << ": " << got << " against " << want;
}

// The k-subsets of n in the order of the search, as 1-based lists.
std::vector<std::vector<int>> Subsets(int n, int k) {
  std::vector<std::vector<int>> all;
  std::vector<int> list(n);
  long long m = RankCombinations(n, k);
  for (long long i = 0; i < m; i++) {
    PermuteArray(n, k, list.data(), i == 0);
    all.push_back(list);
  }
  return all;
}

RankSubset SubsetOf(std::vector<int>& list, int k, int* mask, int n) {
  for (int t = 0; t < n; t++) mask[t] = 0;
  for (int j = 0; j < k; j++) mask[list[j] - 1] = 1;
  RankSubset s;
  s.k = k;
  s.list = list.data();
  s.mask = mask;
  s.firstType = 3;
  s.firstStates = 0;
  s.skipped = false;
  return s;
}

// Session globals that the enumeration and the belonging read.
struct TraitSession {
  int savedNch;
  int *savedChtype, *savedOnsta;
  double *savedWeight, *savedChrange;
  int types[4] = {3, 1, 3, 2};
  int states[4] = {5, 2, 7, 3};
  double weights[4] = {1.0, 0.0, 1.0, 0.5};
  double ranges[4] = {1.5, 1.0, 2.5, 0.0};
  TraitSession() {
    savedNch = nch;
    savedChtype = chtype;
    savedOnsta = onsta;
    savedWeight = weight;
    savedChrange = chrange;
    nch = 4;
    chtype = types;
    onsta = states;
    weight = weights;
    chrange = ranges;
  }
  ~TraitSession() {
    nch = savedNch;
    chtype = savedChtype;
    onsta = savedOnsta;
    weight = savedWeight;
    chrange = savedChrange;
  }
};

}  // namespace

// ---- Kernels: the same bits as the routines they replace ----

TEST(RankingKernels, SimilarityOfEverySubsetMatchesTheMaskedAverage) {
  const int n = 7, p = 5;
  Lcg g(11);
  // With missing entries (counts per pair), then with none (counts all k).
  for (int withMissing = 1; withMissing >= 0; withMissing--) {
    double*** cube = dim3Double(n, n, p);
    for (int i = 0; i < n; i++)
      for (int j = i; j < n; j++)
        for (int t = 0; t < p; t++) {
          double u = g.Next();
          // Missing entries, and a pair that no trait describes.
          bool missing = withMissing && (u < 0.2 || (i == 1 && j == 4));
          cube[i][j][t] = missing ? M : (float)(u * 0.9);
        }
    RankCube c;
    RankCubeBuild(&c, p, n, cube);
    EXPECT_EQ(c.complete, !withMissing);
    RankPrefix entries, counts;
    RankPrefixAlloc(&entries, p, c.pairs);
    RankPrefixAlloc(&counts, p, c.pairs);
    Mat S(n, n), want(n, n);
    std::vector<double> values(c.pairs);
    int mask[p];
    for (int k = 1; k <= p; k++)
      for (auto& list : Subsets(p, k)) {
        RankSubset s = SubsetOf(list, k, mask, p);
        RankSimilarity(&c, &s, &entries, &counts, S, values.data());
        gower_similarityAverage(p, n, cube, want, mask);
        for (int i = 0; i < n; i++)
          for (int j = i; j < n; j++) {
            ExpectSameBits(S[i][j], want[i][j], "S " + std::to_string(k) + " traits");
            EXPECT_EQ(S[j][i], S[i][j]) << "mirrored";
          }
      }
    if (withMissing) {
      EXPECT_EQ(S[1][4], M) << "a pair with no trait is missing";
    }
    RankPrefixFree(&entries);
    RankPrefixFree(&counts);
    RankCubeFree(&c);
    free3D(cube, n, n);
  }
}

TEST(RankingKernels, BelongingMatchesFuzzyBelongingWithAndWithoutIdenticals) {
  const int n = 8;
  int partition[n] = {7, 3, 7, 9, 3, 7, 9, 3};
  Lcg g(5);
  for (int identical = 0; identical < 2; identical++) {
    Mat S(n, n), lib(n, n), U(n, 3), want(n, 3);
    for (int i = 0; i < n; i++) {
      S[i][i] = 1.0;
      for (int j = i + 1; j < n; j++) S[i][j] = S[j][i] = g.Next() < 0.1 ? M : 0.05 + 0.9 * g.Next();
    }
    if (identical) {
      S[0][2] = S[2][0] = 1.0;  // two OTUs of type 7 alike
      S[1][4] = S[4][1] = 1.0 - 1e-9;  // within one float step of 1
      S[3][5] = S[5][3] = 1.0;  // alike, but of different types
    }
    CopyMatrix(n, n, S, lib);
    RankTypes t;
    RankTypesBuild(&t, n, 3, partition);
    std::vector<double> work((3 + 1) * n);
    std::vector<char> flag(n);
    std::vector<int> rep(n);
    RankBelonging(&t, S, false, U, work.data(), flag.data(), rep.data());
    FuzzyBelonging(n, 3, lib, partition, want, false);
    for (int i = 0; i < n; i++)
      for (int k = 0; k < 3; k++)
        ExpectSameBits(U[i][k], want[i][k], "U" + std::string(identical ? " with identicals" : ""));
    if (identical) {
      EXPECT_EQ(flag[2], 1) << "the later of two alike OTUs is flagged";
    }
    RankTypesFree(&t);
  }
}

TEST(RankingKernels, ProductAndDistancesMatchTheLibrary) {
  const int rows = 6, otus = 5, g = 3;
  Mat W(rows, otus), U(otus, g), X(rows, g), want(rows, g);
  Lcg r(3);
  for (int c = 0; c < rows; c++)
    for (int i = 0; i < otus; i++) W[c][i] = r.Next() < 0.4 ? 0.0 : 1.0 + 7.0 * r.Next();
  W[2][1] = M;  // a missing abundance in a row whose other terms are all 0
  W[2][0] = W[2][2] = W[2][3] = W[2][4] = 0.0;
  W[4][3] = M;
  for (int i = 0; i < otus; i++)
    for (int k = 0; k < g; k++) U[i][k] = r.Next();
  RankOccurrences o;
  RankOccurrencesBuild(&o, rows, otus, W);
  std::vector<double*> rowsOf(o.start[rows]);
  for (int q = 0; q < o.start[rows]; q++) rowsOf[q] = U[o.column[q]];
  MatrixProdMV(rows, otus, otus, g, W, U, want);
  const PermKernels* forms[2] = {&permKernelsTwoLane, permKernelsWide};
  const PermKernels* inUse = permKernels;
  for (const PermKernels* form : forms) {
    if (form == nullptr) continue;
    permKernels = form;
    RankProduct(&o, g, rowsOf.data(), X);
    for (int c = 0; c < rows; c++)
      for (int k = 0; k < g; k++) ExpectSameBits(X[c][k], want[c][k], std::string("X, ") + form->name);
  }
  permKernels = inUse;
  EXPECT_EQ(X[2][0], M) << "a zero sum with a skipped term is missing";
  RankOccurrencesFree(&o);

  // Distances of X, missing values included, and of a complete matrix.
  for (int withMissing = 1; withMissing >= 0; withMissing--) {
    if (!withMissing) {
      for (int k = 0; k < g; k++) X[2][k] = 0.25 * (k + 1);
    }
    Mat D(rows, rows);
    EucliDistMV(rows, g, X, D);
    RankPairs p;
    RankPairsAlloc(&p, rows * (rows - 1) / 2);
    std::vector<double> xt(g * rows), acc(rows);
    Mat work(rows, rows);
    // Each form of the distance loops that this processor can run.
    for (const PermKernels* form : forms) {
      if (form == nullptr) continue;
      permKernels = form;
      RankEuclidPairs(rows, g, X, xt.data(), acc.data(), work, &p);
      long q = 0;
      double sum = 0.0;
      for (int i = 0; i < rows; i++)
        for (int j = i + 1; j < rows; j++) {
          ExpectSameBits(p.d[q++], D[i][j], std::string("DX, ") + form->name);
          sum += D[i][j];
        }
      ExpectSameBits(p.sum, sum, "sum of the pairs");
    }
    permKernels = inUse;
    RankPairsFree(&p);
  }
}

TEST(RankingKernels, TraitDistancesOfEverySubsetMatchTheMaskedProduct) {
  const int rows = 5, otus = 4, p = 4;
  Mat W(rows, otus), B(otus, p), Tall(rows, p);
  Lcg r(17);
  for (int c = 0; c < rows; c++)
    for (int i = 0; i < otus; i++) W[c][i] = r.Next();
  for (int i = 0; i < otus; i++)
    for (int t = 0; t < p; t++) B[i][t] = 10.0 * r.Next() - 3.0;
  B[1][2] = M;  // a missing trait value: its term is skipped
  int all[p] = {1, 1, 1, 1};
  MatrixProdSelectMV(rows, otus, otus, p, W, B, Tall, all);
  NormalizeColsMV(rows, p, Tall, Tall);
  RankTraitPairs tp;
  RankTraitPairsBuild(&tp, rows, p, Tall);
  RankPrefix sums;
  RankPrefixAlloc(&sums, p, tp.pairs);
  RankPairs d;
  RankPairsAlloc(&d, tp.pairs);
  Mat T(rows, p), DT(rows, rows);
  int mask[p];
  for (int k = 1; k <= p; k++)
    for (auto& list : Subsets(p, k)) {
      RankSubset s = SubsetOf(list, k, mask, p);
      RankTraitDistances(&tp, &s, &sums, &d);
      MatrixProdSelectMV(rows, otus, otus, p, W, B, T, mask);
      NormalizeColsMV(rows, p, T, T);
      EucliDistMV(rows, p, T, DT);
      long q = 0;
      double sum = 0.0;
      for (int i = 0; i < rows; i++)
        for (int j = i + 1; j < rows; j++, q++) {
          ExpectSameBits(d.d[q], DT[i][j], "DT of " + std::to_string(k) + " traits");
          sum += DT[i][j];
        }
      ExpectSameBits(d.sum, sum, "sum of the pairs");
    }
  RankPairsFree(&d);
  RankPrefixFree(&sums);
  RankTraitPairsFree(&tp);
}

TEST(RankingKernels, MantelFormsMatchMatrixCorrAndTheTwoCommunityRule) {
  const int n = 6;
  long pairs = n * (n - 1) / 2;
  Mat A(n, n), B(n, n), sa(n, n), sb(n, n);
  Lcg r(23);
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) {
      A[i][j] = 1.0 + r.Next();
      B[i][j] = 2.0 * r.Next();
    }
  RankPairs a, b;
  RankPairsAlloc(&a, pairs);
  RankPairsAlloc(&b, pairs);
  RankMatrixToPairs(n, A, &a);
  RankPairsPrepare(&a, pairs);
  RankMatrixToPairs(n, B, &b);
  ExpectSameBits(RankMantelWith(n, &a, &b, sa, sb), MatrixCorr(n, A, B), "prepared in one pass");
  ExpectSameBits(RankMantel(n, &a, &b, sa, sb), MatrixCorr(n, A, B), "prepared apart");
  B[1][3] = M;  // a missing pair leaves that pair out of both means
  RankMatrixToPairs(n, B, &b);
  double withMissing = RankMantelWith(n, &a, &b, sa, sb);
  EXPECT_FALSE(b.ok);
  ExpectSameBits(withMissing, MatrixCorr(n, A, B), "with a missing pair");
  // Two communities: 1 - |a - b| / max(a, b) on the single pair.
  a.d[0] = 2.5;
  b.d[0] = 1.5;
  EXPECT_NEAR(RankMantel(2, &a, &b, sa, sb), 0.6, 1e-15);
  EXPECT_NEAR(RankMantelWith(2, &a, &b, sa, sb), 0.6, 1e-15);
  EXPECT_TRUE(std::isnan(RankMantel(1, &a, &b, sa, sb))) << "one community has no pair";
  RankPairsFree(&a);
  RankPairsFree(&b);
}

// ---- Enumeration ----

TEST(RankingEnumeration, LexicographicOrderExcludedTraitsAndChunks) {
  TraitSession session;  // trait 2 has weight 0
  RankEnumeration e;
  RankEnumerationAlloc(&e, 4);
  RankSubset subsets[4];
  int lists[4][4], masks[4][4];
  for (int s = 0; s < 4; s++) {
    subsets[s].list = lists[s];
    subsets[s].mask = masks[s];
  }
  RankEnumerationStart(&e, 2);
  EXPECT_EQ(e.m, 6);
  const int want[6][4] = {{1, 2, 3, 4}, {1, 3, 2, 4}, {1, 4, 2, 3}, {2, 3, 1, 4}, {2, 4, 1, 3}, {3, 4, 1, 2}};
  const bool skipped[6] = {true, false, false, true, true, false};
  int seen = 0, count;
  // Chunks of 4 then 2: the enumeration goes on where the chunk stopped.
  while ((count = RankEnumerationNext(&e, subsets, 4)) > 0) {
    for (int s = 0; s < count; s++, seen++) {
      ExpectInts(subsets[s].list, {want[seen][0], want[seen][1], want[seen][2], want[seen][3]}, "list");
      EXPECT_EQ(subsets[s].skipped, skipped[seen]) << "subset " << seen;
      EXPECT_EQ(subsets[s].firstType, session.types[want[seen][0] - 1]) << "first trait's type";
      EXPECT_EQ(subsets[s].firstStates, session.states[want[seen][0] - 1]);
      if (skipped[seen]) continue;
      for (int t = 0; t < 4; t++)
        EXPECT_EQ(subsets[s].mask[t], t + 1 == want[seen][0] || t + 1 == want[seen][1]) << "mask " << t;
    }
  }
  EXPECT_EQ(seen, 6);
  RankEnumerationStart(&e, 4);
  EXPECT_EQ(RankEnumerationNext(&e, subsets, 4), 1) << "one subset of all traits";
  EXPECT_TRUE(subsets[0].skipped);
  RankEnumerationFree(&e);
}

TEST(RankingEnumeration, ReorderVectorsPutsTheSubsetFirst) {
  TraitSession session;
  int list[4] = {3, 4, 1, 2};
  int o[4], c[4];
  double r[4], w[4];
  ReorderVectors(4, list, o, c, r, w);
  ExpectInts(o, {7, 3, 5, 2}, "onsta");
  ExpectInts(c, {3, 2, 3, 1}, "chtype");
  ExpectValues(r, {2.5, 0.0, 1.5, 1.0}, "chrange");
  ExpectValues(w, {1.0, 0.5, 1.0, 0.0}, "weight");
}

TEST(RankingEnumeration, CombinationCounts) {
  EXPECT_EQ(RankCombinations(16, 8), 12870);
  EXPECT_EQ(RankCombinations(5, 0), 1);
  EXPECT_EQ(RankCombinations(5, 5), 1);
  EXPECT_EQ(RankCombinations(3, 4), 0);
  long long total = 0;
  for (int k = 1; k <= 16; k++) total += RankCombinations(16, k);
  EXPECT_EQ(total, 65535);
  EXPECT_EQ(RankCombinations(200, 2), 19900) << "beyond the doubles' factorials";
}

// ---- Ranking table ----

namespace {

void ExpectRows(const RankTable& t, std::initializer_list<double> values, std::initializer_list<int> firsts,
                const char* what) {
  int r = 0;
  auto f = firsts.begin();
  for (double v : values) {
    EXPECT_EQ(t.value[r], v) << what << ", row " << r;
    if (*f > 0) {
      EXPECT_EQ(t.traits[r][0], *f) << what << ", row " << r;
    }
    ++f;
    r++;
  }
}

}  // namespace

TEST(RankingTable, AscendingRowsStrictEntryAndEviction) {
  RankTable t;
  RankTableAlloc(&t, 4, 3);  // row 0 and three kept subsets
  int a[] = {1}, b[] = {2}, c[] = {3}, d[] = {1, 2}, e[] = {2, 3};
  EXPECT_TRUE(RankTableOffer(&t, 0.5, 1, a, false));
  EXPECT_FALSE(RankTableOffer(&t, -0.25, 1, b, false)) << "a negative never enters a table of zeros";
  EXPECT_FALSE(RankTableOffer(&t, 0.0, 1, b, false)) << "equal to row 0 is not better";
  EXPECT_TRUE(RankTableOffer(&t, 0.75, 1, b, false));
  EXPECT_TRUE(RankTableOffer(&t, 0.125, 1, c, false));
  ExpectRows(t, {0.0, 0.125, 0.5, 0.75}, {0, 3, 1, 2}, "three kept");
  EXPECT_TRUE(RankTableOffer(&t, 0.625, 2, d, false)) << "evicts the smallest";
  ExpectRows(t, {0.125, 0.5, 0.625, 0.75}, {3, 1, 1, 2}, "full");
  EXPECT_EQ(t.size[2], 2);
  EXPECT_EQ(t.traits[2][1], 2);
  EXPECT_FALSE(RankTableOffer(&t, 0.125, 2, e, false)) << "a tie with the smallest kept stays out";
  RankTableFree(&t);
}

TEST(RankingTable, AbsoluteValuesKeepTheirSign) {
  RankTable t;
  RankTableAlloc(&t, 3, 2);
  int a[] = {1}, b[] = {2}, c[] = {1, 2};
  EXPECT_TRUE(RankTableOffer(&t, -0.875, 1, a, true)) << "a strong negative enters";
  EXPECT_TRUE(RankTableOffer(&t, 0.25, 1, b, true));
  EXPECT_TRUE(RankTableOffer(&t, -0.5, 2, c, true));
  ExpectRows(t, {0.25, -0.5, -0.875}, {2, 1, 1}, "by absolute value");
  EXPECT_FALSE(RankTableOffer(&t, NAN, 1, a, true)) << "a not-a-number never enters";
  RankTableFree(&t);
}

// ---- Criterion texts ----

TEST(RankingTexts, CriterionLineFollowsTheTableLayout) {
  EXPECT_STREQ(OptStructText(10), "10 (Trait-convergence assembly patterns, TCAP)");
  EXPECT_EQ(strncmp(OptStructText(20), "20 (trait divergence: r(XZ.T))21 (correlation", 45), 0)
      << "rows 20 and 21 run together";
  EXPECT_STREQ(OptStructText(21), "(null)");
  EXPECT_STREQ(OptStructText(22), "(null)");
  EXPECT_STREQ(OptStructText(23), "matrix correlation (Mantel)");
  EXPECT_STREQ(OptStructText(24), "Procrustes (traceW)");
}

// ---- The search with a member of known values ----

namespace {

// Value of a subset: 0.5 for {1} and {3} (a tie), otherwise its traits'
// numbers decide; subsets holding trait 4 are negative, and {2, 3} is 0.
void EvaluateKnown(void*, int, const RankSubset* s, RankResult* r, FILE*) {
  double v = 0.0;
  bool four = false;
  for (int j = 0; j < s->k; j++) {
    v += 0.125 * s->list[j];
    four |= s->list[j] == 4;
  }
  if (s->k == 1 && (s->list[0] == 1 || s->list[0] == 3)) v = 0.5;
  if (s->k == 2 && s->list[0] == 2 && s->list[1] == 3) v = 0.0;
  r->evaluated = true;
  r->value = four ? -v : v;
}

void LineKnown(FILE* f, const RankResult* r) { fprintf(f, "%g\t", r->value); }

struct SearchSession : TraitSession {
  char labels[4][11] = {"a", "b", "c", "d"};
  char* labelRows[4];
  char** savedLabels;
  int savedMin, savedMax, savedIntermediate;
  clock_t savedT2;
  double allWeights[4] = {1.0, 1.0, 1.0, 1.0};
  SearchSession() {
    savedLabels = chLabel;
    savedMin = nMinTraitsChRank;
    savedMax = nMaxTraitsChRank;
    savedIntermediate = printRankIntermedResults;
    for (int t = 0; t < 4; t++) labelRows[t] = labels[t];
    chLabel = labelRows;
    weight = allWeights;
    nMinTraitsChRank = 1;
    nMaxTraitsChRank = 3;
    printRankIntermedResults = 'y';
    savedT2 = t2;
    t2 = clock() + (clock_t)1000000000;  // no progress line in the test's output
  }
  ~SearchSession() {
    t2 = savedT2;
    chLabel = savedLabels;
    nMinTraitsChRank = savedMin;
    nMaxTraitsChRank = savedMax;
    printRankIntermedResults = savedIntermediate;
  }
};

std::string Search(RankMember* m, int threads, int rows) {
  RankTable table;
  RankTableAlloc(&table, rows, nch);
  RankBest best;
  RankBestAlloc(&best, nch, m->startValue);
  FILE* f = tmpfile();
  RankSearchRun(m, threads, f, nullptr, &table, &best, 14);
  RankReportEnd(f, m, &table, &best, nullptr);
  std::string text = Contents(f);
  fclose(f);
  RankBestFree(&best, nch);
  RankTableFree(&table);
  return text;
}

bool Has(const std::string& text, const std::string& line) { return text.find(line) != std::string::npos; }

}  // namespace

TEST(RankingSearch, BestsTiesTableAndThreads) {
  SearchSession session;
  RankMember m = {-1.79769313486231570815e+308, false, false, EvaluateKnown, LineKnown, nullptr, nullptr, nullptr, nullptr};
  std::string one = Search(&m, 1, 4);
  EXPECT_EQ(Search(&m, 2, 4), one) << "the same text on two threads";
  EXPECT_TRUE(Has(one, "0.5\ta \t\n0.25\tb \t\n0.5\tc \t\n-0.5\td \t\n")) << "lines in enumeration order";
  EXPECT_TRUE(Has(one, "Ranking criterion value and optimal subset with 1 traits: \t0.5         \ta \t\n"))
      << "a tie stays with the first subset";
  EXPECT_TRUE(Has(one, "with 2 traits: \t0.5         \ta \tc \t\n"));
  EXPECT_TRUE(Has(one, "with 3 traits: \t0.75        \ta \tb \tc \t\n"));
  // Three kept subsets of all sizes, the best first; negatives never enter.
  EXPECT_TRUE(Has(one, "TRC         \tSubset of traits\n0.75        \ta \tb \tc \t\n0.5         \t"));
  EXPECT_FALSE(Has(one, "-0.5        \td \t\n")) << "a negative in the table";
  EXPECT_TRUE(Has(one, "for each number of traits:\nTRC         \tSubset of traits\n0.5          \ta \t\n"
                       "0.5          \ta \tc \t\n0.75         \ta \tb \tc \t\n"));
}

TEST(RankingSearch, AbsoluteMemberAndExcludedTraits) {
  SearchSession session;
  session.allWeights[2] = 0.0;  // trait c left out: its subsets are skipped
  RankMember m = {0.0, true, true, EvaluateKnown, LineKnown, nullptr, nullptr, nullptr, nullptr};
  std::string one = Search(&m, 1, 4);
  EXPECT_EQ(Search(&m, 2, 4), one);
  EXPECT_FALSE(Has(one, "\tc \t")) << "no line holds the excluded trait";
  EXPECT_TRUE(Has(one, "with 1 traits: \t0.5         \ta \t\n")) << "-0.5 of d ties by its absolute value";
  EXPECT_TRUE(Has(one, "with 2 traits: \t-0.75       \tb \td \t\n")) << "a negative wins by its absolute value";
  EXPECT_TRUE(Has(one, "with 3 traits: \t-0.875      \ta \tb \td \t\n"));
  nMinTraitsChRank = nMaxTraitsChRank = 2;
  session.allWeights[2] = 1.0;
  session.allWeights[0] = session.allWeights[1] = session.allWeights[3] = 0.0;
  std::string none = Search(&m, 2, 4);
  EXPECT_TRUE(Has(none, "with 2 traits: \t0           \tnone\n")) << "no subset evaluated";
  EXPECT_TRUE(Has(none, "0            \tnone\n"));
}

TEST(RankingSearch, ChunksMergedWhileTheNextIsEvaluated) {
  // 14 traits, sizes 6 and 7: 3003 and 3432 subsets, more than one chunk each.
  const int n = 14;
  SearchSession session;
  int types[n], states[n];
  double ranges[n], weights[n];
  char labels[n][11];
  char* rows[n];
  for (int t = 0; t < n; t++) {
    types[t] = 3;
    states[t] = 4;
    ranges[t] = 1.0;
    weights[t] = t == 12 ? 0.0 : 1.0;  // one trait left out
    snprintf(labels[t], sizeof labels[t], "t%d", t + 1);
    rows[t] = labels[t];
  }
  nch = n;
  chtype = types;
  onsta = states;
  chrange = ranges;
  weight = weights;
  chLabel = rows;
  nMinTraitsChRank = 6;
  nMaxTraitsChRank = 7;
  RankMember m = {-1.79769313486231570815e+308, false, false, EvaluateKnown, LineKnown, nullptr, nullptr, nullptr, nullptr};
  std::string one = Search(&m, 1, 101);
  EXPECT_EQ(Search(&m, 2, 101), one) << "the same text on two threads";
  long long lines = 0;
  for (char c : one) lines += c == '\n';
  // Lines of the subsets without t13, two best lines, the table (two blank
  // lines, two headings, 100 rows), the list by size (four and two) and the
  // elapsed time (two).
  long long kept = RankCombinations(13, 6) + RankCombinations(13, 7);
  EXPECT_EQ(lines, kept + 2 + 4 + 100 + 4 + 2 + 2);
}

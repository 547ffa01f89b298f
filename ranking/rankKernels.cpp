// Data of a trait subset search that do not depend on the subset, and the allocation-free kernels that evaluate one subset.
// Every kernel gives, bit for bit, what the library routine it stands for gives
// (gower_similarityAverage with a mask, FuzzyBelonging, MatrixProdMV,
// EucliDistMV, MatrixCorr): the same operations on the same values in the same
// order. They differ only in what they leave out: terms that add an exact zero
// to a sum that can't be a negative zero, and work that the partition or the
// run already fixed.
#include <cmath>
#include <cstring>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibRese.h"
#include "TarnLib/tarnlibStats.h"
#include "permutation/permKernels.h"
#include "ranking/rankSearch.h"
#include "scaling/settings.h"
#include "scaling/similarity.h"
#include "session/session.h"
#include "shell/preferences.h"
#include "session/track.h"

static const double kMissing = -999.0;

// The loops over pairs are compiled twice, for AVX2 and for any processor,
// and the loader picks one: the same operations in the same order either way.
#define RANK_LANES __attribute__((target_clones("avx2", "default")))

static int AtLeast1(int n) { return n > 0 ? n : 1; }

// ---- Pairs of a resemblance matrix ----

void RankPairsAlloc(RankPairs* p, long pairs) {
  int n = AtLeast1((int)pairs);
  p->d = dim1Double(n);
  p->centred = dim1Double(n);
  p->ss = 0.0;
  p->ok = false;
  p->summed = false;
}

void RankPairsFree(RankPairs* p) {
  free1D(p->d);
  free1D(p->centred);
  p->d = p->centred = nullptr;
}

// The two passes of the Mantel correlation over one matrix: the sum in pair
// order, its mean, the deviations and their sum of squares.
// The Mantel correlation's first pass, unless the producer of the pairs
// made it: their sum in pair order, and whether one is missing.
static void SumPairs(RankPairs* p, long pairs) {
  if (!p->summed) {
    double sum = 0.0;
    bool missing = false;
    for (long q = 0; q < pairs; q++) {
      missing |= p->d[q] == kMissing;
      sum += p->d[q];
    }
    p->sum = sum;
    p->missing = missing;
  }
  p->summed = false;
}

void RankPairsPrepare(RankPairs* p, long pairs) {
  p->ok = false;
  p->ss = 0.0;
  if (pairs < 1) return;
  SumPairs(p, pairs);
  if (p->missing) return;
  double mean = p->sum / pairs;
  double ss = 0.0;
  for (long q = 0; q < pairs; q++) {
    double dev = p->d[q] - mean;
    p->centred[q] = dev;
    ss += dev * dev;
  }
  p->ss = ss;
  p->ok = true;
}

double RankMantelWith(int n, const RankPairs* a, RankPairs* b, double** scratchA, double** scratchB) {
  long pairs = n >= 2 ? (long)n * (n - 1) / 2 : 0;
  if (n < 3 || !a->ok) {
    RankPairsPrepare(b, pairs);
    return RankMantel(n, a, b, scratchA, scratchB);
  }
  SumPairs(b, pairs);
  b->ok = false;
  if (b->missing) {
    b->ss = 0.0;
    return RankMantel(n, a, b, scratchA, scratchB);
  }
  // The sum of squares and the cross products side by side, each in pair
  // order: what the two separate passes would give.
  double mean = b->sum / pairs;
  double ss = 0.0, cross = 0.0;
  const double* ca = a->centred;
  for (long q = 0; q < pairs; q++) {
    double dev = b->d[q] - mean;
    b->centred[q] = dev;
    ss += dev * dev;
    cross += ca[q] * dev;
  }
  b->ss = ss;
  b->ok = true;
  return RhoOfSums(cross, a->ss, ss);
}

void RankMatrixToPairs(int n, double** D, RankPairs* p) {
  double* d = p->d;
  p->summed = false;
  long q = 0;
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) d[q++] = D[i][j];
}

void RankPairsToMatrix(int n, const double* d, double** D) {
  long q = 0;
  for (int i = 0; i < n; i++) {
    D[i][i] = 0.0;
    for (int j = i + 1; j < n; j++) D[i][j] = d[q++];
  }
}

double RankMantel(int n, const RankPairs* a, const RankPairs* b, double** scratchA, double** scratchB) {
  if (n < 2) return NAN;  // no pair of communities to compare
  if (n == 2) {
    double x = a->d[0], y = b->d[0];
    return 1.0 - fabs(x - y) / Fmax(x, y);
  }
  long pairs = (long)n * (n - 1) / 2;
  if (a->ok && b->ok) {
    double r;
    const double* centred = b->centred;
    MatrixCorrPrepared(pairs, a->centred, a->ss, 1, &centred, &b->ss, &r);
    return r;
  }
  // A missing pair on either side leaves that pair out of both means.
  RankPairsToMatrix(n, a->d, scratchA);
  RankPairsToMatrix(n, b->d, scratchB);
  return MatrixCorr(n, scratchA, scratchB);
}

void RankConvertResemblance(int n, double** D, double** zero) {
  if (rese_opt == 3 || rese_opt == 4) {
    ProdToSqDist(n, D, D);
    UpperToLowerMatrix(n, D);
  } else if (rese_opt == 5) {
    // The correlation matrix handed over is an all-zero matrix, not D: every
    // distance becomes 2. Intended: this resemblance option gives a constant D.
    CorrToSqDist(n, zero, D);
  }
}

// ---- Once per run ----

void RankEnvironmentPrepare(RankEnvironment* e) {
  int n = AtLeast1(ncsm), v = AtLeast1(nenv);
  e->Ec = dim2Double(n, v);
  e->DE = dim2Double(n, n);
  for (int c = 0; c < ncsm; c++)
    for (int k = 0; k < nenv; k++) e->Ec[c][k] = env[c][k];
  bool corrAdjusted = optEnvVarType == 2 || optEnvVarType == 4 || (optEnvVarType == 5 && temEnvQual == 0);
  if (optEnvVarType == 1 || corrAdjusted) {
    if (corrAdjusted) CorrAdj(ncsm, nenv, e->Ec, e->Ec);
    EucliDistMV(ncsm, nenv, e->Ec, e->DE);
  } else {
    GowerMVOpt(ncsm, nenv, envVarType, e->Ec, e->DE, nullptr, nullptr, countDoubleAbsence);
    ProbToDissim(ncsm, e->DE, e->DE);
  }
  e->pairs = (long)ncsm * (ncsm - 1) / 2;
  RankPairsAlloc(&e->de, e->pairs);
  RankMatrixToPairs(ncsm, e->DE, &e->de);
  RankPairsPrepare(&e->de, e->pairs);
}

void RankEnvironmentFree(RankEnvironment* e) {
  int n = AtLeast1(ncsm);
  free2D(e->Ec, n);
  free2D(e->DE, n);
  RankPairsFree(&e->de);
}

double** RankCommunityMatrix(bool unitTotals) {
  double** W = dim2Double(AtLeast1(ncsm), AtLeast1(tcst));
  for (int c = 0; c < ncsm; c++)
    for (int i = 0; i < tcst; i++) W[c][i] = cadat[i][c];
  if (unitTotals) UnitSumRowsAdjMV(ncsm, tcst, W, W);
  return W;
}

void RankOccurrencesBuild(RankOccurrences* o, int rows, int cols, double** W) {
  long count = 0;
  for (int c = 0; c < rows; c++)
    for (int k = 0; k < cols; k++)
      if (W[c][k] != 0.0 && W[c][k] != kMissing) count++;
  o->rows = rows;
  o->start = dim1Dint(rows + 1);
  o->column = dim1Dint(AtLeast1((int)count));
  o->weight = dim1Double(AtLeast1((int)count));
  o->missing = (bool*)dim1D(sizeof(bool), AtLeast1(rows));
  int q = 0;
  for (int c = 0; c < rows; c++) {
    o->start[c] = q;
    for (int k = 0; k < cols; k++) {
      if (W[c][k] == kMissing) o->missing[c] = true;
      // A zero weight times a finite belonging adds an exact zero: left out.
      if (W[c][k] == 0.0 || W[c][k] == kMissing) continue;
      o->column[q] = k;
      o->weight[q++] = W[c][k];
    }
  }
  o->start[rows] = q;
}

void RankOccurrencesFree(RankOccurrences* o) {
  free1D(o->start);
  free1D(o->column);
  free1D(o->weight);
  free1D(o->missing);
}

void RankCubeBuild(RankCube* c, int nTraits, int nOTUs, double*** cube) {
  c->nTraits = nTraits;
  c->nOTUs = nOTUs;
  c->pairs = (long)nOTUs * (nOTUs - 1) / 2;
  c->entry = dim2Double(AtLeast1(nTraits), AtLeast1((int)c->pairs));
  c->present = dim2Double(AtLeast1(nTraits), AtLeast1((int)c->pairs));
  c->complete = true;
  for (int t = 0; t < nTraits; t++) {
    long q = 0;
    for (int i = 0; i < nOTUs; i++)
      for (int j = i + 1; j < nOTUs; j++, q++) {
        double x = cube[i][j][t];
        // A missing entry adds 0 to a sum of non-negative terms: exact.
        c->entry[t][q] = x == kMissing ? 0.0 : x;
        c->present[t][q] = x == kMissing ? 0.0 : 1.0;
        if (x == kMissing) c->complete = false;
      }
  }
}

void RankCubeFree(RankCube* c) {
  free2D(c->entry, AtLeast1(c->nTraits));
  free2D(c->present, AtLeast1(c->nTraits));
}

void RankTraitPairsBuild(RankTraitPairs* tp, int rows, int nTraits, double** T) {
  tp->nTraits = nTraits;
  tp->pairs = (long)rows * (rows - 1) / 2;
  tp->sq = dim2Double(AtLeast1(nTraits), AtLeast1((int)tp->pairs));
  for (int t = 0; t < nTraits; t++) {
    long q = 0;
    for (int i = 0; i < rows; i++)
      for (int j = i + 1; j < rows; j++, q++) {
        double a = T[i][t], b = T[j][t];
        double d = a - b;
        tp->sq[t][q] = a == kMissing || b == kMissing ? 0.0 : d * d;
      }
  }
}

void RankTraitPairsFree(RankTraitPairs* tp) { free2D(tp->sq, AtLeast1(tp->nTraits)); }

void RankTypesBuild(RankTypes* t, int n, int g, int* partition) {
  t->n = n;
  t->g = g;
  t->group = dim1Dint(AtLeast1(n));
  t->labels = dim1Dint(AtLeast1(n));
  t->size = dim1Double(AtLeast1(n));
  t->order = dim1Dint(AtLeast1(n));
  int* distinct = dim1Dint(AtLeast1(n));
  int nDistinct = 0;
  CountGroupsNew(n, partition, &nDistinct, distinct);
  for (int i = 0; i < n; i++) {
    t->labels[i] = partition[i];
    int found = -1;
    for (int k = 0; k < nDistinct; k++)
      if (distinct[k] == partition[i]) found = k;
    t->group[i] = found < g ? found : -1;
    if (found >= 0) t->size[found] += 1.0;
  }
  int q = 0;
  for (int k = 0; k < nDistinct; k++)
    for (int i = 0; i < n; i++)
      if (t->labels[i] == distinct[k]) t->order[q++] = i;
  free1D(distinct);
}

void RankTypesFree(RankTypes* t) {
  free1D(t->group);
  free1D(t->labels);
  free1D(t->size);
  free1D(t->order);
}

// ---- Per subset ----

void RankPrefixAlloc(RankPrefix* p, int nTraits, long length) {
  p->nTraits = nTraits;
  p->length = length;
  p->valid = 0;
  p->traits = dim1Dint(AtLeast1(nTraits));
  p->level = dim2Double(AtLeast1(nTraits), AtLeast1((int)length));
}

void RankPrefixFree(RankPrefix* p) {
  free1D(p->traits);
  free2D(p->level, AtLeast1(p->nTraits));
}

// Subsets met one after the other share their first traits, mostly all but
// the last: the running sums after each of those traits are kept, and only
// the levels past the shared part are added again. Each level adds one
// trait to the one before, so every sum runs over the traits in ascending
// order, as a plain loop over them would.
RANK_LANES const double* RankPrefixSum(RankPrefix* p, double** rows, const int* list, int k) {
  int shared = 0;
  while (shared < k && shared < p->valid && p->traits[shared] == list[shared] - 1) shared++;
  long length = p->length;
  for (int j = shared; j < k; j++) {
    int t = list[j] - 1;
    const double* add = rows[t];
    double* to = p->level[j];
    if (j == 0) {
      for (long q = 0; q < length; q++) to[q] = 0.0 + add[q];
    } else {
      const double* from = p->level[j - 1];
      for (long q = 0; q < length; q++) to[q] = from[q] + add[q];
    }
    p->traits[j] = t;
  }
  p->valid = k;
  return p->level[k - 1];
}

RANK_LANES void RankSimilarity(const RankCube* c, const RankSubset* s, RankPrefix* entries, RankPrefix* counts,
                               double** S, double* values) {
  const double* acc = RankPrefixSum(entries, c->entry, s->list, s->k);
  long pairs = c->pairs;
  if (c->complete) {
    // No entry is missing: every count is k.
    double k = s->k;
    for (long q = 0; q < pairs; q++) values[q] = acc[q] / k;
  } else {
    const double* cnt = RankPrefixSum(counts, c->present, s->list, s->k);
    for (long q = 0; q < pairs; q++) values[q] = cnt[q] > 0.0 ? acc[q] / cnt[q] : kMissing;
  }
  long q = 0;
  int n = c->nOTUs;
  for (int i = 0; i < n; i++) {
    S[i][i] = 1.0;
    double* row = S[i];
    for (int j = i + 1; j < n; j++, q++) row[j] = S[j][i] = values[q];
  }
}

// OTUs of one type that are identical (similarity 1 within one float step)
// to an earlier unflagged one are flagged, rep = that one (1-based), and
// leave their type's size. Only pairs within a type can be identical.
static bool FlagIdenticals(const RankTypes* t, double** S, double* size, char* flag, int* rep) {
  bool any = false;
  int n = t->n;
  for (int a = 0; a < n; a++) {
    int i = t->order[a];
    if (flag[i]) continue;
    for (int b = a + 1; b < n && t->labels[t->order[b]] == t->labels[i]; b++) {
      int j = t->order[b];
      double s = S[i][j];
      if (flag[j] || !(fabs(s - 1.0) < 1e-6) || !AlmostEqual2sComplement(s, 1.0, 1)) continue;
      flag[j] = 1;
      rep[j] = i + 1;
      if (t->group[i] >= 0) size[t->group[i]] -= 1.0;
      any = true;
    }
  }
  return any;
}

// u[i] += s[i] / divisor (or (1 - s[i]) / divisor), a missing s adding 0:
// its term times 0 is a zero, which leaves u[i] as it is.
static inline void AddTerms(int n, const double* __restrict s, double divisor, bool isDissimilarity,
                            double* __restrict u) {
  if (isDissimilarity) {
    for (int i = 0; i < n; i++) {
      double keep = s[i] != kMissing;
      u[i] += (1.0 - s[i]) / divisor * keep;
    }
  } else {
    for (int i = 0; i < n; i++) {
      double keep = s[i] != kMissing;
      u[i] += s[i] / divisor * keep;
    }
  }
}

RANK_LANES void RankBelonging(const RankTypes* t, double** S, bool mirror, double** U, double* work, char* flag, int* rep) {
  int n = t->n, g = t->g;
  double* size = work;          // [g]
  double* ut = work + n;        // [g][n], types as rows
  for (int k = 0; k < g; k++) size[k] = t->size[k];
  for (int i = 0; i < n; i++) {
    flag[i] = 0;
    rep[i] = i + 1;
  }
  if (mirror) UpperToLowerMatrix(n, S);
  bool isDissimilarity = reseCSTopt != 1;
  for (long q = 0; q < (long)g * n; q++) ut[q] = 0.0;
  if (!FlagIdenticals(t, S, size, flag, rep)) {
    // No identical OTUs: every j counts for every i. Row j of S holds S[i][j]
    // for all i, so the sum for (i, type of j) runs over j in ascending order.
    for (int j = 0; j < n; j++) {
      int k = t->group[j];
      if (k >= 0) AddTerms(n, S[j], size[k], isDissimilarity, ut + (long)k * n);
    }
  } else {
    for (int i = 0; i < n; i++)
      for (int j = 0; j < n; j++) {
        if (j != i && (flag[j] || rep[i] == rep[j])) continue;
        int k = t->group[j];
        double x = S[i][j];
        if (k < 0 || x == kMissing) continue;
        ut[(long)k * n + i] += (isDissimilarity ? 1.0 - x : x) / size[k];
      }
  }
  for (int i = 0; i < n; i++)
    for (int k = 0; k < g; k++) U[i][k] = ut[(long)k * n + i];
  UnitSumRowsAdjMV(n, g, U, U);
}

void RankProduct(const RankOccurrences* o, int g, double* const* rows, double** X) {
  for (int c = 0; c < o->rows; c++) {
    int first = o->start[c];
    OccurrenceRowProducts(o->start[c + 1] - first, o->weight + first, rows + first, g, X[c]);
    if (o->missing[c])
      for (int k = 0; k < g; k++)
        if (X[c][k] == 0.0) X[c][k] = kMissing;
  }
}

// The distances over the pairs, left out where either value is -999.
RANK_LANES static double MissingEuclidPairs(int rows, int g, const double* xt, double* acc, double* d) {
  double sum = 0.0;
  long q = 0;
  for (int i = 0; i < rows - 1; i++) {
    for (int j = i + 1; j < rows; j++) acc[j] = 0.0;
    for (int k = 0; k < g; k++) {
      const double* col = xt + (long)k * rows;
      double a = col[i];
      for (int j = i + 1; j < rows; j++) {
        double b = col[j];
        double diff = a - b;
        // A term with -999 on either side is left out: it adds an exact 0.
        acc[j] += (a == kMissing || b == kMissing) ? 0.0 : diff * diff;
      }
    }
    for (int j = i + 1; j < rows; j++) {
      double x = acc[j] > 0.0 ? sqrt(acc[j]) : 0.0;
      d[q++] = x;
      sum += x;
    }
  }
  return sum;
}

void RankEuclidPairs(int rows, int g, double** X, double* xt, double* acc, double** D, RankPairs* p) {
  if (ColumnsOf(rows, g, X, xt)) {
    LaneMatrix m = {g, xt, D, 0.0};
    CommunityDistances(rows, &m, nullptr, nullptr, nullptr, nullptr);
    RankMatrixToPairs(rows, D, p);
    p->sum = m.total;
  } else {
    for (int k = 0; k < g; k++)
      for (int c = 0; c < rows; c++) xt[(long)k * rows + c] = X[c][k];
    p->sum = MissingEuclidPairs(rows, g, xt, acc, p->d);
  }
  // Distances are never -999: the sum of the pairs is all a Mantel
  // correlation needs of this pass.
  p->missing = false;
  p->summed = true;
}

RANK_LANES void RankTraitDistances(const RankTraitPairs* tp, const RankSubset* s, RankPrefix* sums, RankPairs* p) {
  const double* squares = RankPrefixSum(sums, tp->sq, s->list, s->k);
  long pairs = tp->pairs;
  double* d = p->d;
  double sum = 0.0;
  for (long q = 0; q < pairs; q++) {
    double x = squares[q] > 0.0 ? sqrt(squares[q]) : 0.0;
    d[q] = x;
    sum += x;
  }
  p->sum = sum;
  p->missing = false;
  p->summed = true;
}

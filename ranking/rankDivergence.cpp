// The subset search for the criteria of divergence within communities (Rao entropy), of dark diversity and of smoothed composition: criteria 16 to 24, under Mantel, Procrustes and RV.
#include <cfloat>
#include <cmath>
#include <cstring>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibEntropy.h"
#include "TarnLib/tarnlibRese.h"
#include "ranking/rankSearch.h"
#include "ranking/ranking.h"
#include "scaling/community.h"
#include "scaling/scalingUp.h"
#include "scaling/settings.h"
#include "scaling/smoothing.h"
#include "session/session.h"
#include "shell/preferences.h"
#include "shell/shell.h"
#include "session/track.h"

namespace {

const double kMissing = -999.0;

int AtLeast1(int n) { return n > 0 ? n : 1; }

// What a thread needs beyond the shared work arrays.
struct DivergenceWork {
  double** R;    // [ncsm][1] Rao entropy of each community
  double** D;    // [ncsm][1] dark diversity of each community
  RankPairs dr;  // DR, |R[i] - R[j]|
  RankPairs ds;  // DS, distances between the dark diversities
  double* distances;  // [G * G] distances between the first types' OTUs
  double* shares;     // [G] a community's shares of them
};

struct DivergenceRun {
  RankRun base;          // what every member shares
  int mode;              // 1 to 9, see ChRankAlphaBetaDivergence
  double** Z;            // [ncsm][tcst] smoothed community matrix (modes 4 to 9)
  double** DZ;           // [ncsm][ncsm] its resemblance, without conversion
  RankPairs dz;          // DZ's pairs, prepared
  DivergenceWork* work;  // [nThreads]
};

// Modes whose value is compared on its absolute value: the partial forms.
bool AbsoluteMode(int mode) { return mode == 2 || mode == 6 || mode == 9; }

// The value of the Mantel correlation itself, with no rule for two
// communities: Rao entropy and dark diversity are correlated this way.
double PlainMantel(const RankRun* base, RankThreadWork* w, RankPairs* p) {
  if (ncsm >= 3) return RankMantelWith(ncsm, &base->env.de, p, w->scratchA, w->scratchB);
  RankPairsToMatrix(ncsm, p->d, w->scratchB);
  return MatrixCorr(ncsm, base->env.DE, w->scratchB);
}

}  // namespace

void RankRaoEntropies(int g, int rows, double** W, double** S, bool sqrtDissim, double* distances, double* shares,
                      double** R) {
  // The distances of the pairs don't change from one community to the
  // next: taken once, each is the value the entropy of a single community
  // would compute, from the upper triangle. A missing similarity leaves its
  // pair out.
  for (int i = 0; i < g; i++)
    for (int j = i + 1; j < g; j++) S[j][i] = S[i][j];
  for (int i = 0; i < g; i++)
    for (int j = 0; j < g; j++) {
      double s = S[i][j];
      distances[i * g + j] = s == kMissing ? kMissing : sqrtDissim ? sqrt(1.0 - s) : 1.0 - s;
    }
  for (int c = 0; c < rows; c++) {
    const double* a = W[c];
    double total = 0.0;
    for (int i = 0; i < g; i++)
      if (a[i] != kMissing) total += a[i];
    R[c][0] = 0.0;
    if (!(total > 0.0) || g < 1) continue;
    for (int j = 0; j < g; j++) shares[j] = a[j] / total;
    double sum = 0.0;
    for (int i = 0; i < g; i++) {
      if (a[i] == kMissing) continue;
      double pi = shares[i];
      const double* d = distances + i * g;
      for (int j = 0; j < g; j++) {
        if (d[j] == kMissing || a[j] == kMissing) continue;
        sum += pi * (shares[j] * d[j]);
      }
    }
    R[c][0] = sum;
  }
}

// The similarities among the first g OTUs alone, all that the entropies of
// criterion 16 read: each pair the average of the subset's partial
// similarities, summed over its traits in ascending order as the whole
// matrix sums them, so the values are the same.
void RankLeadingSimilarity(const RankCube* c, const RankSubset* s, int g, double** S) {
  int n = c->nOTUs;
  double k = s->k;
  for (int i = 0; i < g; i++) {
    S[i][i] = 1.0;
    for (int j = i + 1; j < g; j++) {
      long q = (long)i * n - (long)i * (i + 1) / 2 + (j - i - 1);
      double acc = 0.0, count = 0.0;
      for (int m = 0; m < s->k; m++) {
        int t = s->list[m] - 1;
        acc += c->entry[t][q];
        count += c->present[t][q];
      }
      double v = c->complete ? acc / k : (count > 0.0 ? acc / count : kMissing);
      S[i][j] = S[j][i] = v;
    }
  }
}

namespace {

// DR from the entropies, as the absolute value function over one column.
void EntropyPairs(const double* const* R, RankPairs* p) {
  long q = 0;
  for (int i = 0; i < ncsm; i++)
    for (int j = i + 1; j < ncsm; j++) {
      double a = R[i][0], b = R[j][0];
      double sum = 0.0;
      if (a != kMissing && b != kMissing) sum += fabs(a - b);
      p->d[q++] = sum;
    }
  p->summed = false;
}

// The congruence of the measure chosen (RV or Procrustes) of two data matrices.
double Congruence(int p, int q, double** a, double** b) {
  return opt_ro == 3 ? RVcoeff(ncsm, p, q, a, b) : ProcrustesCoeff(ncsm, p, q, a, b);
}

// The values that the companion file shows beside the criterion.
struct DivergenceValues {
  double rTE, rXE, rXT, rTZ, rXZ;
};

void CompanionDivergence(FILE* f, DivergenceRun* run, RankThreadWork* w, DivergenceWork* v, const RankSubset* s,
                         int g, double** U, const DivergenceValues& r, double value) {
  int* sizes = dim1Dint(g);
  bool mantel = opt_ro == 1;
  RankCompanionSubsetMatrices(f, &run->base, w, s, g, U, mantel, sizes);
  if (mantel) {
    fprintf(f, "\nResemblance matrix DR comparing communities based on their Rao entropy expressed as equivalent "
               "numbers of OTUs (Jost 2007): \n");
    RankCompanionPairs(f, &v->dr, w);
    fprintf(f, "\nTrait ranking criterion:\tro(TE)=\t%g\tro(XE)=\t%g\tro(XT)=\t%g\tro(XE.T)=\t%g\t%d groups\tTraits:\t",
            r.rTE, r.rXE, r.rXT, value, g);
  } else {
    fprintf(f, "\nTrait ranking criterion:\tr(XE.T)=\t%g\t%d groups\tTraits:\t", value, g);
  }
  RankCompanionSubsetEnd(f, s, g, sizes);
  free1D(sizes);
  if (mantel)
    RankCompanionResiduals(f, w, w->dx.d,
                           "\nResemblance matrix between communities (residuals after removing the effect of DT):\n");
}

// The value of one evaluation under RV or Procrustes.
double ValueByCongruence(DivergenceRun* run, RankThreadWork* w, DivergenceWork* v, const RankSubset* s, int g,
                         double rTZ) {
  double** Ec = run->base.env.Ec;
  switch (run->mode) {
    case 1:
      return Congruence(nenv, 1, Ec, v->R);
    case 3:
      return Congruence(nenv, 1, Ec, v->D);
    case 2:
      // T of the subset and R are the two control matrices.
      return PartialMatrixCorrelation(ncsm, g, nenv, w->X, Ec, opt_ro, overfitFactorPCARegr, 2, nch, s->mask, w->T,
                                      1, (int*)nullptr, v->R);
    case 4:
    case 7:
      return Congruence(g, tcst, w->X, run->Z);
    case 6:
    case 9:
      return PartialMatrixCorrelation(ncsm, g, tcst, w->X, run->Z, opt_ro, overfitFactorPCARegr, 1, nch, s->mask,
                                      w->T);
    default:  // 5, 8
      return rTZ;
  }
}

void EvaluateDivergence(void* context, int thread, const RankSubset* s, RankResult* result, FILE* companion) {
  DivergenceRun* run = (DivergenceRun*)context;
  RankRun* base = &run->base;
  RankThreadWork* w = base->work[thread];
  DivergenceWork* v = &run->work[thread];
  int mode = run->mode;
  bool record = companion != nullptr;
  bool mantel = opt_ro == 1;
  bool smoothed = mode >= 4;
  bool withT = record || mode == 2 || mode == 5 || mode == 6 || mode == 8 || mode == 9;
  // Modes 5 and 8 compare T with the smoothed matrix only; the others need X
  // or the entropies, which come from the subset's similarities.
  bool withX = record || (mode != 1 && mode != 5 && mode != 8);
  bool withR = record || mode == 1 || (mode == 2 && !mantel);
  bool withD = record || mode == 3;
  DivergenceValues r = {0.0, 0.0, 0.0, 0.0, 0.0};
  if (withT && (mantel || record)) {
    SubsetDT(base, w, s);
    r.rTE = RankMantelWith(ncsm, &base->env.de, &w->dt, w->scratchA, w->scratchB);
  }
  if (withT && !mantel) SubsetT(base, s->mask, w->T);
  if (withT && smoothed && mode != 4 && mode != 7) {
    if (mantel)
      r.rTZ = RankMantel(ncsm, &run->dz, &w->dt, w->scratchA, w->scratchB);
    else if (mode == 5 || mode == 8)
      r.rTZ = Congruence(nch, tcst, w->T, run->Z);
  }
  // Criterion 16 alone needs no belonging: only the first types' similarities.
  bool leading = !withX && withR && reseCSTopt == 1;
  if ((withX || withR) && !leading) SubsetSimilarity(base, w, s);
  TypesLoop(s, result, [&](int g) {
    if (leading) RankLeadingSimilarity(&base->cube, s, g, w->S);
    double** U = withX ? SubsetComposition(base, w, g) : nullptr;
    // Entropy and dark diversity read the first g OTUs only: with each OTU
    // its own type that is the whole community, with fewer types it is not.
    // Intended: both depend on the number of types this way.
    if (withR) RankRaoEntropies(g, ncsm, base->W1, w->S, sqrtDissimOpt_RaoTraits != 0, v->distances, v->shares, v->R);
    for (int c = 0; withD && c < ncsm; c++) v->D[c][0] = SumAbsDeviations(g, base->W1[c], w->X[c], false);
    if (withD) RankEuclidPairs(ncsm, 1, v->D, w->xt, w->rowAcc, w->D, &v->ds);
    double value;
    if (!mantel) {
      value = ValueByCongruence(run, w, v, s, g, r.rTZ);
    } else {
      if (withR) EntropyPairs(v->R, &v->dr);
      if (withX && (record || (mode != 1 && mode != 3))) {
        CommunityResemblance(w, w->X, g, rese_opt, &w->dx);
        r.rXE = RankMantelWith(ncsm, &base->env.de, &w->dx, w->scratchA, w->scratchB);
        if (smoothed) r.rXZ = RankMantel(ncsm, &run->dz, &w->dx, w->scratchA, w->scratchB);
        if (withT) r.rXT = RankMantel(ncsm, &w->dt, &w->dx, w->scratchA, w->scratchB);
      }
      switch (mode) {
        case 1: value = PlainMantel(base, w, &v->dr); break;
        case 3: value = PlainMantel(base, w, &v->ds); break;
        // Criterion 17 under Mantel leaves R out: it is r(XE.T).
        case 2: value = PartialCorrelation(r.rXE, r.rXT, r.rTE); break;
        case 4: case 7: value = r.rXZ; break;
        case 5: case 8: value = r.rTZ; break;
        default: value = PartialCorrelation(r.rXZ, r.rXT, r.rTZ); break;
      }
    }
    result->value = value;
    if (record) CompanionDivergence(companion, run, w, v, s, g, U, r, value);
  });
}

// The label of the intermediate line, by criterion 16 to 24.
const char* const kLineLabels[9] = {"r(RE)",  "r(XE.TR)", "r(XZ)",  "r(TZ)", "r(XZ.T)",
                                    "r(XY)",  "r(TY)",    "r(XY.T)", "r(SE)"};

void LineDivergence(FILE* f, const RankResult* r) {
  int c = opt_struct >= 16 && opt_struct <= 24 ? opt_struct - 16 : 0;
  fprintf(f, "%s=\t%g\tTraits:\t", kLineLabels[c], r->value);
}

// The heading of the list of maximum rank, by mode and measure.
const char* const kHeadings[9][3] = {
    {"\n\nTrait subsets with maximum Mantel correlation ro(RE):",
     "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(RE):",
     "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(RE):"},
    {"\n\nTrait subsets with maximum partial Mantel correlation ro(XE.TR):",
     "\n\nTrait subsets with maximum partial congruence in a partial Procrustes correlation ro(XE.TR):",
     "\n\nTrait subsets with maximum partial congruence measured by a partial RV coefficient r(XE.TR):"},
    {"\n\nTrait subsets with maximum Mantel correlation ro(SE):",
     "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(SE):",
     "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(SE):"},
    {"\n\nTrait subsets with maximum Mantel correlation ro(XZ):",
     "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(XZ):",
     "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(XZ):"},
    {"\n\nTrait subsets with maximum Mantel correlation ro(TZ):",
     "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(TZ):",
     "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(TZ):"},
    {"\n\nTrait subsets with maximum partial Mantel correlation ro(XZ.T):",
     "\n\nTrait subsets with maximum congruence in a partial Procrustes correlation ro(XZ.T):",
     "\n\nTrait subsets with maximum partial congruence measured by a partial RV coefficient r(XZ.T):"},
    {"\n\nTrait subsets with maximum Mantel correlation ro(XY):",
     "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(XY):",
     "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(XY):"},
    {"\n\nTrait subsets with maximum Mantel correlation ro(TY):",
     "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(TY):",
     "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(TY):"},
    {"\n\nTrait subsets with maximum partial Mantel correlation ro(XY.T):",
     "\n\nTrait subsets with maximum congruence in a partial Procrustes correlation ro(XY.T):",
     "\n\nTrait subsets with maximum partial congruence measured by a partial RV coefficient r(XY.T):"},
};

// ---- The run ----

void PrepareDivergence(void* context) {
  DivergenceRun* run = (DivergenceRun*)context;
  RankRun* base = &run->base;
  int n = AtLeast1(ncsm);
  // The smoothed matrix and its resemblance don't depend on the subset.
  run->Z = dim2Double(n, AtLeast1(tcst));
  run->DZ = dim2Double(n, n);
  RankPairsAlloc(&run->dz, base->env.pairs);
  if (run->mode >= 4) {
    BealsSmoothing(ncsm, tcst, base->W1, base->W1, run->Z, BealsIncludeOpt != 0, run->mode <= 6 ? 2 : 1);
    NominalReseNonHier(ncsm, tcst, run->Z, run->DZ, rese_opt);
    RankMatrixToPairs(ncsm, run->DZ, &run->dz);
    RankPairsPrepare(&run->dz, base->env.pairs);
  }
  run->work = (DivergenceWork*)dim1D(sizeof(DivergenceWork), base->nThreads);
  for (int t = 0; t < base->nThreads; t++) {
    DivergenceWork* v = &run->work[t];
    v->R = dim2Double(n, 1);
    v->D = dim2Double(n, 1);
    v->distances = dim1Double(AtLeast1(nMaxCSTGroupsChRank * nMaxCSTGroupsChRank));
    v->shares = dim1Double(AtLeast1(nMaxCSTGroupsChRank));
    RankPairsAlloc(&v->dr, base->env.pairs);
    RankPairsAlloc(&v->ds, base->env.pairs);
  }
}

void ReleaseDivergence(void* context) {
  DivergenceRun* run = (DivergenceRun*)context;
  int n = AtLeast1(ncsm);
  for (int t = 0; t < run->base.nThreads; t++) {
    DivergenceWork* v = &run->work[t];
    free2D(v->R, n);
    free2D(v->D, n);
    free1D(v->distances);
    free1D(v->shares);
    RankPairsFree(&v->dr);
    RankPairsFree(&v->ds);
  }
  free1D(run->work);
  free2D(run->Z, n);
  free2D(run->DZ, n);
  RankPairsFree(&run->dz);
}

void HeaderDivergence(FILE* f) {
  RankHeaderStyle style = {true, true, true,
                           "Gower similarity modified to count matching absences in binary traits? %s\n",
                           true, 0, true, true};
  RankHeaderComposition(f, &style);
}

void FinishDivergence(void* context, FILE* f, const RankMember* m, RankTable* table, RankBest* best) {
  DivergenceRun* run = (DivergenceRun*)context;
  int ro = opt_ro >= 1 && opt_ro <= 3 ? opt_ro : 1;
  char heading[160];
  snprintf(heading, sizeof heading, "%s\nTRC\toptimal subset of traits\n", kHeadings[run->mode - 1][ro - 1]);
  RankReportEnd(f, m, table, best, heading);
}

}  // namespace

// Mode: 1 r(RE), 2 r(XE.TR), 3 r(SE), 4 r(XZ), 5 r(TZ), 6 r(XZ.T), 7 r(XY),
// 8 r(TY), 9 r(XY.T).
void ChRankAlphaBetaDivergence(int mode) {
  if (mode < 1 || mode > 9) return;
  nKeepTrack = 100;
  DivergenceRun run;
  memset(&run, 0, sizeof run);
  run.mode = mode;
  bool absolute = AbsoluteMode(mode);
  // The ranking table is ordered by absolute value in every mode; in the
  // signed modes only values above 0 enter it, so that order is the signed one.
  RankMember m = {absolute ? 0.0 : -DBL_MAX, absolute, absolute, EvaluateDivergence, LineDivergence, &run,
                  nullptr, nullptr,
                  "Ranking criterion value, groups and optimal subset with %d traits: \t%-*.*g\t%d groups\t"};
  RankMemberHooks hooks = {9, whichStructures, HeaderDivergence, nullptr, PrepareDivergence, nullptr,
                           FinishDivergence, ReleaseDivergence};
  RankRunWithData(&m, &run.base, &hooks);
}

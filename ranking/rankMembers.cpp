// The three members of the subset search for assembly patterns: r(TE) (criterion 10), r(XE) (criterion 1) and r(XE.T) (criterion 9), under Mantel, Procrustes and RV.
#include <cfloat>
#include <cmath>
#include <cstring>
#include <ctime>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibRese.h"
#include "TarnLib/tarnlibStats.h"
#include "ranking/ranking.h"
#include "ranking/rankSearch.h"
#include "scaling/community.h"
#include "scaling/scalingUp.h"
#include "scaling/settings.h"
#include "scaling/similarity.h"
#include "session/formda.h"
#include "session/session.h"
#include "shell/preferences.h"
#include "shell/shell.h"
#include "session/track.h"

static int AtLeast1(int n) { return n > 0 ? n : 1; }

// ---- Run data ----

// The row of M of each occurrence's OTU, for the products over occurrences.
static double** OccurrenceRows(const RankRun* run, double** M) {
  int count = run->occ.start != nullptr ? run->occ.start[run->occ.rows] : 0;
  double** rows = (double**)dim1D(sizeof(double*), AtLeast1(count));
  for (int q = 0; q < count; q++) rows[q] = M[run->occ.column[q]];
  return rows;
}

static RankThreadWork* AllocThreadWork(const RankRun* run) {
  int n = AtLeast1(ncsm), o = AtLeast1(tcst), p = AtLeast1(nch);
  RankThreadWork* w = (RankThreadWork*)dim1D(sizeof(RankThreadWork), 1);
  long otuPairs = (long)tcst * (tcst - 1) / 2;
  RankPrefixAlloc(&w->entries, nch, otuPairs);
  RankPrefixAlloc(&w->counts, nch, otuPairs);
  RankPrefixAlloc(&w->tsums, nch, run->env.pairs);
  w->values = dim1Double(AtLeast1((int)otuPairs));
  w->S = dim2Double(o, o);
  w->U = dim2Double(o, o);
  w->belongWork = dim1Double((o + 1) * o);
  w->flag = dim1Dchar(o);
  w->rep = dim1Dint(o);
  w->X = dim2Double(n, o);
  w->Xn = dim2Double(n, o);
  w->xt = dim1Double(o * n);
  w->rowAcc = dim1Double(n);
  w->T = dim2Double(n, p);
  w->D = dim2Double(n, n);
  w->zero = dim2Double(n, n);
  w->scratchA = dim2Double(n, n);
  w->scratchB = dim2Double(n, n);
  RankPairsAlloc(&w->dt, run->env.pairs);
  RankPairsAlloc(&w->dx, run->env.pairs);
  w->uRows = OccurrenceRows(run, w->U);
  return w;
}

static void FreeThreadWork(RankThreadWork* w) {
  int n = AtLeast1(ncsm), o = AtLeast1(tcst);
  RankPrefixFree(&w->entries);
  RankPrefixFree(&w->counts);
  RankPrefixFree(&w->tsums);
  free1D(w->values);
  free2D(w->S, o);
  free2D(w->U, o);
  free1D(w->belongWork);
  free1D(w->flag);
  free1D(w->rep);
  free2D(w->X, n);
  free2D(w->Xn, n);
  free1D(w->xt);
  free1D(w->rowAcc);
  free2D(w->T, n);
  free2D(w->D, n);
  free2D(w->zero, n);
  free2D(w->scratchA, n);
  free2D(w->scratchB, n);
  RankPairsFree(&w->dt);
  RankPairsFree(&w->dx);
  free1D(w->uRows);
  free1D(w);
}

// T of all traits at once: each column of the masked product and of its
// normalisation depends on that trait alone, so a subset's T is a choice of
// columns. `plain` normalises as NormalizeCols, otherwise as NormalizeColsMV.
static void TraitAveragesAllTraits(RankRun* run, bool plain) {
  int n = AtLeast1(ncsm), o = AtLeast1(tcst), p = AtLeast1(nch);
  run->B = dim2Double(o, p);
  for (int i = 0; i < tcst; i++)
    for (int t = 0; t < nch; t++) run->B[i][t] = weight[t] > 0 ? csm_Float[i][t] : 0.0;
  int* all = dim1Dint(p);
  for (int t = 0; t < nch; t++) all[t] = 1;
  run->Tall = dim2Double(n, p);
  MatrixProdSelectMV(ncsm, tcst, tcst, nch, run->W2, run->B, run->Tall, all);
  run->Traw = dim2Double(n, p);
  CopyMatrix(ncsm, nch, run->Tall, run->Traw);
  if (plain)
    NormalizeCols(ncsm, nch, run->Tall, run->Tall);
  else
    NormalizeColsMV(ncsm, nch, run->Tall, run->Tall);
  free1D(all);
  RankTraitPairsBuild(&run->tpairs, ncsm, nch, run->Tall);
}

// Similarities per trait and what the partition of OTUs fixes.
static void TypesAndSimilarities(RankRun* run) {
  int o = AtLeast1(tcst), p = AtLeast1(nch);
  double*** cube = dim3Double(o, o, p);
  gower_similarityPartial(nch, csm_Float, tcst, cube, chtype, chrange, weight);
  RankCubeBuild(&run->cube, nch, tcst, cube);
  free3D(cube, o, o);
  if (reseCSTopt == 2) {
    run->Brange = dim2Double(o, p);
    RangeColsAdjMV(tcst, nch, run->Brange, csm_Float);
  }
  RankTypesBuild(&run->types, tcst, nMaxCSTGroupsChRank, partition_OTUs);
  run->C = dim2Double(o, AtLeast1(nMaxCSTGroupsChRank));
  CrispBelonging(tcst, nMaxCSTGroupsChRank, partition_OTUs, run->C);
  RankOccurrencesBuild(&run->occ, ncsm, tcst, run->W1);
  run->cRows = OccurrenceRows(run, run->C);
}

void RankRunPrepare(RankRun* run, int member) {
  memset(run, 0, sizeof *run);
  time0 = time(nullptr);
  run->member = member;
  RankEnvironmentPrepare(&run->env);
  run->W1 = RankCommunityMatrix(optUnitTotalAdjust2);
  run->W2 = RankCommunityMatrix(optUnitTotalAdjust1);
  if (member != 10) RangeStates(nch, tcst, csm_Float, chtype, chrange);
  if (member != 1) TraitAveragesAllTraits(run, member == 9);
  if (member != 10) TypesAndSimilarities(run);
  run->nThreads = RankThreads(saveStruct == 'y');
  run->work = (RankThreadWork**)dim1D(sizeof(RankThreadWork*), run->nThreads);
  for (int t = 0; t < run->nThreads; t++) run->work[t] = AllocThreadWork(run);
}

void RankRunFree(RankRun* run) {
  int n = AtLeast1(ncsm), o = AtLeast1(tcst);
  for (int t = 0; t < run->nThreads; t++) FreeThreadWork(run->work[t]);
  free1D(run->work);
  RankEnvironmentFree(&run->env);
  free2D(run->W1, n);
  free2D(run->W2, n);
  if (run->B != nullptr) {
    free2D(run->B, o);
    free2D(run->Tall, n);
    free2D(run->Traw, n);
    RankTraitPairsFree(&run->tpairs);
  }
  if (run->types.group != nullptr) {
    RankCubeFree(&run->cube);
    RankTypesFree(&run->types);
    free2D(run->C, o);
    free1D(run->cRows);
    RankOccurrencesFree(&run->occ);
  }
  if (run->Brange != nullptr) free2D(run->Brange, o);
}

// ---- Pieces of an evaluation ----

// The subset's T: its columns of the normalised T of all traits, 0 elsewhere.
void SubsetT(const RankRun* run, const int* mask, double** T) {
  for (int c = 0; c < ncsm; c++)
    for (int t = 0; t < nch; t++) T[c][t] = mask[t] == 1 ? run->Tall[c][t] : 0.0;
}

// Resemblance between communities from `cols` columns of M by rese_opt, with
// its conversions, into the pairs of *p.
void CommunityResemblance(RankThreadWork* w, double** M, int cols, int option, RankPairs* p) {
  if (option == 6 || option == 7) {
    RankEuclidPairs(ncsm, cols, M, w->xt, w->rowAcc, w->D, p);
  } else if (option == 10) {
    NormalizeRowsMV(ncsm, cols, M, w->Xn);
    RankEuclidPairs(ncsm, cols, w->Xn, w->xt, w->rowAcc, w->D, p);
  } else {
    // Other options write nothing into D: it keeps what it held.
    if (option == 8 || option == 9) AbsValFunctionMV(ncsm, cols, M, w->D);
    RankConvertResemblance(ncsm, w->D, w->zero);
    RankMatrixToPairs(ncsm, w->D, p);
  }
}

// DT of the subset (Euclidean), with the conversions of rese_opt.
void SubsetDT(const RankRun* run, RankThreadWork* w, const RankSubset* s) {
  RankTraitDistances(&run->tpairs, s, &w->tsums, &w->dt);
  if (rese_opt >= 3 && rese_opt <= 5) {
    RankPairsToMatrix(ncsm, w->dt.d, w->D);
    RankConvertResemblance(ncsm, w->D, w->zero);
    RankMatrixToPairs(ncsm, w->D, &w->dt);
  }
}

// S between OTUs over the subset's traits.
void SubsetSimilarity(const RankRun* run, RankThreadWork* w, const RankSubset* s) {
  if (reseCSTopt == 2)
    EucliDistMVSelect(tcst, nch, run->Brange, w->S, s->mask);
  else
    RankSimilarity(&run->cube, s, &w->entries, &w->counts, w->S, w->values);
}

// U and X for g types; returns U.
double** SubsetComposition(const RankRun* run, RankThreadWork* w, int g) {
  double** U = run->C;
  if (fuzzy == 3) {
    RankBelonging(&run->types, w->S, reseCSTopt == 2, w->U, w->belongWork, w->flag, w->rep);
    U = w->U;
  }
  RankProduct(&run->occ, g, U == w->U ? w->uRows : run->cRows, w->X);
  return U;
}

// ---- Members' evaluations ----

static void EvaluateTCAP(void* context, int thread, const RankSubset* s, RankResult* result, FILE* companion) {
  RankRun* run = (RankRun*)context;
  RankThreadWork* w = run->work[thread];
  double value;
  if (opt_ro == 1) {
    SubsetDT(run, w, s);
    value = RankMantelWith(ncsm, &run->env.de, &w->dt, w->scratchA, w->scratchB);
  } else {
    SubsetT(run, s->mask, w->T);
    value = opt_ro == 3 ? RVcoeff(ncsm, nenv, nch, run->env.Ec, w->T)
                        : ProcrustesCoeff(ncsm, nenv, nch, run->env.Ec, w->T);
  }
  result->evaluated = true;
  result->value = value;
  result->groups = 0;
  if (companion != nullptr) RankCompanionTCAP(companion, run, w, s, value);
}

static void EvaluateTDAP_TCAP(void* context, int thread, const RankSubset* s, RankResult* result,
                              FILE* companion) {
  RankRun* run = (RankRun*)context;
  RankThreadWork* w = run->work[thread];
  SubsetSimilarity(run, w, s);
  TypesLoop(s, result, [&](int g) {
    double** U = SubsetComposition(run, w, g);
    double value;
    if (opt_ro == 1) {
      CommunityResemblance(w, w->X, g, rese_opt, &w->dx);
      value = RankMantelWith(ncsm, &run->env.de, &w->dx, w->scratchA, w->scratchB);
    } else {
      value = opt_ro == 3 ? RVcoeff(ncsm, nenv, g, run->env.Ec, w->X)
                          : ProcrustesCoeff(ncsm, nenv, g, run->env.Ec, w->X);
    }
    result->value = value;
    if (companion != nullptr) RankCompanionTDAP_TCAP(companion, run, w, s, g, U, value);
  });
}

static void EvaluateTDAP(void* context, int thread, const RankSubset* s, RankResult* result, FILE* companion) {
  RankRun* run = (RankRun*)context;
  RankThreadWork* w = run->work[thread];
  SubsetDT(run, w, s);
  // ro(TE) by Mantel whatever the correlation measure: it fills the lines.
  double rTE = RankMantelWith(ncsm, &run->env.de, &w->dt, w->scratchA, w->scratchB);
  SubsetSimilarity(run, w, s);
  TypesLoop(s, result, [&](int g) {
    double** U = SubsetComposition(run, w, g);
    double rXE = 0.0, rXT = 0.0, value;
    if (opt_ro == 1) {
      CommunityResemblance(w, w->X, g, rese_opt, &w->dx);
      rXE = RankMantelWith(ncsm, &run->env.de, &w->dx, w->scratchA, w->scratchB);
      rXT = RankMantel(ncsm, &w->dt, &w->dx, w->scratchA, w->scratchB);
      value = PartialCorrelation(rXE, rXT, rTE);
    } else {
      SubsetT(run, s->mask, w->T);
      value = PartialMatrixCorrelation(ncsm, tcst, nenv, w->X, run->env.Ec, opt_ro, overfitFactorPCARegr, 1, nch,
                                       s->mask, w->T);
    }
    result->value = value;
    result->part[0] = rTE;
    result->part[1] = rXE;
    result->part[2] = rXT;
    result->part[3] = value;
    if (companion != nullptr) RankCompanionTDAP(companion, run, w, s, g, U, result->part);
  });
}

// ---- Intermediate lines ----

static void LineTCAP(FILE* f, const RankResult* r) { fprintf(f, "%g\t", r->value); }

static void LineTDAP_TCAP(FILE* f, const RankResult* r) { fprintf(f, "%-*.*g\t", sDigits + 6, sDigits, r->value); }

static void LineTDAP(FILE* f, const RankResult* r) {
  const char* format = opt_ro == 1 ? "ro(TE)=\t%g\tro(XE)=\t%g\tro(XT)=\t%g\tro(XE.T)=\t%g\tTraits:\t"
                                   : "r(TE)=\t%g\tro(XE)=\t%g\tro(XT)=\t%g\tro(XE.T)=\t%g\tTraits:\t";
  fprintf(f, format, r->part[0], r->part[1], r->part[2], r->part[3]);
}

// ---- Headers ----

// The text of option `option` (from 1) of a table of n rows; empty outside it.
const char* OptionText(const char* const* table, int n, int option) {
  return option >= 1 && option <= n ? table[option - 1] : "";
}

static void HeaderTCAP(FILE* f) {
  RankReportTop(f);
  fprintf(f, "\nTrait-based approach: %s\n", OptionText(traitBasedOptInfo, 2, traitBasedOpt));
  fprintf(f, "Trait ranking criterion (TRC): %s\n", OptStructText(opt_struct));
  fprintf(f, "Correlation measure: %s\n", OptionText(opt_roInfo, 3, opt_ro));
  fprintf(f, "Ranking algorithm: %s\n", OptionText(rankingAlgorithmInfo, 2, rankingAlgorithm));
  RankReportTraits(f);
  RankReportResemblance(f);
}

static void HeaderTDAP_TCAP(FILE* f) {
  RankReportTop(f);
  fprintf(f, "Trait ranking criterion (TRC): %s\n", OptStructText(opt_struct));
  fprintf(f, "Correlation measure: %s\n", OptionText(opt_roInfo, 3, opt_ro));
  fprintf(f, "Pooling of OTUs: %s\n", OptionText(poolCSToptInfo, 2, poolCSTopt));
  RankReportPartition(f);
  fprintf(f, "Gower similarity index modified to count matching absences in binary traits? %s\n",
          YesNotInfo[countDoubleAbsence != 0]);
  fprintf(f, "Ranking algorithm: %s\n", OptionText(rankingAlgorithmInfo, 2, rankingAlgorithm));
  fprintf(f, "Fuzzy transformation: %s\n", OptionText(fuzzyInfo, 4, fuzzy + 1));
  RankReportResemblance(f);
  RankReportTraits(f);
  RankReportIntermediateHeading(f);
}

static void HeaderTDAP(FILE* f) {
  RankHeaderStyle style = {false, true, true,
                           "Gower similarity modified to count matching absences in binary traits? %s\n",
                           false, 1, true, false};
  RankHeaderComposition(f, &style);
}

static const char* TDAPHeading() {
  if (opt_ro == 3)
    return "\n\nTrait subsets with maximum partial congruence in RV r(XE.T):\nTRC\toptimal subset of traits\n";
  if (opt_ro == 2)
    return "\n\nTrait subsets with maximum partial congruence in a symmetric Procrustes rotation r(XE.T):\n"
           "TRC\toptimal subset of traits\n";
  return "\n\nTrait subsets with maximum partial Mantel correlation ro(XE.T):\nTRC\toptimal subset of traits\n";
}

// ---- The members ----

// The run common to the three: files, header, search, final lists.
static void RunMember(int member, RankMember* m, void (*header)(FILE*), const char* heading) {
  RankRun run;
  m->context = &run;
  RankMemberHooks hooks = {member, whichStructures, header, heading, nullptr, nullptr, nullptr, nullptr};
  RankRunWithData(m, &run, &hooks);
}

void ChRankTCAP() {
  nKeepTrack = 100;
  RankMember m = {-DBL_MAX, false, false, EvaluateTCAP, LineTCAP, nullptr, nullptr, nullptr, nullptr};
  RunMember(10, &m, HeaderTCAP, nullptr);
}

void ChRankTDAP_TCAP() {
  nKeepTrack = 100;
  RankMember m = {-DBL_MAX, false, false, EvaluateTDAP_TCAP, LineTDAP_TCAP, nullptr, nullptr, nullptr, nullptr};
  RunMember(1, &m, HeaderTDAP_TCAP, nullptr);
}

void ChRankTDAP() {
  nKeepTrack = 100;
  RankMember m = {0.0, true, true, EvaluateTDAP, LineTDAP, nullptr, nullptr, nullptr, nullptr};
  RunMember(9, &m, HeaderTDAP, TDAPHeading());
}

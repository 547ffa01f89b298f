// The subset searches that relate traits to the phylogeny of the OTUs: r(PX), r(PX.T), r(PT) (criteria 11 to 13) and the niche conservation products (criteria 14 and 15).
#include <cfloat>
#include <cmath>
#include <cstring>
#include <ctime>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRese.h"
#include "TarnLib/tarnlibStats.h"
#include "TarnLib/tarnlibTables.h"
#include "ranking/rankSearch.h"
#include "ranking/ranking.h"
#include "scaling/scalingUp.h"
#include "scaling/settings.h"
#include "scaling/similarity.h"
#include "session/session.h"
#include "shell/preferences.h"
#include "shell/shell.h"
#include "session/track.h"

namespace {

int AtLeast1(int n) { return n > 0 ? n : 1; }

// P and its resemblance: none depends on the subset.
struct Phylogeny {
  double** Q;    // [tcst][nTaxa] belonging of the OTUs to the taxa
  double** P;    // [ncsm][nTaxa] composition weighted by the phylogeny
  double** DP;   // [ncsm][ncsm] resemblance between communities from P
  RankPairs dp;  // DP's pairs, prepared
};

struct PhylogenyRun {
  RankRun base;     // what every member shares
  Phylogeny phyl;
  int* sizes;       // [G] OTUs of each type, from the crisp belonging
  double rPE;       // Mantel form of DP and DE (niche conservation)
  RankTable first;  // niche conservation: every evaluation of a subset and number of types
};

void PhylogenyPrepare(Phylogeny* p, const RankRun* base) {
  int o = AtLeast1(tcst), n = AtLeast1(ncsm), t = AtLeast1(nTaxa);
  // A phylogeny given as a table is compared through its Gower similarities,
  // as the functional analysis does.
  if (phylogenyMatrixType == 2)
    GowerMVOpt(tcst, nClados, phylogenyVarType, phylogenyData, phylogenyRese, nullptr, nullptr, 0);
  p->Q = dim2Double(o, t);
  p->P = dim2Double(n, t);
  p->DP = dim2Double(n, n);
  // The flag follows the resemblance between OTUs, which is Gower's
  // similarity: the phylogeny's values are read as similarities whatever
  // their kind. Intended: the search weighs taxa this way.
  if (fuzzyPhyl == 1)
    FuzzyBelonging(tcst, nTaxa, phylogenyRese, partition_OTUs_Phyl, p->Q, reseCSTopt != 1);
  else
    CrispBelonging(tcst, nTaxa, partition_OTUs_Phyl, p->Q);
  MatrixProd(ncsm, tcst, tcst, nTaxa, base->W1, p->Q, p->P);
  NominalReseNonHier(ncsm, nTaxa, p->P, p->DP, rese_opt);
  RankPairsAlloc(&p->dp, base->env.pairs);
  RankMatrixToPairs(ncsm, p->DP, &p->dp);
  RankPairsPrepare(&p->dp, base->env.pairs);
}

void PhylogenyFree(Phylogeny* p) {
  free2D(p->Q, AtLeast1(tcst));
  free2D(p->P, AtLeast1(ncsm));
  free2D(p->DP, AtLeast1(ncsm));
  RankPairsFree(&p->dp);
}

// The sizes of the types: entries of the crisp belonging that are 1.
void TypeSizes(PhylogenyRun* run) {
  int g = nMaxCSTGroupsChRank;
  run->sizes = dim1Dint(AtLeast1(g));
  for (int k = 0; k < g; k++)
    for (int i = 0; i < tcst; i++)
      if (run->base.C[i][k] == 1.0) run->sizes[k]++;
}

double Congruence(int p, int q, double** a, double** b) {
  return opt_ro == 3 ? RVcoeff(ncsm, p, q, a, b) : ProcrustesCoeff(ncsm, p, q, a, b);
}

// ---- Companion file ----

void CompanionPhylogeny(FILE* f, const PhylogenyRun* run) {
  const Phylogeny* p = &run->phyl;
  if (phylogenyMatrixType == 1) {
    fprintf(f, "\nSimilarity matrix between %d OTUs:\n", tcst);
    PrintMatrix(f, tcst, tcst, phylogenyRese, sDigits, 0);
  } else if (phylogenyMatrixType == 3) {
    fprintf(f, "\nDissimilarity matrix between %d OTUs:\n", tcst);
    PrintMatrix(f, tcst, tcst, phylogenyRese, sDigits, 0);
  } else if (phylogenyMatrixType == 2) {
    fprintf(f, "\nVariable types in the phylogeny matrix with %d OTUs by %d phylogenetic variables: \n", tcst,
            nClados);
    PrintVectorTab(f, nClados, phylogenyVarType);
    fprintf(f, "\nPhylogeny matrix with %d OTUs by %d phylogenetic variables: \n", tcst, nClados);
    PrintMatrix(f, tcst, nClados, phylogenyData, sDigits, 0);
    fprintf(f, "\nSimilarity matrix (Gower index) between %d OTUs, based on %d phylogenetic variables:\n", tcst,
            nClados);
    PrintMatrix(f, tcst, tcst, phylogenyRese, sDigits, 0);
  }
  fprintf(f, "\nPartition vector of %d OTUs in %d taxa:\n", tcst, nTaxa);
  PrintVectorTab(f, tcst, partition_OTUs_Phyl);
  fprintf(f, "\nFuzzy belonging of %d OTUs (rows) in %d taxa (columns) according to their phylogeny:\n", tcst,
          nTaxa);
  PrintMatrix(f, tcst, nTaxa, p->Q, sDigits, 0);
  fprintf(f, "\nPooled performance matrix P (%d communities x %d taxa) after fuzzy-weighting by the specified "
             "phylogeny:\n",
          ncsm, nTaxa);
  PrintMatrix(f, ncsm, nTaxa, p->P, sDigits, 0);
  fprintf(f, "\nResemblance matrix (DP) between communities based on matrix P, the composition of OTUs weighted "
             "by their phylogeny:\n");
  RankCompanionPairs(f, &p->dp, run->base.work[0]);
}

void CompanionTraitMatrix(FILE* f, const RankRun* base) {
  fprintf(f, "\nTrait matrix with %d OTUs by %d traits: \n", tcst, nch);
  PrintMatrix(f, tcst, nch, base->B, sDigits, 0);
}

// The residuals of DP and DX on DT close a subset.
void CompanionResiduals(FILE* f, PhylogenyRun* run, RankThreadWork* w, const char* phylogenyHeading) {
  RankCompanionResiduals(f, w, run->phyl.dp.d, phylogenyHeading);
  RankCompanionResiduals(f, w, w->dx.d,
                         "\nResemblance matrix between communities based on traits (residuals after removing the "
                         "effect of DT):\n");
}

// ---- r(PX), r(PX.T), r(PT) ----

void EvaluatePSAP(void* context, int thread, const RankSubset* s, RankResult* result, FILE* companion) {
  PhylogenyRun* run = (PhylogenyRun*)context;
  RankRun* base = &run->base;
  Phylogeny* p = &run->phyl;
  RankThreadWork* w = base->work[thread];
  bool record = companion != nullptr;
  bool all = record || printRankIntermedResults == 'y';  // every value is shown
  bool mantel = opt_ro == 1;
  int criterion = opt_struct;
  bool withPT = all || criterion != 11;
  bool withX = all || criterion != 13;
  double rPT = 0.0;
  if (mantel || record) SubsetDT(base, w, s);
  if (!mantel) SubsetT(base, s->mask, w->T);
  if (withPT)
    rPT = mantel ? RankMantelWith(ncsm, &p->dp, &w->dt, w->scratchA, w->scratchB) : Congruence(nch, nTaxa, w->T, p->P);
  if (withX) SubsetSimilarity(base, w, s);
  TypesLoop(s, result, [&](int g) {
    double rPX = 0.0, rXT = 0.0, rPXT = 0.0;
    double** U = withX ? SubsetComposition(base, w, g) : nullptr;
    if (withX && (mantel || record)) CommunityResemblance(w, w->X, g, rese_opt, &w->dx);
    if (withX && mantel) {
      rPX = RankMantelWith(ncsm, &p->dp, &w->dx, w->scratchA, w->scratchB);
      if (withPT) {
        rXT = RankMantel(ncsm, &w->dt, &w->dx, w->scratchA, w->scratchB);
        rPXT = PartialCorrelation(rPX, rXT, rPT);
      }
    } else if (withX) {
      if (all || criterion == 11) rPX = Congruence(g, nTaxa, w->X, p->P);
      if (all) rXT = Congruence(g, nch, w->X, w->T);
      if (all || criterion == 12)
        rPXT = PartialMatrixCorrelation(ncsm, nTaxa, g, p->P, w->X, opt_ro, overfitFactorPCARegr, 1, nch, s->mask,
                                        w->T);
    }
    result->value = criterion == 11 ? rPX : criterion == 12 ? rPXT : rPT;
    result->part[0] = rPT;
    result->part[1] = rPX;
    result->part[2] = rXT;
    result->part[3] = rPXT;
    if (!record) return;
    int* sizes = dim1Dint(g);
    RankCompanionSubsetMatrices(companion, base, w, s, g, U, true, sizes);
    fprintf(companion,
            "\nTrait ranking criterion:\tro(PT)=\t%g\tro(PX)=\t%g\tro(XT)=\t%g\tro(PX.T)=\t%g\t%d groups\tTraits:\t",
            rPT, rPX, rXT, rPXT, g);
    RankCompanionSubsetEnd(companion, s, g, sizes);
    free1D(sizes);
    // "lon" stands in this heading as it always has.
    CompanionResiduals(companion, run, w,
                       "\nResemblance matrix between communities based lon phylogeny (residuals after removing the "
                       "effect of DT):\n");
  });
}

void LinePSAP(FILE* f, const RankResult* r) {
  fprintf(f, "ro(PT)=\t%g\tro(PX)=\t%g\tro(XT)=\t%g\tro(PX.T)=\t%g\tTraits:\t", r->part[0], r->part[1], r->part[2],
          r->part[3]);
}

void PreparePSAP(void* context) {
  PhylogenyRun* run = (PhylogenyRun*)context;
  PhylogenyPrepare(&run->phyl, &run->base);
  TypeSizes(run);
}

void ReleasePSAP(void* context) {
  PhylogenyRun* run = (PhylogenyRun*)context;
  PhylogenyFree(&run->phyl);
  free1D(run->sizes);
}

void HeaderPSAP(FILE* f) {
  RankHeaderStyle style = {false, true, true,
                           "Gower index modified to count matching absences in binary traits? %s\n",
                           false, 1, true, false};
  RankHeaderComposition(f, &style);
}

void CompanionStartPSAP(FILE* f, void* context) {
  PhylogenyRun* run = (PhylogenyRun*)context;
  CompanionPhylogeny(f, run);
  CompanionTraitMatrix(f, &run->base);
}

// ---- Niche conservation: ro(PT) * ro(TE), ro(PX) * ro(XE) ----

// The values of one evaluation, in the order of its line.
enum Niche { kPT, kPX, kXT, kPX_T, kXE, kTE, kXE_T, kPE, kTE_P, kPE_T, kXE_P, kXE_PT, kBeta, kAlphaBeta, kAlpha };

// DT from T of the subset by the session's resemblance between communities.
void NicheDT(const RankRun* base, RankThreadWork* w, const RankSubset* s) {
  if (rese_opt == 6 || rese_opt == 7) {
    SubsetDT(base, w, s);
    return;
  }
  SubsetT(base, s->mask, w->T);
  CommunityResemblance(w, w->T, nch, rese_opt, &w->dt);
}

void NicheValues(double* v) {
  v[kXE_T] = PartialCorrelation(v[kXE], v[kXT], v[kTE]);
  v[kTE_P] = PartialCorrelation(v[kTE], v[kPT], v[kPE]);
  v[kPX_T] = PartialCorrelation(v[kPX], v[kPT], v[kXT]);
  v[kPE_T] = PartialCorrelation(v[kPE], v[kPT], v[kTE]);
  v[kXE_PT] = PartialCorrelation(v[kXE_T], v[kPX_T], v[kPE_T]);
  v[kXE_P] = PartialCorrelation(v[kXE], v[kPX], v[kPE]);
  v[kBeta] = v[kTE] * v[kPT];
  v[kAlphaBeta] = v[kPX] * v[kXE];
  v[kAlpha] = v[kXE_T] * v[kPX_T];
}

void PrintNicheValues(FILE* f, const double* v, int groups) {
  fprintf(f,
          "ro(PT)=\t%g\tro(PX)=\t%g\tro(XT)=\t%g\tro(PX.T)=\t%g\tro(XE)=\t%g\tro(TE)=\t%g\tro(XE.T)=\t%g\tro(PE)=\t%g\t"
          "ro(TE.P)=\t%g\tro(PE.T)=\t%g\tro(XE.P)=\t%g\tro(XE.PT)=\t%g\troBetaNiche=\t%g\troAlphaBetaNiche=\t%g\t"
          "roAlphaNiche=\t%g\t%d groups\tTraits:\t",
          v[kPT], v[kPX], v[kXT], v[kPX_T], v[kXE], v[kTE], v[kXE_T], v[kPE], v[kTE_P], v[kPE_T], v[kXE_P], v[kXE_PT],
          v[kBeta], v[kAlphaBeta], v[kAlpha], groups);
}

// Whatever measure the user chose, these criteria correlate by Mantel.
void EvaluateNiche(void* context, int thread, const RankSubset* s, RankResult* result, FILE* companion) {
  PhylogenyRun* run = (PhylogenyRun*)context;
  RankRun* base = &run->base;
  Phylogeny* p = &run->phyl;
  RankThreadWork* w = base->work[thread];
  bool record = companion != nullptr;
  bool beta = opt_struct == 14;
  bool withX = record || printRankIntermedResults == 'y' || !beta;
  double* v = result->part;
  for (int k = 0; k <= kAlpha; k++) v[k] = 0.0;
  v[kPE] = run->rPE;
  NicheDT(base, w, s);
  v[kPT] = RankMantelWith(ncsm, &p->dp, &w->dt, w->scratchA, w->scratchB);
  v[kTE] = RankMantel(ncsm, &base->env.de, &w->dt, w->scratchA, w->scratchB);
  if (withX) SubsetSimilarity(base, w, s);
  TypesLoop(s, result, [&](int g) {
    double** U = nullptr;
    if (withX) {
      U = SubsetComposition(base, w, g);
      CommunityResemblance(w, w->X, g, rese_opt, &w->dx);
      v[kPX] = RankMantelWith(ncsm, &p->dp, &w->dx, w->scratchA, w->scratchB);
      v[kXT] = RankMantel(ncsm, &w->dt, &w->dx, w->scratchA, w->scratchB);
      v[kXE] = RankMantel(ncsm, &base->env.de, &w->dx, w->scratchA, w->scratchB);
    }
    NicheValues(v);
    result->value = beta ? v[kBeta] : v[kAlphaBeta];
    if (!record) return;
    int* sizes = dim1Dint(g);
    RankCompanionSubsetMatrices(companion, base, w, s, g, U, true, sizes);
    fprintf(companion, "\nTrait ranking criterion:\t");
    PrintNicheValues(companion, v, g);
    RankCompanionSubsetEnd(companion, s, g, sizes);
    free1D(sizes);
    CompanionResiduals(companion, run, w,
                       "\nResemblance matrix between communities based on phylogeny (residuals after removing the "
                       "effect of DT):\n");
  });
}

void LineNiche(FILE* f, const RankResult* r) { PrintNicheValues(f, r->part, r->groups); }

void LineEndNiche(void* context, FILE* f, const RankResult*) {
  PhylogenyRun* run = (PhylogenyRun*)context;
  fprintf(f, "Group sizes:\t");
  for (int k = 0; k < nMaxCSTGroupsChRank; k++) fprintf(f, "%d\t", run->sizes[k]);
}

// The first table takes every evaluation; the shared one, which the search
// fills, each subset's best number of types. With the user's partition each
// subset has one evaluation, so the two come out alike.
void MergeNiche(void* context, const RankSubset* s, const RankResult* r) {
  PhylogenyRun* run = (PhylogenyRun*)context;
  RankTableOffer(&run->first, r->value, s->k, s->list, false);
}

void PrepareNiche(void* context) {
  PhylogenyRun* run = (PhylogenyRun*)context;
  PhylogenyPrepare(&run->phyl, &run->base);
  RankThreadWork* w = run->base.work[0];
  run->rPE = RankMantel(ncsm, &run->phyl.dp, &run->base.env.de, w->scratchA, w->scratchB);
  TypeSizes(run);
  RankTableAlloc(&run->first, nKeepTrack + 1, nch);
}

void ReleaseNiche(void* context) {
  PhylogenyRun* run = (PhylogenyRun*)context;
  RankTableFree(&run->first);
  ReleasePSAP(context);
}

void HeaderNiche(FILE* f) {
  RankHeaderStyle style = {false, false, false,
                           "Gower index modified to count matching absences in binary traits? %s\n",
                           false, 2, false, true};
  RankHeaderComposition(f, &style);
}

void CompanionStartNiche(FILE* f, void* context) {
  PhylogenyRun* run = (PhylogenyRun*)context;
  fprintf(f, "Resemblance matrix between %d communities based on %d environmental variables:\n", ncsm, nenv);
  RankCompanionPairs(f, &run->base.env.de, run->base.work[0]);
  CompanionPhylogeny(f, run);
  CompanionTraitMatrix(f, &run->base);
}

// All rows of a table, from the highest, empty ones too.
void PrintWholeTable(FILE* f, const RankTable* t) {
  for (int r = t->rows - 1; r >= 1; r--) {
    // Every evaluation of a run has the user's number of types.
    int groups = t->size[r] > 0 ? nMaxCSTGroupsChRank : 0;
    fprintf(f, "%-*.*g\t%d groups\t", sDigits + 6, sDigits, t->value[r], groups);
    RankPrintLabels(f, t->size[r], t->traits[r]);
    fprintf(f, "\n");
  }
}

// The block for spreadsheets goes over the first bytes of the file, where
// the header stood: the file keeps its length when the block is shorter.
// Intended: the header's start is lost this way.
void SpreadsheetBlock(FILE* f, const RankBest* best) {
  rewind(f);
  for (int k = nMinTraitsChRank; k <= nMaxTraitsChRank; k++) {
    if (best->found[k])
      for (int j = 0; j < k; j++) fprintf(f, "%-2s\t", chLabel[best->traits[k][j] - 1]);
    fprintf(f, "\n");
  }
  fprintf(f, "\n");
  for (int k = nMinTraitsChRank; k <= nMaxTraitsChRank; k++) fprintf(f, "%-5d\t", best->groups[k]);
  fprintf(f, "\n");
  for (int k = nMinTraitsChRank; k <= nMaxTraitsChRank; k++) fprintf(f, "%-13.*g\t", sDigits, best->value[k]);
  fprintf(f, "\n");
}

void FinishNiche(void* context, FILE* f, const RankMember*, RankTable* table, RankBest* best) {
  PhylogenyRun* run = (PhylogenyRun*)context;
  fprintf(f, "\n\nTrait subsets and number of types with maximum matrix correlation:\nTRC\tn groups\toptimal subset "
             "of traits\n");
  PrintWholeTable(f, &run->first);
  fprintf(f, "\n\nTrait subsets with maximum matrix correlation (only optimal number of types presented):\nTRC\tn "
             "groups\toptimal subset of traits\n");
  PrintWholeTable(f, table);
  fprintf(f, "Elapsed time: %g seconds\n", difftime(time(nullptr), time0));
  SpreadsheetBlock(f, best);
}

}  // namespace

void ChRankPhylogenyAssembly() {
  nKeepTrack = 100;
  PhylogenyRun run;
  memset(&run, 0, sizeof run);
  // r(PX.T) is compared on absolute values, r(PX) and r(PT) signed.
  bool absolute = opt_struct == 12;
  RankMember m = {absolute ? 0.0 : -DBL_MAX, absolute, absolute, EvaluatePSAP, LinePSAP, &run,
                  nullptr, nullptr, nullptr};
  RankMemberHooks hooks = {9, "IntermediateRankResults.txt", HeaderPSAP,
                           "\n\nTrait subsets with maximum matrix correlation:\nTRC\toptimal subset of traits\n",
                           PreparePSAP, CompanionStartPSAP, nullptr, ReleasePSAP};
  RankRunWithData(&m, &run.base, &hooks);
}

void ChRank_Phylogeny_x_Trait_Assembly() {
  nKeepTrack = 100;
  PhylogenyRun run;
  memset(&run, 0, sizeof run);
  // Both tables are ordered by absolute value; only values above 0 enter
  // them, so that order is the signed one.
  RankMember m = {-DBL_MAX, false, false, EvaluateNiche, LineNiche, &run, MergeNiche, LineEndNiche,
                  "Ranking criterion values, groups and optimal subset with %d traits: \t%-*.*g\t%d groups\t"};
  RankMemberHooks hooks = {9, whichStructures, HeaderNiche, nullptr, PrepareNiche, CompanionStartNiche, FinishNiche,
                           ReleaseNiche};
  RankRunWithData(&m, &run.base, &hooks);
}

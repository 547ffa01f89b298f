// The companion file of a trait subset search: the intermediate matrices of every evaluated subset, written when the preference to save structures is on.
#include <cstdio>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRegression.h"
#include "TarnLib/tarnlibStats.h"
#include "TarnLib/tarnlibTables.h"
#include "scaling/community.h"
#include "ranking/rankSearch.h"
#include "scaling/settings.h"
#include "session/session.h"
#include "shell/preferences.h"
#include "session/track.h"

// A resemblance matrix held in its upper triangle, shown by the lower-half
// printer: mirrored into the lower triangle of `work` first.
static void PrintResemblance(FILE* f, int n, double** D, double** work) {
  for (int i = 0; i < n; i++)
    for (int j = 0; j <= i; j++) work[i][j] = i == j ? D[i][i] : D[j][i];
  PrintLowerHalfMatrixTab(f, n, work, sDigits);
}

static void PrintPairs(FILE* f, const RankPairs* p, RankThreadWork* w) {
  RankPairsToMatrix(ncsm, p->d, w->D);
  PrintResemblance(f, ncsm, w->D, w->scratchA);
}

void RankCompanionPairs(FILE* f, const RankPairs* p, RankThreadWork* w) { PrintPairs(f, p, w); }

static void PrintTraitsLine(FILE* f, const RankSubset* s) {
  fprintf(f, "\nTraits:\t");
  for (int j = 0; j < s->k; j++) fprintf(f, "%s\t", chLabel[s->list[j] - 1]);
}

static void PrintClosingLabels(FILE* f, const RankSubset* s) {
  for (int j = 0; j < s->k; j++) fprintf(f, "%s\t", chLabel[s->list[j] - 1]);
}

// T of the subset before and after its columns were brought to unit length.
static void PrintSubsetT(FILE* f, const RankRun* run, RankThreadWork* w, const RankSubset* s) {
  for (int c = 0; c < ncsm; c++)
    for (int t = 0; t < nch; t++) w->T[c][t] = s->mask[t] == 1 ? run->Traw[c][t] : 0.0;
  if (optUnitTotalAdjust1)
    fprintf(f, "\nMatrix with trait averages at community level (%d communities x %d traits):\n", ncsm, nch);
  else
    fprintf(f, "\nMatrix with trait totals at community level (%d communities x %d traits):\n", ncsm, nch);
  PrintMatrix(f, ncsm, nch, w->T, sDigits, 0);
  for (int c = 0; c < ncsm; c++)
    for (int t = 0; t < nch; t++) w->T[c][t] = s->mask[t] == 1 ? run->Tall[c][t] : 0.0;
  fprintf(f,
          "\nMatrix with normalized traits at community level (%d communities x %d traits adjusted to unit "
          "length):\n",
          ncsm, nch);
  PrintMatrix(f, ncsm, nch, w->T, sDigits, 0);
}

void RankCompanionStart(FILE* f, const RankRun* run) {
  const char* sites = run->member == 9 ? "communities" : "relevés";
  fprintf(f, "Resemblance matrix between %d %s based on %d environmental variables:\n", ncsm, sites, nenv);
  RankThreadWork* w = run->work[0];
  PrintResemblance(f, ncsm, run->env.DE, w->scratchA);
  if (run->member == 9)
    fprintf(f, "\nTrait matrix with %d OTUs by %d traits: \n", tcst, nch);
  else
    fprintf(f, "\nTrait matrix with %d populations by %d traits: \n", tcst, nch);
  PrintMatrix(f, tcst, nch, run->B != nullptr ? run->B : csm_Float, sDigits, 0);
}

void RankCompanionTCAP(FILE* f, const RankRun* run, RankThreadWork* w, const RankSubset* s, double value) {
  PrintTraitsLine(f, s);
  PrintSubsetT(f, run, w, s);
  if (opt_ro == 1) {
    fprintf(f, "Resemblance matrix between communities:\n");
    PrintPairs(f, &w->dt, w);
  }
  const char* closing = opt_ro == 3   ? "\nTrait ranking criterion RV=\t%-*.*g\tTrait subset used:\t"
                        : opt_ro == 2 ? "\nTrait ranking criterion traceW=\t%-*.*g\tTrait subset used:\t"
                                      : "\nTrait ranking criterion ro(TE)=\t%-*.*g\tTrait subset used:\t";
  fprintf(f, closing, sDigits + 6, sDigits, value);
  PrintClosingLabels(f, s);
  fprintf(f, "\n");
}

void RankCompanionTDAP_TCAP(FILE* f, const RankRun* run, RankThreadWork* w, const RankSubset* s, int g,
                            double** U, double value) {
  (void)run;
  PrintTraitsLine(f, s);
  fprintf(f,
          "\nSimilarity matrix between %d populations, based on %d traits (Gower index modified to count "
          "double absences in binary traits):\n",
          tcst, s->k);
  PrintLowerHalfMatrixTab(f, tcst, w->S, sDigits);
  fprintf(f, "\nPartition vector of %d populations in %d groups:\n", tcst, g);
  PrintVectorTab(f, tcst, partition_OTUs);
  fprintf(f, "\nDegrees of belonging of %d populations (rows) in %d groups (columns):\n", tcst, g);
  PrintMatrix(f, tcst, g, U, sDigits, 0);
  fprintf(f, "\nPooled performance matrix (%d relevés x %d population groups):\n", ncsm, g);
  PrintMatrix(f, ncsm, g, w->X, sDigits, 0);
  if (opt_ro == 1) {
    fprintf(f, "Resemblance matrix between relevés:\n");
    PrintPairs(f, &w->dx, w);
  }
  fprintf(f, "\nTrait ranking criterion:\t%-*.*g\tTrait subset used:\t", sDigits + 6, sDigits, value);
  PrintClosingLabels(f, s);
  fprintf(f, "\n");
}

// Crisp belonging, type sizes (entries exactly 1) and average traits of the
// types, written for this file only.
static void PrintTypeAverages(FILE* f, const RankRun* run, int g, int* sizes) {
  int o = tcst > 0 ? tcst : 1, p = nch > 0 ? nch : 1;
  double** Ct = dim2Double(g, o);
  double** A = dim2Double(g, p);
  fprintf(f, "\nDegrees of belonging (crisp) of %d populations (rows) in %d types (columns):\n", tcst, g);
  PrintMatrix(f, tcst, g, run->C, sDigits, 0);
  for (int k = 0; k < g; k++) {
    sizes[k] = 0;
    for (int i = 0; i < tcst; i++) {
      Ct[k][i] = run->C[i][k];
      if (Ct[k][i] == 1.0) sizes[k]++;
    }
  }
  fprintf(f, "\nGroup sizes:\n");
  PrintVectorTab(f, g, sizes);
  MatrixProdMV(g, tcst, tcst, nch, Ct, run->B, A);
  for (int k = 0; k < g; k++)
    for (int t = 0; t < nch; t++) A[k][t] /= sizes[k];
  fprintf(f, "\nAverage trait matrix (%d types x %d traits):\n", g, nch);
  PrintMatrix(f, g, nch, A, sDigits, 0);
  free2D(Ct, g);
  free2D(A, g);
}

void RankCompanionSubsetMatrices(FILE* f, const RankRun* run, RankThreadWork* w, const RankSubset* s, int g,
                                 double** U, bool showDX, int* sizes) {
  PrintTraitsLine(f, s);
  PrintSubsetT(f, run, w, s);
  fprintf(f, "Resemblance matrix between communities based on selected traits (matrix T):\n");
  PrintPairs(f, &w->dt, w);
  fprintf(f, "\nSimilarity matrix between %d populations, based on %d traits:\n", tcst, s->k);
  PrintLowerHalfMatrixTab(f, tcst, w->S, sDigits);
  fprintf(f, "\nPartition vector of %d populations in %d specified groups (types):\n", tcst, g);
  PrintVectorTab(f, tcst, partition_OTUs);
  fprintf(f, "\nDegrees of belonging of %d populations (rows) in %d types (columns):\n", tcst, g);
  PrintMatrix(f, tcst, g, U, sDigits, 0);
  PrintTypeAverages(f, run, g, sizes);
  fprintf(f, "\nPooled performance matrix X (%d communities x %d types):\n", ncsm, g);
  PrintMatrix(f, ncsm, g, w->X, sDigits, 0);
  if (showDX) {
    fprintf(f, "Resemblance matrix between communities based on composition of types (matrix X):\n");
    PrintPairs(f, &w->dx, w);
  }
}

void RankCompanionSubsetEnd(FILE* f, const RankSubset* s, int g, const int* sizes) {
  PrintClosingLabels(f, s);
  fprintf(f, "Group sizes:\t");
  for (int k = 0; k < g; k++) fprintf(f, "%d\t", sizes[k]);
  fprintf(f, "\n");
}

void RankCompanionResiduals(FILE* f, RankThreadWork* w, const double* pairs, const char* heading) {
  int n = ncsm > 0 ? ncsm : 1;
  double** DT = dim2Double(n, n);
  double** D = dim2Double(n, n);
  double** R = dim2Double(n, n);
  RankPairsToMatrix(ncsm, w->dt.d, DT);
  RankPairsToMatrix(ncsm, pairs, D);
  ResidualsMatrixRegression(ncsm, DT, D, R);
  UpperToLowerMatrix(ncsm, R);
  fprintf(f, "%s", heading);
  PrintMatrixTab(f, ncsm, ncsm, R, sDigits);
  free2D(DT, n);
  free2D(D, n);
  free2D(R, n);
}

void RankCompanionTDAP(FILE* f, const RankRun* run, RankThreadWork* w, const RankSubset* s, int g, double** U,
                       const double* values) {
  int* sizes = dim1Dint(g);
  RankCompanionSubsetMatrices(f, run, w, s, g, U, opt_ro == 1, sizes);
  if (opt_ro == 1)
    fprintf(f, "\nTrait ranking criterion:\tro(TE)=\t%g\tro(XE)=\t%g\tro(XT)=\t%g\tro(XE.T)=\t%g\t%d groups\tTraits:\t",
            values[0], values[1], values[2], values[3], g);
  else if (opt_ro == 2)
    fprintf(f, "\nTrait ranking criterion:\tro(XE.T)=\t%g\t%d groups\tTraits:\t", values[3], g);
  else
    fprintf(f, "\nTrait ranking criterion:\tr(XE.T)=\t%g\t%d groups\tTraits:\t", values[3], g);
  RankCompanionSubsetEnd(f, s, g, sizes);
  free1D(sizes);
  // DX regressed on DT, its residuals made symmetric.
  if (opt_ro == 1)
    RankCompanionResiduals(f, w, w->dx.d,
                           "\nResemblance matrix between communities (residuals after removing the effect of DT):\n");
}

// The scaling-up run of the functional analysis: T, X, P, D, Rao entropies and TCAP/TDAP/PSAP statistics.
// Method: community weighted means T = W B, fuzzy-weighted compositions X = W U and P = W Q,
// Rao quadratic entropy, and matrix congruences of these with E; tests in permutation/permTest.
#include "scaling/scalingUp.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "TarnLib/tarnlibCluster.h"
#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibEigen.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibRese.h"
#include "TarnLib/tarnlibStats.h"
#include "permutation/permCorrel.h"
#include "scaling/community.h"
#include "scaling/report.h"
#include "scaling/settings.h"
#include "scaling/similarity.h"
#include "scaling/smoothing.h"
#include "session/formda.h"
#include "session/session.h"
#include "shell/preferences.h"
#include "shell/shell.h"
#include "shell/track.h"

int nMinCSTGroupsChRank = 0;
int nMaxCSTGroupsChRank = 0;
int nMinTraitsChRank = 0;
int nMaxTraitsChRank = 0;
int nKeepTrack = 100;
char whichRndData[48] = "NULL";

// Working storage of one run, allocated once at its start and released at its end.
struct ScalingWork {
  int nE;                 // columns of Ew taken into DE
  int nGroupsMax;         // columns of U, C, X, Xcrisp (at least every g that can pass)
  int nTraitsUsed;        // traits with weight above 0
  int nPCoA;              // phylogenetic ordination axes kept
  int nTaxaCols;          // columns of Q and P
  double** Ew;            // [ncsm][nenv] E, transformed in place for DE
  double** Ec;            // [ncsm][nenv] E as given to the tests
  double** DE;            // [ncsm][ncsm] resemblance from E
  double** DC;            // [ncsm][ncsm] resemblance from the co-variable
  double** W1;            // [ncsm][tcst] W, at unit totals only with optUnitTotalAdjust2
  double** W2;            // [ncsm][tcst] W at unit totals, for T
  double** Y;             // [ncsm][tcst] Beals smoothing by abundances
  double** Z;             // [ncsm][tcst] smoothing by cross products
  double** DY;            // [ncsm][ncsm] resemblance from Y
  double** DZ;            // [ncsm][ncsm] resemblance from Z
  double** T;             // [ncsm][nch + 1] trait averages
  double** DT;            // [ncsm][ncsm] resemblance from T
  double** X;             // [ncsm][nGroupsMax] fuzzy type composition
  double** Xcrisp;        // [ncsm][nGroupsMax] crisp type composition
  double* D;              // [ncsm] Gini-Simpson
  double* Rf;             // [ncsm] Rao entropy from S
  double* FR;             // [ncsm] functional redundancy
  double* Rp;             // [ncsm] Rao entropy from F
  double* PR;             // [ncsm] phylogenetic redundancy
  double** S;             // [tcst][tcst] identity for D, then the similarity of OTUs
  double** trimmed;       // [tcst][tcst] similarity between monothetic types
  double** sqDist;        // [tcst][tcst] squared distances for the sum-of-squares clustering
  clusterReport* fusions; // [tcst] fusion history of the monothetic types
  int* polyLabels;        // [tcst] polythetic type of each monothetic type
  double*** cube;         // [tcst][tcst][nch] partial similarities
  double** U;             // [tcst][nGroupsMax] fuzzy belonging
  double** C;             // [tcst][nGroupsMax] crisp belonging
  double** Ct;            // [nGroupsMax][tcst] C transposed
  double** A;             // [nGroupsMax][nch] average traits of the types
  int* mask;              // [nch + 1] 1 for traits in use
  int* labels;            // [tcst] partition of the pass
  int* monoLabels;        // [tcst] monothetic types
  int* distinct;          // [tcst] sorted distinct labels
  int* sizes;             // [nGroupsMax] OTUs in each type
  double** Bsel;          // [tcst][nch] B with unused traits at 0
  double** B2;            // [tcst][nch] B as it stands
  double** work;          // [tcst][nch] range-adjusted B for the Euclidean similarity
  int* chtypeCopy;        // [nch]
  int* onstaCopy;         // [nch]
  double* chrangeCopy;    // [nch]
  double* weightCopy;     // [nch]
  double** Q;             // [tcst][nTaxaCols] fuzzy belonging to taxa
  double** P;             // [ncsm][nTaxaCols] phylogeny-weighted composition
  double** DP;            // [ncsm][ncsm] resemblance from P
  double** pcoaVectors;   // [tcst][tcst]
  double** pcoaAxes;      // [tcst][tcst] scores, axes as rows
  double** pcoaScores;    // [tcst][tcst] scores, OTUs as rows
  double* pcoaValues;     // [tcst]
  double** Tout;          // [ncsm][nch] observed T returned by the test
  double** Xout;          // [ncsm][nGroupsMax] observed X returned by the test
  double** Pout;          // [ncsm][nTaxaCols] observed P returned by the test
  double* Rout;           // [ncsm] observed Rao entropy returned by the test
  double* RpOut;          // [ncsm] observed phylogenetic Rao entropy returned by the test
  double stats[N_PERMTEST_STATS];  // statistics of the report, 0 until computed
  double probs[N_PERMTEST_STATS];  // their probabilities
  bool tested;            // the statistics come from the permutation test
  time_t time0;           // start of the test, for the elapsed time
};

static int AtLeast1(int n) { return n > 0 ? n : 1; }

static void AllocateWork(ScalingWork* w) {
  int n = AtLeast1(ncsm), o = AtLeast1(tcst), p = AtLeast1(nch), e = AtLeast1(nenv);
  w->nGroupsMax = o;
  w->nTaxaCols = includePhylogeny ? AtLeast1(nTaxa > tcst ? nTaxa : tcst) : 1;
  w->Ew = dim2Double(n, e);
  w->Ec = dim2Double(n, e);
  w->DE = dim2Double(n, n);
  w->DC = dim2Double(n, n);
  w->W1 = dim2Double(n, o);
  w->W2 = dim2Double(n, o);
  w->Y = dim2Double(n, o);
  w->Z = dim2Double(n, o);
  w->DY = dim2Double(n, n);
  w->DZ = dim2Double(n, n);
  w->T = dim2Double(n, p + 1);
  w->DT = dim2Double(n, n);
  w->X = dim2Double(n, o);
  w->Xcrisp = dim2Double(n, o);
  w->D = dim1Double(n);
  w->Rf = dim1Double(n);
  w->FR = dim1Double(n);
  w->Rp = dim1Double(n);
  w->PR = dim1Double(n);
  w->S = dim2Double(o, o);
  w->trimmed = dim2Double(o, o);
  w->sqDist = dim2Double(o, o);
  w->fusions = (clusterReport*)dim1D(sizeof(clusterReport), o);
  for (int k = 0; k < o; k++) w->fusions[k].members = dim1Dint(o);
  w->polyLabels = dim1Dint(o);
  w->cube = dim3Double(o, o, p);
  w->U = dim2Double(o, o);
  w->C = dim2Double(o, o);
  w->Ct = dim2Double(o, o);
  w->A = dim2Double(o, p);
  w->mask = dim1Dint(p + 1);
  w->labels = dim1Dint(o);
  w->monoLabels = dim1Dint(o);
  w->distinct = dim1Dint(o);
  w->sizes = dim1Dint(o);
  w->Bsel = dim2Double(o, p);
  w->B2 = dim2Double(o, p);
  w->work = dim2Double(o, p);
  w->chtypeCopy = dim1Dint(p);
  w->onstaCopy = dim1Dint(p);
  w->chrangeCopy = dim1Double(p);
  w->weightCopy = dim1Double(p);
  w->Q = dim2Double(o, w->nTaxaCols);
  w->P = dim2Double(n, w->nTaxaCols);
  w->DP = dim2Double(n, n);
  w->pcoaVectors = dim2Double(o, o);
  w->pcoaAxes = dim2Double(o, o);
  w->pcoaScores = dim2Double(o, o);
  w->pcoaValues = dim1Double(o);
  w->Tout = dim2Double(n, p);
  w->Xout = dim2Double(n, o);
  w->Pout = dim2Double(n, w->nTaxaCols);
  w->Rout = dim1Double(n);
  w->RpOut = dim1Double(n);
}

static void FreeWork(ScalingWork* w) {
  int n = AtLeast1(ncsm), o = AtLeast1(tcst);
  free2D(w->Ew, n);
  free2D(w->Ec, n);
  free2D(w->DE, n);
  free2D(w->DC, n);
  free2D(w->W1, n);
  free2D(w->W2, n);
  free2D(w->Y, n);
  free2D(w->Z, n);
  free2D(w->DY, n);
  free2D(w->DZ, n);
  free2D(w->T, n);
  free2D(w->DT, n);
  free2D(w->X, n);
  free2D(w->Xcrisp, n);
  free1D(w->D);
  free1D(w->Rf);
  free1D(w->FR);
  free1D(w->Rp);
  free1D(w->PR);
  free2D(w->S, o);
  free2D(w->trimmed, o);
  free2D(w->sqDist, o);
  for (int k = 0; k < o; k++) free1D(w->fusions[k].members);
  free1D(w->fusions);
  free1D(w->polyLabels);
  free3D(w->cube, o, o);
  free2D(w->U, o);
  free2D(w->C, o);
  free2D(w->Ct, o);
  free2D(w->A, o);
  free1D(w->mask);
  free1D(w->labels);
  free1D(w->monoLabels);
  free1D(w->distinct);
  free1D(w->sizes);
  free2D(w->Bsel, o);
  free2D(w->B2, o);
  free2D(w->work, o);
  free1D(w->chtypeCopy);
  free1D(w->onstaCopy);
  free1D(w->chrangeCopy);
  free1D(w->weightCopy);
  free2D(w->Q, o);
  free2D(w->P, n);
  free2D(w->DP, n);
  free2D(w->pcoaVectors, o);
  free2D(w->pcoaAxes, o);
  free2D(w->pcoaScores, o);
  free1D(w->pcoaValues);
  free2D(w->Tout, n);
  free2D(w->Xout, n);
  free2D(w->Pout, n);
  free1D(w->Rout);
  free1D(w->RpOut);
}

// DE (or DC from one column) from E by the kind of its variables; `types`
// are the variable types of the columns used.
static void EnvironmentResemblance(ScalingWork* w, int nCols, int* types, double** out,
                                   bool single) {
  bool corrAdjusted = optEnvVarType == 2 || optEnvVarType == 4 ||
                      (optEnvVarType == 5 && temEnvQual == 0);
  if (optEnvVarType == 1 || corrAdjusted) {
    if (corrAdjusted) CorrAdj(ncsm, nCols, w->Ew, w->Ew);
    if (single)
      EucliDist(ncsm, nCols, w->Ew, out);
    else
      EucliDistMV(ncsm, nCols, w->Ew, out);
    return;
  }
  GowerMVOpt(ncsm, nCols, types, w->Ew, out, nullptr, nullptr, countDoubleAbsence);
  ProbToDissim(ncsm, out, out);
}

// Steps 2 and 3: Ew from E, DE, and DC from the co-variable.
static void EnvironmentStep(ScalingWork* w) {
  w->nE = optCoVariable && nenv > 0 ? nenv - 1 : nenv;
  for (int c = 0; c < ncsm; c++)
    for (int v = 0; v < w->nE; v++) w->Ew[c][v] = env[c][v];
  EnvironmentResemblance(w, w->nE, envVarType, w->DE, false);
  if (optCoVariable && nenv > 0) {
    // Column 0 of Ew is given over to the co-variable, and the tests see it there.
    for (int c = 0; c < ncsm; c++) w->Ew[c][0] = env[c][nenv - 1];
    EnvironmentResemblance(w, 1, &envVarType[nenv - 1], w->DC, true);
  }
}

// Steps 5 and 6: Ec, the two copies of W, trait ranges and local copies.
static void CopyInputs(ScalingWork* w) {
  for (int c = 0; c < ncsm; c++)
    for (int v = 0; v < nenv; v++) w->Ec[c][v] = w->Ew[c][v];
  for (int c = 0; c < ncsm; c++)
    for (int i = 0; i < tcst; i++) w->W1[c][i] = w->W2[c][i] = cadat[i][c];
  RangeStates(nch, tcst, csm_Float, chtype, chrange);
  for (int t = 0; t < nch; t++) {
    w->onstaCopy[t] = onsta[t];
    w->chtypeCopy[t] = chtype[t];
    w->chrangeCopy[t] = chrange[t];
    w->weightCopy[t] = weight[t];
  }
}

// Steps 9 to 12: unit totals, smoothing, DY and DZ, Gini-Simpson.
static void CommunityStep(ScalingWork* w) {
  if (optUnitTotalAdjust1) UnitSumRowsAdjMV(ncsm, tcst, w->W2, w->W2);
  if (optUnitTotalAdjust2) UnitSumRowsAdjMV(ncsm, tcst, w->W1, w->W1);
  BealsSmoothing(ncsm, tcst, w->W1, w->W1, w->Y, BealsIncludeOpt != 0, 1);
  BealsSmoothing(ncsm, tcst, w->W1, w->W1, w->Z, BealsIncludeOpt != 0, 2);
  if (opt_ro == 1) {
    NominalReseNonHier(ncsm, tcst, w->Y, w->DY, rese_opt);
    NominalReseNonHier(ncsm, tcst, w->Z, w->DZ, rese_opt);
  }
  // With the identity as similarity the Rao entropy is the Gini-Simpson index.
  for (int i = 0; i < tcst; i++)
    for (int j = 0; j < tcst; j++) w->S[i][j] = i == j ? 1.0 : 0.0;
  for (int c = 0; c < ncsm; c++)
    w->D[c] = RaoIndex_Weight(tcst, w->W1[c], w->S, false, weight_OTUs, restrictRaoWithinOpt);
}

// Step 14: the phylogeny block.
static void PhylogenyStep(ScalingWork* w, FILE* f) {
  if (phylogenyMatrixType == 2)
    GowerMVOpt(tcst, nClados, phylogenyVarType, phylogenyData, phylogenyRese, nullptr, nullptr, 0);
  bool ok = true;
  OrdinationLib_D(tcst, tcst, nullptr, phylogenyRese, w->pcoaVectors, w->pcoaAxes, &w->nPCoA,
                  w->pcoaValues, &ok, 1, phylogenyMatrixType == 1 ? 5 : 3, 1);
  if (w->nPCoA < 0) w->nPCoA = 0;
  if (w->nPCoA > tcst) w->nPCoA = tcst;
  for (int i = 0; i < tcst; i++)
    for (int k = 0; k < w->nPCoA; k++) w->pcoaScores[i][k] = w->pcoaAxes[k][i];
  // Also the Gower similarities of a table go through as dissimilarities here.
  bool isDissimilarity = phylogenyMatrixType != 1;
  if (fuzzyPhyl == 1)
    FuzzyBelonging(tcst, nTaxa, phylogenyRese, partition_OTUs_Phyl, w->Q, isDissimilarity);
  else
    CrispBelonging(tcst, nTaxa, partition_OTUs_Phyl, w->Q);
  MatrixProdMV_Weight(ncsm, tcst, tcst, nTaxa, w->W1, w->Q, w->P, weight_OTUs);
  for (int c = 0; c < ncsm; c++)
    w->Rp[c] = RaoIndex_Weight(tcst, w->W1[c], phylogenyRese, isDissimilarity,
                               sqrtDissimOpt_RaoPhyl != 0, weight_OTUs, restrictRaoWithinOpt);
  NominalReseNonHier(ncsm, nTaxa, w->P, w->DP, rese_opt);
  ReportPhylogeny(f, w->pcoaScores, w->nPCoA, w->Q, w->P, w->DP);
}

// Steps 15 and 16: the selected traits, B as it stands, and the cube.
static void TraitStep(ScalingWork* w, FILE* f) {
  w->nTraitsUsed = 0;
  for (int t = 0; t < nch; t++)
    if (weight[t] > 0) w->nTraitsUsed++;
  nMinTraitsChRank = nMaxTraitsChRank = w->nTraitsUsed;
  for (int i = 0; i < tcst; i++)
    for (int t = 0; t < nch; t++) {
      w->Bsel[i][t] = weight[t] > 0 ? csm_Float[i][t] : 0.0;
      w->B2[i][t] = csm_Float[i][t];
    }
  ReportB(f, w->B2);
  if (reseCSTopt == 1)
    gower_similarityPartial(nch, w->B2, tcst, w->cube, w->chtypeCopy, w->chrangeCopy, w->weightCopy);
}

// Step 21: the observed r(TE) of the report when there are no tests.
static void ObservedTE(ScalingWork* w) {
  double rTE = 0.0;
  if (opt_ro == 1) {
    rTE = RhoResemblance(ncsm, w->DE, w->DT);
    if (optCoVariable)
      rTE = PartialCorrelation(rTE, RhoResemblance(ncsm, w->DC, w->DT),
                               RhoResemblance(ncsm, w->DE, w->DC));
  } else if (opt_ro == 2) {
    rTE = ProcrustesCoeff(ncsm, nenv, nch, w->Ec, w->T);
  } else if (opt_ro == 3) {
    rTE = RVcoeff(ncsm, nenv, nch, w->Ec, w->T);
  }
  w->stats[PT_rTE] = rTE;
}

// Steps 18 to 20: mask, T, its normalisation and DT.
static void TraitAverages(ScalingWork* w, FILE* f) {
  for (int t = 0; t < nch; t++) w->mask[t] = weight[t] > 0 ? 1 : 0;
  ReportEnvironment(f, w->DE);
  MatrixProdSelectMV_Adjust_Weight(ncsm, tcst, tcst, nch, w->W2, w->Bsel, w->T, w->mask,
                                   weight_OTUs);
  ReportT(f, w->T, w->mask, false);
  NormalizeCols(ncsm, nch, w->T, w->T);
  ReportT(f, w->T, w->mask, true);
  EucliDistMV(ncsm, nch, w->T, w->DT);
  if (rese_opt == 5) CorrToSqDist(ncsm, w->DT, w->DT);
  if (rese_opt == 3 || rese_opt == 4) {
    ProdToSqDist(ncsm, w->DT, w->DT);
    UpperToLowerMatrix(ncsm, w->DT);
  }
  ReportDT(f, w->DT);
}

// Step 23, with clustering: the fusion history of the monothetic types.
static void ClusterMonothetic(ScalingWork* w, int nMono) {
  if (clusMethPoolCSTs == 3) {
    if (reseCSTopt == 1) {
      CorrToSqDist(nMono, w->trimmed, w->sqDist);
      SumSqCluster(nMono, w->sqDist, w->fusions, true);
    } else {
      SumSqCluster(nMono, w->trimmed, w->fusions, false);
    }
  } else {
    LinkageCluster(nMono, w->trimmed, w->fusions, reseCSTopt != 1, false, clusMethPoolCSTs, true);
  }
}

// Step 25.1: the labels of the pass, from the clustering or the user's partition.
static void PassLabels(ScalingWork* w, int g, int nMono) {
  if (clusMethPoolCSTs == 0) {
    for (int i = 0; i < tcst; i++) w->labels[i] = partition_OTUs[i];
    return;
  }
  GetClusterPartitionNew(nMono, g, w->polyLabels, w->fusions, clusMethPoolCSTs);
  for (int i = 0; i < tcst; i++) w->labels[i] = w->polyLabels[w->monoLabels[i] - 1];
}

// Steps 22 and 23: S between OTUs and the monothetic types.
static int SimilarityStep(ScalingWork* w, FILE* f) {
  if (reseCSTopt == 1) {
    gower_similarityAverage(nch, tcst, w->cube, w->S, w->weightCopy);
  } else if (reseCSTopt == 2) {
    RangeColsAdjMV(tcst, nch, w->work, w->Bsel);
    EucliDistMVSelect(tcst, nch, w->work, w->S, w->mask);
  }
  int nMono = tcst;
  if (clusMethPoolCSTs != 0) {
    ClusterIdenticals(tcst, w->S, w->monoLabels, &nMono, reseCSTopt != 1);
    TrimRese(tcst, nMono, w->monoLabels, w->S, w->trimmed);
  }
  ReportSimilarity(f, w->S, w->nTraitsUsed, w->mask, nMono,
                   clusMethPoolCSTs != 0 ? w->trimmed : nullptr);
  if (clusMethPoolCSTs != 0 && nMono >= 2) ClusterMonothetic(w, nMono);
  return nMono;
}

// Step 25.6: type sizes (entries exactly 1 of C) and average traits.
static void TypeAverages(ScalingWork* w, int g) {
  for (int k = 0; k < g; k++) {
    w->sizes[k] = 0;
    for (int i = 0; i < tcst; i++) {
      w->Ct[k][i] = w->C[i][k];
      if (w->Ct[k][i] == 1.0) w->sizes[k]++;
    }
  }
  MatrixProdMV(g, tcst, tcst, nch, w->Ct, w->B2, w->A);
  for (int k = 0; k < g; k++)
    for (int t = 0; t < nch; t++) w->A[k][t] /= w->sizes[k];
}

// Step 26: the permutation test of the pass; its statistics replace r(TE).
// Returns the open intermediate file, closed once the statistics are reported.
static FILE* RunTests(ScalingWork* w, int g) {
  FILE* detail = fopenck(whichRndData, volumeName, "w");
  if (detail == nullptr) {
    fflush(stdout);
    exit(1);
  }
  w->time0 = time(nullptr);
  time0 = w->time0;
  PermTest_FunctionalPhyl_Correl_Input in;
  memset(&in, 0, sizeof in);
  in.niter = niter;
  in.nTraits = nch;
  in.traitMask = w->mask;
  in.nOTUs = tcst;
  in.nTypes = g;
  in.nTaxa = includePhylogeny ? nTaxa : 0;
  in.nEnv = nenv;
  in.nCommunities = ncsm;
  in.nPCoAAxes = w->nPCoA;
  in.B = w->Bsel;
  in.Sb = w->S;
  in.pcoaScores = w->pcoaScores;
  in.Sf = includePhylogeny ? phylogenyRese : nullptr;
  in.E = w->Ec;
  in.U = fuzzy == 3 ? w->U : w->C;
  in.Q = w->Q;
  in.W = w->W1;
  in.DE = w->DE;
  in.DY = w->DY;
  in.DZ = w->DZ;
  in.Y = w->Y;
  in.Z = w->Z;
  in.rese_opt = rese_opt;
  in.opt_ro = opt_ro;
  in.overfitFactorPCARegr = overfitFactorPCARegr;
  in.saveDetail = saveRndData == 'y';
  in.weightedNullModel = optWeightedNullModel;
  in.includePhylogeny = includePhylogeny;
  in.phylogenyIsDissimilarity = phylogenyMatrixType != 1;
  in.sqrtDissimTraits = sqrtDissimOpt_RaoTraits != 0;
  in.sqrtDissimPhyl = sqrtDissimOpt_RaoPhyl != 0;
  in.restrictPermutations = optRestrictPermutNullModel;
  in.nestingMembership = nestingMembershipOTUs;
  in.taxaSiteShuffle = optTaxaSiteShuffle;
  in.keepObserved = true;
  in.twoTailed = twoTailedTestMantel != 0;
  in.Tout = w->Tout;
  in.Xout = w->Xout;
  in.Pout = w->Pout;
  in.Rout = w->Rout;
  in.RpOut = w->RpOut;
  in.weightOTUs = weight_OTUs;
  in.restrictRao = restrictRaoWithinOpt;
  in.detailFile = detail;
  PermTest_FunctionalPhyl_Correl(&in);
  for (int s = 0; s < N_PERMTEST_STATS; s++) {
    w->stats[s] = in.statistics[s];
    w->probs[s] = in.probabilities[s];
  }
  w->tested = true;
  return detail;
}

// Step 25 and what follows it: one pass for g types.
static void TypePass(ScalingWork* w, FILE* f, int g, int nMono) {
  PassLabels(w, g, nMono);
  CrispBelonging(tcst, g, w->labels, w->C);
  FuzzyBelonging(tcst, g, w->S, w->labels, w->U, reseCSTopt != 1);
  MatrixProdMV_Weight(ncsm, tcst, tcst, g, w->W1, w->U, w->X, weight_OTUs);
  MatrixProdMV_Weight(ncsm, tcst, tcst, g, w->W1, w->C, w->Xcrisp, weight_OTUs);
  for (int c = 0; c < ncsm; c++) {
    w->Rf[c] = RaoIndex_Weight(tcst, w->W1[c], w->S, false, sqrtDissimOpt_RaoTraits != 0,
                               weight_OTUs, restrictRaoWithinOpt);
    double fr = w->D[c] - w->Rf[c];
    w->FR[c] = fr > 0 ? fr : 0.0;
    if (includePhylogeny) {
      double pr = w->D[c] - w->Rp[c];
      w->PR[c] = pr > 0 ? pr : 0.0;
    }
  }
  int nLabels = 0;
  CountGroupsNew(tcst, w->labels, &nLabels, w->distinct);
  ReportPartition(f, g, w->monoLabels, nMono, w->labels, w->distinct, w->U, w->C);
  TypeAverages(w, g);
  ReportTypeMatrices(f, g, w->sizes, w->A, w->Xcrisp, w->X, w->mask);
  FILE* detail = optRndTests ? RunTests(w, g) : nullptr;
  ReportStatistics(f, w->stats, w->probs, w->tested, g, w->sizes, w->mask, w->time0);
  if (detail != nullptr) fclose(detail);
  ReportDiversity(f, w->D, w->Rf, w->FR, w->Rp, w->PR);
}

// Step 24: the loop over the number of types; only g = nGrPoly[0] makes a pass.
static void TypeLoop(ScalingWork* w, FILE* f, int nMono) {
  for (int g = 2; g < nMono; g++) {
    if (w->nTraitsUsed == 1 && w->chtypeCopy[0] != 3 && clusMethPoolCSTs != 0) g = nMono;
    if (g > nMaxCSTGroupsChRank) break;
    if (g >= nMinCSTGroupsChRank) TypePass(w, f, g, nMono);
    if (w->nTraitsUsed == 1 && (w->chtypeCopy[0] != 3 || g == w->onstaCopy[0])) break;
  }
}

void PFTs_ScalingUp() {
  ScalingWork w;
  memset(&w, 0, sizeof w);
  opt_struct = 9;
  optUnitTotalAdjust1 = 1;
  nMaxCSTGroupsChRank = nMinCSTGroupsChRank = nGrPoly[0];
  nKeepTrack = 100;
  snprintf(whichRndData, sizeof whichRndData, "%s%s", sessionName, rndDataExt);
  // A phylogeny asked for without its matrix or taxa can't be considered.
  if (includePhylogeny && (phylogenyRese == nullptr || partition_OTUs_Phyl == nullptr ||
                           (phylogenyMatrixType == 2 && (phylogenyData == nullptr ||
                                                         phylogenyVarType == nullptr))))
    includePhylogeny = false;
  AllocateWork(&w);
  EnvironmentStep(&w);
  InitRndNumberGenerator(rseed);
  CopyInputs(&w);
  FILE* f = fopenck(whichPrinda, volumeName, prindaMode);
  if (f == nullptr) FailJump(FAIL_OPEN);
  ReportHead(f);
  if (printDetail == 1) ReportW(f, w.W2, false);
  CommunityStep(&w);
  if (printDetail == 1) ReportW(f, w.W2, true);
  if (includePhylogeny) PhylogenyStep(&w, f);
  TraitStep(&w, f);
  if (w.nTraitsUsed > 0) {
    TraitAverages(&w, f);
    ObservedTE(&w);
    int nMono = SimilarityStep(&w, f);
    TypeLoop(&w, f, nMono);
  }
  fprintf(f, "\n");
  fclose(f);
  FreeWork(&w);
}

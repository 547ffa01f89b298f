// The functional and phylogenetic correlation test: a Monte Carlo permutation
// test of matrix correlations (Mantel 1967, Cancer Research 27: 209-220) for
// trait-convergence and trait-divergence assembly patterns (Pillar et al.
// 2009, J. Veg. Sci. 20: 334-348) and phylogenetic structure (Pillar & Duarte
// 2010, Ecology Letters 13: 587-596), with Procrustes and RV alternatives.
#include "permutation/permCorrel.h"

#include <omp.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "TarnLib/tarnlibCommunity.h"
#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibRese.h"
#include "TarnLib/tarnlibStats.h"
#include "permutation/permCoef.h"
#include "permutation/permCorrelWork.h"
#include "permutation/permKernels.h"
#include "shell/shell.h"

bool permTestPlainLoops = false;
// Below this the distances of an iteration run faster on one thread than a
// team can meet at the end of each parallel loop, thousands of times a test.
double permTestSmallWork = 4000000.0;
// Two runs that drew the same arrangements agree here to the last bit.
double permTestRandomSums[N_PERMTEST_STATS];

// ---------------------------------------------------------------------------
// Statistics

// No entropy is -999 (and the faster loops are in use); the entropies are
// then copied to the plain array rowR.
static bool EntropiesPlain(const PermWork* w, double** R) {
  if (permTestPlainLoops || !w->rowR) return false;
  for (int i = 0; i < w->n; i++)
    if (R[i][0] == -999.0) return false;
  for (int i = 0; i < w->n; i++) w->rowR[i] = R[i][0];
  return true;
}

// D = |R[i] - R[j]| of the entropies, AbsValFunctionMV's values for one
// column (0 + |x| is |x|); the pairs i < j and the diagonal only, like
// the distances, and their sum in pair order in *pairSum (true). With
// -999, AbsValFunctionMV (false).
static bool EntropyDistancesOf(PermWork* w, double** R, double** D, double* pairSum) {
  if (!EntropiesPlain(w, R)) {
    AbsValFunctionMV(w->n, 1, R, D);
    return false;
  }
  EntropyDistances(w->n, w->rowR, D, pairSum);
  return true;
}

// Makes m ready for CommunityDistances from data (n by cols) into the
// column block `block`: true for Euclidean distances of data without -999.
// Otherwise D gets ResemblanceLib's matrix for code, and false.
static bool LanesOrGeneral(PermWork* w, int cols, double** data, double** D, int code, double** block,
                           LaneMatrix* m) {
  if (block && code == 3 && ColumnsOf(w->n, cols, data, block[0])) {
    *m = LaneMatrix{cols, block[0], D, 0.0};
    return true;
  }
  ResemblanceLib(w->n, cols, data, D, 1, code, 0, NULL, 0.0, 0.0, 0, false);
  return false;
}

// c(A, B) of two data matrices with `rows` rows: Procrustes for opt_ro 2,
// RV for 3.
static double CoefRows(const PermWork* w, int rows, double** a, int colsA, double** b, int colsB) {
  if (w->in->opt_ro == 2) return ProcrustesCoeffThin(rows, colsA, colsB, a, b);
  if (w->in->opt_ro == 3) return RVcoeffThin(rows, colsA, colsB, a, b);
  return 0.0;
}

static double Rho(const PermWork* w, double** a, double** b) { return RhoResemblance(w->n, a, b); }

// Prepares matrix `which` (D) for the correlations that follow.
static void PrepareRho(PermWork* w, int which, double** D) {
  if (w->prepared) w->ok[which] = MatrixCorrPrepare(w->n, D, w->cen[which], &w->ss[which]);
}

// r[m] = rho(A, B[m]) for k <= 4 partners, where A is matrix `a` and B[m]
// matrix b[m]: one pass over the pairs for those prepared, MatrixCorr for
// the others. Either way the same bits.
static void RhoMany(PermWork* w, int a, double** A, int k, const int* b, double** const* B, double* r) {
  const double* partners[4];
  double ssB[4], out[4];
  int which[4], used = 0;
  for (int m = 0; m < k; m++) {
    if (w->prepared && w->ok[a] && w->ok[b[m]]) {
      partners[used] = w->cen[b[m]];
      ssB[used] = w->ss[b[m]];
      which[used++] = m;
    } else {
      r[m] = Rho(w, A, B[m]);
    }
  }
  if (used == 0) return;
  MatrixCorrPrepared(w->pairs, w->cen[a], w->ss[a], used, partners, ssB, out);
  for (int u = 0; u < used; u++) r[which[u]] = out[u];
}

// The matrices of the statistics that follow, as the bits of `which`.
enum { MM_T = 1, MM_X = 2, MM_R = 4 };

// Without phylogeny, when DE, DY and DZ are prepared and DT, DX and DR
// hold no -999: the ten rho values of an arrangement with MatrixCorr's two
// passes over the pairs shared by all: the sums of DT, DX and DR side by
// side, then their deviations from the means, sums of squares and the ten
// cross products, each sum in pair order. Nothing else reads the prepared
// forms of DT, DX and DR in an iteration, so they are not stored. `given`
// is true when `sum` already holds the three sums of pairs.
static bool FusedRho(PermWork* w, bool given, double* sum) {
  w->fused = false;
  if (!w->prepared || w->phyl || !w->ok[RHO_E] || !w->ok[RHO_Y] || !w->ok[RHO_Z]) return false;
  if (!given) {
    double** D[3] = {w->DT, w->DX, w->DR};
    bool missing[3];
    MatrixCorrPairSums(w->n, 3, D, sum, missing);
    if (missing[0] || missing[1] || missing[2]) return false;
  }
  long count = w->pairs;
  double mT = sum[0] / count, mX = sum[1] / count, mR = sum[2] / count;
  double t[13];
  MantelCrossSums(w->n, w->DT, w->DX, w->DR, mT, mX, mR, w->eyze, t);
  double tE = t[0], tY = t[1], tZ = t[2], xE = t[3], xT = t[4], xY = t[5], xZ = t[6], rE = t[7];
  double rX = t[8], rT = t[9], sT = t[10], sX = t[11], sR = t[12];
  double* ss = w->ss;
  ss[RHO_T] = sT, ss[RHO_X] = sX, ss[RHO_R] = sR;
  w->ok[RHO_T] = w->ok[RHO_X] = w->ok[RHO_R] = true;
  double(*f)[4] = w->fusedRho;
  f[0][0] = RhoOfSums(tE, ss[RHO_T], ss[RHO_E]);
  f[0][1] = RhoOfSums(tY, ss[RHO_T], ss[RHO_Y]);
  f[0][2] = RhoOfSums(tZ, ss[RHO_T], ss[RHO_Z]);
  f[1][0] = RhoOfSums(xE, ss[RHO_X], ss[RHO_E]);
  f[1][1] = RhoOfSums(xT, ss[RHO_X], ss[RHO_T]);
  f[1][2] = RhoOfSums(xY, ss[RHO_X], ss[RHO_Y]);
  f[1][3] = RhoOfSums(xZ, ss[RHO_X], ss[RHO_Z]);
  f[2][0] = RhoOfSums(rE, ss[RHO_R], ss[RHO_E]);
  f[2][1] = RhoOfSums(rX, ss[RHO_R], ss[RHO_X]);
  f[2][2] = RhoOfSums(rT, ss[RHO_R], ss[RHO_T]);
  w->fused = true;
  return true;
}

// With Mantel, the resemblance matrices of T (MM_T), of X and P (MM_X) and
// of the Rao entropies (MM_R), prepared together: the distances of T and X
// and those of the entropies run in one pass, and their sums side by side.
static void MantelMatrices(PermWork* w, int which, bool tryFused) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  if (!w->mantel) return;
  int n = w->n, k = 0, id[5];
  double** D[5];
  LaneMatrix t, x;
  // The sums of pairs of DT, DX and DR, when the loops give them.
  double sum[3], spare;
  bool laneT = (which & MM_T) && LanesOrGeneral(w, in->nTraits, w->T, w->DT, 3, w->colsT, &t);
  bool laneX = (which & MM_X) && LanesOrGeneral(w, in->nTypes, w->X, w->DX, w->code, w->colsX, &x);
  bool withR = (which & MM_R) && EntropiesPlain(w, w->R);
  LaneMatrix* first = laneT ? &t : laneX ? &x : NULL;
  bool drDone = first && withR;
  if (first) CommunityDistances(n, first, laneT && laneX ? &x : NULL, drDone ? w->rowR : NULL, w->DR, &sum[2]);
  bool given = laneT && laneX;
  if (laneT) sum[0] = t.total;
  if (laneX) sum[1] = x.total;
  if (which & MM_T) D[k] = w->DT, id[k++] = RHO_T;
  if (which & MM_X) {
    D[k] = w->DX, id[k++] = RHO_X;
    if (w->phyl) {
      LaneMatrix p;
      if (LanesOrGeneral(w, in->nTaxa, w->P, w->DP, w->code, w->colsT, &p))
        CommunityDistances(n, &p, NULL, NULL, NULL, &spare);
      D[k] = w->DP, id[k++] = RHO_P;
    }
  }
  if (which & MM_R) {
    if (!drDone) given &= EntropyDistancesOf(w, w->R, w->DR, &sum[2]);
    D[k] = w->DR, id[k++] = RHO_R;
    if (w->phyl) {
      EntropyDistancesOf(w, w->Rp, w->DRp, &spare);
      D[k] = w->DRp, id[k++] = RHO_RP;
    }
  }
  given &= which == (MM_T | MM_X | MM_R);
  if (!w->prepared || k == 0 || (tryFused && FusedRho(w, given, sum))) return;
  double* centred[5];
  double ss[5];
  bool ok[5];
  for (int m = 0; m < k; m++) centred[m] = w->cen[id[m]];
  MatrixCorrPrepareMany(n, k, D, centred, ss, ok);
  for (int m = 0; m < k; m++) {
    w->ss[id[m]] = ss[m];
    w->ok[id[m]] = ok[m];
  }
}

// r(TE), r(YT), r(ZT) of the present T (with Mantel, on DT).
static void StatsT(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  if (w->mantel) {
    const int b[3] = {RHO_E, RHO_Y, RHO_Z};
    double** const B[3] = {in->DE, in->DY, in->DZ};
    double r[3];
    if (w->fused)
      memcpy(r, w->fusedRho[0], sizeof(r));
    else
      RhoMany(w, RHO_T, w->DT, 3, b, B, r);
    w->stat[PT_rTE] = r[0];
    w->stat[PT_rYT] = r[1];
    w->stat[PT_rZT] = r[2];
  } else {
    CoefNewArrangement(&w->coef);
    CoefStatsT(&w->coef, w->T, w->stat);
  }
}

// Statistics of X and P, given those of T: 1, 3, 8 to 11, and 14 to 22.
static void StatsXP(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  double* s = w->stat;
  if (w->mantel) {
    const int b[4] = {RHO_E, RHO_T, RHO_Y, RHO_Z};
    double** const B[4] = {in->DE, w->DT, in->DY, in->DZ};
    double r[4];
    if (w->fused)
      memcpy(r, w->fusedRho[1], sizeof(r));
    else
      RhoMany(w, RHO_X, w->DX, 4, b, B, r);
    s[PT_rXE] = r[0];
    w->rXT = r[1];
    s[PT_roXY] = r[2];
    s[PT_roXZ] = r[3];
    s[PT_rXE_T] = PartialCorrelation(s[PT_rXE], w->rXT, s[PT_rTE]);
    s[PT_roXY_T] = PartialCorrelation(s[PT_roXY], w->rXT, s[PT_rYT]);
    s[PT_roXZ_T] = PartialCorrelation(s[PT_roXZ], w->rXT, s[PT_rZT]);
    if (!w->phyl) return;
    const int bp[3] = {RHO_E, RHO_T, RHO_X};
    double** const BP[3] = {in->DE, w->DT, w->DX};
    RhoMany(w, RHO_P, w->DP, 3, bp, BP, r);
    s[PT_roPE] = r[0];
    s[PT_roPT] = r[1];
    s[PT_roPX] = r[2];
    s[PT_roPX_T] = PartialCorrelation(s[PT_roPX], s[PT_roPT], w->rXT);
    s[PT_roTE_P] = PartialCorrelation(s[PT_rTE], s[PT_roPT], s[PT_roPE]);
    s[PT_roXE_P] = PartialCorrelation(s[PT_rXE], s[PT_roPX], s[PT_roPE]);
    double roXT_P = PartialCorrelation(w->rXT, s[PT_roPX], s[PT_roPT]);
    s[PT_roXE_TP] = PartialCorrelation(s[PT_roXE_P], roXT_P, s[PT_roTE_P]);
    s[PT_roPE_T] = PartialCorrelation(s[PT_roPE], s[PT_roPT], s[PT_rTE]);
    s[PT_roPE_X] = PartialCorrelation(s[PT_roPE], s[PT_roPX], s[PT_rXE]);
    return;
  }
  CoefStatsXP(&w->coef, w->T, w->X, w->P, s, &w->rXT);
}

// Statistics of the Rao entropies, given those of T and X: 4, 5 and 13.
static void StatsR(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  double* s = w->stat;
  if (w->mantel) {
    const int b[3] = {RHO_E, RHO_X, RHO_T};
    double** const B[3] = {in->DE, w->DX, w->DT};
    double r[3];
    if (w->fused)
      memcpy(r, w->fusedRho[2], sizeof(r));
    else
      RhoMany(w, RHO_R, w->DR, 3, b, B, r);
    s[PT_rRE] = r[0];
    w->rXR = r[1];
    w->rTR = r[2];
    if (w->phyl) {
      RhoMany(w, RHO_RP, w->DRp, 1, b, B, r);
      s[PT_rFE] = r[0];
    }
    w->rXE_R = PartialCorrelation(s[PT_rXE], w->rXR, s[PT_rRE]);
    w->rTE_R = PartialCorrelation(s[PT_rTE], w->rTR, s[PT_rRE]);
    w->rXT_R = PartialCorrelation(w->rXT, w->rXR, w->rTR);
    s[PT_rXE_TR] = PartialCorrelation(w->rXE_R, w->rXT_R, w->rTE_R);
    return;
  }
  // c(X, R), c(T, R) and the partials made of them are printed only in the
  // intermediate file, with Procrustes and RV.
  bool detail = in->saveDetail && in->detailFile;
  CoefStatsR(&w->coef, w->T, w->R, w->Rp, s, detail ? &w->rXR : NULL, detail ? &w->rTR : NULL);
  if (!detail) return;
  w->rXE_R = PartialCorrelation(s[PT_rXE], w->rXR, s[PT_rRE]);
  w->rTE_R = PartialCorrelation(s[PT_rTE], w->rTR, s[PT_rRE]);
  w->rXT_R = PartialCorrelation(w->rXT, w->rXR, w->rTR);
}

// Rao entropies of every community on the OTU resemblances given.
static void RaoAll(PermWork* w, double** Sb, double** Sf) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  for (int c = 0; c < w->n; c++) {
    w->R[c][0] = RaoIndex_Weight(in->nOTUs, in->W[c], Sb, false, in->sqrtDissimTraits, in->weightOTUs,
                                 in->restrictRao);
    if (w->phyl)
      w->Rp[c][0] = RaoIndex_Weight(in->nOTUs, in->W[c], Sf, in->phylogenyIsDissimilarity,
                                    in->sqrtDissimPhyl, in->weightOTUs, in->restrictRao);
  }
}

// Adds 1 to the count of statistic k when the random value is at least as
// extreme as the observed one; partial statistics always in absolute value.
static void Count(PermWork* w, const double* stat, const double* observed, int k, bool partial) {
  bool absolute = partial || w->in->twoTailed;
  if (IsLargerThanOrEqual(stat[k], observed[k], 1, absolute)) w->count[k] += 1.0;
}

// ---------------------------------------------------------------------------
// Setup and release

static double** PointerRows(int n) { return (double**)dim1D(sizeof(double*), n > 0 ? n : 1); }

int WeightedOTUListLength(int nOTUs, int nCommunities, double** W) {
  int L = 0;
  for (int c = 0; c < nCommunities; c++)
    for (int i = 0; i < nOTUs; i++)
      if (W[c][i] > 0.0) L++;
  if (L == 0) return 0;
  int passes = (nOTUs + L - 1) / L;
  return L * (passes > 1 ? passes : 1);
}

void FillWeightedOTUList(int nOTUs, int nCommunities, double** W, int* list, int length) {
  int k = 0;
  while (k < length)
    for (int c = 0; c < nCommunities; c++)
      for (int i = 0; i < nOTUs; i++)
        if (W[c][i] > 0.0 && k < length) list[k++] = i + 1;
}

// cols columns of n values in one block, column k at row pointer k.
static double** ColumnBlock(int cols, int n) {
  if (cols < 1) cols = 1;
  double** c = PointerRows(cols);
  c[0] = (double*)dim1D(sizeof(double) * (unsigned long)cols, n);
  for (int k = 1; k < cols; k++) c[k] = c[0] + (long)k * n;
  return c;
}

static void AllocWork(PermWork* w, PermTest_FunctionalPhyl_Correl_Input* in) {
  memset(w, 0, sizeof(*w));
  w->in = in;
  w->n = in->nCommunities;
  w->mantel = in->opt_ro == 1;
  w->taxa = in->taxaSiteShuffle != 's' && in->taxaSiteShuffle != 'S';
  w->phyl = in->includePhylogeny;
  w->code = TranslateReseOpt_KOLVEN_DARVOL(in->rese_opt);
  int n = w->n, nO = in->nOTUs;
  int weightedLength = (w->taxa && in->weightedNullModel) ? WeightedOTUListLength(nO, n, in->W) : 0;
  if (w->taxa) {
    w->listLength = weightedLength > 0 ? weightedLength : nO;
    w->listSize = w->listLength > nO ? w->listLength : (nO > 0 ? nO : 1);
    w->list = dim1Dint(w->listSize);
    if (weightedLength > 0)
      FillWeightedOTUList(nO, n, in->W, w->list, weightedLength);
    else
      for (int i = 0; i < nO; i++) w->list[i] = i + 1;
  } else {
    w->listLength = n;
    w->listSize = n > 0 ? n : 1;
    w->list = dim1Dint(w->listSize);
    for (int c = 0; c < n; c++) w->list[c] = c + 1;
  }
  w->T = dim2Double(n, in->nTraits);
  w->X = dim2Double(n, in->nTypes);
  w->R = dim2Double(n, 1);
  w->Tobs = dim2Double(n, in->nTraits);
  w->Xobs = dim2Double(n, in->nTypes);
  w->Robs = dim2Double(n, 1);
  if (w->phyl) {
    w->P = dim2Double(n, in->nTaxa);
    w->Rp = dim2Double(n, 1);
    w->Pobs = dim2Double(n, in->nTaxa);
    w->Rpobs = dim2Double(n, 1);
    w->Bnorm = dim2Double(nO, in->nTraits);
  }
  if (w->taxa) {
    w->Brnd = PointerRows(nO);
    w->Urnd = PointerRows(nO);
    w->Srnd = dim2Double(nO, nO);
    if (w->phyl) {
      w->Qrnd = PointerRows(nO);
      w->Sfrnd = dim2Double(nO, nO);
      w->scoresRnd = PointerRows(nO);
    }
  }
  if (w->mantel) {
    w->DT = dim2Double(n, n);
    w->DX = dim2Double(n, n);
    w->DR = dim2Double(n, n);
    if (w->phyl) {
      w->DP = dim2Double(n, n);
      w->DRp = dim2Double(n, n);
    }
  }
  w->prepared = w->mantel && n >= 3 && n <= 46340 && !permTestPlainLoops;
  if (w->mantel && !permTestPlainLoops && n > 0) {
    int cols = in->nTraits > in->nTypes ? in->nTraits : in->nTypes;
    if (w->phyl && in->nTaxa > cols) cols = in->nTaxa;
    w->colsT = ColumnBlock(cols, n);
    w->colsX = ColumnBlock(in->nTypes, n);
    w->rowR = dim1Double(n);
  }
  if (w->prepared) {
    w->pairs = (long)n * (n - 1) / 2;
    for (int k = 0; k < N_RHO_MATRICES; k++) w->cen[k] = dim1Double(w->pairs);
    PrepareRho(w, RHO_E, in->DE);
    PrepareRho(w, RHO_Y, in->DY);
    PrepareRho(w, RHO_Z, in->DZ);
    // Their pairs side by side, as the products of an iteration read them.
    w->eyze = dim1Double(4 * w->pairs);
    for (long p = 0; p < w->pairs; p++) {
      w->eyze[4 * p] = w->eyze[4 * p + 3] = w->cen[RHO_E][p];
      w->eyze[4 * p + 1] = w->cen[RHO_Y][p];
      w->eyze[4 * p + 2] = w->cen[RHO_Z][p];
    }
  }
  if (in->saveDetail && in->detailFile) {
    int side = n > nO ? n : nO;
    w->printWork = dim2Double(side, side > 0 ? side : 1);
  }
  // Every observed statistic; the iterations may leave some out.
  if (!w->mantel) CoefWorkAlloc(&w->coef, in, true);
}

static void FreeWork(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  free1D(w->list);
  free2D(w->T, n);
  free2D(w->X, n);
  free2D(w->R, n);
  free2D(w->Tobs, n);
  free2D(w->Xobs, n);
  free2D(w->Robs, n);
  if (w->phyl) {
    free2D(w->P, n);
    free2D(w->Rp, n);
    free2D(w->Pobs, n);
    free2D(w->Rpobs, n);
    free2D(w->Bnorm, nO);
  }
  if (w->taxa) {
    free1D(w->Brnd);
    free1D(w->Urnd);
    free2D(w->Srnd, nO);
    if (w->phyl) {
      free1D(w->Qrnd);
      free2D(w->Sfrnd, nO);
      free1D(w->scoresRnd);
    }
  }
  if (w->mantel) {
    free2D(w->DT, n);
    free2D(w->DX, n);
    free2D(w->DR, n);
    if (w->phyl) {
      free2D(w->DP, n);
      free2D(w->DRp, n);
    }
  }
  if (w->prepared) {
    for (int k = 0; k < N_RHO_MATRICES; k++) free1D(w->cen[k]);
    free1D(w->eyze);
  }
  if (w->colsT) {
    free1D(w->colsT[0]);
    free1D(w->colsT);
    free1D(w->colsX[0]);
    free1D(w->colsX);
    free1D(w->rowR);
  }
  if (w->printWork) {
    int side = n > nO ? n : nO;
    free2D(w->printWork, side);
  }
  if (!w->mantel) CoefWorkFree(&w->coef);
}

// ---------------------------------------------------------------------------
// Occurrences

static bool AbundancesUsable(int rows, int cols, double** W) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) {
      double x = W[i][j];
      if (x != -999.0 && !(std::isfinite(x) && x >= 0.0)) return false;
    }
  return true;
}

// Finite values (and, with missingAllowed, -999): a zero factor then gives 0.
static bool FiniteMatrix(int rows, int cols, double** m, bool missingAllowed) {
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) {
      double x = m[i][j];
      if (x == -999.0 ? !missingAllowed : !std::isfinite(x)) return false;
    }
  return true;
}

// The distance d that the Rao entropy takes from each entry s of S: 1 - s,
// sqrt(1 - s), s or sqrt(s) by the flags, the same expressions, so the same
// bits, as in the entropy itself; -999 stays -999. Computed once here, the
// iterations hand these distances over as dissimilarities without a root.
// False, and the iterations keep the plain path, when some distance isn't
// finite (a zero abundance would then not add an exact 0) or would read as
// the missing value.
static bool RaoDistances(int n, double** S, bool isDissimilarity, bool sqrtDissim, double** D) {
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) {
      double x = S[i][j];
      if (x == -999.0) {
        D[i][j] = x;
        continue;
      }
      double d = isDissimilarity ? (sqrtDissim ? sqrt(x) : x) : (sqrtDissim ? sqrt(1.0 - x) : 1.0 - x);
      if (!std::isfinite(d) || d == -999.0) return false;
      D[i][j] = d;
    }
  return true;
}

// Every entry finite, not -999, and equal to its mirror image.
static bool SymmetricDistances(int n, double** D) {
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++)
      if (D[i][j] == -999.0 || !std::isfinite(D[i][j]) || D[i][j] != D[j][i]) return false;
  return true;
}

// The lanes of the Rao entropies, when every term is a plain product: no
// -999 among the distances or abundances, no weight other than 1, finite
// totals. A padded term is then an exact zero, and a sum that starts at +0
// is never -0, so adding it changes no bit of the entropy.
static void SetupRaoLanes(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  if (!SymmetricDistances(nO, w->Db) || (w->phyl && !SymmetricDistances(nO, w->Df))) return;
  int total = w->occStart[n];
  for (int k = 0; k < total; k++)
    if (w->occW[k] == -999.0 || (in->weightOTUs && w->occWeight[k] != 1)) return;
  for (int c = 0; c < n; c++) {
    double sum = 0.0;
    for (int k = w->occStart[c]; k < w->occStart[c + 1]; k++) sum += w->occW[k];
    if (!std::isfinite(sum)) return;
  }
  // Communities by decreasing occurrences (insertion sort: once per test).
  int* order = dim1Dint(n > 0 ? n : 1);
  for (int c = 0; c < n; c++) {
    int m = w->occStart[c + 1] - w->occStart[c], k = c;
    while (k > 0 && w->occStart[order[k - 1] + 1] - w->occStart[order[k - 1]] < m) {
      order[k] = order[k - 1];
      k--;
    }
    order[k] = c;
  }
  w->nGroups = (n + RAO_LANES - 1) / RAO_LANES;
  w->laneStart = dim1Dint(w->nGroups + 1);
  w->laneComm = dim1Dint(w->nGroups * RAO_LANES > 0 ? w->nGroups * RAO_LANES : 1);
  int size = 0;
  for (int g = 0; g < w->nGroups; g++) {
    int c = order[g * RAO_LANES];
    w->laneStart[g] = size;
    size += RAO_LANES * (w->occStart[c + 1] - w->occStart[c]);
  }
  w->laneStart[w->nGroups] = size;
  w->laneQ = dim1Double(size > 0 ? size : 1);
  w->laneOTU = dim1Dint(size > 0 ? size : 1);
  for (int g = 0; g < w->nGroups; g++) {
    for (int L = 0; L < RAO_LANES; L++) {
      int slot = g * RAO_LANES + L;
      int c = slot < n ? order[slot] : -1;
      w->laneComm[slot] = c;
      if (c < 0) continue;
      int s = w->occStart[c], m = w->occStart[c + 1] - s;
      // The entropy's own total and shares, in its order.
      double sum = 0.0;
      for (int x = 0; x < m; x++) sum += w->occW[s + x];
      for (int x = 0; x < m; x++) {
        w->laneQ[w->laneStart[g] + RAO_LANES * x + L] = w->occW[s + x] / sum;
        w->laneOTU[w->laneStart[g] + RAO_LANES * x + L] = w->occOTU[s + x];
      }
    }
  }
  free1D(order);
  int side = RAO_LANES * (w->maxOcc > 0 ? w->maxOcc : 1);
  w->laneRow = PointerRows(side);
  w->laneCol = dim1Dint(side);
  if (nO <= 65536) w->laneCol16 = (uint16_t*)dim1D(sizeof(uint16_t), side);
  w->raoLanes = true;
}

// B and U side by side for ProductsTX, padded to whole vectors of four.
static void SetupBU(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int nO = in->nOTUs, nT = in->nTraits, nY = in->nTypes;
  w->colsBU = (nT + nY + 3) / 4 * 4;
  w->BU = dim2Double(nO, w->colsBU);
  w->rowTX = dim1Double(w->colsBU);
  for (int i = 0; i < nO; i++) {
    memcpy(w->BU[i], in->B[i], sizeof(double) * nT);
    memcpy(w->BU[i] + nT, in->U[i], sizeof(double) * nY);
  }
}

// Lists the occurrences of every community and decides which sums may skip
// the zero abundances; Sb and Sf are read after the observed entropies have
// made them symmetric.
static void SetupOccurrences(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  if (!w->taxa || permTestPlainLoops || !AbundancesUsable(n, nO, in->W)) return;
  w->compactT = FiniteMatrix(nO, in->nTraits, in->B, true);
  w->compactXP = FiniteMatrix(nO, in->nTypes, in->U, false) &&
                 (!w->phyl || FiniteMatrix(nO, in->nTaxa, in->Q, false));
  w->Db = dim2Double(nO, nO);
  if (w->phyl) w->Df = dim2Double(nO, nO);
  w->compactR = RaoDistances(nO, in->Sb, false, in->sqrtDissimTraits, w->Db) &&
                (!w->phyl || RaoDistances(nO, in->Sf, in->phylogenyIsDissimilarity, in->sqrtDissimPhyl, w->Df));
  if (!w->compactT && !w->compactXP && !w->compactR) return;
  int total = 0;
  for (int c = 0; c < n; c++)
    for (int i = 0; i < nO; i++)
      if (in->W[c][i] != 0.0) total++;
  w->occStart = dim1Dint(n + 1);
  w->occOTU = dim1Dint(total > 0 ? total : 1);
  w->occW = dim1Double(total > 0 ? total : 1);
  w->occWeight = dim1Dint(total > 0 ? total : 1);
  int k = 0;
  for (int c = 0; c < n; c++) {
    w->occStart[c] = k;
    for (int i = 0; i < nO; i++)
      if (in->W[c][i] != 0.0) {
        w->occOTU[k] = i;
        w->occW[k] = in->W[c][i];
        w->occWeight[k] = in->weightOTUs ? in->weightOTUs[i] : 1;
        k++;
      }
    if (k - w->occStart[c] > w->maxOcc) w->maxOcc = k - w->occStart[c];
  }
  w->occStart[n] = k;
  w->plainTerms = true;
  for (int x = 0; x < k; x++)
    if (w->occW[x] == -999.0 || (in->weightOTUs && w->occWeight[x] != 1)) w->plainTerms = false;
  w->plainB = FiniteMatrix(nO, in->nTraits, in->B, false);
  if (w->compactT && w->compactXP && w->plainTerms && w->plainB) SetupBU(w);
  w->rowsSub = PointerRows(nO);
  if (w->compactR) w->Ssub = dim2Double(w->maxOcc > 0 ? w->maxOcc : 1, w->maxOcc > 0 ? w->maxOcc : 1);
  if (w->compactR) SetupRaoLanes(w);
}

static void FreeOccurrences(PermWork* w) {
  int nO = w->in->nOTUs;
  if (w->Db) free2D(w->Db, nO);
  if (w->Df) free2D(w->Df, nO);
  if (!w->occStart) return;
  free1D(w->occStart);
  free1D(w->occOTU);
  free1D(w->occW);
  free1D(w->occWeight);
  free1D(w->rowsSub);
  if (w->BU) {
    free2D(w->BU, nO);
    free1D(w->rowTX);
  }
  if (w->Ssub) free2D(w->Ssub, w->maxOcc > 0 ? w->maxOcc : 1);
  if (!w->raoLanes) return;
  free1D(w->laneStart);
  free1D(w->laneComm);
  free1D(w->laneQ);
  free1D(w->laneOTU);
  free1D(w->laneRow);
  free1D(w->laneCol);
  if (w->laneCol16) free1D(w->laneCol16);
}

// A thread's own work: what an iteration writes is allocated anew, at the
// sizes of w's; what it only reads (the inputs, the observed matrices, the
// occurrences, the lanes' shares, the prepared E, Y and Z) is shared.
static void CloneWork(PermWork* t, const PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  *t = *w;
  t->list = NULL;
  t->printWork = NULL;
  t->T = dim2Double(n, in->nTraits);
  t->X = dim2Double(n, in->nTypes);
  t->R = dim2Double(n, 1);
  if (w->P) t->P = dim2Double(n, in->nTaxa);
  if (w->Rp) t->Rp = dim2Double(n, 1);
  if (w->Brnd) t->Brnd = PointerRows(nO);
  if (w->Urnd) t->Urnd = PointerRows(nO);
  if (w->Qrnd) t->Qrnd = PointerRows(nO);
  if (w->scoresRnd) t->scoresRnd = PointerRows(nO);
  if (w->Srnd) t->Srnd = dim2Double(nO, nO);
  if (w->Sfrnd) t->Sfrnd = dim2Double(nO, nO);
  double*** square[] = {&t->DT, &t->DX, &t->DP, &t->DR, &t->DRp};
  for (double*** d : square)
    if (*d) *d = dim2Double(n, n);
  if (w->colsT) {
    int cols = in->nTraits > in->nTypes ? in->nTraits : in->nTypes;
    if (w->phyl && in->nTaxa > cols) cols = in->nTaxa;
    t->colsT = ColumnBlock(cols, n);
    t->colsX = ColumnBlock(in->nTypes, n);
    t->rowR = dim1Double(n);
  }
  if (w->prepared)
    for (int k = RHO_T; k < N_RHO_MATRICES; k++) t->cen[k] = dim1Double(w->pairs);
  if (w->rowsSub) t->rowsSub = PointerRows(nO);
  if (w->rowTX) t->rowTX = dim1Double(w->colsBU);
  if (w->Ssub) t->Ssub = dim2Double(w->maxOcc > 0 ? w->maxOcc : 1, w->maxOcc > 0 ? w->maxOcc : 1);
  if (w->raoLanes) {
    int side = RAO_LANES * (w->maxOcc > 0 ? w->maxOcc : 1);
    t->laneRow = PointerRows(side);
    t->laneCol = dim1Dint(side);
    if (w->laneCol16) t->laneCol16 = (uint16_t*)dim1D(sizeof(uint16_t), side);
  }
  if (!w->mantel) CoefWorkAlloc(&t->coef, in, w->coef.smoothed);
}

static void FreeClone(PermWork* t) {
  int n = t->n, nO = t->in->nOTUs;
  free2D(t->T, n);
  free2D(t->X, n);
  free2D(t->R, n);
  if (t->P) free2D(t->P, n);
  if (t->Rp) free2D(t->Rp, n);
  void* pointers[] = {t->Brnd, t->Urnd, t->Qrnd, t->scoresRnd, t->rowR, t->rowsSub, t->rowTX, t->laneRow,
                      t->laneCol, t->laneCol16};
  for (void* p : pointers)
    if (p) free1D(p);
  if (t->Srnd) free2D(t->Srnd, nO);
  if (t->Sfrnd) free2D(t->Sfrnd, nO);
  double** square[] = {t->DT, t->DX, t->DP, t->DR, t->DRp};
  for (double** d : square)
    if (d) free2D(d, n);
  if (t->colsT) {
    free1D(t->colsT[0]);
    free1D(t->colsT);
    free1D(t->colsX[0]);
    free1D(t->colsX);
  }
  if (t->prepared)
    for (int k = RHO_T; k < N_RHO_MATRICES; k++) free1D(t->cen[k]);
  if (t->Ssub) free2D(t->Ssub, t->maxOcc > 0 ? t->maxOcc : 1);
  if (!t->mantel) CoefWorkFree(&t->coef);
}

// out[c] = W[c] times the permuted rows of `from`, over the occurrences of c.
// With plain terms (no -999 on either side, every weight 1) each entry is
// the product's sum of abundance times value, term by term in the same
// order.
static void OccurrenceProducts(PermWork* w, double** from, int cols, double** out, int* mask, bool plain) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  if (plain) {
    for (int c = 0; c < w->n; c++) {
      int s = w->occStart[c], m = w->occStart[c + 1] - s;
      for (int x = 0; x < m; x++) w->rowsSub[x] = from[w->list[w->occOTU[s + x]] - 1];
      double* o = out[c];
      OccurrenceRowProducts(m, w->occW + s, w->rowsSub, cols, o);
      if (mask)
        for (int j = 0; j < cols; j++)
          if (mask[j] != 1) o[j] = 0.0;
    }
    return;
  }
  for (int c = 0; c < w->n; c++) {
    int s = w->occStart[c], m = w->occStart[c + 1] - s;
    for (int x = 0; x < m; x++) w->rowsSub[x] = from[w->list[w->occOTU[s + x]] - 1];
    double* abundances = w->occW + s;
    int* weights = in->weightOTUs ? w->occWeight + s : NULL;
    if (mask)
      MatrixProdSelectMV_Weight(1, m, m, cols, &abundances, w->rowsSub, &out[c], mask, weights);
    else
      MatrixProdMV_Weight(1, m, m, cols, &abundances, w->rowsSub, &out[c], weights);
  }
}

// RaoIndex_Weight of the communities of group g, lane by lane: for each the
// sum over i, then j, of q_i (q_j d_ij) with q the shares, the entropy's
// terms in its order (the distances are symmetric, so the mirrored lower
// triangle it reads is the same).
static void LaneRao(PermWork* w, int g, double** D, double** out) {
  const int* list = w->list;
  int base = w->laneStart[g], M = (w->laneStart[g + 1] - base) / RAO_LANES;
  for (int k = 0; k < RAO_LANES * M; k++) {
    int o = list[w->laneOTU[base + k]] - 1;
    if (w->laneCol16)
      w->laneCol16[k] = (uint16_t)o;
    else
      w->laneCol[k] = o;
    w->laneRow[k] = D[o];
  }
  double sums[RAO_LANES];
  if (w->laneCol16)
    RaoLaneSums(M, w->laneQ + base, w->laneRow, w->laneCol16, sums);
  else
    RaoLaneSums(M, w->laneQ + base, w->laneRow, w->laneCol, sums);
  for (int L = 0; L < RAO_LANES; L++)
    if (w->laneComm[g * RAO_LANES + L] >= 0) out[w->laneComm[g * RAO_LANES + L]][0] = sums[L];
}

// Rao entropy of every community on the permuted distances D, over its
// occurrences.
static void OccurrenceRao(PermWork* w, double** D, double** out) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  if (w->raoLanes) {
    for (int g = 0; g < w->nGroups; g++) LaneRao(w, g, D, out);
    return;
  }
  const int* list = w->list;
  for (int c = 0; c < w->n; c++) {
    int s = w->occStart[c], m = w->occStart[c + 1] - s;
    for (int x = 0; x < m; x++) {
      const double* row = D[list[w->occOTU[s + x]] - 1];
      double* to = w->Ssub[x];
      for (int y = x; y < m; y++) to[y] = row[list[w->occOTU[s + y]] - 1];
    }
    int* weights = in->weightOTUs ? w->occWeight + s : NULL;
    out[c][0] = RaoIndex_Weight(m, w->occW + s, w->Ssub, true, false, weights, in->restrictRao);
  }
}

// ---------------------------------------------------------------------------
// The two phases

static void ObservedPhase(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  MatrixProdSelectMV_Weight(n, nO, nO, in->nTraits, in->W, in->B, w->T, in->traitMask, in->weightOTUs);
  if (in->keepObserved && in->Tout) CopyMatrix(n, in->nTraits, w->T, in->Tout);
  NormalizeCols(n, in->nTraits, w->T, w->T);
  MantelMatrices(w, MM_T, false);
  StatsT(w);
  CopyMatrix(n, in->nTraits, w->T, w->Tobs);
  if (in->keepObserved && in->Tout) CopyMatrix(n, in->nTraits, w->T, in->Tout);
  MatrixProdMV_Weight(n, nO, nO, in->nTypes, in->W, in->U, w->X, in->weightOTUs);
  CopyMatrix(n, in->nTypes, w->X, w->Xobs);
  if (in->keepObserved && in->Xout) CopyMatrix(n, in->nTypes, w->X, in->Xout);
  if (w->phyl) {
    MatrixProdMV_Weight(n, nO, nO, in->nTaxa, in->W, in->Q, w->P, in->weightOTUs);
    CopyMatrix(n, in->nTaxa, w->P, w->Pobs);
    if (in->keepObserved && in->Pout) CopyMatrix(n, in->nTaxa, w->P, in->Pout);
    NormalizeCols(nO, in->nTraits, in->B, w->Bnorm);
    if (w->mantel) {
      w->stat[PT_roBF] = MatrixCorr(nO, in->Sb, in->Sf);
      if (in->phylogenyIsDissimilarity) w->stat[PT_roBF] = -w->stat[PT_roBF];
    } else {
      w->stat[PT_roBF] = CoefRows(w, nO, w->Bnorm, in->nTraits, in->pcoaScores, in->nPCoAAxes);
    }
  }
  MantelMatrices(w, MM_X, false);
  StatsXP(w);
  if (in->saveDetail && in->detailFile) DetailPointA(w);
  RaoAll(w, in->Sb, in->Sf);
  CopyMatrix(n, 1, w->R, w->Robs);
  if (in->keepObserved && in->Rout)
    for (int c = 0; c < n; c++) in->Rout[c] = w->R[c][0];
  if (w->phyl) {
    CopyMatrix(n, 1, w->Rp, w->Rpobs);
    if (in->keepObserved && in->RpOut)
      for (int c = 0; c < n; c++) in->RpOut[c] = w->Rp[c][0];
  }
  MantelMatrices(w, MM_R, false);
  StatsR(w);
  if (in->saveDetail && in->detailFile) DetailPointB(w);
}

// A new order of the OTUs in list for the next iteration, from the one
// generator; the site shuffle keeps its identity list and draws nothing.
static void NewList(PermWork* w, int* list) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  if (!w->taxa) return;
  if (in->weightedNullModel)
    RndListSpecified(w->listLength, list);
  else if (in->restrictPermutations == 1 && in->nestingMembership)
    RndListNestedNew(in->nOTUs, in->nestingMembership, 1, list);
  else
    RndListSpecified(in->nOTUs, list);
}

// m[a][b] = from[list[a]-1][list[b]-1], both triangles.
static void PermuteSquare(int n, const int* list, double** from, double** m) {
  for (int a = 0; a < n; a++) {
    const double* row = from[list[a] - 1];
    double* to = m[a];
    for (int b = 0; b < n; b++) to[b] = row[list[b] - 1];
  }
}

// T and X of the arrangement from BU: each entry the sum of abundance
// times value over the occurrences, in their order, as OccurrenceProducts
// makes it; T's columns outside the trait mask are 0.
static void ProductsTX(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int nT = in->nTraits, nY = in->nTypes;
  for (int c = 0; c < w->n; c++) {
    int s = w->occStart[c], m = w->occStart[c + 1] - s;
    for (int x = 0; x < m; x++) w->rowsSub[x] = w->BU[w->list[w->occOTU[s + x]] - 1];
    OccurrenceRowProducts(m, w->occW + s, w->rowsSub, w->colsBU, w->rowTX);
    for (int j = 0; j < nT; j++) w->T[c][j] = (in->traitMask && in->traitMask[j] != 1) ? 0.0 : w->rowTX[j];
    memcpy(w->X[c], w->rowTX + nT, sizeof(double) * nY);
  }
}

static void RandomT(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  if (w->taxa) {
    for (int k = 0; k < nO; k++) w->Brnd[k] = in->B[w->list[k] - 1];
    // The random T is not normalised although the observed one is: intended,
    // the probabilities depend on it.
    if (w->BU)
      ProductsTX(w);  // X as well
    else if (w->compactT)
      OccurrenceProducts(w, in->B, in->nTraits, w->T, in->traitMask, w->plainTerms && w->plainB);
    else
      MatrixProdSelectMV_Weight(n, nO, nO, in->nTraits, in->W, w->Brnd, w->T, in->traitMask, in->weightOTUs);
  } else {
    for (int k = 0; k < n; k++) memcpy(w->T[k], w->Tobs[w->list[k] - 1], sizeof(double) * in->nTraits);
  }
}

static void RandomXP(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  if (w->taxa) {
    for (int k = 0; k < nO; k++) w->Urnd[k] = in->U[w->list[k] - 1];
    // With BU, X was made along with T.
    if (!w->BU && w->compactXP)
      OccurrenceProducts(w, in->U, in->nTypes, w->X, NULL, w->plainTerms);
    else if (!w->BU)
      MatrixProdMV_Weight(n, nO, nO, in->nTypes, in->W, w->Urnd, w->X, in->weightOTUs);
    if (w->phyl) {
      for (int k = 0; k < nO; k++) w->Qrnd[k] = in->Q[w->list[k] - 1];
      if (w->compactXP)
        OccurrenceProducts(w, in->Q, in->nTaxa, w->P, NULL, w->plainTerms);
      else
        MatrixProdMV_Weight(n, nO, nO, in->nTaxa, in->W, w->Qrnd, w->P, in->weightOTUs);
    }
  } else {
    for (int k = 0; k < n; k++) memcpy(w->X[k], w->Xobs[w->list[k] - 1], sizeof(double) * in->nTypes);
    if (w->phyl)
      for (int k = 0; k < n; k++) memcpy(w->P[k], w->Pobs[w->list[k] - 1], sizeof(double) * in->nTaxa);
  }
}

// Rao entropies on the permuted OTU resemblances, and the random ro(BF).
// Under the site shuffle the OTUs keep their order, so ro(BF) has no random
// value: the arrangement is the observed one, and it counts as such.
static void RandomR(PermWork* w) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int n = w->n, nO = in->nOTUs;
  if (!w->taxa) {
    for (int c = 0; c < n; c++) {
      w->R[c][0] = w->Robs[w->list[c] - 1][0];
      if (w->phyl) w->Rp[c][0] = w->Rpobs[w->list[c] - 1][0];
    }
    return;
  }
  const int* list = w->list;
  bool detail = in->saveDetail && in->detailFile;
  if (!w->compactR || detail) PermuteSquare(nO, list, in->Sb, w->Srnd);
  if (w->phyl) {
    PermuteSquare(nO, list, in->Sf, w->Sfrnd);
    if (w->mantel) {
      // No sign change here, unlike the observed value; intended.
      w->stat[PT_roBF] = MatrixCorr(nO, in->Sb, w->Sfrnd);
    } else {
      for (int a = 0; a < nO; a++) w->scoresRnd[a] = in->pcoaScores[list[a] - 1];
      w->stat[PT_roBF] = CoefRows(w, nO, w->Bnorm, in->nTraits, w->scoresRnd, in->nPCoAAxes);
    }
  }
  if (!w->compactR) {
    RaoAll(w, w->Srnd, w->Sfrnd);
    return;
  }
  OccurrenceRao(w, w->Db, w->R);
  if (w->phyl) OccurrenceRao(w, w->Df, w->Rp);
}

// Everything random of the arrangement in w->list, and its statistics in
// w->stat. Reads the shared inputs and writes only w's own arrays.
static void Evaluate(PermWork* w) {
  // Each arrangement's T, X, P and entropies first, so that their
  // resemblance matrices are prepared together.
  RandomT(w);
  RandomXP(w);
  RandomR(w);
  MantelMatrices(w, MM_T | MM_X | MM_R, true);
  StatsT(w);
  StatsXP(w);
  StatsR(w);
}

// Counts iteration i, whose statistics are stat, into w's running counts;
// with the intermediate file, prints it from w, which has just evaluated it.
// The counts of each point are made before its lines, which print them.
static void CountIteration(PermWork* w, const double* stat, const double* observed, int i, bool detail) {
  Count(w, stat, observed, PT_rTE, false);
  Count(w, stat, observed, PT_rYT, false);
  Count(w, stat, observed, PT_rZT, false);
  if (detail) DetailPointC(w, i);
  Count(w, stat, observed, PT_rXE, false);
  Count(w, stat, observed, PT_rXE_T, true);
  Count(w, stat, observed, PT_roXY, false);
  Count(w, stat, observed, PT_roXZ, false);
  Count(w, stat, observed, PT_roXY_T, true);
  Count(w, stat, observed, PT_roXZ_T, true);
  if (w->phyl) {
    Count(w, stat, observed, PT_roPE, false);
    Count(w, stat, observed, PT_roPT, false);
    Count(w, stat, observed, PT_roPX, false);
    for (int k = PT_roPX_T; k <= PT_roPE_X; k++) Count(w, stat, observed, k, true);
  }
  if (detail) DetailPointD(w, i);
  Count(w, stat, observed, PT_rRE, false);
  if (w->phyl) {
    Count(w, stat, observed, PT_rFE, false);
    if (w->taxa)
      Count(w, stat, observed, PT_roBF, false);
    else
      w->count[PT_roBF] += 1.0;
  }
  Count(w, stat, observed, PT_rXE_TR, true);
  for (int k = 0; k < N_PERMTEST_STATS; k++) permTestRandomSums[k] += stat[k];
  if (detail) DetailPointE(w, i);
}

// Iterations whose lists are drawn before they are evaluated together.
#define PERM_BLOCK 256

// The lists and statistics of one block of iterations.
struct PermBlock {
  int first;      // its first iteration
  int size;       // its iterations
  int* lists;     // [size][listSize]
  double* stats;  // [size][N_PERMTEST_STATS]
};

// Draws the lists of the block of `size` iterations from `first`, in
// iteration order, from the one generator; master keeps the draw's state.
static void DrawBlock(PermWork* w, int* master, PermBlock* b, int first, int size) {
  b->first = first;
  b->size = size;
  for (int k = 0; k < size; k++) {
    NewList(w, master);
    memcpy(b->lists + (long)k * w->listSize, master, sizeof(int) * w->listSize);
  }
}

// Counts a block in iteration order, with its progress line.
static void CountBlock(PermWork* w, const PermBlock* b, const double* observed) {
  for (int k = 0; k < b->size; k++)
    CountIteration(w, b->stats + (long)k * N_PERMTEST_STATS, observed, b->first + k, false);
  char status[64];
  snprintf(status, sizeof(status), "Permutation test: %d of %d", b->first + b->size - 1, w->in->niter);
  HandleEventInfoWhere2(status);
}

// One iteration at a time on this thread, each counted (and printed to the
// intermediate file) as soon as it is evaluated.
static void SerialIterations(PermWork* w, const double* observed, bool detail) {
  int* master = w->list;
  char status[64];
  for (int i = 1; i < w->in->niter; i++) {
    snprintf(status, sizeof(status), "Permutation test: %d of %d", i, w->in->niter);
    HandleEventInfoWhere2(status);
    NewList(w, master);
    Evaluate(w);
    CountIteration(w, w->stat, observed, i, detail);
  }
}

// Blocks of iterations on the team. While the team evaluates block k, the
// main thread first draws the lists of block k + 1 and counts block k - 1,
// then joins the evaluation: draws and counts stay in iteration order on
// the one thread, and nothing waits for them.
static void ParallelIterations(PermWork* w, int threads, const double* observed) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  int block = PERM_BLOCK * threads, listSize = w->listSize;
  int* master = w->list;
  PermBlock blocks[2];
  for (int h = 0; h < 2; h++) {
    blocks[h].lists = dim1Dint(block * listSize);
    blocks[h].stats = dim1Double(block * N_PERMTEST_STATS);
    blocks[h].size = 0;
  }
  PermWork** work = (PermWork**)dim1D(sizeof(PermWork*), threads);
  work[0] = w;
  for (int t = 1; t < threads; t++) {
    work[t] = (PermWork*)dim1D(sizeof(PermWork), 1);
    CloneWork(work[t], w);
  }
  int total = in->niter - 1;
  DrawBlock(w, master, &blocks[0], 1, total < block ? total : block);
  for (int k = 0; blocks[k % 2].size > 0; k++) {
    PermBlock* now = &blocks[k % 2];
    PermBlock* other = &blocks[(k + 1) % 2];
    int next = now->first + now->size, left = in->niter - next;
#pragma omp parallel num_threads(threads)
    {
      if (omp_get_thread_num() == 0) {
        if (k > 0) CountBlock(w, other, observed);
        if (left > 0)
          DrawBlock(w, master, other, next, left < block ? left : block);
        else
          other->size = 0;
      }
#pragma omp for schedule(dynamic, 1)
      for (int b = 0; b < now->size; b++) {
        PermWork* t = work[omp_get_thread_num()];
        t->list = now->lists + (long)b * listSize;
        Evaluate(t);
        memcpy(now->stats + (long)b * N_PERMTEST_STATS, t->stat, sizeof(t->stat));
      }
    }
    if (other->size == 0) CountBlock(w, now, observed);
  }
  w->list = master;
  for (int t = 1; t < threads; t++) {
    FreeClone(work[t]);
    free1D(work[t]);
  }
  free1D(work);
  for (int h = 0; h < 2; h++) {
    free1D(blocks[h].lists);
    free1D(blocks[h].stats);
  }
}

static void PermutationPhase(PermWork* w, int team) {
  PermTest_FunctionalPhyl_Correl_Input* in = w->in;
  double observed[N_PERMTEST_STATS];
  memcpy(observed, w->stat, sizeof(observed));
  memset(permTestRandomSums, 0, sizeof(permTestRandomSums));
  bool detail = in->saveDetail && in->detailFile;
  // The report prints no statistic of Y and Z: with Procrustes and RV, where
  // they cost most, the iterations leave them out unless asked for all.
  if (!w->mantel) w->coef.smoothed = detail || !in->printedOnly;
  // The intermediate file prints the matrices of each iteration as it is
  // counted, so it takes one iteration at a time on this thread.
  int threads = detail ? 1 : team;
  if (threads > 1 && in->niter > 2)
    ParallelIterations(w, threads, observed);
  else
    SerialIterations(w, observed, detail);
  memcpy(w->stat, observed, sizeof(observed));
  w->fused = false;
}

// One thread for the inner parallel loops when every resemblance matrix of
// an iteration is small; the distances are the same whatever the team, so
// this changes no result. Returns the team size to restore.
static int SmallProblemTeam(PermTest_FunctionalPhyl_Correl_Input* in) {
  int team = omp_get_max_threads();
  int cols = in->nTraits;
  if (in->nTypes > cols) cols = in->nTypes;
  if (in->includePhylogeny && in->nTaxa > cols) cols = in->nTaxa;
  double work = 0.5 * (double)in->nCommunities * in->nCommunities * cols;
  if (team > 1 && work < permTestSmallWork) omp_set_num_threads(1);
  return team;
}

bool PermTest_FunctionalPhyl_Correl(PermTest_FunctionalPhyl_Correl_Input* input) {
  int team = SmallProblemTeam(input);
  // Iterations run on the team; the parallel loops inside them then run on
  // the thread that meets them.
  int levels = omp_get_max_active_levels();
  omp_set_max_active_levels(1);
  PermWork w;
  AllocWork(&w, input);
  for (int k = 0; k < N_PERMTEST_STATS; k++) w.count[k] = 1.0;
  ObservedPhase(&w);
  SetupOccurrences(&w);
  PermutationPhase(&w, team);
  for (int k = 0; k < N_PERMTEST_STATS; k++) {
    input->statistics[k] = w.stat[k];
    // niter 0 gives a positive infinity here: the division is meant.
    input->probabilities[k] = w.count[k] / input->niter;
  }
  // Statistics left out of the iterations have no probability.
  static const int smoothedStats[] = {PT_rYT, PT_rZT, PT_roXY, PT_roXZ, PT_roXY_T, PT_roXZ_T};
  if (!w.mantel && !w.coef.smoothed && input->niter > 1)
    for (int k : smoothedStats) input->probabilities[k] = NAN;
  FreeOccurrences(&w);
  FreeWork(&w);
  omp_set_num_threads(team);
  omp_set_max_active_levels(levels);
  return true;
}


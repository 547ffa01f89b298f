// Procrustes and RV statistics of the correlation test on prepared matrices.
// Each statistic is the coefficient that ProcrustesCoeff, RVcoeff and
// PartialMatrixCorrelation give, computed from the same steps in the same
// order, so the values are the same to the last bit; only what several
// statistics share is made once.
#include "permutation/permCoef.h"

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRegression.h"

// Widest set of controls: T with R, P or X beside it.
static int ControlWidth(const PermTest_FunctionalPhyl_Correl_Input* in) {
  int other = in->nTaxa > in->nTypes ? in->nTaxa : in->nTypes;
  if (other < 1) other = 1;
  return in->nTraits + other;
}

static int MatrixCols(const PermTest_FunctionalPhyl_Correl_Input* in, int m) {
  switch (m) {
    case CM_T: return in->nTraits;
    case CM_X: return in->nTypes;
    case CM_P: return in->nTaxa;
    case CM_E: return in->nEnv;
    default: return in->nOTUs;
  }
}

void CoefWorkAlloc(CoefWork* c, const PermTest_FunctionalPhyl_Correl_Input* in, bool smoothed) {
  c->in = in;
  c->which = in->opt_ro;
  c->n = in->nCommunities;
  c->smoothed = smoothed;
  int n = c->n, which = c->which;
  CongruenceFormAlloc(&c->E, which, n, in->nEnv);
  CongruenceFormAlloc(&c->Y, which, n, in->nOTUs);
  CongruenceFormAlloc(&c->Z, which, n, in->nOTUs);
  CongruenceFormAlloc(&c->T, which, n, in->nTraits);
  CongruenceFormAlloc(&c->X, which, n, in->nTypes);
  CongruenceFormAlloc(&c->P, which, n, in->nTaxa);
  CongruenceFormAlloc(&c->R, which, n, 1);
  CongruenceFormAlloc(&c->Rp, which, n, 1);
  PrepareCongruence(&c->E, in->nEnv, in->E);
  PrepareCongruence(&c->Y, in->nOTUs, in->Y);
  PrepareCongruence(&c->Z, in->nOTUs, in->Z);
  int width = ControlWidth(in);
  c->predictors = dim2Double(n, width);
  int widest = in->nOTUs;
  for (int m = 0; m < N_COEF_MATRICES; m++)
    if (MatrixCols(in, m) > widest) widest = MatrixCols(in, m);
  for (int k = 0; k < N_COEF_CONTROLS; k++) {
    c->comps[k] = dim2Double(n, width);
    for (int m = 0; m < N_COEF_MATRICES; m++) {
      int cols = MatrixCols(in, m);
      c->res[k][m].m = dim2Double(n, cols > 0 ? cols : 1);
      CongruenceFormAlloc(&c->res[k][m].form, which, n, cols);
    }
  }
  c->work = dim1Double(widest * widest);
  CoefNewArrangement(c);
}

void CoefWorkFree(CoefWork* c) {
  int n = c->n;
  CongruenceForm* forms[] = {&c->E, &c->Y, &c->Z, &c->T, &c->X, &c->P, &c->R, &c->Rp};
  for (CongruenceForm* f : forms) CongruenceFormFree(f);
  free2D(c->predictors, n);
  for (int k = 0; k < N_COEF_CONTROLS; k++) {
    free2D(c->comps[k], n);
    for (int m = 0; m < N_COEF_MATRICES; m++) {
      free2D(c->res[k][m].m, n);
      CongruenceFormFree(&c->res[k][m].form);
    }
  }
  free1D(c->work);
}

void CoefNewArrangement(CoefWork* c) {
  for (int k = 0; k < N_COEF_CONTROLS; k++) {
    c->compsDone[k] = false;
    for (int m = 0; m < N_COEF_MATRICES; m++) c->res[k][m].done = false;
  }
}

// The coefficient of two prepared matrices; 0 for a measure other than
// Procrustes and RV, as the general routine gives.
static double Coef(CoefWork* c, const CongruenceForm* a, const CongruenceForm* b) {
  if (c->which != 2 && c->which != 3) return 0.0;
  return CongruencePrepared(a, b, c->work);
}

// The components of control set k: its matrices side by side (T through
// its trait mask), then the leading principal components, as
// PartialMatrixCorrelation makes them.
static void Components(CoefWork* c, int k, double** T, double** X, double** P, double** R) {
  if (c->compsDone[k]) return;
  const PermTest_FunctionalPhyl_Correl_Input* in = c->in;
  int n = c->n, width = 0;
  double** pred = c->predictors;
  if (k == CC_T || k == CC_TR || k == CC_TP)
    for (int j = 0; j < in->nTraits; j++) {
      if (in->traitMask != nullptr && in->traitMask[j] != 1) continue;
      for (int i = 0; i < n; i++) pred[i][width] = T[i][j];
      width++;
    }
  double** other = k == CC_TR ? R : (k == CC_P || k == CC_TP) ? P : k == CC_X ? X : nullptr;
  int cols = k == CC_TR ? 1 : (k == CC_P || k == CC_TP) ? in->nTaxa : k == CC_X ? in->nTypes : 0;
  for (int j = 0; j < cols; j++, width++)
    for (int i = 0; i < n; i++) pred[i][width] = other[i][j];
  c->axes[k] = PCA_RegressionComponents(n, width, pred, nullptr, 2, in->overfitFactorPCARegr, c->comps[k]);
  c->compsDone[k] = true;
}

// The residuals of matrix m (data a) on control set k, prepared.
static const CongruenceForm* Residual(CoefWork* c, int k, int m, double** a) {
  CoefResidual* r = &c->res[k][m];
  if (!r->done) {
    int cols = MatrixCols(c->in, m);
    Regression_ResidualsSelect(c->n, cols, c->axes[k], a, c->comps[k], r->m, nullptr);
    PrepareCongruence(&r->form, cols, r->m);
    r->done = true;
  }
  return &r->form;
}

// PMC(A, B | controls k), given the components.
static double Partial(CoefWork* c, int k, int ma, double** a, int mb, double** b) {
  const CongruenceForm* ra = Residual(c, k, ma, a);
  const CongruenceForm* rb = Residual(c, k, mb, b);
  return Coef(c, ra, rb);
}

void CoefStatsT(CoefWork* c, double** T, double* s) {
  const PermTest_FunctionalPhyl_Correl_Input* in = c->in;
  PrepareCongruence(&c->T, in->nTraits, T);
  s[PT_rTE] = Coef(c, &c->T, &c->E);
  if (!c->smoothed) return;
  s[PT_rYT] = Coef(c, &c->T, &c->Y);
  s[PT_rZT] = Coef(c, &c->T, &c->Z);
}

void CoefStatsXP(CoefWork* c, double** T, double** X, double** P, double* s, double* rXT) {
  const PermTest_FunctionalPhyl_Correl_Input* in = c->in;
  double** E = in->E;
  PrepareCongruence(&c->X, in->nTypes, X);
  s[PT_rXE] = Coef(c, &c->X, &c->E);
  *rXT = Coef(c, &c->X, &c->T);
  if (c->smoothed) {
    s[PT_roXY] = Coef(c, &c->X, &c->Y);
    s[PT_roXZ] = Coef(c, &c->X, &c->Z);
  }
  Components(c, CC_T, T, X, P, nullptr);
  s[PT_rXE_T] = Partial(c, CC_T, CM_X, X, CM_E, E);
  if (c->smoothed) {
    s[PT_roXY_T] = Partial(c, CC_T, CM_X, X, CM_Y, in->Y);
    s[PT_roXZ_T] = Partial(c, CC_T, CM_X, X, CM_Z, in->Z);
  }
  if (!in->includePhylogeny) return;
  PrepareCongruence(&c->P, in->nTaxa, P);
  s[PT_roPE] = Coef(c, &c->E, &c->P);
  s[PT_roPT] = Coef(c, &c->T, &c->P);
  s[PT_roPX] = Coef(c, &c->X, &c->P);
  s[PT_roPX_T] = Partial(c, CC_T, CM_P, P, CM_X, X);
  Components(c, CC_P, T, X, P, nullptr);
  s[PT_roTE_P] = Partial(c, CC_P, CM_T, T, CM_E, E);
  s[PT_roXE_P] = Partial(c, CC_P, CM_X, X, CM_E, E);
  Components(c, CC_TP, T, X, P, nullptr);
  s[PT_roXE_TP] = Partial(c, CC_TP, CM_X, X, CM_E, E);
  s[PT_roPE_T] = Partial(c, CC_T, CM_P, P, CM_E, E);
  Components(c, CC_X, T, X, P, nullptr);
  s[PT_roPE_X] = Partial(c, CC_X, CM_P, P, CM_E, E);
}

void CoefStatsR(CoefWork* c, double** T, double** R, double** Rp, double* s, double* rXR, double* rTR) {
  const PermTest_FunctionalPhyl_Correl_Input* in = c->in;
  PrepareCongruence(&c->R, 1, R);
  s[PT_rRE] = Coef(c, &c->R, &c->E);
  if (rXR != nullptr) *rXR = Coef(c, &c->X, &c->R);
  if (rTR != nullptr) *rTR = Coef(c, &c->T, &c->R);
  if (in->includePhylogeny) {
    PrepareCongruence(&c->Rp, 1, Rp);
    s[PT_rFE] = Coef(c, &c->Rp, &c->E);
  }
  Components(c, CC_TR, T, c->X.data, nullptr, R);
  s[PT_rXE_TR] = Partial(c, CC_TR, CM_X, c->X.data, CM_E, in->E);
}

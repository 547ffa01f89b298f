// Procrustes and RV statistics of the correlation test on prepared matrices:
// E, Y and Z prepared once per test, T, X, P and the entropies once per
// arrangement, the PCA regressions of the partial statistics once for each
// set of controls and each matrix.
#ifndef PERMUTATION_PERMCOEF_H
#define PERMUTATION_PERMCOEF_H

#include "TarnLib/tarnlibCongruence.h"
#include "permutation/permCorrel.h"

// Residuals of one matrix on one set of controls, and their prepared form.
struct CoefResidual {
  double** m;          // [n][cols]
  CongruenceForm form;
  bool done;           // made for the present arrangement
};

// Controls of the partial statistics.
enum { CC_T, CC_TR, CC_P, CC_TP, CC_X, N_COEF_CONTROLS };
// Matrices whose residuals they need.
enum { CM_T, CM_X, CM_P, CM_E, CM_Y, CM_Z, N_COEF_MATRICES };

// Working storage of the Procrustes and RV statistics of one thread.
struct CoefWork {
  const PermTest_FunctionalPhyl_Correl_Input* in;
  int which;           // 2 Procrustes, 3 RV
  int n;               // communities
  bool smoothed;       // compute the statistics of Y and Z in iterations
  CongruenceForm E, Y, Z;           // prepared once
  CongruenceForm T, X, P, R, Rp;    // the present arrangement
  double** predictors; // [n][nTraits + nTaxa + nTypes + 1] controls side by side
  double** comps[N_COEF_CONTROLS];  // [n][width] their components
  int axes[N_COEF_CONTROLS];        // how many
  bool compsDone[N_COEF_CONTROLS];  // made for the present arrangement
  CoefResidual res[N_COEF_CONTROLS][N_COEF_MATRICES];
  double* work;        // cross-products of the coefficients
};

// Allocates the storage and prepares E, Y and Z. smoothed false leaves out
// r(YT), r(ZT), ro(XY), ro(XZ), ro(XY.T) and ro(XZ.T), which nothing prints.
void CoefWorkAlloc(CoefWork* c, const PermTest_FunctionalPhyl_Correl_Input* in, bool smoothed);
void CoefWorkFree(CoefWork* c);
// A new arrangement: forgets every residual and component.
void CoefNewArrangement(CoefWork* c);
// r(TE), r(YT), r(ZT) of T into s.
void CoefStatsT(CoefWork* c, double** T, double* s);
// Given CoefStatsT of the same T: statistics 1, 3, 8 to 11 and, with P,
// 14 to 22; *rXT gets c(X, T).
void CoefStatsXP(CoefWork* c, double** T, double** X, double** P, double* s, double* rXT);
// Given the two above: r(RE), r(FE) with Rp, r(XE.TR); *rXR and *rTR get
// c(X, R) and c(T, R) when they are not null.
void CoefStatsR(CoefWork* c, double** T, double** R, double** Rp, double* s, double* rXR, double* rTR);

#endif

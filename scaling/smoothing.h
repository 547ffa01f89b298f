// Beals and fuzzy smoothing of community matrices, and the randomisation tests of the smoothing of each OTU.
#ifndef SCALING_SMOOTHING_H
#define SCALING_SMOOTHING_H

// W is communities (rows) by OTUs (columns), -999 missing; M is OTUs by OTUs.
// Modes: 0 presences (plain Beals); 1 co-occurrences weighted by abundances
// (Y); 2 cross products, rows of M at unit sum (Z). Another mode leaves M's
// entries as they are and only applies the normalisation of modes 0 and 1.
void ConditionalProb(int nRows, int nCols, double** W, double** M, int mode);
// Mode 0.
void ConditionalProb(int nRows, int nCols, double** W, double** M);
// Renews only the row and the column of `target` of an M filled earlier,
// after the column `target` of W changed.
void ConditionalProb(int target, int nRows, int nCols, double** W, double** M, int mode);

// out = the community shares of Wrows smoothed by the conditional
// probabilities of Wcond; without the target, each OTU is estimated from the
// other OTUs of the community only.
void BealsSmoothing(int nRows, int nCols, double** Wrows, double** Wcond, double** out,
                    bool includeTarget, int mode);
void BealsSmoothing(int nRows, int nCols, double** Wrows, double** Wcond, double** out,
                    bool includeTarget);
// Per-target form. partial false: full recomputation (M, when not null,
// receives the conditional matrix used). partial true: M holds the
// conditional matrix of the data before the column `target` changed, and out
// the smoothed matrix made from it; only the target's changes are applied.
void BealsSmoothing(int nRows, int nCols, double** Wrows, double** Wcond, double** out,
                    bool partial, int target, double** M, bool includeTarget, int mode);

// Randomisation tests of the smoothing of each OTU (difference of the
// smoothed values between the communities where it is present and absent);
// statistic and probabilities have nCols entries.
void BealsTest(int nRows, int nCols, int niter, double** W, double* statistic,
               double* probabilities, int mode);
void BealsTest_Partial(int nRows, int nCols, int niter, double** W, double* statistic,
                       double* probabilities, int mode);
// centre 1: the group centres are medians; 2: means.
void BealsTest_Partial(int nRows, int nCols, int niter, double** W, double* statistic,
                       double* probabilities, int mode, int centre);
// Statistic: correlation of W and the smoothed values over the eligible
// communities. includeTarget: whether the target counts in its own estimate.
void BealsTestBSA(int nRows, int nCols, int niter, double** W, double* statistic,
                  double* probabilities, int mode, bool includeTarget);

#endif

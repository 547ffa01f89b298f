// Beals smoothing of community matrices: conditional probabilities of
// co-occurrence between OTUs and the smoothed community matrix.
#ifndef TARNLIB_TARNLIBBEALS_H
#define TARNLIB_TARNLIBBEALS_H

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

// The per-target form on the caller's work arrays: A (nRows x nCols), local
// (nCols x nCols) and total (nRows). The randomisation tests run it in their
// parallel loop, where nothing may be allocated.
void SmoothPerTarget(int nRows, int nCols, double** Wrows, double** Wcond, double** out, bool partial,
                     int target, double** M, bool includeTarget, int mode, double** A, double** local,
                     double* total);

#endif

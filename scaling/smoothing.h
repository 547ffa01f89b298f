// The randomisation tests of the Beals smoothing of each OTU; with the
// smoothing of TarnLib/tarnlibBeals.h, which every user of this header also
// sees.
#ifndef SCALING_SMOOTHING_H
#define SCALING_SMOOTHING_H

#include "TarnLib/tarnlibBeals.h"

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

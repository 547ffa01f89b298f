// Placeholder of the scaling-up run for builds that lack it; the real run overrides it.
#include "scaling/scalingUp.h"

__attribute__((weak)) void PFTs_ScalingUp() {}

// Community matrices and diversity: the products of W with B, U and Q, Rao
// entropy, nearest-neighbour resemblance and beta divergence. They are
// numerical routines and live in TarnLib/tarnlibCommunity.h; this header
// stays for the analyses that name it.
#ifndef SCALING_COMMUNITY_H
#define SCALING_COMMUNITY_H

#include "TarnLib/tarnlibCommunity.h"

#endif

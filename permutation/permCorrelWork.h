// The working storage of the functional and phylogenetic correlation test,
// shared by the test's own units (iterations and detail output).
#ifndef PERMUTATION_PERMCORRELWORK_H
#define PERMUTATION_PERMCORRELWORK_H

#include <cstdint>

#include "permutation/permCorrel.h"

// The resemblance matrices that enter Mantel correlations.
enum { RHO_E, RHO_Y, RHO_Z, RHO_T, RHO_X, RHO_R, RHO_P, RHO_RP, N_RHO_MATRICES };

// Communities whose Rao entropies run side by side: independent sums overlap.
#define RAO_LANES 4


// Working storage of one call, allocated once before the iterations. The
// permuted B, U, Q and PCoA scores are row-pointer arrays into the caller's
// rows: a permuted row is the same row, so nothing is copied per iteration.
struct PermWork {
  PermTest_FunctionalPhyl_Correl_Input* in;
  int n;               // communities
  int code;            // ResemblanceLib code for X and P
  bool mantel;         // opt_ro 1: statistics on resemblance matrices
  bool taxa;           // taxa shuffle (else site shuffle)
  bool phyl;           // phylogenetic statistics wanted
  int* list;           // permutation list of the present iteration
  int listLength;      // entries of list that the shuffle moves
  double** Brnd;       // [nOTUs] rows of B in permuted order
  double** Urnd;       // [nOTUs] rows of U in permuted order
  double** Qrnd;       // [nOTUs] rows of Q in permuted order
  double** scoresRnd;  // [nOTUs] rows of the PCoA scores in permuted order
  double** Srnd;       // [nOTUs][nOTUs] permuted Sb
  double** Sfrnd;      // [nOTUs][nOTUs] permuted Sf
  double** Bnorm;      // [nOTUs][nTraits] B with columns at unit length
  double** T;          // [n][nTraits] observed, then random T
  double** X;          // [n][nTypes]
  double** P;          // [n][nTaxa]
  double** R;          // [n][1] Rao entropy from Sb
  double** Rp;         // [n][1] Rao entropy from Sf
  double** Tobs;       // observed T (normalised), X, P, R, Rp: what the
  double** Xobs;       // site shuffle permutes
  double** Pobs;
  double** Robs;
  double** Rpobs;
  double** DT;         // [n][n] resemblance matrices, Mantel only
  double** DX;
  double** DP;
  double** DR;
  double** DRp;
  double** printWork;  // [max(n, nOTUs)]^2 transpose for printing
  // Occurrences: the products and Rao entropies of a community only need
  // the OTUs with an abundance other than 0, since a zero abundance adds an
  // exact 0 to every sum. Each community's call then runs over those alone.
  bool compactT;       // T from the occurrences (B finite, W finite)
  bool compactXP;      // X and P from the occurrences (U, Q finite, no -999)
  bool compactR;       // Rao entropies from the occurrences (finite d)
  int* occStart;       // [n + 1] start of each community in occOTU
  int* occOTU;         // zero-based OTU of each occurrence
  double* occW;        // its abundance
  int* occWeight;      // its weight_OTUs
  double** rowsSub;    // [nOTUs] rows of the permuted matrix for one community
  double** Ssub;       // [maxOcc]^2 permuted distances among one community's OTUs
  double** Db;         // [nOTUs]^2 Rao distance d of each entry of Sb
  double** Df;         // [nOTUs]^2 the same of Sf
  int maxOcc;          // most occurrences in a community
  bool plainTerms;     // no -999 among the occurrences, every weight 1
  bool plainB;         // B holds no -999
  // T and X of an arrangement in one pass over the occurrences: B and U side by
  // side, padded with zeros to whole vectors; NULL when not in use.
  double** BU;         // [nOTUs][colsBU]
  int colsBU;          // nTraits + nTypes rounded up to a multiple of 4
  double* rowTX;       // [colsBU] one community's sums
  double** colsT;      // [max(nTraits, nTypes)][n] data by columns for the distances
  double** colsX;      // [nTypes][n] X by columns, when T's distances run beside it
                       // (each of the two is one block, a column after the other)
  double* rowR;        // [n] the entropies in one array, for the same pass
  // Rao entropies in lanes: communities by decreasing occurrences, four at a
  // time, each padded with zero shares to the first one's count.
  bool raoLanes;       // the lanes are in use (no -999, all weights 1)
  int nGroups;         // groups of RAO_LANES communities
  int* laneStart;      // [nGroups + 1] start of each group in laneQ, laneOTU
  int* laneComm;       // [nGroups * RAO_LANES] community of each lane, -1 none
  double* laneQ;       // share a / total of each occurrence, 0 when padding:
                       // the x-th of lane L at RAO_LANES x + L in its group
  int* laneOTU;        // its zero-based OTU (0 when padding), the same way
  double** laneRow;    // [RAO_LANES * maxOcc] permuted distance rows
  int* laneCol;        // [RAO_LANES * maxOcc] permuted columns
  uint16_t* laneCol16; // the same in 16 bits when every OTU fits, else NULL
  // Mantel correlations of three communities or more on prepared matrices:
  // each matrix's pairs minus their mean once, then one pass per correlation.
  bool prepared;       // the prepared forms are in use
  long pairs;          // pairs i < j of communities
  double* cen[N_RHO_MATRICES];  // [pairs] centred pairs of each matrix
  double ss[N_RHO_MATRICES];    // their sums of squares
  bool ok[N_RHO_MATRICES];      // prepared (no -999): else MatrixCorr
  double* eyze;                 // [4 pairs] centred E, Y, Z, E of each pair
  double stat[N_PERMTEST_STATS];   // statistics of the present arrangement
  double count[N_PERMTEST_STATS];  // running counts, the observed one included
  double rXT, rXR, rTR;            // helpers of the partial statistics
  bool fused;                      // the iteration's rho values are in fusedRho
  double fusedRho[3][4];           // those of StatsT, StatsXP and StatsR, in their order
  double rXE_R, rTE_R, rXT_R;
};

// Intermediate output of the test (the detail file): points A and B after
// the observed statistics, C, D and E within each iteration.
void DetailPointA(PermWork* w);
void DetailPointB(PermWork* w);
void DetailPointC(PermWork* w, int iter);
void DetailPointD(PermWork* w, int iter);
void DetailPointE(PermWork* w, int iter);

#endif

// The functional and phylogenetic correlation test: observed statistics of the
// scaling-up analysis and their probabilities by permutation, in one pass.
#ifndef PERMUTATION_PERMCORREL_H
#define PERMUTATION_PERMCORREL_H

#include <cstdio>

extern bool permTestPlainLoops;   // true: iterations run over all OTUs (checks the faster path)
extern double permTestSmallWork;  // distance work below which iterations run on one thread

// Number of statistics (and of probabilities) the test returns.
#define N_PERMTEST_STATS 22
extern double permTestRandomSums[N_PERMTEST_STATS];  // per statistic, sum of its random values in the last test

// Positions of the statistics in `statistics` and `probabilities`, in the
// order the callers read them.
enum PermTestStatistic {
  PT_rXE = 0,   // r(XE)
  PT_rTE,       // r(TE)
  PT_rXE_T,     // r(XE.T)
  PT_rRE,       // r(RE)
  PT_rXE_TR,    // r(XE.TR)
  PT_rYT,       // r(YT)
  PT_rZT,       // r(ZT)
  PT_roXY,      // ro(XY)
  PT_roXZ,      // ro(XZ)
  PT_roXY_T,    // ro(XY.T)
  PT_roXZ_T,    // ro(XZ.T)
  PT_roBF,      // ro(BF), phylogenetic signal at OTU level
  PT_rFE,       // r(FE), Rao entropy by phylogeny against E
  PT_roPE,      // ro(PE)
  PT_roPT,      // ro(PT)
  PT_roPX,      // ro(PX)
  PT_roPX_T,    // ro(PX.T)
  PT_roTE_P,    // ro(TE.P)
  PT_roXE_P,    // ro(XE.P)
  PT_roXE_TP,   // ro(XE.TP)
  PT_roPE_T,    // ro(PE.T)
  PT_roPE_X     // ro(PE.X)
};

// Input and output of PermTest_FunctionalPhyl_Correl. The caller allocates
// every array and owns the record; the test only reads the inputs and writes
// statistics, probabilities and the observed matrices below.
struct PermTest_FunctionalPhyl_Correl_Input {
  int niter;              // iterations, the observed arrangement included
  int nTraits;            // columns of B and T
  int* traitMask;         // [nTraits] 1 for a trait in use
  int nOTUs;              // rows of B, U, Q, Sb, Sf
  int nTypes;             // columns of U and X
  int nTaxa;              // columns of Q and P
  int nEnv;               // columns of E
  int nCommunities;       // rows of W, E, Y, Z
  int nPCoAAxes;          // columns of pcoaScores
  double** B;             // [nOTUs][nTraits] traits, unused columns 0
  double** Sb;            // [nOTUs][nOTUs] similarity from the traits
  double** pcoaScores;    // [nOTUs][nPCoAAxes] scores of the phylogeny
  double** Sf;            // [nOTUs][nOTUs] phylogenetic resemblance
  double** E;             // [nCommunities][nEnv] ecological variables
  double** U;             // [nOTUs][nTypes] belonging to types
  double** Q;             // [nOTUs][nTaxa] belonging to taxa
  double** W;             // [nCommunities][nOTUs] community matrix
  double** DE;            // [nCommunities]^2 resemblance from E
  double** DY;            // [nCommunities]^2 resemblance from Y
  double** DZ;            // [nCommunities]^2 resemblance from Z
  double** Y;             // [nCommunities][nOTUs] Beals smoothing, mode 1
  double** Z;             // [nCommunities][nOTUs] Beals smoothing, mode 2
  double statistics[N_PERMTEST_STATS];    // output: observed statistics
  double probabilities[N_PERMTEST_STATS]; // output: their probabilities
  int rese_opt;           // resemblance option between communities
  int opt_ro;             // 1 Mantel, 2 Procrustes, 3 RV
  double overfitFactorPCARegr; // predictors limited to n / factor
  bool saveDetail;        // write the intermediate results to detailFile
  bool weightedNullModel; // OTUs drawn by their frequency in communities
  bool includePhylogeny;  // compute statistics 12 to 22
  bool phylogenyIsDissimilarity; // Sf holds dissimilarities
  bool sqrtDissimTraits;  // Rao entropy of traits on root dissimilarities
  bool sqrtDissimPhyl;    // Rao entropy of phylogeny on root dissimilarities
  int restrictPermutations; // 1: OTUs permuted within nesting groups
  int* nestingMembership; // [nOTUs] nesting group of each OTU
  int taxaSiteShuffle;    // 't' taxa shuffle, 's' site shuffle
  bool keepObserved;      // store observed T, X, P, R, Rp below
  bool twoTailed;         // two-tailed counts for the non-partial statistics
  double** Tout;          // [nCommunities][nTraits] observed T, normalised
  double** Xout;          // [nCommunities][nTypes] observed X
  double** Pout;          // [nCommunities][nTaxa] observed P
  double* Rout;           // [nCommunities] Rao entropy from Sb
  double* RpOut;          // [nCommunities] Rao entropy from Sf
  int* weightOTUs;        // [nOTUs] 1 selected OTU, 0 left out
  bool restrictRao;       // Rao entropy within selected OTUs only
  FILE* detailFile;       // open stream for the intermediate results
};

// The list of OTU numbers of the weighted null model: each OTU once for each
// community where W is above 0, walked community by community. When that
// gives fewer entries than nOTUs the walk is repeated until it reaches them,
// so the first nOTUs places always exist. 0 when W has no positive value.
int WeightedOTUListLength(int nOTUs, int nCommunities, double** W);
// Fills list (length entries, as given by WeightedOTUListLength).
void FillWeightedOTUList(int nOTUs, int nCommunities, double** W, int* list, int length);

// Computes all statistics and their probabilities into the record. Needs the
// generator r initialised. Returns true.
bool PermTest_FunctionalPhyl_Correl(PermTest_FunctionalPhyl_Correl_Input* input);

#endif

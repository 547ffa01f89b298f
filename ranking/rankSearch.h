// The shared machinery of the trait subset search: enumeration, evaluation on threads, best subsets, ranking table, report parts, and the per-subset kernels.
#ifndef RANKING_RANKSEARCH_H
#define RANKING_RANKSEARCH_H

#include <cstdio>

#include "scaling/scalingUp.h"
#include "session/session.h"

// ---- One subset, as the enumeration hands it to a member ----
struct RankSubset {
  int k;            // number of traits
  int* list;        // [nch] 1-based trait numbers: the subset ascending, then the others
  int* mask;        // [nch] 1 for the traits of the subset
  int firstType;    // chtype of the subset's first trait (ReorderVectors' first entry)
  int firstStates;  // onsta of that trait
  bool skipped;     // holds a trait of weight 0: counted, never evaluated
};

// ---- What one evaluation leaves for the merge ----
struct RankResult {
  bool evaluated;   // false when no pass of the types loop took place
  double value;     // the criterion of the subset
  double part[15];  // further values of the member's intermediate line
  int groups;       // number of types of the evaluation
};

// ---- A member, as the shared search sees it ----
struct RankMember {
  double startValue;  // best of each size before any subset: -DBL_MAX or 0
  bool absolute;      // bests and table compared on absolute values
  bool noneForZero;   // a best of exactly 0 prints "none" in place of traits
  // Evaluates one subset on thread `thread` (0 .. nThreads - 1) into *result.
  // Called concurrently for different subsets: it writes only its thread's
  // work arrays and *result, allocates nothing, never jumps. `companion` is
  // the open companion file, and then the search runs on one thread.
  void (*evaluate)(void* context, int thread, const RankSubset* subset, RankResult* result,
                   FILE* companion);
  // Writes the values of an intermediate line, before the trait labels.
  void (*printLine)(FILE* f, const RankResult* result);
  void* context;      // the member's own run data, handed back to evaluate
  // Optional, null when unused:
  // Called by the merge, in enumeration order, after the ranking table's offer.
  void (*merge)(void* context, const RankSubset* subset, const RankResult* result);
  // Ends an intermediate line after the trait labels, before its newline.
  void (*lineEnd)(void* context, FILE* f, const RankResult* result);
  // The line after each size with the number of types of its best (k,
  // width, precision, value, types); null: the line without types.
  const char* bestLine;
};

// ---- Best subsets of the run ----
// Row 0 of the table is the one next overwritten, rows 1..nKeepTrack hold the
// kept subsets ascending; `value`, `size`, `traits` come twice for the sort.
struct RankTable {
  int rows;          // nKeepTrack + 1
  int nTraits;       // length of each trait list
  double* value;     // [rows]
  int* size;         // [rows]
  int** traits;      // [rows][nTraits]
  double* value2;    // second copy
  int* size2;
  int** traits2;
  int* order;        // [rows] sort order, one-based
};

struct RankBest {
  double* value;     // [nch + 1] best value of each size
  int** traits;      // [nch + 1][nch] its subset, 1-based trait numbers
  bool* found;       // [nch + 1] some subset of that size was kept
  int* groups;       // [nch + 1] number of types of that subset's evaluation
};

// Ranking table of `rows` rows, all values 0 and sizes 0.
void RankTableAlloc(RankTable* t, int rows, int nTraits);
void RankTableFree(RankTable* t);
// Offers a subset: when `value` beats row 0 (strictly; by absolute values
// with `absolute`), row 0 takes it and the rows are sorted ascending.
// Returns true when it entered.
bool RankTableOffer(RankTable* t, double value, int k, const int* list, bool absolute);

// Number of k-subsets of n as the search counts them: the truncated
// Factorial quotient, computed in double.
long long RankCombinations(int n, int k);

// ---- Enumeration ----
struct RankEnumeration {
  int n;             // traits (nch)
  int k;             // current size
  long long m;       // subsets of this size
  long long i;       // subsets of this size handed out so far
  int* list;         // [n] the latest subset list
  int* onstaCopy;    // [n] copies rearranged by ReorderVectors
  int* chtypeCopy;
  double* chrangeCopy;
  double* weightCopy;
};

void RankEnumerationAlloc(RankEnumeration* e, int n);
void RankEnumerationFree(RankEnumeration* e);
// Starts the subsets of size k.
void RankEnumerationStart(RankEnumeration* e, int k);
// Hands out the next subsets of the current size, in enumeration order, into
// subsets[0..]: at most `capacity`. Returns how many (0 when the size is done).
int RankEnumerationNext(RankEnumeration* e, RankSubset* subsets, int capacity);
// Rearranges the four copies into the order of list (1-based numbers).
void ReorderVectors(int n, int* list, int* onstaCopy, int* chtypeCopy, double* chrangeCopy,
                    double* weightCopy);

// ---- The search ----
// Threads for a search: nProcessors of the preferences (0: all), one while
// a companion file is written.
int RankThreads(bool companion);
// Runs every size from nMinTraitsChRank to nMaxTraitsChRank through the
// member: progress line, intermediate lines, best line of each size (flushed)
// into f; ranking table and bests into table and best. `total` is the
// iteration count of the progress line.
void RankSearchRun(RankMember* m, int nThreads, FILE* f, FILE* companion, RankTable* table,
                   RankBest* best, long long total);
void RankBestAlloc(RankBest* b, int n, double start);
void RankBestFree(RankBest* b, int n);

// ---- Report parts ----
// Labels of the first k traits of list, "%-2s\t" each.
void RankPrintLabels(FILE* f, int k, const int* list);
// version, rules, title, time stamp, session and formatted data lines.
void RankReportTop(FILE* f);
// "All traits were considered." or the traits of weight above 0.
void RankReportTraits(FILE* f);
// The resemblance line between communities, with Mantel only.
void RankReportResemblance(FILE* f);
// The partition of OTUs into types.
void RankReportPartition(FILE* f);
// Heading of the intermediate lines, when they are asked for.
void RankReportIntermediateHeading(FILE* f);
// The table (rows nKeepTrack down to 1), the best of each size, elapsed time.
void RankReportEnd(FILE* f, const RankMember* m, const RankTable* table, const RankBest* best,
                   const char* heading);

// ---- Data of a run that do not depend on the subset ----
// The pairs i < j of a resemblance matrix between communities, in row
// order, with what its Mantel correlations share.
struct RankPairs {
  double* d;         // [pairs] the pairs
  double* centred;   // [pairs] the pairs minus their mean
  double ss;         // sum of squares of the centred pairs
  bool ok;           // no pair is -999, so the centred pairs serve
  double sum;        // sum of the pairs in pair order, when `summed`
  bool missing;      // a pair is -999, when `summed`
  bool summed;       // the producer of d summed it as it went
};
void RankPairsAlloc(RankPairs* p, long pairs);
void RankPairsFree(RankPairs* p);
// Centres p->d (as the Mantel correlation does) and sets ok.
void RankPairsPrepare(RankPairs* p, long pairs);
// RankPairsPrepare of b and RankMantel of a and b, the centring of b and the
// cross products in one pass.
double RankMantelWith(int n, const RankPairs* a, RankPairs* b, double** scratchA, double** scratchB);
// The Mantel form of two resemblance matrices between n communities: for n
// of 2 the single pair's 1 - |a - b| / max(a, b), otherwise the Mantel
// correlation (from the centred pairs when both are ok, else from scratch
// matrices of n x n made from the pairs). NaN below 2 communities.
double RankMantel(int n, const RankPairs* a, const RankPairs* b, double** scratchA, double** scratchB);

// Ec and DE from E, computed once per run.
struct RankEnvironment {
  double** Ec;       // [ncsm][nenv] E as transformed for DE
  double** DE;       // [ncsm][ncsm]
  RankPairs de;      // DE's pairs, prepared
  long pairs;        // ncsm (ncsm - 1) / 2
};
void RankEnvironmentPrepare(RankEnvironment* e);
void RankEnvironmentFree(RankEnvironment* e);

// W with communities as rows, and with unit row totals when `unitTotals`.
double** RankCommunityMatrix(bool unitTotals);

// Occurrences of a community matrix: the entries other than 0 and -999 of
// each row, for products that skip the zero terms (which add nothing).
struct RankOccurrences {
  int rows;
  int* start;        // [rows + 1] first entry of each row
  int* column;       // column of each entry
  double* weight;    // its value
  bool* missing;     // [rows] the row holds -999: a sum of 0 becomes -999
};
void RankOccurrencesBuild(RankOccurrences* o, int rows, int cols, double** W);
void RankOccurrencesFree(RankOccurrences* o);

// The partial similarities trait by trait over the pairs i < j of OTUs:
// entry[t][p] with -999 as 0, and present[t][p] 1 or 0.
struct RankCube {
  int nTraits;
  int nOTUs;
  long pairs;
  double** entry;
  double** present;
  bool complete;     // no entry is missing: every pair's count is the subset's size
};
void RankCubeBuild(RankCube* c, int nTraits, int nOTUs, double*** cube);
void RankCubeFree(RankCube* c);

// Squared differences of each trait's column of T over the pairs i < j of
// communities (0 where a value is -999): DT of any subset is a masked sum.
struct RankTraitPairs {
  int nTraits;
  long pairs;
  double** sq;       // [nTraits][pairs]
};
void RankTraitPairsBuild(RankTraitPairs* tp, int rows, int nTraits, double** T);
void RankTraitPairsFree(RankTraitPairs* tp);

// Fuzzy belonging of OTUs to the user's types, with what the partition fixes.
struct RankTypes {
  int n;             // OTUs
  int g;             // types
  int* group;        // [n] type index of each OTU
  int* labels;       // [n] the partition itself
  double* size;      // [g] OTUs of each type
  int* order;        // [n] OTUs type by type, ascending within a type
};
void RankTypesBuild(RankTypes* t, int n, int g, int* partition);
void RankTypesFree(RankTypes* t);

// ---- Per-subset kernels (allocation-free; each thread passes its own arrays) ----
// Running sums over the traits of a subset, kept level by level for the
// subsets that follow (one per thread).
struct RankPrefix {
  int nTraits;
  long length;       // values in each row
  int valid;         // levels that hold sums
  int* traits;       // [nTraits] trait added at each level
  double** level;    // [nTraits][length] sum after each level
};
void RankPrefixAlloc(RankPrefix* p, int nTraits, long length);
void RankPrefixFree(RankPrefix* p);
// Sum of rows[t] over the first k traits t of list (1-based numbers,
// ascending), each value's sum in that order.
const double* RankPrefixSum(RankPrefix* p, double** rows, const int* list, int k);
// S (both triangles, diagonal 1) as the average of the cube over the traits
// of the subset: the sum of the entries divided by their count, -999 when none.
// values holds the pairs' averages (cube pairs doubles).
void RankSimilarity(const RankCube* c, const RankSubset* s, RankPrefix* entries, RankPrefix* counts,
                    double** S, double* values);
// U of n OTUs in g types from S (both triangles); rows sum to 1. Identical
// OTUs of a type count once. work holds (g + 1) * n doubles, flag and rep n
// each. With `mirror` S is first mirrored, upper triangle into lower.
void RankBelonging(const RankTypes* t, double** S, bool mirror, double** U, double* work, char* flag, int* rep);
// X[c][0..g) = sum over the occurrences q of row c of weight[q] * rows[q][.],
// in column order, rows[q] being U's row of the occurrence's column; -999
// when the sum is 0 and the row holds -999.
void RankProduct(const RankOccurrences* o, int g, double* const* rows, double** X);
// Euclidean distances between the rows of X over g columns, pairs i < j in
// row order into p (summed); xt holds g * rows doubles, acc rows doubles, D
// is a rows x rows work matrix.
void RankEuclidPairs(int rows, int g, double** X, double* xt, double* acc, double** D, RankPairs* p);
// DT's pairs for the traits of the subset, into p (summed).
void RankTraitDistances(const RankTraitPairs* tp, const RankSubset* s, RankPrefix* sums, RankPairs* p);
// Pairs i < j of a square matrix, in row order.
void RankMatrixToPairs(int n, double** D, RankPairs* p);
// Upper triangle of D from pairs; diagonal 0.
void RankPairsToMatrix(int n, const double* d, double** D);
// The conversions of a resemblance matrix by rese_opt (3 or 4: from cross
// products; 5: from a correlation matrix that is all zero).
void RankConvertResemblance(int n, double** D, double** zero);

// ---- What a member's run holds: once per run, and once per thread ----
struct RankThreadWork {
  RankPrefix entries; // sums of the similarity average, by trait
  RankPrefix counts;  // their counts
  RankPrefix tsums;   // sums of DT's squared differences
  double* values;     // [OTU pairs] the similarity of each pair
  double** S;         // [tcst][tcst] similarity between OTUs
  double** U;         // [tcst][tcst] belonging to types (g columns used)
  double* belongWork; // [(tcst + 1) tcst]
  char* flag;         // [tcst] identical OTUs
  int* rep;           // [tcst]
  double** X;         // [ncsm][tcst] composition of types (g columns used)
  double** Xn;        // [ncsm][tcst] X with rows of unit length (chord distance)
  double* xt;         // [tcst ncsm] columns of X side by side
  double* rowAcc;     // [ncsm]
  double** uRows;     // [occurrences of W1] U's row of each occurrence's OTU
  double** T;         // [ncsm][nch] T of the subset (Procrustes, RV, partial forms)
  double** D;         // [ncsm][ncsm] a resemblance matrix in matrix form
  double** zero;      // [ncsm][ncsm] stays all zero
  double** scratchA;  // [ncsm][ncsm] for Mantel correlations with missing pairs
  double** scratchB;
  RankPairs dt;       // DT of the subset
  RankPairs dx;       // DX of the subset
};

struct RankRun {
  int member;               // criterion of the member: 10, 1 or 9
  RankEnvironment env;      // Ec, DE and its prepared pairs
  double** W1;              // [ncsm][tcst] W, unit totals with optUnitTotalAdjust2
  double** W2;              // [ncsm][tcst] W, unit totals with optUnitTotalAdjust1
  double** B;               // [tcst][nch] B with the traits of weight 0 at 0
  double** Traw;            // [ncsm][nch] T of all traits, before normalising
  double** Tall;            // [ncsm][nch] T of all traits, columns of unit length
  RankTraitPairs tpairs;    // squared differences of Tall's columns
  RankCube cube;            // partial similarities of OTUs
  double** Brange;          // [tcst][nch] B range-adjusted (Euclidean OTU resemblance)
  RankTypes types;          // the user's partition of OTUs
  double** C;               // [tcst][G] crisp belonging
  RankOccurrences occ;      // occurrences of W1
  double** cRows;           // [occurrences] C's row of each occurrence's OTU
  int nThreads;             // threads of the search
  RankThreadWork** work;    // [nThreads]
};

// Computes what the member's evaluations share (member 10, 1 or 9), and the
// work arrays of each thread.
void RankRunPrepare(RankRun* run, int member);
void RankRunFree(RankRun* run);

// ---- Pieces of an evaluation shared by the members ----
// The subset's T: its columns of the normalised T of all traits, 0 elsewhere.
void SubsetT(const RankRun* run, const int* mask, double** T);
// Resemblance between communities from `cols` columns of M by `option`
// (rese_opt), with its conversions, into the pairs of *p.
void CommunityResemblance(RankThreadWork* w, double** M, int cols, int option, RankPairs* p);
// DT of the subset (Euclidean), with the conversions of rese_opt.
void SubsetDT(const RankRun* run, RankThreadWork* w, const RankSubset* s);
// S between OTUs over the subset's traits.
void SubsetSimilarity(const RankRun* run, RankThreadWork* w, const RankSubset* s);
// U and X for g types; returns U.
double** SubsetComposition(const RankRun* run, RankThreadWork* w, int g);
// The text of option `option` (from 1) of a table of n rows; empty outside it.
const char* OptionText(const char* const* table, int n, int option);

// The types loop: g from 2 to tcst, evaluated within the limits. The limits
// are the user's number of types, so one g passes; a single type passes none.
// With one trait the loop ends after an evaluation unless the trait is
// quantitative and has more states than g.
template <typename Pass>
inline void TypesLoop(const RankSubset* s, RankResult* result, Pass pass) {
  for (int g = 2; g <= tcst; g++) {
    if (g > nMaxCSTGroupsChRank) break;
    if (g < nMinCSTGroupsChRank) continue;
    // Only the user's partition is known to the run: its g is the one that passes.
    if (g != nMaxCSTGroupsChRank) continue;
    pass(g);
    result->evaluated = true;
    result->groups = g;
    if (s->k == 1 && (s->firstType != 3 || g == s->firstStates)) break;
  }
}

// Rao entropy R[c][0] of each of `rows` communities over their first g
// OTUs (rows of W) with d = 1 - S or its square root: what RaoIndex gives,
// with the distances taken once for all communities. distances holds g * g
// doubles, shares g.
void RankRaoEntropies(int g, int rows, double** W, double** S, bool sqrtDissim, double* distances, double* shares,
                      double** R);

// S among the first g OTUs only (both triangles), as RankSimilarity gives it.
void RankLeadingSimilarity(const RankCube* c, const RankSubset* s, int g, double** S);

// ---- Members with data of their own ----
// How the header of a member on the composition of types differs from the
// header of the search for r(XE.T).
struct RankHeaderStyle {
  bool measureInCriterion;  // the measure's text as a second column of the criterion line
  bool measureLine;         // the "Correlation measure" line
  bool partitionListed;     // the user's partition listed, else the line on the clustering method
  const char* gowerLine;    // format of the Gower line (with reseCSTopt 1)
  bool raoLine;             // the line on Rao entropy behind it
  int traits;               // traits considered: 0 not listed, 1 as for r(XE.T), 2 for Gower's index
  bool factorLine;          // the factor of PCA regression, when opt_ro isn't 1
  bool groupsColumn;        // the heading of the intermediate lines holds "Groups"
};
void RankHeaderComposition(FILE* f, const RankHeaderStyle* style);

// How a member's run goes beyond the shared search; the functions receive
// the member's context.
struct RankMemberHooks {
  int member;                 // the shared run data are those of criterion 10, 1 or 9
  const char* companionName;  // file of the intermediate matrices (saveStruct 'y')
  void (*header)(FILE* f);    // report header
  const char* heading;        // list of maximum rank: its heading (null: the plain one)
  // Optional, null when unused:
  void (*prepare)(void* context);                  // the member's own data, after the shared ones
  void (*companionStart)(FILE* f, void* context);  // null: DE and B, as the shared data give them
  // The report after the search; null: the ranking table and the bests.
  void (*finish)(void* context, FILE* f, const RankMember* m, RankTable* table, RankBest* best);
  void (*release)(void* context);                  // frees the member's own data
};
// Runs member m, whose context holds *run: files, the shared run data and
// the member's own, header, search and report into whichChorder.
void RankRunWithData(RankMember* m, RankRun* run, const RankMemberHooks* hooks);

// ---- Companion file of the intermediate matrices (saveStruct 'y') ----
void RankCompanionStart(FILE* f, const RankRun* run);
void RankCompanionTCAP(FILE* f, const RankRun* run, RankThreadWork* w, const RankSubset* s, double value);
void RankCompanionTDAP_TCAP(FILE* f, const RankRun* run, RankThreadWork* w, const RankSubset* s, int g,
                            double** U, double value);
void RankCompanionTDAP(FILE* f, const RankRun* run, RankThreadWork* w, const RankSubset* s, int g,
                       double** U, const double* values);
// The matrices of a subset as r(XE.T) writes them, from its traits to X and,
// with showDX, DX; the sizes of the g types (crisp) into sizes.
void RankCompanionSubsetMatrices(FILE* f, const RankRun* run, RankThreadWork* w, const RankSubset* s, int g,
                                 double** U, bool showDX, int* sizes);
// A resemblance matrix between communities, given by its pairs.
void RankCompanionPairs(FILE* f, const RankPairs* p, RankThreadWork* w);
// The close of a subset: its labels, "Group sizes:" and the sizes.
void RankCompanionSubsetEnd(FILE* f, const RankSubset* s, int g, const int* sizes);
// The residuals of a resemblance matrix (pairs) regressed on the subset's DT,
// made symmetric, under heading.
void RankCompanionResiduals(FILE* f, RankThreadWork* w, const double* pairs, const char* heading);

#endif

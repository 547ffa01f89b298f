// The report of the functional analysis (sessionName + "Prinda.txt"), written section by section.
#ifndef SCALING_REPORT_H
#define SCALING_REPORT_H

#include <cstdio>
#include <ctime>

// Head of the report: version (new file only), settings of the run, communities.
void ReportHead(FILE* f);
// W with communities as rows; `adjusted` picks the heading of the unit-total copy.
void ReportW(FILE* f, double** W, bool adjusted);
// Phylogeny block: PCoA scores (OTUs x nPCoA), the resemblance F, the taxa, Q, P and DP.
void ReportPhylogeny(FILE* f, double** scores, int nPCoA, double** Q, double** P, double** DP);
// Trait matrix B with all traits.
void ReportB(FILE* f, double** B);
// Ecological variables, E as in the session, and DE.
void ReportEnvironment(FILE* f, double** DE);
// Labels of the traits in use after "\nTraits:\t", one new line after them.
void ReportTraitLabels(FILE* f, int* mask);
// T before (`normalised` false, with the labels of the traits in use) or after normalisation.
void ReportT(FILE* f, double** T, int* mask, bool normalised);
// DT between communities.
void ReportDT(FILE* f, double** DT);
// Similarity between OTUs, and the monothetic types when types come from clustering.
void ReportSimilarity(FILE* f, double** S, int nTraitsUsed, int* mask, int nMono, double** trimmed);
// Partition of the pass into g types, U and C, sorted labels (first part).
void ReportPartition(FILE* f, int g, int* monoLabels, int nMono, int* labels, int* distinct,
                     double** U, double** C);
// Type sizes, average traits, Xcrisp and X (second part).
void ReportTypeMatrices(FILE* f, int g, int* sizes, double** A, double** Xcrisp, double** X,
                        int* mask);
// Kind of statistic, the statistics (with their probabilities when tested), the
// phylogenetic statistics, and the footnotes of the tests; time0 starts the test clock.
void ReportStatistics(FILE* f, const double* stats, const double* probs, bool tested, int g,
                      int* sizes, int* mask, time_t time0);
// Gini-Simpson, Rao entropies, redundancies and OTU weights.
void ReportDiversity(FILE* f, double* D, double* Rf, double* FR, double* Rp, double* PR);

// Prints a resemblance matrix held in its upper triangle as a lower half,
// by transposing it and back.
void PrintUpperAsLower(FILE* f, int n, double** m);

#endif

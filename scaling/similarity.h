// Gower similarities between OTUs, partial similarities per trait, fuzzy and crisp belonging, partition tools.
#ifndef SCALING_SIMILARITY_H
#define SCALING_SIMILARITY_H

// Variable types: 1 binary, 2 nominal, 3 quantitative, 4 ordinal (ranked,
// then quantitative); other types contribute nothing. -999 is missing: a pair
// with a missing value contributes nothing. A similarity runs from 0 to 1.
// Null `ranges` / `weights` mean "compute" / "all 1".

// Plain Gower: no missing values, types 1 to 3, double absences never match.
void Gower(int n, int p, int* type, float** data, float** S, float* ranges, float* weights);
void Gower(int n, int p, int* type, float** data, double** S, float* ranges, float* weights);
// As Gower, with -999 left out.
void GowerMV(int n, int p, int* type, float** data, float** S, float* ranges, float* weights);
void GowerMV(int n, int p, int* type, float** data, double** S, float* ranges, float* weights);
void GowerMV(int n, int p, int* type, double** data, double** S, float* ranges, float* weights);
// Types 1 to 4; `opt` is countDoubleAbsence (0: two zeros of a binary trait
// are left out; else they match). Columns of type 4 in `data` are replaced by
// their ranks. S is symmetric with diagonal 1.
void GowerMVOpt(int n, int p, int* type, double** data, double** S, float* ranges, float* weights, int opt);
void GowerMVOpt(int n, int p, int* type, float** data, float** S, float* ranges, float* weights, int opt);
void GowerMVOpt(int n, int p, int* type, float** data, double** S, float* ranges, float* weights, int opt);
// Partial similarity of one variable, types 1 to 3; range computed when 0.
void GowerMVPartial(int n, int type, float* column, float** S, float range, float weight);
// Partial similarity of one variable: weight times its similarity, -999 where
// the variable says nothing; stored rounded to float. Type 4 ranks `column`.
void GowerMVPartial_dAbsences(int n, int type, double* column, double** S, double range, double weight,
                              int opt);
void GowerMVPartial_dAbsences(int n, int type, float* column, float** S, float range, float weight, int opt);
void GowerMVPartial_dAbsences(int n, int type, float* column, double** S, double range, double weight,
                              int opt);
// Text data, two characters a value read with atof: converted, then GowerMVOpt.
void gower_similarity(int n, int p, int* type, char** data, double** S, float* ranges, float* weights,
                      int opt);
void gower_similarity(int n, int p, int* type, char** data, float** S, float* ranges, float* weights,
                      int opt);

// Fills cube[i][j][t] (i <= j) from a trait matrix of n rows and p columns,
// double absences by countDoubleAbsence. The source matrix is not changed.
void gower_similarityPartial(int p, double** data, int n, double*** cube, int* type, double* ranges,
                             double* weights);
void gower_similarityPartial(int p, float** data, int n, double*** cube, int* type, double* ranges,
                             double* weights);
void gower_similarityPartial(int p, float** data, int n, double*** cube, int* type, float* ranges,
                             float* weights);
// S (upper triangle and diagonal only) as the weighted average of the cube's
// entries over the traits: one pass over the cube. The int* form takes a 0/1
// trait mask and averages the cube's (already weighted) entries.
void gower_similarityAverage(int p, int n, double*** cube, double** S, double* weights);
void gower_similarityAverage(int p, int n, double*** cube, double** S, float* weights);
void gower_similarityAverage(int p, int n, double*** cube, double** S, int* mask);
void gower_similarityAverage(int p, int n, double*** cube, float** S, double* weights);
void gower_similarityAverage(int p, int n, double*** cube, float** S, int* mask);

// U[i][g]: fuzzy belonging of object i to group g (g = position of the label
// in the sorted distinct labels); rows sum to 1. Null partition: each object is
// its own group. Identical objects (S == 1 within one float step) of one group
// count once; the result does not depend on the number of threads. Mirrors S.
bool FuzzyBelonging(int n, int nGroups, double** S, int* partition, double** U, bool isDissimilarity);
// C[i][g] = 1 for the group of i, else 0. Null partition: the identity.
bool CrispBelonging(int n, int nGroups, int* partition, double** C);
// Number of distinct labels; `distinct` (may be null) gets them ascending.
void CountGroupsNew(int n, int* labels, int* nGroups, int* distinct);
// Groups objects whose resemblance is exactly 1 (0 for dissimilarities), labels 1..nGroups.
void ClusterIdenticals(int n, double** S, int* labels, int* nGroups, bool isDissimilarity);
// trimmed[a][b] (a <= b) = S between the first members of groups a + 1 and b + 1.
void TrimRese(int n, int m, int* labels, double** S, double** trimmed);
// Mean of the entries above the diagonal (NaN for n < 2).
double AverageResemblance(int n, double** D);
// Mean nearest-neighbour distance between the groups of the masked objects.
double NearNeighDist(int n, double** D, int* group, int* mask);
// Legendre-Chodorowski similarity with parameter k (per variable in the float* form).
void LegendreChodorowski(int n, int p, double** data, double** S, double* weights, double parameter);
void LegendreChodorowski(int n, int p, double** data, double** S, double* weights, float* parameter);
// Diagonal 1, lower triangle 0.
void Cleanup(int n, double** S);

#endif

// Gower similarities between objects (all variable types, missing values,
// ordinal ranks), partial similarities per variable, and the
// Legendre-Chodorowski index.
#ifndef TARNLIB_TARNLIBGOWER_H
#define TARNLIB_TARNLIBGOWER_H

extern int countDoubleAbsence;  // Gower index counts matching absences (a preference)

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

// Legendre-Chodorowski similarity with parameter k (per variable in the float* form).
void LegendreChodorowski(int n, int p, double** data, double** S, double* weights, double parameter);
void LegendreChodorowski(int n, int p, double** data, double** S, double* weights, float* parameter);
// Diagonal 1, lower triangle 0.
void Cleanup(int n, double** S);

#endif

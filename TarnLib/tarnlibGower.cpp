// Gower's general coefficient of similarity between objects, its partial
// similarities per variable, and the Legendre-Chodorowski index.
// Gower's general coefficient of similarity (Gower 1971, Biometrics 27:857), with Podani's treatment of
// ordinal variables by ranks (Podani 1999, Taxon 48:331); Legendre & Chodorowski (1977) for the index of
// that name (Legendre & Legendre, Numerical Ecology, coefficient S9).
#include "TarnLib/tarnlibGower.h"

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibStats.h"

// Set at start and by the preferences; 1 until then.
int countDoubleAbsence = 1;

namespace {

const double MV = -999.0;

inline bool isMV(double x) { return x == MV; }

// Start values of the running range limits. They are part of the definition:
// an all-negative column keeps the positive start value as its maximum.
const double floatMinNormal = 1.1754943508222875e-38;
const double floatMax = 3.4028234663852886e+38;

// What distinguishes the members of the Gower family.
struct GowerVariant {
  bool missing;         // -999 left out of pairs and ranges
  int maxType;          // 3, or 4 with ordinal variables ranked
  bool useOpt;          // double absences by opt; otherwise never matched
  double maxStart;      // start of the running maximum of a range
  double minStart;      // start of the running minimum
  bool alwaysCompute;   // ranges computed whatever the argument holds
};

// A double rounded to float precision; beyond the float range it becomes an
// infinity of its sign (a column with no value has a range of minus the
// largest double), which a plain conversion would leave undefined.
inline float asFloat(double x) {
  if (x > FLT_MAX || x < -FLT_MAX) return x > 0.0 ? INFINITY : -INFINITY;
  return (float)x;
}

template <typename TD> float columnRange(int n, TD** data, int t, bool missing, double maxStart,
                                         double minStart) {
  double mx = maxStart, mn = minStart;
  for (int i = 0; i < n; i++) {
    double v = data[i][t];
    if (missing && isMV(v)) continue;
    if (v > mx) mx = v;
    if (v < mn) mn = v;
  }
  return asFloat(mx - mn); // the range is stored as a float
}

// Replaces the non-missing values of column t by their midranks.
template <typename TD> void rankColumn(int n, TD** data, int t, double* work, double* ranks) {
  for (int i = 0; i < n; i++) work[i] = data[i][t];
  RankVectorAdjMV(n, work, ranks);
  for (int i = 0; i < n; i++) data[i][t] = (TD)ranks[i];
}

// Adds one variable's contribution to the numerator and denominator of a pair.
inline void gowerTerm(int type, double a, double b, double w, double range, bool countAbsences, double* num,
                      double* den) {
  switch (type) {
  case 1:
    if (a == b) {
      if (a == 0.0 && !countAbsences) return; // double absence left out
      *num += w;
    }
    *den += w;
    break;
  case 2:
    if (a == b) *num += w;
    *den += w;
    break;
  case 3:
  case 4:
    *num += range > 0.0 ? w * (1.0 - fabs(a - b) / range) : w;
    *den += w;
    break;
  default: break;
  }
}

template <typename TD, typename TS>
void gowerCore(int n, int p, int* type, TD** data, TS** S, float* ranges, float* weights, int opt,
               const GowerVariant& v) {
  if (n < 1) return;
  float* range = dim1Dfloat(p > 0 ? p : 1);
  if (v.maxType >= 4) {
    double* work = dim1Double(n);
    double* ranks = dim1Double(n);
    for (int t = 0; t < p; t++)
      if (type[t] == 4) rankColumn(n, data, t, work, ranks);
    free1D(work);
    free1D(ranks);
  }
  for (int t = 0; t < p; t++) {
    bool quantitative = type[t] == 3 || (type[t] == 4 && v.maxType >= 4);
    if (!quantitative) continue;
    if (v.alwaysCompute || !ranges) range[t] = columnRange(n, data, t, v.missing, v.maxStart, v.minStart);
    else range[t] = ranges[t];
  }
  bool countAbsences = v.useOpt && opt != 0;
  for (int i = 0; i < n; i++) {
    S[i][i] = 1;
    for (int j = i + 1; j < n; j++) {
      double num = 0.0, den = 0.0;
      for (int t = 0; t < p; t++) {
        if (type[t] < 1 || type[t] > v.maxType) continue;
        double a = data[i][t], b = data[j][t];
        if (v.missing && (isMV(a) || isMV(b))) continue;
        double w = weights ? (double)weights[t] : 1.0;
        gowerTerm(type[t], a, b, w, range[t], countAbsences, &num, &den);
      }
      // An empty denominator keeps the old upper value, mirrored.
      if (den > 0.0) S[i][j] = S[j][i] = (TS)(num / den);
      else S[j][i] = S[i][j];
    }
  }
  free1D(range);
}

const GowerVariant plainGower = {false, 3, false, floatMinNormal, floatMax, false};
const GowerVariant gowerMV = {true, 3, false, floatMinNormal, floatMax, false};
const GowerVariant gowerMVOpt = {true, 4, true, DBL_MIN, DBL_MAX, true};

// The partial similarity of one variable for a pair, or -999 when the
// variable says nothing about it.
inline double partialValue(int type, double a, double b, double w, double range, int opt) {
  if (isMV(a) || isMV(b) || !(w > 0.0)) return MV;
  switch (type) {
  case 2: return a == b ? w : 0.0;
  case 1:
    if (opt != 0 && opt != 1) return MV;
    if (a != b) return 0.0;
    if (a == 0.0 && opt == 0) return MV; // double absence under opt 0
    return w;
  case 3:
  case 4: return range > 0.0 ? w * (1.0 - fabs(a - b) / range) : w;
  default: return MV;
  }
}

template <typename TC, typename TS>
void partialCore(int n, int type, TC* column, TS** S, double range, double weight, int opt, int maxType) {
  if (n < 1) return;
  if (type == 4 && maxType >= 4) {
    double* work = dim1Double(n);
    double* ranks = dim1Double(n);
    for (int i = 0; i < n; i++) work[i] = column[i];
    RankVectorAdjMV(n, work, ranks);
    for (int i = 0; i < n; i++) column[i] = (TC)ranks[i];
    free1D(work);
    free1D(ranks);
  }
  if ((type == 4 && maxType >= 4) || (type == 3 && range == 0.0)) {
    double mx = DBL_MIN, mn = DBL_MAX;
    for (int i = 0; i < n; i++) {
      if (isMV(column[i])) continue;
      if (column[i] > mx) mx = column[i];
      if (column[i] < mn) mn = column[i];
    }
    range = asFloat(mx - mn);
  }
  if (type > maxType) type = 0; // says nothing
  double w = weight < 0.0 ? 1.0 : weight;
  for (int i = 0; i < n; i++)
    for (int j = i; j < n; j++) {
      // Stored through a float in every overload: the cube carries float accuracy.
      float v = (float)partialValue(type, column[i], column[j], w, range, opt);
      S[i][j] = S[j][i] = (TS)v;
    }
}

template <typename TD> void partialCubeCore(int p, TD** data, int n, double*** cube, int* type, double* ranges,
                                            double* weights) {
  if (n < 1 || p < 1) return;
  // Columns are copied out so that ranking ordinal traits leaves the source alone.
  double** columns = dim2Double(p, n);
  for (int i = 0; i < n; i++)
    for (int t = 0; t < p; t++) columns[t][i] = data[i][t];
  double** work = dim2Double(n, n);
  for (int t = 0; t < p; t++) {
    partialCore(n, type[t], columns[t], work, ranges[t], weights[t], countDoubleAbsence, 4);
    for (int i = 0; i < n; i++)
      for (int j = i; j < n; j++) cube[i][j][t] = work[i][j];
  }
  free2D(work, n);
  free2D(columns, p);
}

template <typename TS, typename TW> void averageCore(int p, int n, double*** cube, TS** S, TW* weights) {
  for (int i = 0; i < n; i++) {
    S[i][i] = 1;
    for (int j = i + 1; j < n; j++) {
      if (p < 1) {
        S[i][j] = (TS)MV;
        continue;
      }
      const double* e = cube[i][j];
      double a = 0.0, b = 0.0;
      bool any = false;
      for (int t = 0; t < p; t++) {
        if (!(weights[t] > 0) || isMV(e[t])) continue;
        a += e[t];
        b += weights[t];
        any = true;
      }
      S[i][j] = (TS)(b > 0.0 ? a / b : (any ? 0.0 : MV));
    }
  }
}

// The mask form averages the cube's entries, whose trait weights were
// already multiplied in: with weights other than 0/1 this is not a weighted
// average, and that is how the subset search uses it.
template <typename TS> void averageMaskCore(int p, int n, double*** cube, TS** S, int* mask) {
  for (int i = 0; i < n; i++) {
    S[i][i] = 1;
    for (int j = i + 1; j < n; j++) {
      if (p < 1) {
        S[i][j] = (TS)MV;
        continue;
      }
      const double* e = cube[i][j];
      double a = 0.0;
      int b = 0;
      for (int t = 0; t < p; t++) {
        if (mask[t] != 1 || isMV(e[t])) continue;
        a += e[t];
        b++;
      }
      S[i][j] = (TS)(b > 0 ? a / b : MV);
    }
  }
}


// Text data hold two characters per value.
template <typename TS>
void gowerText(int n, int p, int* type, char** data, TS** S, float* ranges, float* weights, int opt) {
  if (n < 1) return;
  double** values = dim2Double(n, p > 0 ? p : 1);
  for (int i = 0; i < n; i++) {
    size_t len = strlen(data[i]);
    for (int t = 0; t < p; t++) {
      char field[3] = {0, 0, 0};
      for (int c = 0; c < 2; c++)
        if ((size_t)(2 * t + c) < len) field[c] = data[i][2 * t + c];
      values[i][t] = atof(field);
    }
  }
  gowerCore(n, p, type, values, S, ranges, weights, opt, gowerMVOpt);
  free2D(values, n);
}

} // namespace

// ------------------------------------------------------------- Gower family
void Gower(int n, int p, int* type, float** data, float** S, float* ranges, float* weights) {
  gowerCore(n, p, type, data, S, ranges, weights, 0, plainGower);
}
void Gower(int n, int p, int* type, float** data, double** S, float* ranges, float* weights) {
  gowerCore(n, p, type, data, S, ranges, weights, 0, plainGower);
}
void GowerMV(int n, int p, int* type, float** data, float** S, float* ranges, float* weights) {
  gowerCore(n, p, type, data, S, ranges, weights, 0, gowerMV);
}
void GowerMV(int n, int p, int* type, float** data, double** S, float* ranges, float* weights) {
  gowerCore(n, p, type, data, S, ranges, weights, 0, gowerMV);
}
void GowerMV(int n, int p, int* type, double** data, double** S, float* ranges, float* weights) {
  gowerCore(n, p, type, data, S, ranges, weights, 0, gowerMV);
}
void GowerMVOpt(int n, int p, int* type, double** data, double** S, float* ranges, float* weights, int opt) {
  gowerCore(n, p, type, data, S, ranges, weights, opt, gowerMVOpt);
}
void GowerMVOpt(int n, int p, int* type, float** data, float** S, float* ranges, float* weights, int opt) {
  gowerCore(n, p, type, data, S, ranges, weights, opt, gowerMVOpt);
}
void GowerMVOpt(int n, int p, int* type, float** data, double** S, float* ranges, float* weights, int opt) {
  gowerCore(n, p, type, data, S, ranges, weights, opt, gowerMVOpt);
}

void GowerMVPartial(int n, int type, float* column, float** S, float range, float weight) {
  // Types 1 to 3 only, and two zeros of a binary variable never match.
  partialCore(n, type, column, S, range, weight, 0, 3);
}
void GowerMVPartial_dAbsences(int n, int type, double* column, double** S, double range, double weight,
                              int opt) {
  partialCore(n, type, column, S, range, weight, opt, 4);
}
void GowerMVPartial_dAbsences(int n, int type, float* column, float** S, float range, float weight, int opt) {
  partialCore(n, type, column, S, range, weight, opt, 4);
}
void GowerMVPartial_dAbsences(int n, int type, float* column, double** S, double range, double weight,
                              int opt) {
  partialCore(n, type, column, S, range, weight, opt, 4);
}

void gower_similarity(int n, int p, int* type, char** data, double** S, float* ranges, float* weights,
                      int opt) {
  gowerText(n, p, type, data, S, ranges, weights, opt);
}
void gower_similarity(int n, int p, int* type, char** data, float** S, float* ranges, float* weights,
                      int opt) {
  gowerText(n, p, type, data, S, ranges, weights, opt);
}

void gower_similarityPartial(int p, double** data, int n, double*** cube, int* type, double* ranges,
                             double* weights) {
  partialCubeCore(p, data, n, cube, type, ranges, weights);
}
void gower_similarityPartial(int p, float** data, int n, double*** cube, int* type, double* ranges,
                             double* weights) {
  partialCubeCore(p, data, n, cube, type, ranges, weights);
}
void gower_similarityPartial(int p, float** data, int n, double*** cube, int* type, float* ranges,
                             float* weights) {
  double* r = dim1Double(p > 0 ? p : 1);
  double* w = dim1Double(p > 0 ? p : 1);
  for (int t = 0; t < p; t++) {
    r[t] = ranges[t];
    w[t] = weights[t];
  }
  partialCubeCore(p, data, n, cube, type, r, w);
  free1D(r);
  free1D(w);
}

void gower_similarityAverage(int p, int n, double*** cube, double** S, double* weights) {
  averageCore(p, n, cube, S, weights);
}
void gower_similarityAverage(int p, int n, double*** cube, double** S, float* weights) {
  averageCore(p, n, cube, S, weights);
}
void gower_similarityAverage(int p, int n, double*** cube, double** S, int* mask) {
  averageMaskCore(p, n, cube, S, mask);
}
void gower_similarityAverage(int p, int n, double*** cube, float** S, double* weights) {
  averageCore(p, n, cube, S, weights);
}
void gower_similarityAverage(int p, int n, double*** cube, float** S, int* mask) {
  averageMaskCore(p, n, cube, S, mask);
}



template <typename TK>
static void legendreCore(int n, int p, double** data, double** S, double* weights, TK parameter, bool perVar) {
  for (int i = 0; i < n; i++) {
    S[i][i] = 1.0;
    for (int j = i + 1; j < n; j++) {
      double num = 0.0, den = 0.0;
      for (int t = 0; t < p; t++) {
        double w = weights ? weights[t] : 1.0;
        if (!(w > 0.0)) break; // later variables aren't looked at: intended
        double a = data[i][t], b = data[j][t];
        if (isMV(a) || isMV(b) || !(a + b > 0.0)) continue;
        double k = perVar ? (double)parameter[t] : (double)parameter[0];
        double d = fabs(a - b);
        if (d <= k && a * b > 0.0) num += w * 2.0 * (k + 1.0 - d) / (k * d + 2.0 * k + 2.0);
        den += w;
      }
      if (den > 0.0) S[i][j] = S[j][i] = (float)(num / den);
      else S[j][i] = S[i][j];
    }
  }
}

void LegendreChodorowski(int n, int p, double** data, double** S, double* weights, double parameter) {
  legendreCore(n, p, data, S, weights, &parameter, false);
}
void LegendreChodorowski(int n, int p, double** data, double** S, double* weights, float* parameter) {
  legendreCore(n, p, data, S, weights, parameter, true);
}

void Cleanup(int n, double** S) {
  for (int i = 0; i < n; i++) {
    S[i][i] = 1.0;
    for (int j = 0; j < i; j++) S[i][j] = 0.0;
  }
}

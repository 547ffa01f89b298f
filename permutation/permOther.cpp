// The library's smaller permutation tests and their neighbours. Monte Carlo
// permutation tests (Manly 2007, Randomization, Bootstrap and Monte Carlo
// Methods in Biology); Mantel (1967), Cancer Research 27: 209-220; limiting
// similarity after Stubbs & Wilson (2004), J. Ecology 92: 557-567; partial
// correlation from the inverse of the correlation matrix (Whittaker 1990,
// Graphical Models in Applied Multivariate Statistics).
#include "permutation/permOther.h"

#include <climits>
#include <cmath>

#include "TarnLib/tarnlibCongruence.h"
#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibRandom.h"
#include "TarnLib/tarnlibRegression.h"
#include "TarnLib/tarnlibRese.h"
#include "TarnLib/tarnlibStats.h"
#include "TarnLib/tarnlibTables.h"
#include "permutation/permCorrel.h"
#include "scaling/community.h"
#include "shell/shell.h"

// Digits of the numbers in the intermediate results.
#define OTHER_DETAIL_DIGITS 6

static void Status(const char* format, int i, int niter) {
  char text[80];
  snprintf(text, sizeof(text), format, i, niter);
  HandleEventInfoWhere2(text);
}

// Upper triangle of a square matrix copied onto the lower one, in place.
static void MirrorUpper(int n, double** m) {
  for (int i = 0; i < n; i++)
    for (int j = i + 1; j < n; j++) m[j][i] = m[i][j];
}

// m[a][b] = from[list[a]-1][list[b]-1], both triangles.
static void PermuteSquare(int n, const int* list, double** from, double** m) {
  for (int a = 0; a < n; a++) {
    double* src = from[list[a] - 1];
    for (int b = 0; b < n; b++) m[a][b] = src[list[b] - 1];
  }
}

double ProbMantel(int n, int niter, double** A, double** B, double* observed) {
  int side = n > 0 ? n : 1;
  double** work = dim2Double(side, side);
  double** permuted = dim2Double(side, side);
  int* list = dim1Dint(side);
  for (int i = 0; i < n; i++)
    for (int j = i; j < n; j++) work[i][j] = work[j][i] = A[i][j];
  double rObserved = MatrixCorr(n, work, B);
  double count = 1.0;
  for (int it = 1; it < niter; it++) {
    Status("Permutation test: %d of %d", it, niter);
    RndList(n, list);
    for (int a = 0; a < n; a++)
      for (int b = a + 1; b < n; b++) permuted[a][b] = work[list[a] - 1][list[b] - 1];
    double random = MatrixCorr(n, permuted, B);
    if (IsLargerThanOrEqual(random, rObserved, 1, true)) count += 1.0;
  }
  *observed = rObserved;
  free2D(work, side);
  free2D(permuted, side);
  free1D(list);
  return count / niter;
}

double Prob_LimitingSimilarity(int niter, int nOTUs, int nCommunities, double** W, double** S,
                               bool isDissimilarity, bool saveDetail, FILE* out) {
  bool detail = saveDetail && out;
  int side = nOTUs > 0 ? nOTUs : 1;
  double** permuted = dim2Double(side, side);
  int* list = dim1Dint(side);
  MirrorUpper(nOTUs, S);
  double v = NearNeigAvgTraitResemblance_WithinCommunity(nOTUs, nCommunities, W, S, isDissimilarity, false, NULL);
  if (detail) {
    fprintf(out, "\nPERMUTATION TEST for the \n");
    fprintf(out, "\nTest statistic: Mean nearest-neighbour resemblance within communities (it is the 'TS1 Mean "
                 "NN ED' in Stubbs & Wilson 2004 if the resemblance is Euclidean distance)\n");
    fprintf(out, "INTERMEDIATE RESULTS\n");
    if (isDissimilarity)
      fprintf(out, "\nObserved dissimilarity matrix of %d OTUs:\n", nOTUs);
    else
      fprintf(out, "\nObserved similarity matrix of %d OTUs:\n", nOTUs);
    PrintMatrixTab(out, nOTUs, nOTUs, S, OTHER_DETAIL_DIGITS);
    fprintf(out, "\nCommunity data matrix (%d communities by %d OTUs):\n", nCommunities, nOTUs);
    PrintMatrixTab(out, nCommunities, nOTUs, W, OTHER_DETAIL_DIGITS);
    fprintf(out, "\n\nObserved test statistic=\t%g\n", v);
  }
  double count = 1.0;
  for (int it = 1; it < niter; it++) {
    Status("Permutation test: %d of %d", it, niter);
    RndList(nOTUs, list);
    PermuteSquare(nOTUs, list, S, permuted);
    double random =
        NearNeigAvgTraitResemblance_WithinCommunity(nOTUs, nCommunities, W, permuted, isDissimilarity, false, NULL);
    // Less structure than observed: larger nearest-neighbour distances, or
    // smaller nearest-neighbour similarities. A NaN never counts.
    bool lessStructure = isDissimilarity ? random > v : random < v;
    if (lessStructure || AlmostEqual2sComplement(random, v, 1)) count += 1.0;
    if (detail) {
      fprintf(out, "\n\nPermuted distance matrix:\n");
      PrintMatrixTab(out, nOTUs, nOTUs, permuted, OTHER_DETAIL_DIGITS);
      fprintf(out, "\n\nOrder of original OTUs in permuted matrix:\t");
      PrintVectorTab(out, nOTUs, list, (int*)NULL);
      fprintf(out, "\nIteration %d\tRandom test statistic=\t%g\tCummulative frequency=%g\n", it, random, count);
    }
  }
  free2D(permuted, side);
  free1D(list);
  return count / niter;
}

// Resemblance matrix DX of X, and r(XE), r(XT), r(XE.T).
static void StatsXE_T(int nCommunities, int nTypes, double** X, double** DX, int code, double** DT, double** DE,
                      double rTE, double* rXE, double* rXT, double* rXE_T) {
  ResemblanceLib(nCommunities, nTypes, X, DX, 1, code, 0, NULL, 0.0, 0.0, 0, false);
  *rXE = RhoResemblance(nCommunities, DE, DX);
  *rXT = RhoResemblance(nCommunities, DX, DT);
  *rXE_T = PartialCorrelation(*rXE, *rXT, rTE);
}

// Transposed print of a resemblance matrix whose values are in the upper triangle.
static void PrintReseUpper(FILE* out, int n, double** m, double** work) {
  TransposeSqMatrix(n, m, work);
  PrintLowerHalfMatrixTab(out, n, work, OTHER_DETAIL_DIGITS);
}

// The body of both forms: `weighted` -1 draws each order by RndList; 0 or 1
// shuffles the list of the weighted null model (1) or 1..nOTUs (0) in place.
static void ProbXE_T(int niter, int nOTUs, int nTypes, int nCommunities, double** U, double** W, double rTE,
                     double** DT, double** DE, double* pXE, double* pXET, int rese_opt, bool saveDetail, FILE* out,
                     int weighted) {
  bool detail = saveDetail && out;
  int code = TranslateReseOpt_KOLVEN_DARVOL(rese_opt);
  int n = nCommunities > 0 ? nCommunities : 1;
  int side = nOTUs > 0 ? nOTUs : 1;
  double** X = dim2Double(n, nTypes > 0 ? nTypes : 1);
  double** DX = dim2Double(n, n);
  double** work = dim2Double(n, n);
  double** Urnd = (double**)dim1D(sizeof(double*), side);
  int L = weighted == 1 ? WeightedOTUListLength(nOTUs, nCommunities, W) : 0;
  int length = L > 0 ? L : nOTUs;
  int* list = dim1Dint(length > side ? length : side);
  if (L > 0)
    FillWeightedOTUList(nOTUs, nCommunities, W, list, length);
  else
    for (int i = 0; i < nOTUs; i++) list[i] = i + 1;

  MatrixProd(nCommunities, nOTUs, nOTUs, nTypes, W, U, X);
  double rXE, rXT, rXE_T;
  StatsXE_T(nCommunities, nTypes, X, DX, code, DT, DE, rTE, &rXE, &rXT, &rXE_T);
  if (detail) {
    fprintf(out, "\nPERMUTATION TEST FOR PARTIAL CORRELATION ro(XE.T)\n");
    fprintf(out, "INTERMEDIATE RESULTS\n");
    fprintf(out, "\nObserved belonging matrix (U):\n");
    PrintMatrixTab(out, nOTUs, nTypes, U, OTHER_DETAIL_DIGITS);
    fprintf(out, "\nMatrix W (%d communities by %d OTUs):\n", nCommunities, nOTUs);
    PrintMatrixTab(out, nCommunities, nOTUs, W, OTHER_DETAIL_DIGITS);
    fprintf(out, "\nResemblance matrix DT between %d communities (based on matrix T of traits by communities):\n",
            nCommunities);
    PrintReseUpper(out, nCommunities, DT, work);
    fprintf(out, "\nResemblance matrix DE between %d communities (base don matrix E of ecological variables by "
                 "communities):\n", nCommunities);
    PrintReseUpper(out, nCommunities, DE, work);
    fprintf(out, "\nMatrix correlation between DT and DE:\t%g\n", rTE);
    fprintf(out, "\nObserved ro(XT)=\t%g\n", rXT);
    fprintf(out, "Observed ro(XE)=\t%g\n", rXE);
    fprintf(out, "Observed ro(XE.T)=\t%g\n", rXE_T);
  }
  double countXE = 1.0, countXET = 1.0;
  for (int it = 1; it < niter; it++) {
    Status("Permutation test: %d of %d", it, niter);
    if (weighted < 0)
      RndList(nOTUs, list);
    else
      RndListSpecified(length, list);
    for (int k = 0; k < nOTUs; k++) Urnd[k] = U[list[k] - 1];
    MatrixProdMV(nCommunities, nOTUs, nOTUs, nTypes, W, Urnd, X);
    double xe, xt, xet;
    StatsXE_T(nCommunities, nTypes, X, DX, code, DT, DE, rTE, &xe, &xt, &xet);
    // One-tailed: no absolute values.
    if (IsLargerThanOrEqual(xe, rXE, 1, false)) countXE += 1.0;
    if (IsLargerThanOrEqual(xet, rXE_T, 1, false)) countXET += 1.0;
    if (detail) {
      fprintf(out, "\n\nITERATION\t%d\n", it);
      fprintf(out, "Permuted belonging matrix (Urnd):\n");
      PrintMatrixTab(out, nOTUs, nTypes, Urnd, OTHER_DETAIL_DIGITS);
      fprintf(out, "\nOrder of original OTUs in permuted belongin matrix Urnd:\t");
      PrintVectorTab(out, nOTUs, list, (int*)NULL);
      fprintf(out, "\n\nMatrix Xrnd (%d communities by %d PFTs) generated after Urnd (Xrnd = W x Urnd):\n",
              nCommunities, nTypes);
      PrintMatrixTab(out, nCommunities, nTypes, X, OTHER_DETAIL_DIGITS);
      fprintf(out, "\nResemblance matrix DX between %d communities:\n", nCommunities);
      PrintReseUpper(out, nCommunities, DX, work);
      fprintf(out, "\nIteration %d\tRandom ro(XT) =\t%g\tRandom ro(XE) =\t%g\tRandom ro(XE.T) =\t%g\tCummulative "
                   "frequency for ro(XE)=%g\tCummulative frequency for ro(XE.T)=%g\n",
              it, xt, xe, xet, countXE, countXET);
    }
  }
  *pXE = countXE / niter;
  *pXET = countXET / niter;
  free2D(X, n);
  free2D(DX, n);
  free2D(work, n);
  free1D(Urnd);
  free1D(list);
}

bool Prob_ro_XE_T(int niter, int nOTUs, int nTypes, int nCommunities, double** U, double** W, double rTE,
                  double** DT, double** DE, double* pXE, double* pXET, int rese_opt, bool saveDetail, FILE* out) {
  ProbXE_T(niter, nOTUs, nTypes, nCommunities, U, W, rTE, DT, DE, pXE, pXET, rese_opt, saveDetail, out, -1);
  return true;
}

bool Prob_ro_XE_T(int niter, int nOTUs, int nTypes, int nCommunities, double** U, double** W, double rTE,
                  double** DT, double** DE, double* pXE, double* pXET, int rese_opt, bool saveDetail, FILE* out,
                  bool weightedNullModel) {
  ProbXE_T(niter, nOTUs, nTypes, nCommunities, U, W, rTE, DT, DE, pXE, pXET, rese_opt, saveDetail, out,
           weightedNullModel ? 1 : 0);
  return true;
}

bool Prob_Redundancy(int niter, int nOTUs, int nTypes, int nCommunities, double* simpson, double* probabilities,
                     double** S, double** W, bool isDissimilarity, bool saveDetail, FILE* out,
                     bool weightedNullModel) {
  (void)nTypes;
  bool detail = saveDetail && out;
  int side = nOTUs > 0 ? nOTUs : 1;
  int nc = nCommunities > 0 ? nCommunities : 1;
  MirrorUpper(nOTUs, S);
  int L = weightedNullModel ? WeightedOTUListLength(nOTUs, nCommunities, W) : 0;
  int length = L > 0 ? L : nOTUs;
  int* list = dim1Dint(length > side ? length : side);
  if (L > 0)
    FillWeightedOTUList(nOTUs, nCommunities, W, list, length);
  else
    for (int i = 0; i < nOTUs; i++) list[i] = i + 1;
  // The permuted matrix is held in single precision, as the test was built.
  float** Sp = dim2Dfloat(side, side);
  double* observed = dim1Double(nc);
  double* random = dim1Double(nc);
  for (int c = 0; c < nCommunities; c++) {
    observed[c] = simpson[c] - RaoIndex(nOTUs, W[c], S, isDissimilarity);
    probabilities[c] = 1.0;
  }
  if (detail) {
    fprintf(out, "\nPERMUTATION TEST FOR REDUNDANCY\n");
    fprintf(out, "INTERMEDIATE RESULTS\n");
    fprintf(out, "\nObserved resemblance matrix between OTUs based on the traits:\n");
    PrintMatrixTab(out, nOTUs, nOTUs, S, OTHER_DETAIL_DIGITS);
    fprintf(out, "\nMatrix W (%d communities by %d OTUs):\n", nCommunities, nOTUs);
    PrintMatrixTab(out, nCommunities, nOTUs, W, OTHER_DETAIL_DIGITS);
    fprintf(out, "\nObserved redundancy in %d communities\n", nCommunities);
    for (int c = 0; c < nCommunities; c++) fprintf(out, "%g\t", observed[c]);
  }
  for (int it = 1; it < niter; it++) {
    Status("Permutation test redundancy: %d of %d", it, niter);
    RndListSpecified(length, list);
    for (int a = 0; a < nOTUs; a++)
      for (int b = 0; b < nOTUs; b++) Sp[a][b] = (float)S[list[a] - 1][list[b] - 1];
    for (int c = 0; c < nCommunities; c++) {
      random[c] = simpson[c] - RaoIndex(nOTUs, W[c], Sp, isDissimilarity);
      if (IsLargerThanOrEqual(random[c], observed[c], 1, false)) probabilities[c] += 1.0;
    }
    if (detail) {
      fprintf(out, "\n\nITERATION\t%d\n", it);
      fprintf(out, "\nOrder of OTUs in randomly permuted resemblance matrix between OTUs:\t");
      PrintVectorTab(out, nOTUs, list, (int*)NULL);
      fprintf(out, "\nResemblance matrix between %d OTUs after rearrangement according to OTUs permutation:\n",
              nOTUs);
      PrintLowerHalfMatrixTab(out, nOTUs, Sp, OTHER_DETAIL_DIGITS);
      fprintf(out, "\nIteration %d\tRedundancy according to the null model in %d communities:\n", it,
              nCommunities);
      for (int c = 0; c < nCommunities; c++) fprintf(out, "%g\t", random[c]);
    }
  }
  for (int c = 0; c < nCommunities; c++) probabilities[c] /= niter;
  free1D(list);
  free2D(Sp, side);
  free1D(observed);
  free1D(random);
  return true;
}

double PartialCorrelation_GeneralProc(int n, double** R, int i, int j, int k, int* given) {
  (void)n;
  double M[2][2] = {{1.0, R[i][j]}, {R[i][j], 1.0}};
  if (k > 0) {
    double** G = dim2Double(k, k);
    double** Ginv = dim2Double(k, k);
    for (int a = 0; a < k; a++)
      for (int b = 0; b < k; b++) G[a][b] = R[given[a]][given[b]];
    bool invertible = MatrixInverse(k, k, G, Ginv) != 0;
    if (invertible) {
      int rows[2] = {i, j};
      // M = A - C G^-1 C', with C the rows of i and j among the given columns.
      for (int a = 0; a < 2; a++)
        for (int b = 0; b < 2; b++) {
          double sum = 0.0;
          for (int p = 0; p < k; p++)
            for (int q = 0; q < k; q++) sum += R[rows[a]][given[p]] * Ginv[p][q] * R[rows[b]][given[q]];
          M[a][b] -= sum;
        }
    }
    free2D(G, k);
    free2D(Ginv, k);
    if (!invertible) return HUGE_VAL;
  }
  double d0 = 1.0 / sqrt(M[0][0]);
  double d1 = 1.0 / sqrt(M[1][1]);
  return d1 * M[1][0] * d0;
}

bool Communality(int nRows, int nCols, double** data, double* communality, int* rank) {
  int nr = nRows > 0 ? nRows : 1;
  int nc = nCols > 0 ? nCols : 1;
  int* positives = dim1Dint(nr);
  int* index = dim1Dint(nr);
  int* origin = dim1Dint(nr);
  double** work = dim2Double(nr, nc);
  double** C = dim2Double(nr, nr);
  double** V = dim2Double(nr, nr);
  for (int i = 0; i < nRows; i++)
    for (int j = 0; j < nCols; j++)
      if (data[i][j] > 0.0) positives[i]++;
  if (nRows > 0) IndexVector(nRows, positives, index);
  // Rows in descending order of their number of positive values.
  for (int k = 0; k < nRows; k++) {
    origin[k] = index[nRows - 1 - k] - 1;
    for (int j = 0; j < nCols; j++) work[k][j] = data[origin[k]][j];
  }
  CenterRowsCovMV(nRows, nCols, work, work);
  int kept = nRows;
  for (; kept > 0; kept--) {
    CrossProductMV(kept, nCols, work, C);
    MirrorUpper(kept, C);
    if (MatrixInverse(kept, kept, C, V)) break;
  }
  *rank = kept;
  for (int i = 0; i < nRows; i++) communality[i] = -999.0;
  for (int i = 0; i < kept; i++) communality[origin[i]] = (C[i][i] - 1.0 / V[i][i]) / C[i][i];
  free1D(positives);
  free1D(index);
  free1D(origin);
  free2D(work, nr);
  free2D(C, nr);
  free2D(V, nr);
  return true;
}

// A value as a whole-number state; values outside the range of int (and
// NaN) all become one state, INT_MIN, instead of an undefined conversion.
static int StateOf(double x) {
  if (!(x > (double)INT_MIN && x < (double)INT_MAX)) return INT_MIN;
  return (int)x;
}

// The distinct states of column v, as truncated integers in increasing
// order, -999 among them; returns their number.
static int ListStates(int nRows, double** data, int v, int* states) {
  int m = 0;
  for (int i = 0; i < nRows; i++) {
    int s = StateOf(data[i][v]);
    int at = 0;
    while (at < m && states[at] < s) at++;
    if (at < m && states[at] == s) continue;
    for (int k = m; k > at; k--) states[k] = states[k - 1];
    states[at] = s;
    m++;
  }
  return m;
}

bool Binarize(int nRows, int nVars, bool* qualitative, double** data, double** out, int* nOut, int** states,
              int* nStates) {
  int col = 0;
  for (int v = 0; v < nVars; v++) {
    if (!qualitative[v]) {
      nStates[v] = 0;
      for (int i = 0; i < nRows; i++) out[i][col] = data[i][v];
      col++;
      continue;
    }
    nStates[v] = ListStates(nRows, data, v, states[v]);
    for (int s = 0; s < nStates[v]; s++) {
      for (int i = 0; i < nRows; i++) out[i][col] = (StateOf(data[i][v]) == states[v][s]) ? 1.0 : 0.0;
      col++;
    }
  }
  *nOut = col;
  return true;
}

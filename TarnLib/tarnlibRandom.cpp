// The program's one random generator and the random and systematic lists of object numbers.
// Shuffles are the Fisher-Yates shuffle taken from the front of the list
// (Knuth, The Art of Computer Programming, vol. 2, algorithm 3.4.2 P).
#include "TarnLib/tarnlibRandom.h"

#include <climits>
#include <cmath>
#include <cstdlib>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibNum.h"
#include "TarnLib/tarnlibStats.h"

gsl_rng* r = nullptr;
unsigned int rseed = 0;
int seedOpt = 1;

void InitRndNumberGenerator(unsigned long seed) {
  // Everyone draws through r itself, so the previous generator can go.
  if (r != nullptr) gsl_rng_free(r);
  r = gsl_rng_alloc(gsl_rng_default);
  if (r == nullptr) FailJump(FAIL_MEMORY);
  gsl_rng_set(r, seed);
  srand((unsigned int)seed);
}

int RndIntegers(int low, int high) {
  return low + (int)gsl_rng_uniform_int(r, (unsigned long)(high - low + 1));
}

// The draw order (ranges n, n-1, ..., 2) is what makes runs repeatable from
// the seed: keep it.
static void ShuffleFront(int n, int* list) {
  for (int i = 0; i < n - 1; i++) {
    int j = i + (int)gsl_rng_uniform_int(r, (unsigned long)(n - i));
    int t = list[i];
    list[i] = list[j];
    list[j] = t;
  }
}

void RndList(int n, int* list) {
  for (int i = 0; i < n; i++) list[i] = i + 1;
  ShuffleFront(n, list);
}

void RndListSpecified(int n, int* list) { ShuffleFront(n, list); }

void RndListPartial(int n, int* list) {
  for (int i = 0; i < n; i++) {
    int j = (int)gsl_rng_uniform_int(r, (unsigned long)n);
    int t = list[i];
    list[i] = list[j];
    list[j] = t;
  }
}

void RndListSelect(int n, int* list, bool* select) {
  int m = 0;
  for (int i = 0; i < n; i++)
    if (select[i]) m++;
  if (m == 0) return;
  int* members = dim1Dint(m);
  int* perm = dim1Dint(m);
  m = 0;
  for (int i = 0; i < n; i++)
    if (select[i]) members[m++] = i + 1;
  RndList(m, perm);
  for (int i = 0; i < m; i++) list[members[i] - 1] = members[perm[i] - 1];
  free1D(perm);
  free1D(members);
}

void RndListBootstrap(int n, int* list) { RndListBootstrapN(n, n, list); }

void RndListBootstrapN(int n, int nDraws, int* list) {
  for (int i = 0; i < nDraws; i++) list[i] = (int)gsl_rng_uniform_int(r, (unsigned long)n) + 1;
}

void RndListNestedNew(int n, int* groups, int option, int* list) {
  if (n <= 0) return;
  int nGroups = 0;
  int* distinct = dim1Dint(n);
  int* size = dim1Dint(n);
  bool* select = (bool*)dim1D(sizeof(bool), n);
  CountGroups(n, groups, &nGroups, distinct);
  for (int i = 0; i < n; i++) list[i] = i + 1;
  bool equalSizes = true;
  for (int g = 0; g < nGroups; g++) {
    for (int i = 0; i < n; i++) {
      select[i] = groups[i] == distinct[g];
      if (select[i]) size[g]++;
    }
    if (option == 1 || option == 3) RndListSelect(n, list, select);
    if (size[g] != size[0]) equalSizes = false;
  }
  if (equalSizes && (option == 2 || option == 3)) {
    int groupSize = size[0];
    int** value = dim2Dint(nGroups, groupSize);
    int** place = dim2Dint(nGroups, groupSize);
    int* perm = dim1Dint(nGroups);
    for (int g = 0; g < nGroups; g++) {
      int m = 0;
      for (int i = 0; i < n; i++)
        if (groups[i] == distinct[g]) {
          value[g][m] = list[i];
          place[g][m] = i;
          m++;
        }
    }
    RndList(nGroups, perm);
    for (int g = 0; g < nGroups; g++)
      for (int m = 0; m < groupSize; m++) list[place[g][m]] = value[perm[g] - 1][m];
    free1D(perm);
    free2D(place, nGroups);
    free2D(value, nGroups);
  }
  free1D(select);
  free1D(size);
  free1D(distinct);
}

void RndListMantelRestricted(int nPairs, int* list, int n) {
  if (n <= 0) return;
  int** table = dim2Dint(n, n);
  int* perm = dim1Dint(n);
  int k = 0;
  for (int i = 0; i < n - 1; i++)
    for (int j = i + 1; j < n && k < nPairs; j++) {
      list[k] = k + 1;
      table[i][j] = table[j][i] = k + 1;
      k++;
    }
  for (int i = 0; i < n; i++) perm[i] = i + 1;
  ShuffleFront(n, perm);
  k = 0;
  for (int i = 0; i < n - 1; i++)
    for (int j = i + 1; j < n && k < nPairs; j++) list[k++] = table[perm[i] - 1][perm[j] - 1];
  free1D(perm);
  free2D(table, n);
}

// The number of combinations of k out of n as a truncated double quotient of
// factorials: beyond exact doubles the count is inexact, and the truncation
// ends the enumeration. Past 170! the factorials overflow and the quotient is
// not a number; the count is then the product formula, kept within range.
long long CombinationCount(int n, int k) {
  double count = Factorial((double)n) / (Factorial((double)(n - k)) * Factorial((double)k));
  if (std::isnan(count)) {
    count = 1.0;
    for (int i = 1; i <= k; i++) count = count * (n - k + i) / i;
  }
  if (!(count < 9.2e18)) return LLONG_MAX;
  return (long long)count;
}

long long PermuteArray(int n, int k, int* out, bool start) {
  // One enumeration at a time: the state lives here between calls.
  static int* list = nullptr;
  static int* arrayTemp = nullptr;
  static int* isIn = nullptr;
  static long long nPermutations = 0;
  static long long counter = 0;

  if (k > n) k = n;  // a choice beyond the objects would read outside the lists
  if (k < 0) k = 0;
  if (start) {
    if (list != nullptr) {  // an enumeration left unfinished: release it
      free1D(list);
      free1D(arrayTemp);
      free1D(isIn);
    }
    list = dim1Dint(n);
    arrayTemp = dim1Dint(n);
    isIn = dim1Dint(n);
    nPermutations = CombinationCount(n, k);
    counter = 0;
    for (int i = 0; i < n; i++) {
      list[i] = i;
      arrayTemp[i] = i + 1;
    }
  } else {
    if (list == nullptr) return counter;  // enumeration already finished
    int p = k - 1;
    while (p >= 0 && list[p] >= n - k + p) p--;
    if (p >= 0) {
      list[p]++;
      for (int q = p + 1; q < k; q++) list[q] = list[q - 1] + 1;
    }
  }
  for (int i = 0; i < n; i++) isIn[i] = 0;
  for (int i = 0; i < k; i++) {
    out[i] = arrayTemp[list[i]];
    isIn[list[i]] = 1;
  }
  int m = k;
  for (int i = 0; i < n; i++)
    if (!isIn[i]) out[m++] = i + 1;
  counter++;
  if (counter >= nPermutations) {
    free1D(list);
    free1D(arrayTemp);
    free1D(isIn);
    list = arrayTemp = isIn = nullptr;
  }
  return counter;
}

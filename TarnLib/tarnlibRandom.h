// The program's one random generator and the random and systematic lists of object numbers.
// Shuffles are the Fisher-Yates shuffle taken from the front of the list
// (Knuth, The Art of Computer Programming, vol. 2, algorithm 3.4.2 P).
#ifndef TARNLIB_RANDOM_H
#define TARNLIB_RANDOM_H

#include <gsl/gsl_rng.h>

extern gsl_rng* r;           // the generator of the whole program (Mersenne Twister)
extern unsigned int rseed;   // seed of the present run, written to the reports
extern int seedOpt;          // 1 seed taken from the clock; 2 typed by the user

// Makes a new generator of type gsl_rng_default into r (the earlier one is
// released) and seeds it and srand.
void InitRndNumberGenerator(unsigned long seed);
// Uniform integer from low to high, both included.
int RndIntegers(int low, int high);

// All lists hold one-based object numbers at zero-based places.
// New uniform permutation of 1..n (n - 1 draws of ranges n, n-1, ..., 2).
void RndList(int n, int* list);
// Shuffles whatever list holds, with the same draws as RndList.
void RndListSpecified(int n, int* list);
// Weaker shuffle: each place in turn exchanged with a place drawn from 0..n-1.
void RndListPartial(int n, int* list);
// Shuffles the member numbers among the places where select is true; the
// other places are left alone. Start from the identity list.
void RndListSelect(int n, int* list, bool* select);
// n draws with replacement of numbers 1..n.
void RndListBootstrap(int n, int* list);
// nDraws draws with replacement of numbers 1..n.
void RndListBootstrapN(int n, int nDraws, int* list);
// Restricted permutation of objects in groups (groups[i] = group of object i):
// option 1 within groups, 2 whole groups as blocks (only when all groups have
// the same size, else the identity list), 3 both.
void RndListNestedNew(int n, int* groups, int option, int* list);
// Permutes the list of the n(n-1)/2 pairs i < j (upper triangle, row order)
// by permuting the n objects.
void RndListMantelRestricted(int nPairs, int* list, int n);
// Number of combinations of k out of n as the enumeration counts them: the
// Factorial quotient in double, truncated (by the running product when the
// factorials overflow); LLONG_MAX beyond 9.2e18.
long long CombinationCount(int n, int k);
// Next combination of k out of n (start true: the first one). out receives
// the n numbers 1..n, the k chosen first, the others after in increasing
// order. Returns the count of combinations delivered so far; the state is
// static and is released with the last combination, so the caller must count.
long long PermuteArray(int n, int k, int* out, bool start);

#endif

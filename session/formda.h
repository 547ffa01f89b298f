// The formatted data file of a session: reader, writers, and per-trait summaries.
#ifndef SESSION_FORMDA_H
#define SESSION_FORMDA_H

#include <cstdio>

// Loads volumeName + whichFormda into the session state (what = 1: everything;
// every caller passes 1). Accepts the older layouts: interleaved trait strings,
// the "18Jan2008" tag, no environmental tag, no "SMW" row, no phylogeny row.
// Failures: no file raises code 4; end of file, a bad number, or a count that
// cannot fit the file raises code 2. Sets dirtyOrig to 0.
void OpenFormda(int what);

// Writes the formatted file `file` with `name` as its first line, B and W from
// `traits` and `communities` (nOTUs rows, used in place of tcst throughout) and
// everything else from the session globals. A file that cannot be created
// raises code 4; a failed print raises code 3.
void WriteFormda(int nOTUs, char* file, char* name, double** traits, double** communities);
// The same writer for single-precision B and W.
void WriteFormda(int nOTUs, char* file, char* name, float** traits, float** communities);

// states[t] = number of distinct values of trait t among nOTUs rows, values
// compared exactly (-999 counts as a value; 99999999.0 is never counted).
void CountStates(int nTraits, int nOTUs, int* states, double** matrix);
void CountStates(int nTraits, int nOTUs, int* states, float** matrix);

// range[t] = maximum - minimum over the OTUs, for traits of type 3 only; other
// entries are left as they are. -999 takes part like any value.
void RangeStates(int nTraits, int nOTUs, double** matrix, int* types, double* range);
void RangeStates(int nTraits, int nOTUs, float** matrix, int* types, float* range);

// Reads one blank-delimited word by freadck (end of file raises code 2): its
// first size - 1 characters go to `word`, and the rest of an overlong word is
// dropped, so that the next read starts at the next word.
void ReadWholeWord(FILE* stream, char* word, int size, const char* label);

// Ends a read of `stream` whose content cannot be right (a count that does not
// fit, an index outside its array) as a failed read: closes the stream, names
// `label` on standard error, rings the bell and raises code 2.
[[noreturn]] void FailMalformed(FILE* stream, const char* label);

#endif

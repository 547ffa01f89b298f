// Arrays, checked file streams and the failure jump: the bottom of TarnLib.
#ifndef TARNLIB_DIM_H
#define TARNLIB_DIM_H

#include <csetjmp>
#include <cstdio>

// ---- Failure codes carried by the jump to the recovery point ----
#define FAIL_MEMORY 1   // out of memory
#define FAIL_READ 2     // end of file or failed conversion
#define FAIL_PRINT 3    // a print to a file failed
#define FAIL_OPEN 4     // a needed file could not be opened
#define FAIL_REPORTED 5 // already told to the user; back to the main menu

extern jmp_buf jmp_env;      // the one recovery point, set by IFSession
extern volatile int jmpLive; // 1 while jmp_env holds a live recovery point
extern volatile int jmpCode; // the code of the latest jump to jmp_env

// Runs body(arg) under a live recovery point: returns 0 when body returned,
// else the code of the failure that jumped out of it. The frames of body are
// left by a jump, so they hold only plain arrays and C strings, and a jump
// never leaves an OpenMP region. The recovery point in force before the
// call is restored after it.
int RunRecoverable(void (*body)(void*), void* arg);

// Jumps to jmp_env with `code`; with no live recovery point (or inside a
// parallel region) prints the code's messages and ends the process with 1.
[[noreturn]] void FailJump(int code);
// Prints the messages of `code` on stderr, waits as the code says, exit(1).
// Code 5 only rings the bell and returns.
void FailReport(int code);
// Closes a stream after a failed read; standard input is left open.
void CloseStream(FILE* stream);
// Checks the result of a print call to a file: a negative value raises code 3.
inline void fprintck(int printed) { if (printed < 0) FailJump(FAIL_PRINT); }
// Closes a file that was written. A print that failed on it since it was
// opened (the stream's error indicator stays set) or a failed close, which
// writes what is still buffered, raises code 3.
void fcloseck(FILE* stream);

// ---- Allocators: zero-filled; out of memory raises code 1 ----
void* dim1D_Clear(int n, unsigned long size);
void* dim1D(unsigned long size, int n);
void** dim2D(unsigned long size, int rows, int cols);
void*** dim3D(unsigned long size, int d1, int d2, int d3);
void**** dim4D(unsigned long size, int d1, int d2, int d3, int d4);
void***** dim5D(unsigned long size, int d1, int d2, int d3, int d4, int d5);
void** dim2DT(unsigned long size, int rows);
void*** dim3DT(unsigned long size, int d1, int rows);

char* dim1Dchar(int n);
int* dim1Dint(int n);
long* dim1Dlong(int n);
short* dim1Dshort(int n);
float* dim1Dfloat(int n);
double* dim1Double(int n);
char** dim2Dchar(int rows, int cols);
int** dim2Dint(int rows, int cols);
long** dim2Dlong(int rows, int cols);
short** dim2Dshort(int rows, int cols);
float** dim2Dfloat(int rows, int cols);
double** dim2Double(int rows, int cols);
char*** dim3Dchar(int d1, int d2, int d3);
int*** dim3Dint(int d1, int d2, int d3);
long*** dim3Dlong(int d1, int d2, int d3);
short*** dim3Dshort(int d1, int d2, int d3);
float*** dim3Dfloat(int d1, int d2, int d3);
double*** dim3Double(int d1, int d2, int d3);
long**** dim4Dlong(int d1, int d2, int d3, int d4);
float**** dim4Dfloat(int d1, int d2, int d3, int d4);
double**** dim4Double(int d1, int d2, int d3, int d4);

// ---- Deallocators: take any array pointer and its leading dimensions ----
void free1D(void* p);
void free2D(void* p, int rows);
void free3D(void* p, int d1, int d2);
void free4D(void* p, int d1, int d2, int d3);
void free5D(void* p, int d1, int d2, int d3, int d4);

// ---- Checked streams; `label` names the stream in messages ----
FILE* fopenck(const char* name, const char* prefix, const char* mode);
// One fscanf; nothing converted or end of file raises code 2.
// A "%s" conversion must carry a width that fits the target.
int freadck(FILE* stream, const char* format, void* target, const char* label);
// Tolerant read: skips characters until the conversion succeeds; returns 0
// at end of file (the stream is then closed), else 1. "%lf" and "%d" drop
// text one character at a time and never a character of the number behind
// it (numbers as strtod and strtol read them, "inf" and "nan" included).
int freadck1(FILE* stream, const char* format, void* target, const char* label);
// One line into `buffer` (limit characters + terminator); see the family's
// end characters. End of file before any character raises code 2.
void freadlineck(FILE* stream, int limit, char* buffer, const char* label);
void freadlineck(FILE* stream, int limit, char* buffer, const char* label, bool crEnds);
void freadlineckTEMP(FILE* stream, int limit, char* buffer, const char* label);

// One character from `accepted` (blank-separated list), folded to lower case.
int ScanChar(FILE* stream, const char* accepted, const char* label);
// A number; `ranges` null (any), a list "1 2 3", or "-" with low, high doubles.
// End of file raises code 2.
double ScanNumber(FILE* stream, const char* label, const char* ranges, ...);
// One word cut to `width` characters; null on end of file or when not in the
// "/"-separated list `accepted`.
char* ScanString(FILE* stream, int width, char* buffer, const char* accepted, int exact,
                 const char* label);

// ---- Strings ----
void trimString(char* text);
void StrToUpper(char* text);
int StrCmp(const char* a, const char* b);
// The first `width` characters of `source` (fewer if it is shorter) into
// `target`, which holds width + 1 bytes, terminated.
void CopyPrefix(char* target, const char* source, int width);

#endif

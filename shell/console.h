// Answer routines: validated reads from the answer source, with macro echoes.
#ifndef SHELL_CONSOLE_H
#define SHELL_CONSOLE_H

#include <cstdio>

extern FILE* in;                    // answer source: stdin, or the macro being replayed
extern FILE* out;                   // prompt sink: stdout, or the replay report
extern FILE* outm;                  // echo sink of accepted answers
extern int createMacro;             // 1 while answers are being recorded
extern int runMacro;                // 1 while a macro is being replayed
extern FILE* infpMacro;             // macro file being replayed
extern FILE* oufpMacro;             // macro file being written
extern FILE* oufpRun;               // report of a replay
extern char whichMacro[112];        // macro file name
extern char whichRun[112];          // replay report file name
extern char justName[112];          // scratch

// One character of the blank-separated list `accepted`, in lower case.
int ReadCharIn(const char* accepted);
// A number; `ranges` null (any), a list "1 2 3", or "-" followed by two
// double arguments low, high. `format` is the echo format ("%d\n" mostly).
double ReadNumberIn(const char* format, const char* ranges, ...);
// One word scanned with `format` up to its first line end or blank; the
// scan format must carry a width or the buffer must hold 4112 bytes.
void ReadStringIn(const char* format, char* buffer);
// One line of at most `limit` characters.
void ReadLineIn(char* buffer, int limit);
// Asks for a file name until it opens for reading; returns the open file.
FILE* ReadDataFileName(char* buffer);
// `n` labels of at most `width` characters (each label holds width + 1).
int ReadLongInput(int n, int width, char** labels, const char* name);
// `n` integers, validated by `ranges` (null or a list).
int ReadLongInput(int n, int* values, const char* name, const char* ranges);
// An answer with a default: the last non-blank character of `accepted`.
int ScanCharDef(const char* accepted);

#endif

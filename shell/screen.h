// Screen services: menu titles, progress lines, time stamps, the wait for
// the user, and the clocks they keep.
#ifndef SHELL_SCREEN_H
#define SHELL_SCREEN_H

#include <cstdio>
#include <ctime>

// ---- Screen and clock bookkeeping ----
extern int is40CharLine;            // 1 while a progress line owes a line end
extern int is80CharLine;            // second flag of the same kind
extern clock_t t1;                  // clock() at start
extern clock_t t2;                  // clock() at the latest progress line
extern time_t timeStart;            // time() at start
extern time_t time0;                // start of the latest permutation test or search
extern double Clocks_Event;         // recomputed by AdjustClocks_Event; unread
extern const char lineL[];          // rule of 70 hyphens
extern const char version[];        // program title and version, 70 characters

// Screen flags and the clocks at start.
void InitIFLibG();
void AdjustClocks_Event();

// ---- Screen services ----
void Menu(const char* title);
void ClearLine();
void ClearLineLength(int n);
void TimeStamp(FILE* stream);
void HandleEventInfoWhere(const char* label);
void HandleEventInfoWhere2(const char* label);
void Wait();

#endif

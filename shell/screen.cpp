// Screen services: menu titles, progress lines, time stamps, the wait for
// the user, and the clocks they keep.
#include "shell/screen.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "shell/console.h"
#include "shell/shell.h"

int is40CharLine = 0;
int is80CharLine = 0;
clock_t t1 = 0;
clock_t t2 = 0;
time_t timeStart = 0;
time_t time0 = 0;
double Clocks_Event = 50.0;
const char lineL[] = "----------------------------------------------------------------------";
const char version[] = "CHARACTER-BASED COMMUNITY ANALYSIS                    KOLVEN v.2.11.13";

void AdjustClocks_Event() {
  // Ticks and calendar seconds are subtracted as they stand; nothing reads
  // the result, and a zero elapsed time gives an infinity, harmlessly.
  double elapsed = difftime(time(nullptr), timeStart);
  Clocks_Event = ((double)clock() - (double)timeStart) / elapsed * 2000 / 1000;
}

void InitIFLibG() {
  is40CharLine = 0;
  is80CharLine = 0;
  t1 = t2 = clock();
  timeStart = time(nullptr);
  AdjustClocks_Event();
}


void Menu(const char* title) {
  ClearLine();
  fprintf(out, "\n\n%-47s", title);
  if (strcmp(sessionName, "NULL") != 0) fprintf(out, "%23s", sessionShortName);
  fprintf(out, "\n%s\n", lineL);
}

void ClearLine() {
  if (is40CharLine == 1) {
    printf("\n");
    is40CharLine = 0;
  }
  if (is80CharLine == 1) {
    printf("\n");
    is80CharLine = 0;
  }
}

void ClearLineLength(int n) {
  (void)n;
  printf("\n");
}

void TimeStamp(FILE* stream) {
  time_t now = time(nullptr);
  const char* text = ctime(&now);
  fprintf(stream, "%s", text != nullptr ? text : "\n");
}

void HandleEventInfoWhere(const char* label) { (void)label; }

void HandleEventInfoWhere2(const char* label) {
  clock_t now = clock();
  if (now - t2 < 5) return;
  if (is40CharLine == 1 && (is80CharLine == 0 || is80CharLine == 1)) printf("\n");
  printf("%*.*s", 40, 40, label);
  printf("%*s", 40, " ");
  t2 = clock();
  is40CharLine = 1;
  is80CharLine = 1;
  fflush(stdout);
}

void Wait() {
  int c;
  while ((c = getchar()) != EOF) {
    if (iscntrl(c)) {
      ungetc(c, stdin);
      return;
    }
  }
  // Nothing more can arrive: the wait would never end.
  FailReport(FAIL_READ);
  exit(1);
}

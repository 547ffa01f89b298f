// Answer routines: validated reads from the answer source, with macro echoes.
#include "shell/console.h"

#include <cctype>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstring>

#include "TarnLib/tarnlibDim.h"

FILE* in = stdin;
FILE* out = stdout;
FILE* outm = nullptr;
int createMacro = 0;
int runMacro = 0;
FILE* infpMacro = nullptr;
FILE* oufpMacro = nullptr;
FILE* oufpRun = nullptr;
char whichMacro[112];
char whichRun[112];
char justName[112];

// Largest word that ReadStringIn takes from a scan format without a width;
// the buffer behind such a format holds this many characters + terminator.
static const int kWordLimit = 4111;

static bool Echoing() { return (createMacro || runMacro) && outm != nullptr; }

int ReadCharIn(const char* accepted) {
  int c = ScanChar(in, accepted, "input");
  if (Echoing()) fprintf(outm, "%c\n", c);
  return c;
}

// Cuts a double to an integer type without leaving its range.
static long long CutToRange(double v, double low, double high) {
  if (std::isnan(v)) return 0;
  if (v < low) v = low;
  if (v > high) v = high;
  return (long long)v;
}

// Echoes `v` with the caller's format. The first letter of the conversion
// decides: 'd' the value cut to an integer, 'f' rounded to single precision,
// 'g' or 'l' the double, 'u' cut to a 64-bit integer. The conversion is
// rebuilt to match the argument actually passed.
static void EchoNumber(const char* format, double v) {
  const char* pct = strchr(format, '%');
  if (pct == nullptr) {
    fputs(format, outm);
    return;
  }
  const char* p = pct + 1;
  while (*p != '\0' && strchr("-+ #0123456789.", *p) != nullptr) p++;
  char letter = *p;
  const char* conv = p;  // the conversion proper, after any length modifier
  while (*conv != '\0' && strchr("hlLqjzt", *conv) != nullptr) conv++;
  const char* rest = *conv != '\0' ? conv + 1 : conv;
  char conversion[64];
  int head = (int)(p - pct);
  if (head > 40) head = 40;
  fwrite(format, 1, (size_t)(pct - format), outm);
  switch (letter) {
    case 'd':
      snprintf(conversion, sizeof conversion, "%.*sd", head, pct);
      fprintf(outm, conversion, (int)CutToRange(v, INT_MIN, INT_MAX));
      break;
    case 'u':
      snprintf(conversion, sizeof conversion, "%.*sllu", head, pct);
      fprintf(outm, conversion, (unsigned long long)CutToRange(v, 0.0, 9.2e18));
      break;
    case 'f':
      snprintf(conversion, sizeof conversion, "%.*sf", head, pct);
      fprintf(outm, conversion, (double)(float)v);
      break;
    default: {  // 'g', 'l' and anything else: the double as it stands
      char c = strchr("feEgGaA", *conv) != nullptr ? *conv : 'g';
      snprintf(conversion, sizeof conversion, "%.*s%c", head, pct, c);
      fprintf(outm, conversion, v);
    }
  }
  fputs(rest, outm);
}

double ReadNumberIn(const char* format, const char* ranges, ...) {
  double v;
  if (ranges != nullptr && ranges[0] == '-') {
    va_list args;
    va_start(args, ranges);
    double low = va_arg(args, double);
    double high = va_arg(args, double);
    va_end(args);
    v = ScanNumber(in, "input", ranges, low, high);
  } else {
    v = ScanNumber(in, "input", ranges);
  }
  if (Echoing()) EchoNumber(format, v);
  return v;
}

// Drops the rest of a word that did not fit its buffer, so that the next
// prompt does not take the tail of an over-long answer for its own.
static void DropRestOfWord(FILE* stream) {
  int c;
  while ((c = fgetc(stream)) != EOF && !isspace(c)) {}
  if (c != EOF) ungetc(c, stream);
}

void ReadStringIn(const char* format, char* buffer) {
  char scan[64];
  size_t n = strcspn(format, "\n ");
  if (n >= sizeof scan) n = sizeof scan - 1;
  memcpy(scan, format, n);
  scan[n] = '\0';
  bool unbounded = strcmp(scan, "%s") == 0;
  if (unbounded) snprintf(scan, sizeof scan, "%%%ds", kWordLimit);
  freadck(in, scan, buffer, "input");
  if (unbounded && strlen(buffer) == (size_t)kWordLimit) DropRestOfWord(in);
  if (Echoing()) fprintf(outm, format, buffer);
}

void ReadLineIn(char* buffer, int limit) {
  freadlineck(in, limit, buffer, "input");
  if (Echoing()) fprintf(outm, "%s\n", buffer);
}

FILE* ReadDataFileName(char* buffer) {
  for (;;) {
    fprintf(out, "Enter data file name: ");
    ReadLineIn(buffer, 41);
    FILE* fp = fopenck(buffer, nullptr, "r");
    if (fp != nullptr) return fp;
  }
}

// The terminal's answer to "file or keyboard"; under a macro always keyboard.
static bool AskFromFile() {
  if (runMacro) return false;
  fprintf(out, "Read input from file (f) or from the keyboard (k)? f/k ");
  int c = ScanChar(stdin, "f k", "keyboard");
  fprintf(out, "\n");
  return c == 'f';
}

// A file name typed at the terminal; the end of the terminal ends the run.
static FILE* AskFileName(char* name) {
  if (ScanString(stdin, 41, name, nullptr, 1, "keyboard") == nullptr) FailJump(FAIL_READ);
  FILE* fp = fopenck(name, nullptr, "r");
  if (fp == nullptr) fprintf(out, "\n");
  return fp;
}

// The terminal's confirmation; under a macro the data stand as read.
static bool Confirmed() {
  if (runMacro) return true;
  fprintf(out, "Are these correct? y/n ");
  return ScanChar(stdin, "y n", "keyboard") != 'n';
}

// One blank-delimited word of `fp`, of which the first `width` characters
// are kept. At the end of the file `label` keeps what it held, so a file
// with too few words repeats its last word.
static void ReadWordKept(FILE* fp, int width, char* label) {
  int c;
  while ((c = fgetc(fp)) != EOF && isspace(c)) {}
  if (c == EOF) return;
  int k = 0;
  do {
    if (k < width) label[k++] = (char)c;
  } while ((c = fgetc(fp)) != EOF && !isspace(c));
  label[k] = '\0';
}

int ReadLongInput(int n, int width, char** labels, const char* name) {
  char fileName[42];
  for (;;) {
    bool ok = true;
    if (AskFromFile()) {
      fprintf(out, "Enter name of file containing the labels: ");
      FILE* fp = AskFileName(fileName);
      if (fp == nullptr) continue;
      char last[4112] = "";
      for (int i = 0; i < n; i++) {
        ReadWordKept(fp, width < kWordLimit ? width : kWordLimit, last);
        snprintf(labels[i], (size_t)width + 1, "%s", last);
      }
      fclose(fp);
      fprintf(out, "%s:\t", name);
      for (int i = 0; i < n; i++) fprintf(out, "%s\t", labels[i]);
      fprintf(out, "\n");
    } else {
      fprintf(out, "Enter %s:\t", name);
      for (int i = 0; i < n && ok; i++) {
        if (ScanString(in, width, labels[i], nullptr, 1, "input") == nullptr) {
          // A replayed macro that ran out cannot be read again.
          if (runMacro) FailJump(FAIL_READ);
          ok = false;
        }
      }
    }
    if (!ok || !Confirmed()) continue;
    if (Echoing()) {
      for (int i = 0; i < n; i++) fprintf(outm, "%s\t", labels[i]);
      fprintf(outm, "\n");
    }
    return 1;
  }
}

int ReadLongInput(int n, int* values, const char* name, const char* ranges) {
  char fileName[42];
  for (;;) {
    bool ok = true;
    if (AskFromFile()) {
      fprintf(out, "Enter name of file containing %s: ", name);
      FILE* fp = AskFileName(fileName);
      if (fp == nullptr) continue;
      for (int i = 0; i < n && ok; i++) {
        values[i] = (int)CutToRange(ScanNumber(fp, fileName, ranges), INT_MIN, INT_MAX);
        ok = values[i] != -1;
      }
      fclose(fp);
      if (ok) {
        fprintf(out, "%s:\t", name);
        for (int i = 0; i < n; i++) fprintf(out, "%d\t", values[i]);
        fprintf(out, "\n");
      }
    } else {
      fprintf(out, "Enter %s: \t", name);
      for (int i = 0; i < n && ok; i++) {
        values[i] = (int)CutToRange(ScanNumber(in, "keyboard", ranges), INT_MIN, INT_MAX);
        ok = values[i] != -1;
      }
    }
    // -1 asks to start over.
    if (!ok) {
      fprintf(out, "\n");
      continue;
    }
    if (!Confirmed()) continue;
    if (Echoing()) {
      for (int i = 0; i < n; i++) fprintf(outm, "%d\t", values[i]);
      fprintf(outm, "\n");
    }
    return 1;
  }
}

int ScanCharDef(const char* accepted) {
  int c = getchar();
  if (c != EOF && iscntrl(c)) {
    int def = ' ';
    for (const char* a = accepted; *a != '\0'; a++)
      if (*a != ' ') def = (unsigned char)*a;
    fprintf(out, "%c", def);
    return def;
  }
  if (c != EOF) ungetc(c, stdin);
  return ScanChar(stdin, accepted, "keyboard");
}

// Arrays, checked file streams and the failure jump: the bottom of TarnLib.
// Every matrix is a block of row pointers with one zero-filled block per row,
// so rows can be exchanged by moving pointers.
#include "TarnLib/tarnlibDim.h"

#include <omp.h>

#include <cctype>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

jmp_buf jmp_env;
volatile int jmpLive = 0;
volatile int jmpCode = 0;

// ---------------------------------------------------------------------------
// Failure jump
// ---------------------------------------------------------------------------

// Reads standard input until a letter (untilLetter) or a line feed; the end
// of input ends the wait as well, since nothing more can arrive.
static void WaitForAnswer(int untilLetter) {
  int c;
  while ((c = getchar()) != EOF) {
    if (untilLetter ? isalpha(c) != 0 : c == '\n') return;
  }
}

void FailReport(int code) {
  fflush(stdout);
  switch (code) {
    case FAIL_MEMORY:
      fprintf(stderr, "\nOUT OF MEMORY !!!\n");
      break;
    case FAIL_READ:
      fprintf(stderr, "\nEND OF FILE !!!\n");
      break;
    case FAIL_PRINT:
      fprintf(stderr, "\nFAIL TO PRINT ON FILE !!!\n");
      break;
    case FAIL_OPEN:
      fprintf(stderr, "\nFAIL TO OPEN FILE !!!\n");
      break;
    default:
      fprintf(stderr, "\a");
      return;
  }
  fprintf(stderr, "\nQuit and restart KOLVEN.\n\a");
  fflush(stderr);
  WaitForAnswer(code == FAIL_MEMORY || code == FAIL_PRINT);
  exit(1);
}

void FailJump(int code) {
  // A jump may not leave a parallel region, and with no live recovery point
  // there is nowhere to go: both end the process with the code's message.
  if (!jmpLive || omp_in_parallel()) {
    FailReport(code);
    exit(1);
  }
  jmpCode = code;
  longjmp(jmp_env, code);
}

int RunRecoverable(void (*body)(void*), void* arg) {
  // Read after a jump but set before setjmp, so their values hold.
  jmp_buf outer;
  memcpy(outer, jmp_env, sizeof(jmp_buf));
  int outerLive = jmpLive;
  // setjmp only in a form that ISO C allows (compared with a constant); the
  // code travels in the volatile jmpCode.
  if (setjmp(jmp_env) == 0) {
    jmpLive = 1;
    body(arg);
    jmpCode = 0;
  }
  int code = jmpCode;
  memcpy(jmp_env, outer, sizeof(jmp_buf));
  jmpLive = outerLive;
  return code;
}

void fcloseck(FILE* stream) {
  int failed = ferror(stream);
  if (fclose(stream) != 0 || failed) FailJump(FAIL_PRINT);
}

void CloseStream(FILE* stream) {
  if (stream != nullptr && stream != stdin) fclose(stream);
}

// Bell on standard output, as every refusal and failure rings it.
static void Bell() {
  putchar('\a');
  fflush(stdout);
}

// ---------------------------------------------------------------------------
// Allocators
// ---------------------------------------------------------------------------

void* dim1D_Clear(int n, unsigned long size) {
  // n is widened as a signed number: a negative count becomes a huge request.
  unsigned long bytes = (unsigned long)(long)n * size;
  if (bytes == 0) return malloc(1);
  return calloc(1, bytes);
}

// The failure path shared by every allocator.
static void* CheckedBlock(void* p) {
  if (p == nullptr) {
    Bell();
    FailJump(FAIL_MEMORY);
  }
  return p;
}

void* dim1D(unsigned long size, int n) { return CheckedBlock(dim1D_Clear(n, size)); }

void** dim2D(unsigned long size, int rows, int cols) {
  void** p = (void**)dim1D(sizeof(void*), rows < 1 ? 0 : rows);
  for (int i = 0; i < rows; i++) p[i] = dim1D(size, cols);
  return p;
}

void*** dim3D(unsigned long size, int d1, int d2, int d3) {
  void*** p = (void***)dim1D(sizeof(void*), d1 < 1 ? 0 : d1);
  for (int i = 0; i < d1; i++) p[i] = dim2D(size, d2, d3);
  return p;
}

void**** dim4D(unsigned long size, int d1, int d2, int d3, int d4) {
  void**** p = (void****)dim1D(sizeof(void*), d1 < 1 ? 0 : d1);
  for (int i = 0; i < d1; i++) p[i] = dim3D(size, d2, d3, d4);
  return p;
}

void***** dim5D(unsigned long size, int d1, int d2, int d3, int d4, int d5) {
  void***** p = (void*****)dim1D(sizeof(void*), d1 < 1 ? 0 : d1);
  for (int i = 0; i < d1; i++) p[i] = dim4D(size, d2, d3, d4, d5);
  return p;
}

void** dim2DT(unsigned long size, int rows) {
  void** p = (void**)dim1D(sizeof(void*), rows < 1 ? 0 : rows);
  for (int i = 0; i < rows; i++) p[i] = dim1D(size, i + 1);
  return p;
}

void*** dim3DT(unsigned long size, int d1, int rows) {
  void*** p = (void***)dim1D(sizeof(void*), d1 < 1 ? 0 : d1);
  for (int i = 0; i < d1; i++) p[i] = dim2DT(size, rows);
  return p;
}

char* dim1Dchar(int n) { return (char*)CheckedBlock(dim1D_Clear(n, 1)); }
int* dim1Dint(int n) { return (int*)CheckedBlock(dim1D_Clear(n, sizeof(int))); }
long* dim1Dlong(int n) { return (long*)CheckedBlock(dim1D_Clear(n, sizeof(long))); }
short* dim1Dshort(int n) { return (short*)CheckedBlock(dim1D_Clear(n, sizeof(short))); }
float* dim1Dfloat(int n) { return (float*)CheckedBlock(dim1D_Clear(n, sizeof(float))); }
double* dim1Double(int n) { return (double*)CheckedBlock(dim1D_Clear(n, sizeof(double))); }

char** dim2Dchar(int rows, int cols) { return (char**)dim2D(1, rows, cols); }
int** dim2Dint(int rows, int cols) { return (int**)dim2D(sizeof(int), rows, cols); }
long** dim2Dlong(int rows, int cols) { return (long**)dim2D(sizeof(long), rows, cols); }
short** dim2Dshort(int rows, int cols) { return (short**)dim2D(sizeof(short), rows, cols); }
float** dim2Dfloat(int rows, int cols) { return (float**)dim2D(sizeof(float), rows, cols); }
double** dim2Double(int rows, int cols) { return (double**)dim2D(sizeof(double), rows, cols); }

char*** dim3Dchar(int d1, int d2, int d3) { return (char***)dim3D(1, d1, d2, d3); }
int*** dim3Dint(int d1, int d2, int d3) { return (int***)dim3D(sizeof(int), d1, d2, d3); }
long*** dim3Dlong(int d1, int d2, int d3) { return (long***)dim3D(sizeof(long), d1, d2, d3); }
short*** dim3Dshort(int d1, int d2, int d3) {
  return (short***)dim3D(sizeof(short), d1, d2, d3);
}
float*** dim3Dfloat(int d1, int d2, int d3) {
  return (float***)dim3D(sizeof(float), d1, d2, d3);
}
double*** dim3Double(int d1, int d2, int d3) {
  return (double***)dim3D(sizeof(double), d1, d2, d3);
}

long**** dim4Dlong(int d1, int d2, int d3, int d4) {
  return (long****)dim4D(sizeof(long), d1, d2, d3, d4);
}
float**** dim4Dfloat(int d1, int d2, int d3, int d4) {
  return (float****)dim4D(sizeof(float), d1, d2, d3, d4);
}
double**** dim4Double(int d1, int d2, int d3, int d4) {
  return (double****)dim4D(sizeof(double), d1, d2, d3, d4);
}

// ---------------------------------------------------------------------------
// Deallocators
// ---------------------------------------------------------------------------

void free1D(void* p) { free(p); }

void free2D(void* p, int rows) {
  void** rowsPtr = (void**)p;
  if (rowsPtr == nullptr) return;
  for (int i = 0; i < rows; i++) free1D(rowsPtr[i]);
  free1D(rowsPtr);
}

void free3D(void* p, int d1, int d2) {
  void** block = (void**)p;
  if (block == nullptr) return;
  for (int i = 0; i < d1; i++) free2D(block[i], d2);
  free1D(block);
}

void free4D(void* p, int d1, int d2, int d3) {
  void** block = (void**)p;
  if (block == nullptr) return;
  for (int i = 0; i < d1; i++) free3D(block[i], d2, d3);
  free1D(block);
}

void free5D(void* p, int d1, int d2, int d3, int d4) {
  void** block = (void**)p;
  if (block == nullptr) return;
  for (int i = 0; i < d1; i++) free4D(block[i], d2, d3, d4);
  free1D(block);
}

// ---------------------------------------------------------------------------
// Checked streams
// ---------------------------------------------------------------------------

FILE* fopenck(const char* name, const char* prefix, const char* mode) {
  char path[4400];
  snprintf(path, sizeof path, "%s%s", prefix == nullptr ? "" : prefix, name);
  FILE* fp = fopen(path, mode);
  if (fp == nullptr) {
    fflush(stdout);
    fprintf(stderr, "\ncan't open %s \n", path);
    Bell();
  }
  return fp;
}

// A failed read: the stream is closed, the user told its name, and code 2 raised.
[[noreturn]] static void ReadFailed(FILE* stream, const char* label) {
  CloseStream(stream);
  fflush(stdout);
  fprintf(stderr, "\nfile %s ", label);
  Bell();
  FailJump(FAIL_READ);
}

int freadck(FILE* stream, const char* format, void* target, const char* label) {
  int got = fscanf(stream, format, target);
  if (got == 0 || got == EOF) ReadFailed(stream, label);
  return got;
}

namespace {

// Longest number kept whole by the tolerant read; a longer run of digits is
// cut there and its rest read as the next number.
const int numberWindow = 512;

// Characters of one blank-delimited word, read ahead while the tolerant read
// looks for a number in it. Characters before `start` have been dropped.
struct WordWindow {
  char text[numberWindow + 1];
  int start, length;
  bool wordEnded; // the stream holds no more characters of this word
};

// Reads characters of the current word until the window is full or the word
// ends; the white space that ends it is put back. Returns false at the end of
// the stream with nothing in the window.
bool FillWindow(FILE* stream, WordWindow& w) {
  if (w.start > 0) {
    memmove(w.text, w.text + w.start, (size_t)(w.length - w.start));
    w.length -= w.start;
    w.start = 0;
  }
  if (w.length == 0 && w.wordEnded) {
    int c;
    do c = fgetc(stream);
    while (c != EOF && isspace(c));
    if (c == EOF) return false;
    w.text[w.length++] = (char)c;
    w.wordEnded = false;
  }
  while (!w.wordEnded && w.length < numberWindow) {
    int c = fgetc(stream);
    if (c == EOF || isspace(c)) {
      if (c != EOF) ungetc(c, stream);
      w.wordEnded = true;
    } else {
      w.text[w.length++] = (char)c;
    }
  }
  w.text[w.length] = '\0';
  return true;
}

// The number at the front of `text` by the grammar of the conversion: the
// count of characters it takes, 0 when none is there.
int ConvertFront(const char* text, bool integer, void* target) {
  char* end;
  if (integer) {
    long v = strtol(text, &end, 10);
    if (end == text) return 0;
    // Out of range saturates, as strtol does for long.
    *(int*)target = v > INT_MAX ? INT_MAX : v < INT_MIN ? INT_MIN : (int)v;
  } else {
    double v = strtod(text, &end);
    if (end == text) return 0;
    *(double*)target = v;
  }
  return (int)(end - text);
}

// The tolerant read of one number. Text is dropped one character at a time,
// exactly as far as no number starts; the characters read ahead behind the
// number are put back, so the next read starts right after it. Words such as
// "in" or "na" that open "inf" or "nan" lose nothing of the number behind them.
int ReadTolerantNumber(FILE* stream, bool integer, void* target) {
  WordWindow w;
  w.start = w.length = 0;
  w.wordEnded = true;
  for (;;) {
    if (!FillWindow(stream, w)) return EOF;
    while (w.start < w.length) {
      int taken = ConvertFront(w.text + w.start, integer, target);
      if (taken > 0) {
        // Put back what follows the number, last character first.
        for (int k = w.length - 1; k >= w.start + taken; k--) ungetc((unsigned char)w.text[k], stream);
        return 1;
      }
      w.start++;
      // Keep the window full so that a number is never seen cut short.
      if (!w.wordEnded) break;
    }
  }
}

// The numeric conversion of a scanf format ("%lf" or "%d"), or 0 for any other.
char NumericConversion(const char* format) {
  if (strcmp(format, "%lf") == 0) return 'f';
  if (strcmp(format, "%d") == 0) return 'd';
  return 0;
}

} // namespace

int freadck1(FILE* stream, const char* format, void* target, const char* label) {
  int got;
  char conversion = NumericConversion(format);
  if (conversion != 0) {
    got = ReadTolerantNumber(stream, conversion == 'd', target);
  } else {
    // Words: a "%s" conversion takes any word and fails only at the end.
    while ((got = fscanf(stream, format, target)) == 0) {
      if (fgetc(stream) == EOF) {
        got = EOF;
        break;
      }
    }
  }
  if (got == EOF) {
    CloseStream(stream);
    fflush(stdout);
    fprintf(stderr, "\nEnd of file %s\n", label);
    Bell();
    return 0;
  }
  return 1;
}

// Shared body of the line readers: skips leading white space, then reads up
// to `limit` characters or an end character. A tab may be turned to a blank.
static void ReadLine(FILE* stream, int limit, char* buffer, const char* label,
                     const char* ends, bool tabToBlank) {
  int c;
  do {
    c = fgetc(stream);
  } while (c == '\t' || c == '\n' || c == '\r' || c == ' ');
  if (c == EOF) ReadFailed(stream, label);
  int n = 0;
  while (n < limit && c != EOF && strchr(ends, c) == nullptr) {
    buffer[n++] = (char)(tabToBlank && c == '\t' ? ' ' : c);
    if (n < limit) c = fgetc(stream);
  }
  // The end character is consumed; a character beyond the limit stays in
  // the stream; a limit of 0 puts back the first character read.
  if (n == 0 && limit <= 0 && c != EOF) ungetc(c, stream);
  if (ferror(stream)) ReadFailed(stream, label);
  buffer[n] = '\0';
}

void freadlineck(FILE* stream, int limit, char* buffer, const char* label) {
  ReadLine(stream, limit, buffer, label, "\t\n\r", false);
}

void freadlineck(FILE* stream, int limit, char* buffer, const char* label, bool crEnds) {
  ReadLine(stream, limit, buffer, label, crEnds ? "\t\n\r" : "\t\n", false);
}

void freadlineckTEMP(FILE* stream, int limit, char* buffer, const char* label) {
  ReadLine(stream, limit, buffer, label, "\n\r", true);
}

int ScanChar(FILE* stream, const char* accepted, const char* label) {
  for (;;) {
    int c = fgetc(stream);
    if (c == EOF) {
      CloseStream(stream);
      fflush(stdout);
      fprintf(stderr, "\nfile %s ", label);
      FailJump(FAIL_READ);
    }
    c = tolower(c);
    if (accepted == nullptr || accepted[0] == '\0') {
      if (c == '\t' || c == '\n' || c == ' ') continue;
      return c;
    }
    for (const char* a = accepted; *a != '\0'; a++) {
      if (*a != ' ' && tolower((unsigned char)*a) == c) return c;
    }
    if (c == ' ' || iscntrl(c)) continue;
    Bell();
    fprintf(stderr, "\nIncorrect input = %c. Reenter.\n", c);
    fprintf(stderr, "Accepted input: %s\n", accepted);
  }
}

// Reads one number; the end of the stream is final, since the tolerant
// reader has closed it.
static double ReadNumberOrFail(FILE* stream, const char* label) {
  double value = 0.0;
  if (freadck1(stream, "%lf", &value, label) == 0) {
    fflush(stdout);
    fprintf(stderr, "\nfile %s ", label);
    FailJump(FAIL_READ);
  }
  return value;
}

// True when `value` equals one of the numbers listed in `ranges`.
static bool InList(const char* ranges, double value) {
  const char* p = ranges;
  for (;;) {
    char* end;
    double listed = strtod(p, &end);
    if (end == p) return false;
    if (listed == value) return true;
    p = end;
  }
}

double ScanNumber(FILE* stream, const char* label, const char* ranges, ...) {
  if (ranges == nullptr) return ReadNumberOrFail(stream, label);
  bool interval = ranges[0] == '-';
  double low = 0.0, high = 0.0;
  if (interval) {
    va_list args;
    va_start(args, ranges);
    low = va_arg(args, double);
    high = va_arg(args, double);
    va_end(args);
  }
  for (;;) {
    double value = ReadNumberOrFail(stream, label);
    if (ranges[0] == '\0') return value;
    if (interval) {
      if (strcmp(ranges, "-") == 0 && low <= value && value <= high) return value;
    } else if (InList(ranges, value)) {
      return value;
    }
    Bell();
    fprintf(stderr, "\nIncorrect input = %g. Reenter.\n", value);
    if (interval)
      fprintf(stderr, "Accepted input: %g to %g\n", low, high);
    else
      fprintf(stderr, "Accepted input: %s\n", ranges);
  }
}

char* ScanString(FILE* stream, int width, char* buffer, const char* accepted, int exact,
                 const char* label) {
  char word[4096];
  if (freadck1(stream, "%4095s", word, label) == 0) return nullptr;
  if (width < 0) width = 0;
  strncpy(buffer, word, (size_t)width);
  buffer[width] = '\0';
  trimString(buffer);
  if (accepted == nullptr || accepted[0] == '\0') return buffer;
  char list[4096];
  snprintf(list, sizeof list, "%s", accepted);
  for (char* save = nullptr, *tok = strtok_r(list, "/", &save); tok != nullptr;
       tok = strtok_r(nullptr, "/", &save)) {
    if ((exact ? strcmp(buffer, tok) : StrCmp(buffer, tok)) == 0) return buffer;
  }
  Bell();
  fprintf(stderr, "\nIncorrect input = %s. Reenter.\n", buffer);
  fprintf(stderr, "Accepted input: %s\n", accepted);
  buffer[0] = '\0';
  return nullptr;
}

// ---------------------------------------------------------------------------
// Strings
// ---------------------------------------------------------------------------

void trimString(char* text) {
  char* w = text;
  for (const char* p = text; *p != '\0'; p++) {
    if (*p == ' ' && (p[1] == ' ' || p[1] == '\0')) continue;
    *w++ = *p;
  }
  *w = '\0';
}

void StrToUpper(char* text) {
  for (; *text != '\0'; text++) *text = (char)toupper((unsigned char)*text);
}

void CopyPrefix(char* target, const char* source, int width) {
  size_t length = strnlen(source, width < 0 ? 0 : (size_t)width);
  memcpy(target, source, length);
  target[length] = '\0';
}

int StrCmp(const char* a, const char* b) {
  for (;; a++, b++) {
    int ca = toupper((unsigned char)*a), cb = toupper((unsigned char)*b);
    if (ca != cb || ca == '\0') return ca - cb;
  }
}

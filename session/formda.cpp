// The formatted data file of a session: OpenFormda, WriteFormda and the per-trait summaries.
#include "session/formda.h"

#include <cstdlib>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "session/session.h"
#include "shell/shell.h"

// ---------------------------------------------------------------------------
// Reading helpers. Every read is checked and bounded: a file that ends early,
// holds text where a number stands, or states counts that its own size cannot
// hold ends with code 2 rather than with a huge allocation or a wild write.
// ---------------------------------------------------------------------------

namespace {

const int wordSize = 320;        // scratch for one word of the file
const double countMarker = 99999999.0; // empty slot of the CountStates lists

struct FormdaReader {
  FILE* fp;
  const char* name;  // file name told in messages
  long long size;    // bytes in the file: no count can pass it
  char word[wordSize];
};

void ReadInt(FormdaReader& r, int* value) { freadck(r.fp, "%d", value, r.name); }

void ReadDouble(FormdaReader& r, double* value) { freadck(r.fp, "%lf", value, r.name); }

// A count of items that each take at least one character and a separator.
void ReadCount(FormdaReader& r, int* count) {
  ReadInt(r, count);
  if (*count < 0 || *count > r.size) FailMalformed(r.fp, r.name);
}

// Traits, communities and OTUs: every analysis sizes its arrays by these
// and writes at least their first element, so a file stating none is refused.
void ReadPositiveCount(FormdaReader& r, int* count) {
  ReadCount(r, count);
  if (*count < 1) FailMalformed(r.fp, r.name);
}

// Items of a block (rows by columns) must fit the file too.
void CheckBlock(FormdaReader& r, int rows, int cols) {
  if ((long long)rows * cols > r.size) FailMalformed(r.fp, r.name);
}

// One word into r.word, kept whole so that a label longer than its array
// still counts as one word of the file.
void ReadWord(FormdaReader& r) { ReadWholeWord(r.fp, r.word, wordSize, r.name); }

// The first `width` characters of `word` into `label` (width + 1 bytes).
void CopyLabel(char* label, const char* word, int width) {
  CopyPrefix(label, word, width);
}

void ReadLabel(FormdaReader& r, char* label, int width) {
  ReadWord(r);
  CopyLabel(label, r.word, width);
}

void ReadIntRow(FormdaReader& r, int n, int* row) {
  for (int i = 0; i < n; i++) ReadInt(r, &row[i]);
}

void ReadDoubleRow(FormdaReader& r, int n, double* row) {
  for (int i = 0; i < n; i++) ReadDouble(r, &row[i]);
}

// Rows 2 to 9: traits and communities, their labels, and the OTU count.
void ReadHeader(FormdaReader& r) {
  ReadPositiveCount(r, &nch);
  chLabel = dim2Dchar(nch, 11);
  chtype = dim1Dint(nch);
  chrange = dim1Double(nch);
  onsta = dim1Dint(nch);
  for (int i = 0; i < nch; i++) ReadLabel(r, chLabel[i], 10);
  ReadIntRow(r, nch, chtype);
  ReadDoubleRow(r, nch, chrange);
  ReadIntRow(r, nch, onsta);
  ReadPositiveCount(r, &ncsm);
  reLabel = dim2Dchar(ncsm, 11);
  for (int i = 0; i < ncsm; i++) ReadLabel(r, reLabel[i], 10);
  ReadPositiveCount(r, &tcst);
  CheckBlock(r, tcst, nch + ncsm);
}

// Arrays with no content in the file, and the partitions.
void AllocateWorkArrays() {
  nchor = dim1Dint(nch);
  rcst = dim1Dint(nch);
  nGrPoly = dim1Dint(nch);
  weight = dim1Double(nch);
  weight_OTUs = dim1Dint(tcst);
  relSelect = dim1Dint(ncsm);
  partition_OTUs = dim1Dint(tcst);
  cstTrack = dim2Dint(nch, tcst);

  partLabel = dim2Dchar(MAX_PARTITIONS, 21);
  nGroupsP = dim1Dint(MAX_PARTITIONS);
  groupRelP = dim2Dint(MAX_PARTITIONS, ncsm);
  grLabelP = dim3Dchar(MAX_PARTITIONS, ncsm, 5);
  partCstLabel = dim2Dchar(MAX_PARTITIONS, 21);
  nGroupsCstP = dim1Dint(MAX_PARTITIONS);
  groupCstP = dim2Dint(MAX_PARTITIONS, tcst);
  grCstLabelP = dim3Dchar(MAX_PARTITIONS, tcst, 5);
  whichLevelGrCstP = dim1Dint(MAX_PARTITIONS);
  groupCst = groupCstP[0];
  grCstLabel = grCstLabelP[0];
  // The track file sets the current partition of communities; until it is
  // read the aliases point at partition 0 rather than at released memory.
  groupRel = groupRelP[0];
  grLabel = grLabelP[0];
}

// Word buffers of row 12, held here rather than in locals so that a read
// failure, which jumps away, leaves them reachable and freed at the next load.
char* tagBuffer = nullptr;
char* firstWord = nullptr;

void ReleaseWordBuffers() {
  free1D(tagBuffer);
  free1D(firstWord);
  tagBuffer = firstWord = nullptr;
}

// Older layout: each OTU as a string of two-character trait values, then its
// performances. The first string is already in `first`.
void ReadInterleaved(FormdaReader& r, const char* first, char* tagBuffer,
                     const char* tagFormat) {
  for (int i = 0; i < tcst; i++) {
    if (i > 0) freadck(r.fp, tagFormat, tagBuffer, r.name);
    const char* text = (i == 0) ? first : tagBuffer;
    int length = (int)strlen(text);
    for (int j = 0; j < nch; j++) {
      char pair[3] = {0, 0, 0};
      for (int k = 0; k < 2 && 2 * j + k < length; k++) pair[k] = text[2 * j + k];
      // The old files held single-precision values: the rounding is kept.
      csm_Float[i][j] = (double)(float)atof(pair);
    }
    ReadDoubleRow(r, ncsm, cadat[i]);
  }
}

// Row 12 and the matrices B and W. Returns 1 when the tag of the current
// layout stands there (the file then ends with the trait groups).
int ReadMatrices(FormdaReader& r) {
  cadat = dim2Double(tcst, ncsm);
  csm_Float = dim2Double(tcst, nch);
  // nch x 10, lowest bit set, plus 20: also the limit of an interleaved string.
  long tagSize = (((long)nch * 10) | 1) + 20 + 1;
  ReleaseWordBuffers();
  char* tag = tagBuffer = dim1Dchar((int)tagSize);
  char tagFormat[32];
  snprintf(tagFormat, sizeof tagFormat, "%%%lds", tagSize - 1);
  freadck(r.fp, tagFormat, tag, r.name);
  int current = strcmp(tag, formdaMatrixTag) == 0;
  if (current || strcmp(tag, formdaMatrixTagOld) == 0) {
    for (int i = 0; i < tcst; i++) ReadDoubleRow(r, nch, csm_Float[i]);
    for (int i = 0; i < tcst; i++) ReadDoubleRow(r, ncsm, cadat[i]);
  } else {
    char* first = firstWord = dim1Dchar((int)tagSize);
    strcpy(first, tag);
    ReadInterleaved(r, first, tag, tagFormat);
  }
  ReleaseWordBuffers();
  return current;
}

// Rows 15 to 21: the environmental variables.
void ReadEnvironment(FormdaReader& r) {
  ReadCount(r, &nenv);
  if (nenv == 0) {
    env = nullptr;
    envLabel = nullptr;
    envVarType = nullptr;
    return;
  }
  CheckBlock(r, nenv, ncsm);
  ReadWord(r);
  envVarType = dim1Dint(nenv);
  envLabel = dim2Dchar(nenv, 11);
  int firstLabel = 0;
  if (strcmp(r.word, versionFormda) == 0) {
    ReadInt(r, &optEnvVarType);
    ReadIntRow(r, nenv, envVarType);
  } else {
    // No tag: the word is the first label, and all variables are quantitative.
    optEnvVarType = 2;
    for (int k = 0; k < nenv; k++) envVarType[k] = 3;
    CopyLabel(envLabel[0], r.word, 10);
    firstLabel = 1;
  }
  for (int k = firstLabel; k < nenv; k++) ReadLabel(r, envLabel[k], 10);
  ReadWord(r);
  CopyLabel(envName, r.word, (int)sizeof envName - 1);
  env = dim2Double(ncsm, nenv);
  for (int k = 0; k < nenv; k++)
    for (int j = 0; j < ncsm; j++) ReadDouble(r, &env[j][k]);
  // Type 4 sets no flag here, unlike in the raw-data dialogue: kept as it is.
  temEnvQuant = temEnvQual = temEnvBin = 0;
  for (int k = 0; k < nenv; k++) {
    if (envVarType[k] == 3) temEnvQuant = 1;
    if (envVarType[k] == 2) temEnvQual = 1;
    if (envVarType[k] == 1) temEnvBin = 1;
  }
}

// Rows 22 to 26: the species list and its two maps.
void ReadSpecies(FormdaReader& r) {
  ReadCount(r, &nSpp);
  if (nSpp == 0) {
    spp = sppRelMap = cstSppMap = nullptr;
    return;
  }
  CheckBlock(r, nSpp, ncsm);
  CheckBlock(r, tcst, nSpp);
  spp = dim2Dchar(nSpp, 71);
  sppRelMap = dim2Dchar(nSpp, ncsm + 1);
  cstSppMap = dim2Dchar(tcst, nSpp + 1);
  freadlineck(r.fp, 41, whichSpp, r.name);
  for (int i = 0; i < nSpp; i++) freadlineckTEMP(r.fp, 70, spp[i], r.name);
  // The file stands in for the keyboard: a stray character is refused and
  // the next one taken.
  for (int i = 0; i < nSpp; i++)
    for (int j = 0; j < ncsm; j++) sppRelMap[i][j] = (char)ScanChar(r.fp, "0 1", r.name);
  for (int i = 0; i < tcst; i++)
    for (int j = 0; j < nSpp; j++) cstSppMap[i][j] = (char)ScanChar(r.fp, "0 1", r.name);
}

// Rows 27 to 33: moving-window size and the phylogeny.
void ReadPhylogeny(FormdaReader& r) {
  ReadWord(r);
  if (strcmp(r.word, "SMW") == 0)
    ReadInt(r, &SMWSize);
  else
    SMWSize = 1; // the word was the first of the time stamp
  // Older files stop before this row: the read is deliberately unchecked.
  hasPhylogeny = 0;
  if (fscanf(r.fp, "%d", &hasPhylogeny) != 1) hasPhylogeny = 0;
  if (!hasPhylogeny) return;
  ReadInt(r, &phylogenyMatrixType);
  if (phylogenyMatrixType == 1 || phylogenyMatrixType == 3) CheckBlock(r, tcst, tcst);
  phylogenyRese = dim2Double(tcst, tcst);
  if (phylogenyMatrixType == 1 || phylogenyMatrixType == 3) {
    for (int i = 0; i < tcst; i++) ReadDoubleRow(r, tcst, phylogenyRese[i]);
  } else if (phylogenyMatrixType == 2) {
    ReadCount(r, &nClados);
    CheckBlock(r, tcst, nClados);
    phylogenyVarType = dim1Dint(nClados);
    phylogenyData = dim2Double(tcst, nClados);
    ReadIntRow(r, nClados, phylogenyVarType);
    for (int i = 0; i < tcst; i++) ReadDoubleRow(r, nClados, phylogenyData[i]);
  }
}

} // namespace

void ReadWholeWord(FILE* stream, char* word, int size, const char* label) {
  char format[24];
  snprintf(format, sizeof format, "%%%ds", size - 1);
  freadck(stream, format, word, label);
  if ((int)strlen(word) == size - 1) {
    int skipped = fscanf(stream, "%*[^ \t\n\r\v\f]");
    (void)skipped;
  }
}

void FailMalformed(FILE* stream, const char* label) {
  CloseStream(stream);
  fflush(stdout);
  fprintf(stderr, "\nfile %s ", label);
  putchar('\a');
  fflush(stdout);
  FailJump(FAIL_READ);
}

void OpenFormda(int what) {
  (void)what; // every caller loads everything
  FormdaReader r;
  r.name = whichFormda;
  r.fp = fopenck(whichFormda, volumeName, "r");
  if (r.fp == nullptr) FailJump(FAIL_OPEN);
  fseek(r.fp, 0, SEEK_END);
  r.size = ftell(r.fp);
  rewind(r.fp);

  // Row 1 keeps the blank that the writer leaves behind the name.
  freadlineck(r.fp, 319, dataName, r.name);
  ReadHeader(r);
  AllocateWorkArrays();
  ncst = dim1Dint(ncsm);
  ReadIntRow(r, ncsm, ncst);
  ReadDoubleRow(r, 7, ca_code);
  int hasGroupRows = ReadMatrices(r);
  ReadEnvironment(r);
  ReadSpecies(r);
  ReadPhylogeny(r);
  traitGroups = dim1Dint(nch);
  hasTraitGroups = 0;
  if (hasGroupRows) {
    ReadInt(r, &hasTraitGroups);
    if (hasTraitGroups) ReadIntRow(r, nch, traitGroups);
  }
  fclose(r.fp);
  dirtyOrig = 0;
}

// ---------------------------------------------------------------------------
// Writer
// ---------------------------------------------------------------------------

namespace {

// B or W: six significant digits whatever sDigits is, and a blank line after.
template <typename T>
void WriteMatrix(FILE* fp, int rows, int cols, T** matrix) {
  for (int i = 0; i < rows; i++) {
    for (int j = 0; j < cols; j++) fprintck(fprintf(fp, "%.*g\t", 6, (double)matrix[i][j]));
    fprintck(fprintf(fp, "\n"));
  }
  fprintck(fprintf(fp, "\n"));
}

void WriteZeros(FILE* fp, int n, const char* end) {
  for (int i = 0; i < n; i++) fprintck(fprintf(fp, "0\t"));
  fprintck(fprintf(fp, "%s", end));
}

void WriteLabels(FILE* fp, int n, char** labels) {
  for (int i = 0; i < n; i++) fprintck(fprintf(fp, "%s\t", labels[i]));
  fprintck(fprintf(fp, "\n"));
}

void WriteInts(FILE* fp, int n, const int* values, const char* format) {
  for (int i = 0; i < n; i++) fprintck(fprintf(fp, format, values[i]));
  fprintck(fprintf(fp, "\n"));
}

void WriteEnvironment(FILE* fp) {
  fprintck(fprintf(fp, "%d \n", nenv));
  if (nenv <= 0) return;
  fprintck(fprintf(fp, "%s \n", versionFormda));
  fprintck(fprintf(fp, "%d \n", optEnvVarType));
  WriteInts(fp, nenv, envVarType, "%d\t");
  WriteLabels(fp, nenv, envLabel);
  fprintck(fprintf(fp, "%s \n", envName));
  for (int k = 0; k < nenv; k++) {
    for (int j = 0; j < ncsm; j++) fprintck(fprintf(fp, "%6g\t", env[j][k]));
    fprintck(fprintf(fp, "\n"));
  }
}

void WriteSpecies(FILE* fp, int nOTUs) {
  fprintck(fprintf(fp, "%d \n", nSpp));
  if (nSpp <= 0) return;
  fprintck(fprintf(fp, "%s \n", whichSpp));
  for (int i = 0; i < nSpp; i++) fprintck(fprintf(fp, "%-s\n", spp[i]));
  for (int i = 0; i < nSpp; i++) {
    for (int j = 0; j < ncsm; j++) fprintck(fprintf(fp, "%c", sppRelMap[i][j]));
    fprintck(fprintf(fp, "\n"));
  }
  for (int i = 0; i < nOTUs; i++) {
    for (int j = 0; j < nSpp; j++) fprintck(fprintf(fp, "%c", cstSppMap[i][j]));
    fprintck(fprintf(fp, "\n"));
  }
}

// Rows 30 to 36 are written without the print check, as they always were.
void WriteTail(FILE* fp, int nOTUs) {
  if (hasPhylogeny) {
    fprintck(fprintf(fp, "%d\n", phylogenyMatrixType));
    if (phylogenyMatrixType == 1 || phylogenyMatrixType == 3) {
      for (int i = 0; i < nOTUs; i++) {
        for (int j = 0; j < nOTUs; j++) fprintf(fp, "%g\t", phylogenyRese[i][j]);
        fprintf(fp, "\n");
      }
    } else if (phylogenyMatrixType == 2) {
      fprintf(fp, "%d\n", nClados);
      for (int j = 0; j < nClados; j++) fprintf(fp, "%d\t", phylogenyVarType[j]);
      fprintf(fp, "\n");
      for (int i = 0; i < nOTUs; i++) {
        for (int j = 0; j < nClados; j++) fprintf(fp, "%g\t", phylogenyData[i][j]);
        fprintf(fp, "\n");
      }
    }
  }
  fprintf(fp, "%d\n", hasTraitGroups);
  if (hasTraitGroups) {
    for (int j = 0; j < nch; j++) fprintf(fp, "%d\t", traitGroups[j]);
    fprintf(fp, "\n");
  }
  TimeStamp(fp);
}

template <typename T>
void WriteFormdaAny(int nOTUs, char* file, char* name, T** traits, T** communities) {
  HandleEventInfoWhere("WriteFormda");
  FILE* fp = fopenck(file, volumeName, "w");
  if (fp == nullptr) FailJump(FAIL_OPEN);
  fprintck(fprintf(fp, "%s \n", name));
  fprintck(fprintf(fp, "%d \n", nch));
  WriteLabels(fp, nch, chLabel);
  WriteInts(fp, nch, chtype, "%2d\t");
  WriteZeros(fp, nch, "\n");
  WriteInts(fp, nch, onsta, "%2d\t");
  fprintck(fprintf(fp, "%d \n", ncsm));
  WriteLabels(fp, ncsm, reLabel);
  fprintck(fprintf(fp, "%d \n", nOTUs));
  WriteZeros(fp, ncsm, "\n");
  WriteZeros(fp, 7, "\n\n");
  fprintck(fprintf(fp, "%s \n", formdaMatrixTag));
  WriteMatrix(fp, nOTUs, nch, traits);
  WriteMatrix(fp, nOTUs, ncsm, communities);
  WriteEnvironment(fp);
  WriteSpecies(fp, nOTUs);
  fprintck(fprintf(fp, "SMW "));
  fprintck(fprintf(fp, "%d\n", SMWSize));
  fprintck(fprintf(fp, "%d\n", hasPhylogeny));
  WriteTail(fp, nOTUs);
  if (fclose(fp) != 0) FailJump(FAIL_PRINT);
}

} // namespace

void WriteFormda(int nOTUs, char* file, char* name, double** traits, double** communities) {
  WriteFormdaAny(nOTUs, file, name, traits, communities);
}

void WriteFormda(int nOTUs, char* file, char* name, float** traits, float** communities) {
  WriteFormdaAny(nOTUs, file, name, traits, communities);
}

// ---------------------------------------------------------------------------
// Per-trait summaries
// ---------------------------------------------------------------------------

namespace {

template <typename T>
void CountStatesAny(int nTraits, int nOTUs, int* states, T** matrix) {
  T* seen = (T*)dim1D(sizeof(T), nOTUs > 0 ? nOTUs : 1);
  for (int t = 0; t < nTraits; t++) {
    states[t] = 0;
    for (int i = 0; i < nOTUs; i++) seen[i] = (T)countMarker;
    for (int i = 0; i < nOTUs; i++) {
      T value = matrix[i][t];
      // An equal slot is tested before an empty one, so a value equal to the
      // marker itself finds the first empty slot "equal" and is never counted.
      for (int s = 0; s < nOTUs; s++) {
        if (seen[s] == value) break;
        if (seen[s] == (T)countMarker) {
          seen[s] = value;
          states[t]++;
          break;
        }
      }
    }
  }
  free1D(seen);
}

template <typename T>
void RangeStatesAny(int nTraits, int nOTUs, T** matrix, int* types, T* range) {
  for (int t = 0; t < nTraits; t++) {
    if (types[t] != 3) continue;
    // Smallest normal and largest single-precision numbers: a trait whose
    // values are all negative keeps this maximum, as it always did.
    T maximum = (T)1.1754943508222875e-38;
    T minimum = (T)3.4028234663852886e+38;
    for (int i = 0; i < nOTUs; i++) {
      if (matrix[i][t] > maximum) maximum = matrix[i][t];
      if (matrix[i][t] < minimum) minimum = matrix[i][t];
    }
    range[t] = maximum - minimum;
  }
}

} // namespace

void CountStates(int nTraits, int nOTUs, int* states, double** matrix) {
  CountStatesAny(nTraits, nOTUs, states, matrix);
}

void CountStates(int nTraits, int nOTUs, int* states, float** matrix) {
  CountStatesAny(nTraits, nOTUs, states, matrix);
}

void RangeStates(int nTraits, int nOTUs, double** matrix, int* types, double* range) {
  RangeStatesAny(nTraits, nOTUs, matrix, types, range);
}

void RangeStates(int nTraits, int nOTUs, float** matrix, int* types, float* range) {
  RangeStatesAny(nTraits, nOTUs, matrix, types, range);
}

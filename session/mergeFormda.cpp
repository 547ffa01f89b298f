// A new session from the formatted files of two sessions: MergeFormda and its own reader of the second file.
#include "session/mergeFormda.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "session/formda.h"
#include "session/rawData.h"
#include "session/session.h"
#include "shell/shell.h"

// This reader knows less than OpenFormda, and the differences are kept: it
// takes only "18Jan2008" as the tag of the matrices, so a second file in
// the present layout (tag "25Jun2016") is read as interleaved and goes out
// of step; its trait strings are not rounded to single precision; and the
// performances of each second OTU fill the first session's n1 columns.

namespace {

const int lineLimit = 319;   // characters kept of the first line and of a file name line
const int labelWidth = 10;   // characters of a community label
const int clashLimit = 9;    // longest second label that can take a "b"

// The second file while it is read.
struct SecondFile {
  FILE* fp;
  const char* name;
  long long size;  // bytes in the file: no count can pass it
  char* word;      // 10 x nch + 21 characters: labels, tags and trait strings
  int wordSize;
};

// The merged arrays, built beside the first session's until the merge is
// sure; n1, t1, s1 are the first session's counts.
struct Merged {
  int n1, t1, s1;
  int n2, t2, s2;
  char** reLabel;
  int* ncst;
  double** traits;
  double** communities;
  double** env;
  char** spp;
  char** sppRelMap;
  char** cstSppMap;
};

void ReadInt(SecondFile& f, int* value) { freadck(f.fp, "%d", value, f.name); }

void ReadDouble(SecondFile& f, double* value) { freadck(f.fp, "%lf", value, f.name); }

// A count of items that each take at least one character of the file.
void ReadCount(SecondFile& f, int* count, long long perItem) {
  ReadInt(f, count);
  if (*count < 0 || (long long)*count * (perItem > 0 ? perItem : 1) > f.size)
    FailMalformed(f.fp, f.name);
}

void ReadWord(SecondFile& f) { ReadWholeWord(f.fp, f.word, f.wordSize, f.name); }

// `text` + a blank + `more`, cut to 319 characters.
void AppendName(char* text, const char* more) {
  char joined[2 * (lineLimit + 1) + 2];
  snprintf(joined, sizeof joined, "%.*s %.*s", lineLimit, text, lineLimit, more);
  CopyPrefix(text, joined, lineLimit);
}

// A refusal: the message on standard output, and the merge ends.
int Refuse(const char* message) {
  printf("%s", message);
  return 0;
}

// The pair j of an interleaved trait string through atof, kept as a double.
double TraitPair(const char* text, int j) {
  int length = (int)strlen(text);
  char pair[3] = {0, 0, 0};
  for (int k = 0; k < 2 && 2 * j + k < length; k++) pair[k] = text[2 * j + k];
  return atof(pair);
}

// ---------------------------------------------------------------------------
// The rows of the second file, in order. Each returns 0 after a refusal.

// Rows 1 to 6: the name line, and the traits, which must be the first
// session's in number, labels, order and types.
int ReadTraits(SecondFile& f) {
  char line[lineLimit + 1];
  freadlineck(f.fp, lineLimit, line, f.name);
  AppendName(dataName, f.name);
  int n;
  ReadInt(f, &n);
  if (n != nch) return Refuse("\nThe number of traits do not match.\n\n");
  f.wordSize = 10 * nch + 21;
  f.word = dim1Dchar(f.wordSize);
  for (int i = 0; i < nch; i++) {
    ReadWord(f);
    if (strcmp(f.word, chLabel[i]) != 0)
      return Refuse("\nLabels for traits do not match (or their order).\n\n");
  }
  for (int i = 0; i < nch; i++) {
    int type;
    ReadInt(f, &type);
    if (type != chtype[i]) return Refuse("\nTrait types do not match.\n\n");
  }
  for (int i = 0; i < nch; i++) {
    double range;
    ReadDouble(f, &range);
  }
  for (int i = 0; i < nch; i++) {
    int states;
    ReadInt(f, &states);
  }
  return 1;
}

// A second label equal to a first one gains a "b". Each first label is met
// in turn, so a label can gain more than one letter.
int SettleLabelClashes(Merged& m) {
  for (int i = 0; i < m.n1; i++)
    for (int j = m.n1; j < m.n1 + m.n2; j++) {
      if (strcmp(m.reLabel[i], m.reLabel[j]) != 0) continue;
      if ((int)strlen(m.reLabel[j]) <= clashLimit) {
        strcat(m.reLabel[j], "b");
        continue;
      }
      puts("\b\nThere are releve labels in the second session that are identical to");
      puts("labels in the first session. Change them (or reduce the second");
      printf("session labels length to %d letters or digits) and try again.\n", clashLimit);
      return 0;
    }
  return 1;
}

// Rows 7 to 11: the communities, the OTU count and the old code table.
int ReadCommunities(SecondFile& f, Merged& m) {
  ReadCount(f, &m.n2, 2);
  m.reLabel = dim2Dchar(m.n1 + m.n2, labelWidth + 1);
  for (int j = 0; j < m.n1; j++) CopyPrefix(m.reLabel[j], reLabel[j], labelWidth);
  for (int j = 0; j < m.n2; j++) {
    ReadWord(f);
    CopyPrefix(m.reLabel[m.n1 + j], f.word, labelWidth);
  }
  if (!SettleLabelClashes(m)) return 0;
  ReadCount(f, &m.t2, 2 * (long long)(m.n1 > 0 ? m.n1 : 1));
  m.ncst = dim1Dint(m.n1 + m.n2);
  memcpy(m.ncst, ncst, sizeof(int) * (size_t)m.n1);
  for (int j = 0; j < m.n2; j++) ReadInt(f, &m.ncst[m.n1 + j]);
  for (int k = 0; k < 7; k++) {
    double code;
    ReadDouble(f, &code);
    if (code != ca_code[k])
      return Refuse("\nTranslating values for cover-abundance scale codes do not match.\n\n");
  }
  return 1;
}

// Rows 12 to 14: B and W of the second session below the first's. Each
// second OTU's performances fill columns 0 .. n1 - 1, whatever n2 is.
void ReadMatrices(SecondFile& f, Merged& m) {
  int rows = m.t1 + m.t2, cols = m.n1 + m.n2;
  m.traits = dim2Double(rows, nch);
  m.communities = dim2Double(rows, cols);
  for (int i = 0; i < m.t1; i++) {
    memcpy(m.traits[i], csm_Float[i], sizeof(double) * (size_t)nch);
    memcpy(m.communities[i], cadat[i], sizeof(double) * (size_t)m.n1);
  }
  char format[24];
  snprintf(format, sizeof format, "%%%ds", f.wordSize - 1);
  freadck(f.fp, format, f.word, f.name);
  if (strcmp(f.word, formdaMatrixTagOld) == 0) {
    for (int i = m.t1; i < rows; i++)
      for (int j = 0; j < nch; j++) ReadDouble(f, &m.traits[i][j]);
    for (int i = m.t1; i < rows; i++)
      for (int j = 0; j < m.n1; j++) ReadDouble(f, &m.communities[i][j]);
    return;
  }
  // Interleaved: the word just read is the first OTU's trait string.
  for (int i = m.t1; i < rows; i++) {
    if (i > m.t1) freadck(f.fp, format, f.word, f.name);
    for (int j = 0; j < nch; j++) m.traits[i][j] = TraitPair(f.word, j);
    for (int j = 0; j < m.n1; j++) ReadDouble(f, &m.communities[i][j]);
  }
}

// Rows 16 to 19 when E is there: types (when tagged) and labels must be the
// first session's.
int ReadVariableHeads(SecondFile& f) {
  ReadWord(f);
  if (strcmp(f.word, versionFormda) == 0) {
    int option;
    ReadInt(f, &option);
    bool same = option == optEnvVarType;
    for (int k = 0; k < nenv; k++) {
      int type;
      ReadInt(f, &type);
      same = same && type == envVarType[k];
    }
    if (!same) return Refuse("\nThe types of environmental variables do not match.\n\n");
    ReadWord(f);
  }
  // Without the tag the word read is the first label.
  for (int k = 0; k < nenv; k++) {
    if (k > 0) ReadWord(f);
    if (strcmp(f.word, envLabel[k]) != 0)
      return Refuse("\nLabels for environmental variables do not match.\n\n");
  }
  return 1;
}

// Rows 15 to 21: E of the second session below the first's.
int ReadEnvironment(SecondFile& f, Merged& m) {
  int n;
  ReadInt(f, &n);
  if (n != nenv) return Refuse("\nThe number of environmental variables do not match.\n\n");
  if (nenv <= 0) return 1;
  if (!ReadVariableHeads(f)) return 0;
  char line[lineLimit + 1];
  freadlineck(f.fp, lineLimit, line, f.name);
  // envName now holds two names; a loader reads one word there.
  AppendName(envName, line);
  m.env = dim2Double(m.n1 + m.n2, nenv);
  for (int j = 0; j < m.n1; j++) memcpy(m.env[j], env[j], sizeof(double) * (size_t)nenv);
  for (int k = 0; k < nenv; k++)
    for (int j = 0; j < m.n2; j++) ReadDouble(f, &m.env[m.n1 + j][k]);
  return 1;
}

// Rows 22 to 26: the species lists one after the other, and the second
// session's maps in their own block; the rest of the maps is '0'.
int ReadSpecies(SecondFile& f, Merged& m) {
  ReadCount(f, &m.s2, 2);
  if ((m.s1 == 0) != (m.s2 == 0))
    return Refuse("\nOne session has species names and the other not.\nBoth files must have or not have species names.\n\n");
  if (m.s2 == 0) return 1;
  char line[42];
  freadlineck(f.fp, 41, line, f.name);
  int species = m.s1 + m.s2, cols = m.n1 + m.n2, rows = m.t1 + m.t2;
  m.spp = dim2Dchar(species, 71);
  for (int s = 0; s < m.s1; s++) snprintf(m.spp[s], 71, "%s", spp[s]);
  for (int s = m.s1; s < species; s++) freadlineckTEMP(f.fp, 70, m.spp[s], f.name);
  m.sppRelMap = dim2Dchar(species, cols + 1);
  for (int s = 0; s < species; s++) memset(m.sppRelMap[s], '0', (size_t)cols);
  for (int s = 0; s < m.s1; s++) memcpy(m.sppRelMap[s], sppRelMap[s], (size_t)m.n1);
  for (int s = m.s1; s < species; s++)
    for (int j = m.n1; j < cols; j++) m.sppRelMap[s][j] = (char)ScanChar(f.fp, "0 1", f.name);
  m.cstSppMap = dim2Dchar(rows, species + 1);
  for (int i = 0; i < rows; i++) memset(m.cstSppMap[i], '0', (size_t)species);
  for (int i = 0; i < m.t1; i++) memcpy(m.cstSppMap[i], cstSppMap[i], (size_t)m.s1);
  for (int i = m.t1; i < rows; i++)
    for (int s = m.s1; s < species; s++) m.cstSppMap[i][s] = (char)ScanChar(f.fp, "0 1", f.name);
  return 1;
}

// The second file from its first row to the word behind the species maps.
int ReadSecond(SecondFile& f, Merged& m) {
  if (!ReadTraits(f) || !ReadCommunities(f, m)) return 0;
  ReadMatrices(f, m);
  if (!ReadEnvironment(f, m) || !ReadSpecies(f, m)) return 0;
  // Its "SMW" row, phylogeny and trait groups are not taken.
  char format[24];
  snprintf(format, sizeof format, "%%%ds", f.wordSize - 1);
  freadck(f.fp, format, f.word, f.name);
  return 1;
}

void ReleaseMerged(Merged& m) {
  int rows = m.t1 + m.t2, cols = m.n1 + m.n2, species = m.s1 + m.s2;
  free2D(m.reLabel, m.reLabel ? cols : 0);
  free1D(m.ncst);
  free2D(m.traits, m.traits ? rows : 0);
  free2D(m.communities, m.communities ? rows : 0);
  free2D(m.env, m.env ? cols : 0);
  free2D(m.spp, m.spp ? species : 0);
  free2D(m.sppRelMap, m.sppRelMap ? species : 0);
  free2D(m.cstSppMap, m.cstSppMap ? rows : 0);
}

// The arrays sized by the numbers of communities and OTUs, made anew.
void RebuildWorkArrays(int nCommunities, int nOTUs) {
  free2D(groupRelP, MAX_PARTITIONS);
  free3D(grLabelP, MAX_PARTITIONS, ncsm);
  free1D(relSelect);
  free2D(groupCstP, MAX_PARTITIONS);
  free3D(grCstLabelP, MAX_PARTITIONS, tcst);
  free1D(partition_OTUs);
  free2D(cstTrack, nch);
  groupRelP = dim2Dint(MAX_PARTITIONS, nCommunities);
  grLabelP = dim3Dchar(MAX_PARTITIONS, nCommunities, 5);
  relSelect = dim1Dint(nCommunities);
  groupCstP = dim2Dint(MAX_PARTITIONS, nOTUs);
  grCstLabelP = dim3Dchar(MAX_PARTITIONS, nOTUs, 5);
  partition_OTUs = dim1Dint(nOTUs);
  cstTrack = dim2Dint(nch, nOTUs);
  groupCst = groupCstP[0];
  grCstLabel = grCstLabelP[0];
  groupRel = groupRelP[0];
  grLabel = grLabelP[0];
}

// The merged arrays take the place of the first session's.
void InstallMerged(Merged& m) {
  RebuildWorkArrays(m.n1 + m.n2, m.t1 + m.t2);
  free2D(reLabel, m.n1);
  free1D(ncst);
  free2D(csm_Float, m.t1);
  free2D(cadat, m.t1);
  reLabel = m.reLabel;
  ncst = m.ncst;
  csm_Float = m.traits;
  cadat = m.communities;
  if (nenv > 0) {
    free2D(env, m.n1);
    env = m.env;
  }
  if (m.s2 > 0) {
    free2D(spp, m.s1);
    free2D(sppRelMap, m.s1);
    free2D(cstSppMap, m.t1);
    spp = m.spp;
    sppRelMap = m.sppRelMap;
    cstSppMap = m.cstSppMap;
  }
  ncsm = m.n1 + m.n2;
  tcst = m.t1 + m.t2;
  nSpp = m.s1 + m.s2;
}

} // namespace

int MergeFormda(char* secondFile) {
  // A phylogeny of the first session has no rows for the second session's
  // OTUs, and none can be made from the two files: such a merge is refused.
  if (hasPhylogeny)
    return Refuse("\nThe first session has a phylogeny: sessions with a phylogeny cannot be merged.\n\n");
  SecondFile f;
  f.name = secondFile;
  f.word = nullptr;
  f.wordSize = 0;
  f.fp = fopenck(secondFile, volumeName, "r");
  if (f.fp == nullptr) FailJump(FAIL_OPEN);
  fseek(f.fp, 0, SEEK_END);
  f.size = ftell(f.fp);
  rewind(f.fp);
  Merged m;
  memset(&m, 0, sizeof m);
  m.n1 = ncsm;
  m.t1 = tcst;
  m.s1 = nSpp;
  int fits = ReadSecond(f, m);
  fclose(f.fp);
  if (!fits) {
    ReleaseMerged(m);
    free1D(f.word);
    return 0;
  }
  dirtyOrig = 0;
  InstallMerged(m);
  if (m.s2 > 0) {
    CheckSpeciesMerge();
    CheckCSTsSameSpecies();
  }
  CheckData(1);
  snprintf(whichFormda, sizeof whichFormda, "%.37s%s", sessionName, formdaExt);
  WriteFormda(tcst, whichFormda, dataName, csm_Float, cadat);
  free1D(f.word);
  return 1;
}

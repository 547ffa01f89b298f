// The session track file: reader, writer, the settings it carries, and GetPrindaMode.
#include "session/track.h"

#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "session/formda.h"
#include "session/session.h"
#include "shell/console.h"
#include "shell/shell.h"

int isHierarchical = 0;
int traitBasedOpt = 0;
int hasVegOrdiCorrel = 0;
int hasEnvOrdiCorrel = 0;
int optEnvStruct = 0;
int rese_opt = 0;
int reseCstOpt = 0;
int part = 0;
int fuzzy = 0;
double fuzziness = 0.0;
int reseTypeOrd = 0;
int reseTypeClus = 0;
int reseTypeEv = 0;
int reseTypeRnd = 0;
int reseTypeERank = 0;
int cohe = 0;
int groupDissMeth = 0;
int empir_opt = 0;
int keepRichness = 0;
int envVecTrOpt = 0;
int doDistrib = 0;
int adjacentRelOpt = 0;
int poolCSTopt = 0;
int clusMethPoolCSTs = 0;
char prindaMode[4] = "w";
const char versionTrack[] = "07Jul17";

const char* partInfo[3] = {"mixed", "quantitative", "qualitative"};
const char* fuzzyInfo[4] = {"none (crisp)", "fuzzy global", "fuzzy pairwise",
                            "fuzzy (fuzzy belonging of OTUs to types)"};
const char* rese_optInfo[10] = {
    "1 (information divergence within rows)", "2 (information divergence mutual)",
    "3 (cross product uncentered data)",      "4 (cross product centered data)",
    "5 (correlation coefficient)",            "6 (Euclidean distance)",
    "7 (relative Euclidean distance)",        "8 (absolute value function)",
    "9 (relative absolute value function)",   "10 (chord distance)"};
const char* reseCSToptInfo[2] = {"1 (Gower index)", "2 (Euclidean distance)"};
const char* traitBasedOptInfo[2] = {"1 (composition of types)",
                                    "2 (trait averages at community level)"};
const char* poolCSToptInfo[2] = {"1 (monothetic)", "2 (polythetic)"};
const char* clusMethInfo[6] = {"0 (none)",           "1 (single linkage)",
                               "2 (complete linkage)", "3 (sum of squares)",
                               "4 (average linkage UPGMA)", "5 (average linkage WPGMA)"};
const char* groupDissMethInfo[4] = {"1 (average dissimilarity)", "2 (nearest neighbor)",
                                    "3 (sum of squares between groups)",
                                    "4 (ratio of between/within groups sum of squares)"};
const char* empir_optInfo[5] = {
    "1 (random composition hypothesis)", "2 (random taxon hypothesis)",
    "3 (random partition hypothesis)", "4 (random community location hypothesis)",
    "5 (random composition and random community location combined)"};
const char* keepRichnessInfo[2] = {"\xE2\x89\xA4 richness in observed community",
                                   "= richness in observed community"};
const char* coheInfo[7] = {
    "1 (congruence community/environmental resemblance)",
    "2 (congruence community ordination axes/environmental resemblance)",
    "3 (divergence community groups)",
    "4 (trait redundancy in community data structure)",
    "5 (correlation community ordination axes/environmental variables)",
    "6 (sharpness of information structure)",
    "7 (group homogeneity)"};
const char* optEnvStructInfo[5] = {
    "1 (structural redundancy)",
    "2 (congruence environmental resemblance/community resemblance)",
    "3 (convergence community groups)",
    "4 (congruence environmental resemblance/community ordination axes)",
    "5 (divergence of community groups)"};
const char* rese_typeInfo[3] = {"nominal resemblances", "partial resemblances",
                                "probabilities of nominal resemblances"};

// ---------------------------------------------------------------------------
// Reader
// ---------------------------------------------------------------------------

namespace {

struct TrackReader {
  FILE* fp;
  const char* name; // file name told in messages
  char word[320];   // one word, kept whole so that labels keep their place
};

void ReadInt(TrackReader& r, int* value) { freadck(r.fp, "%d", value, r.name); }

// An integer that indexes an array must lie in [low, high].
void ReadIndex(TrackReader& r, int* value, int low, int high) {
  ReadInt(r, value);
  if (*value < low || *value > high) FailMalformed(r.fp, r.name);
}

// One word; its first `width` characters go to `text`. Only whole words are
// taken, so labels run together by the writer read as one word.
void ReadText(TrackReader& r, char* text, int width) {
  ReadWholeWord(r.fp, r.word, (int)sizeof r.word, r.name);
  snprintf(text, width + 1, "%.*s", width, r.word);
}

void ReadRow(TrackReader& r, int n, int* row) {
  for (int i = 0; i < n; i++) ReadInt(r, &row[i]);
}

char* const resultNames[] = {
    whichEnvRese, whichEnvScores, whichEnvRank, whichHier,   whichCstRese,   whichNRese,
    whichPRese,   whichRo,        whichProbRo,  whichScores, whichProbN,     whichReClus,
    whichCstClus, whichAOCScor,   whichComplexity, whichVelocity, whichRoVelComplex};
const int nResultNames = sizeof resultNames / sizeof resultNames[0];

int* const settingsRow4[] = {
    &isHierarchical, &traitBasedOpt,  &hasEnvRese,       &hasEnvScores,       &hasEnvRank,
    &hasHier,        &hasCstRese,     &hasNRese,         &hasPRese,           &hasRo,
    &hasProbRo,      &hasScores,      &hasProbN,         &hasReClus,          &hasCstClus,
    &hasAOCScor,     &hasVegOrdiCorrel, &hasEnvOrdiCorrel, &hasComplexity,    &hasVelocity,
    &hasRoVelComplex, &hasRoVelComplexPROB, &optEnvStruct, &rese_opt,         &reseCstOpt,
    &part};
const int nSettingsRow4 = sizeof settingsRow4 / sizeof settingsRow4[0];

int* const settingsRow10[] = {&reseTypeOrd, &reseTypeClus, &reseTypeEv, &reseTypeRnd,
                              &reseTypeERank, &cohe, &groupDissMeth, &empir_opt,
                              &keepRichness};

int* const settingsRow25[] = {&adjacentRelOpt, &whichLevelCst, &poolCSTopt, &clusMethPoolCSTs,
                              &SMWSize};

// Rows 11 to 14: the partitions of communities.
void ReadCommunityPartitions(TrackReader& r) {
  for (int p = 0; p < nPart; p++) ReadText(r, partLabel[p], 20);
  for (int p = 0; p < nPart; p++) ReadIndex(r, &nGroupsP[p], 0, ncsm);
  for (int p = 0; p < nPart; p++)
    for (int g = 0; g < nGroupsP[p]; g++) ReadText(r, grLabelP[p][g], 4);
  for (int p = 0; p < nPart; p++) ReadRow(r, ncsm, groupRelP[p]);
}

// Rows 18 to 22: the partitions of OTUs. The length of each membership row
// is the number of types at the partition's level.
void ReadOTUPartitions(TrackReader& r) {
  for (int p = 0; p < nPartCst; p++) ReadText(r, partCstLabel[p], 20);
  for (int p = 0; p < nPartCst; p++) ReadIndex(r, &nGroupsCstP[p], 0, tcst);
  for (int p = 0; p < nPartCst; p++)
    for (int g = 0; g < nGroupsCstP[p]; g++) ReadText(r, grCstLabelP[p][g], 4);
  for (int p = 0; p < nPartCst; p++) ReadIndex(r, &whichLevelGrCstP[p], 1, nch);
  for (int p = 0; p < nPartCst; p++) {
    int length = rcst[whichLevelGrCstP[p] - 1];
    if (length < 0 || length > tcst) FailMalformed(r.fp, r.name);
    ReadRow(r, length, groupCstP[p]);
  }
}

void ReadFullTrack(TrackReader& r) {
  for (int i = 0; i < nResultNames; i++) ReadText(r, resultNames[i], 47);
  for (int i = 0; i < nSettingsRow4; i++) ReadInt(r, settingsRow4[i]);
  for (int i = 0; i < nch; i++) ReadIndex(r, &nchor[i], 0, nch);
  ReadRow(r, nch, rcst);
  ReadRow(r, nch, nGrPoly);
  ReadInt(r, &fuzzy);
  freadck(r.fp, "%lf", &fuzziness, r.name);
  for (int* setting : settingsRow10) ReadInt(r, setting);
  ReadIndex(r, &nPart, 0, MAX_PARTITIONS);
  ReadIndex(r, &whichPart, 0, MAX_PARTITIONS - 1);
  if (nPart > 0) ReadCommunityPartitions(r);
  ReadInt(r, &whichPartAOC);
  ReadInt(r, &whichPartCstAOC);
  // The current partition is set even with none defined.
  nGroups = nGroupsP[whichPart];
  grLabel = grLabelP[whichPart];
  groupRel = groupRelP[whichPart];
  ReadInt(r, &whichLevelGrCST);
  ReadIndex(r, &nPartCst, 0, MAX_PARTITIONS);
  ReadIndex(r, &whichCstPart, 0, MAX_PARTITIONS - 1);
  if (nPartCst > 0) ReadOTUPartitions(r);
  nCstGroups = nGroupsCstP[whichCstPart];
  grCstLabel = grCstLabelP[whichCstPart];
  groupCst = groupCstP[whichCstPart];
  ReadRow(r, ncsm, relSelect);
  ReadInt(r, &doDistrib);
  for (int* setting : settingsRow25) ReadInt(r, setting);
}

} // namespace

int ReadTrack() {
  TrackReader r;
  r.name = whichTrack;
  r.fp = fopenck(whichTrack, volumeName, "r");
  if (r.fp == nullptr) FailJump(FAIL_OPEN);
  ReadText(r, whichFormda, (int)sizeof whichFormda - 1);
  char versionWord[16];
  ReadText(r, versionWord, (int)sizeof versionWord - 1);
  int otherVersion = strcmp(versionWord, versionTrack) != 0;
  if (otherVersion) {
    printf("\n\aFormda file is compatible, but other files of the session ");
    printf("are not compatible with this program version.%53s\n", "");
  }
  // The short form ends here. The full form has a name in this place, of
  // which "%d" converts and consumes nothing: envVecTrOpt keeps its value.
  int got = fscanf(r.fp, "%d", &envVecTrOpt);
  if (got == EOF || otherVersion) {
    fclose(r.fp);
    return 1;
  }
  ReadFullTrack(r);
  fclose(r.fp);
  return 1;
}

// ---------------------------------------------------------------------------
// Writer. Its prints are not checked, as the track file always was written.
// ---------------------------------------------------------------------------

namespace {

void WriteRow(FILE* fp, int n, const int* row, const char* end) {
  for (int i = 0; i < n; i++) fprintf(fp, "%d ", row[i]);
  fprintf(fp, "%s", end);
}

void WriteCommunityPartitions(FILE* fp) {
  for (int p = 0; p < nPart; p++) fprintf(fp, "%s ", partLabel[p]);
  fprintf(fp, "\n");
  WriteRow(fp, nPart, nGroupsP, "\n");
  if (nPart <= 0) return;
  for (int p = 0; p < nPart; p++) {
    for (int g = 0; g < nGroupsP[p]; g++) fprintf(fp, "%s ", grLabelP[p][g]);
    fprintf(fp, "\n");
  }
  for (int p = 0; p < nPart; p++) WriteRow(fp, ncsm, groupRelP[p], "\n");
}

void WriteOTUPartitions(FILE* fp) {
  for (int p = 0; p < nPartCst; p++) fprintf(fp, "%s ", partCstLabel[p]);
  fprintf(fp, "\n");
  WriteRow(fp, nPartCst, nGroupsCstP, "\n");
  // "%-3s" runs labels of 3 or 4 characters together: kept as it always was;
  // the reader then takes them as one word.
  for (int p = 0; p < nPartCst; p++) {
    for (int g = 0; g < nGroupsCstP[p]; g++) fprintf(fp, "%-3s", grCstLabelP[p][g]);
    fprintf(fp, "\n");
  }
  WriteRow(fp, nPartCst, whichLevelGrCstP, "\n");
  for (int p = 0; p < nPartCst; p++) {
    int level = whichLevelGrCstP[p];
    int length = (level >= 1 && level <= nch) ? rcst[level - 1] : 0;
    if (length > tcst) length = tcst;
    WriteRow(fp, length, groupCstP[p], "\n");
  }
}

void WriteFullTrack(FILE* fp) {
  for (int i = 0; i < nResultNames; i++) fprintf(fp, "%s\n", resultNames[i]);
  for (int i = 0; i < nSettingsRow4; i++) fprintf(fp, "%d\n", *settingsRow4[i]);
  WriteRow(fp, nch, nchor, "\n");
  WriteRow(fp, nch, rcst, "\n");
  WriteRow(fp, nch, nGrPoly, "");
  fprintf(fp, "\n%d\n", fuzzy);
  fprintf(fp, "%g\n", fuzziness);
  for (int* setting : settingsRow10) fprintf(fp, "%d\n", *setting);
  fprintf(fp, "%d\n", nPart);
  fprintf(fp, "%d\n", whichPart);
  WriteCommunityPartitions(fp);
  fprintf(fp, "%d ", whichPartAOC);
  fprintf(fp, "%d ", whichPartCstAOC);
  fprintf(fp, "\n%d\n", whichLevelGrCST);
  fprintf(fp, "%d\n", nPartCst);
  fprintf(fp, "%d\n", whichCstPart);
  WriteOTUPartitions(fp);
  WriteRow(fp, ncsm, relSelect, "");
  fprintf(fp, "\n%d\n", doDistrib);
  for (int* setting : settingsRow25) fprintf(fp, "%d\n", *setting);
}

} // namespace

void WriteTrack(char full) {
  FILE* fp = fopenck(whichTrack, volumeName, "w");
  if (fp == nullptr) FailJump(FAIL_OPEN);
  fprintf(fp, "%s\n", whichFormda);
  fprintf(fp, "%s\n", versionTrack);
  if (full) WriteFullTrack(fp);
  fcloseck(fp);
}

// ---------------------------------------------------------------------------
// Replace or continue a result file
// ---------------------------------------------------------------------------

void GetPrindaMode(const char* name) {
  char path[sizeof volumeName + 4112];
  snprintf(path, sizeof path, "%s%s", volumeName, name);
  // Only a probe: a missing file is the common case and no failure.
  FILE* fp = fopen(path, "r");
  if (fp == nullptr) {
    strcpy(prindaMode, "w");
    return;
  }
  fclose(fp);
  if (runMacro) {
    strcpy(prindaMode, "a");
    return;
  }
  fprintf(out, "\nThis session has a previous %s file.\n", name);
  fprintf(out, "Options:\n");
  fprintf(out, "   w  erase file and create a new one\n");
  fprintf(out, "   a  append results to same file\n");
  fprintf(out, "Type option: ");
  // Not echoed to a macro being recorded.
  int answer = ScanChar(in, "W A", "input");
  strcpy(prindaMode, answer == 'a' ? "a" : "w");
}

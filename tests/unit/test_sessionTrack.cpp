// Tests of the session track file: short and full forms, partitions, versions, damaged files, GetPrindaMode.
#include <gtest/gtest.h>

#include <string>

#include "session/track.h"
#include "session_test_util.h"
#include "shell/console.h"

using namespace sessiontest;

namespace {

class SessionTrack : public ::testing::Test {
 protected:
  void SetUp() override {
    MakeScratchVolume();
    PutInVolume("demoFormda.txt", BundledFormda());
    ASSERT_EQ(LoadGuarded("demoFormda.txt"), 0);
    snprintf(whichTrack, sizeof whichTrack, "demoTrk.txt");
  }
  void TearDown() override { FreeSessionState(); }
  std::string Get(const char* file) { return GetFromVolume(file); }
  void Put(const char* file, const std::string& text) { PutInVolume(file, text); }

  // Settings and partitions with awkward values: two partitions of the four
  // communities (the second current) and one of the five OTUs.
  void SetSampleSettings(const char* groupA, const char* groupB) {
    isHierarchical = 1; traitBasedOpt = 2; hasHier = 1; hasVegOrdiCorrel = 1;
    optEnvStruct = 4; rese_opt = 7; reseCstOpt = 2; part = 3;
    for (int i = 0; i < nch; i++) { nchor[i] = nch - i; rcst[i] = 2 + i; nGrPoly[i] = 3; }
    fuzzy = 3; fuzziness = 0.385;
    reseTypeOrd = 2; reseTypeClus = 3; reseTypeEv = 1; reseTypeRnd = 2; reseTypeERank = 3;
    cohe = 6; groupDissMeth = 4; empir_opt = 5; keepRichness = 2;
    snprintf(whichHier, sizeof whichHier, "demoHie.txt");
    nPart = 2; whichPart = 1;
    strcpy(partLabel[0], "slope"); strcpy(partLabel[1], "grazingRegime");
    nGroupsP[0] = 2; nGroupsP[1] = 3;
    strcpy(grLabelP[0][0], "up"); strcpy(grLabelP[0][1], "down");
    strcpy(grLabelP[1][0], "none"); strcpy(grLabelP[1][1], "low"); strcpy(grLabelP[1][2], "high");
    int rel0[4] = {1, 1, 2, 2}, rel1[4] = {3, 1, 2, 1};
    for (int j = 0; j < 4; j++) { groupRelP[0][j] = rel0[j]; groupRelP[1][j] = rel1[j]; }
    whichPartAOC = 1; whichPartCstAOC = 0; whichLevelGrCST = 2;
    nPartCst = 1; whichCstPart = 0;
    strcpy(partCstLabel[0], "lifeForm");
    nGroupsCstP[0] = 2;
    strcpy(grCstLabelP[0][0], groupA); strcpy(grCstLabelP[0][1], groupB);
    whichLevelGrCstP[0] = 1; // rcst[0] = 2 memberships follow
    groupCstP[0][0] = 2; groupCstP[0][1] = 1;
    int select[4] = {1, 0, 1, 1};
    for (int j = 0; j < 4; j++) relSelect[j] = select[j];
    doDistrib = 1; adjacentRelOpt = 2; whichLevelCst = 3; poolCSTopt = 2; clusMethPoolCSTs = 5;
    SMWSize = 6;
  }

  void ClearSettings() {
    isHierarchical = traitBasedOpt = hasHier = hasVegOrdiCorrel = optEnvStruct = 0;
    rese_opt = reseCstOpt = part = fuzzy = 0; fuzziness = 0;
    reseTypeOrd = reseTypeClus = reseTypeEv = reseTypeRnd = reseTypeERank = 0;
    cohe = groupDissMeth = empir_opt = keepRichness = 0;
    strcpy(whichHier, "NULL");
    nPart = whichPart = nPartCst = whichCstPart = nGroups = nCstGroups = 0;
    whichPartAOC = whichPartCstAOC = 0; whichLevelGrCST = 1;
    doDistrib = adjacentRelOpt = whichLevelCst = poolCSTopt = clusMethPoolCSTs = 0;
    SMWSize = 1;
    for (int i = 0; i < nch; i++) nchor[i] = rcst[i] = nGrPoly[i] = 0;
  }

  int ReadGuarded() { return RunGuarded([] { ReadTrack(); }); }
  int WriteGuarded(char full) {
    static char f;
    f = full;
    return RunGuarded([] { WriteTrack(f); });
  }
};

TEST_F(SessionTrack, FullFormRestoresSettingsAndPartitions) {
  SetSampleSettings("A", "B");
  envVecTrOpt = 4;
  ASSERT_EQ(WriteGuarded(1), 0);
  std::string text = Get("demoTrk.txt");
  // Two-letter OTU group labels are written with two blanks each.
  EXPECT_NE(text.find("\nA  B  \n"), std::string::npos) << text;
  EXPECT_NE(text.find("\nnone low high \n"), std::string::npos) << text;
  EXPECT_EQ(text.find("demoFormda.txt\n07Jul17\nNULL\nNULL\nNULL\ndemoHie.txt\n"), 0u) << text;

  ClearSettings();
  ASSERT_EQ(ReadGuarded(), 0);
  EXPECT_EQ(envVecTrOpt, 4) << "the name after the version word must not be taken as a number";
  // The current partitions follow whichPart and whichCstPart.
  EXPECT_EQ(nGroups, 3);
  EXPECT_EQ(groupRel, groupRelP[1]);
  EXPECT_EQ(grLabel, grLabelP[1]);
  EXPECT_EQ(nCstGroups, 2);
  EXPECT_EQ(groupCst, groupCstP[0]);
  EXPECT_EQ(grCstLabel, grCstLabelP[0]);
  // Written again from what was read, the file is the same: every value
  // (all cleared before the reading) came back to its global.
  ASSERT_EQ(WriteGuarded(1), 0);
  EXPECT_EQ(Get("demoTrk.txt"), text);
}

TEST_F(SessionTrack, NoPartitionsLeaveEmptyLines) {
  ClearSettings();
  ASSERT_EQ(WriteGuarded(1), 0);
  std::string text = Get("demoTrk.txt");
  // Rows 11 and 12 empty, then rows 15 and 16; rows 18, 19 and 21 empty.
  EXPECT_NE(text.find("\n0\n0\n\n\n0 0 \n1\n0\n0\n\n\n\n0 0 0 0 \n0\n"), std::string::npos) << text;
  // A fresh load, as before every reading of the track file.
  ASSERT_EQ(LoadGuarded("demoFormda.txt"), 0);
  nPart = nPartCst = 7;
  ASSERT_EQ(ReadGuarded(), 0);
  EXPECT_EQ(nPart, 0);
  EXPECT_EQ(nGroups, 0);
  EXPECT_EQ(nPartCst, 0);
}

// Labels of three characters run together and the reader loses its place:
// the format is kept as it always was, and the file then ends too early.
TEST_F(SessionTrack, ThreeLetterOTUGroupLabelsRunTogether) {
  SetSampleSettings("Gra", "Her");
  ASSERT_EQ(WriteGuarded(1), 0);
  std::string text = Get("demoTrk.txt");
  EXPECT_NE(text.find("\nGraHer\n"), std::string::npos) << text;
  ClearSettings();
  EXPECT_EQ(ReadGuarded(), FAIL_READ);
}

// A short form, or a full form of another version (with a warning), leaves
// every setting as it stands.
TEST_F(SessionTrack, ShortFormOrOtherVersionKeepsSettings) {
  ASSERT_EQ(WriteGuarded(0), 0);
  EXPECT_EQ(Get("demoTrk.txt"), "demoFormda.txt\n07Jul17\n");
  SetSampleSettings("A", "B");
  ASSERT_EQ(ReadGuarded(), 0);
  EXPECT_EQ(rese_opt, 7);
  EXPECT_EQ(nPart, 2);

  ASSERT_EQ(WriteGuarded(1), 0);
  std::string text = Get("demoTrk.txt");
  Put("demoTrk.txt", text.replace(text.find("07Jul17"), 7, "12Mar09"));
  ClearSettings();
  testing::internal::CaptureStdout();
  ASSERT_EQ(ReadGuarded(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\n\aFormda file is compatible, but other files of the session are not compatible "
            "with this program version." + std::string(53, ' ') + "\n");
  EXPECT_STREQ(whichFormda, "demoFormda.txt");
  EXPECT_EQ(rese_opt, 0);
  EXPECT_EQ(nPart, 0);
}

TEST_F(SessionTrack, DamagedFilesEndWithReadFailure) {
  SetSampleSettings("A", "B");
  ASSERT_EQ(WriteGuarded(1), 0);
  std::string text = Get("demoTrk.txt");
  size_t shortEnd = strlen("demoFormda.txt\n07Jul17\n");
  // Any cut inside the full part, up to the last digit, loses the session.
  for (size_t cut = shortEnd + 1; cut + 1 < text.size(); cut++) {
    Put("demoTrk.txt", text.substr(0, cut));
    ASSERT_EQ(ReadGuarded(), FAIL_READ) << "track file cut after " << cut << " bytes";
  }
  // Values that would index outside their arrays.
  struct Case { const char* what; const char* from; const char* to; } cases[] = {
      {"eleven partitions", "\n2\n1\nslope", "\n11\n1\nslope"},
      {"current partition beyond the last", "\n2\n1\nslope", "\n2\n10\nslope"},
      {"more groups than communities", "\n2 3 \n", "\n2 5 \n"},
      {"level zero of an OTU partition", "\nA  B  \n1 \n", "\nA  B  \n0 \n"},
      {"trait order beyond the traits", "\n3 2 1 \n", "\n3 4 1 \n"},
  };
  for (const Case& c : cases) {
    std::string bad = text;
    size_t at = bad.find(c.from);
    ASSERT_NE(at, std::string::npos) << c.what;
    bad.replace(at, strlen(c.from), c.to);
    Put("demoTrk.txt", bad);
    EXPECT_EQ(ReadGuarded(), FAIL_READ) << c.what;
  }
}

TEST_F(SessionTrack, MissingFileRaisesOpenFailure) {
  strcpy(whichTrack, "absentTrk.txt");
  EXPECT_EQ(ReadGuarded(), FAIL_OPEN);
  strcpy(whichTrack, "no_such_dir/demoTrk.txt");
  EXPECT_EQ(WriteGuarded(0), FAIL_OPEN);
}

TEST_F(SessionTrack, PrindaModeReplacesOrContinues) {
  GetPrindaMode("demoPrinda.txt");
  EXPECT_STREQ(prindaMode, "w") << "no previous file";

  Put("demoPrinda.txt", "earlier results\n");
  FILE* answers = tmpfile();
  fputs("x A", answers);
  rewind(answers);
  FILE* savedIn = in;
  in = answers;
  GetPrindaMode("demoPrinda.txt");
  EXPECT_STREQ(prindaMode, "a") << "x is refused, A taken in either case";
  fputs(" w", answers);
  fseek(answers, 3, SEEK_SET);
  GetPrindaMode("demoPrinda.txt");
  EXPECT_STREQ(prindaMode, "w");
  in = savedIn;
  fclose(answers);

  runMacro = 1;
  GetPrindaMode("demoPrinda.txt");
  runMacro = 0;
  EXPECT_STREQ(prindaMode, "a") << "a running macro appends without asking";
}

} // namespace

// Tests of the formatted data file (reader, writers, older layouts, damaged files) and the per-trait summaries.
#include <gtest/gtest.h>

#include <string>

#include "session_test_util.h"
#include "shell/preferences.h"

using namespace sessiontest;

namespace {

class SessionFormda : public ::testing::Test {
 protected:
  std::string original;

  void SetUp() override {
    MakeScratchVolume();
    original = BundledFormda();
    ASSERT_FALSE(original.empty()) << "bundled session missing in " << DataDir();
  }
  void TearDown() override { FreeSessionState(); }
  void Put(const char* file, const std::string& text) { PutInVolume(file, text); }
  std::string Get(const char* file) { return GetFromVolume(file); }

  // Writes the loaded session to `file` with the given first line.
  int WriteGuarded(const char* file, const char* name) {
    static char fileBuffer[64], nameBuffer[400];
    snprintf(fileBuffer, sizeof fileBuffer, "%s", file);
    snprintf(nameBuffer, sizeof nameBuffer, "%s", name);
    return RunGuarded([] { WriteFormda(tcst, fileBuffer, nameBuffer, csm_Float, cadat); });
  }
};

// The text without its last line (the time stamp of the writing).
std::string WithoutTimeStamp(const std::string& text) {
  size_t end = text.rfind('\n', text.size() >= 2 ? text.size() - 2 : 0);
  return end == std::string::npos ? text : text.substr(0, end + 1);
}

// Names read as lines keep the blank that the writer puts behind them: the
// first line and the species file name each gain one blank per writing.
std::string OneMoreBlank(const std::string& text) {
  std::string grown = text;
  size_t at = grown.find("species_demo.txt ");
  if (at != std::string::npos) grown.insert(at + strlen("species_demo.txt "), " ");
  return grown;
}

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n') + 1); }
std::string AfterFirstLine(const std::string& text) { return text.substr(text.find('\n') + 1); }

// The bundled session with the part from `from` up to `to` (exclusive) replaced.
std::string Replace(const std::string& text, const std::string& from, const std::string& to,
                    const std::string& by) {
  size_t a = text.find(from);
  size_t b = text.find(to, a);
  if (a == std::string::npos || b == std::string::npos) return text;
  return text.substr(0, a) + by + text.substr(b);
}

TEST_F(SessionFormda, BundledSessionLoadsEveryBlock) {
  Put("demoFormda.txt", original);
  ASSERT_EQ(LoadGuarded("demoFormda.txt"), 0);
  // Row 1 keeps the writer's blank behind the name.
  EXPECT_STREQ(dataName, "traits_demo.txt ");
  ASSERT_EQ(nch, 3);
  ASSERT_EQ(ncsm, 4);
  ASSERT_EQ(tcst, 5);
  EXPECT_DOUBLE_EQ(csm_Float[0][0], 12.385);
  EXPECT_DOUBLE_EQ(cadat[0][3], -999.0);
  EXPECT_DOUBLE_EQ(cadat[4][2], 8.25);
  // E stands variable by variable in the file, communities as rows in memory.
  ASSERT_EQ(nenv, 2);
  EXPECT_DOUBLE_EQ(env[2][0], 1975.0);
  EXPECT_STREQ(envName, "env_demo.txt");
  EXPECT_EQ(optEnvVarType, 5);
  EXPECT_EQ(temEnvQuant, 1);
  EXPECT_EQ(temEnvBin, 1);
  ASSERT_EQ(nSpp, 5);
  EXPECT_STREQ(whichSpp, "species_demo.txt ");
  EXPECT_STREQ(spp[2], "Cafl Carex flacca");
  EXPECT_EQ(std::string(sppRelMap[0], 4), "1011");
  EXPECT_EQ(std::string(cstSppMap[3], 5), "00010");
  ASSERT_EQ(hasPhylogeny, 1);
  EXPECT_EQ(phylogenyMatrixType, 3);
  EXPECT_DOUBLE_EQ(phylogenyRese[3][2], 0.125);
  EXPECT_EQ(hasTraitGroups, 1);
  EXPECT_EQ(traitGroups[2], 2);
  // What the file does not hold starts empty.
  EXPECT_DOUBLE_EQ(chrange[0], 0.0);
  EXPECT_EQ(ncst[1], 0);
  EXPECT_EQ(dirtyOrig, 0);
  EXPECT_EQ(groupCst, groupCstP[0]);
  EXPECT_EQ(grCstLabel, grCstLabelP[0]);
}

TEST_F(SessionFormda, WriteReadWriteKeepsTheFileButForOneBlank) {
  Put("demoFormda.txt", original);
  ASSERT_EQ(LoadGuarded("demoFormda.txt"), 0);
  ASSERT_EQ(WriteGuarded("copyFormda.txt", dataName), 0);
  std::string once = Get("copyFormda.txt");
  EXPECT_EQ(FirstLine(once), "traits_demo.txt  \n");
  EXPECT_EQ(WithoutTimeStamp(AfterFirstLine(once)),
            OneMoreBlank(WithoutTimeStamp(AfterFirstLine(original))))
      << "the writer does not give back the bundled file";

  ASSERT_EQ(LoadGuarded("copyFormda.txt"), 0);
  ASSERT_EQ(WriteGuarded("againFormda.txt", dataName), 0);
  std::string twice = Get("againFormda.txt");
  EXPECT_EQ(FirstLine(twice), "traits_demo.txt   \n");
  EXPECT_EQ(WithoutTimeStamp(AfterFirstLine(twice)),
            OneMoreBlank(WithoutTimeStamp(AfterFirstLine(once))));
}

TEST_F(SessionFormda, NumbersKeepSixSignificantDigits) {
  Put("demoFormda.txt", original);
  ASSERT_EQ(LoadGuarded("demoFormda.txt"), 0);
  sDigits = 9;  // the data file keeps six digits whatever the preference says
  cadat[1][1] = 1234567.8;
  csm_Float[4][0] = 0.000123456789;
  env[0][0] = 3.14159265;
  ASSERT_EQ(WriteGuarded("sixFormda.txt", "six"), 0);
  ASSERT_EQ(LoadGuarded("sixFormda.txt"), 0);
  EXPECT_DOUBLE_EQ(cadat[1][1], 1234570.0);
  EXPECT_DOUBLE_EQ(csm_Float[4][0], 0.000123457);
  EXPECT_DOUBLE_EQ(env[0][0], 3.14159);
  sDigits = 6;
}

TEST_F(SessionFormda, MinimalSessionWritesEveryRow) {
  // One OTU, one trait, one community, no E, no species, no phylogeny.
  std::string file =
      "single \n1 \nh\t\n 3\t\n0\t\n 1\t\n1 \nc1\t\n1 \n0\t\n0\t0\t0\t0\t0\t0\t0\t\n\n"
      "25Jun2016 \n2.385\t\n\n6.75\t\n\n0 \n0 \nSMW 1\n0\n0\nSat Nov 21 07:15:35 2026\n";
  Put("oneFormda.txt", file);
  ASSERT_EQ(LoadGuarded("oneFormda.txt"), 0);
  EXPECT_EQ(nenv, 0);
  EXPECT_EQ(nSpp, 0);
  EXPECT_EQ(hasPhylogeny, 0);
  EXPECT_DOUBLE_EQ(cadat[0][0], 6.75);
  ASSERT_EQ(WriteGuarded("oneAgainFormda.txt", "single"), 0);
  EXPECT_EQ(WithoutTimeStamp(Get("oneAgainFormda.txt")), WithoutTimeStamp(file));
}

TEST_F(SessionFormda, PhylogenyTypesAndStoredForms) {
  // Type 0: the flag and the type only; the matrix is allocated and left at zero.
  std::string typeZero = Replace(original, "SMW 1\n", "1\n1\t1\t2", "SMW 4\n1\n0\n");
  Put("zeroFormda.txt", typeZero);
  ASSERT_EQ(LoadGuarded("zeroFormda.txt"), 0);
  EXPECT_EQ(SMWSize, 4);
  EXPECT_EQ(hasPhylogeny, 1);
  ASSERT_NE(phylogenyRese, nullptr);
  EXPECT_DOUBLE_EQ(phylogenyRese[0][1], 0.0);
  ASSERT_EQ(WriteGuarded("zeroAgainFormda.txt", "traits_demo.txt"), 0);
  EXPECT_EQ(WithoutTimeStamp(Get("zeroAgainFormda.txt")), OneMoreBlank(WithoutTimeStamp(typeZero)));

  // Type 2: a table of characters with its column types.
  std::string table = Replace(original, "SMW 1\n", "1\n1\t1\t2",
                              "SMW 1\n1\n2\n2\n1\t3\t\n0\t2.5\t\n1\t2.5\t\n1\t7.125\t\n"
                              "0\t1\t\n0\t1\t\n");
  Put("tableFormda.txt", table);
  ASSERT_EQ(LoadGuarded("tableFormda.txt"), 0);
  ASSERT_EQ(nClados, 2);
  EXPECT_EQ(phylogenyVarType[1], 3);
  EXPECT_DOUBLE_EQ(phylogenyData[2][1], 7.125);
  ASSERT_EQ(WriteGuarded("tableAgainFormda.txt", "traits_demo.txt"), 0);
  EXPECT_EQ(WithoutTimeStamp(Get("tableAgainFormda.txt")), OneMoreBlank(WithoutTimeStamp(table)));
}

TEST_F(SessionFormda, OlderLayoutsAreAccepted) {
  // Interleaved rows, no environmental tag, no SMW row, no phylogeny row.
  std::string old =
      "old data\n2 \nt1\tt2\t\n 2\t 1\t\n0.5\t1.5\t\n 2\t 2\t\n3 \nr1\tr2\tr3\t\n2 \n"
      "4\t0\t1\t\n0\t0\t0\t0\t0\t0\t0\t\n\n"
      "0901 0.5 0 2.25\n.11. 1 -999 0\n"
      "2 \nalt\tph\t\nenv.txt \n1200\t800\t950\t\n5.5\t6\t7.25\t\n0 \n"
      "Mon Jan  7 10:00:00 2008\n";
  Put("oldFormda.txt", old);
  ASSERT_EQ(LoadGuarded("oldFormda.txt"), 0);
  EXPECT_DOUBLE_EQ(csm_Float[0][0], 9.0);
  // Each pair goes through single precision, as the old values were floats.
  EXPECT_DOUBLE_EQ(csm_Float[1][0], (double)0.1f);
  EXPECT_NE(csm_Float[1][0], 0.1);
  EXPECT_DOUBLE_EQ(cadat[0][2], 2.25);
  EXPECT_DOUBLE_EQ(cadat[1][1], -999.0);
  // Rows 5 and 10 still carry their old values.
  EXPECT_DOUBLE_EQ(chrange[1], 1.5);
  EXPECT_EQ(ncst[0], 4);
  EXPECT_EQ(optEnvVarType, 2);
  EXPECT_EQ(envVarType[1], 3);
  EXPECT_STREQ(envLabel[0], "alt") << "the word in place of the tag is the first label";
  EXPECT_DOUBLE_EQ(env[2][1], 7.25);
  EXPECT_EQ(SMWSize, 1);
  EXPECT_EQ(hasPhylogeny, 0);
  EXPECT_EQ(hasTraitGroups, 0);

  // The 2008 tag: matrices as now, trait groups never read.
  std::string tagged = Replace(original, "25Jun2016", "\n", "18Jan2008 ");
  Put("taggedFormda.txt", tagged);
  ASSERT_EQ(LoadGuarded("taggedFormda.txt"), 0);
  EXPECT_EQ(hasTraitGroups, 0);
  EXPECT_DOUBLE_EQ(csm_Float[3][0], 19.06);
  EXPECT_EQ(phylogenyMatrixType, 3);
}

TEST_F(SessionFormda, StrayCharactersInSpeciesMapsAreRefused) {
  std::string stray = Replace(original, "1011\n", "1100\n", "1x0 11\n");
  Put("strayFormda.txt", stray);
  ASSERT_EQ(LoadGuarded("strayFormda.txt"), 0);
  EXPECT_EQ(std::string(sppRelMap[0], 4), "1011");
  EXPECT_EQ(std::string(sppRelMap[1], 4), "1100");
}

TEST_F(SessionFormda, WriterFailuresRaiseOpenAndPrintCodes) {
  Put("demoFormda.txt", original);
  ASSERT_EQ(LoadGuarded("demoFormda.txt"), 0);
  EXPECT_EQ(WriteGuarded("no_such_dir/xFormda.txt", "x"), FAIL_OPEN);
  // A device that takes no byte: the failed print ends with code 3.
  FILE* full = fopen("/dev/full", "w");
  if (full == nullptr) GTEST_SKIP() << "no /dev/full here";
  fclose(full);
  volumeName[0] = '\0';
  EXPECT_EQ(WriteGuarded("/dev/full", "x"), FAIL_PRINT);
}

// Every cut before the last number that the reader needs ends with code 2;
// a cut inside the time stamp does not matter.
TEST_F(SessionFormda, TruncatedFilesEndWithReadFailure) {
  size_t stampStart = original.rfind('\n', original.size() - 2) + 1;
  size_t lastDigit = stampStart - 3; // "2\t\n" closes the trait groups
  ASSERT_EQ(original[lastDigit], '2');
  for (size_t cut = 0; cut < original.size(); cut++) {
    Put("cutFormda.txt", original.substr(0, cut));
    int expected = cut <= lastDigit ? FAIL_READ : 0;
    ASSERT_EQ(LoadGuarded("cutFormda.txt"), expected) << "file cut after " << cut << " bytes";
  }
}

TEST_F(SessionFormda, MalformedContentEndsWithReadFailure) {
  struct Case { const char* what; std::string text; } cases[] = {
      {"negative trait count", Replace(original, "3 \n", "height", "-3 \n")},
      {"OTU count beyond the file", Replace(original, "5 \n0\t", "0\t0\t0\t0\t\n", "900000 \n")},
      {"word in B", Replace(original, "7.25", "\t", "seven")},
      {"word in E", Replace(original, "   860", "\t", "   n/a")},
      {"species count beyond the file", Replace(original, "5 \nspecies", "species", "77777 \n")},
      {"community count beyond the file", Replace(original, "4 \nplot1", "plot1", "2000000000 \n")},
      // Every analysis writes the first element of arrays sized by these.
      {"no traits", Replace(original, "3 \n", "height", "0 \n")},
      {"no communities", Replace(original, "4 \nplot1", "plot1", "0 \n")},
      {"no OTUs", Replace(original, "5 \n0\t", "0\t0\t0\t0\t\n", "0 \n")},
  };
  for (const Case& c : cases) {
    ASSERT_NE(c.text, original) << c.what;
    Put("badFormda.txt", c.text);
    EXPECT_EQ(LoadGuarded("badFormda.txt"), FAIL_READ) << c.what;
  }
}

TEST_F(SessionFormda, OverlongWordsAreCutAndKeepTheirPlace) {
  std::string longLabels = Replace(original, "height", "\t", "heightOfTheCanopyInMetres");
  longLabels = Replace(longLabels, "env_demo.txt", " ", std::string(500, 'e'));
  Put("longFormda.txt", longLabels);
  ASSERT_EQ(LoadGuarded("longFormda.txt"), 0);
  EXPECT_STREQ(chLabel[0], "heightOfTh");
  EXPECT_STREQ(chLabel[1], "leafN");
  EXPECT_EQ(strlen(envName), 319u) << "a word is cut to 319 characters";
  EXPECT_DOUBLE_EQ(env[0][0], 1240.0) << "the rest of the overlong word was not dropped";
}

TEST(SessionStates, CountStatesCountsDistinctValuesExactly) {
  double rows[5][2] = {{2.385, 1}, {-999, 1}, {2.385, 99999999.0}, {99999999.0, 4}, {7.1, 1.0000001}};
  double* matrix[5];
  for (int i = 0; i < 5; i++) matrix[i] = rows[i];
  int states[2] = {-1, -1};
  CountStates(2, 5, states, matrix);
  EXPECT_EQ(states[0], 3) << "2.385, -999 and 7.1; the marker value is never counted";
  EXPECT_EQ(states[1], 3) << "1, 4 and 1.0000001 differ exactly";
}

TEST(SessionStates, RangeStatesOnlyForIntervalTraits) {
  double rows[3][3] = {{2.385, -4.5, 5}, {-999, -1.25, 9}, {10.5, -2, 1}};
  double* matrix[3] = {rows[0], rows[1], rows[2]};
  int types[3] = {3, 3, 2};
  double range[3] = {0, 0, 7.7};
  RangeStates(3, 3, matrix, types, range);
  EXPECT_DOUBLE_EQ(range[0], 1009.5) << "-999 takes part";
  // All negative: the maximum keeps its start at the smallest normal float.
  EXPECT_DOUBLE_EQ(range[1], 4.5 + 1.1754943508222875e-38);
  EXPECT_DOUBLE_EQ(range[2], 7.7) << "a nominal trait keeps its entry";
}

} // namespace

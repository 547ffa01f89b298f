// Unit tests of the preferences file: writing, reading back and its quirks.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "shell/console.h"
#include "shell/preferences.h"
#include "shell/shell.h"

namespace {

// Each test runs in a fresh directory, where the preferences file lives.
class ShellPreferences : public ::testing::Test {
 protected:
  char dir[64] = "/tmp/kolvenPrefsXXXXXX";
  char home[4096];

  void SetUp() override {
    ASSERT_NE(getcwd(home, sizeof home), nullptr);
    ASSERT_NE(mkdtemp(dir), nullptr);
    ASSERT_EQ(chdir(dir), 0);
    InitGlobals();
    twoTailedTestMantel = 1;
    BealsIncludeOpt = 1;
    overfitFactorPCARegr = 2.0;
  }
  void TearDown() override {
    remove("KOLVEN.prf");
    EXPECT_EQ(chdir(home), 0);
    rmdir(dir);
    in = stdin;
    out = stdout;
  }
  void WriteFile(const std::string& text) {
    FILE* fp = fopen("KOLVEN.prf", "w");
    fputs(text.c_str(), fp);
    fclose(fp);
  }
  std::string ReadFile() {
    std::string s;
    FILE* fp = fopen("KOLVEN.prf", "r");
    if (fp == nullptr) return s;
    int c;
    while ((c = fgetc(fp)) != EOF) s += (char)c;
    fclose(fp);
    return s;
  }
};

const char* kValidFile =
    "18Nov2016\n1\n3.250000\n4.500000\n7\n1.125000\n2.875000\n3\ny\n5\n6.000000\n"
    "9.750000\n9\n120\n4\ny\nn\ny\n0\n0\n1\n0\n2.385\n1\n3\nThu Nov 19 10:00:00 2026\n";

}  // namespace

TEST_F(ShellPreferences, ValidFileIsReadItemByItem) {
  WriteFile(kValidFile);
  ReadPreferences();
  EXPECT_EQ(isHierarchicalPref, 1);
  EXPECT_FLOAT_EQ(scatterHSize, 3.25f);
  EXPECT_FLOAT_EQ(scatterVSize, 4.5f);
  EXPECT_EQ(scatterPointSize, 7);
  EXPECT_FLOAT_EQ(profileHSize, 1.125f);
  EXPECT_FLOAT_EQ(profileVSize, 2.875f);
  EXPECT_EQ(profileType, 3);
  EXPECT_EQ(drawProfPtsOpt, 'y');
  EXPECT_EQ(profilePointSize, 5);
  EXPECT_FLOAT_EQ(treeHSize, 6.0f);
  EXPECT_FLOAT_EQ(treeVSize, 9.75f);
  EXPECT_EQ(sDigits, 9);
  EXPECT_EQ(maxColsPrint, 120);
  EXPECT_EQ(maxComponents, 4);
  EXPECT_EQ(saveStruct, 'y');
  EXPECT_EQ(saveRndData, 'n');
  EXPECT_EQ(showMemory, 'y');
  EXPECT_EQ(countDoubleAbsence, 0);
  EXPECT_EQ(sqrtDissimOpt_RaoTraits, 0);
  EXPECT_EQ(sqrtDissimOpt_RaoPhyl, 1);
  EXPECT_EQ(BealsIncludeOpt, 0);
  EXPECT_DOUBLE_EQ(overfitFactorPCARegr, 2.385);
  EXPECT_EQ(nProcessors, 3);
}

// The Mantel flag takes the first byte of a double read from its item: 0
// for 1 as for 0. A valid file therefore always turns it off.
TEST_F(ShellPreferences, MantelFlagIsOffAfterAnyValidFile) {
  WriteFile(kValidFile);
  ASSERT_EQ(twoTailedTestMantel, 1);
  ReadPreferences();
  EXPECT_EQ(twoTailedTestMantel, 0);
  WritePreferences();
  std::string written = ReadFile();
  // Item 24, the Mantel flag, is saved as 0 at the next save.
  EXPECT_NE(written.find("\n2.385\n0\n3\n"), std::string::npos) << written;
}

TEST_F(ShellPreferences, WrittenFileReadsBackTheSameValues) {
  sDigits = 11;
  saveRndData = 'y';
  countDoubleAbsence = 0;
  sqrtDissimOpt_RaoPhyl = 1;
  overfitFactorPCARegr = 3.5125;
  nProcessors = 2;
  scatterHSize = 12.625f;
  WritePreferences();
  InitGlobals();
  ReadPreferences();
  EXPECT_EQ(sDigits, 11);
  EXPECT_EQ(saveRndData, 'y');
  EXPECT_EQ(countDoubleAbsence, 0);
  EXPECT_EQ(sqrtDissimOpt_RaoPhyl, 1);
  EXPECT_DOUBLE_EQ(overfitFactorPCARegr, 3.5125);
  EXPECT_EQ(nProcessors, 2);
  EXPECT_FLOAT_EQ(scatterHSize, 12.625f);
  std::string written = ReadFile();
  const std::string head = "18Nov2016\n0\n12.625000\n0.000000\n0\n0.000000\n0.000000\n";
  EXPECT_EQ(written.substr(0, head.size()), head);
}

TEST_F(ShellPreferences, MissingFileOrOtherVersionKeepsDefaults) {
  ReadPreferences();
  EXPECT_EQ(sDigits, 6);
  WriteFile("17Oct2015\n1\n2\n3\n");
  ReadPreferences();
  EXPECT_EQ(sDigits, 6);
  EXPECT_EQ(isHierarchicalPref, 0);
  EXPECT_EQ(twoTailedTestMantel, 1);
}

TEST_F(ShellPreferences, WrongLetterInAYesNoItemIsSkipped) {
  std::string text = kValidFile;
  text.replace(text.find("\ny\n5\n"), 5, "\nq y\n5\n");
  WriteFile(text);
  ReadPreferences();
  EXPECT_EQ(drawProfPtsOpt, 'y');
  EXPECT_EQ(profilePointSize, 5);
}

TEST_F(ShellPreferences, TruncatedFileEndsTheRunNamingTheFile) {
  WriteFile("18Nov2016\n1\n3.25\n");
  EXPECT_EXIT(
      {
        freopen("/dev/null", "r", stdin);
        ReadPreferences();
      },
      ::testing::ExitedWithCode(1), "file KOLVEN.prf .*END OF FILE !!!");
}

TEST_F(ShellPreferences, DialogueSetsAndSavesOnLeaving) {
  FILE* answers = tmpfile();
  fputs("f 0 y g n r n y b n o 0.5 4.25 t y m 3 c", answers);
  rewind(answers);
  FILE* prompts = tmpfile();
  in = answers;
  out = prompts;
  SetPreferences();
  fclose(answers);
  fclose(prompts);
  EXPECT_EQ(sDigits, 6);  // zero asks for the default
  EXPECT_EQ(saveRndData, 'y');
  EXPECT_EQ(countDoubleAbsence, 0);
  EXPECT_EQ(sqrtDissimOpt_RaoTraits, 0);
  EXPECT_EQ(sqrtDissimOpt_RaoPhyl, 1);
  EXPECT_EQ(BealsIncludeOpt, 0);
  EXPECT_DOUBLE_EQ(overfitFactorPCARegr, 4.25);  // 0.5 is below the interval
  EXPECT_EQ(twoTailedTestMantel, 1);
  EXPECT_EQ(nProcessors, 3);
  std::string written = ReadFile();
  EXPECT_NE(written.find("\n6\n2147483647\n6\nn\ny\nn\n0\n0\n1\n0\n4.25\n1\n3\n"),
            std::string::npos)
      << written;
}

// Unit tests of the preferences file: writing, reading back and its quirks.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <omp.h>
#include <unistd.h>

#include "shell/console.h"
#include "shell/preferences.h"
#include "shell/shell.h"
#include "tests/unit/test_util.h"

using namespace testutil;

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
};

const char* kValidFile =
    "18Nov2016\n1\n3.250000\n4.500000\n7\n1.125000\n2.875000\n3\ny\n5\n6.000000\n"
    "9.750000\n9\n120\n4\ny\nn\ny\n0\n0\n1\n0\n2.385\n1\n3\nThu Nov 19 10:00:00 2026\n";

}  // namespace

// Every item comes back to its own global: written again, the file is the
// same but for the time stamp and the Mantel flag, which takes the first
// byte of a double (0 for 1.0 as for 0.0) and so is off after any valid file.
TEST_F(ShellPreferences, ValidFileIsReadItemByItem) {
  WriteFile(kValidFile);
  ReadPreferences();
  EXPECT_EQ(twoTailedTestMantel, 0);
  EXPECT_EQ(drawProfPtsOpt, 'y');
  EXPECT_DOUBLE_EQ(overfitFactorPCARegr, 2.385);
  WritePreferences();
  std::string expected = kValidFile;
  expected.replace(expected.find("2.385\n1\n3\n"), 10, "2.385\n0\n3\n");
  std::string written = FileText("KOLVEN.prf");
  EXPECT_EQ(written.substr(0, written.size() - 25), expected.substr(0, expected.size() - 25));
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


// The count given is kept and saved as it is; the threads started stay
// within the machine, whatever a hand-edited file says.
TEST_F(ShellPreferences, ThreadsStartedNeverExceedTheProcessors) {
  int procs = omp_get_num_procs();
  for (int given : {0, 1, 100000, 2147483647, -5}) {
    nProcessors = given;
    int threads = ThreadsToStart();
    EXPECT_GE(threads, 1) << given;
    EXPECT_LE(threads, procs) << given;
    if (given == 0 || given >= procs) {
      EXPECT_EQ(threads, procs) << given;
    }
  }
  nProcessors = 1;
  EXPECT_EQ(ThreadsToStart(), 1);
  nProcessors = 100000;
  WritePreferences();
  nProcessors = 0;
  ReadPreferences();
  EXPECT_EQ(nProcessors, 100000);
}

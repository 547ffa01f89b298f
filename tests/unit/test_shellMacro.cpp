// Unit tests of macro mode: a dialogue recorded to a file and replayed.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include <unistd.h>

#include "shell/console.h"
#include "shell/macro.h"
#include "shell/shell.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

class ShellMacro : public ::testing::Test {
 protected:
  char dir[64] = "/tmp/kolvenMacroXXXXXX";
  char home[4096];
  FILE* answers = nullptr;
  FILE* prompts = nullptr;

  // The next answers of the dialogue.
  void Answer(const char* text) {
    if (answers != nullptr) fclose(answers);
    in = answers = StreamOf(text);
  }
  void SetUp() override {
    ASSERT_NE(getcwd(home, sizeof home), nullptr);
    ASSERT_NE(mkdtemp(dir), nullptr);
    ASSERT_EQ(chdir(dir), 0);
    // The waits after leaving a mode read the terminal: give them line ends.
    FILE* keys = fopen("keys", "w");
    fputs("\n\n\n\n", keys);
    fclose(keys);
    ASSERT_NE(freopen("keys", "r", stdin), nullptr);
    prompts = tmpfile();
    out = prompts;
  }
  void TearDown() override {
    in = stdin;
    out = stdout;
    outm = nullptr;
    createMacro = runMacro = 0;
    if (answers != nullptr) fclose(answers);
    fclose(prompts);
    remove("keys");
    remove("rec.mac");
    remove("MacroRunReport");
    EXPECT_EQ(chdir(home), 0);
    rmdir(dir);
  }
};

}  // namespace

TEST_F(ShellMacro, RecordedAnswersReplayIntoAReport) {
  Answer("N\nrec.mac\n");
  IFMacro();
  ASSERT_EQ(createMacro, 1);
  Answer("Y 3 ");
  EXPECT_EQ(ReadCharIn("y n"), 'y');
  EXPECT_EQ(ReadNumberIn("%d\n", "1 2 3"), 3.0);
  Answer("c n");
  IFMacro();  // C while recording is itself recorded
  IFMacro();  // N stops recording and closes with R
  EXPECT_EQ(createMacro, 0);
  EXPECT_EQ(FileText("rec.mac"), "y\n3\nC\nR\n");

  Answer("R\nrec.mac\n");
  IFMacro();
  ASSERT_EQ(runMacro, 1);
  EXPECT_EQ(ReadCharIn("y n"), 'y');
  EXPECT_EQ(ReadNumberIn("%d\n", "1 2 3"), 3.0);
  IFMacro();  // reads C from the macro
  IFMacro();  // reads R from the macro: the replay stops
  EXPECT_EQ(runMacro, 0);
  EXPECT_EQ(in, stdin);
  std::string report = FileText("MacroRunReport");
  EXPECT_EQ(report.substr(0, 4), "y\n3\n") << report;
  EXPECT_NE(report.find("   R  stop running macro on file\n   C  return to main menu \n"
                        "Type option: C\n"),
            std::string::npos)
      << report;
}

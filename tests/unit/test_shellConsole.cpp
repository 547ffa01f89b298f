// Unit tests of the answer routines, read from prepared streams.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include <unistd.h>

#include "shell/console.h"
#include "tests/unit/test_util.h"

using namespace testutil;

namespace {

// Answers come from a prepared stream; echoes, when wanted, go to a file.
class ShellConsole : public ::testing::Test {
 protected:
  FILE* answers = nullptr;
  FILE* echo = nullptr;
  FILE* prompts = nullptr;

  void Answer(const std::string& text) {
    answers = StreamOf(text);
    in = answers;
  }
  void Record() {
    echo = tmpfile();
    outm = echo;
    createMacro = 1;
  }
  void SetUp() override {
    prompts = tmpfile();
    out = prompts;
  }
  void TearDown() override {
    createMacro = runMacro = 0;
    in = stdin;
    out = stdout;
    outm = nullptr;
    if (answers) fclose(answers);
    if (echo) fclose(echo);
    fclose(prompts);
  }
};

}  // namespace

TEST_F(ShellConsole, CharacterAnswersSkipRefusedLettersAndLeaveTheRest) {
  Record();
  Answer("m\nq\t bOS");
  EXPECT_EQ(ReadCharIn("N O S A X"), 'o');
  // The letter after the accepted one is still there for the next prompt.
  EXPECT_EQ(ReadCharIn("N O S A X"), 's');
  EXPECT_EQ(Contents(echo), "o\ns\n") << "echoes are in lower case";
}

TEST_F(ShellConsole, NumbersAreValidatedByListAndInterval) {
  Answer("abc 7 2.0 ; 9 -0.5 3.75 12");
  EXPECT_EQ(ReadNumberIn("%d\n", "1 2 3"), 2.0);            // letters dropped, 7 refused
  EXPECT_EQ(ReadNumberIn("%d\n", "-", 0.0, 4.0), 3.75);     // 9 and -0.5 refused
  EXPECT_EQ(ReadNumberIn("%d\n", nullptr), 12.0);           // any number
}

TEST_F(ShellConsole, NumberEchoFollowsTheConversionLetter) {
  Record();
  Answer("2.718 0.1 0.1 3000000000.7 7.25 1e300");
  ReadNumberIn("%d\n", "-", 0.0, 10.0);
  ReadNumberIn("%.10f\n", nullptr);
  ReadNumberIn("%.10lf\n", nullptr);
  ReadNumberIn("%u\n", nullptr);
  ReadNumberIn("%g\n", nullptr);
  ReadNumberIn("%d\n", nullptr);
  // 'f' rounds to single precision; 'l' keeps the double; 'u' cuts to 64
  // bits; a value beyond int stays in range.
  EXPECT_EQ(Contents(echo), "2\n0.1000000015\n0.1000000000\n3000000000\n7.25\n2147483647\n");
}

TEST_F(ShellConsole, StringAnswersAreBoundedWords) {
  Record();
  std::string longWord(5000, 'w');
  Answer("abcdefg next " + longWord + " after\n  my data file.txt\tnext");
  char buffer[4112];
  ReadStringIn("%4s ", buffer);
  EXPECT_STREQ(buffer, "abcd");
  ReadStringIn("%4s ", buffer);  // a width leaves the tail for the next read
  EXPECT_STREQ(buffer, "efg");
  ReadStringIn("%s\n", buffer);
  EXPECT_STREQ(buffer, "next");
  ReadStringIn("%s\n", buffer);  // no width: cut to the buffer, tail dropped
  EXPECT_EQ(strlen(buffer), 4111u);
  ReadStringIn("%s\n", buffer);
  EXPECT_STREQ(buffer, "after");
  ReadLineIn(buffer, 41);
  EXPECT_STREQ(buffer, "my data file.txt") << "a line skips leading blanks and ends at a tab";
  // The echo uses the whole format, so the width pads the short word.
  std::string echoed = Contents(echo);
  EXPECT_EQ(echoed.substr(0, 19), "abcd  efg next\nwwww");
  EXPECT_EQ(echoed.substr(echoed.size() - 23), "after\nmy data file.txt\n");
}

TEST_F(ShellConsole, DataFileNameIsAskedUntilTheFileOpens) {
  char path[] = "/tmp/kolvenShellXXXXXX";
  int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  Answer(std::string("/nonexistent/no.txt\n") + path + "\n");
  char buffer[42];
  FILE* fp = ReadDataFileName(buffer);
  ASSERT_NE(fp, nullptr);
  fclose(fp);
  close(fd);
  remove(path);
  EXPECT_STREQ(buffer, path);
  std::string asked = Contents(prompts);
  EXPECT_EQ(asked, "Enter data file name: Enter data file name: ");
}

// Under a replayed macro the terminal questions are skipped and the values
// come from the answer source.
TEST_F(ShellConsole, LongLabelInputKeepsWidthAndEchoes) {
  runMacro = 1;
  echo = tmpfile();
  outm = echo;
  Answer("alpha be  gamma");
  char stores[3][5];
  char* labels[3] = {stores[0], stores[1], stores[2]};
  EXPECT_EQ(ReadLongInput(3, 4, labels, "Groups"), 1);
  EXPECT_STREQ(labels[0], "alph");
  EXPECT_STREQ(labels[1], "be");
  EXPECT_STREQ(labels[2], "gamm");
  EXPECT_EQ(Contents(echo), "alph\tbe\tgamm\t\n");
  EXPECT_EQ(Contents(prompts), "Enter Groups:\t");
}

TEST_F(ShellConsole, LongIntegerInputRestartsOnMinusOneAndFollowsTheList) {
  runMacro = 1;
  echo = tmpfile();
  outm = echo;
  Answer("4 -1 7 8 9  5 2 -1 3 1");
  int values[3] = {0, 0, 0};
  EXPECT_EQ(ReadLongInput(3, values, "trait types", nullptr), 1);
  EXPECT_EQ(values[0], 7);
  EXPECT_EQ(values[2], 9);
  EXPECT_EQ(Contents(prompts), "Enter trait types: \t\nEnter trait types: \t");
  // With a list, numbers outside it (here 5 and -1) are refused one by one.
  ReadLongInput(3, values, "variable type", "1 2 3 4");
  EXPECT_EQ(values[0], 2);
  EXPECT_EQ(values[1], 3);
  EXPECT_EQ(values[2], 1);
  EXPECT_EQ(Contents(echo), "7\t8\t9\t\n2\t3\t1\t\n");
}

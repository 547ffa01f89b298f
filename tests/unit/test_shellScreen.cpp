// Unit tests of the screen services: menu heading and time stamp.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "shell/console.h"
#include "shell/shell.h"

namespace {

std::string Written(FILE* fp) {
  fflush(fp);
  rewind(fp);
  std::string s;
  int c;
  while ((c = fgetc(fp)) != EOF) s += (char)c;
  return s;
}

}  // namespace

TEST(ShellScreen, MenuHeadingFillsTheSeventyColumnsOfTheRule) {
  FILE* sink = tmpfile();
  out = sink;
  strcpy(sessionName, "Lautaret2016");
  strcpy(sessionShortName, "Lautaret2016");
  Menu("SESSION MENU");
  out = stdout;
  std::string text = Written(sink);
  fclose(sink);
  std::string title = "SESSION MENU" + std::string(35, ' ') + std::string(11, ' ') + "Lautaret2016";
  EXPECT_EQ(text, "\n\n" + title + "\n" + std::string(70, '-') + "\n");
  EXPECT_EQ(title.size(), 70u);
}

TEST(ShellScreen, MenuHeadingOmitsTheNameOfTheNullSession) {
  FILE* sink = tmpfile();
  out = sink;
  strcpy(sessionName, "NULL");
  strcpy(sessionShortName, "ignored");
  Menu("PREFERENCES");
  out = stdout;
  std::string text = Written(sink);
  fclose(sink);
  EXPECT_EQ(text, "\n\nPREFERENCES" + std::string(36, ' ') + "\n" + std::string(70, '-') + "\n");
  sessionName[0] = sessionShortName[0] = '\0';
}

TEST(ShellScreen, TimeStampIsOneCtimeLine) {
  FILE* sink = tmpfile();
  TimeStamp(sink);
  std::string text = Written(sink);
  fclose(sink);
  ASSERT_EQ(text.size(), 25u) << text;
  EXPECT_EQ(text[24], '\n');
  EXPECT_EQ(text[3], ' ');
  EXPECT_EQ(text[13], ':');
}

TEST(ShellScreen, ResultFlagsAndNamesAreResetBetweenSessions) {
  strcpy(whichPrinda, "oldPrinda.txt");
  hasHier = hasRoVelComplexPROB = hasEnvRank = 1;
  FreeGlobals1();
  EXPECT_STREQ(whichPrinda, "NULL");
  EXPECT_EQ(hasHier + hasRoVelComplexPROB + hasEnvRank, 0);
}

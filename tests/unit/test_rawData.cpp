// Unit tests of the species and OTU checks of a data set.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "TarnLib/tarnlibDim.h"
#include "session/rawData.h"
#include "session/session.h"

namespace {

// A small data set in the session globals: nOTU OTUs, nCom communities, two
// traits, a species list with one line per OTU.
struct RawDataTest : testing::Test {
  int rows = 0;
  void Make(int nOTU, int nCom, const char* const* names) {
    rows = nOTU;
    tcst = nOTU;
    ncsm = nCom;
    nch = 2;
    nSpp = nOTU;
    csm_Float = dim2Double(nOTU, nch);
    cadat = dim2Double(nOTU, nCom);
    chLabel = dim2Dchar(nch, 11);
    chtype = dim1Dint(nch);
    chrange = dim1Double(nch);
    onsta = dim1Dint(nch);
    ncst = dim1Dint(nCom);
    strcpy(chLabel[0], "height");
    strcpy(chLabel[1], "sp");
    chtype[0] = 3;
    chtype[1] = 2;
    spp = dim2Dchar(nOTU, 81);
    sppRelMap = dim2Dchar(nOTU, nCom);
    cstSppMap = dim2Dchar(nOTU, nOTU);
    for (int i = 0; i < nOTU; i++) {
      strcpy(spp[i], names[i]);
      memset(sppRelMap[i], '0', (size_t)nCom);
    }
  }
  void TearDown() override {
    free2D(csm_Float, rows);
    free2D(cadat, rows);
    free2D(chLabel, 2);
    free1D(chtype);
    free1D(chrange);
    free1D(onsta);
    free1D(ncst);
    free2D(spp, rows);
    free2D(sppRelMap, rows);
    free2D(cstSppMap, rows);
    csm_Float = cadat = nullptr;
    chLabel = spp = sppRelMap = cstSppMap = nullptr;
    chtype = onsta = ncst = nullptr;
    chrange = nullptr;
    tcst = ncsm = nch = nSpp = 0;
  }
  std::string Map(char** m, int r, int cols) { return std::string(m[r], (size_t)cols); }
  // Column s of cstSppMap over the first tcst OTUs.
  std::string Column(int s) {
    std::string c;
    for (int i = 0; i < tcst; i++) c += cstSppMap[i][s];
    return c;
  }
};

}  // namespace

TEST_F(RawDataTest, LabelsMadeByTheProgram) {
  const char* names[] = {"carex rupestris", "carex rupicola", "moss", "carex rubra", "Ab Cd Ef", ""};
  Make(6, 2, names);
  std::string longName(70, 'x');
  longName[5] = ' ';
  strcpy(spp[5], longName.c_str());
  CheckSpecies(2);
  ASSERT_EQ(nSpp, 6);
  // Three names giving the same label: the first keeps it, the second has its
  // first character raised, the third its first two.
  EXPECT_STREQ(spp[0], "caru carex rupestris");
  EXPECT_STREQ(spp[1], "Caru carex rupicola");
  EXPECT_STREQ(spp[3], "CAru carex rubra");
  EXPECT_STREQ(spp[2], "mo moss") << "one word gives a label of two characters";
  EXPECT_STREQ(spp[4], "AbCd Ab Cd Ef");
  // Label, blank and the first 65 characters of a long name: 70 in all.
  EXPECT_EQ(std::string(spp[5]), "xxxx " + longName.substr(0, 65));
}

TEST_F(RawDataTest, CollisionsBeyondUpperCaseChangeCharacters) {
  const char* names[] = {"ab cd", "ab cd ", "ab cd  ", "ab cd   ", "ab cd    ", "ab cd     ",
                         "ab cd      ", "ab", "ab "};
  Make(9, 1, names);
  CheckSpecies(2);
  ASSERT_EQ(nSpp, 9);
  const char* expect[] = {"abcd", "Abcd", "ABcd", "ABCd", "ABCD", "BBCD", "BCCD"};
  for (int e = 0; e < 7; e++) EXPECT_EQ(std::string(spp[e], 5), std::string(expect[e]) + " ") << "entry " << e;
  // A two-character label is followed by a blank in the list, so its first
  // four characters never equal another two-character label: both stay.
  EXPECT_EQ(std::string(spp[7], 3), "ab ");
  EXPECT_EQ(std::string(spp[8], 3), "ab ");
}

// Nine hundred populations of one species: every name gives the label "caru". The
// list must end with as many different labels (it once went round in circles
// after a few hundred).
TEST_F(RawDataTest, NineHundredNamesWithOneLabelAllGetTheirOwn) {
  const int n = 900;
  static char names[n][32];
  const char* pointers[n];
  for (int i = 0; i < n; i++) {
    snprintf(names[i], sizeof names[i], "carex rupestris %d", i + 1);
    pointers[i] = names[i];
  }
  Make(n, 1, pointers);
  CheckSpecies(2);
  ASSERT_EQ(nSpp, n);
  for (int e = 0; e < n; e++) {
    ASSERT_EQ(spp[e][4], ' ') << "entry " << e << ": " << spp[e];
    ASSERT_EQ(CheckIdenticalLabels(spp[e], spp, e), 0) << "entry " << e << " repeats a label: " << spp[e];
  }
  EXPECT_EQ(std::string(spp[n - 1] + 5), names[n - 1]);
}

TEST_F(RawDataTest, IdenticalLinesMergeAndLabelsAsGiven) {
  const char* names[] = {"Agro Agrostis rupestris", "Alop Alopecurus alpinus",
                         "Agro Agrostis rupestris", "Anth Anthyllis vulneraria"};
  Make(4, 3, names);
  cadat[0][0] = 2.5;
  cadat[2][2] = -999;  // a missing value counts as present
  cadat[1][1] = 1;
  CheckSpecies(1);
  ASSERT_EQ(nSpp, 3);
  EXPECT_STREQ(spp[2], "Anth Anthyllis vulneraria");
  EXPECT_EQ(Column(0), "1010");
  EXPECT_EQ(Column(2), "0001");
  SpeciesReleveMap();
  EXPECT_EQ(Map(sppRelMap, 0, 3), "101");
  EXPECT_EQ(Map(sppRelMap, 1, 3), "010");
  EXPECT_EQ(Map(sppRelMap, 2, 3), "000");
}

TEST_F(RawDataTest, MergeOfCutDownListMovesOnePosition) {
  const char* names[] = {"A x", "A x", "B y", "C z"};
  Make(4, 2, names);
  for (int i = 0; i < 4; i++)
    for (int s = 0; s < 4; s++) cstSppMap[i][s] = i == s ? '1' : '0';
  sppRelMap[0][0] = '1';
  sppRelMap[1][1] = '1';
  sppRelMap[2][0] = '1';
  CheckSpeciesMerge();
  // Settled: the duplicate passes its OTUs and occurrences to the first entry,
  // only one position moves, so the last entry drops off and a copy stays.
  ASSERT_EQ(nSpp, 3);
  EXPECT_STREQ(spp[0], "A x");
  EXPECT_STREQ(spp[1], "B y");
  EXPECT_STREQ(spp[2], "A x");
  EXPECT_EQ(Column(0), "1100");
  EXPECT_EQ(Column(1), "0010");
  EXPECT_EQ(Map(sppRelMap, 0, 2), "11");
  EXPECT_EQ(Map(sppRelMap, 1, 2), "10");
}

TEST_F(RawDataTest, SpeciesTraitBecomesCode) {
  const char* names[] = {"a", "b", "c", "d"};
  Make(4, 1, names);
  nSpp = 2;
  const char* cols[] = {"10", "01", "10", "01"};
  for (int i = 0; i < 4; i++) memcpy(cstSppMap[i], cols[i], 2);
  for (int i = 0; i < 4; i++) csm_Float[i][1] = 7.25;
  CheckCSTsSameSpecies();
  EXPECT_EQ(csm_Float[0][1], 0);
  EXPECT_EQ(csm_Float[1][1], 1);
  EXPECT_EQ(csm_Float[2][1], 0);
  EXPECT_EQ(csm_Float[3][1], 1);
  strcpy(chLabel[1], "spp");
  csm_Float[3][1] = 2.385;
  CheckCSTsSameSpecies();
  EXPECT_EQ(csm_Float[3][1], 2.385) << "no trait labelled exactly sp: nothing changes";
}

TEST_F(RawDataTest, TrimDropsEmptySpeciesAndClearsMarks) {
  const char* names[] = {"aaaa one", "bbbb two", "cccc three", "dddd four"};
  Make(3, 2, names);
  rows = 3;
  nSpp = 3;
  // Species 0: OTU 0, occurs in community 0. Species 1: no OTU.
  // Species 2: OTUs 1 and 2, occurs in community 1 only through OTU 2.
  const char* cols[] = {"100", "001", "001"};
  for (int i = 0; i < 3; i++) memcpy(cstSppMap[i], cols[i], 3);
  memcpy(sppRelMap[0], "10", 2);
  memcpy(sppRelMap[1], "11", 2);
  memcpy(sppRelMap[2], "01", 2);
  cadat[0][0] = 3.5;
  cadat[1][0] = 1;  // OTU 1 present only where its species is not recorded
  cadat[2][1] = 4;
  TrimSpecies(3);
  ASSERT_EQ(nSpp, 2);
  EXPECT_STREQ(spp[0], "aaaa one");
  EXPECT_STREQ(spp[1], "cccc three");
  EXPECT_EQ(Column(0), "100");
  EXPECT_EQ(Column(1), "001") << "OTU 1 shares no community with its species";
  EXPECT_EQ(spp[2], nullptr);
  EXPECT_EQ(sppRelMap[2], nullptr);
}

TEST_F(RawDataTest, CheckDataRemovesAbsentOTUs) {
  const char* names[] = {"a", "b", "c", "d"};
  Make(4, 3, names);
  nSpp = 0;
  double w[4][3] = {{0, 1e-14, 0}, {2.5, 0, -999}, {0, 0, 0}, {1, 0, 7}};
  for (int i = 0; i < 4; i++) {
    for (int j = 0; j < 3; j++) cadat[i][j] = w[i][j];
    csm_Float[i][0] = 10.5 + i;
    csm_Float[i][1] = i % 2;
  }
  CheckData(1);
  ASSERT_EQ(tcst, 2);
  EXPECT_EQ(csm_Float[0][0], 11.5) << "the order of the kept OTUs stays";
  EXPECT_EQ(csm_Float[1][0], 13.5);
  EXPECT_EQ(cadat[0][2], -999);
  EXPECT_EQ(ncst[0], 2);
  EXPECT_EQ(ncst[1], 0);
  EXPECT_EQ(ncst[2], 2);
  EXPECT_EQ(emptyReleves, 1);
  EXPECT_EQ(onsta[0], 2);
  EXPECT_EQ(onsta[1], 1);
  EXPECT_DOUBLE_EQ(chrange[0], 2.0);
  EXPECT_EQ(chrange[1], 0.0);
}

TEST(RawDataSmall, IdenticalLabels) {
  char a[] = "Caru carex", b[] = "mo moss";
  char* labels[2] = {a, b};
  EXPECT_EQ(CheckIdenticalLabels("Caru", labels, 2), 1);
  EXPECT_EQ(CheckIdenticalLabels("caru", labels, 2), 0);
  EXPECT_EQ(CheckIdenticalLabels("mo", labels, 2), 0) << "the blank after a short label differs";
  EXPECT_EQ(CheckIdenticalLabels("mo m", labels, 2), 1);
}

// Unit tests of the functional analysis settings dialogue, group partitions and trait-group weights, driven by answer streams.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "TarnLib/tarnlibRandom.h"
#include "scaling/settings.h"
#include "session/session.h"
#include "session/track.h"
#include "shell/console.h"
#include "shell/shell.h"
#include "tests/unit/session_test_util.h"

using namespace testutil;

namespace {

// A small session in memory: 5 OTUs, 4 traits, 3 communities.
class SettingsDialogue : public ::testing::Test {
 protected:
  void SetUp() override {
    savedIn = in;
    savedOut = out;
    out = fopen("/dev/null", "w");
    tcst = 5;
    nch = 4;
    ncsm = 3;
    nSpp = 0;
    hasPhylogeny = 0;
    hasTraitGroups = 0;
    temEnvQual = 0;
    optmain = 'H';
    volumeName[0] = '\0';
    snprintf(whichPrinda, sizeof whichPrinda, "%s", "zzNoSuchSessionPrinda.txt");
    partition_OTUs = dim1Dint(tcst);
    weight_OTUs = dim1Dint(tcst);
    weight = dim1Double(nch);
    nchor = dim1Dint(nch);
    nGrPoly = dim1Dint(nch);
    traitGroups = dim1Dint(nch);
    chLabel = dim2Dchar(nch, 11);
    reLabel = dim2Dchar(ncsm, 11);
    for (int i = 0; i < nch; i++) snprintf(chLabel[i], 11, "trait%c", (char)('1' + i));
    for (int i = 0; i < ncsm; i++) snprintf(reLabel[i], 11, "rel%c", (char)('1' + i));
  }
  void TearDown() override {
    if (in != savedIn) fclose(in);
    fclose(out);
    in = savedIn;
    out = savedOut;
    sessiontest::FreeSessionState();  // frees and empties the session arrays
    free1D(nestingMembershipOTUs);
    nestingMembershipOTUs = nullptr;
    free1D(partition_OTUs_Phyl);
    partition_OTUs_Phyl = nullptr;
  }
  // The answers that the dialogue reads from its answer source.
  void Answers(const char* text) {
    in = answers = testutil::StreamOf(text);
  }
  FILE* savedIn;
  FILE* savedOut;
  FILE* answers = nullptr;
};

}  // namespace

TEST_F(SettingsDialogue, AnalysisPathStoresEveryAnswer) {
  hasTraitGroups = 1;
  const int groups[4] = {4, 7, 4, 4};
  for (int i = 0; i < 4; i++) traitGroups[i] = groups[i];
  Answers(
      "x k\n"             // group source: x is refused
      "3 1e30 nan -1e30 12\n"  // labels beyond int are kept within its range
      "5 1\n"             // fuzzy: 5 refused
      "y\n 99\n t\n 1\n"  // tests, iterations, taxa shuffle, restricted
      "k\n 1 1 2 2 2\n"   // nesting groups
      "2\n 4242\n"        // seed typed
      "1\n 3 9\n"         // Mantel; 3 is refused, 9 accepted though not shown
      "2\n 1 0 1 1\n y\n" // selected traits, weights by trait groups
      "2\n 1 1 0 1 1\n n\n"
      "y\n y\n");
  SettingsHierarchy();
  ExpectInts(partition_OTUs, {3, INT_MAX, 0, INT_MIN, 12}, "OTU");
  EXPECT_EQ(5, nGrPoly[0]);
  EXPECT_EQ(3, fuzzy);
  EXPECT_EQ(99, niter);
  ASSERT_NE(nullptr, nestingMembershipOTUs);
  EXPECT_EQ(2, nestingMembershipOTUs[4]);
  EXPECT_EQ(4242u, rseed);
  EXPECT_EQ(9, rese_opt);
  // Group 4 holds three selected traits; trait 2 (group 7) is left out.
  ExpectValues(weight, {1 / 3.0, 0, 1 / 3.0, 1 / 3.0}, "trait");
  ExpectInts(weight_OTUs, {1, 1, 0, 1, 1}, "weight_OTUs");
  EXPECT_TRUE(optUnitTotalAdjust2);
  EXPECT_FALSE(includePhylogeny);
  EXPECT_EQ(1, printDetail);
  EXPECT_STREQ("w", prindaMode);
}

TEST_F(SettingsDialogue, TypesFromTheSpeciesList) {
  nSpp = 3;
  cstSppMap = dim2Dchar(tcst, 3);
  const char* rows[5] = {"100", "011", "000", "010", "110"};
  for (int i = 0; i < 5; i++) memcpy(cstSppMap[i], rows[i], 3);
  partition_OTUs[2] = 17;  // no species: keeps its label
  // No group-source question follows the y.
  Answers("y\n 0\n n\n 2\n 1\n 1\n n\n n\n");
  SettingsHierarchy();
  EXPECT_TRUE(OTUsTypesAreSpecies);
  ExpectInts(partition_OTUs, {1, 3, 17, 2, 2}, "OTU");
  EXPECT_EQ(4, nGrPoly[0]);
  EXPECT_EQ(2, opt_ro);
}

TEST_F(SettingsDialogue, GroupFileThatFailsAndFileThatIsShort) {
  const char* name = "zzSettingsGroups.txt";
  FILE* fp = fopen(name, "w");
  fprintf(fp, "4 4\n9\n");  // three numbers for five OTUs
  fclose(fp);
  for (int i = 0; i < 5; i++) partition_OTUs[i] = 50 + i;
  char text[300];
  snprintf(text, sizeof text,
           "f\nzzNoSuchGroupFile.txt\nf\n%s\n0\n n\n 1\n 6\n 1\n 1\n n\n n\n", name);
  Answers(text);
  SettingsHierarchy();
  remove(name);
  ExpectInts(partition_OTUs, {4, 4, 9, 53, 54}, "OTU");
  EXPECT_EQ(4, nGrPoly[0]);
}

TEST_F(SettingsDialogue, RankingPathsAreShorter) {
  optmain = 'K';
  optRndTests = true;
  rese_opt = 8;
  // Criterion 10: straight to the congruence question, no resemblance
  // question, and the dialogue ends after the unit-total question.
  opt_struct = 10;
  Answers("3\n 1\n 1\n y\n");
  SettingsHierarchy();
  EXPECT_EQ(2, traitBasedOpt);
  EXPECT_EQ(0, poolCSTopt);
  EXPECT_EQ(3, opt_ro);
  EXPECT_EQ(8, rese_opt);
  EXPECT_FALSE(optUnitTotalAdjust2);  // asked only for compositions of types
  fclose(in);
  // Another criterion: types and fuzziness, but no tests.
  opt_struct = 3;
  Answers("k\n 1 1 2 2 3\n 1\n 1\n 10\n 1\n 1\n n\n");
  SettingsHierarchy();
  EXPECT_EQ(1, traitBasedOpt);
  EXPECT_EQ(3, nGrPoly[0]);
  EXPECT_EQ(3, fuzzy);
  EXPECT_FALSE(optRndTests);
  EXPECT_EQ(10, rese_opt);
  int c;
  while ((c = fgetc(in)) == ' ' || c == '\n') {}
  EXPECT_EQ(EOF, c) << "the ranking path asked more than expected";
}

TEST(SettingsPartition, FromTheClusteringRecord) {
  volumeName[0] = '\0';
  snprintf(whichCstClus, sizeof whichCstClus, "%s", "zzSettingsClus.txt");
  FILE* fp = fopen(whichCstClus, "w");
  // Fusions of 6 objects: {1,2}, {5,6}, {3,4}, then one more than needed.
  fprintf(fp, "0.125 2 1 2\n0.25 2 5 6\n0.5 2 3 4\n0.75 4 1 2 3 4\n");
  fclose(fp);
  int membership[6];
  GetPartition(6, 3, membership, 'c');
  remove(whichCstClus);
  // Labels 1, 3 and 5 renumbered from 1.
  ExpectInts(membership, {1, 1, 2, 2, 3, 3}, "object");
}

TEST_F(SettingsDialogue, AnyGroupsByCountsAndByLabels) {
  hasReClus = 0;
  hasCstClus = 0;
  char** labels = dim2Dchar(3, 5);
  int membership[5];
  int nGroups = 0;
  // Ordered by groups: no group at all is refused, a wrong total is asked again.
  Answers("0\n 2\n 1\n y\n 3 1\n 3 2\n");
  SettingAnyGroups(5, &nGroups, membership, labels, "OTUs");
  EXPECT_EQ(2, nGroups);
  EXPECT_STREQ("2", labels[1]);
  ExpectInts(membership, {1, 1, 1, 2, 2}, "membership");
  fclose(in);
  // Labels typed per community; an unknown label repeats the whole entry.
  // Replaying answers skips the terminal-only questions of the long input.
  FILE* echo = tmpfile();
  FILE* savedOutm = outm;
  outm = echo;
  runMacro = 1;
  Answers("3\n 2\n ab c zz\n n\n ab qq ab\n zz c c\n");
  SettingAnyGroups(3, &nGroups, membership, labels, "communities");
  runMacro = 0;
  outm = savedOutm;
  fclose(echo);
  EXPECT_EQ('r', whichObj);
  EXPECT_EQ(3, nGroups);
  ExpectInts(membership, {3, 2, 2}, "membership");
  free2D(labels, 3);
}

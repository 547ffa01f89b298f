// Unit tests of the scaling-up run and its report on small sessions set up in memory;
// expected values come from tests/scaling/reference.py.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "TarnLib/tarnlibDim.h"
#include "scaling/report.h"
#include "scaling/scalingUp.h"
#include "scaling/settings.h"
#include "session/session.h"
#include "shell/preferences.h"
#include "shell/shell.h"
#include "shell/track.h"
#include "session_test_util.h"

namespace {

const double kB[4][2] = {{1.5, 10}, {2.5, 30}, {4.0, 20}, {3.0, 40}};
const double kW[4][4] = {{2, 1, 0, 1}, {0, 3, 1, 0}, {1, 0, 2, 2}, {1, 1, 1, 0}};  // communities x OTUs
const double kE[4][2] = {{0.5, 10}, {1.7, 30}, {3.2, 15}, {2.2, 22}};

// A session of 4 OTUs, 2 quantitative traits, `communities` communities and one
// quantitative variable (two with `variables` 2), types {1, 1, 2, 2}, crisp,
// Mantel, Euclidean distance.
void SetSmallSession(int communities, int variables = 1) {
  nch = 2;
  tcst = 4;
  ncsm = communities;
  nenv = variables;
  nSpp = 0;
  csm_Float = dim2Double(tcst, nch);
  cadat = dim2Double(tcst, ncsm);
  env = dim2Double(ncsm, nenv);
  chLabel = dim2Dchar(nch, 11);
  reLabel = dim2Dchar(ncsm, 11);
  envLabel = dim2Dchar(nenv, 11);
  chtype = dim1Dint(nch);
  chrange = dim1Double(nch);
  onsta = dim1Dint(nch);
  envVarType = dim1Dint(nenv);
  nGrPoly = dim1Dint(nch);
  weight = dim1Double(nch);
  weight_OTUs = dim1Dint(tcst);
  partition_OTUs = dim1Dint(tcst);
  for (int i = 0; i < tcst; i++) {
    for (int t = 0; t < nch; t++) csm_Float[i][t] = kB[i][t];
    for (int c = 0; c < ncsm; c++) cadat[i][c] = kW[c][i];
    weight_OTUs[i] = 1;
    partition_OTUs[i] = i < 2 ? 1 : 2;
  }
  for (int t = 0; t < nch; t++) {
    chtype[t] = 3;
    onsta[t] = 4;
    weight[t] = 1.0;
    snprintf(chLabel[t], 11, "t%c", '1' + t);
  }
  for (int c = 0; c < ncsm; c++) {
    for (int v = 0; v < nenv; v++) env[c][v] = kE[c][v];
    snprintf(reLabel[c], 11, "c%c", '1' + c);
  }
  for (int v = 0; v < nenv; v++) {
    snprintf(envLabel[v], 11, "env%c", '1' + v);
    envVarType[v] = 3;
  }
  optEnvVarType = 1;
  temEnvQual = 0;
  nGrPoly[0] = 2;
  hasPhylogeny = 0;
  strcpy(sessionName, "unitScaling");
  // One report per test: ctest may run the tests of this file side by side.
  snprintf(whichPrinda, sizeof whichPrinda, "scal%.30sPrinda.txt",
           ::testing::UnitTest::GetInstance()->current_test_info()->name());
  strcpy(whichFormda, "unitScalingFormda.txt");
  strcpy(dataName, "hand made");
  volumeName[0] = '\0';
  strcpy(prindaMode, "w");
  traitBasedOpt = 1;
  poolCSTopt = 2;
  clusMethPoolCSTs = 0;
  reseCSTopt = 1;
  OTUsTypesAreSpecies = false;
  fuzzy = 0;
  optRndTests = false;
  opt_ro = 1;
  rese_opt = 6;
  restrictRaoWithinOpt = false;
  optUnitTotalAdjust2 = false;
  optCoVariable = false;
  includePhylogeny = false;
  printDetail = 1;
  sDigits = 6;
  countDoubleAbsence = 1;
  sqrtDissimOpt_RaoTraits = 1;
  sqrtDissimOpt_RaoPhyl = 0;
  BealsIncludeOpt = 1;
}

// Releases the session through the shared helper, which also empties the
// pointers, so that later tests in the same process never free them twice.
void FreeSmallSession() {
  remove(whichPrinda);
  sessiontest::FreeSessionState();
}

std::string RunReport() {
  remove(whichPrinda);
  PFTs_ScalingUp();
  return testutil::FileText(whichPrinda);
}

// The numbers of the `count` lines after the line that holds `heading`.
std::vector<double> NumbersAfter(const std::string& text, const std::string& heading, int count) {
  std::vector<double> values;
  size_t at = text.find(heading);
  if (at == std::string::npos) return values;
  at = text.find('\n', at + heading.size() - (heading.back() == '\n' ? 1 : 0));
  for (int line = 0; line < count && at != std::string::npos; line++) {
    size_t end = text.find('\n', at + 1);
    std::string row = text.substr(at + 1, end == std::string::npos ? std::string::npos : end - at - 1);
    const char* p = row.c_str();
    char* q;
    for (;;) {
      double v = strtod(p, &q);
      if (q == p) break;
      values.push_back(v);
      p = q;
    }
    at = end;
  }
  return values;
}

double ValueAfter(const std::string& text, const std::string& label) {
  size_t at = text.find(label);
  if (at == std::string::npos) return -12345.0;
  return strtod(text.c_str() + at + label.size(), nullptr);
}

void ExpectNear(const std::vector<double>& got, const std::vector<double>& want, const char* what) {
  ASSERT_EQ(got.size(), want.size()) << what << ": number of values";
  for (size_t i = 0; i < want.size(); i++)
    EXPECT_NEAR(got[i], want[i], 2e-5 * (1 + fabs(want[i]))) << what << " value " << i;
}

const char* kRTE = "Convergence (TCAP): r(TE)=\t";

}  // namespace

TEST(ScalingUpRun, SelectedTraitsAndOTUsWithAndWithoutRestrictedRao) {
  SetSmallSession(3);
  weight[0] = 0.0;
  weight_OTUs[2] = 0;
  restrictRaoWithinOpt = true;
  std::string r = RunReport();
  EXPECT_NE(r.find("Traits considered in the computation of OTUs resemblance:\nt2 \n"), std::string::npos);
  ExpectNear(NumbersAfter(r, "trait averages at community level (3 communities x 2 traits):", 3),
             {0, 22.5, 0, 22.5, 0, 18}, "T with one trait and one OTU left out");
  EXPECT_NEAR(ValueAfter(r, kRTE), 0.654654, 1e-5);
  ExpectNear(NumbersAfter(r, "with null, crisp, similarities):", 1), {0.625, 0, 0.16}, "D");
  ExpectNear(NumbersAfter(r, "between OTUs (Rf):", 1), {0.526293, 0, 0.16}, "Rf");
  EXPECT_NE(r.find("(zero ones not considered in the computation of Rao entropy, Simpson diversity, "
                   "and matrices T, X and P):\n1\t1\t0\t1\t\nRao entropy RESTRICTED"),
            std::string::npos);

  // Unrestricted, the left-out OTU still pairs with the selected ones.
  restrictRaoWithinOpt = false;
  r = RunReport();
  ExpectNear(NumbersAfter(r, "between OTUs (Rf):", 1), {0.526293, 0.216506, 0.513655}, "Rf unrestricted");
  ExpectNear(NumbersAfter(r, "with null, crisp, similarities):", 1), {0.625, 0.375, 0.64}, "D unrestricted");
  FreeSmallSession();
}

TEST(ScalingUpRun, CovariableIsPartialledOutOfTE) {
  SetSmallSession(4, 2);
  optCoVariable = true;
  std::string r = RunReport();
  EXPECT_NE(r.find("Effect of variable env2 removed by partial Mantel correlation.\n"), std::string::npos);
  // rho(DE, DT) 0.133042, rho(DC, DT) -0.347831, rho(DE, DC) -0.219969
  EXPECT_NEAR(ValueAfter(r, kRTE), 0.0618084, 1e-5);
  optCoVariable = false;
  FreeSmallSession();
}

TEST(ScalingUpRun, TypesFromCompleteLinkageOfTheOTUs) {
  SetSmallSession(3);
  clusMethPoolCSTs = 2;
  std::string r = RunReport();
  EXPECT_NE(r.find("\nWith this trait subset there are 4 monothetic types of OTUs.\n"), std::string::npos);
  // Most similar pair 2-4 (0.733), then 3 joins at min(0.533, 0.467): OTU 1 stays alone.
  EXPECT_NE(r.find("in 2 polythetic types:\n1\t2\t2\t2\t\n"), std::string::npos) << r;
  ExpectNear(NumbersAfter(r, "Pooled performance matrix X (3 communities x 2 crisp types):", 3),
             {2, 2, 0, 4, 1, 4}, "Xcrisp");
  clusMethPoolCSTs = 0;
  FreeSmallSession();
}

// The number of types runs from 2 while it stays below the number of OTUs: a
// partition of singletons, like one of a single type, makes no pass at all.
TEST(ScalingUpRun, SingletonTypesEndTheReportAfterTheSimilarity) {
  SetSmallSession(3);
  for (int i = 0; i < tcst; i++) partition_OTUs[i] = 10 * (i + 1);
  nGrPoly[0] = tcst;
  std::string r = RunReport();
  EXPECT_NE(r.find("Similarity matrix between 4 OTUs"), std::string::npos);
  EXPECT_EQ(r.find("Partition vector"), std::string::npos) << r;
  EXPECT_EQ(r.substr(r.size() - 2), "\n\n") << "the report still closes with its new line";
  FreeSmallSession();
}

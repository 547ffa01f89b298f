// Shell state, start defaults, screen services and the release of session state.
#include "shell/shell.h"

#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "session/session.h"
#include "shell/console.h"
#include "shell/preferences.h"

char sessionShortName[48];
char sessionName[48];
char volumeName[80];
char tempName[4112];
char tempSession[48];
char whichTrack[48] = "NULL";
char whichFormda[48] = "NULL";
char whichStructures[48];
FILE* trackFp = nullptr;

int optmain1 = 0;
int optmain = 0;
int dirtyOrig = 0;
void* gSpareBlockPtr = nullptr;

int is40CharLine = 0;
int is80CharLine = 0;
clock_t t1 = 0;
clock_t t2 = 0;
time_t timeStart = 0;
time_t time0 = 0;
double Clocks_Event = 50.0;
const char lineL[] = "----------------------------------------------------------------------";
const char version[] = "CHARACTER-BASED COMMUNITY ANALYSIS                    KOLVEN v.2.11.13";

float biplotCorrThreshold = 0.6f;
int rndTestOpt = 0;

const char trackExt[] = "Trk.txt";
const char formdaExt[] = "Formda.txt";
const char structExt[] = "Str.txt";
const char prindaExt[] = "Prinda.txt";
const char hierExt[] = "Hie.txt";
const char rndDataExt[] = "RDa.txt";
const char nReseExt[] = "NRe.txt";
const char pReseExt[] = "PRe.txt";
const char CstReseExt[] = "CRe.txt";
const char scoresExt[] = "Sco.txt";
const char chRankExt[] = "ChRank.txt";
const char chRankFExt[] = "ChFRank.txt";
const char probNExt[] = "PrN.txt";
const char probRoExt[] = "PRo.txt";
const char roExt[] = "Ro.txt";
const char complexityExt[] = "Complexity.txt";
const char velocityExt[] = "Velocity.txt";
const char roVelComplexExt[] = "RoVelComplex.txt";
const char ePrindaExt[] = "Prinda.txt";
const char eReseExt[] = "ERe.txt";
const char eScoresExt[] = "ESc.txt";
const char eRankExt[] = "ERk.txt";
const char mulvaExt[] = "Mulva5.txt";
const char darvolExt[] = "Darvol.txt";
const char reseNoDiagExt[] = "Rese.txt";

char whichPrinda[48] = "NULL";
char whichEnvPrinda[48] = "NULL";
char whichEnvRese[48] = "NULL";
char whichEnvScores[48] = "NULL";
char whichEnvRank[48] = "NULL";
char whichHier[48] = "NULL";
char whichCstRese[48] = "NULL";
char whichNRese[48] = "NULL";
char whichPRese[48] = "NULL";
char whichRo[48] = "NULL";
char whichProbRo[48] = "NULL";
char whichScores[48] = "NULL";
char whichProbN[48] = "NULL";
char whichReClus[48] = "NULL";
char whichCstClus[48] = "NULL";
char whichAOCScor[48] = "NULL";
char whichComplexity[48] = "NULL";
char whichVelocity[48] = "NULL";
char whichRoVelComplex[48] = "NULL";

int hasHier = 0;
int hasCstRese = 0;
int hasCstClus = 0;
int hasNRese = 0;
int hasPRese = 0;
int hasProbN = 0;
int hasRo = 0;
int hasProbRo = 0;
int hasEnvRese = 0;
int hasScores = 0;
int hasReClus = 0;
int hasAOCScor = 0;
int hasEnvScores = 0;
int hasEnvRank = 0;
int hasComplexity = 0;
int hasVelocity = 0;
int hasRoVelComplex = 0;
int hasRoVelComplexPROB = 0;


void InitGlobals() {
  in = stdin;
  out = stdout;
  runMacro = 0;
  createMacro = 0;
  biplotCorrThreshold = 0.6f;
  isHierarchicalPref = 0;
  scatterHSize = scatterVSize = 0.0f;
  profileHSize = profileVSize = 0.0f;
  treeHSize = treeVSize = 0.0f;
  scatterPointSize = profilePointSize = 0;
  profileType = 1;
  drawProfPtsOpt = 'n';
  sDigits = 6;
  saveStruct = saveRndData = showMemory = 'n';
  countDoubleAbsence = 1;
  sqrtDissimOpt_RaoTraits = 1;
  sqrtDissimOpt_RaoPhyl = 0;
  maxColsPrint = INT_MAX;
  maxComponents = 6;
  nGroups = nPart = nCstGroups = nPartCst = rndTestOpt = 0;
  whichLevelGrCST = 1;
  SMWSize = 1;
  nProcessors = 0;
}

void AdjustClocks_Event() {
  // Ticks and calendar seconds are subtracted as they stand; nothing reads
  // the result, and a zero elapsed time gives an infinity, harmlessly.
  double elapsed = difftime(time(nullptr), timeStart);
  Clocks_Event = ((double)clock() - (double)timeStart) / elapsed * 2000 / 1000;
}

void InitIFLibG() {
  is40CharLine = 0;
  is80CharLine = 0;
  t1 = t2 = clock();
  timeStart = time(nullptr);
  AdjustClocks_Event();
}


void Menu(const char* title) {
  ClearLine();
  fprintf(out, "\n\n%-47s", title);
  if (strcmp(sessionName, "NULL") != 0) fprintf(out, "%23s", sessionShortName);
  fprintf(out, "\n%s\n", lineL);
}

void ClearLine() {
  if (is40CharLine == 1) {
    printf("\n");
    is40CharLine = 0;
  }
  if (is80CharLine == 1) {
    printf("\n");
    is80CharLine = 0;
  }
}

void ClearLineLength(int n) {
  (void)n;
  printf("\n");
}

void TimeStamp(FILE* stream) {
  time_t now = time(nullptr);
  const char* text = ctime(&now);
  fprintf(stream, "%s", text != nullptr ? text : "\n");
}

void HandleEventInfoWhere(const char* label) { (void)label; }

void HandleEventInfoWhere2(const char* label) {
  clock_t now = clock();
  if (now - t2 < 5) return;
  if (is40CharLine == 1 && (is80CharLine == 0 || is80CharLine == 1)) printf("\n");
  printf("%*.*s", 40, 40, label);
  printf("%*s", 40, " ");
  t2 = clock();
  is40CharLine = 1;
  is80CharLine = 1;
  fflush(stdout);
}

void Wait() {
  int c;
  while ((c = getchar()) != EOF) {
    if (iscntrl(c)) {
      ungetc(c, stdin);
      return;
    }
  }
  // Nothing more can arrive: the wait would never end.
  FailReport(FAIL_READ);
  exit(1);
}

void FreeGlobals1() {
  strcpy(whichPrinda, "NULL");
  strcpy(whichEnvPrinda, "NULL");
  hasHier = hasCstRese = hasCstClus = hasNRese = hasPRese = hasProbN = 0;
  hasRo = hasProbRo = hasEnvRese = hasScores = hasReClus = hasAOCScor = 0;
  hasEnvScores = hasEnvRank = hasComplexity = hasVelocity = 0;
  hasRoVelComplex = hasRoVelComplexPROB = 0;
  nPart = nGroups = nPartCst = nCstGroups = 0;
  whichLevelGrCST = 1;
}

void FreeGlobals2() {
  free2D(chLabel, nch);
  free2D(reLabel, ncsm);
  free3D(grLabelP, 10, ncsm);
  free3D(grCstLabelP, 10, tcst);
  free1D(nchor);
  free1D(weight);
  free1D(weight_OTUs);
  free1D(chtype);
  free1D(traitGroups);
  free1D(chrange);
  free1D(onsta);
  free1D(ncst);
  free1D(rcst);
  free1D(nGrPoly);
  free2D(cadat, tcst);
  free2D(csm_Float, tcst);
  if (nenv > 0) {
    free2D(env, ncsm);
    free2D(envLabel, nenv);
    free1D(envVarType);
  }
  free1D(relSelect);
  free1D(nGroupsP);
  free2D(groupRelP, 10);
  free2D(partLabel, 10);
  free1D(nGroupsCstP);
  free1D(whichLevelGrCstP);
  free2D(groupCstP, 10);
  free2D(partCstLabel, 10);
  free1D(partition_OTUs);
  if (nSpp >= 1) {
    free2D(spp, nSpp);
    free2D(sppRelMap, nSpp);
    free2D(cstSppMap, tcst);
  }
  // Cleared so that a second release, or one after a failed load, is harmless.
  chLabel = reLabel = envLabel = partLabel = partCstLabel = spp = sppRelMap = cstSppMap = nullptr;
  grLabelP = grCstLabelP = nullptr;
  nchor = chtype = traitGroups = onsta = ncst = rcst = nGrPoly = nullptr;
  weight_OTUs = envVarType = relSelect = nGroupsP = nGroupsCstP = nullptr;
  whichLevelGrCstP = partition_OTUs = nullptr;
  weight = chrange = nullptr;
  cadat = csm_Float = env = nullptr;
  groupRelP = groupCstP = nullptr;
  groupRel = groupCst = nullptr;
  grLabel = grCstLabel = nullptr;
}

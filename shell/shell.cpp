// Shell state and the start defaults of the console and the preferences.
#include "shell/shell.h"

#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
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
  rndTestOpt = 0;
  nProcessors = 0;
}

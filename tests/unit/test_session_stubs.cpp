// Weak stand-ins for shell state and services that the session tests link against;
// the shell's own definitions replace them wherever they are linked in.
#include <cstdio>
#include <ctime>

#define WEAK __attribute__((weak))

WEAK char volumeName[80] = "";
WEAK char whichTrack[48] = "NULL";
WEAK char whichFormda[48] = "NULL";
WEAK int dirtyOrig = 0;
WEAK char whichEnvRese[48] = "NULL";
WEAK char whichEnvScores[48] = "NULL";
WEAK char whichEnvRank[48] = "NULL";
WEAK char whichHier[48] = "NULL";
WEAK char whichCstRese[48] = "NULL";
WEAK char whichNRese[48] = "NULL";
WEAK char whichPRese[48] = "NULL";
WEAK char whichRo[48] = "NULL";
WEAK char whichProbRo[48] = "NULL";
WEAK char whichScores[48] = "NULL";
WEAK char whichProbN[48] = "NULL";
WEAK char whichReClus[48] = "NULL";
WEAK char whichCstClus[48] = "NULL";
WEAK char whichAOCScor[48] = "NULL";
WEAK char whichComplexity[48] = "NULL";
WEAK char whichVelocity[48] = "NULL";
WEAK char whichRoVelComplex[48] = "NULL";
WEAK int hasHier, hasCstRese, hasCstClus, hasNRese, hasPRese, hasProbN, hasRo, hasProbRo,
    hasEnvRese, hasScores, hasReClus, hasAOCScor, hasEnvScores, hasEnvRank, hasComplexity,
    hasVelocity, hasRoVelComplex, hasRoVelComplexPROB;
WEAK FILE* in = stdin;
WEAK FILE* out = stdout;
WEAK int runMacro = 0;

WEAK void HandleEventInfoWhere(const char*) {}

WEAK void TimeStamp(FILE* stream) {
  time_t now = time(nullptr);
  fprintf(stream, "%s", ctime(&now));
}

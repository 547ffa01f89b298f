// Program start, the three menus, the recovery point and the screen services.
#ifndef SHELL_SHELL_H
#define SHELL_SHELL_H

#include <cstdio>
#include <ctime>

// ---- Session naming ----
extern char sessionShortName[48];   // session name as typed, cut to 21 characters
extern char sessionName[48];        // stem of every session file name
extern char volumeName[80];         // directory prefix of session files (always empty)
extern char tempName[4112];         // scratch for a name as typed, before it is cut
extern char tempSession[48];        // session from which data is taken (31 characters)
extern char whichTrack[48];         // track file of the open session
extern char whichFormda[48];        // formatted data file that the session uses
extern char whichStructures[48];    // sessionName + structExt while saveStruct is 'y'
extern FILE* trackFp;               // the track file while it is open

// ---- Menu state ----
extern int optmain1;                // last answer at the session menu, upper case
extern int optmain;                 // last answer at the analysis menu, upper case
extern int dirtyOrig;               // 1 once an analysis altered the loaded matrices
extern void* gSpareBlockPtr;        // 20480 bytes obtained at start, never used

// ---- Screen and clock bookkeeping ----
extern int is40CharLine;            // 1 while a progress line owes a line end
extern int is80CharLine;            // second flag of the same kind
extern clock_t t1;                  // clock() at start
extern clock_t t2;                  // clock() at the latest progress line
extern time_t timeStart;            // time() at start
extern time_t time0;                // start of the latest permutation test or search
extern double Clocks_Event;         // recomputed by AdjustClocks_Event; unread
extern const char lineL[];          // rule of 70 hyphens
extern const char version[];        // program title and version, 70 characters

// ---- Other defaults set at start ----
extern float biplotCorrThreshold;   // correlation threshold of biplot vectors
extern int rndTestOpt;              // randomization test option

// ---- File name suffixes ----
extern const char trackExt[];       // "Trk.txt"
extern const char formdaExt[];      // "Formda.txt"
extern const char structExt[];      // "Str.txt"
extern const char prindaExt[];      // "Prinda.txt"
extern const char hierExt[];        // "Hie.txt"
extern const char rndDataExt[];     // "RDa.txt"
extern const char nReseExt[];       // "NRe.txt"
extern const char pReseExt[];       // "PRe.txt"
extern const char CstReseExt[];     // "CRe.txt"
extern const char scoresExt[];      // "Sco.txt"
extern const char chRankExt[];      // "ChRank.txt"
extern const char chRankFExt[];     // "ChFRank.txt"
extern const char probNExt[];       // "PrN.txt"
extern const char probRoExt[];      // "PRo.txt"
extern const char roExt[];          // "Ro.txt"
extern const char complexityExt[];  // "Complexity.txt"
extern const char velocityExt[];    // "Velocity.txt"
extern const char roVelComplexExt[];// "RoVelComplex.txt"
extern const char ePrindaExt[];     // "Prinda.txt"
extern const char eReseExt[];       // "ERe.txt"
extern const char eScoresExt[];     // "ESc.txt"
extern const char eRankExt[];       // "ERk.txt"
extern const char mulvaExt[];       // "Mulva5.txt"
extern const char darvolExt[];      // "Darvol.txt"
extern const char reseNoDiagExt[];  // "Rese.txt"

// ---- Result file names ("NULL" while none) ----
extern char whichPrinda[48];        // functional analysis report
extern char whichEnvPrinda[48];     // environmental report
extern char whichEnvRese[48];       // environmental resemblances
extern char whichEnvScores[48];     // environmental ordination scores
extern char whichEnvRank[48];       // ranking of environmental variables
extern char whichHier[48];          // hierarchical analysis results
extern char whichCstRese[48];       // OTU resemblances
extern char whichNRese[48];         // nominal community resemblances
extern char whichPRese[48];         // partial community resemblances
extern char whichRo[48];            // congruences
extern char whichProbRo[48];        // probabilities of congruences
extern char whichScores[48];        // community ordination scores
extern char whichProbN[48];         // probabilities of nominal resemblances
extern char whichReClus[48];        // community clustering
extern char whichCstClus[48];       // OTU clustering
extern char whichAOCScor[48];       // group contrast scores
extern char whichComplexity[48];    // complexity profiles
extern char whichVelocity[48];      // velocity profiles
extern char whichRoVelComplex[48];  // congruence of velocity and complexity

// ---- Flags that a result was computed ----
extern int hasHier;                 // hierarchical analysis
extern int hasCstRese;              // OTU resemblances
extern int hasCstClus;              // OTU clustering
extern int hasNRese;                // nominal community resemblances
extern int hasPRese;                // partial community resemblances
extern int hasProbN;                // probabilities of nominal resemblances
extern int hasRo;                   // congruences
extern int hasProbRo;               // probabilities of congruences
extern int hasEnvRese;              // environmental resemblances
extern int hasScores;               // community ordination scores
extern int hasReClus;               // community clustering
extern int hasAOCScor;              // group contrast scores
extern int hasEnvScores;            // environmental ordination scores
extern int hasEnvRank;              // ranking of environmental variables
extern int hasComplexity;           // complexity profiles
extern int hasVelocity;             // velocity profiles
extern int hasRoVelComplex;         // congruence of velocity and complexity
extern int hasRoVelComplexPROB;     // its probabilities

// ---- Start and menus ----
void mainInit();
void InitGlobals();
void InitIFLibG();
void AdjustClocks_Event();
void MainMenu();
void IFSession();

// ---- Screen services ----
void Menu(const char* title);
void ClearLine();
void ClearLineLength(int n);
void TimeStamp(FILE* stream);
void HandleEventInfoWhere(const char* label);
void HandleEventInfoWhere2(const char* label);
void Wait();

// ---- Release of session state ----
void FreeGlobals1();
void FreeGlobals2();

#endif

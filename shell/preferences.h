// User preferences: their globals, the preferences file and its dialogue.
#ifndef SHELL_PREFERENCES_H
#define SHELL_PREFERENCES_H

// Two preferences are owned by the units that read them, and declared there:
// maxColsPrint (widest table printed) and countDoubleAbsence (Gower index).
#include "TarnLib/tarnlibGower.h"
#include "TarnLib/tarnlibTables.h"

extern const char KOLVENPrefsName[]; // "KOLVEN.prf", in the current directory
extern const char versionPref[];     // version word of the file
extern int isHierarchicalPref;       // multi-level hierarchical analysis when applicable
extern float scatterHSize;           // scatter diagram width
extern float scatterVSize;           // scatter diagram height
extern int scatterPointSize;         // scatter diagram point size
extern float profileHSize;           // profile width
extern float profileVSize;           // profile height
extern int profileType;              // profile type
extern char drawProfPtsOpt;          // 'y' to draw profile points
extern int profilePointSize;         // profile point size
extern float treeHSize;              // tree width
extern float treeVSize;              // tree height
extern int sDigits;                  // significant digits on printouts
extern int maxComponents;            // ordination components kept
extern char saveStruct;              // 'y' to save structures
extern char saveRndData;             // 'y' to save randomization tables
extern char showMemory;              // 'y' to inform of free memory
extern int sqrtDissimOpt_RaoTraits;  // Rao entropy of traits on square roots
extern int sqrtDissimOpt_RaoPhyl;    // Rao entropy of phylogeny on square roots
extern int BealsIncludeOpt;          // target OTU counts in its own Beals estimate
extern double overfitFactorPCARegr;  // sample size / factor = most PCA predictors
extern char twoTailedTestMantel;     // one-byte flag: two-tailed Mantel p-values
extern int nProcessors;              // processors to use; 0 for all

void ReadPreferences();
// Threads to start: nProcessors, bounded by the processors of the machine; all
// of them for 0. The preference itself keeps the value that the user gave.
int ThreadsToStart();
void WritePreferences();
void SetPreferences();

#endif

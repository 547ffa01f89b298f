// User preferences: their globals, the preferences file and its dialogue.
#include "shell/preferences.h"

#include <omp.h>

#include <cctype>
#include <cstdio>
#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "shell/console.h"
#include "shell/shell.h"

const char KOLVENPrefsName[] = "KOLVEN.prf";
const char versionPref[] = "18Nov2016";
int isHierarchicalPref = 0;
float scatterHSize = 0.0f;
float scatterVSize = 0.0f;
int scatterPointSize = 0;
float profileHSize = 0.0f;
float profileVSize = 0.0f;
int profileType = 1;
char drawProfPtsOpt = 'n';
int profilePointSize = 0;
float treeHSize = 0.0f;
float treeVSize = 0.0f;
int sDigits = 6;
int maxComponents = 6;
char saveStruct = 'n';
char saveRndData = 'n';
char showMemory = 'n';
int sqrtDissimOpt_RaoTraits = 1;
int sqrtDissimOpt_RaoPhyl = 0;
int BealsIncludeOpt = 1;
double overfitFactorPCARegr = 2.0;
char twoTailedTestMantel = 1;
int nProcessors = 0;

// One character item, y or n.
static char ReadYesNo(FILE* fp) { return (char)ScanChar(fp, "y n", KOLVENPrefsName); }

int ThreadsToStart() {
  int available = omp_get_num_procs();
  // More threads than processors only slow the analyses down, and a count in
  // the hundred thousands is more than the threads library can start.
  return nProcessors > 0 && nProcessors < available ? nProcessors : available;
}

void ReadPreferences() {
  FILE* fp = fopen(KOLVENPrefsName, "r");
  if (fp == nullptr) return;
  char word[64];
  freadck(fp, "%63s", word, KOLVENPrefsName);
  if (strcmp(word, versionPref) != 0) {
    fclose(fp);
    return;
  }
  freadck(fp, "%d", &isHierarchicalPref, KOLVENPrefsName);
  freadck(fp, "%f", &scatterHSize, KOLVENPrefsName);
  freadck(fp, "%f", &scatterVSize, KOLVENPrefsName);
  freadck(fp, "%d", &scatterPointSize, KOLVENPrefsName);
  freadck(fp, "%f", &profileHSize, KOLVENPrefsName);
  freadck(fp, "%f", &profileVSize, KOLVENPrefsName);
  freadck(fp, "%d", &profileType, KOLVENPrefsName);
  drawProfPtsOpt = ReadYesNo(fp);
  freadck(fp, "%d", &profilePointSize, KOLVENPrefsName);
  freadck(fp, "%f", &treeHSize, KOLVENPrefsName);
  freadck(fp, "%f", &treeVSize, KOLVENPrefsName);
  freadck(fp, "%d", &sDigits, KOLVENPrefsName);
  freadck(fp, "%d", &maxColsPrint, KOLVENPrefsName);
  freadck(fp, "%d", &maxComponents, KOLVENPrefsName);
  saveStruct = ReadYesNo(fp);
  saveRndData = ReadYesNo(fp);
  showMemory = ReadYesNo(fp);
  freadck(fp, "%d", &countDoubleAbsence, KOLVENPrefsName);
  freadck(fp, "%d", &sqrtDissimOpt_RaoTraits, KOLVENPrefsName);
  freadck(fp, "%d", &sqrtDissimOpt_RaoPhyl, KOLVENPrefsName);
  freadck(fp, "%d", &BealsIncludeOpt, KOLVENPrefsName);
  freadck(fp, "%lf", &overfitFactorPCARegr, KOLVENPrefsName);
  // The flag is read as a double and only the first byte of that double
  // lands in it. That byte is 0 for 1.0 as for 0.0, so every valid file
  // turns the flag off at start; only the dialogue turns it on. Intended.
  double mantel = 0.0;
  freadck(fp, "%lf", &mantel, KOLVENPrefsName);
  memcpy(&twoTailedTestMantel, &mantel, 1);
  freadck(fp, "%d", &nProcessors, KOLVENPrefsName);
  fclose(fp);
}

void WritePreferences() {
  HandleEventInfoWhere("WritePreferences");
  FILE* fp = fopenck(KOLVENPrefsName, nullptr, "w");
  if (fp == nullptr) FailJump(FAIL_OPEN);
  fprintck(fprintf(fp, "%s\n", versionPref));
  fprintck(fprintf(fp, "%d\n", isHierarchicalPref));
  fprintck(fprintf(fp, "%f\n", scatterHSize));
  fprintck(fprintf(fp, "%f\n", scatterVSize));
  fprintck(fprintf(fp, "%d\n", scatterPointSize));
  fprintck(fprintf(fp, "%f\n", profileHSize));
  fprintck(fprintf(fp, "%f\n", profileVSize));
  fprintck(fprintf(fp, "%d\n", profileType));
  fprintck(fprintf(fp, "%c\n", drawProfPtsOpt));
  fprintck(fprintf(fp, "%d\n", profilePointSize));
  fprintck(fprintf(fp, "%f\n", treeHSize));
  fprintck(fprintf(fp, "%f\n", treeVSize));
  fprintck(fprintf(fp, "%d\n", sDigits));
  fprintck(fprintf(fp, "%d\n", maxColsPrint));
  fprintck(fprintf(fp, "%d\n", maxComponents));
  fprintck(fprintf(fp, "%c\n", saveStruct));
  fprintck(fprintf(fp, "%c\n", saveRndData));
  fprintck(fprintf(fp, "%c\n", showMemory));
  fprintck(fprintf(fp, "%d\n", countDoubleAbsence));
  fprintck(fprintf(fp, "%d\n", sqrtDissimOpt_RaoTraits));
  fprintck(fprintf(fp, "%d\n", sqrtDissimOpt_RaoPhyl));
  fprintck(fprintf(fp, "%d\n", BealsIncludeOpt));
  fprintck(fprintf(fp, "%g\n", overfitFactorPCARegr));
  fprintck(fprintf(fp, "%d\n", twoTailedTestMantel));
  fprintck(fprintf(fp, "%d\n", nProcessors));
  TimeStamp(fp);
  // A full disk shows only when the buffer is written out.
  if (fclose(fp) != 0) FailJump(FAIL_PRINT);
}

// A yes/no question: 0 for n, else 1.
static int AskFlag(const char* question) {
  fprintf(out, "%s", question);
  return ReadCharIn("y n") == 'n' ? 0 : 1;
}

// "return to main menu" also when the session menu called the dialogue.
static void ShowPreferencesMenu() {
  Menu("PREFERENCES");
  fprintf(out, "Set preferences of: \n");
  fprintf(out, "   F  output files \n");
  fprintf(out, "   G  Gower index\n");
  fprintf(out, "   R  Rao entropy\n");
  fprintf(out, "   B  Beals smoothing\n");
  fprintf(out, "   O  PCA regression\n");
  fprintf(out, "   T  permutaton tests based on Mantel correlations\n");
  fprintf(out, "   M  Multiprocessor use\n");
  fprintf(out, "   C  return to main menu \n");
  fprintf(out, "Type option: ");
}

void SetPreferences() {
  int option;
  do {
    ShowPreferencesMenu();
    option = toupper(ReadCharIn("F G R B O M C T"));
    switch (option) {
      case 'F': {
        fprintf(out, "\n%s\n", lineL);
        fprintf(out, "Number of significant digits on printouts (enter zero for default):\n");
        int digits = (int)ReadNumberIn("%d\n", "-", 0.0, 2147483647.0);
        sDigits = digits == 0 ? 6 : digits;
        fprintf(out, "Save tables and resemblances generated by randomization? y/n ");
        saveRndData = (char)ReadCharIn("y n");
        break;
      }
      case 'G':
        countDoubleAbsence = AskFlag(
            "Modify Gower similarity index to count matching absences in binary traits "
            "(default is yes)? y/n ");
        break;
      case 'R':
        sqrtDissimOpt_RaoTraits = AskFlag(
            "Use squared root dissimilarities for computing Rao entropy based on traits "
            "(default is yes)? y/n ");
        sqrtDissimOpt_RaoPhyl = AskFlag(
            "Use squared root dissimilarities for computing Rao entropy based on phylogeny "
            "(default is no)? y/n ");
        break;
      case 'B':
        BealsIncludeOpt = AskFlag(
            "Use target OTU value for estimating its own abundance by Beals smoothing "
            "(default is yes)? y/n ");
        break;
      case 'O':
        fprintf(out,
                "Specify the factor for limiting the number of predictors in PCA regression "
                "in relation to sample size n (default is 2, i.e., the maximum number of "
                "predictors (PCA axes) will be n/2): ");
        overfitFactorPCARegr = ReadNumberIn("%g\n", "-", 1.0, 3.4028234663852886e+38);
        break;
      case 'T':
        fprintf(out,
                "Generate two-tailed p-values for Mantel correlations (default is yes: "
                "two-tailed)? y/n ");
        twoTailedTestMantel = ReadCharIn("y n") == 'y' ? 1 : 0;
        break;
      case 'M':
        fprintf(out,
                "Specify the maximum number of processors to be used (enter zero for "
                "default, which is the maximum available): ");
        nProcessors = (int)ReadNumberIn("%d\n", "-", 0.0, 2147483647.0);
        break;
      case 'I':  // not among the accepted letters: set only through the file
        showMemory = AskFlag("Inform available free memory? y/n ") ? 'y' : 'n';
        break;
      case 'L':  // likewise
        isHierarchicalPref =
            AskFlag("\nMulti-level hierarchical analysis performed when applicable (y/n): ");
        break;
      case 'C':
        WritePreferences();
        break;
    }
  } while (option != 'C');
}

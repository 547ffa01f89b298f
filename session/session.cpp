// Definitions of the open session's state; defaults are those of a fresh start.
#include "session/session.h"

#include <cstring>

#include "TarnLib/tarnlibDim.h"
#include "shell/shell.h"

int nch = 0;
int tcst = 0;
int ncsm = 0;
int nenv = 0;
int nSpp = 0;
int nClados = 0;
int emptyReleves = 0;

double** csm_Float = nullptr;
double** cadat = nullptr;
double** env = nullptr;
char** chLabel = nullptr;
char** reLabel = nullptr;
char** envLabel = nullptr;
int* chtype = nullptr;
double* chrange = nullptr;
int* onsta = nullptr;
int* ncst = nullptr;
double ca_code[7] = {0, 0, 0, 0, 0, 0, 0};
int* traitGroups = nullptr;
int hasTraitGroups = 0;
int* envVarType = nullptr;
int optEnvVarType = 0;
int temEnvQuant = 0;
int temEnvQual = 0;
int temEnvBin = 0;
char** spp = nullptr;
char** sppRelMap = nullptr;
char** cstSppMap = nullptr;
int hasPhylogeny = 0;
int phylogenyMatrixType = 0;
double** phylogenyRese = nullptr;
double** phylogenyData = nullptr;
int* phylogenyVarType = nullptr;
int SMWSize = 1;
char dataName[320] = "";
char envName[336] = "";
char whichSpp[48] = "";

int* nchor = nullptr;
int* rcst = nullptr;
int* nGrPoly = nullptr;
double* weight = nullptr;
int* weight_OTUs = nullptr;
int* relSelect = nullptr;
int* partition_OTUs = nullptr;
int** cstTrack = nullptr;

int nPart = 0;
char** partLabel = nullptr;
int* nGroupsP = nullptr;
int** groupRelP = nullptr;
char*** grLabelP = nullptr;
int whichPart = 0;
int nGroups = 0;
int* groupRel = nullptr;
char** grLabel = nullptr;

int nPartCst = 0;
char** partCstLabel = nullptr;
int* nGroupsCstP = nullptr;
int** groupCstP = nullptr;
char*** grCstLabelP = nullptr;
int* whichLevelGrCstP = nullptr;
int whichCstPart = 0;
int nCstGroups = 0;
int* groupCst = nullptr;
char** grCstLabel = nullptr;
int whichPartAOC = 0;
int whichPartCstAOC = 0;
int whichLevelGrCST = 1;
int whichLevelCst = 0;

const char versionFormda[] = "97Sep08";
const char versionFormda_Traits[] = "08Jan18";
const char formdaMatrixTag[] = "25Jun2016";
const char formdaMatrixTagOld[] = "18Jan2008";

void InitSessionGlobals() {
  nGroups = nPart = nCstGroups = nPartCst = 0;
  whichLevelGrCST = 1;
  SMWSize = 1;
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

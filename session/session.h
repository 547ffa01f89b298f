// The open session's state: counts, matrices B, W, E, F, their labels and the partitions.
#ifndef SESSION_SESSION_H
#define SESSION_SESSION_H

// ---- Counts ----
extern int nch;          // number of traits
extern int tcst;         // number of OTUs
extern int ncsm;         // number of communities (sampling units)
extern int nenv;         // number of environmental variables; 0 without E
extern int nSpp;         // entries in the species list; 0 without one
extern int nClados;      // columns of phylogenyData
extern int emptyReleves; // communities left with no OTU, found by CheckData

// ---- Matrices and their descriptions ----
extern double** csm_Float;      // B [tcst][nch], OTUs as rows (doubles despite the name)
extern double** cadat;          // W [tcst][ncsm], OTUs as rows; -999 is missing
extern double** env;            // E [ncsm][nenv], communities as rows; -999 is missing
extern char** chLabel;          // trait labels [nch][11]
extern char** reLabel;          // community labels [ncsm][11]
extern char** envLabel;         // variable labels [nenv][11]
extern int* chtype;             // trait type [nch]: 1 dichot., 2 nominal, 3 interval/ratio, 4 ordinal
extern double* chrange;         // range of each type 3 trait [nch]; 0 after a load
extern int* onsta;              // distinct values of each trait [nch]
extern int* ncst;               // OTUs present in each community [ncsm]
extern double ca_code[7];       // place of an old table: read and ignored, written as zeros
extern int* traitGroups;        // group number of each trait [nch]
extern int hasTraitGroups;      // 1 when the user defined groups of traits
extern int* envVarType;         // variable type [nenv]: 1 binary, 2 nominal, 3 quantitative, 4 ordinal
extern int optEnvVarType;       // 1..5: kind of the variables of E as a whole
extern int temEnvQuant;         // 1 if some variable has type 3
extern int temEnvQual;          // 1 if some variable has type 2
extern int temEnvBin;           // 1 if some variable has type 1
extern char** spp;              // species list [nSpp][71]: label, blank, name
extern char** sppRelMap;        // '1' where species occurs in community [nSpp][ncsm]
extern char** cstSppMap;        // '1' where OTU belongs to species [tcst][nSpp]
extern int hasPhylogeny;        // 1 when matrix F is available
extern int phylogenyMatrixType; // 1 similarities, 3 distances, 2 table; other: none stored
extern double** phylogenyRese;  // F [tcst][tcst]
extern double** phylogenyData;  // table form of the phylogeny [tcst][nClados]
extern int* phylogenyVarType;   // type of each column of phylogenyData [nClados]
extern int SMWSize;             // split moving-window size of a pooled data set; 1 otherwise
extern char dataName[320];      // first line of the formatted file: name of the raw trait file
extern char envName[336];       // name of the raw environmental file
extern char whichSpp[48];       // name of the raw species file

// ---- Arrays allocated by the loader for the analyses ----
extern int* nchor;          // trait order, 1-based trait numbers [nch]
extern int* rcst;           // number of OTU types at each level [nch]
extern int* nGrPoly;        // polythetic groups at each level [nch]
extern double* weight;      // trait weights [nch]
extern int* weight_OTUs;    // OTU weights [tcst]
extern int* relSelect;      // selection mark of each community [ncsm]
extern int* partition_OTUs; // group of each OTU in the current partition of OTUs [tcst]
extern int** cstTrack;      // reserved [nch][tcst]; never released by FreeGlobals2

// ---- Partitions of communities (at most MAX_PARTITIONS) ----
#define MAX_PARTITIONS 10
extern int nPart;         // partitions of communities defined
extern char** partLabel;  // partition names [10][21]
extern int* nGroupsP;     // groups in each partition [10]
extern int** groupRelP;   // group of each community in each partition [10][ncsm]
extern char*** grLabelP;  // group labels [10][ncsm][5]
extern int whichPart;     // index of the current partition
extern int nGroups;       // current partition's group count
extern int* groupRel;     // current partition's row of groupRelP
extern char** grLabel;    // current partition's labels in grLabelP

// ---- Partitions of OTUs ----
extern int nPartCst;          // partitions of OTUs defined
extern char** partCstLabel;   // their names [10][21]
extern int* nGroupsCstP;      // groups in each [10]
extern int** groupCstP;       // group of each OTU in each partition [10][tcst]
extern char*** grCstLabelP;   // group labels [10][tcst][5]
extern int* whichLevelGrCstP; // level (1-based) of each partition of OTUs [10]
extern int whichCstPart;      // index of the current partition of OTUs
extern int nCstGroups;        // current partition's group count
extern int* groupCst;         // current partition's row of groupCstP
extern char** grCstLabel;     // current partition's labels in grCstLabelP
extern int whichPartAOC;      // partition of communities for the group contrast analyses
extern int whichPartCstAOC;   // partition of OTUs for the group contrast analyses
extern int whichLevelGrCST;   // level of the current OTU groups
extern int whichLevelCst;     // level selected by the analysis settings

// ---- Version words of the formatted file ----
extern const char versionFormda[];        // "97Sep08": tag before the environmental block
extern const char versionFormda_Traits[]; // "08Jan18": read by nobody
extern const char formdaMatrixTag[];      // "25Jun2016": tag before B and W
extern const char formdaMatrixTagOld[];   // "18Jan2008": older tag, no trait groups

// ---- Start and release of the session state ----
// No partitions, level 1, one moving window: the state at program start.
void InitSessionGlobals();
// Forgets the results and partitions of the session that closes.
void FreeGlobals1();
// Releases the session's matrices and labels; pointers are cleared, so a
// second release is harmless.
void FreeGlobals2();

#endif

// The session track file: its reader and writer, the settings it alone carries, and GetPrindaMode.
#ifndef SESSION_TRACK_H
#define SESSION_TRACK_H

// ---- Settings carried by the track file ----
extern int isHierarchical;      // 1 for a hierarchical analysis of the traits
extern int traitBasedOpt;       // 1 composition of types, 2 trait averages (traitBasedOptInfo)
extern int hasVegOrdiCorrel;    // flag: community ordination correlations computed
extern int hasEnvOrdiCorrel;    // flag: environmental ordination correlations computed
extern int optEnvStruct;        // environmental structure criterion (optEnvStructInfo)
extern int rese_opt;            // resemblance function between communities (rese_optInfo)
extern int reseCstOpt;          // resemblance function between OTUs (reseCSToptInfo)
extern int part;                // 1 mixed, 2 quantitative, 3 qualitative (partInfo, part - 1)
extern int fuzzy;               // 0 crisp .. 3 fuzzy belonging of OTUs to types (fuzzyInfo)
extern double fuzziness;        // degree of fuzziness; 1.0 when fuzzy is 3
extern int reseTypeOrd;         // 1 nominal, 2 partial, 3 probabilities (rese_typeInfo, value - 1)
extern int reseTypeClus;        // as reseTypeOrd
extern int reseTypeEv;          // as reseTypeOrd
extern int reseTypeRnd;         // as reseTypeOrd
extern int reseTypeERank;       // as reseTypeOrd
extern int cohe;                // community structure criterion (coheInfo)
extern int groupDissMeth;       // dissimilarity between groups (groupDissMethInfo)
extern int empir_opt;           // null model hypothesis (empir_optInfo)
extern int keepRichness;        // richness rule of the null model (keepRichnessInfo)
extern int envVecTrOpt;         // option read at the short-form test; never written
extern int doDistrib;           // flag kept in the track file
extern int adjacentRelOpt;      // option kept in the track file
extern int poolCSTopt;          // 1 monothetic, 2 polythetic (poolCSToptInfo)
extern int clusMethPoolCSTs;    // clustering method defining types (clusMethInfo)
extern char prindaMode[4];      // fopen mode of a result file, "w" or "a", set by GetPrindaMode
extern const char versionTrack[]; // "07Jul17": version word of the track file

// ---- Option texts of the settings (index = option - 1 unless noted) ----
extern const char* partInfo[3];          // part
extern const char* fuzzyInfo[4];         // fuzzy (index = fuzzy)
extern const char* rese_optInfo[10];     // rese_opt
extern const char* reseCSToptInfo[2];    // reseCstOpt
extern const char* traitBasedOptInfo[2]; // traitBasedOpt
extern const char* poolCSToptInfo[2];    // poolCSTopt
extern const char* clusMethInfo[6];      // clusMethPoolCSTs (index = method)
extern const char* groupDissMethInfo[4]; // groupDissMeth
extern const char* empir_optInfo[5];     // empir_opt
extern const char* keepRichnessInfo[2];  // keepRichness
extern const char* coheInfo[7];          // cohe
extern const char* optEnvStructInfo[5];  // optEnvStruct
extern const char* rese_typeInfo[3];     // reseTypeOrd and companions

// Reads volumeName + whichTrack into the settings and partitions; a short form,
// or a file of another version (with a warning), leaves every setting as it is.
// Opening failure raises code 4; a file cut short or malformed raises code 2.
// Returns 1.
int ReadTrack();
// Writes whichTrack: the short form (formatted file name and version) when
// `full` is 0, every row otherwise. Opening failure raises code 4.
void WriteTrack(char full);
// Sets prindaMode for the result file `name`: "w" when it does not exist,
// "a" under a running macro, otherwise the user's choice.
void GetPrindaMode(const char* name);

#endif

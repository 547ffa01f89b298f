// The session track file: reader, writer, the settings it carries, and GetPrindaMode.
#include "shell/track.h"

int isHierarchical = 0;
int traitBasedOpt = 0;
int hasVegOrdiCorrel = 0;
int hasEnvOrdiCorrel = 0;
int optEnvStruct = 0;
int rese_opt = 0;
int reseCstOpt = 0;
int part = 0;
int fuzzy = 0;
double fuzziness = 0.0;
int reseTypeOrd = 0;
int reseTypeClus = 0;
int reseTypeEv = 0;
int reseTypeRnd = 0;
int reseTypeERank = 0;
int cohe = 0;
int groupDissMeth = 0;
int empir_opt = 0;
int keepRichness = 0;
int envVecTrOpt = 0;
int doDistrib = 0;
int adjacentRelOpt = 0;
int poolCSTopt = 0;
int clusMethPoolCSTs = 0;
char prindaMode[4] = "w";
const char versionTrack[] = "07Jul17";

const char* partInfo[3] = {"mixed", "quantitative", "qualitative"};
const char* fuzzyInfo[4] = {"none (crisp)", "fuzzy global", "fuzzy pairwise",
                            "fuzzy (fuzzy belonging of OTUs to types)"};
const char* rese_optInfo[10] = {
    "1 (information divergence within rows)", "2 (information divergence mutual)",
    "3 (cross product uncentered data)",      "4 (cross product centered data)",
    "5 (correlation coefficient)",            "6 (Euclidean distance)",
    "7 (relative Euclidean distance)",        "8 (absolute value function)",
    "9 (relative absolute value function)",   "10 (chord distance)"};
const char* reseCSToptInfo[2] = {"1 (Gower index)", "2 (Euclidean distance)"};
const char* traitBasedOptInfo[2] = {"1 (composition of types)",
                                    "2 (trait averages at community level)"};
const char* poolCSToptInfo[2] = {"1 (monothetic)", "2 (polythetic)"};
const char* clusMethInfo[6] = {"0 (none)",           "1 (single linkage)",
                               "2 (complete linkage)", "3 (sum of squares)",
                               "4 (average linkage UPGMA)", "5 (average linkage WPGMA)"};
const char* groupDissMethInfo[4] = {"1 (average dissimilarity)", "2 (nearest neighbor)",
                                    "3 (sum of squares between groups)",
                                    "4 (ratio of between/within groups sum of squares)"};
const char* empir_optInfo[5] = {
    "1 (random composition hypothesis)", "2 (random taxon hypothesis)",
    "3 (random partition hypothesis)", "4 (random community location hypothesis)",
    "5 (random composition and random community location combined)"};
const char* keepRichnessInfo[2] = {"\xE2\x89\xA4 richness in observed community",
                                   "= richness in observed community"};
const char* coheInfo[7] = {
    "1 (congruence community/environmental resemblance)",
    "2 (congruence community ordination axes/environmental resemblance)",
    "3 (divergence community groups)",
    "4 (trait redundancy in community data structure)",
    "5 (correlation community ordination axes/environmental variables)",
    "6 (sharpness of information structure)",
    "7 (group homogeneity)"};
const char* optEnvStructInfo[5] = {
    "1 (structural redundancy)",
    "2 (congruence environmental resemblance/community resemblance)",
    "3 (convergence community groups)",
    "4 (congruence environmental resemblance/community ordination axes)",
    "5 (divergence of community groups)"};
const char* rese_typeInfo[3] = {"nominal resemblances", "partial resemblances",
                                "probabilities of nominal resemblances"};

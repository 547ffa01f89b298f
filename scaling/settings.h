// The functional analysis settings dialogue (entry H) and the settings it writes that the track file does not carry.
#ifndef SCALING_SETTINGS_H
#define SCALING_SETTINGS_H

// The partition dialogue (SettingAnyGroups, GetPartition, whichObj) is the
// session's; its users see it here as well.
#include "session/groups.h"

// ---- Types of OTUs ----
extern bool OTUsTypesAreSpecies;         // the types are the species of the formatted file
extern int reseCSTopt;                   // resemblance between OTUs: 1 Gower index (always 1)

// ---- Permutation tests ----
extern bool optRndTests;                 // permutation tests of the final correlations wanted
extern int niter;                        // iterations, the observed arrangement counted first
extern int optTaxaSiteShuffle;           // null model: 't' taxa shuffle, 's' site shuffle
extern bool optWeightedNullModel;        // weighted null model (no question sets it)
extern int optRestrictPermutNullModel;   // 0 unrestricted, 1 within nesting groups of OTUs
extern int* nestingMembershipOTUs;       // [tcst] nesting group of each OTU (with restriction)

// ---- Congruence and resemblance ----
extern int opt_ro;                       // 1 Mantel matrix correlation, 2 Procrustes, 3 RV
extern int printNRese;                   // 'y'/'n': print nominal resemblances
extern int printReseFree;                // 'y'/'n': print them in free format
extern int printPRese;                   // 'y'/'n': print partial resemblances

// ---- Traits, OTUs and community data ----
extern bool restrictRaoWithinOpt;        // Rao entropy only over pairs of selected OTUs
extern bool optUnitTotalAdjust1;         // W2 at unit totals (set by the run itself)
extern bool optUnitTotalAdjust2;         // W1 at unit totals before TDAP is evaluated
extern bool optCoVariable;               // last variable of E as covariable (never asked)
extern int printDetail;                  // 1 when the detailed results are printed

// ---- Phylogeny in the run ----
extern bool includePhylogeny;            // the phylogeny enters the run
extern int* partition_OTUs_Phyl;         // [tcst] taxon of each OTU (copy of the types)
extern int nTaxa;                        // number of taxa in partition_OTUs_Phyl
extern int fuzzyPhyl;                    // 1 fuzzy belonging of OTUs to taxa

// ---- Shared with the trait ranking ----
extern int opt_struct;                   // ranking criterion; its shorter dialogue paths

// ---- Option texts of the report header ----
extern const char* opt_roInfo[3];        // by opt_ro - 1
extern const char* YesNotInfo[2];        // by flag: "not", "yes"

// Entry H of the analysis menu: dialogue, scaling-up run, full track file.
void IFHierarchicalAccum();
// The long settings dialogue (optmain 'H'), or its shorter paths for the
// trait ranking (optmain 'K').
void SettingsHierarchy();
// Resemblance function (and printouts) for the object whichObj.
void SettingsRese();
// Asks a resemblance function into *option; `text` is not used.
void SettingReseFunction(int* option, const char* text);
// Hierarchical level into *level (1 unless the analysis is hierarchical).
void SettingWhichLevel(int* level);
// Divides the weights of the traits of each trait group that holds selected
// traits (weight above 0) by the number of its selected traits.
void WeightsByTraitGroups(int nTraits, int* groups, double* weights);
// Seed dialogue: seedOpt, rseed, then InitRndNumberGenerator(rseed).
void SettingRandomSeed();

#endif

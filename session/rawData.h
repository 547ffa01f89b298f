// New session data from raw files: the IFFormat dialogue and the checks on species and OTUs of a data set.
#ifndef SESSION_RAWDATA_H
#define SESSION_RAWDATA_H

// The dialogue that reads B, W and optionally F, species names and E from raw
// free-format files, fills the session globals and writes whichFormda.
// Releases its arrays at the end; the session loads the new file afterwards.
// Returns 1.
int IFFormat();

// Builds the species list from the tcst lines of spp: identity map, identical
// names merged, and with labels 2 a 4-character label made for each entry.
void CheckSpecies(int labels);
// sppRelMap from cadat: '1' where an OTU of the species is present (not 0).
void SpeciesReleveMap();
// Cleans a cut-down data set: drops OTUs absent everywhere, merges species,
// counts ncst and emptyReleves, recounts states when `recount` is 1.
void CheckData(int recount);
// Drops species without OTUs or without occurrences, clears OTU marks with no
// shared occurrence, and releases the rows behind the new nSpp.
void TrimSpecies(int nOTUs);
// Merges entries of spp with the same text (one position moves per merge).
void CheckSpeciesMerge();
// The trait labelled "sp" becomes a code of species: the first OTU's index.
void CheckCSTsSameSpecies();
// 1 if the first 4 characters of `label` equal those of one of labels[0..n-1].
int CheckIdenticalLabels(const char* label, char** labels, int n);
// 1 if some of the n types is 2 (nominal).
int HasQualitTrait(int n, int* types);

#endif

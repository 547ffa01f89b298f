// The dialogue of a partition of communities or OTUs into groups: labels,
// membership from the keyboard or from the session's clustering record.
#ifndef SESSION_GROUPS_H
#define SESSION_GROUPS_H

extern int whichObj;  // object of the resemblance and partition dialogues: 'r' communities, 'c' OTUs

// Asks a partition of n objects ("communities" or another plural in `what`).
void SettingAnyGroups(int n, int* nGroups, int* membership, char** groupLabels,
                      const char* what);
// Partition of level nGroups from the session's clustering record of
// objectKind ('r' communities, else OTUs); labels renumbered from 1.
void GetPartition(int n, int nGroups, int* membership, char objectKind);

#endif

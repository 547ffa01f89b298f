// A new session's data taken from another session: selections of traits, OTUs, communities and variables, and the poolings of communities.
#ifndef SESSION_DERIVEFORMDA_H
#define SESSION_DERIVEFORMDA_H

// The dialogue "GETTING DATA FROM ANOTHER SESSION" on the session whose file
// whichFormda names (tempSession names that session). Writes sessionName +
// formdaExt, whose first line names the source file; on return the session
// arrays hold the new data and whichFormda names the new file.
void PickSomeFormda();

// Asks the labels of the nOld / 2 new communities (into labels, 5 bytes
// each) and how the two communities of each pair stand in the file; group
// gets the pair number of each community. With the order "each 2nd follows
// its 1st" the numbers are 1, 1, 3, 3, ..., not 1 to nNew: intended. An odd
// nOld under that order writes group[nOld], so group must hold nOld + 1.
void SettingNewReleves(int nOld, int* nNew, int* group, char** labels);

// target[g][h] (nRowGroups x nColGroups) = the block of source rows of group
// g + 1 and columns of group h + 1: with mode 1 its mean scaled so that the
// grand total is kept, with any other mode its mean. Group numbers from 1.
void ConcentrateGroups(int nRows, int nCols, double** source, double** target, int nRowGroups,
                       int* rowGroup, int nColGroups, int* colGroup, int mode);

// target (nRows x nGroups) = for each group g, its columns c taken in order:
// target[r][g - 1] = source[r][c] - target[r][g - 1]. Two columns give the
// second minus the first.
void ReleveChange(int nColumns, double** source, double** target, int nRows, int nGroups,
                  int* group);

// Moving means of `size` consecutive columns (alongRows false) or rows
// (alongRows true): *nNew = count + 1 - size, and entry j is the mean of
// columns (rows) j to j + size - 1.
void SplitMovingWinPool(int nRows, int nCols, double** source, double** target, int size,
                        int* nNew, bool alongRows);

#endif

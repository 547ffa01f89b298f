// A new session from the formatted files of two sessions that describe the same traits.
#ifndef SESSION_MERGEFORMDA_H
#define SESSION_MERGEFORMDA_H

// With the first session loaded and dataName holding its file name, reads
// volumeName + secondFile beside it, checks that the two fit, and writes
// sessionName + formdaExt from the merged state. Returns 1 on success; 0
// after a message when the files do not fit, with the state left as the
// first session's and nothing written. A second file that ends early or
// holds text where a number stands raises code 2.
int MergeFormda(char* secondFile);

#endif

// The menu that puts data into a new session.
#ifndef SESSION_SETFORMDA_H
#define SESSION_SETFORMDA_H

// Menu "DATA FOR SESSION". Returns 1 when the user leaves without data, else 0:
// whichFormda then names the file to load and the short track file is written.
int SetFormda();

#endif

// The top of the program: its start, the main, session and analysis menus,
// and the recovery point. Only the program's entry includes this header.
#ifndef SHELL_MENUS_H
#define SHELL_MENUS_H

// Start sequence: defaults, banner, then the main menu; never returns.
void mainInit();
// The main menu, until X.
void MainMenu();
// The session menu of the named session, under the recovery point.
void IFSession();

#endif

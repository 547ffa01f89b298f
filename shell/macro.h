// Recording and replaying answers (macro mode).
#ifndef SHELL_MACRO_H
#define SHELL_MACRO_H

void IFMacro();

#endif

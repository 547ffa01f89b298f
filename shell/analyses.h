// Entries from the menus into the analyses built in their own subsystems.
#ifndef SHELL_ANALYSES_H
#define SHELL_ANALYSES_H

void IFHierarchicalAccum();                                 // H: functional analysis
void IFChOrderSearch();                                     // K: trait ranking
void IFAssemblyRulesSimulation_EnvFeedback_TypeI_II_Error(); // A: assembly simulation

#endif

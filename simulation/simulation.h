// Community assembly simulation, the hidden option A of the main menu.
#ifndef SIMULATION_SIMULATION_H
#define SIMULATION_SIMULATION_H

// The simulation is not part of this version; as the menu keeps silent about
// the option, so does its entry: it returns to the main menu at once.
void IFAssemblyRulesSimulation_EnvFeedback_TypeI_II_Error();

#endif

// Community assembly simulation entry of the main menu.
#include "simulation/simulation.h"

void IFAssemblyRulesSimulation_EnvFeedback_TypeI_II_Error() {}

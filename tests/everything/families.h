// The scenarios of each folder of operations.
#ifndef EVERYTHING_FAMILIES_H
#define EVERYTHING_FAMILIES_H

#include "everything/scene.h"

namespace everything {

using Scenarios = std::vector<Scenario>;

Scenarios frameScenarios();
Scenarios arithScenarios();
Scenarios moveScenarios();
Scenarios filterScenarios();
Scenarios geometryScenarios();
Scenarios transformScenarios();
Scenarios colorScenarios();
Scenarios alphaScenarios();
Scenarios toneScenarios();

// A tile that a standard walk can't have.
inline constexpr const char* noTileOfWalk = "-5 $ * (*->tileInfo->tileData == *";

} // namespace everything

#endif

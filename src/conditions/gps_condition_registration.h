// Registration of the GPS condition kinds (position, altitude, speed, direction, metadata).
#pragma once

#include "rules/element_registry.h"

namespace lmk {

/// Fills the factory slots of the GPS condition kinds in registry; throws std::invalid_argument
/// when registry does not know one of the kinds.
void RegisterGpsConditions(CElementRegistry& registry);

}  // namespace lmk

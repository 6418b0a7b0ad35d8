// Registration of the condition kinds that this library implements, GPS ones included.
#pragma once

#include "rules/element_registry.h"

namespace lmk {

/// Fills the factory slots of every condition kind implemented here (each serves as
/// "Condition.<Kind>" and "Exception.<Kind>") and of the GPS kinds. The script condition is not
/// among them. Throws std::invalid_argument when registry does not know one of the kinds.
void RegisterConditions(CElementRegistry& registry);

}  // namespace lmk

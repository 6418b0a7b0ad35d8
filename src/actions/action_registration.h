// Registration of the action kinds that this library implements.
#pragma once

#include "rules/element_registry.h"

namespace lmk {

/// Fills the factory slots of "Action.Copy", "Action.Move", "Action.Link", "Action.Rename" and
/// "Action.Delete". Throws std::invalid_argument when registry does not know one of the kinds.
void RegisterActions(CElementRegistry& registry);

}  // namespace lmk

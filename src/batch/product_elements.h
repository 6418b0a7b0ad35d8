// The element kinds this product implements, registered once in the product registry.
#pragma once

#include "rules/element_registry.h"

namespace lmk {

/// The product registry with every implemented condition and action kind registered (once,
/// whichever thread asks first). Call before loading a rule set: a kind without a factory is
/// refused by name.
CElementRegistry& ProductElements();

}  // namespace lmk

// Fills the product registry with the conditions and actions built into this module.
#include "batch/product_elements.h"

#include <mutex>

#include "actions/action_registration.h"
#include "conditions/condition_registration.h"

namespace lmk {

CElementRegistry& ProductElements() {
  static std::once_flag once;
  CElementRegistry& registry = CElementRegistry::Product();
  std::call_once(once, [&registry] {
    RegisterConditions(registry);
    RegisterActions(registry);
  });
  return registry;
}

}  // namespace lmk

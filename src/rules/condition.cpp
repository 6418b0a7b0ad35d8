// Conditions and exceptions: the role follows the exception bit.
#include "rules/condition.h"

namespace lmk {

ElementRole CCondition::Role() const {
  return IsException() ? ElementRole::Exception : ElementRole::Condition;
}

void CCondition::SetException(bool exception) {
  SetFlags(exception ? (Flags() | kExceptionFlag) : (Flags() & ~kExceptionFlag));
}

}  // namespace lmk

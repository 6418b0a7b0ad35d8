// CMarkedForDeletionCondition: tests the viewer's mark for deletion of an image.
#pragma once

#include "conditions/flag_condition.h"

namespace lmk {

/// "Condition.MarkedForDeletion": holds when "Misc.MarkedForDeletionFlag" is not 0 (named parameter
/// "marked: true"), or when it is 0 ("marked: false").
class CMarkedForDeletionCondition : public CFlagCondition {
 public:
  CMarkedForDeletionCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk

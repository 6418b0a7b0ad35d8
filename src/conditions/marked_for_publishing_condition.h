// CMarkedForPublishingCondition: tests the viewer's mark for publishing of an image.
#pragma once

#include "conditions/flag_condition.h"

namespace lmk {

/// "Condition.MarkedForPublishing": holds when "Misc.MarkedForPublishingFlag" is not 0 (named
/// parameter "marked: true"), or when it is 0 ("marked: false").
class CMarkedForPublishingCondition : public CFlagCondition {
 public:
  CMarkedForPublishingCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk

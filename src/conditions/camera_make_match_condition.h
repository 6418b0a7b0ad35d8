// CCameraMakeMatchCondition: matches the camera make of an image.
#pragma once

#include "conditions/pattern_condition.h"

namespace lmk {

/// "Condition.CameraMakeMatch": "Meta.CameraMake" (as text) matches the pattern; an empty value
/// never matches. Named parameters: "pattern" and "syntax" (wildcards | regex).
class CCameraMakeMatchCondition : public CPatternCondition {
 public:
  CCameraMakeMatchCondition();

  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk

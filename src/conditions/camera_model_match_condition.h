// CCameraModelMatchCondition: matches the camera model of an image.
#pragma once

#include "conditions/pattern_condition.h"

namespace lmk {

/// "Condition.CameraModelMatch": "Meta.CameraModel" (as text) matches the pattern; an empty value
/// never matches. Named parameters: "pattern" and "syntax" (wildcards | regex).
class CCameraModelMatchCondition : public CPatternCondition {
 public:
  CCameraModelMatchCondition();

  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk

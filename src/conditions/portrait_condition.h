// CPortraitCondition: tests whether an image is taller than it is wide.
#pragma once

#include "conditions/flag_condition.h"

namespace lmk {

/// "Condition.Portrait": with "portrait: true" holds when "Image.NativeHeight" is greater than
/// "Image.NativeWidth"; with "portrait: false" when it is not (a square image is not portrait).
class CPortraitCondition : public CFlagCondition {
 public:
  CPortraitCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk

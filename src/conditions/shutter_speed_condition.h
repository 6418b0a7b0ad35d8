// CShutterSpeedCondition: compares the shutter speed of an image with a row of its table.
#pragma once

#include "conditions/table_condition.h"

namespace lmk {

/// "Condition.ShutterSpeed" on "Meta.ExposureTime" (coerced to VT_R8), against the value of a row
/// of ShutterSpeedTable(); values within 0.00001 are equal. "<" holds for a shorter exposure, ">"
/// for a longer one. Named parameters: "compare" (=, <>, <, <=, >, >=) and "shutter-speed", a row's
/// exposure time ("1/250s" or "1/250").
class CShutterSpeedCondition : public CTableCondition {
 public:
  CShutterSpeedCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk

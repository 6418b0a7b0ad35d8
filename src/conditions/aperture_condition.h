// CApertureCondition: compares the aperture of an image with a row of its table.
#pragma once

#include "conditions/table_condition.h"

namespace lmk {

/// "Condition.Aperture" on "Meta.FNumber" (coerced to VT_R8), against the value of a row of
/// ApertureTable(); values within 0.00001 are equal. The aperture compares the opening, not the
/// f-number: "<" holds for a larger f-number (a smaller opening), ">" for a smaller one; "=" and
/// "<>" as usual. Named parameters: "compare" (=, <>, <, <=, >, >=) and "aperture", a row's
/// f-number ("f/4" or "4").
class CApertureCondition : public CTableCondition {
 public:
  CApertureCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk

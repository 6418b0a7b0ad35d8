// CLabelCondition: compares the XMP label of an image.
#pragma once

#include "conditions/packed_condition.h"

namespace lmk {

/// "Condition.Xmp.Label" on "Meta.XMP.Label" (coerced to VT_I4). Named parameters: "compare" (=,
/// <>, <,
/// <=, >, >=, not set) and "label". The packed comparison; "not set" holds when the low 28
/// bits of the value are all set. A word without operator fails with E_UNEXPECTED.
class CLabelCondition : public CPackedCondition {
 public:
  CLabelCondition();

  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk

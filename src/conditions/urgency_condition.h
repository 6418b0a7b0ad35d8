// CUrgencyCondition: compares the Photoshop urgency of an image.
#pragma once

#include "conditions/packed_condition.h"

namespace lmk {

/// "Condition.Photoshop.Urgency" on "Meta.Photoshop.Urgency" (coerced to VT_I4). Named parameters:
/// "compare" (=, <>, <,
/// <=, >, >=, not set) and "urgency". The packed comparison; "not set" holds when the low 28
/// bits of the value are all set. A word without operator fails with E_UNEXPECTED.
class CUrgencyCondition : public CPackedCondition {
 public:
  CUrgencyCondition();

  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk

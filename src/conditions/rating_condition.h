// CRatingCondition: compares the XMP rating of an image.
#pragma once

#include "conditions/packed_condition.h"

namespace lmk {

/// "Condition.Xmp.Rating" on "Meta.XMP.Rating" (coerced to VT_I4). Named parameters: "compare"
/// (=, <>, <, <=, >, >=, not set) and "rating". The packed comparison, with three turns that keep
/// unrated files (rating 0) out of "less" answers: "<" holds only for an operand of at least 2,
/// "<=" only for a rating of at least 1, and "not set" holds for 0 and for a value whose low 28
/// bits are all set. A word without operator fails with E_UNEXPECTED.
class CRatingCondition : public CPackedCondition {
 public:
  CRatingCondition();

  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk

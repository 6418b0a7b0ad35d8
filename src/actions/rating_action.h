// CRatingAction: "Action.SetXMPRating" gives the picture a rating, or one star more or less.
#pragma once

#include "actions/metadata_action.h"

namespace lmk {

/// Sets the XMP rating: -1 (rejected), 0 (none), 1 to 5 stars, or one more / one less. A host
/// that renames the file on a write has the record follow the new name.
class CRatingAction : public CMetadataAction {
 public:
  CRatingAction();
  std::wstring Description() const override;

 protected:
  std::int16_t UpperBound() const override { return 5; }
  HRESULT WriteToHost(ILumarkoHost& host, ULONGLONG cookie, std::int16_t value) const override;
  /// rating: -1 | rejected | 0 | none | 1..5 | one-more | one-less.
  void ExchangeParameters(CParamArchive& archive) override;
};

}  // namespace lmk

// CUrgencyAction: "Action.SetPhotoshopUrgency" sets the picture's Photoshop urgency.
#pragma once

#include "actions/metadata_action.h"

namespace lmk {

/// Sets the Photoshop urgency: 0 (none) to 9, or one more / one less.
class CUrgencyAction : public CMetadataAction {
 public:
  CUrgencyAction();
  std::wstring Description() const override;

 protected:
  std::int16_t UpperBound() const override { return 9; }
  HRESULT WriteToHost(ILumarkoHost& host, ULONGLONG cookie, std::int16_t value) const override;
  /// urgency: 0 | none | 1..9 | one-more | one-less.
  void ExchangeParameters(CParamArchive& archive) override;
};

}  // namespace lmk

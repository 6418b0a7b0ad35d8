// CLabelAction: "Action.SetXMPLabel" gives the picture a colour label of a labelling convention.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "actions/metadata_action.h"

namespace lmk {

/// The entries of the label dialog's list, as (value, text): "Not set" (0), then "1 - <name>"
/// for each name the host gives for the convention, then the two steps (kOneMore, kOneLess)
/// "+1 (relative to current value)" and "-1 (relative to current value)". The host's failure
/// (no such convention) comes back as is.
[[nodiscard]] HRESULT LabelDialogEntries(ILumarkoHost& host, std::int16_t convention,
                                         std::vector<std::pair<std::int16_t, std::wstring>>* out);

/// Sets the XMP label: 0 (none), 1 to 5 (convention below 1) or 1 to 9 (any other convention),
/// or one more / one less. The host writes the label's name under the convention.
class CLabelAction : public CMetadataAction {
 public:
  CLabelAction();
  std::int16_t Convention() const { return convention_; }
  void SetConvention(std::int16_t convention) { convention_ = convention; }

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

 protected:
  std::int16_t UpperBound() const override { return convention_ < 1 ? 5 : 9; }
  HRESULT WriteToHost(ILumarkoHost& host, ULONGLONG cookie, std::int16_t value) const override;
  /// Also Meta.XMP.LabellingConvention.
  HRESULT StoreInRecord(IDictionary& record, std::int16_t value) const override;
  /// Version 1: the value, then the convention.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  /// convention: a number (0: five labels, else nine); label: a number, a colour name,
  /// none, one-more or one-less.
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  std::int16_t convention_ = 0;
};

}  // namespace lmk

// CFileTypeCondition: tests the type of a file by the extension of its name.
#pragma once

#include <string>

#include "conditions/file_type_choice.h"
#include "conditions/record_condition.h"

namespace lmk {

/// "Condition.FileType" on "File.Name": the extension of the name (after its last dot, without
/// it; empty when the name has no dot) is JPEG ("jpg", "jpeg", "jpe", "jfif", "exif" in any
/// case), is not JPEG, or matches the custom list by the wildcard rule. Named parameters:
/// "type" (jpeg | not-jpeg | custom) and "patterns" ("cr2|nef|r?f": extensions without their
/// dot, "|"-separated, "*" and "?" allowed).
class CFileTypeCondition : public CRecordCondition {
 public:
  CFileTypeCondition();

  DWORD Mode() const { return mode_; }
  const std::wstring& CustomList() const { return customList_; }
  void Set(DWORD mode, std::wstring customList) {
    mode_ = mode;
    customList_ = std::move(customList);
  }

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  /// E_UNEXPECTED for an unknown type mode.
  HRESULT Test(IDictionary& record) const override;
  /// The 32-bit type mode, then the custom list.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  DWORD mode_ = 0;
  std::wstring customList_;
};

}  // namespace lmk

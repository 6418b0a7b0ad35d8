// CSiblingCondition: tests whether an image has (or lacks) a sibling file of a chosen type: the
// same name with another extension, as the host groups them ("IMG_0001.jpg" and ".cr2").
#pragma once

#include <string>

#include "conditions/file_type_choice.h"
#include "conditions/record_condition.h"

namespace lmk {

/// "Condition.Sibling" on "File.Extensions", the host's list of the extensions present for the
/// image (".jpg|.cr2"; the items are split at "|" and at ";", and a leading dot is removed from
/// each). With "present: true" it holds when one extension is of the chosen type, with
/// "present: false" when none is. The type is chosen as for the file-type condition: named
/// parameters "type" (jpeg | not-jpeg | custom) and "patterns" (the custom list).
class CSiblingCondition : public CRecordCondition {
 public:
  CSiblingCondition();

  bool Present() const { return present_; }
  DWORD Mode() const { return mode_; }
  const std::wstring& CustomList() const { return customList_; }
  void Set(bool present, DWORD mode, std::wstring customList) {
    present_ = present;
    mode_ = mode;
    customList_ = std::move(customList);
  }

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

 protected:
  /// E_UNEXPECTED for an unknown type mode.
  HRESULT Test(IDictionary& record) const override;
  /// The presence byte, the 32-bit type mode, then the custom list.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  bool present_ = true;
  DWORD mode_ = 0;
  std::wstring customList_;
};

}  // namespace lmk

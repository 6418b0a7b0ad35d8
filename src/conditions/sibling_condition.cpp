// The "Sibling" condition.
#include "conditions/sibling_condition.h"

#include "conditions/file_type_choice.h"
#include "conditions/record_value.h"

namespace lmk {

CSiblingCondition::CSiblingCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"Sibling")) {}

bool CSiblingCondition::IsValid(std::wstring* reason) const {
  return IsUsableFileType(mode_, customList_, reason);
}

std::wstring CSiblingCondition::Description() const {
  return Sentence((present_ ? L"the image has a sibling file whose type is "
                            : L"the image has no sibling file whose type is ") +
                  FileTypeWords(mode_, customList_));
}

HRESULT CSiblingCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"File.Extensions");
  Variant holder;
  std::wstring_view list;
  LMK_RETURN_IF_FAILED(GetRecordText(record, kKey, holder, &list));
  if (mode_ > kFileTypeCustom) return E_UNEXPECTED;
  bool found = false;
  std::size_t start = 0;
  while (!found && start <= list.size()) {
    std::size_t end = list.find_first_of(L"|;", start);
    if (end == std::wstring_view::npos) end = list.size();
    std::wstring_view ext = list.substr(start, end - start);
    start = end + 1;
    if (ext.empty()) continue;
    if (ext.front() == L'.') ext.remove_prefix(1);
    LMK_RETURN_IF_FAILED(ExtensionIsOfType(mode_, customList_, ext, &found));
  }
  return found == present_ ? S_OK : S_FALSE;
}

void CSiblingCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.Bool(present_);
  archive.U32(mode_);
  archive.Text(customList_);
}

void CSiblingCondition::ExchangeParameters(CParamArchive& archive) {
  archive.Bool(L"present", present_);
  archive.Choice(L"type", mode_, FileTypeParamWords());
  archive.Text(L"patterns", customList_);
}

}  // namespace lmk

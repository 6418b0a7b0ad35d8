// The "FileType" condition.
#include "conditions/file_type_condition.h"

#include "conditions/file_type_choice.h"
#include "conditions/record_value.h"

namespace lmk {

CFileTypeCondition::CFileTypeCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"FileType")) {}

bool CFileTypeCondition::IsValid(std::wstring* reason) const {
  return IsUsableFileType(mode_, customList_, reason);
}

std::wstring CFileTypeCondition::Description() const {
  return Sentence(L"the file type is " + FileTypeWords(mode_, customList_));
}

HRESULT CFileTypeCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"File.Name");
  Variant holder;
  std::wstring_view name;
  LMK_RETURN_IF_FAILED(GetRecordText(record, kKey, holder, &name));
  bool is = false;
  LMK_RETURN_IF_FAILED(ExtensionIsOfType(mode_, customList_, ExtensionOf(name), &is));
  return is ? S_OK : S_FALSE;
}

void CFileTypeCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.U32(mode_);
  archive.Text(customList_);
}

void CFileTypeCondition::ExchangeParameters(CParamArchive& archive) {
  archive.Choice(L"type", mode_, FileTypeParamWords());
  archive.Text(L"patterns", customList_);
}

void CFileTypeCondition::AddNeededKeys(RecordKeySet& keys) const { keys.Add(L"File.Name"); }

}  // namespace lmk

// The "FileName" condition.
#include "conditions/file_name_condition.h"

#include "conditions/file_type_choice.h"
#include "conditions/record_value.h"

namespace lmk {

CFileNameCondition::CFileNameCondition()
    : CPatternCondition(ProductKind(ElementFamily::Condition, L"FileName")) {}

std::wstring CFileNameCondition::Description() const {
  return Sentence(L"the file name " + MatchWords());
}

HRESULT CFileNameCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"File.Name");
  Variant holder;
  std::wstring_view path;
  LMK_RETURN_IF_FAILED(GetRecordText(record, kKey, holder, &path));
  const std::wstring_view stem = StemOf(path);
  if (stem.empty()) return S_FALSE;
  bool matched = false;
  LMK_RETURN_IF_FAILED(Match(stem, &matched));
  return matched ? S_OK : S_FALSE;
}

void CFileNameCondition::AddNeededKeys(RecordKeySet& keys) const { keys.Add(L"File.Name"); }

}  // namespace lmk

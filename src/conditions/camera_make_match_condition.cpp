// The "CameraMakeMatch" condition.
#include "conditions/camera_make_match_condition.h"

#include "conditions/record_value.h"

namespace lmk {

CCameraMakeMatchCondition::CCameraMakeMatchCondition()
    : CPatternCondition(ProductKind(ElementFamily::Condition, L"CameraMakeMatch")) {}

std::wstring CCameraMakeMatchCondition::Description() const {
  return Sentence(L"the camera make " + MatchWords());
}

HRESULT CCameraMakeMatchCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.CameraMake");
  Variant holder;
  std::wstring_view text;
  LMK_RETURN_IF_FAILED(GetRecordText(record, kKey, holder, &text));
  if (text.empty()) return S_FALSE;
  bool matched = false;
  LMK_RETURN_IF_FAILED(Match(text, &matched));
  return matched ? S_OK : S_FALSE;
}

}  // namespace lmk

// The "CameraMakeMatch" condition.
#include "conditions/camera_make_match_condition.h"

namespace lmk {

CCameraMakeMatchCondition::CCameraMakeMatchCondition()
    : CPatternCondition(ProductKind(ElementFamily::Condition, L"CameraMakeMatch")) {}

std::wstring CCameraMakeMatchCondition::Description() const {
  return Sentence(L"the camera make " + MatchWords());
}

HRESULT CCameraMakeMatchCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.CameraMake");
  return MatchRecordText(record, kKey);
}

void CCameraMakeMatchCondition::AddNeededKeys(RecordKeySet& keys) const {
  keys.Add(L"Meta.CameraMake");
}

}  // namespace lmk

// The "MarkedForPublishing" condition.
#include "conditions/marked_for_publishing_condition.h"

namespace lmk {

CMarkedForPublishingCondition::CMarkedForPublishingCondition()
    : CFlagCondition(ProductKind(ElementFamily::Condition, L"MarkedForPublishing"), L"marked") {}

std::wstring CMarkedForPublishingCondition::Description() const {
  return Sentence(
      Pick(L"the image is marked for publishing", L"the image is not marked for publishing"));
}

HRESULT CMarkedForPublishingCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Misc.MarkedForPublishingFlag");
  return TestNonZero(record, kKey);
}

}  // namespace lmk

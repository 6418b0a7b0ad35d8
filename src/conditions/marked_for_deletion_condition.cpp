// The "MarkedForDeletion" condition.
#include "conditions/marked_for_deletion_condition.h"

namespace lmk {

CMarkedForDeletionCondition::CMarkedForDeletionCondition()
    : CFlagCondition(ProductKind(ElementFamily::Condition, L"MarkedForDeletion"), L"marked") {}

std::wstring CMarkedForDeletionCondition::Description() const {
  return Sentence(
      Pick(L"the image is marked for deletion", L"the image is not marked for deletion"));
}

HRESULT CMarkedForDeletionCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Misc.MarkedForDeletionFlag");
  return TestNonZero(record, kKey);
}

}  // namespace lmk

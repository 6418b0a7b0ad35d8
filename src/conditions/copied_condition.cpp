// The "Copied" condition.
#include "conditions/copied_condition.h"

namespace lmk {

CCopiedCondition::CCopiedCondition()
    : CFlagCondition(ProductKind(ElementFamily::Condition, L"Copied"), L"copied") {}

std::wstring CCopiedCondition::Description() const {
  return Sentence(Pick(L"the file was copied", L"the file was not copied"));
}

HRESULT CCopiedCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Misc.CopiedFlag");
  return TestNonZero(record, kKey);
}

}  // namespace lmk

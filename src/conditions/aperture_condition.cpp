// The "Aperture" condition.
#include "conditions/aperture_condition.h"

namespace lmk {

CApertureCondition::CApertureCondition()
    : CTableCondition(
          ProductKind(ElementFamily::Condition, L"Aperture"), L"aperture", ApertureTable(),
          [] {
            static const auto words = MakeWords(ApertureTable());
            return words;
          }(),
          true, PackComparison(CompareOp::Equal, 19)) {}

std::wstring CApertureCondition::Description() const {
  return Sentence(ComparisonSentence(L"the aperture"));
}

HRESULT CApertureCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.FNumber");
  return TestValue(record, kKey);
}

}  // namespace lmk

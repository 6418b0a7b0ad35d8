// The "ShutterSpeed" condition.
#include "conditions/shutter_speed_condition.h"

namespace lmk {

CShutterSpeedCondition::CShutterSpeedCondition()
    : CTableCondition(
          ProductKind(ElementFamily::Condition, L"ShutterSpeed"), L"shutter-speed",
          ShutterSpeedTable(),
          [] {
            static const auto words = MakeWords(ShutterSpeedTable());
            return words;
          }(),
          false, PackComparison(CompareOp::Equal, 42)) {}

std::wstring CShutterSpeedCondition::Description() const {
  return Sentence(ComparisonSentence(L"the shutter speed"));
}

HRESULT CShutterSpeedCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Meta.ExposureTime");
  return TestValue(record, kKey);
}

}  // namespace lmk

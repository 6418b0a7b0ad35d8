// The "Script" condition.
#include "conditions/script_condition.h"

#include "com/variant.h"
#include "scripts/element_script.h"
#include "templates/template_expander.h"

namespace lmk {

CScriptCondition::CScriptCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"Script")) {}

bool CScriptCondition::IsValid(std::wstring* reason) const {
  return CheckElementScript(script_, engine_, L"Evaluate", reason);
}

std::wstring CScriptCondition::Description() const {
  return Sentence(ElementScriptWords(script_, engine_) + L" says so for the image");
}

HRESULT CScriptCondition::Test(IDictionary& record) const {
  std::wstring expanded;
  LMK_RETURN_IF_FAILED(ExpandTemplate(&record, script_, &expanded, nullptr));
  Variant result;
  LMK_RETURN_IF_FAILED(RunElementScript(record, ElementScriptPath(record, expanded),
                                        {engine_, L"Evaluate", 30}, result.get()));
  return RawResultValue(result.ref()) != 0 ? S_OK : S_FALSE;
}

void CScriptCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.Text(script_);
  archive.Text(engine_);
}

void CScriptCondition::ExchangeParameters(CParamArchive& archive) {
  archive.Text(L"script", script_);
  archive.Text(L"engine", engine_);
}

}  // namespace lmk

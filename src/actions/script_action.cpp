// The "Script" action.
#include "actions/script_action.h"

#include "com/com_error.h"
#include "com/variant.h"
#include "platform/usage_counter.h"
#include "scripts/element_script.h"
#include "templates/template_expander.h"

namespace lmk {

CScriptAction::CScriptAction() : CAction(ProductKind(ElementFamily::Action, L"Script")) {}

HRESULT CScriptAction::Execute(IDictionary* record) const {
  if (record == nullptr) return E_INVALIDARG;
  try {
    CountUsage(UsageEventName());
    std::wstring expanded;
    LMK_RETURN_IF_FAILED(ExpandTemplate(record, script_, &expanded, nullptr));
    Variant result;
    LMK_RETURN_IF_FAILED(RunElementScript(*record, ElementScriptPath(*record, expanded),
                                          {engine_, L"Execute", 600}, result.get()));
    const LONG value = RawResultValue(result.ref());
    return value == 0 ? S_OK : (value > 0 ? S_FALSE : E_ABORT);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

bool CScriptAction::IsValid(std::wstring* reason) const {
  return CheckElementScript(script_, engine_, L"Execute", reason);
}

std::wstring CScriptAction::Description() const {
  return L"Run " + ElementScriptWords(script_, engine_) + L" on the image.";
}

void CScriptAction::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.Text(script_);
  archive.Text(engine_);
}

void CScriptAction::ExchangeParameters(CParamArchive& archive) {
  archive.Text(L"script", script_);
  archive.Text(L"engine", engine_);
}

}  // namespace lmk

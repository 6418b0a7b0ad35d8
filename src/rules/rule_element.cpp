// The common mechanics of rule elements.
#include "rules/rule_element.h"

#include "rules/rule_set_error.h"
#include "rules/rule_strings.h"

namespace lmk {

bool CRuleElement::IsValid(std::wstring* /*reason*/) const { return true; }

std::wstring CRuleElement::Description() const {
  std::wstring text = Key();
  const std::vector<NamedParam> params = NamedParameters();
  for (std::size_t i = 0; i < params.size(); ++i) {
    text += i == 0 ? L" (" : L", ";
    text += params[i].name + L": ";
    if (params[i].value.isList) {
      text += L'[';
      for (std::size_t j = 0; j < params[i].value.items.size(); ++j) {
        if (j != 0) text += L", ";
        text += params[i].value.items[j];
      }
      text += L']';
    } else {
      text += params[i].value.text;
    }
  }
  if (!params.empty()) text += L')';
  return text;
}

void CRuleElement::Save(CRuleStreamWriter& out) const {
  out.U32(flags_);
  const BYTE version = ParamVersion();
  out.U8(version);
  CFieldArchive archive(out);
  // The archive only reads the fields when saving; one list of fields serves both directions.
  const_cast<CRuleElement*>(this)->ExchangeFields(archive, version);
}

void CRuleElement::Load(CRuleStreamReader& in) {
  flags_ = in.U32();
  const std::uint64_t at = in.offset();
  const BYTE version = in.U8();
  if (version == 0) {
    throw CRuleSetError(FormatRuleString(RuleStringId::StreamBadElementVersion, {Key()}), at);
  }
  if (version > ParamVersion()) {
    throw CRuleSetError(
        FormatRuleString(RuleStringId::StreamNewerElement,
                         {Key(), std::to_wstring(version), std::to_wstring(ParamVersion())}),
        at);
  }
  CFieldArchive archive(in);
  ExchangeFields(archive, version);
}

void CRuleElement::ExchangeNamedParameters(CParamArchive& archive) {
  ExchangeParameters(archive);
  ExchangeCommonParameters(archive);
}

std::vector<NamedParam> CRuleElement::NamedParameters() const {
  CParamArchive archive = CParamArchive::ForSave();
  // Saving only reads the parameters.
  const_cast<CRuleElement*>(this)->ExchangeNamedParameters(archive);
  return archive.saved();
}

std::vector<ParamSpec> CRuleElement::DescribeParameters() const {
  CParamArchive archive = CParamArchive::ForDescribe();
  const_cast<CRuleElement*>(this)->ExchangeNamedParameters(archive);
  return archive.described();
}

void CRuleElement::ExchangeFields(CFieldArchive& /*archive*/, BYTE /*version*/) {}
void CRuleElement::ExchangeParameters(CParamArchive& /*archive*/) {}
void CRuleElement::ExchangeCommonParameters(CParamArchive& /*archive*/) {}

}  // namespace lmk

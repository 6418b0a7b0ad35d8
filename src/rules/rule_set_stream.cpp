// Writing and reading the binary rule-set stream.
#include "rules/rule_set_stream.h"

#include <cstring>

#include "com/com_error.h"
#include "rules/rule_set_error.h"
#include "rules/rule_strings.h"

namespace lmk {
namespace {

void WriteElement(CRuleStreamWriter& out, const CRuleElement& element) {
  out.Text(element.Key());
  element.Save(out);
}

void ReadList(CRuleStreamReader& in, const CElementRegistry& registry, CRule& rule,
              ElementRole list, std::wstring_view what) {
  const std::uint32_t count = in.Count(kMaxElementsPerList, what);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint64_t at = in.offset();
    const std::wstring key = in.Text();
    std::shared_ptr<CRuleElement> element;
    try {
      element = registry.CreateForList(key, list);
      element->Load(in);
      if (!element->IsKey(key)) {
        throw CRuleSetError(FormatRuleString(RuleStringId::StreamBadExceptionBit, {key}));
      }
      rule.AddElement(list, element);
    } catch (CRuleSetError& error) {
      if (!error.hasByteOffset()) throw CRuleSetError(error.message(), at);
      throw;
    }
  }
}

BYTE ReadMode(CRuleStreamReader& in, const std::wstring& ruleName) {
  const std::uint64_t at = in.offset();
  const BYTE mode = in.U8();
  if (mode != kModeAll && mode != kModeAny) {
    throw CRuleSetError(
        FormatRuleString(RuleStringId::StreamBadMode, {ruleName, std::to_wstring(mode)}), at);
  }
  return mode;
}

RuleSetTemplates ReadTemplates(CRuleStreamReader& in) {
  const std::uint32_t count = in.Count(kMaxTemplates, L"the number of templates");
  RuleSetTemplates templates;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint64_t at = in.offset();
    RuleSetTemplate entry;
    entry.name = in.Text();
    entry.text = in.Text();
    if (std::wstring fault = RuleSetTemplateNameFault(entry.name); !fault.empty()) {
      throw CRuleSetError(std::move(fault), at);
    }
    if (FindRuleSetTemplate(templates, entry.name) != nullptr) {
      throw CRuleSetError(FormatRuleString(RuleStringId::TemplateGivenTwice, {entry.name}), at);
    }
    templates.push_back(std::move(entry));
  }
  return templates;
}

}  // namespace

void WriteRuleSet(CRuleStreamWriter& out, std::span<const std::shared_ptr<CRule>> rules,
                  std::span<const RuleSetTemplate> templates) {
  out.Bytes(kRuleSetMagic, sizeof kRuleSetMagic);
  out.U32(templates.empty() ? kRuleSetFormatWithoutTemplates : kRuleSetFormat);
  out.U32(static_cast<std::uint32_t>(rules.size()));
  for (const auto& rule : rules) {
    out.Text(rule->Name());
    out.U8(rule->IsChecked() ? 1 : 0);
    out.U8(rule->ConditionMode());
    out.U8(rule->ExceptionMode());
    out.U32(static_cast<std::uint32_t>(rule->Conditions().size()));
    for (const auto& c : rule->Conditions()) WriteElement(out, *c);
    out.U32(static_cast<std::uint32_t>(rule->Exceptions().size()));
    for (const auto& e : rule->Exceptions()) WriteElement(out, *e);
    out.U32(static_cast<std::uint32_t>(rule->Actions().size()));
    for (const auto& a : rule->Actions()) WriteElement(out, *a);
  }
  if (templates.empty()) return;
  out.U32(static_cast<std::uint32_t>(templates.size()));
  for (const RuleSetTemplate& entry : templates) {
    out.Text(entry.name);
    out.Text(entry.text);
  }
}

std::vector<std::shared_ptr<CRule>> ReadRuleSet(CRuleStreamReader& in,
                                                const CElementRegistry& registry,
                                                RuleSetTemplates* templates) {
  std::byte magic[sizeof kRuleSetMagic];
  in.Bytes(magic, sizeof magic, L"the rule-set header");
  if (std::memcmp(magic, kRuleSetMagic, sizeof magic) != 0) {
    throw CRuleSetError(std::wstring(RuleString(RuleStringId::StreamBadMagic)), in.offset() - 4);
  }
  const std::uint32_t format = in.U32();
  if (format == 0 || format > kRuleSetFormat) {
    throw CRuleSetError(
        FormatRuleString(RuleStringId::StreamNewerFormat,
                         {std::to_wstring(format), std::to_wstring(kRuleSetFormat)}),
        in.offset() - 4);
  }
  const std::uint32_t count = in.Count(kMaxRules, L"the number of rules");
  std::vector<std::shared_ptr<CRule>> rules;
  for (std::uint32_t i = 0; i < count; ++i) {
    auto rule = std::make_shared<CRule>(in.Text());
    rule->SetChecked(in.U8() != 0);
    rule->SetConditionMode(ReadMode(in, rule->Name()));
    rule->SetExceptionMode(ReadMode(in, rule->Name()));
    ReadList(in, registry, *rule, ElementRole::Condition, L"the number of conditions");
    ReadList(in, registry, *rule, ElementRole::Exception, L"the number of exceptions");
    ReadList(in, registry, *rule, ElementRole::Action, L"the number of actions");
    rules.push_back(std::move(rule));
  }
  RuleSetTemplates ownTemplates;
  if (format >= 2) ownTemplates = ReadTemplates(in);
  if (templates != nullptr) *templates = std::move(ownTemplates);
  return rules;
}

std::vector<std::byte> RuleSetToBytes(std::span<const std::shared_ptr<CRule>> rules,
                                      std::span<const RuleSetTemplate> templates) {
  CRuleStreamWriter out;
  WriteRuleSet(out, rules, templates);
  return out.TakeBytes();
}

std::vector<std::shared_ptr<CRule>> RuleSetFromBytes(std::span<const std::byte> bytes,
                                                     const CElementRegistry& registry,
                                                     RuleSetTemplates* templates) {
  CRuleStreamReader in(bytes);
  auto rules = ReadRuleSet(in, registry, templates);
  if (!in.AtEnd()) {
    throw CRuleSetError(FormatRuleString(RuleStringId::StreamTrailingData,
                                         {std::to_wstring(bytes.size() - in.offset())}),
                        in.offset());
  }
  return rules;
}

HRESULT SaveRuleSet(IStream* stream, std::span<const std::shared_ptr<CRule>> rules,
                    std::span<const RuleSetTemplate> templates) {
  if (stream == nullptr) return E_INVALIDARG;
  try {
    CRuleStreamWriter out;
    WriteRuleSet(out, rules, templates);
    return out.WriteTo(stream);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

std::vector<std::shared_ptr<CRule>> LoadRuleSet(IStream* stream, const CElementRegistry& registry,
                                                RuleSetTemplates* templates) {
  CRuleStreamReader in(stream);
  return ReadRuleSet(in, registry, templates);
}

}  // namespace lmk

// Reading and writing the YAML rule-set form with yaml-cpp.
#include "rules/rule_set_yaml.h"

#include <yaml-cpp/yaml.h>

#include "platform/text_encoding.h"
#include "rules/rule_set_error.h"
#include "rules/rule_strings.h"

namespace lmk {
namespace {

constexpr std::wstring_view kRuleFields[] = {L"name",       L"checked",    L"match",  L"except",
                                             L"conditions", L"exceptions", L"actions"};

SourceLocation Where(const YAML::Node& node, SourceLocation fallback = {}) {
  const YAML::Mark mark = node.Mark();
  if (mark.line < 0 || mark.is_null()) return fallback;
  return SourceLocation{mark.line + 1, mark.column + 1};
}

std::wstring Wide(const std::string& text) { return FromUtf8(text); }

/// The scalar text of node ("" for null); raises msg at the node for anything else.
std::wstring ScalarText(const YAML::Node& node, RuleStringId msg,
                        std::initializer_list<std::wstring_view> args, SourceLocation fallback) {
  if (node.IsNull()) return {};
  if (!node.IsScalar()) throw CRuleSetError(FormatRuleString(msg, args), Where(node, fallback));
  return Wide(node.Scalar());
}

BYTE ReadMode(const YAML::Node& node, std::wstring_view field, SourceLocation fallback) {
  const std::wstring text = node.IsScalar() ? Wide(node.Scalar()) : L"";
  if (EqualsNoCase(text, L"all")) return kModeAll;
  if (EqualsNoCase(text, L"any")) return kModeAny;
  throw CRuleSetError(FormatRuleString(RuleStringId::YamlBadMode, {field, text}),
                      Where(node, fallback));
}

std::vector<NamedParam> ReadParameters(const YAML::Node& node, SourceLocation fallback) {
  std::vector<NamedParam> params;
  if (!node || node.IsNull()) return params;
  if (!node.IsMap()) {
    throw CRuleSetError(std::wstring(RuleString(RuleStringId::ElementEntryShape)),
                        Where(node, fallback));
  }
  for (auto it = node.begin(); it != node.end(); ++it) {
    NamedParam param;
    param.nameWhere = Where(it->first, fallback);
    param.name = ScalarText(it->first, RuleStringId::ElementEntryShape, {}, fallback);
    const YAML::Node value = it->second;  // a copy: the iterator hands out a temporary
    param.value.where = Where(value, param.nameWhere);
    if (value.IsSequence()) {
      param.value.isList = true;
      for (const YAML::Node& item : value) {
        param.value.items.push_back(
            ScalarText(item, RuleStringId::ParameterNotList, {param.name}, param.value.where));
      }
    } else {
      param.value.text =
          ScalarText(value, RuleStringId::ParameterNotList, {param.name}, param.value.where);
    }
    params.push_back(std::move(param));
  }
  return params;
}

void ReadElements(const YAML::Node& list, std::wstring_view field, ElementRole role,
                  const CElementRegistry& registry, CRule& rule, SourceLocation fallback) {
  if (!list || list.IsNull()) return;
  if (!list.IsSequence()) {
    throw CRuleSetError(FormatRuleString(RuleStringId::YamlListExpected, {field}),
                        Where(list, fallback));
  }
  for (const YAML::Node& entry : list) {
    YAML::Node keyNode;
    YAML::Node paramsNode;
    if (entry.IsScalar()) {
      keyNode = entry;
    } else if (entry.IsMap() && entry.size() == 1) {
      keyNode = entry.begin()->first;
      paramsNode = entry.begin()->second;
    } else {
      throw CRuleSetError(std::wstring(RuleString(RuleStringId::ElementEntryShape)),
                          Where(entry, fallback));
    }
    const SourceLocation keyWhere = Where(keyNode, Where(entry, fallback));
    const std::wstring key = ScalarText(keyNode, RuleStringId::ElementEntryShape, {}, keyWhere);
    try {
      std::shared_ptr<CRuleElement> element = registry.CreateForList(key, role);
      if (rule.HasElement(element->Key())) {
        throw CRuleSetError(FormatRuleString(RuleStringId::DuplicateElement, {element->Key()}));
      }
      CParamArchive archive = CParamArchive::ForLoad(ReadParameters(paramsNode, keyWhere));
      element->ExchangeNamedParameters(archive);
      archive.Finish();
      rule.AddElement(role, std::move(element));
    } catch (CRuleSetError& error) {
      error.SetLocation(keyWhere);
      throw;
    }
  }
}

std::shared_ptr<CRule> ReadRule(const YAML::Node& node, const CElementRegistry& registry) {
  const SourceLocation ruleWhere = Where(node);
  if (!node.IsMap()) {
    throw CRuleSetError(std::wstring(RuleString(RuleStringId::YamlRuleNotMap)), ruleWhere);
  }
  auto rule = std::make_shared<CRule>();
  YAML::Node lists[3];
  std::wstring_view listNames[3];
  bool seen[std::size(kRuleFields)] = {};
  bool named = false;
  for (auto it = node.begin(); it != node.end(); ++it) {
    const SourceLocation fieldWhere = Where(it->first, ruleWhere);
    const std::wstring field = ScalarText(it->first, RuleStringId::YamlRuleNotMap, {}, fieldWhere);
    std::size_t index = 0;
    while (index < std::size(kRuleFields) && !EqualsNoCase(kRuleFields[index], field)) ++index;
    if (index == std::size(kRuleFields)) {
      throw CRuleSetError(FormatRuleString(RuleStringId::YamlUnknownRuleField, {field}),
                          fieldWhere);
    }
    if (seen[index]) {
      throw CRuleSetError(FormatRuleString(RuleStringId::YamlRuleFieldGivenTwice, {field}),
                          fieldWhere);
    }
    seen[index] = true;
    const YAML::Node value = it->second;  // a copy: the iterator hands out a temporary
    const SourceLocation valueWhere = Where(value, fieldWhere);
    switch (index) {
      case 0:
        rule->SetName(ScalarText(value, RuleStringId::YamlRuleNotMap, {}, valueWhere));
        named = true;
        break;
      case 1: {
        const auto checked = ParseBool(value.IsScalar() ? Wide(value.Scalar()) : L"");
        if (!checked) {
          throw CRuleSetError(FormatRuleString(RuleStringId::YamlBadChecked,
                                               {value.IsScalar() ? Wide(value.Scalar()) : L""}),
                              valueWhere);
        }
        rule->SetChecked(*checked.value);
        break;
      }
      case 2:
        rule->SetConditionMode(ReadMode(value, L"match", valueWhere));
        break;
      case 3:
        rule->SetExceptionMode(ReadMode(value, L"except", valueWhere));
        break;
      default:
        lists[index - 4] = value;
        listNames[index - 4] = kRuleFields[index];
        break;
    }
  }
  if (!named || rule->Name().empty()) {
    throw CRuleSetError(std::wstring(RuleString(RuleStringId::RuleUnnamed)), ruleWhere);
  }
  // Elements are read after the fields, so that the order of the fields does not matter.
  constexpr ElementRole kRoles[3] = {ElementRole::Condition, ElementRole::Exception,
                                     ElementRole::Action};
  for (int i = 0; i < 3; ++i) {
    if (lists[i]) ReadElements(lists[i], listNames[i], kRoles[i], registry, *rule, ruleWhere);
  }
  return rule;
}

bool NeedsQuotes(const std::wstring& text) {
  if (text.empty()) return true;
  for (std::wstring_view word :
       {L"null", L"~", L"true", L"false", L"yes", L"no", L"on", L"off", L"y", L"n"}) {
    if (EqualsNoCase(text, word)) return true;
  }
  return false;
}

/// Free text is always quoted, so that it reads back as text; typed values are written plain.
void EmitText(YAML::Emitter& out, const std::wstring& text, bool quote) {
  if (quote) out << YAML::DoubleQuoted;
  out << ToUtf8(text);
}

void EmitElements(YAML::Emitter& out, const char* field,
                  const std::vector<std::shared_ptr<CRuleElement>>& elements) {
  if (elements.empty()) return;
  out << YAML::Key << field << YAML::Value << YAML::BeginSeq;
  for (const auto& element : elements) {
    out << YAML::BeginMap << YAML::Key << ToUtf8(element->Key()) << YAML::Value;
    out << YAML::Flow << YAML::BeginMap;
    for (const NamedParam& param : element->NamedParameters()) {
      out << YAML::Key << ToUtf8(param.name) << YAML::Value;
      if (param.value.isList) {
        out << YAML::Flow << YAML::BeginSeq;
        for (const std::wstring& item : param.value.items) EmitText(out, item, false);
        out << YAML::EndSeq;
      } else {
        EmitText(out, param.value.text, param.value.quoted);
      }
    }
    out << YAML::EndMap << YAML::EndMap;
  }
  out << YAML::EndSeq;
}

/// The top-level 'templates' map: names checked, each given once (without regard to case, as the
/// template store compares them), in the order of the file.
RuleSetTemplates ReadTemplates(const YAML::Node& map, SourceLocation fallback) {
  RuleSetTemplates templates;
  if (!map || map.IsNull()) return templates;
  if (!map.IsMap()) {
    throw CRuleSetError(std::wstring(RuleString(RuleStringId::YamlTemplatesNotMap)),
                        Where(map, fallback));
  }
  for (auto it = map.begin(); it != map.end(); ++it) {
    const SourceLocation nameWhere = Where(it->first, fallback);
    RuleSetTemplate entry;
    entry.name = ScalarText(it->first, RuleStringId::YamlTemplatesNotMap, {}, nameWhere);
    if (std::wstring fault = RuleSetTemplateNameFault(entry.name); !fault.empty()) {
      throw CRuleSetError(std::move(fault), nameWhere);
    }
    if (FindRuleSetTemplate(templates, entry.name) != nullptr) {
      throw CRuleSetError(FormatRuleString(RuleStringId::TemplateGivenTwice, {entry.name}),
                          nameWhere);
    }
    const YAML::Node value = it->second;  // a copy: the iterator hands out a temporary
    entry.text =
        ScalarText(value, RuleStringId::YamlTemplateNotText, {entry.name}, Where(value, nameWhere));
    templates.push_back(std::move(entry));
  }
  return templates;
}

template <class T>
std::vector<std::shared_ptr<CRuleElement>> AsElements(const std::vector<std::shared_ptr<T>>& list) {
  return {list.begin(), list.end()};
}

}  // namespace

std::vector<std::shared_ptr<CRule>> ParseRuleSetYaml(std::string_view utf8,
                                                     std::wstring_view sourceName,
                                                     const CElementRegistry& registry,
                                                     RuleSetTemplates* templates) {
  try {
    YAML::Node root;
    try {
      root = YAML::Load(std::string(utf8));
    } catch (const YAML::ParserException& error) {
      throw CRuleSetError(FormatRuleString(RuleStringId::YamlSyntax, {Wide(error.msg)}),
                          SourceLocation{error.mark.line + 1, error.mark.column + 1});
    }
    std::vector<std::shared_ptr<CRule>> rules;
    if (templates != nullptr) templates->clear();
    if (!root || root.IsNull()) return rules;
    if (!root.IsMap()) {
      throw CRuleSetError(std::wstring(RuleString(RuleStringId::YamlTopLevel)), Where(root));
    }
    YAML::Node list;
    RuleSetTemplates ownTemplates;
    for (auto it = root.begin(); it != root.end(); ++it) {
      const SourceLocation where = Where(it->first);
      const std::wstring key = ScalarText(it->first, RuleStringId::YamlTopLevel, {}, where);
      if (EqualsNoCase(key, L"version")) {
        const std::wstring version = it->second.IsScalar() ? Wide(it->second.Scalar()) : L"";
        if (version != L"1") {
          throw CRuleSetError(FormatRuleString(RuleStringId::YamlBadVersion, {version}),
                              Where(it->second, where));
        }
      } else if (EqualsNoCase(key, L"rules")) {
        list = it->second;
      } else if (EqualsNoCase(key, L"templates")) {
        ownTemplates = ReadTemplates(it->second, where);
      } else {
        throw CRuleSetError(std::wstring(RuleString(RuleStringId::YamlTopLevel)), where);
      }
    }
    if (list && !list.IsNull()) {
      if (!list.IsSequence()) {
        throw CRuleSetError(std::wstring(RuleString(RuleStringId::YamlRulesNotList)), Where(list));
      }
      for (const YAML::Node& node : list) rules.push_back(ReadRule(node, registry));
    }
    if (templates != nullptr) *templates = std::move(ownTemplates);
    return rules;
  } catch (CRuleSetError& error) {
    error.SetSource(std::wstring(sourceName));
    throw;
  }
}

std::string RuleSetToYaml(std::span<const std::shared_ptr<CRule>> rules,
                          std::span<const RuleSetTemplate> templates) {
  YAML::Emitter out;
  out.SetIndent(2);
  out << YAML::BeginMap << YAML::Key << "version" << YAML::Value << 1;
  // Before the rules, so that a reader meets each name before the actions that use it.
  if (!templates.empty()) {
    out << YAML::Key << "templates" << YAML::Value << YAML::BeginMap;
    for (const RuleSetTemplate& entry : templates) {
      out << YAML::Key;
      EmitText(out, entry.name, NeedsQuotes(entry.name));
      out << YAML::Value;
      EmitText(out, entry.text, true);
    }
    out << YAML::EndMap;
  }
  out << YAML::Key << "rules" << YAML::Value << YAML::BeginSeq;
  for (const auto& rule : rules) {
    out << YAML::BeginMap;
    out << YAML::Key << "name" << YAML::Value;
    EmitText(out, rule->Name(), NeedsQuotes(rule->Name()));
    out << YAML::Key << "checked" << YAML::Value << (rule->IsChecked() ? "true" : "false");
    out << YAML::Key << "match" << YAML::Value
        << (rule->ConditionMode() == kModeAny ? "any" : "all");
    out << YAML::Key << "except" << YAML::Value
        << (rule->ExceptionMode() == kModeAll ? "all" : "any");
    EmitElements(out, "conditions", AsElements(rule->Conditions()));
    EmitElements(out, "exceptions", AsElements(rule->Exceptions()));
    EmitElements(out, "actions", AsElements(rule->Actions()));
    out << YAML::EndMap;
  }
  out << YAML::EndSeq << YAML::EndMap;
  std::string text = out.c_str();
  text += '\n';
  return text;
}

}  // namespace lmk

// The user-visible texts of the rule model and of the rule-set files, from one table.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

namespace lmk {

/// Identifies one text of the rule model's string table.
enum class RuleStringId : std::size_t {
  InvalidRulesTitle,
  InvalidRulesDetail,
  DuplicateElement,
  UnknownParameter,
  InternalErrorCaption,
  OnFailureIgnore,
  OnFailureSkipActions,
  OnFailureSkipRules,
  OnFailureAbort,
  UnknownElement,
  ElementNotAvailable,
  ElementInWrongList,
  ElementEntryShape,
  ParameterGivenTwice,
  ParameterBadValue,
  ParameterNotList,
  YamlSyntax,
  YamlTopLevel,
  YamlRulesNotList,
  YamlRuleNotMap,
  YamlUnknownRuleField,
  YamlRuleFieldGivenTwice,
  YamlBadMode,
  YamlBadChecked,
  YamlListExpected,
  YamlBadVersion,
  StreamTruncated,
  StreamBadMagic,
  StreamNewerFormat,
  StreamLengthTooLarge,
  StreamCountTooLarge,
  StreamBadMode,
  StreamNewerElement,
  StreamBadElementVersion,
  StreamBadExceptionBit,
  StreamTrailingData,
  FileCannotOpen,
  FileCannotWrite,
  RuleInvalidMode,
  RuleInvalidElement,
  RuleUnnamed,
  TemplateNameEmpty,
  TemplateNameSeparator,
  TemplateGivenTwice,
  YamlTemplatesNotMap,
  YamlTemplateNotText,
  Count_
};

/// The text of id, exactly as the string table holds it.
std::wstring_view RuleString(RuleStringId id);

/// The text of id with its "%ls", "%s" and "%d" placeholders replaced by args in order (each
/// argument is already text); a placeholder without an argument stays as it is.
std::wstring FormatRuleString(RuleStringId id, std::initializer_list<std::wstring_view> args);

}  // namespace lmk

// The string table of the rule model: one entry per RuleStringId, in the same order.
#include "rules/rule_strings.h"

#include <iterator>

namespace lmk {
namespace {

constexpr std::wstring_view kTexts[] = {
    L"One or more rule(s) is invalid.",
    L"Cannot apply a rule set containing invalid rules. Please check every parameter and try "
    L"again.",
    L"Duplicate rule element '%ls'",
    L"Unknown rule parameter '%ls'",
    L"Lumarko File Utilities - Internal Error",
    L"<a>On failure: ignore error(s) and continue</a>",
    L"<a>On failure: skip remaining actions on the file</a>",
    L"<a>On failure: skip remaining actions and rules for the file</a>",
    L"<a>On failure: cancel entire batch job (fatal error)</a>",
    L"Unknown rule element '%ls'",
    L"the element '%ls' is not available in this version",
    L"'%ls' cannot stand among the %ls of a rule; write %ls",
    L"write each element as its key followed by its parameters, for example "
    L"'- Condition.FileType: { type: jpeg }'",
    L"the parameter '%ls' is given twice",
    L"the parameter '%ls' cannot be '%ls': %ls",
    L"the parameter '%ls' takes one value, not a list or a map",
    L"%ls",
    L"a rule-set file holds a map with the key 'rules', for example 'rules: [ ... ]'",
    L"'rules' must be a list of rules, each beginning with '- name: ...'",
    L"each rule must be a map of its fields (name, checked, match, except, conditions, "
    L"exceptions, actions)",
    L"unknown rule field '%ls'; the fields are name, checked, match, except, conditions, "
    L"exceptions and actions",
    L"the rule field '%ls' is given twice",
    L"'%ls' must be 'all' or 'any', not '%ls'",
    L"'checked' must be true or false, not '%ls'",
    L"'%ls' must be a list of elements, each beginning with '- '",
    L"this file was written for rule-set format %ls; this version reads format 1",
    L"the rule set is damaged: it ends in the middle of %ls",
    L"this is not a rule-set file (it does not begin with a rule-set header)",
    L"the rule set was saved by a newer version (format %ls); this version reads up to format "
    L"%ls",
    L"the rule set is damaged: a text of %ls characters is longer than allowed",
    L"the rule set is damaged: %ls of %ls is more than allowed",
    L"the rule set is damaged: rule '%ls' has the mode %ls, which is neither 1 nor 2",
    L"the element '%ls' was saved by a newer version (parameter version %ls, this version "
    L"reads up to %ls)",
    L"the rule set is damaged: the element '%ls' has the parameter version 0",
    L"the rule set is damaged: the flags of '%ls' do not agree with its key",
    L"the rule set is damaged: %ls byte(s) follow its last rule",
    L"cannot open the rule-set file: %ls",
    L"cannot write the rule-set file: %ls",
    L"the %ls mode %ls is neither all (1) nor any (2)",
    L"%ls: %ls",
    L"the rule has no name",
    L"a template has no name",
    L"the template name '%ls' holds '\\' or '/'; choose a name without them",
    L"the template '%ls' is given twice",
    L"'templates' must be a map of names to templates, for example "
    L"'templates: { Dated: \"{DateTaken:Year} {FileName}\" }'",
    L"the template '%ls' must be one text, not a list or a map",
};
static_assert(std::size(kTexts) == static_cast<std::size_t>(RuleStringId::Count_),
              "the string table and RuleStringId must list the same texts");

}  // namespace

std::wstring_view RuleString(RuleStringId id) {
  const auto index = static_cast<std::size_t>(id);
  return index < std::size(kTexts) ? kTexts[index] : std::wstring_view{};
}

std::wstring FormatRuleString(RuleStringId id, std::initializer_list<std::wstring_view> args) {
  const std::wstring_view text = RuleString(id);
  std::wstring out;
  out.reserve(text.size() + 64);
  auto next = args.begin();
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'%' && next != args.end()) {
      std::size_t length = 0;
      if (text.substr(i, 3) == L"%ls") {
        length = 3;
      } else if (text.substr(i, 2) == L"%s" || text.substr(i, 2) == L"%d") {
        length = 2;
      }
      if (length != 0) {
        out += *next++;
        i += length - 1;
        continue;
      }
    }
    out += text[i];
  }
  return out;
}

}  // namespace lmk

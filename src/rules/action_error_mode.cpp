// Texts and words of the on-failure policies.
#include "rules/action_error_mode.h"

#include "rules/rule_strings.h"

namespace lmk {
namespace {

constexpr ParamWord kWords[] = {
    {L"ignore", static_cast<std::uint32_t>(CActionErrorMode::Ignore)},
    {L"skip-actions", static_cast<std::uint32_t>(CActionErrorMode::SkipActions)},
    {L"skip-rules", static_cast<std::uint32_t>(CActionErrorMode::SkipActionsAndRules)},
    {L"abort", static_cast<std::uint32_t>(CActionErrorMode::Abort)},
};

}  // namespace

std::wstring_view ActionErrorModeLinkText(CActionErrorMode mode) {
  switch (mode) {
    case CActionErrorMode::Ignore:
      return RuleString(RuleStringId::OnFailureIgnore);
    case CActionErrorMode::SkipActions:
      return RuleString(RuleStringId::OnFailureSkipActions);
    case CActionErrorMode::SkipActionsAndRules:
      return RuleString(RuleStringId::OnFailureSkipRules);
    case CActionErrorMode::Abort:
      return RuleString(RuleStringId::OnFailureAbort);
  }
  return {};
}

std::span<const ParamWord> ActionErrorModeWords() { return kWords; }

}  // namespace lmk

// The on-failure policy of an action: two bits of its flags word, chosen in its dialog.
#pragma once

#include <span>
#include <string_view>

#include "com/com.h"
#include "rules/param_codec.h"

namespace lmk {

inline constexpr DWORD kActionErrorModeMask = 0x3000000;

enum class CActionErrorMode : DWORD {
  Ignore = 0,                       ///< log the error and go on with the next action
  SkipActions = 0x1000000,          ///< skip the rule's remaining actions for the file
  SkipActionsAndRules = 0x2000000,  ///< skip every further action and rule for the file
  Abort = 0x3000000,                ///< abort the batch job
};

/// The policy held in flags.
constexpr CActionErrorMode ActionErrorModeFromFlags(DWORD flags) {
  return static_cast<CActionErrorMode>(flags & kActionErrorModeMask);
}

/// The dialog's link text ("<a>On failure: ...</a>").
std::wstring_view ActionErrorModeLinkText(CActionErrorMode mode);

/// The words of the rule-set files: ignore, skip-actions, skip-rules, abort.
std::span<const ParamWord> ActionErrorModeWords();

}  // namespace lmk

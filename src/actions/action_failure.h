// How the file actions word and hand back a failure: the log text, the system's reason and the
// code, either as the description the runner logs or as an event of the action's own.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

#include "com/com.h"
#include "platform/message_format.h"
#include "rules/action_error_mode.h"

namespace lmk {

/// Formats a log text with printf's rules; "(internal error)" when format and arguments
/// disagree, so that a wrong table entry is still seen in the log.
std::wstring FormatActionTextList(std::wstring_view format, std::span<const FormatArg> args);
template <class... Args>
std::wstring FormatActionText(std::wstring_view format, const Args&... args) {
  const std::array<FormatArg, sizeof...(Args)> list{FormatArg(args)...};
  return FormatActionTextList(format, list);
}

/// The system's wording of a failure ("Access is denied.") followed by its code
/// ("(0x80070005)"); only the code for failures without a wording of their own.
std::wstring FailureReason(HRESULT hr);

/// text followed by FailureReason(hr).
std::wstring FailureMessage(std::wstring_view text, HRESULT hr);

/// Makes message the thread's error description, which the runner logs as the action's error,
/// and returns hr.
HRESULT ReportFailure(HRESULT hr, std::wstring_view message);

/// Writes message to the run's log as an error event: for failures that do not end the action
/// (a companion file under the ignore policy, a folder that is left in place).
void LogFailure(std::wstring_view message);

/// The outcome of a companion file whose picture succeeded: a success passes; a failure under the
/// ignore policy is logged and becomes S_OK (the picture's own change stands), any other is
/// reported as ReportFailure does.
HRESULT CompanionFailure(HRESULT hr, std::wstring_view message, CActionErrorMode mode);

}  // namespace lmk

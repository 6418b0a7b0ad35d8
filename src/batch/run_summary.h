// The main dialog's closing words on a run: which summary sentence, and the counts under it.
#pragma once

#include <string>
#include <string_view>

#include "batch/batch_runner.h"

namespace lmk {

namespace summary_text {
inline constexpr std::wstring_view kSuccess = L"The batch job ran successfully!";
inline constexpr std::wstring_view kCurrentImageSuccess =
    L"The rules were successfully applied to the current image!";
inline constexpr std::wstring_view kFatal =
    L"The task did not run to completion and was aborted prematurely due to a fatal error!";
inline constexpr std::wstring_view kErrors =
    L"The task ran to completion but some errors have been recorded!";
inline constexpr std::wstring_view kWarnings =
    L"The task ran to completion but some warnings have been recorded!";
inline constexpr std::wstring_view kCounts = L"%d error%s\n%d warning%s";
}  // namespace summary_text

enum class RunOutcome { kSuccess, kFatal, kErrors, kWarnings };

struct RunSummary {
  RunOutcome outcome = RunOutcome::kSuccess;
  std::wstring text;    ///< one of the summary sentences
  std::wstring counts;  ///< "1 error\n2 warnings"
  LONG errors = 0;      ///< fatal and error events together
  LONG warnings = 0;
  std::wstring logFilePath;
};

/// The summary of a finished run. An aborted run is fatal whatever was logged; otherwise errors
/// take precedence over warnings; a clean run over the current image alone has its own sentence.
/// Fatal events count among the errors.
RunSummary SummarizeRun(const BatchRunResult& result);

}  // namespace lmk

// SummarizeRun: the choice of the summary sentence and the counts line.
#include "batch/run_summary.h"

#include "platform/message_format.h"

namespace lmk {

RunSummary SummarizeRun(const BatchRunResult& result) {
  RunSummary summary;
  summary.errors = result.fatalErrors + result.errors;
  summary.warnings = result.warnings;
  summary.logFilePath = result.logFilePath;
  if (result.aborted) {
    summary.outcome = RunOutcome::kFatal;
    summary.text = summary_text::kFatal;
  } else if (summary.errors > 0) {
    summary.outcome = RunOutcome::kErrors;
    summary.text = summary_text::kErrors;
  } else if (summary.warnings > 0) {
    summary.outcome = RunOutcome::kWarnings;
    summary.text = summary_text::kWarnings;
  } else {
    summary.outcome = RunOutcome::kSuccess;
    summary.text = result.mode == static_cast<DWORD>(OperatingMode::kCurrentImage)
                       ? summary_text::kCurrentImageSuccess
                       : summary_text::kSuccess;
  }
  const std::array<FormatArg, 4> args = {
      FormatArg(static_cast<int>(summary.errors)), FormatArg(summary.errors == 1 ? L"" : L"s"),
      FormatArg(static_cast<int>(summary.warnings)), FormatArg(summary.warnings == 1 ? L"" : L"s")};
  summary.counts = FormatMessageText(summary_text::kCounts, args).value_or(std::wstring());
  return summary;
}

}  // namespace lmk

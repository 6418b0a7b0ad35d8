// TerminalDialogView: the main dialog's view on a terminal: messages on the error stream, the
// progress display, the summary and the events on the output stream.
#pragma once

#include <cstdio>

#include "batch/dialog_view.h"

namespace lmk {

/// Writes UTF-8. Messages go to `errors` as "lumarko: error: <instruction>: <content>" with the
/// details indented below; the progress display rewrites one line of `errors`; the summary and
/// the events go to `output`.
class TerminalDialogView final : public DialogView {
 public:
  explicit TerminalDialogView(std::FILE* output = stdout, std::FILE* errors = stderr)
      : output_(output), errors_(errors) {}

  void ShowMessage(const DialogMessage& message) override;
  void ShowRunStarted(bool showProgress) override;
  void ShowProgress(DWORD percent) override;
  void ShowSummary(const RunSummary& summary) override;
  void ShowEvents(std::span<const EventLogEntry> events, std::wstring_view warning) override;

 private:
  void Write(std::FILE* stream, std::wstring_view text);
  void EndProgressLine();

  std::FILE* output_;
  std::FILE* errors_;
  bool progressShown_ = false;
};

}  // namespace lmk

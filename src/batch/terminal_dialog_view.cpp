// TerminalDialogView: plain text for a terminal or a pipe.
#include "batch/terminal_dialog_view.h"

#include <string>

#include "batch/event_log_texts.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

constexpr int kBarWidth = 40;

std::wstring_view Severity(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::kError:
      return L"error: ";
    case MessageIcon::kWarning:
      return L"warning: ";
    case MessageIcon::kInformation:
      break;
  }
  return L"";
}

}  // namespace

void TerminalDialogView::Write(std::FILE* stream, std::wstring_view text) {
  const std::string bytes = ToUtf8(text);
  std::fwrite(bytes.data(), 1, bytes.size(), stream);
  std::fflush(stream);
}

void TerminalDialogView::EndProgressLine() {
  if (!progressShown_) return;
  Write(errors_, L"\n");
  progressShown_ = false;
}

void TerminalDialogView::ShowMessage(const DialogMessage& message) {
  EndProgressLine();
  std::wstring text = L"lumarko: " + std::wstring(Severity(message.icon)) + message.instruction;
  // A terminal has no task dialog: the two texts stand as a message box shows them.
  if (!message.content.empty()) text += L"\n\n" + message.content;
  text += L"\n";
  for (const std::wstring& line : message.details) text += L"  " + line + L"\n";
  Write(errors_, text);
}

void TerminalDialogView::ShowRunStarted(bool /*showProgress*/) { progressShown_ = false; }

void TerminalDialogView::ShowProgress(DWORD percent) {
  const int filled = static_cast<int>(percent > 100 ? 100 : percent) * kBarWidth / 100;
  std::wstring line = L"\r[";
  line.append(static_cast<size_t>(filled), L'#');
  line.append(static_cast<size_t>(kBarWidth - filled), L' ');
  line += L"] " + std::to_wstring(percent) + L"%";
  Write(errors_, line);
  progressShown_ = true;
}

void TerminalDialogView::ShowSummary(const RunSummary& summary) {
  EndProgressLine();
  Write(output_, summary.text + L"\n" + summary.counts + L"\n");
}

void TerminalDialogView::ShowEvents(std::span<const EventLogEntry> events,
                                    std::wstring_view warning) {
  EndProgressLine();
  std::wstring text;
  for (const EventLogEntry& entry : events) {
    text += std::wstring(EventLevelWord(entry.level)) + L"\t" + entry.text + L"\n";
  }
  Write(output_, text);
  if (!warning.empty()) Write(errors_, L"lumarko: warning: " + std::wstring(warning) + L"\n");
}

}  // namespace lmk

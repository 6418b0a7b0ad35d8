// DialogView: what the main dialog shows, so that its controller runs unchanged behind a window
// (Windows), a terminal (POSIX) or a test.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "batch/event_log_reader.h"
#include "batch/run_summary.h"
#include "com/com.h"

namespace lmk {

enum class MessageIcon { kInformation, kWarning, kError };

/// A message box, or a task dialog where there are details to expand.
struct DialogMessage {
  std::wstring caption;               ///< the window title ("Apply Rules")
  std::wstring instruction;           ///< the main sentence
  std::wstring content;               ///< the explanation under it; may be empty
  std::vector<std::wstring> details;  ///< expandable lines ("Show Details"); may be empty
  MessageIcon icon = MessageIcon::kInformation;

  /// The texts as one message box shows them where no task dialog exists: the instruction and
  /// the content joined by an empty line, then the details.
  std::wstring PlainText() const;
};

/// Called on the dialog's own thread only (the controller hands worker notices over to it).
class DialogView {
 public:
  virtual ~DialogView() = default;
  /// Shows a message modally, centred on the dialog; returns when the user has dismissed it.
  virtual void ShowMessage(const DialogMessage& message) = 0;
  /// A run begins; showProgress when it covers several images.
  virtual void ShowRunStarted(bool showProgress) = 0;
  /// Percent done of the run, growing.
  virtual void ShowProgress(DWORD percent) = 0;
  /// The run's summary (the counts line opens the events list in a window).
  virtual void ShowSummary(const RunSummary& summary) = 0;
  /// The events list of the last run; warning tells where a damaged log stopped being read.
  virtual void ShowEvents(std::span<const EventLogEntry> events, std::wstring_view warning) = 0;
};

}  // namespace lmk

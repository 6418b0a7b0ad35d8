// The batch processor's event log writer: leveled events with printf-style texts, per-level
// counters, and the process-wide access point through which actions reach the current run's log.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "com/com.h"
#include "platform/event_trace_sink.h"
#include "platform/message_format.h"

namespace lmk {

/// The session name of a batch run's log.
inline constexpr std::wstring_view kBatchLogSessionName = L"Lumarko Batch Processor";
/// The log file's name inside the log folder.
inline constexpr std::wstring_view kBatchLogFileName = L"LMKBatchProcessorLog.etl";
/// Written in place of a message that could not be formatted.
inline constexpr std::wstring_view kInternalErrorText = L"(internal error)";
inline constexpr std::wstring_view kBatchStartedText = L"Batch processing started.";
inline constexpr std::wstring_view kBatchEndedText = L"Batch processing ended.";

/// Writes events through one sink. Every method may be called from any thread at once.
/// Results are Win32 codes as the sink returns them (0 = written).
class EventLogWriter {
 public:
  /// Uses this system's sink.
  EventLogWriter();
  /// Uses `sink` (a test double, for instance); must not be null.
  explicit EventLogWriter(std::unique_ptr<EventTraceSink> sink);
  /// Stops a session that is still open. Must not be the current log any more (see Scope).
  ~EventLogWriter();
  EventLogWriter(const EventLogWriter&) = delete;
  EventLogWriter& operator=(const EventLogWriter&) = delete;

  /// "LMKBatchProcessorLog.etl" in the log folder (created if needed; the temporary folder when
  /// the user's data folder cannot be used).
  static std::wstring DefaultLogFilePath();

  /// Starts a session and resets the counters (EventTraceSink::Start for the codes).
  DWORD Open(std::wstring_view session_name, std::wstring_view log_file_path);
  /// Ends the session; the counters keep their values.
  DWORD Close();
  bool IsOpen() const;
  /// The file actually written (it differs from the one asked for when another session held it).
  std::wstring LogFilePath() const;

  /// A run's log: opens `log_file_path` under "Lumarko Batch Processor" and writes the
  /// information "Batch processing started.". Returns the result of opening.
  DWORD OpenBatchLog(std::wstring_view log_file_path);
  /// Writes the information "Batch processing ended." and closes. Returns the result of closing.
  DWORD CloseBatchLog();

  /// Writes `text` as it stands (no formatting). ERROR_INVALID_PARAMETER for a level outside
  /// 1..5 or a type of 10 or more.
  DWORD Write(BYTE level, std::wstring_view text, BYTE type = 0);
  /// Writes the short event without text.
  DWORD WriteWithoutText(BYTE level, BYTE type = 0);
  /// Writes the error event "(internal error)" (level 2, type 0), which counts as an error.
  DWORD WriteInternalError();

  /// Formats with printf's rules (FormatMessageText) and writes the result. When the format does
  /// not fit the arguments, "(internal error)" is written instead: the fault is still seen.
  template <class... Args>
  DWORD Printf(BYTE level, std::wstring_view format, const Args&... args) {
    const std::array<FormatArg, sizeof...(Args)> list{FormatArg(args)...};
    return WriteFormatted(level, format, list);
  }
  template <class... Args>
  DWORD Fatal(std::wstring_view format, const Args&... args) {
    return Printf(kEventLevelFatal, format, args...);
  }
  template <class... Args>
  DWORD Error(std::wstring_view format, const Args&... args) {
    return Printf(kEventLevelError, format, args...);
  }
  template <class... Args>
  DWORD Warning(std::wstring_view format, const Args&... args) {
    return Printf(kEventLevelWarning, format, args...);
  }
  template <class... Args>
  DWORD Info(std::wstring_view format, const Args&... args) {
    return Printf(kEventLevelInformation, format, args...);
  }
  template <class... Args>
  DWORD Verbose(std::wstring_view format, const Args&... args) {
    return Printf(kEventLevelVerbose, format, args...);
  }

  DWORD WriteFormatted(BYTE level, std::wstring_view format, std::span<const FormatArg> args);

  /// Formats an event as Printf does but keeps it back in this thread's held events: it goes
  /// out with this thread's next event through this writer, in the same write, or with
  /// FlushHeld. A file's match line is held so that the action's line, written just before the
  /// action touches the file, carries it: one write per file instead of two. Whoever holds
  /// must FlushHeld before the thread uses another writer or this one is destroyed.
  template <class... Args>
  void Hold(BYTE level, std::wstring_view format, const Args&... args) {
    const std::array<FormatArg, sizeof...(Args)> list{FormatArg(args)...};
    HoldFormatted(level, format, list);
  }
  void HoldFormatted(BYTE level, std::wstring_view format, std::span<const FormatArg> args);
  /// Writes this thread's held events, if any. Results as Write.
  DWORD FlushHeld();

  /// Events of `level` written since the last Open; 0 for an invalid level.
  LONG Count(BYTE level) const { return sink_->Count(level); }

  /// The run whose log actions write to. Actions get only the per-file dictionary, so the
  /// runner makes its writer current with a Scope for the length of the run (before any worker
  /// starts, until every worker has finished); LogEvent then reaches it from any thread.
  /// Null when no run is under way.
  static EventLogWriter* Current();

  /// Makes a writer the current one for its lifetime and restores the previous one after.
  class Scope {
   public:
    explicit Scope(EventLogWriter& writer);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    EventLogWriter* previous_;
  };

 private:
  // Writes one event, with this thread's held events before it.
  DWORD Emit(BYTE level, BYTE type, std::optional<std::wstring_view> text);

  std::unique_ptr<EventTraceSink> sink_;
};

/// Writes a formatted event to the current run's log (EventLogWriter::Current). Returns
/// ERROR_INVALID_HANDLE when no run is under way, so code that runs outside a batch job (a
/// rule check, a test) may log without caring.
template <class... Args>
DWORD LogEvent(BYTE level, std::wstring_view format, const Args&... args) {
  EventLogWriter* writer = EventLogWriter::Current();
  return writer != nullptr ? writer->Printf(level, format, args...) : ERROR_INVALID_HANDLE;
}

}  // namespace lmk

// The event trace sink: one trace session writing leveled events to a log file, with per-level
// counters. One implementation per operating system; the validation and the counters are shared.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

/// Event levels as the trace sessions number them.
inline constexpr BYTE kEventLevelFatal = 1;
inline constexpr BYTE kEventLevelError = 2;
inline constexpr BYTE kEventLevelWarning = 3;
inline constexpr BYTE kEventLevelInformation = 4;
inline constexpr BYTE kEventLevelVerbose = 5;
/// Event types are bytes below this limit.
inline constexpr BYTE kEventTypeLimit = 10;
/// A session name must be shorter than this many characters.
inline constexpr size_t kMaxSessionNameLength = 1024;
/// A log file path may have at most this many characters.
inline constexpr size_t kMaxLogFilePathLength = 260;
/// Texts longer than this many characters are cut: one event never grows past what a reader
/// accepts (real messages are a few hundred characters).
inline constexpr size_t kMaxEventTextLength = 512 * 1024;

/// True for levels 1 (fatal) to 5 (verbose detail).
constexpr bool IsValidEventLevel(BYTE level) {
  return level >= kEventLevelFatal && level <= kEventLevelVerbose;
}

/// One event of a group that EventTraceSink::WriteAll writes together.
struct EventTraceEvent {
  BYTE level = 0;
  BYTE type = 0;
  std::optional<std::wstring_view> text;
};

/// One session at a time writes events to one log file. Every method is safe to call from any
/// thread; events written concurrently never interleave in the file.
///
/// The public methods check their arguments and keep the counters; the protected virtual ones
/// do the writing, so every implementation (the file sink, the system's tracing, a test fake)
/// refuses and counts the same way. Results are Win32 error codes, 0 for success.
class EventTraceSink {
 public:
  virtual ~EventTraceSink() = default;
  EventTraceSink(const EventTraceSink&) = delete;
  EventTraceSink& operator=(const EventTraceSink&) = delete;

  /// Starts a session that writes to `log_file_path`, replacing the file's earlier content, and
  /// resets the five counters. ERROR_INVALID_PARAMETER (87) for an empty name or path, a name of
  /// 1024 or more characters or a path over 260; ERROR_ALREADY_EXISTS when a session is already
  /// running on this sink; ERROR_OUTOFMEMORY (14); otherwise the error of the file system.
  /// The session may end up writing to another file than asked (see LogFilePath).
  DWORD Start(std::wstring_view session_name, std::wstring_view log_file_path);

  /// Writes one event. `text` absent writes the short record without text. ERROR_INVALID_PARAMETER
  /// when `level` is not 1..5 or `type` not below 10 (nothing is counted then);
  /// ERROR_INVALID_HANDLE when no session runs; ERROR_OUTOFMEMORY; a file system error.
  /// Every accepted event counts in its level's counter, even when the file cannot take it:
  /// the counters tell the runner that errors happened, and a full disk must not hide them.
  DWORD Write(BYTE level, BYTE type, std::optional<std::wstring_view> text);

  /// Writes `events` in their order as one piece (one system call for a file), so that no other
  /// thread's event comes between them. Each is checked and counted as Write does; one that is
  /// refused is left out. Returns the first failure, or 0.
  DWORD WriteAll(std::span<const EventTraceEvent> events);

  /// Ends the session and makes the file durable. ERROR_INVALID_HANDLE when none runs.
  /// The counters keep their values until the next Start.
  DWORD Stop();

  /// True between a successful Start and Stop.
  virtual bool IsStarted() const = 0;

  /// The file the running (or last) session writes to; empty before the first Start.
  virtual std::wstring LogFilePath() const = 0;

  /// The name the running (or last) session runs under; empty before the first Start.
  virtual std::wstring SessionName() const = 0;

  /// Events of `level` accepted since the last Start; 0 for an invalid level.
  LONG Count(BYTE level) const;

 protected:
  EventTraceSink() = default;

  /// Arguments are checked; the implementation opens its session.
  virtual DWORD DoStart(std::wstring_view session_name, std::wstring_view log_file_path) = 0;
  /// Arguments are checked and the event is counted; the implementation writes it.
  virtual DWORD DoWrite(BYTE level, BYTE type, std::optional<std::wstring_view> text) = 0;
  /// Every event is checked and counted. Writes them one by one unless the sink can do better.
  virtual DWORD DoWriteAll(std::span<const EventTraceEvent> events);
  virtual DWORD DoStop() = 0;

 private:
  std::array<std::atomic<LONG>, kEventLevelVerbose> counters_{};
};

/// The sink of this operating system: a binary log file on POSIX, the system's event tracing on
/// Windows. Never null (throws std::bad_alloc when memory runs out).
std::unique_ptr<EventTraceSink> CreateEventTraceSink();

}  // namespace lmk

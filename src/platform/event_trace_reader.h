// Reading back a log file written by the event trace sink, event by event, in write order.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

/// One event as read back from a log file.
struct EventTraceRecord {
  BYTE level = 0;
  BYTE type = 0;
  /// When it was written: 100-nanosecond intervals since 1601 (a FILETIME), UTC.
  int64_t time = 0;
  /// Absent for an event written without text.
  std::optional<std::wstring> text;
};

/// Where and why reading stopped before the end of a file.
struct EventTraceDamage {
  enum class Kind {
    kNone,       ///< The whole file was read.
    kTruncated,  ///< The file ends inside an event (a crash or a session still writing).
    kCorrupt,    ///< A length, level or marker in an event is not possible.
    kBadHeader,  ///< The file's session header is missing or damaged: no event can be trusted.
  };
  /// What exactly is wrong, for a message that lets the user judge the file.
  enum class Problem {
    kNone,
    kEmptyFile,       ///< The file has no bytes at all.
    kHeaderCut,       ///< The file ends inside the session header.
    kHeaderSize,      ///< The header's size field (`found`) is not possible.
    kNotThisProgram,  ///< The header does not carry this program's mark.
    kHeaderLayout,    ///< The header's names or their offsets do not fit together.
    kRecordCut,       ///< The file ends inside an event.
    kRecordSize,      ///< An event's size field (`found`) is neither 48 nor 64.
    kEventClass,      ///< An event's class GUID is not this program's.
    kFlags,           ///< An event's flags (`found`) do not fit its size.
    kLevel,           ///< An event's level (`found`) is not 1..5.
    kType,            ///< An event's type (`found`) is not below 10.
    kTextLength,      ///< An event's text length or place (`found`) is not possible.
    kTextEnd,         ///< An event's text lacks its terminating zero.
  };
  Kind kind = Kind::kNone;
  Problem problem = Problem::kNone;
  /// Byte offset of the header, or of the first event that could not be read.
  uint64_t offset = 0;
  /// The impossible value read, where the problem names one.
  uint64_t found = 0;
};

/// Reads the events of `path`, calling `on_record` for each in file order until it returns false.
/// Reading is tolerant of damage: at the first event that is cut short or malformed it stops,
/// fills `damage` (which may be null) and still returns ERROR_SUCCESS, so every earlier event is
/// delivered. Every length read from the file is checked before it is used.
/// Returns ERROR_FILE_NOT_FOUND / ERROR_PATH_NOT_FOUND / ERROR_ACCESS_DENIED when the file cannot
/// be opened, ERROR_INVALID_DATA when its session header is missing or damaged (`damage` then
/// says how, with kind kBadHeader), ERROR_OUTOFMEMORY.
DWORD ReadEventTraceFile(std::wstring_view path,
                         const std::function<bool(EventTraceRecord&&)>& on_record,
                         EventTraceDamage* damage);

}  // namespace lmk

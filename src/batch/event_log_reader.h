// Reads a run's event log back for the events list, its filters and the text export.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"

namespace lmk {

/// One event of a log, as the events list shows it.
struct EventLogEntry {
  BYTE level = 0;
  BYTE type = 0;
  /// When it was written: a FILETIME count, UTC.
  int64_t time = 0;
  /// The description; empty for an event written without text.
  std::wstring text;

  bool operator==(const EventLogEntry&) const = default;
};

/// The events of a log file and, when the file is damaged, a message saying what is wrong and
/// where reading stopped (the events before the damage are all there).
struct EventLogContents {
  std::vector<EventLogEntry> entries;
  std::wstring damage;
};

class EventLogReader {
 public:
  /// Reads every event of `path` in the order written, replacing `*out`. A cut-off or damaged
  /// tail never fails the read: it ends the list and sets `out->damage`. Returns ERROR_SUCCESS;
  /// ERROR_FILE_NOT_FOUND (no run has written a log yet), ERROR_ACCESS_DENIED,
  /// ERROR_INVALID_DATA when the file's header is missing or damaged (`out->damage` says how, and
  /// there are no entries), ERROR_OUTOFMEMORY, ERROR_INVALID_PARAMETER for a null `out`.
  static DWORD Read(std::wstring_view path, EventLogContents* out);
};

}  // namespace lmk

// The events list's "save as text": the header line and one line per event.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "batch/event_log_reader.h"
#include "com/com.h"

namespace lmk {

class EventLogExporter {
 public:
  /// The export's text: "Lumarko Batch Processor Event Log - Generated on YYYY-MM-DD HH:MM:SS"
  /// (local time of `generated_at`, a FILETIME count, UTC), an empty line, then one line per
  /// entry: its type word, a tab, its time, a tab, its description. Line breaks inside a
  /// description become spaces so that each event stays on one line. Lines end with "\n".
  static std::wstring Text(std::span<const EventLogEntry> entries, int64_t generated_at);

  /// Writes Text(entries, now) to `path` (UTF-8; an existing file is replaced only by a complete
  /// new one). ERROR_SUCCESS or the Win32 code of the failure; the caller shows SaveFailedText().
  static DWORD Save(std::wstring_view path, std::span<const EventLogEntry> entries);

  /// "An error occured while saving the file, sorry."
  static std::wstring_view SaveFailedText();
};

}  // namespace lmk

// Reads a run's event log into entries, turning damage into a warning.
#include "batch/event_log_reader.h"

#include <new>

#include "batch/event_log_texts.h"
#include "platform/event_trace_reader.h"
#include "platform/message_format.h"

namespace lmk {

DWORD EventLogReader::Read(std::wstring_view path, EventLogContents* out) {
  if (out == nullptr) return ERROR_INVALID_PARAMETER;
  try {
    EventLogContents contents;
    EventTraceDamage damage;
    const DWORD result = ReadEventTraceFile(
        path,
        [&contents](EventTraceRecord&& record) {
          contents.entries.push_back(
              EventLogEntry{record.level, record.type, record.time,
                            record.text ? std::move(*record.text) : std::wstring()});
          return true;
        },
        &damage);
    if (result != ERROR_SUCCESS) return result;
    if (damage.kind != EventTraceDamage::Kind::kNone) {
      const EventLogText id = damage.kind == EventTraceDamage::Kind::kTruncated
                                  ? EventLogText::kDamagedTruncated
                                  : EventLogText::kDamagedCorrupt;
      const FormatArg args[] = {FormatArg(path), FormatArg(damage.offset)};
      contents.warning = FormatMessageText(LoadEventLogText(id), args).value_or(L"");
    }
    *out = std::move(contents);
    return ERROR_SUCCESS;
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  }
}

}  // namespace lmk

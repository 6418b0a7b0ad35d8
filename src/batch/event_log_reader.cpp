// Reads a run's event log into entries, turning damage into a warning.
#include "batch/event_log_reader.h"

#include <new>

#include "batch/event_log_texts.h"
#include "platform/event_trace_reader.h"
#include "platform/message_format.h"

namespace lmk {

namespace {

std::wstring DamageMessage(std::wstring_view path, const EventTraceDamage& damage,
                           size_t readable) {
  const FormatArg found[] = {FormatArg(damage.found)};
  const std::wstring problem =
      FormatMessageText(DamageProblemText(damage.problem), found).value_or(L"");
  if (damage.kind == EventTraceDamage::Kind::kBadHeader) {
    const FormatArg args[] = {FormatArg(path), FormatArg(problem)};
    return FormatMessageText(LoadEventLogText(EventLogText::kDamagedHeader), args).value_or(L"");
  }
  const EventLogText id = damage.kind == EventTraceDamage::Kind::kTruncated
                              ? EventLogText::kDamagedTruncated
                              : EventLogText::kDamagedCorrupt;
  const FormatArg args[] = {FormatArg(path), FormatArg(damage.offset), FormatArg(problem),
                            FormatArg(static_cast<uint64_t>(readable))};
  return FormatMessageText(LoadEventLogText(id), args).value_or(L"");
}

}  // namespace

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
    if (result != ERROR_SUCCESS && damage.kind != EventTraceDamage::Kind::kBadHeader) {
      return result;
    }
    if (damage.kind != EventTraceDamage::Kind::kNone) {
      contents.damage = DamageMessage(path, damage, contents.entries.size());
    }
    *out = std::move(contents);
    return result;
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  }
}

}  // namespace lmk

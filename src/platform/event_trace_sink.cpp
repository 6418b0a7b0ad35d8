// Argument checks and per-level counters shared by every event trace sink.
#include "platform/event_trace_sink.h"

#include <algorithm>
#include <new>
#include <vector>

namespace lmk {

DWORD EventTraceSink::Start(std::wstring_view session_name, std::wstring_view log_file_path) {
  if (session_name.empty() || log_file_path.empty() ||
      session_name.size() >= kMaxSessionNameLength ||
      log_file_path.size() > kMaxLogFilePathLength) {
    return ERROR_INVALID_PARAMETER;
  }
  if (IsStarted()) return ERROR_ALREADY_EXISTS;
  DWORD result = ERROR_SUCCESS;
  try {
    result = DoStart(session_name, log_file_path);
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  }
  if (result == ERROR_SUCCESS) {
    for (auto& counter : counters_) counter.store(0);
  }
  return result;
}

DWORD EventTraceSink::Write(BYTE level, BYTE type, std::optional<std::wstring_view> text) {
  if (!IsValidEventLevel(level) || type >= kEventTypeLimit) return ERROR_INVALID_PARAMETER;
  counters_[level - 1].fetch_add(1);
  if (text && text->size() > kMaxEventTextLength) text = text->substr(0, kMaxEventTextLength);
  try {
    return DoWrite(level, type, text);
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  }
}

DWORD EventTraceSink::WriteAll(std::span<const EventTraceEvent> events) {
  DWORD refused = ERROR_SUCCESS;
  // Events that are all fine as they stand (a file's match line and its action's line) are
  // passed on without a copy.
  const auto fine = [](const EventTraceEvent& event) {
    return IsValidEventLevel(event.level) && event.type < kEventTypeLimit &&
           (!event.text || event.text->size() <= kMaxEventTextLength);
  };
  if (!events.empty() && std::all_of(events.begin(), events.end(), fine)) {
    for (const EventTraceEvent& event : events) counters_[event.level - 1].fetch_add(1);
    try {
      return DoWriteAll(events);
    } catch (const std::bad_alloc&) {
      return ERROR_OUTOFMEMORY;
    }
  }
  try {
    std::vector<EventTraceEvent> accepted;
    accepted.reserve(events.size());
    for (EventTraceEvent event : events) {
      if (!IsValidEventLevel(event.level) || event.type >= kEventTypeLimit) {
        if (refused == ERROR_SUCCESS) refused = ERROR_INVALID_PARAMETER;
        continue;
      }
      counters_[event.level - 1].fetch_add(1);
      if (event.text && event.text->size() > kMaxEventTextLength) {
        event.text = event.text->substr(0, kMaxEventTextLength);
      }
      accepted.push_back(event);
    }
    if (accepted.empty()) return refused;
    const DWORD written = DoWriteAll(accepted);
    return refused != ERROR_SUCCESS ? refused : written;
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  }
}

DWORD EventTraceSink::DoWriteAll(std::span<const EventTraceEvent> events) {
  DWORD result = ERROR_SUCCESS;
  for (const EventTraceEvent& event : events) {
    const DWORD written = DoWrite(event.level, event.type, event.text);
    if (result == ERROR_SUCCESS) result = written;
  }
  return result;
}

DWORD EventTraceSink::Stop() {
  if (!IsStarted()) return ERROR_INVALID_HANDLE;
  try {
    return DoStop();
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  }
}

LONG EventTraceSink::Count(BYTE level) const {
  return IsValidEventLevel(level) ? counters_[level - 1].load() : 0;
}

}  // namespace lmk

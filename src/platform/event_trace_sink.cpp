// Argument checks and per-level counters shared by every event trace sink.
#include "platform/event_trace_sink.h"

#include <new>

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

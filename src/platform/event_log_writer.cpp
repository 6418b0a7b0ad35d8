// The event log writer: formatting, the batch run's fixed events and the current-log access point.
#include "platform/event_log_writer.h"

#include <cassert>
#include <new>
#include <vector>

#include "platform/known_folders.h"
#include "platform/process_shared_slot.h"

namespace lmk {

namespace {
// Shared with the host program that loaded this module, so that what the host logs about a
// picture lands in the run's log too.
std::atomic<void*>& CurrentSlot() { return ProcessSharedSlot(ProcessSlot::kCurrentEventLog); }

// The events a thread holds back for one writer (EventLogWriter::Hold).
struct HeldEvents {
  const EventLogWriter* owner = nullptr;
  std::vector<std::pair<BYTE, std::wstring>> events;
};
thread_local HeldEvents t_held;

}  // namespace

EventLogWriter::EventLogWriter() : EventLogWriter(CreateEventTraceSink()) {}

EventLogWriter::EventLogWriter(std::unique_ptr<EventTraceSink> sink) : sink_(std::move(sink)) {
  assert(sink_ != nullptr);
}

EventLogWriter::~EventLogWriter() {
  assert(CurrentSlot().load() != this);
  if (t_held.owner == this) t_held = HeldEvents{};
  if (sink_->IsStarted()) sink_->Stop();
}

std::wstring EventLogWriter::DefaultLogFilePath() {
  return JoinPath(LogFolderPath(), kBatchLogFileName);
}

DWORD EventLogWriter::Open(std::wstring_view session_name, std::wstring_view log_file_path) {
  return sink_->Start(session_name, log_file_path);
}

DWORD EventLogWriter::Close() { return sink_->Stop(); }

bool EventLogWriter::IsOpen() const { return sink_->IsStarted(); }

std::wstring EventLogWriter::LogFilePath() const { return sink_->LogFilePath(); }

DWORD EventLogWriter::OpenBatchLog(std::wstring_view log_file_path) {
  const DWORD result = Open(kBatchLogSessionName, log_file_path);
  if (result == ERROR_SUCCESS) Write(kEventLevelInformation, kBatchStartedText);
  return result;
}

DWORD EventLogWriter::CloseBatchLog() {
  Write(kEventLevelInformation, kBatchEndedText);
  return Close();
}

DWORD EventLogWriter::Emit(BYTE level, BYTE type, std::optional<std::wstring_view> text) {
  if (t_held.owner != this || t_held.events.empty()) return sink_->Write(level, type, text);
  // The thread's list keeps its room from one file to the next.
  thread_local std::vector<EventTraceEvent> t_events;
  std::vector<EventTraceEvent>& events = t_events;
  events.clear();
  for (const auto& [heldLevel, heldText] : t_held.events) {
    events.push_back({heldLevel, 0, std::wstring_view(heldText)});
  }
  events.push_back({level, type, text});
  const DWORD result = sink_->WriteAll(events);
  t_held.events.clear();
  return result;
}

DWORD EventLogWriter::Write(BYTE level, std::wstring_view text, BYTE type) {
  return Emit(level, type, text);
}

DWORD EventLogWriter::WriteWithoutText(BYTE level, BYTE type) {
  return Emit(level, type, std::nullopt);
}

DWORD EventLogWriter::WriteInternalError() { return Emit(kEventLevelError, 0, kInternalErrorText); }

void EventLogWriter::HoldFormatted(BYTE level, std::wstring_view format,
                                   std::span<const FormatArg> args) {
  if (!IsValidEventLevel(level)) return;
  // Events a thread left held for another writer were that writer's to flush.
  if (t_held.owner != this) {
    t_held.events.clear();
    t_held.owner = this;
  }
  std::optional<std::wstring> text = FormatMessageText(format, args);
  if (text) {
    t_held.events.emplace_back(level, std::move(*text));
  } else {
    t_held.events.emplace_back(kEventLevelError, std::wstring(kInternalErrorText));
  }
}

DWORD EventLogWriter::FlushHeld() {
  if (t_held.owner != this || t_held.events.empty()) return ERROR_SUCCESS;
  std::vector<EventTraceEvent> events;
  events.reserve(t_held.events.size());
  for (const auto& [level, text] : t_held.events)
    events.push_back({level, 0, std::wstring_view(text)});
  const DWORD result = sink_->WriteAll(events);
  t_held.events.clear();
  return result;
}

DWORD EventLogWriter::WriteFormatted(BYTE level, std::wstring_view format,
                                     std::span<const FormatArg> args) {
  if (!IsValidEventLevel(level)) return ERROR_INVALID_PARAMETER;
  try {
    const std::optional<std::wstring> text = FormatMessageText(format, args);
    if (!text) return WriteInternalError();
    return Emit(level, 0, *text);
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  }
}

EventLogWriter* EventLogWriter::Current() {
  return static_cast<EventLogWriter*>(CurrentSlot().load());
}

EventLogWriter::Scope::Scope(EventLogWriter& writer)
    : previous_(static_cast<EventLogWriter*>(CurrentSlot().exchange(&writer))) {}

EventLogWriter::Scope::~Scope() { CurrentSlot().store(previous_); }

}  // namespace lmk

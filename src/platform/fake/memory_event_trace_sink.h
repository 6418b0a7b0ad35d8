// An event trace sink that keeps events in memory, for tests of code that writes events.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/event_trace_reader.h"
#include "platform/event_trace_sink.h"

namespace lmk::fake {

/// Keeps every written event in order; can be told to fail writes with a given code.
class MemoryEventTraceSink final : public EventTraceSink {
 public:
  bool IsStarted() const override {
    std::lock_guard lock(mutex_);
    return started_;
  }
  std::wstring LogFilePath() const override {
    std::lock_guard lock(mutex_);
    return path_;
  }
  std::wstring SessionName() const override {
    std::lock_guard lock(mutex_);
    return name_;
  }

  /// The events written so far (a copy, safe while others write).
  std::vector<EventTraceRecord> Events() const {
    std::lock_guard lock(mutex_);
    return events_;
  }

  /// Every later write returns `error` (after being counted, as a real sink does).
  void FailWritesWith(DWORD error) {
    std::lock_guard lock(mutex_);
    write_error_ = error;
  }

 protected:
  DWORD DoStart(std::wstring_view session_name, std::wstring_view log_file_path) override {
    std::lock_guard lock(mutex_);
    if (started_) return ERROR_ALREADY_EXISTS;
    started_ = true;
    name_ = session_name;
    path_ = log_file_path;
    events_.clear();
    return ERROR_SUCCESS;
  }
  DWORD DoWrite(BYTE level, BYTE type, std::optional<std::wstring_view> text) override {
    std::lock_guard lock(mutex_);
    if (!started_) return ERROR_INVALID_HANDLE;
    if (write_error_ != ERROR_SUCCESS) return write_error_;
    EventTraceRecord record;
    record.level = level;
    record.type = type;
    record.time = static_cast<int64_t>(events_.size());
    if (text) record.text = std::wstring(*text);
    events_.push_back(std::move(record));
    return ERROR_SUCCESS;
  }
  DWORD DoStop() override {
    std::lock_guard lock(mutex_);
    started_ = false;
    return ERROR_SUCCESS;
  }

 private:
  mutable std::mutex mutex_;
  bool started_ = false;
  std::wstring name_;
  std::wstring path_;
  std::vector<EventTraceRecord> events_;
  DWORD write_error_ = ERROR_SUCCESS;
};

}  // namespace lmk::fake

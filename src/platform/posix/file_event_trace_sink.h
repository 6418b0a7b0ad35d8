// The POSIX event trace sink: a sequential binary log file (layout in event_record_codec.h).
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "platform/event_trace_sink.h"

namespace lmk {

/// Writes each event as one record with a single append under a lock, so records from many
/// threads never interleave; a record that the file system takes only in part is cut off again,
/// so the file always ends on a whole record unless the process dies inside a write.
///
/// The log file is locked (flock) while a session writes it. When another session, of this or
/// another process, already holds the file, the session runs under the second name
/// "<name>_<process id>" and writes "<file stem>_<process id><extension>" beside it instead of
/// spoiling the other session's log; LogFilePath() tells which file was written.
class FileEventTraceSink final : public EventTraceSink {
 public:
  FileEventTraceSink() = default;
  ~FileEventTraceSink() override;

  bool IsStarted() const override;
  std::wstring LogFilePath() const override;
  std::wstring SessionName() const override;

 protected:
  DWORD DoStart(std::wstring_view session_name, std::wstring_view log_file_path) override;
  DWORD DoWrite(BYTE level, BYTE type, std::optional<std::wstring_view> text) override;
  DWORD DoWriteAll(std::span<const EventTraceEvent> events) override;
  DWORD DoStop() override;

 private:
  DWORD OpenLocked(std::wstring_view path, bool* busy);
  DWORD AppendLocked(const uint8_t* data, size_t size);

  mutable std::mutex mutex_;
  int fd_ = -1;
  uint64_t file_size_ = 0;
  std::wstring log_file_path_;
  std::wstring session_name_;
};

}  // namespace lmk

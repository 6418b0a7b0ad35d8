// POSIX event trace sink: appends records to a locked log file. Only generic POSIX code here.
#include "platform/posix/file_event_trace_sink.h"

#include <fcntl.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "platform/posix/error_map.h"
#include "platform/posix/event_record_codec.h"
#include "platform/text_encoding.h"

namespace lmk {

namespace {

// 100-nanosecond intervals between 1601-01-01 and 1970-01-01.
constexpr int64_t kUnixEpochAsFileTime = 116444736000000000LL;

int64_t NowAsFileTime() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return kUnixEpochAsFileTime + static_cast<int64_t>(now.tv_sec) * 10000000 + now.tv_nsec / 100;
}

uint32_t PageSizeKb() {
  const long page = sysconf(_SC_PAGESIZE);
  return page > 0 ? static_cast<uint32_t>(page / 1024) : 4;
}

// "<stem>_<pid><extension>" beside `path`.
std::wstring AlternatePath(std::wstring_view path, long pid) {
  const size_t slash = path.rfind(L'/');
  const size_t dot = path.rfind(L'.');
  const size_t split =
      (dot != std::wstring_view::npos && (slash == std::wstring_view::npos || dot > slash + 1))
          ? dot
          : path.size();
  std::wstring result(path.substr(0, split));
  result += L'_';
  result += std::to_wstring(pid);
  result += path.substr(split);
  return result;
}

}  // namespace

std::unique_ptr<EventTraceSink> CreateEventTraceSink() {
  return std::make_unique<FileEventTraceSink>();
}

FileEventTraceSink::~FileEventTraceSink() {
  if (IsStarted()) Stop();
}

bool FileEventTraceSink::IsStarted() const {
  std::lock_guard lock(mutex_);
  return fd_ >= 0;
}

std::wstring FileEventTraceSink::LogFilePath() const {
  std::lock_guard lock(mutex_);
  return log_file_path_;
}

std::wstring FileEventTraceSink::SessionName() const {
  std::lock_guard lock(mutex_);
  return session_name_;
}

DWORD FileEventTraceSink::OpenLocked(std::wstring_view path, bool* busy) {
  *busy = false;
  const std::string native = ToUtf8(path);
  // Not O_TRUNC: the file may belong to a session that is still writing it.
  const int fd = ::open(native.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (fd < 0) return Win32FromWriteErrno(errno);
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    const int error = errno;
    ::close(fd);
    *busy = error == EWOULDBLOCK;
    return Win32FromWriteErrno(error);
  }
  if (::ftruncate(fd, 0) != 0) {
    const int error = errno;
    ::close(fd);
    return Win32FromWriteErrno(error);
  }
  fd_ = fd;
  file_size_ = 0;
  return ERROR_SUCCESS;
}

DWORD FileEventTraceSink::AppendLocked(const uint8_t* data, size_t size) {
  size_t done = 0;
  while (done < size) {
    const ssize_t n = ::write(fd_, data + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      const DWORD error = n < 0 ? Win32FromWriteErrno(errno) : ERROR_DISK_FULL;
      // Cut the partial record off so that later records still start where a reader expects.
      if (done > 0 && ::ftruncate(fd_, static_cast<off_t>(file_size_)) != 0) {
        file_size_ += done;  // the file now ends inside a record; readers stop there
      }
      return error;
    }
    done += static_cast<size_t>(n);
  }
  file_size_ += size;
  return ERROR_SUCCESS;
}

DWORD FileEventTraceSink::DoStart(std::wstring_view session_name, std::wstring_view log_file_path) {
  if (EventRecordCodec::ToUtf16(session_name).size() >= kMaxSessionNameLength) {
    return ERROR_INVALID_PARAMETER;
  }
  std::lock_guard lock(mutex_);
  if (fd_ >= 0) return ERROR_ALREADY_EXISTS;
  std::wstring name(session_name);
  std::wstring path(log_file_path);
  bool busy = false;
  DWORD result = OpenLocked(path, &busy);
  if (busy) {
    const long pid = static_cast<long>(::getpid());
    name += L'_';
    name += std::to_wstring(pid);
    path = AlternatePath(log_file_path, pid);
    if (path.size() > kMaxLogFilePathLength || name.size() >= kMaxSessionNameLength) {
      return ERROR_SHARING_VIOLATION;
    }
    result = OpenLocked(path, &busy);
  }
  if (result != ERROR_SUCCESS) return result;
  const std::vector<uint8_t> block =
      EventRecordCodec::SessionBlock(name, path, NowAsFileTime(), PageSizeKb());
  result = AppendLocked(block.data(), block.size());
  if (result != ERROR_SUCCESS) {
    ::close(fd_);
    fd_ = -1;
    return result;
  }
  session_name_ = std::move(name);
  log_file_path_ = std::move(path);
  return ERROR_SUCCESS;
}

// Each thread encodes its records in a buffer of its own that keeps its size from one event to
// the next, instead of allocating one per event.
thread_local std::vector<uint8_t> t_records;

DWORD FileEventTraceSink::DoWrite(BYTE level, BYTE type, std::optional<std::wstring_view> text) {
  std::vector<uint8_t>& record = t_records;
  record.clear();
  EventRecordCodec::AppendRecord(level, type, 0, text, &record);
  const size_t time_offset =
      text ? EventRecordCodec::kHeaderSizeWithText : EventRecordCodec::kHeaderSizeWithoutText;
  std::lock_guard lock(mutex_);
  if (fd_ < 0) return ERROR_INVALID_HANDLE;
  // Stamped under the lock, so that the file's order is the order of the time stamps.
  const auto now = static_cast<uint64_t>(NowAsFileTime());
  for (int i = 0; i < 8; ++i) record[time_offset + i] = static_cast<uint8_t>(now >> (8 * i));
  return AppendLocked(record.data(), record.size());
}

DWORD FileEventTraceSink::DoWriteAll(std::span<const EventTraceEvent> events) {
  thread_local std::vector<size_t> t_time_offsets;
  std::vector<uint8_t>& records = t_records;
  std::vector<size_t>& time_offsets = t_time_offsets;
  records.clear();
  time_offsets.clear();
  for (const EventTraceEvent& event : events) {
    time_offsets.push_back(records.size() + (event.text
                                                 ? EventRecordCodec::kHeaderSizeWithText
                                                 : EventRecordCodec::kHeaderSizeWithoutText));
    EventRecordCodec::AppendRecord(event.level, event.type, 0, event.text, &records);
  }
  std::lock_guard lock(mutex_);
  if (fd_ < 0) return ERROR_INVALID_HANDLE;
  const auto now = static_cast<uint64_t>(NowAsFileTime());
  for (const size_t at : time_offsets) {
    for (int i = 0; i < 8; ++i) records[at + i] = static_cast<uint8_t>(now >> (8 * i));
  }
  return AppendLocked(records.data(), records.size());
}

DWORD FileEventTraceSink::DoStop() {
  std::lock_guard lock(mutex_);
  if (fd_ < 0) return ERROR_INVALID_HANDLE;
  DWORD result = ERROR_SUCCESS;
  if (::fdatasync(fd_) != 0) result = Win32FromWriteErrno(errno);
  // Closing releases the file lock.
  if (::close(fd_) != 0 && result == ERROR_SUCCESS) result = Win32FromWriteErrno(errno);
  fd_ = -1;
  return result;
}

}  // namespace lmk

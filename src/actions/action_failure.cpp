// Failure texts of the file actions.
#include "actions/action_failure.h"

#include <optional>

#include "com/com_error.h"
#include "platform/event_log_writer.h"

namespace lmk {
namespace {

struct ReasonText {
  DWORD code;
  std::wstring_view text;
};

// The wording Windows gives these codes, so that logs read the same on every system.
constexpr std::array<ReasonText, 17> kReasons = {{
    {ERROR_FILE_NOT_FOUND, L"The system cannot find the file specified."},
    {ERROR_PATH_NOT_FOUND, L"The system cannot find the path specified."},
    {ERROR_ACCESS_DENIED, L"Access is denied."},
    {ERROR_NOT_ENOUGH_MEMORY,
     L"Not enough memory resources are available to process this command."},
    {ERROR_OUTOFMEMORY, L"Not enough memory resources are available to complete this operation."},
    {ERROR_WRITE_PROTECT, L"The media is write protected."},
    {ERROR_NOT_READY, L"The device is not ready."},
    {ERROR_NOT_SAME_DEVICE, L"The system cannot move the file to a different disk drive."},
    {ERROR_SHARING_VIOLATION,
     L"The process cannot access the file because it is being used by another process."},
    {ERROR_LOCK_VIOLATION,
     L"The process cannot access the file because another process has locked a portion of the "
     L"file."},
    {ERROR_FILE_EXISTS, L"The file exists."},
    {ERROR_DISK_FULL, L"There is not enough space on the disk."},
    {ERROR_ALREADY_EXISTS, L"Cannot create a file when that file already exists."},
    {ERROR_FILENAME_EXCED_RANGE, L"The filename or extension is too long."},
    {ERROR_DIR_NOT_EMPTY, L"The directory is not empty."},
    {ERROR_BAD_PATHNAME, L"The specified path is invalid."},
    {1392, L"The file or directory is corrupted and unreadable."},
}};

std::optional<std::wstring_view> SystemText(HRESULT hr) {
  if (hr == E_ACCESSDENIED) return kReasons[2].text;
  if (hr == E_OUTOFMEMORY) return kReasons[4].text;
  if ((static_cast<DWORD>(hr) & 0xFFFF0000u) != 0x80070000u) return std::nullopt;
  const DWORD code = static_cast<DWORD>(HRESULT_CODE(hr));
  for (const ReasonText& reason : kReasons) {
    if (reason.code == code) return reason.text;
  }
  return std::nullopt;
}

}  // namespace

std::wstring FormatActionTextList(std::wstring_view format, std::span<const FormatArg> args) {
  std::optional<std::wstring> text = FormatMessageText(format, args);
  return text ? std::move(*text) : std::wstring(kInternalErrorText);
}

std::wstring FailureReason(HRESULT hr) {
  std::wstring reason;
  if (const auto text = SystemText(hr)) {
    reason = *text;
    reason += L' ';
  }
  reason += L'(';
  reason += FormatHresult(hr);
  reason += L')';
  return reason;
}

std::wstring FailureMessage(std::wstring_view text, HRESULT hr) {
  std::wstring message(text);
  message += L' ';
  message += FailureReason(hr);
  return message;
}

HRESULT ReportFailure(HRESULT hr, std::wstring_view message) {
  SetErrorDescription(message);
  return hr;
}

void LogFailure(std::wstring_view message) {
  // The message is written as it stands: paths may hold '%'.
  if (EventLogWriter* log = EventLogWriter::Current()) log->Write(kEventLevelError, message);
}

HRESULT CompanionFailure(HRESULT hr, std::wstring_view message, CActionErrorMode mode) {
  if (SUCCEEDED(hr)) return hr;
  if (mode != CActionErrorMode::Ignore) return ReportFailure(hr, message);
  LogFailure(message);
  return S_OK;
}

}  // namespace lmk

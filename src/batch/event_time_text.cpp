// Time stamps and elapsed times of the event log in fixed, sortable forms.
#include "batch/event_time_text.h"

#include <array>

#include "batch/event_log_texts.h"
#include "com/com.h"
#include "platform/message_format.h"

namespace lmk {

namespace {

std::wstring Format(std::wstring_view format, std::span<const FormatArg> args) {
  return FormatMessageText(format, args).value_or(L"?");
}

}  // namespace

std::wstring EventTimeText(int64_t file_time_utc, bool with_milliseconds) {
  if (file_time_utc < 0) return L"?";
  const FILETIME utc = Int64ToFileTime(file_time_utc);
  FILETIME local{};
  SYSTEMTIME time{};
  if (!FileTimeToLocalFileTime(&utc, &local) || !FileTimeToSystemTime(&local, &time)) {
    return L"?";
  }
  const std::array<FormatArg, 7> args = {time.wYear,   time.wMonth,  time.wDay,         time.wHour,
                                         time.wMinute, time.wSecond, time.wMilliseconds};
  return Format(
      with_milliseconds ? L"%04u-%02u-%02u %02u:%02u:%02u.%03u" : L"%04u-%02u-%02u %02u:%02u:%02u",
      args);
}

std::wstring ExecutionTimeText(std::chrono::milliseconds elapsed) {
  const int64_t total_seconds = elapsed.count() > 0 ? elapsed.count() / 1000 : 0;
  const int64_t days = total_seconds / 86400;
  const int64_t rest = total_seconds % 86400;
  std::wstring text;
  if (days > 0) {
    const FormatArg day_args[] = {FormatArg(days)};
    text = Format(LoadEventLogText(days == 1 ? EventLogText::kOneDayPart : EventLogText::kDaysPart),
                  day_args);
  }
  const FormatArg clock_args[] = {FormatArg(rest / 3600), FormatArg(rest / 60 % 60),
                                  FormatArg(rest % 60)};
  text += Format(L"%02d:%02d:%02d", clock_args);
  const FormatArg args[] = {FormatArg(text)};
  return Format(LoadEventLogText(EventLogText::kExecutionTime), args);
}

}  // namespace lmk

// Time stamps and elapsed times as the events list, the export and the run summary show them.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace lmk {

/// A FILETIME count (UTC) in local time as "YYYY-MM-DD HH:MM:SS.mmm" (without the milliseconds
/// when `with_milliseconds` is false). Fixed digits rather than the locale's form, so exported
/// logs sort and compare alike everywhere. "?" for a time that has no calendar date.
std::wstring EventTimeText(int64_t file_time_utc, bool with_milliseconds = true);

/// "Execution time: " followed by the elapsed time: "2 days, " or "1 day, " when a day or more
/// has passed, then "HH:MM:SS". Negative durations count as zero.
std::wstring ExecutionTimeText(std::chrono::milliseconds elapsed);

}  // namespace lmk

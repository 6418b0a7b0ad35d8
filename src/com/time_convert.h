// FILETIME, SYSTEMTIME and automation DATE conversions, and dates as invariant text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "com/com_sdk.h"

namespace lmk {

/// Ticks between 1601-01-01 and 1970-01-01 (369 years, 89 of them leap: 134774 days).
inline constexpr int64_t kUnixEpochAsFileTime = 116444736000000000;
inline constexpr int64_t kFileTimeTicksPerSecond = 10000000;

int64_t FileTimeToInt64(const FILETIME& file_time) noexcept;
FILETIME Int64ToFileTime(int64_t ticks) noexcept;

/// The record's local date: UTC file time -> local file time -> SYSTEMTIME -> automation date
/// (milliseconds dropped). Throws ComError(E_INVALIDARG) for times outside years 1601..9999.
DATE FileTimeToLocalDate(const FILETIME& file_time);

/// Automation date arithmetic done here so both operating systems agree; the POSIX shim's
/// SystemTimeToVariantTime / VariantTimeToSystemTime / FileTimeToSystemTime use them.
/// Date -> SYSTEMTIME rounded to the nearest second; false outside 0100-01-01..9999-12-31.
bool DateToSystemTime(DATE date, SYSTEMTIME* system_time) noexcept;
/// SYSTEMTIME -> date (milliseconds ignored); false for invalid fields or years outside 100..9999.
bool SystemTimeToDate(const SYSTEMTIME& system_time, DATE* date) noexcept;
/// UTC ticks -> calendar fields with day of week; false for negative ticks.
bool TicksToSystemTime(int64_t ticks, SYSTEMTIME* system_time) noexcept;
/// Calendar fields -> ticks; false for invalid fields or years outside 1601..30827.
bool SystemTimeToTicks(const SYSTEMTIME& system_time, int64_t* ticks) noexcept;

/// "YYYY-MM-DD HH:MM:SS", or "YYYY-MM-DD" when the time of day is midnight; false (and *text
/// untouched) when the date is out of range or not a number.
bool DateToText(DATE date, std::wstring* text);
/// Reads "YYYY-MM-DD", "YYYY-MM-DD HH:MM[:SS]" or "YYYY-MM-DDTHH:MM[:SS]" (spaces around
/// allowed). DISP_E_TYPEMISMATCH for anything else, E_POINTER for a null out-pointer.
HRESULT TextToDate(std::wstring_view text, DATE* date) noexcept;

}  // namespace lmk

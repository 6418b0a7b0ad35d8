// Dates in conditions: the date operators, calendar truncation, the UTC-to-local step of file
// system times, the fixed day of time-of-day comparisons, and the date-taken source chosen by
// the element's option bits.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "com/com.h"
#include "dictionary/idictionary.h"
#include "rules/field_archive.h"
#include "rules/param_archive.h"
#include "rules/param_codec.h"
#include "rules/record_key_set.h"

namespace lmk {

/// Option bit 22: the date-taken family reads the GPS time stamp instead of the EXIF date taken.
inline constexpr DWORD kUseGpsTimeFlag = 0x00400000;
/// Option bit 23: when the image has no date, the date-taken family uses the file's last-write
/// time instead (a UTC time, turned into local time).
inline constexpr DWORD kLastWriteFallbackFlag = 0x00800000;

/// Date operators: the file's value t against the parameter p.
enum DateOperator : DWORD {
  kDateBefore = 0,      ///< t < p
  kDateOnOrBefore = 1,  ///< t <= p
  kDateOn = 2,          ///< t = p
  kDateOnOrAfter = 3,   ///< t >= p
  kDateAfter = 4,       ///< t > p
};

/// S_OK when t and p satisfy op, S_FALSE when not, E_UNEXPECTED for an unknown operator.
HRESULT CompareDates(DWORD op, std::int64_t t, std::int64_t p);

/// "before", "on or before", "on", "on or after", "after"; "(no operator)" for another code.
std::wstring_view DateOperatorWords(DWORD op);
/// The written forms of the operators for rule-set files ("before", "on-or-before", ...).
std::span<const ParamWord> DateOperatorParamWords();

/// The calendar truncation of a FILETIME count: hours, minutes and seconds cleared unless
/// includeTime, milliseconds (and finer) always. False for a negative count, which no calendar
/// time has.
bool TruncateFileTime(std::int64_t ticks, bool includeTime, std::int64_t* out);

/// A UTC FILETIME count as local time, by the process's time zone rules at that instant. False
/// when the time cannot be converted.
bool UtcToLocal(std::int64_t utc, std::int64_t* local);

/// The FILETIME count of 5 February 1964 00:00, the day that time-of-day comparisons put every
/// time on.
std::int64_t FixedComparisonDay();
/// The time of day of ticks (seconds kept, milliseconds cleared) on FixedComparisonDay(). False
/// for a negative count.
bool OnFixedDay(std::int64_t ticks, std::int64_t* out);

/// The time of the image that the date-taken family tests.
struct ImageTime {
  std::int64_t ticks = 0;      ///< as read (the last-write time still in UTC)
  bool fromLastWrite = false;  ///< the fallback was used: ticks is a UTC file-system time
  bool missing = false;        ///< no date and no fallback: the condition does not hold
};

/// Reads "Meta.GPS.TimeStampFT" when flags has kUseGpsTimeFlag, else "Meta.DateTakenFT". A zero
/// time is missing, unless flags has kLastWriteFallbackFlag: then "File.LastWriteTimeFT" is
/// read. Failures of the reads are returned unchanged; a key that is not a VT_I8 file time gives
/// E_UNEXPECTED.
HRESULT ReadImageTime(IDictionary& record, DWORD flags, ImageTime* time);
/// The keys ReadImageTime may read with flags.
void AddImageTimeKeys(DWORD flags, RecordKeySet& keys);

/// Words for the source in sentences: "the EXIF date taken" or "the GPS timestamp", with the
/// fallback mentioned when flags has it.
std::wstring ImageTimeSourceWords(DWORD flags);

/// The named parameters of the source, kept in bits 22 and 23 of flags: "source" (exif | gps)
/// and "fallback-to-modified" (true | false).
void ExchangeImageTimeSource(CParamArchive& archive, DWORD& flags);

/// A parameter date for sentences: "2024-05-17", with " 14:30:00" when includeTime;
/// "(no date)" for a negative count.
std::wstring FormatConditionDate(std::int64_t ticks, bool includeTime);

/// What both date conditions compare a file's date with: the operator, whether the time of day
/// counts, and the date (a local FILETIME count).
struct DateParameter {
  DWORD op = kDateOnOrAfter;
  bool includeTime = false;
  std::int64_t date = 0;

  /// Why the parameter cannot be used; null when it can.
  const wchar_t* Fault() const;
  /// "on or after 2024-05-17" (with the time when it counts).
  std::wstring Words() const;
  /// The file's date, already truncated as Truncate does and in local time, against the date
  /// truncated the same way. S_OK, S_FALSE; E_UNEXPECTED for an unknown operator or a date that
  /// cannot be truncated.
  HRESULT Compare(std::int64_t value) const;
  /// TruncateFileTime to the day, or to the second when the time counts.
  bool Truncate(std::int64_t ticks, std::int64_t* out) const {
    return TruncateFileTime(ticks, includeTime, out);
  }
  /// The operator, the include-time byte, then the 64-bit date.
  void ExchangeFields(CFieldArchive& archive);
  /// "when", "date" and "include-time".
  void ExchangeParameters(CParamArchive& archive);
};

}  // namespace lmk

// Date operators, truncation and the date-taken source of conditions.
#include "conditions/date_comparison.h"

#include "com/bstr.h"
#include "com/time_convert.h"
#include "conditions/record_value.h"

namespace lmk {
namespace {

constexpr ParamWord kDateOperatorWords[] = {
    {L"before", kDateBefore},
    {L"on-or-before", kDateOnOrBefore},
    {L"on", kDateOn},
    {L"on-or-after", kDateOnOrAfter},
    {L"after", kDateAfter},
    {L"on or before", kDateOnOrBefore},
    {L"on or after", kDateOnOrAfter},
    {L"<", kDateBefore},
    {L"<=", kDateOnOrBefore},
    {L"=", kDateOn},
    {L">=", kDateOnOrAfter},
    {L">", kDateAfter},
};

constexpr ParamWord kSourceWords[] = {{L"exif", 0}, {L"gps", 1}};

}  // namespace

HRESULT CompareDates(DWORD op, std::int64_t t, std::int64_t p) {
  bool holds = false;
  switch (op) {
    case kDateBefore:
      holds = t < p;
      break;
    case kDateOnOrBefore:
      holds = t <= p;
      break;
    case kDateOn:
      holds = t == p;
      break;
    case kDateOnOrAfter:
      holds = t >= p;
      break;
    case kDateAfter:
      holds = t > p;
      break;
    default:
      return E_UNEXPECTED;
  }
  return holds ? S_OK : S_FALSE;
}

std::wstring_view DateOperatorWords(DWORD op) {
  switch (op) {
    case kDateBefore:
      return L"before";
    case kDateOnOrBefore:
      return L"on or before";
    case kDateOn:
      return L"on";
    case kDateOnOrAfter:
      return L"on or after";
    case kDateAfter:
      return L"after";
    default:
      return L"(no operator)";
  }
}

std::span<const ParamWord> DateOperatorParamWords() { return kDateOperatorWords; }

bool TruncateFileTime(std::int64_t ticks, bool includeTime, std::int64_t* out) {
  if (ticks < 0) return false;
  // FILETIME day 0 begins at midnight, so calendar truncation is a remainder: the same as taking
  // the calendar fields apart, clearing them and putting them back together.
  *out = ticks - ticks % (includeTime ? kTicksPerSecond : kTicksPerDay);
  return true;
}

bool UtcToLocal(std::int64_t utc, std::int64_t* local) {
  const FILETIME in = Int64ToFileTime(utc);
  FILETIME out{};
  if (utc < 0 || !FileTimeToLocalFileTime(&in, &out)) return false;
  *local = FileTimeToInt64(out);
  return true;
}

std::int64_t FixedComparisonDay() {
  static const std::int64_t day = [] {
    SYSTEMTIME st{};
    st.wYear = 1964;
    st.wMonth = 2;
    st.wDay = 5;
    std::int64_t ticks = 0;
    SystemTimeToTicks(st, &ticks);
    return ticks;
  }();
  return day;
}

bool OnFixedDay(std::int64_t ticks, std::int64_t* out) {
  if (ticks < 0) return false;
  const std::int64_t timeOfDay = ticks % kTicksPerDay;
  *out = FixedComparisonDay() + timeOfDay - timeOfDay % kTicksPerSecond;
  return true;
}

namespace {
constexpr std::wstring_view kDateTakenKey = L"Meta.DateTakenFT";
constexpr std::wstring_view kGpsTimeKey = L"Meta.GPS.TimeStampFT";
constexpr std::wstring_view kLastWriteKey = L"File.LastWriteTimeFT";
}  // namespace

HRESULT ReadImageTime(IDictionary& record, DWORD flags, ImageTime* time) {
  static const Bstr kDateTaken(kDateTakenKey);
  static const Bstr kGpsTime(kGpsTimeKey);
  static const Bstr kLastWrite(kLastWriteKey);
  *time = ImageTime{};
  LMK_RETURN_IF_FAILED(GetRecordFileTime(
      record, (flags & kUseGpsTimeFlag) != 0 ? kGpsTime : kDateTaken, &time->ticks));
  if (time->ticks != 0) return S_OK;
  if ((flags & kLastWriteFallbackFlag) == 0) {
    time->missing = true;
    return S_OK;
  }
  time->fromLastWrite = true;
  return GetRecordFileTime(record, kLastWrite, &time->ticks);
}

void AddImageTimeKeys(DWORD flags, RecordKeySet& keys) {
  keys.Add((flags & kUseGpsTimeFlag) != 0 ? kGpsTimeKey : kDateTakenKey);
  if ((flags & kLastWriteFallbackFlag) != 0) keys.Add(kLastWriteKey);
}

std::wstring ImageTimeSourceWords(DWORD flags) {
  std::wstring words =
      (flags & kUseGpsTimeFlag) != 0 ? L"the GPS timestamp" : L"the EXIF date taken";
  if ((flags & kLastWriteFallbackFlag) != 0) words += L" (or the last-modified date when none)";
  return words;
}

void ExchangeImageTimeSource(CParamArchive& archive, DWORD& flags) {
  std::uint32_t source = (flags & kUseGpsTimeFlag) != 0 ? 1 : 0;
  archive.Choice(L"source", source, kSourceWords);
  flags = source != 0 ? (flags | kUseGpsTimeFlag) : (flags & ~kUseGpsTimeFlag);
  archive.FlagBit(L"fallback-to-modified", flags, kLastWriteFallbackFlag);
}

std::wstring FormatConditionDate(std::int64_t ticks, bool includeTime) {
  if (ticks < 0) return L"(no date)";
  std::wstring text = FormatIsoDate(ticks - ticks % kTicksPerDay);
  if (includeTime) text += L" " + FormatTimeOfDay(ticks);
  return text;
}

const wchar_t* DateParameter::Fault() const {
  if (op > kDateAfter) {
    return L"the date operator is none of before, on or before, on, on or after, after";
  }
  if (date <= 0) return L"no date is given";
  return nullptr;
}

std::wstring DateParameter::Words() const {
  return std::wstring(DateOperatorWords(op)) + L" " + FormatConditionDate(date, includeTime);
}

HRESULT DateParameter::Compare(std::int64_t value) const {
  std::int64_t wanted = 0;
  if (!Truncate(date, &wanted)) return E_UNEXPECTED;
  return CompareDates(op, value, wanted);
}

void DateParameter::ExchangeFields(CFieldArchive& archive) {
  archive.U32(op);
  archive.Bool(includeTime);
  archive.I64(date);
}

void DateParameter::ExchangeParameters(CParamArchive& archive) {
  archive.Choice(L"when", op, DateOperatorParamWords());
  archive.Date(L"date", date);
  archive.Bool(L"include-time", includeTime);
}

}  // namespace lmk

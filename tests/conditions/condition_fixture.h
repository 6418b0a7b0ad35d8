// Shared helpers of the condition tests: per-file records filled directly, calendar ticks, and a
// time zone set for the life of a test.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/time_convert.h"
#include "com/variant.h"
#include "dictionary/idictionary.h"

namespace lmk::test {

struct RecordField {
  const wchar_t* key;
  Variant value;
};

/// A dictionary holding exactly fields.
inline ComPtr<IDictionary> MakeRecord(const std::vector<RecordField>& fields) {
  ComPtr<IDictionary> record = MakeDictionary();
  for (const RecordField& field : fields) {
    const Bstr key(field.key);
    ThrowIfFailed(record->put_Value(key.get(), field.value.ref()));
  }
  return record;
}

/// The FILETIME count of a calendar time (no zone conversion).
inline std::int64_t Ticks(int year, int month, int day, int hour = 0, int minute = 0,
                          int second = 0, int millisecond = 0) {
  SYSTEMTIME st{};
  st.wYear = static_cast<WORD>(year);
  st.wMonth = static_cast<WORD>(month);
  st.wDay = static_cast<WORD>(day);
  st.wHour = static_cast<WORD>(hour);
  st.wMinute = static_cast<WORD>(minute);
  st.wSecond = static_cast<WORD>(second);
  st.wMilliseconds = static_cast<WORD>(millisecond);
  std::int64_t ticks = 0;
  if (!SystemTimeToTicks(st, &ticks)) throw std::invalid_argument("bad calendar time");
  return ticks;
}

/// Ticks since midnight.
inline std::int64_t TimeOfDay(int hour, int minute, int second = 0) {
  return ((hour * 60LL + minute) * 60 + second) * 10'000'000LL;
}

/// Sets TZ (and tzset) for the life of the object.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* zone) {
    if (const char* old = std::getenv("TZ")) {
      had_ = true;
      old_ = old;
    }
    setenv("TZ", zone, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    if (had_) {
      setenv("TZ", old_.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  ScopedTimeZone(const ScopedTimeZone&) = delete;
  ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

 private:
  bool had_ = false;
  std::string old_;
};

/// Central European time by a fixed rule (+1 in winter, +2 from the last Sunday of March to the
/// last Sunday of October), the same in every year, without the system's zone files.
inline constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

}  // namespace lmk::test

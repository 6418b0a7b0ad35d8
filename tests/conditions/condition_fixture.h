// Shared helpers of the condition tests: per-file records filled directly, calendar ticks, a
// time zone set for the life of a test, and the name lambda of the case tables.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/time_convert.h"
#include "com/variant.h"
#include "conditions/condition_registration.h"
#include "dictionary/idictionary.h"
#include "rules/element_registry.h"
#include "support/scoped_env.h"

namespace lmk::test {

struct RecordField {
  const wchar_t* key;
  Variant value;
};

/// A dictionary holding exactly fields.
inline ComPtr<IDictionary> MakeRecord(const std::vector<RecordField>& fields) {
  ComPtr<IDictionary> record = MakeDictionary();
  for (const RecordField& f : fields)
    ThrowIfFailed(record->put_Value(Bstr(f.key).get(), f.value.ref()));
  return record;
}

/// The FILETIME count of a calendar time (no zone conversion).
inline std::int64_t Ticks(int year, int month, int day, int hour = 0, int minute = 0,
                          int second = 0, int millisecond = 0) {
  const SYSTEMTIME st{
      static_cast<WORD>(year),   static_cast<WORD>(month),      0,
      static_cast<WORD>(day),    static_cast<WORD>(hour),       static_cast<WORD>(minute),
      static_cast<WORD>(second), static_cast<WORD>(millisecond)};
  std::int64_t ticks = 0;
  if (!SystemTimeToTicks(st, &ticks)) throw std::invalid_argument("bad calendar time");
  return ticks;
}

/// Ticks since midnight.
inline std::int64_t TimeOfDay(int hour, int minute, int second = 0) {
  return ((hour * 60LL + minute) * 60 + second) * 10'000'000LL;
}

/// A factory of T, configured by configure, as a factory of Base.
template <class Base, class T, class F>
std::function<std::unique_ptr<Base>()> Make(F configure) {
  return [configure] {
    auto made = std::make_unique<T>();
    configure(*made);
    return std::unique_ptr<Base>(std::move(made));
  };
}
template <class Base, class T>
std::function<std::unique_ptr<Base>()> Make() {
  return Make<Base, T>([](T&) {});
}

/// Central European time by a fixed rule (+1 in winter, +2 from the last Sunday of March to the
/// last Sunday of October), the same in every year, without the system's zone files.
inline constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

/// The answer a case table names ("S_OK", "E_FAIL", "DISP_E_OVERFLOW").
inline HRESULT Result(const std::string& name) {
  static const std::map<std::string, HRESULT> results = {
      {"S_OK", S_OK},
      {"S_FALSE", S_FALSE},
      {"E_FAIL", E_FAIL},
      {"E_UNEXPECTED", E_UNEXPECTED},
      {"E_INVALIDARG", E_INVALIDARG},
      {"DISP_E_OVERFLOW", DISP_E_OVERFLOW},
      {"DISP_E_TYPEMISMATCH", DISP_E_TYPEMISMATCH}};
  return results.at(name);
}

/// The product's elements with every condition class registered.
inline CElementRegistry& ConditionRegistry() {
  static CElementRegistry registry = [] {
    CElementRegistry r(CElementRegistry::Product());
    RegisterConditions(r);
    return r;
  }();
  return registry;
}

/// The name lambda of the case tables.
inline constexpr auto kCaseName = [](const auto& i) { return std::string(i.param.name); };

}  // namespace lmk::test

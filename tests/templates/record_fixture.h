// Per-file records for template tests, filled directly through IDictionary::put_Value.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/com_ptr.h"
#include "com/variant.h"
#include "dictionary/idictionary.h"

namespace lmk::test {

using Fields = std::vector<std::pair<std::wstring, Variant>>;

inline ComPtr<IDictionary> MakeRecord(const Fields& fields) {
  ComPtr<IDictionary> record;
  ThrowIfFailed(
      CreateDictionary(nullptr, IID_IDictionary, reinterpret_cast<void**>(record.GetAddressOf())));
  for (const auto& [name, value] : fields) {
    Bstr key(name);
    ThrowIfFailed(record->put_Value(key.get(), value.ref()));
  }
  return record;
}

// 2024-03-07 14:05:09.123 UTC as FILETIME ticks (computed with Python's datetime:
// (timegm + 11644473600) * 10^7 + 123 * 10^4).
inline constexpr int64_t kMarch7 = 133542939091230000;
// 2023-12-31 23:30:00 UTC.
inline constexpr int64_t kNewYearsEve = 133485390000000000;

}  // namespace lmk::test

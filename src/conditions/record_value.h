// Reading one value of a file's record for a condition: the read, then the coercion to the type
// the condition works with. Failures are handed back unchanged, so the runner logs the code that
// the dictionary or the coercion gave.
#pragma once

#include <cstdint>
#include <string_view>

#include "com/bstr.h"
#include "com/com.h"
#include "com/variant.h"
#include "dictionary/idictionary.h"

namespace lmk {

/// Reads key into *value and coerces it to vt. The read's failure code unchanged (E_FAIL for a
/// key the record does not hold), else the coercion's failure code (DISP_E_OVERFLOW,
/// DISP_E_TYPEMISMATCH, ...).
[[nodiscard]] HRESULT GetRecordValue(IDictionary& record, const Bstr& key, VARTYPE vt,
                                     Variant* value);

/// A value coerced to VT_I4.
[[nodiscard]] HRESULT GetRecordInt(IDictionary& record, const Bstr& key, std::int32_t* value);
/// A value coerced to VT_R8.
[[nodiscard]] HRESULT GetRecordDouble(IDictionary& record, const Bstr& key, double* value);
/// A value coerced to VT_BSTR; *text views the string held by holder.
[[nodiscard]] HRESULT GetRecordText(IDictionary& record, const Bstr& key, Variant& holder,
                                    std::wstring_view* text);

/// The picture's pixel size, "Image.NativeWidth" and "Image.NativeHeight" as GetRecordInt reads
/// them (the first failure is handed back).
[[nodiscard]] HRESULT GetNativeSize(IDictionary& record, std::int32_t* width, std::int32_t* height);

/// A date key's "FT" twin: the 64-bit FILETIME count that the record keeps in a VT_I8. The value
/// is taken as it is, never coerced: any other variant type gives E_UNEXPECTED, as a date that
/// is not a file time would.
[[nodiscard]] HRESULT GetRecordFileTime(IDictionary& record, const Bstr& key, std::int64_t* ticks);

}  // namespace lmk

// User-defined template variables: reading them for {UserDefined:name}, and editing them.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "com/com.h"
#include "platform/settings_store.h"

namespace lmk {

/// The values of the current user's key "SOFTWARE\QELN\Lumarko\UserDefined". Values of the
/// types string, expandable string, DWORD and QWORD are variables; other types are ignored.
class UserVariables {
 public:
  static constexpr const wchar_t* kKey = L"SOFTWARE\\QELN\\Lumarko\\UserDefined";
  /// Texts longer than this (4,096 bytes as UTF-16 with its terminator) are not read.
  static constexpr size_t kMaxTextLength = 2047;

  /// The variable's text as templates see it: a string as it is, an expandable string with its
  /// environment variables expanded, a DWORD or QWORD in decimal. False when it is missing, of
  /// another type, too long, or the store cannot be opened. `transaction` may be null.
  static bool Read(std::wstring_view name, SettingsStore* transaction, std::wstring* text);

  /// Every variable with its stored value, sorted by name. S_OK (an empty list when the key
  /// does not exist); the store's failure otherwise.
  static HRESULT List(std::vector<std::pair<std::wstring, RegValue>>* variables);

  /// One variable's stored value. HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) when missing.
  static HRESULT Get(std::wstring_view name, RegValue* value);

  /// Creates or replaces a variable. E_INVALIDARG (with a description) for an empty name, a
  /// name with '{' or '}', a type other than the four variable types, or a text longer than
  /// kMaxTextLength.
  static HRESULT Set(std::wstring_view name, const RegValue& value);

  /// Removes a variable. HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) when it does not exist.
  static HRESULT Unset(std::wstring_view name);
};

}  // namespace lmk

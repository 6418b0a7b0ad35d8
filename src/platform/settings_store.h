// The settings store: keys, named typed values and transactions with the registry's rules.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "com/com.h"

namespace lmk {

/// Which store: the user's own (HKEY_CURRENT_USER) or the machine's (HKEY_LOCAL_MACHINE).
/// The classes root is the key "Software\Classes" of the machine store; per-user class
/// registrations live under "Software\Classes" of the user's store.
enum class SettingsScope { CurrentUser, Machine };

/// Value types, numbered as the registry numbers them. Types not listed here are kept as bytes.
enum class RegType : DWORD { String = 1, ExpandString = 2, Binary = 3, Dword = 4, Qword = 11 };

/// One typed value. Text types use `text`, the number types `number`, every other type `bytes`.
struct RegValue {
  RegType type = RegType::String;
  std::wstring text;
  uint64_t number = 0;
  std::vector<uint8_t> bytes;

  static RegValue String(std::wstring_view text);
  static RegValue ExpandString(std::wstring_view text);
  static RegValue Dword(uint32_t number);
  static RegValue Qword(uint64_t number);
  static RegValue Binary(std::vector<uint8_t> bytes);

  /// True for the types that carry `text`, `number`.
  bool IsText() const { return type == RegType::String || type == RegType::ExpandString; }
  bool IsNumber() const { return type == RegType::Dword || type == RegType::Qword; }

  bool operator==(const RegValue&) const = default;
};

/// A store of keys and values with the registry's rules: key paths are separated by backslashes
/// (a leading or trailing separator is ignored, an empty component is an error); key and value
/// names compare without regard to case but keep the case they were first written with; the
/// empty value name is the key's default value; the empty key path is the root of the scope.
///
/// Thread-safe: one object may be shared by many threads. Every write is atomic, and the store
/// is shared with other processes (a write by one is seen by the next read of the others).
/// Errors come back as HRESULTs; failures other than "not found" also set the thread's error
/// description (lmk::SetErrorDescription) naming the file and what to do. A store that another
/// program holds is waited for a bounded time (10 s; on POSIX the environment variable
/// LUMARKO_SETTINGS_WAIT gives the seconds), then the call fails with
/// HRESULT_FROM_WIN32(ERROR_BUSY). A store that cannot be written fails writes with
/// E_ACCESSDENIED or HRESULT_FROM_WIN32(ERROR_CANTOPEN).
class SettingsStore {
 public:
  using Updater = std::function<std::optional<RegValue>(const std::optional<RegValue>&)>;
  using TransactionBody = std::function<HRESULT(SettingsStore&)>;

  virtual ~SettingsStore() = default;

  /// Opens the store of a scope; callers in one process share one open store per scope.
  /// Returns S_OK; E_INVALIDARG for a null `out`; HRESULT_FROM_WIN32(ERROR_BADDB) when the
  /// stored data is damaged or belongs to another program (the data is never replaced);
  /// HRESULT_FROM_WIN32(ERROR_CANTOPEN) when it cannot be read; E_ACCESSDENIED when its
  /// folder cannot be created.
  static HRESULT Open(SettingsScope scope, std::shared_ptr<SettingsStore>* out);

  /// Creates a key and any missing parents. S_OK also when it already exists.
  virtual HRESULT CreateKey(std::wstring_view key) = 0;

  /// S_OK when the key exists, S_FALSE when it does not.
  virtual HRESULT KeyExists(std::wstring_view key) = 0;

  /// Reads one value. HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) when the key or the value is
  /// missing; E_INVALIDARG for a null `out` or a malformed key path.
  virtual HRESULT GetValue(std::wstring_view key, std::wstring_view name, RegValue* out) = 0;

  /// Writes one value, creating the key path as needed. E_INVALIDARG for a DWORD above
  /// 0xFFFFFFFF or a malformed key path.
  virtual HRESULT SetValue(std::wstring_view key, std::wstring_view name,
                           const RegValue& value) = 0;

  /// Removes one value. HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) when it is missing.
  virtual HRESULT DeleteValue(std::wstring_view key, std::wstring_view name) = 0;

  /// Removes a key with its values and all keys below it. HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)
  /// when the key is missing; E_INVALIDARG for the root (it would wipe the whole scope).
  virtual HRESULT DeleteTree(std::wstring_view key) = 0;

  /// Names of the key's direct subkeys, sorted without regard to case; replaces `*out`.
  /// HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) when the key is missing.
  virtual HRESULT EnumSubkeys(std::wstring_view key, std::vector<std::wstring>* out) = 0;

  /// The key's values with their names, sorted by name without regard to case; replaces `*out`.
  /// HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) when the key is missing.
  virtual HRESULT EnumValues(std::wstring_view key,
                             std::vector<std::pair<std::wstring, RegValue>>* out) = 0;

  /// Atomic read-modify-write of one value, across threads and processes: `update` is called
  /// once, with the current value (nullopt when absent), while every other writer waits; it
  /// returns the value to store, or nullopt to leave the value as it is. Whatever `update`
  /// handed out counts only when S_OK comes back. An exception thrown by `update` rolls the
  /// change back and comes back as its HRESULT.
  virtual HRESULT Update(std::wstring_view key, std::wstring_view name, const Updater& update) = 0;

  /// Runs `body` inside one transaction: all of its writes land or none do. A failure HRESULT
  /// or an exception from `body` rolls back and is returned. `body` must use the store it is
  /// given, from the calling thread only; other threads wait until the transaction ends.
  /// Transactions nest (an inner failure rolls back only the inner part).
  virtual HRESULT Transact(const TransactionBody& body) = 0;
};

/// The form in which names are compared: upper case for ASCII, Latin-1, Latin Extended-A,
/// Greek and Cyrillic letters, everything else unchanged.
std::wstring FoldSettingsName(std::wstring_view name);

/// Splits a key path at its backslashes into names, ignoring one leading and one trailing
/// separator; the empty path (the root) gives no names. E_INVALIDARG for an empty name inside the
/// path, a NUL character or a name longer than 255 characters.
HRESULT SplitSettingsKeyPath(std::wstring_view key, std::vector<std::wstring>* names);

}  // namespace lmk

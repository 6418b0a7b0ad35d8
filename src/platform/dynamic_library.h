// Loading a shared library at run time and finding its exported functions.
#pragma once

#include <memory>
#include <string>

#include "com/com.h"

namespace lmk {

/// One loaded library, unloaded when the object goes. Not copyable.
class DynamicLibrary {
  // Only Load can name the key, so only Load makes these.
  struct Key {
    explicit Key() = default;
  };

 public:
  /// How Load treats the library.
  enum Options : unsigned {
    kPrivate = 0,
    /// The library and what it needs stay in memory when the object goes, for code (an
    /// interpreter, say) whose threads or handlers may outlive it.
    kKeepLoaded = 1,
    /// The symbols of the libraries it needs are visible to libraries that they load in turn
    /// (an interpreter's extension modules look for the interpreter's functions by name).
    kShareSymbols = 2,
  };

  /// Loads the library at path (its own dependencies resolved by the system). S_OK;
  /// E_INVALIDARG for null out pointers; HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) when there is
  /// no such file; E_FAIL when it cannot be loaded. On failure *error tells why, in the system's
  /// words.
  static HRESULT Load(const std::wstring& path, std::unique_ptr<DynamicLibrary>* library,
                      std::wstring* error, unsigned options = kPrivate);

  DynamicLibrary(Key, void* handle) noexcept : handle_(handle) {}
  ~DynamicLibrary();
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  /// The address of the exported symbol name, or null when the library does not export it.
  void* Symbol(const char* name) const noexcept;

  /// The exported function name as a pointer of type F, or null.
  template <class F>
  F Function(const char* name) const noexcept {
    return reinterpret_cast<F>(Symbol(name));
  }

 private:
  void* handle_;
};

}  // namespace lmk

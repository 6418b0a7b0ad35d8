// lmk::Bstr: owns one BSTR.
#pragma once

#include <string>
#include <string_view>

#include "com/com_sdk.h"

namespace lmk {

/// Owns one BSTR (null means empty). Copies duplicate the string.
class Bstr {
 public:
  Bstr() noexcept = default;
  /// Copies the text (embedded NULs kept); throws ComError(E_OUTOFMEMORY).
  explicit Bstr(std::wstring_view text);
  Bstr(const Bstr& other);
  Bstr(Bstr&& other) noexcept;
  Bstr& operator=(const Bstr& other);
  Bstr& operator=(Bstr&& other) noexcept;
  ~Bstr();

  /// A copy of a BSTR we do not own (null gives an empty Bstr).
  static Bstr Copy(BSTR bstr);

  BSTR get() const noexcept { return bstr_; }
  /// For out-parameters; the Bstr must be empty (asserted).
  BSTR* operator&() noexcept;
  /// Gives up ownership.
  BSTR Detach() noexcept;
  /// Takes ownership of `bstr`, freeing the current string.
  void Attach(BSTR bstr) noexcept;
  void Reset() noexcept;

  UINT length() const noexcept { return SysStringLen(bstr_); }
  std::wstring_view view() const noexcept;
  std::wstring str() const { return std::wstring(view()); }
  bool empty() const noexcept { return length() == 0; }

  friend bool operator==(const Bstr& a, const Bstr& b) noexcept { return a.view() == b.view(); }

 private:
  BSTR bstr_ = nullptr;
};

}  // namespace lmk

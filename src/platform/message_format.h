// printf-style formatting of log texts into wide text, checked against the arguments' types.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace lmk {

/// One argument of a formatted message: a text (wide, or narrow UTF-8) or a whole number that
/// remembers its width and signedness, so "%08lx" of the HRESULT 0x80004005 prints 80004005.
/// It only refers to the caller's text; use it within the call that formats.
class FormatArg {
 public:
  enum class Kind { kWide, kNarrow, kSigned, kUnsigned };

  FormatArg(const wchar_t* text)
      : kind_(Kind::kWide),
        wide_(text != nullptr ? std::wstring_view(text) : std::wstring_view()),
        is_null_(text == nullptr) {}
  FormatArg(std::wstring_view text) : kind_(Kind::kWide), wide_(text) {}
  FormatArg(const std::wstring& text) : kind_(Kind::kWide), wide_(text) {}
  FormatArg(const char* text)
      : kind_(Kind::kNarrow),
        narrow_(text != nullptr ? std::string_view(text) : std::string_view()),
        is_null_(text == nullptr) {}
  FormatArg(std::string_view text) : kind_(Kind::kNarrow), narrow_(text) {}
  FormatArg(const std::string& text) : kind_(Kind::kNarrow), narrow_(text) {}
  template <std::integral T>
  FormatArg(T value)
      : kind_(std::is_signed_v<T> ? Kind::kSigned : Kind::kUnsigned),
        bits_(static_cast<uint64_t>(value)),
        width_bytes_(sizeof(T)) {}

  Kind kind() const { return kind_; }
  bool is_null() const { return is_null_; }
  std::wstring_view wide() const { return wide_; }
  std::string_view narrow() const { return narrow_; }
  /// The value, sign-extended for signed kinds.
  int64_t as_signed() const { return static_cast<int64_t>(bits_); }
  /// The value's bits as an unsigned number of the argument's own width.
  uint64_t as_unsigned() const {
    return width_bytes_ >= 8 ? bits_ : bits_ & ((uint64_t{1} << (8 * width_bytes_)) - 1);
  }

 private:
  Kind kind_;
  std::wstring_view wide_;
  std::string_view narrow_;
  bool is_null_ = false;
  uint64_t bits_ = 0;
  size_t width_bytes_ = 0;
};

/// Formats `format` with printf's rules for the conversions log texts use: %d %i %u %x %X %o %c
/// %s %S and %% with the flags "-0+ #", a width, a precision and any length modifier (h, hh, l,
/// ll, L, z, j, t, I32, I64; the argument's own type decides the value's width). %s and %ls take
/// wide or narrow text alike; a null text prints "(null)". Returns nullopt when the format is
/// malformed, an argument is missing, or an argument's kind does not suit its conversion;
/// extra arguments are ignored. Throws std::bad_alloc.
std::optional<std::wstring> FormatMessageText(std::wstring_view format,
                                              std::span<const FormatArg> args);

}  // namespace lmk

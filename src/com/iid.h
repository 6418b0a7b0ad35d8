// Interface identifiers as compile-time constants: LMK_DECLARE_IID and lmk::IidOf<T>().
#pragma once

#include <cstddef>

namespace lmk {

/// Names an interface type in overload resolution; the declarations made by LMK_DECLARE_IID are
/// found through it by argument-dependent lookup, so they may live in any namespace.
template <class T>
struct IidTag {
  using type = T;
};

namespace detail {

consteval int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  throw "an interface identifier has a character that is no hexadecimal digit";
}

consteval unsigned long long Hex(const char* text, int start, int count) {
  unsigned long long value = 0;
  for (int i = 0; i < count; ++i)
    value = value * 16 + static_cast<unsigned>(HexDigit(text[start + i]));
  return value;
}

/// Parses "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX" (braces allowed) at compile time; a malformed
/// text stops the compilation.
template <std::size_t N>
consteval GUID ParseGuid(const char (&text)[N]) {
  const char* p = text;
  std::size_t length = N - 1;
  if (length == 38) {
    if (text[0] != '{' || text[37] != '}') throw "an interface identifier has unbalanced braces";
    ++p;
    length = 36;
  }
  if (length != 36) throw "an interface identifier must have 36 characters";
  if (p[8] != '-' || p[13] != '-' || p[18] != '-' || p[23] != '-') {
    throw "an interface identifier has its dashes misplaced";
  }
  GUID guid{};
  guid.Data1 = static_cast<decltype(guid.Data1)>(Hex(p, 0, 8));
  guid.Data2 = static_cast<decltype(guid.Data2)>(Hex(p, 9, 4));
  guid.Data3 = static_cast<decltype(guid.Data3)>(Hex(p, 14, 4));
  guid.Data4[0] = static_cast<unsigned char>(Hex(p, 19, 2));
  guid.Data4[1] = static_cast<unsigned char>(Hex(p, 21, 2));
  for (int i = 0; i < 6; ++i) guid.Data4[2 + i] = static_cast<unsigned char>(Hex(p, 24 + 2 * i, 2));
  return guid;
}

template <class T>
concept HasDeclaredIid = requires {
  LmkIidOf(IidTag<T>{});
};

template <class T>
concept HasDeclaredIidBase = requires {
  LmkIidBase(IidTag<T>{});
};

template <class T>
inline constexpr GUID kIidOf = LmkIidOf(IidTag<T>{});

}  // namespace detail

/// The IID declared for interface T with LMK_DECLARE_IID; a compile error when none was.
template <class T>
requires detail::HasDeclaredIid<T>
constexpr const GUID& IidOf() { return detail::kIidOf<T>; }

}  // namespace lmk

/// Declares the IID of an interface; use it at namespace scope right after the interface, in the
/// interface's namespace. The text is checked at compile time.
#define LMK_DECLARE_IID(Interface, text)                                        \
  [[maybe_unused]] constexpr GUID LmkIidOf(::lmk::IidTag<Interface>) noexcept { \
    return ::lmk::detail::ParseGuid(text);                                      \
  }

/// Declares that objects answering Interface also answer Base (the interface it derives from),
/// so lmk::ComObject's QueryInterface hands out Base as well.
#define LMK_DECLARE_IID_BASE(Interface, Base)                                                    \
  [[maybe_unused]] constexpr ::lmk::IidTag<Base> LmkIidBase(::lmk::IidTag<Interface>) noexcept { \
    return {};                                                                                   \
  }

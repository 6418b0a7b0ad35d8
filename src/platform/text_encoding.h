// UTF-8 <-> wide text at the boundary with the operating system and files.
#pragma once

#include <string>
#include <string_view>

namespace lmk {

/// Encodes wide text (UTF-32 where wchar_t is 32-bit, UTF-16 otherwise) as UTF-8.
/// Lone surrogates and values above U+10FFFF become U+FFFD.
std::string ToUtf8(std::wstring_view text);

/// Decodes UTF-8; each malformed sequence becomes one U+FFFD, never an error.
std::wstring FromUtf8(std::string_view text);

}  // namespace lmk

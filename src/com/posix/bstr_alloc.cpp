// BSTR allocation for POSIX: a 32-bit byte count, the characters, a NUL.
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <limits>

#include "com/posix/oleauto.h"

namespace {

// The prefix holds a byte count in 32 bits, so a BSTR stops short of 4 GB; lengths that would
// overflow it (or the allocation size) are refused instead of wrapping.
constexpr size_t kPrefix = sizeof(uint32_t);
constexpr UINT kMaxLength = static_cast<UINT>(
    (std::numeric_limits<uint32_t>::max() - kPrefix - sizeof(OLECHAR)) / sizeof(OLECHAR));

BSTR AllocateBstr(const OLECHAR* text, UINT length) {
  if (length > kMaxLength) return nullptr;
  const size_t bytes = size_t{length} * sizeof(OLECHAR);
  auto* block = static_cast<unsigned char*>(std::malloc(kPrefix + bytes + sizeof(OLECHAR)));
  if (block == nullptr) return nullptr;
  const auto prefix = static_cast<uint32_t>(bytes);
  std::memcpy(block, &prefix, kPrefix);
  auto* chars = reinterpret_cast<OLECHAR*>(block + kPrefix);
  if (text != nullptr) {
    std::memcpy(chars, text, bytes);
  } else {
    std::memset(chars, 0, bytes);
  }
  chars[length] = L'\0';
  return chars;
}

unsigned char* BlockOf(BSTR bstr) { return reinterpret_cast<unsigned char*>(bstr) - kPrefix; }

}  // namespace

BSTR SysAllocString(const OLECHAR* text) {
  if (text == nullptr) return nullptr;
  const size_t length = std::wcslen(text);
  if (length > kMaxLength) return nullptr;
  return AllocateBstr(text, static_cast<UINT>(length));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) { return AllocateBstr(text, length); }

INT SysReAllocString(BSTR* bstr, const OLECHAR* text) {
  if (bstr == nullptr) return FALSE;
  if (text == nullptr) {
    SysFreeString(*bstr);
    *bstr = nullptr;
    return TRUE;
  }
  const size_t length = std::wcslen(text);
  if (length > kMaxLength) return FALSE;
  return SysReAllocStringLen(bstr, text, static_cast<UINT>(length));
}

INT SysReAllocStringLen(BSTR* bstr, const OLECHAR* text, UINT length) {
  if (bstr == nullptr) return FALSE;
  // Allocate first: `text` may point into the old string.
  BSTR fresh = AllocateBstr(text, length);
  if (fresh == nullptr) return FALSE;
  SysFreeString(*bstr);
  *bstr = fresh;
  return TRUE;
}

void SysFreeString(BSTR bstr) {
  if (bstr != nullptr) std::free(BlockOf(bstr));
}

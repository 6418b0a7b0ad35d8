// COM library entry points for POSIX: initialisation, task memory, GUIDs as text.
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <random>

#include "com/posix/com_api.h"

HRESULT CoInitializeEx(LPVOID, DWORD) { return S_OK; }

HRESULT CoInitialize(LPVOID reserved) { return CoInitializeEx(reserved, COINIT_APARTMENTTHREADED); }

void CoUninitialize() {}

LPVOID CoTaskMemAlloc(SIZE_T size) { return std::malloc(size == 0 ? 1 : size); }

LPVOID CoTaskMemRealloc(LPVOID block, SIZE_T size) {
  return std::realloc(block, size == 0 ? 1 : size);
}

void CoTaskMemFree(LPVOID block) { std::free(block); }

HRESULT CoCreateGuid(GUID* guid) {
  if (guid == nullptr) return E_INVALIDARG;
  thread_local std::random_device source;
  const auto word = [] { return static_cast<DWORD>(source()); };
  guid->Data1 = word();
  const DWORD middle = word();
  guid->Data2 = static_cast<WORD>(middle);
  guid->Data3 = static_cast<WORD>(((middle >> 16) & 0x0FFF) | 0x4000);
  const DWORD low = word();
  const DWORD high = word();
  for (int i = 0; i < 4; ++i) {
    guid->Data4[i] = static_cast<BYTE>(low >> (8 * i));
    guid->Data4[4 + i] = static_cast<BYTE>(high >> (8 * i));
  }
  guid->Data4[0] = static_cast<BYTE>((guid->Data4[0] & 0x3F) | 0x80);
  return S_OK;
}

int StringFromGUID2(REFGUID guid, LPOLESTR text, int max_chars) {
  constexpr int kChars = 39;  // 38 characters and the NUL
  if (text == nullptr || max_chars < kChars) return 0;
  std::swprintf(text, kChars, L"{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                static_cast<unsigned>(guid.Data1), guid.Data2, guid.Data3, guid.Data4[0],
                guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
                guid.Data4[6], guid.Data4[7]);
  return kChars;
}

namespace {

bool ParseHex(const OLECHAR* text, int count, unsigned long long* value) {
  unsigned long long v = 0;
  for (int i = 0; i < count; ++i) {
    const OLECHAR c = text[i];
    int digit;
    if (c >= L'0' && c <= L'9') {
      digit = c - L'0';
    } else if (c >= L'a' && c <= L'f') {
      digit = c - L'a' + 10;
    } else if (c >= L'A' && c <= L'F') {
      digit = c - L'A' + 10;
    } else {
      return false;
    }
    v = v * 16 + static_cast<unsigned>(digit);
  }
  *value = v;
  return true;
}

// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" exactly.
bool ParseBracedGuid(LPCOLESTR text, GUID* guid) {
  if (text == nullptr || std::wcslen(text) != 38 || text[0] != L'{' || text[37] != L'}' ||
      text[9] != L'-' || text[14] != L'-' || text[19] != L'-' || text[24] != L'-') {
    return false;
  }
  unsigned long long a, b, c, d, e;
  if (!ParseHex(text + 1, 8, &a) || !ParseHex(text + 10, 4, &b) || !ParseHex(text + 15, 4, &c) ||
      !ParseHex(text + 20, 4, &d) || !ParseHex(text + 25, 12, &e)) {
    return false;
  }
  guid->Data1 = static_cast<DWORD>(a);
  guid->Data2 = static_cast<WORD>(b);
  guid->Data3 = static_cast<WORD>(c);
  guid->Data4[0] = static_cast<BYTE>(d >> 8);
  guid->Data4[1] = static_cast<BYTE>(d);
  for (int i = 0; i < 6; ++i) guid->Data4[2 + i] = static_cast<BYTE>(e >> (8 * (5 - i)));
  return true;
}

}  // namespace

HRESULT CLSIDFromString(LPCOLESTR text, LPCLSID clsid) {
  if (clsid == nullptr) return E_INVALIDARG;
  GUID parsed;
  if (!ParseBracedGuid(text, &parsed)) return CO_E_CLASSSTRING;
  *clsid = parsed;
  return S_OK;
}

HRESULT IIDFromString(LPCOLESTR text, LPIID iid) {
  if (iid == nullptr) return E_INVALIDARG;
  GUID parsed;
  if (!ParseBracedGuid(text, &parsed)) return E_INVALIDARG;
  *iid = parsed;
  return S_OK;
}

// Taking FTP addresses apart and putting them back together.
#include "platform/ftp_address.h"

#include <cwctype>
#include <vector>

#include "platform/internet_error.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

constexpr HRESULT kInvalidUrl = HRESULT_FROM_WIN32(internet_error::kInvalidUrl);

bool StartsWithNoCase(std::wstring_view text, std::wstring_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i) {
    if (std::towlower(static_cast<wint_t>(text[i])) != static_cast<wint_t>(prefix[i])) return false;
  }
  return true;
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// %XX escapes stand for UTF-8 bytes; false for a broken escape.
bool Decode(std::wstring_view text, std::wstring* out) {
  const std::string utf8 = ToUtf8(text);
  std::string bytes;
  for (size_t i = 0; i < utf8.size(); ++i) {
    if (utf8[i] != '%') {
      bytes += utf8[i];
      continue;
    }
    if (i + 2 >= utf8.size()) return false;
    const int high = HexValue(utf8[i + 1]);
    const int low = HexValue(utf8[i + 2]);
    if (high < 0 || low < 0) return false;
    bytes += static_cast<char>(high * 16 + low);
    i += 2;
  }
  *out = FromUtf8(bytes);
  return true;
}

std::string Escape(std::wstring_view text, std::string_view keep) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (const unsigned char c : ToUtf8(text)) {
    const bool plain =
        (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
        std::string_view("-._~").find(static_cast<char>(c)) != std::string_view::npos ||
        keep.find(static_cast<char>(c)) != std::string_view::npos;
    if (plain) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    }
  }
  return out;
}

unsigned DefaultPort(FtpScheme scheme) { return scheme == FtpScheme::kSftp ? 22 : 21; }

std::wstring_view SchemePrefix(FtpScheme scheme) {
  switch (scheme) {
    case FtpScheme::kFtps:
      return L"ftps://";
    case FtpScheme::kSftp:
      return L"sftp://";
    case FtpScheme::kFtp:
      break;
  }
  return L"ftp://";
}

}  // namespace

HRESULT CrackFtpAddress(std::wstring_view url, FtpAddress* out) {
  if (out == nullptr) return E_INVALIDARG;
  FtpAddress address;
  size_t at = 0;
  for (const FtpScheme scheme : {FtpScheme::kFtp, FtpScheme::kFtps, FtpScheme::kSftp}) {
    if (StartsWithNoCase(url, SchemePrefix(scheme))) {
      address.scheme = scheme;
      at = SchemePrefix(scheme).size();
    }
  }
  if (at == 0) return HRESULT_FROM_WIN32(internet_error::kUnrecognizedScheme);
  address.port = DefaultPort(address.scheme);

  const std::wstring_view rest = url.substr(at);
  const size_t slash = rest.find(L'/');
  std::wstring_view authority = rest.substr(0, slash);
  const std::wstring_view path = slash == std::wstring_view::npos ? L"" : rest.substr(slash);

  const size_t lastAt = authority.rfind(L'@');
  if (lastAt != std::wstring_view::npos) {
    const std::wstring_view credentials = authority.substr(0, lastAt);
    // A raw at sign in the credentials makes the address ambiguous: it must be written %40.
    if (credentials.find(L'@') != std::wstring_view::npos) return kInvalidUrl;
    const size_t colon = credentials.find(L':');
    if (!Decode(credentials.substr(0, colon), &address.user)) return kInvalidUrl;
    if (colon != std::wstring_view::npos) {
      address.hasPassword = true;
      if (!Decode(credentials.substr(colon + 1), &address.password)) return kInvalidUrl;
    }
    authority = authority.substr(lastAt + 1);
  }

  std::wstring_view host = authority;
  std::wstring_view port;
  if (host.starts_with(L'[')) {
    const size_t close = host.find(L']');
    if (close == std::wstring_view::npos) return kInvalidUrl;
    port = host.substr(close + 1);
    host = host.substr(0, close + 1);
    if (!port.empty() && !port.starts_with(L':')) return kInvalidUrl;
    if (!port.empty()) port.remove_prefix(1);
  } else if (const size_t colon = host.find(L':'); colon != std::wstring_view::npos) {
    port = host.substr(colon + 1);
    host = host.substr(0, colon);
  }
  if (host.empty() || host.size() > kFtpMaxHost) return kInvalidUrl;
  address.host = host;
  if (!port.empty()) {
    unsigned value = 0;
    for (const wchar_t c : port) {
      if (c < L'0' || c > L'9' || value > 6553) return kInvalidUrl;
      value = value * 10 + static_cast<unsigned>(c - L'0');
    }
    if (value == 0 || value > 65535) return kInvalidUrl;
    address.port = value;
  }
  if (!Decode(path, &address.path)) return kInvalidUrl;
  if (address.user.size() > kFtpMaxCredential || address.password.size() > kFtpMaxCredential ||
      address.path.size() > kFtpMaxPath) {
    return kInvalidUrl;
  }
  *out = std::move(address);
  return S_OK;
}

std::wstring FormatFtpAddress(const FtpAddress& address, bool maskPassword) {
  std::wstring text(SchemePrefix(address.scheme));
  if (!address.user.empty() || address.hasPassword) {
    text += FromUtf8(Escape(address.user, ""));
    if (address.hasPassword) {
      text += L':';
      text += maskPassword ? std::wstring(L"XXXX") : FromUtf8(Escape(address.password, ""));
    }
    text += L'@';
  }
  text += address.host;
  if (address.port != DefaultPort(address.scheme)) text += L':' + std::to_wstring(address.port);
  text += FromUtf8(EscapeUrlPath(address.path));
  return text;
}

std::wstring MaskFtpPassword(std::wstring_view url) {
  FtpAddress address;
  if (FAILED(CrackFtpAddress(url, &address))) {
    if (url.find(L'@') == std::wstring_view::npos) return std::wstring(url);
    return L"(a malformed address)";
  }
  if (!address.hasPassword) return std::wstring(url);
  // The address keeps its own wording (templates unescaped); only the password is replaced.
  const size_t start = url.find(L"://") + 3;
  const size_t end = url.find(L'/', start);
  const size_t at = url.substr(0, end).rfind(L'@');
  const size_t colon = url.find(L':', start);
  std::wstring masked(url.substr(0, colon + 1));
  masked += L"XXXX";
  masked += url.substr(at);
  return masked;
}

std::string EscapeUrlPath(std::wstring_view path) { return Escape(path, "/!$&'()*+,;=:@"); }

std::wstring NormalizeFtpSeparators(std::wstring_view url) {
  const size_t scheme = url.find(L"://");
  const size_t start = scheme == std::wstring_view::npos ? 0 : scheme + 3;
  size_t slash = url.find_first_of(L"/\\", start);
  if (slash == std::wstring_view::npos) return std::wstring(url);
  std::wstring out(url.substr(0, slash));
  std::vector<std::wstring_view> names;
  std::wstring_view path = url.substr(slash);
  while (!path.empty()) {
    const size_t begin = path.find_first_not_of(L"/\\");
    if (begin == std::wstring_view::npos) break;
    path.remove_prefix(begin);
    const size_t end = path.find_first_of(L"/\\");
    const std::wstring_view name = path.substr(0, end);
    if (name == L"..") {
      if (!names.empty()) names.pop_back();
    } else if (name != L".") {
      names.push_back(name);
    }
    path.remove_prefix(end == std::wstring_view::npos ? path.size() : end);
  }
  for (const std::wstring_view name : names) {
    out += L'/';
    out += name;
  }
  if (names.empty()) out += L'/';
  return out;
}

}  // namespace lmk

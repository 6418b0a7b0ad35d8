// The stored FTP destinations: the text as UTF-16LE, enciphered with RC4, then sealed.
#include "actions/ftp_destination_store.h"

#include <algorithm>

#include "actions/rc4.h"
#include "platform/secret_store.h"
#include "platform/settings_store.h"

namespace lmk {
namespace {

constexpr HRESULT kNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
// The recent destinations are one text, one per line: an address never holds a line break.
constexpr wchar_t kSeparator = L'\n';

// The bytes are wiped when they go: they hold passwords in clear.
struct WipedBytes {
  std::vector<uint8_t> bytes;
  ~WipedBytes() {
    // Through a volatile pointer, so that the compiler cannot drop the stores as dead.
    volatile uint8_t* byte = bytes.data();
    for (size_t n = 0; n < bytes.size(); ++n) byte[n] = 0;
  }
};

void Encipher(std::vector<uint8_t>& bytes) {
  const auto key = CRC4::DestinationKey();
  CRC4 cipher(key);
  cipher.Apply(bytes);
}

}  // namespace

CFtpDestinationStore::CFtpDestinationStore(std::shared_ptr<SettingsStore> store)
    : store_(std::move(store)) {
  KeepSecretsOutOfCoreFiles();
}

HRESULT CFtpDestinationStore::EnsureStore() {
  if (store_) return S_OK;
  return SettingsStore::Open(SettingsScope::CurrentUser, &store_);
}

HRESULT CFtpDestinationStore::Read(std::wstring_view name, std::wstring* text) {
  text->clear();
  LMK_RETURN_IF_FAILED(EnsureStore());
  RegValue value;
  const HRESULT hr = store_->GetValue(kFtpDestinationsKey, name, &value);
  if (hr == kNotFound) return S_OK;
  LMK_RETURN_IF_FAILED(hr);
  WipedBytes plain;
  // Whatever cannot be unsealed or is not whole UTF-16 text counts as nothing stored: the key
  // file was replaced, or the value was damaged.
  if (value.type != RegType::Binary || FAILED(UnsealSecret(value.bytes, &plain.bytes)) ||
      plain.bytes.size() % 2 != 0) {
    return S_OK;
  }
  Encipher(plain.bytes);
  for (size_t n = 0; n + 1 < plain.bytes.size(); n += 2) {
    text->push_back(static_cast<wchar_t>(plain.bytes[n] | (plain.bytes[n + 1] << 8)));
  }
  return S_OK;
}

HRESULT CFtpDestinationStore::Write(std::wstring_view name, std::wstring_view text) {
  LMK_RETURN_IF_FAILED(EnsureStore());
  WipedBytes plain;
  for (const wchar_t c : text) {
    // Characters beyond the basic plane are not used in addresses; they are kept as '?'.
    const auto unit = static_cast<uint32_t>(c) > 0xFFFF ? uint32_t{'?'} : static_cast<uint32_t>(c);
    plain.bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    plain.bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  Encipher(plain.bytes);
  std::vector<uint8_t> sealed;
  LMK_RETURN_IF_FAILED(SealSecret(plain.bytes, &sealed));
  return store_->SetValue(kFtpDestinationsKey, name, RegValue::Binary(std::move(sealed)));
}

HRESULT CFtpDestinationStore::Last(std::wstring* out) {
  if (out == nullptr) return E_INVALIDARG;
  return Read(kFtpLastDestinationValue, out);
}

HRESULT CFtpDestinationStore::Recent(std::vector<std::wstring>* out) {
  if (out == nullptr) return E_INVALIDARG;
  out->clear();
  std::wstring text;
  LMK_RETURN_IF_FAILED(Read(kFtpRecentDestinationsValue, &text));
  size_t start = 0;
  while (start < text.size()) {
    const size_t end = std::min(text.find(kSeparator, start), text.size());
    if (end > start) out->emplace_back(text.substr(start, end - start));
    start = end + 1;
  }
  return S_OK;
}

HRESULT CFtpDestinationStore::Remember(std::wstring_view destination) {
  if (destination.empty() || destination.find(kSeparator) != std::wstring_view::npos) {
    return E_INVALIDARG;
  }
  std::vector<std::wstring> recent;
  LMK_RETURN_IF_FAILED(Recent(&recent));
  std::erase(recent, destination);
  recent.insert(recent.begin(), std::wstring(destination));
  if (recent.size() > kFtpRecentLimit) recent.resize(kFtpRecentLimit);
  std::wstring text;
  for (const std::wstring& entry : recent) {
    if (!text.empty()) text += kSeparator;
    text += entry;
  }
  return store_->Transact([&](SettingsStore& store) -> HRESULT {
    CFtpDestinationStore inner(std::shared_ptr<SettingsStore>(&store, [](SettingsStore*) {}));
    LMK_RETURN_IF_FAILED(inner.Write(kFtpLastDestinationValue, destination));
    return inner.Write(kFtpRecentDestinationsValue, text);
  });
}

HRESULT CFtpDestinationStore::Forget() {
  LMK_RETURN_IF_FAILED(EnsureStore());
  for (const std::wstring_view name : {kFtpLastDestinationValue, kFtpRecentDestinationsValue}) {
    const HRESULT hr = store_->DeleteValue(kFtpDestinationsKey, name);
    if (FAILED(hr) && hr != kNotFound) return hr;
  }
  return S_OK;
}

}  // namespace lmk

// Only POSIX code here: secrets sealed with AES-256-GCM (OpenSSL) under a 32-byte random key in
// "secret.key" beside the settings database, a file of mode 0600 that only its owner may read.
#include "platform/secret_store.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "com/com_error.h"
#include "platform/posix/error_map.h"
#include "platform/posix/sqlite_settings_store.h"
#include "platform/posix/unique_fd.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

constexpr size_t kKeySize = 32;
constexpr size_t kNonceSize = 12;
constexpr size_t kTagSize = 16;
// "LMKS" and a format version: also authenticated, so a blob of another format never unseals.
constexpr std::array<uint8_t, 5> kHeader = {'L', 'M', 'K', 'S', 1};

using Key = std::array<uint8_t, kKeySize>;

// The key is wiped when it goes, so that it does not linger in freed memory.
struct KeyHolder {
  Key bytes{};
  ~KeyHolder() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
};

struct CipherDeleter {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, CipherDeleter>;

HRESULT Describe(HRESULT hr, const std::filesystem::path& path, const std::string& what) {
  (void)SetErrorDescription(FromUtf8("the key file '" + path.string() + "' " + what));
  return hr;
}

HRESULT ReadKey(const std::filesystem::path& path, Key* key) {
  const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!fd.valid()) return errno == ENOENT ? S_FALSE : HresultFromErrno(errno);
  struct stat facts {};
  if (::fstat(fd.get(), &facts) != 0) return HresultFromErrno(errno);
  if (facts.st_uid != ::getuid() || (facts.st_mode & 077) != 0) {
    return Describe(E_ACCESSDENIED, path,
                    "may be read by other users; remove it (the stored secrets are then lost) "
                    "or make it the user's own with mode 600");
  }
  if (facts.st_size != static_cast<off_t>(kKeySize) ||
      ::read(fd.get(), key->data(), kKeySize) != static_cast<ssize_t>(kKeySize)) {
    return Describe(HRESULT_FROM_WIN32(ERROR_INVALID_DATA), path,
                    "is damaged; remove it (the stored secrets are then lost)");
  }
  return S_OK;
}

// Makes the key in a private temporary file and links it into place, so that two processes
// making it at once agree on the one that landed first.
HRESULT CreateKey(const std::filesystem::path& path) {
  std::error_code ignored;
  std::filesystem::create_directories(path.parent_path(), ignored);
  std::string temporary = path.string() + ".XXXXXX";
  const UniqueFd fd(::mkstemp(temporary.data()));
  if (!fd.valid()) {
    return Describe(HresultFromErrno(errno), path,
                    "cannot be created: " + std::string(std::strerror(errno)));
  }
  KeyHolder key;
  HRESULT hr = S_OK;
  if (RAND_bytes(key.bytes.data(), static_cast<int>(kKeySize)) != 1) {
    hr = E_FAIL;
  } else if (::fchmod(fd.get(), 0600) != 0 ||
             ::write(fd.get(), key.bytes.data(), kKeySize) != static_cast<ssize_t>(kKeySize) ||
             ::fsync(fd.get()) != 0) {
    hr = HresultFromErrno(errno);
  } else if (::link(temporary.c_str(), path.c_str()) != 0 && errno != EEXIST) {
    hr = HresultFromErrno(errno);
  }
  ::unlink(temporary.c_str());
  if (FAILED(hr)) return Describe(hr, path, "cannot be written");
  return S_OK;
}

HRESULT LoadKey(Key* key) {
  std::filesystem::path database;
  LMK_RETURN_IF_FAILED(SettingsDatabasePath(SettingsScope::CurrentUser, &database));
  const std::filesystem::path path = database.parent_path() / "secret.key";
  HRESULT hr = ReadKey(path, key);
  if (hr == S_FALSE) {
    LMK_RETURN_IF_FAILED(CreateKey(path));
    hr = ReadKey(path, key);
  }
  return hr == S_FALSE ? HRESULT_FROM_WIN32(ERROR_CANTOPEN) : hr;
}

}  // namespace

HRESULT SealSecret(const std::vector<uint8_t>& plain, std::vector<uint8_t>* sealed) {
  if (sealed == nullptr) return E_INVALIDARG;
  KeyHolder key;
  LMK_RETURN_IF_FAILED(LoadKey(&key.bytes));
  std::vector<uint8_t> out(kHeader.begin(), kHeader.end());
  out.resize(kHeader.size() + kNonceSize + plain.size() + kTagSize);
  uint8_t* nonce = out.data() + kHeader.size();
  uint8_t* body = nonce + kNonceSize;
  if (RAND_bytes(nonce, static_cast<int>(kNonceSize)) != 1) return E_FAIL;
  const CipherContext context(EVP_CIPHER_CTX_new());
  int length = 0;
  if (!context ||
      EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.bytes.data(), nonce) != 1 ||
      EVP_EncryptUpdate(context.get(), nullptr, &length, kHeader.data(),
                        static_cast<int>(kHeader.size())) != 1 ||
      EVP_EncryptUpdate(context.get(), body, &length, plain.data(),
                        static_cast<int>(plain.size())) != 1 ||
      EVP_EncryptFinal_ex(context.get(), body + length, &length) != 1 ||
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, static_cast<int>(kTagSize),
                          body + plain.size()) != 1) {
    return E_FAIL;
  }
  *sealed = std::move(out);
  return S_OK;
}

HRESULT UnsealSecret(const std::vector<uint8_t>& sealed, std::vector<uint8_t>* plain) {
  if (plain == nullptr) return E_INVALIDARG;
  constexpr HRESULT kInvalid = HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
  if (sealed.size() < kHeader.size() + kNonceSize + kTagSize ||
      !std::equal(kHeader.begin(), kHeader.end(), sealed.begin())) {
    return kInvalid;
  }
  KeyHolder key;
  LMK_RETURN_IF_FAILED(LoadKey(&key.bytes));
  const uint8_t* nonce = sealed.data() + kHeader.size();
  const uint8_t* body = nonce + kNonceSize;
  const size_t size = sealed.size() - kHeader.size() - kNonceSize - kTagSize;
  std::vector<uint8_t> out(size);
  std::array<uint8_t, kTagSize> tag{};
  std::copy_n(body + size, kTagSize, tag.begin());
  const CipherContext context(EVP_CIPHER_CTX_new());
  int length = 0;
  if (!context ||
      EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.bytes.data(), nonce) != 1 ||
      EVP_DecryptUpdate(context.get(), nullptr, &length, kHeader.data(),
                        static_cast<int>(kHeader.size())) != 1 ||
      EVP_DecryptUpdate(context.get(), out.data(), &length, body, static_cast<int>(size)) != 1 ||
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, static_cast<int>(kTagSize),
                          tag.data()) != 1 ||
      EVP_DecryptFinal_ex(context.get(), out.data() + length, &length) != 1) {
    OPENSSL_cleanse(out.data(), out.size());
    return kInvalid;
  }
  *plain = std::move(out);
  return S_OK;
}

void KeepSecretsOutOfCoreFiles() noexcept {
  static const bool kept = [] {
    // A process that is not dumpable writes no core file for its owner and cannot be traced or
    // read through /proc by other programs of the same user; no core at all covers systems that
    // still dump such processes for the administrator.
    const struct rlimit none {};
    return ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && ::setrlimit(RLIMIT_CORE, &none) == 0;
  }();
  (void)kept;
}

}  // namespace lmk

// Only POSIX code here: file digests through OpenSSL's EVP interface, read in 64 KB blocks.
#include "platform/file_hash.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <vector>

#include "platform/text_encoding.h"

namespace lmk {
namespace {

constexpr size_t kBlockSize = 64 * 1024;

const EVP_MD* Digest(HashAlgorithm algorithm) {
  switch (algorithm) {
    case HashAlgorithm::kMd5:
      return EVP_md5();
    case HashAlgorithm::kSha1:
      return EVP_sha1();
    case HashAlgorithm::kSha256:
      return EVP_sha256();
    case HashAlgorithm::kSha384:
      return EVP_sha384();
    case HashAlgorithm::kSha512:
      return EVP_sha512();
  }
  return nullptr;
}

struct ContextDeleter {
  void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using DigestContext = std::unique_ptr<EVP_MD_CTX, ContextDeleter>;

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  ~FileDescriptor() {
    if (fd_ >= 0) close(fd_);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

HRESULT FromErrno(int error) {
  switch (error) {
    case ENOENT:
      return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    case ENOTDIR:
      return HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
    case EACCES:
    case EPERM:
      return HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED);
    case ENOMEM:
      return E_OUTOFMEMORY;
    default:
      return HRESULT_FROM_WIN32(ERROR_CANTREAD);
  }
}

HRESULT Begin(HashAlgorithm algorithm, DigestContext* context) {
  const EVP_MD* md = Digest(algorithm);
  if (md == nullptr) return E_INVALIDARG;
  context->reset(EVP_MD_CTX_new());
  if (!*context) return E_OUTOFMEMORY;
  return EVP_DigestInit_ex(context->get(), md, nullptr) == 1 ? S_OK : E_FAIL;
}

HRESULT Finish(EVP_MD_CTX* context, std::wstring* hex) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (EVP_DigestFinal_ex(context, digest, &size) != 1) return E_FAIL;
  static constexpr wchar_t kHex[] = L"0123456789abcdef";
  hex->resize(size * 2);
  for (unsigned i = 0; i < size; ++i) {
    (*hex)[2 * i] = kHex[digest[i] >> 4];
    (*hex)[2 * i + 1] = kHex[digest[i] & 15];
  }
  return S_OK;
}

}  // namespace

HRESULT HashBytes(std::string_view data, HashAlgorithm algorithm, std::wstring* hex) {
  if (hex == nullptr) return E_INVALIDARG;
  hex->clear();
  DigestContext context;
  LMK_RETURN_IF_FAILED(Begin(algorithm, &context));
  if (EVP_DigestUpdate(context.get(), data.data(), data.size()) != 1) return E_FAIL;
  return Finish(context.get(), hex);
}

HRESULT HashFile(std::wstring_view path, HashAlgorithm algorithm, std::wstring* hex) {
  if (hex == nullptr) return E_INVALIDARG;
  hex->clear();
  DigestContext context;
  LMK_RETURN_IF_FAILED(Begin(algorithm, &context));
  FileDescriptor file(open(ToUtf8(path).c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return FromErrno(errno);
  std::vector<unsigned char> block(kBlockSize);
  for (;;) {
    ssize_t got = read(file.get(), block.data(), block.size());
    if (got < 0) {
      if (errno == EINTR) continue;
      return FromErrno(errno);
    }
    if (got == 0) break;
    if (EVP_DigestUpdate(context.get(), block.data(), static_cast<size_t>(got)) != 1) return E_FAIL;
  }
  return Finish(context.get(), hex);
}

}  // namespace lmk

// Only Linux and generic POSIX code here: comparing two files from the device, not the cache.
#include "platform/file_compare.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "platform/posix/error_map.h"
#include "platform/posix/unique_fd.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

constexpr std::size_t kLargestBlock = 1 << 20;
constexpr std::size_t kSmallestBlock = 64 << 10;
constexpr std::size_t kAlignment = 64 << 10;

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};
using AlignedBuffer = std::unique_ptr<char, FreeDeleter>;

AlignedBuffer Allocate(std::size_t size) {
  return AlignedBuffer(static_cast<char*>(std::aligned_alloc(kAlignment, size)));
}

std::wstring Describe(std::wstring_view path) {
  std::wstring text(L"Cannot compare '");
  text += path;
  text += L'\'';
  return text;
}

// One file opened for the comparison: without the system cache when the file system allows it.
class ComparedFile {
 public:
  // Returns 0 or an errno.
  int Open(std::wstring_view path) {
    path_ = path;
    const std::string native = ToUtf8(path);
    fd_ = UniqueFd(::open(native.c_str(), O_RDONLY | O_CLOEXEC | O_DIRECT));
    if (!fd_.valid() && errno == EINVAL) {
      // Memory and some network file systems refuse uncached reads at open.
      fd_ = UniqueFd(::open(native.c_str(), O_RDONLY | O_CLOEXEC));
      DropCache();
    }
    if (!fd_.valid()) {
      const int error = errno;
      if (error == ENOENT) {
        struct stat info {};
        const std::size_t slash = native.find_last_of('/');
        const std::string folder = slash == std::string::npos ? "." : native.substr(0, slash + 1);
        if (::stat(folder.c_str(), &info) != 0) return ENOTDIR;
      }
      return error;
    }
    return ::fstat(fd_.get(), &info_) == 0 ? 0 : errno;
  }

  const struct stat& info() const { return info_; }
  const std::wstring& path() const { return path_; }

  // Reads up to `size` bytes at `offset`, short only at the end of the file. 0 or an errno.
  int Read(char* buffer, std::size_t size, off_t offset, std::size_t* got) {
    *got = 0;
    while (*got < size) {
      const ssize_t n =
          ::pread(fd_.get(), buffer + *got, size - *got, offset + static_cast<off_t>(*got));
      if (n == 0) break;
      if (n > 0) {
        *got += static_cast<std::size_t>(n);
        continue;
      }
      if (errno == EINTR) continue;
      if (errno == EINVAL && TurnOffDirect()) continue;
      return errno;
    }
    return 0;
  }

 private:
  // Some file systems accept O_DIRECT at open and refuse the reads (alignment of the device
  // larger than ours, a short final block): go on with cached reads of a dropped cache.
  bool TurnOffDirect() {
    const int flags = ::fcntl(fd_.get(), F_GETFL);
    if (flags < 0 || (flags & O_DIRECT) == 0) return false;
    if (::fcntl(fd_.get(), F_SETFL, flags & ~O_DIRECT) != 0) return false;
    DropCache();
    return true;
  }

  // The copy just written is clean in the cache after its flush: dropping it makes the
  // comparison read what the device holds.
  void DropCache() {
    if (!fd_.valid()) return;
    ::posix_fadvise(fd_.get(), 0, 0, POSIX_FADV_DONTNEED);
    ::posix_fadvise(fd_.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
  }

  UniqueFd fd_;
  struct stat info_ {};
  std::wstring path_;
};

}  // namespace

HRESULT CompareFiles(std::wstring_view first, std::wstring_view second, FileComparison* result) {
  if (result == nullptr) return E_INVALIDARG;
  *result = FileComparison::kDifferent;
  if (first.empty() || second.empty()) return E_INVALIDARG;
  ComparedFile a;
  ComparedFile b;
  for (ComparedFile* file : {&a, &b}) {
    const int error = file->Open(file == &a ? first : second);
    if (error != 0) return HresultFromErrno(error, Describe(file->path()));
    if (S_ISDIR(file->info().st_mode)) {
      SetErrorDescription(Describe(file->path()) + L": it is a folder.");
      return E_ACCESSDENIED;
    }
  }
  if (a.info().st_size != b.info().st_size) return S_OK;
  if (a.info().st_size == 0) {
    *result = FileComparison::kIdentical;
    return S_OK;
  }

  std::size_t block = kLargestBlock;
  AlignedBuffer left;
  AlignedBuffer right;
  for (; block >= kSmallestBlock; block /= 2) {
    left = Allocate(block);
    right = Allocate(block);
    if (left && right) break;
  }
  if (!left || !right) return E_OUTOFMEMORY;

  for (off_t offset = 0;; offset += static_cast<off_t>(block)) {
    std::size_t gotLeft = 0;
    std::size_t gotRight = 0;
    if (const int error = a.Read(left.get(), block, offset, &gotLeft); error != 0) {
      return HresultFromErrno(error, Describe(a.path()));
    }
    if (const int error = b.Read(right.get(), block, offset, &gotRight); error != 0) {
      return HresultFromErrno(error, Describe(b.path()));
    }
    // A file that grew or shrank while it was read is not a faithful copy.
    if (gotLeft != gotRight || std::memcmp(left.get(), right.get(), gotLeft) != 0) return S_OK;
    if (gotLeft < block) break;
  }
  *result = FileComparison::kIdentical;
  return S_OK;
}

}  // namespace lmk

// Only generic POSIX code here, plus the Linux birth time (statx) where the C library has it.
#include "platform/file_facts.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "com/time_convert.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

// Seconds between 1601-01-01 and 1970-01-01.
constexpr int64_t kEpochDifference = 11644473600LL;

FILETIME FromUnixTime(int64_t seconds, int64_t nanoseconds) {
  if (seconds < -kEpochDifference) return FILETIME{};
  return Int64ToFileTime((seconds + kEpochDifference) * 10000000LL + nanoseconds / 100);
}

HRESULT FromErrno(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    case EACCES:
    case EPERM:
      return E_ACCESSDENIED;
    default:
      return E_FAIL;
  }
}

bool IsHiddenName(std::wstring_view path) {
  const std::size_t slash = path.find_last_of(L'/');
  const std::wstring_view name = slash == std::wstring_view::npos ? path : path.substr(slash + 1);
  return name.size() > 1 && name[0] == L'.' && name != L"..";
}

}  // namespace

HRESULT GetFileFacts(std::wstring_view path, FileFacts* out) {
  if (out == nullptr || path.empty()) return E_INVALIDARG;
  const std::string bytes = ToUtf8(path);
  FileFacts facts;
#if defined(STATX_BTIME)
  struct statx sx {};
  if (::statx(AT_FDCWD, bytes.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &sx) != 0) {
    return FromErrno(errno);
  }
  const bool folder = S_ISDIR(sx.stx_mode);
  const bool writable = (sx.stx_mode & S_IWUSR) != 0;
  facts.size = folder ? 0 : sx.stx_size;
  facts.lastAccessTime = FromUnixTime(sx.stx_atime.tv_sec, sx.stx_atime.tv_nsec);
  facts.lastWriteTime = FromUnixTime(sx.stx_mtime.tv_sec, sx.stx_mtime.tv_nsec);
  facts.creationTime = (sx.stx_mask & STATX_BTIME) != 0
                           ? FromUnixTime(sx.stx_btime.tv_sec, sx.stx_btime.tv_nsec)
                           : FromUnixTime(sx.stx_ctime.tv_sec, sx.stx_ctime.tv_nsec);
#else
  struct stat st {};
  if (::stat(bytes.c_str(), &st) != 0) return FromErrno(errno);
  const bool folder = S_ISDIR(st.st_mode);
  const bool writable = (st.st_mode & S_IWUSR) != 0;
  facts.size = folder ? 0 : static_cast<ULONGLONG>(st.st_size);
  facts.lastAccessTime = FromUnixTime(st.st_atim.tv_sec, st.st_atim.tv_nsec);
  facts.lastWriteTime = FromUnixTime(st.st_mtim.tv_sec, st.st_mtim.tv_nsec);
  facts.creationTime = FromUnixTime(st.st_ctim.tv_sec, st.st_ctim.tv_nsec);
#endif
  facts.attributes = folder ? kFileAttributeDirectory : kFileAttributeArchive;
  if (!writable) facts.attributes |= kFileAttributeReadOnly;
  if (IsHiddenName(path)) facts.attributes |= kFileAttributeHidden;
  *out = facts;
  return S_OK;
}

}  // namespace lmk

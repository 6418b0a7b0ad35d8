// Only POSIX code here: errno values mapped once to the Win32 codes the rest of the code tests.
#include "platform/posix/error_map.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "platform/text_encoding.h"

namespace lmk {
namespace {

// winerror.h values that the COM subset does not name.
constexpr DWORD kErrorTooManyOpenFiles = 4;
constexpr DWORD kErrorGenFailure = 31;
constexpr DWORD kErrorFileTooLarge = 223;
constexpr DWORD kErrorIoDevice = 1117;
constexpr DWORD kErrorTooManyLinks = 1142;
constexpr DWORD kErrorCantResolveFilename = 1921;

struct ErrnoEntry {
  int error;
  DWORD win32;
};

// Where errno is coarser than Win32 the code a Windows caller would meet in the same situation
// is chosen: opening a folder as a file is access denied, a missing parent is "path not found".
constexpr ErrnoEntry kErrnoTable[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EROFS, ERROR_WRITE_PROTECT},
    {EEXIST, ERROR_FILE_EXISTS},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EFBIG, kErrorFileTooLarge},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {ELOOP, kErrorCantResolveFilename},
    {EBUSY, ERROR_BUSY},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EAGAIN, ERROR_LOCK_VIOLATION},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOMEM, ERROR_OUTOFMEMORY},
    {EMFILE, kErrorTooManyOpenFiles},
    {ENFILE, kErrorTooManyOpenFiles},
    {EMLINK, kErrorTooManyLinks},
    {EIO, kErrorIoDevice},
    {ENODEV, ERROR_NOT_READY},
    {ENXIO, ERROR_NOT_READY},
    {ENOTCONN, ERROR_NOT_READY},
    {ENOMEDIUM, ERROR_NOT_READY},
    {ESTALE, ERROR_NOT_READY},
    {ETIMEDOUT, ERROR_TIMEOUT},
    {ECANCELED, ERROR_CANCELLED},
    {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
    {ENOSYS, ERROR_NOT_SUPPORTED},
};
static_assert(EWOULDBLOCK == EAGAIN && ENOTSUP == EOPNOTSUPP, "one entry each is enough");

}  // namespace

DWORD Win32FromErrno(int error) noexcept {
  if (error == 0) return ERROR_SUCCESS;
  for (const ErrnoEntry& entry : kErrnoTable) {
    if (entry.error == error) return entry.win32;
  }
  return kErrorGenFailure;
}

DWORD Win32FromWriteErrno(int error) noexcept {
  switch (error) {
    case ENOENT:
      return ERROR_PATH_NOT_FOUND;
    case EWOULDBLOCK:
      return ERROR_SHARING_VIOLATION;
    default: {
      const DWORD win32 = Win32FromErrno(error);
      return win32 == kErrorGenFailure ? ERROR_CANTWRITE : win32;
    }
  }
}

HRESULT HresultFromErrno(int error) noexcept { return HRESULT_FROM_WIN32(Win32FromErrno(error)); }

HRESULT HresultFromErrno(int error, std::wstring_view context) noexcept {
  const HRESULT hr = HresultFromErrno(error);
  if (FAILED(hr)) {
    try {
      char buffer[256] = {};
      // The GNU strerror_r returns its text, possibly not in buffer.
      const char* text = ::strerror_r(error, buffer, sizeof buffer);
      std::wstring description(context);
      description += L": ";
      description += FromUtf8(text);
      description += L'.';
      SetErrorDescription(description);
    } catch (...) {
      // The code still says what went wrong when the description cannot be made.
    }
  }
  return hr;
}

}  // namespace lmk

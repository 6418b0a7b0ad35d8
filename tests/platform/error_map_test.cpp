// Tests of the one errno to Win32 table: the codes callers test for must come out exactly.
#include "platform/posix/error_map.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "com/com_error.h"

namespace lmk {
namespace {

struct ErrnoCase {
  std::string name;
  int error;
  DWORD win32;
};

class ErrnoMapTest : public ::testing::TestWithParam<ErrnoCase> {};

TEST_P(ErrnoMapTest, GivesTheWin32CodeAndItsHresult) {
  const ErrnoCase& c = GetParam();
  EXPECT_EQ(Win32FromErrno(c.error), c.win32);
  EXPECT_EQ(HresultFromErrno(c.error), HRESULT_FROM_WIN32(c.win32));
}

const ErrnoCase kErrnoCases[] = {
    {"None", 0, ERROR_SUCCESS},
    {"Missing", ENOENT, ERROR_FILE_NOT_FOUND},
    {"ParentNotAFolder", ENOTDIR, ERROR_PATH_NOT_FOUND},
    {"Denied", EACCES, ERROR_ACCESS_DENIED},
    {"NotPermitted", EPERM, ERROR_ACCESS_DENIED},
    {"IsAFolder", EISDIR, ERROR_ACCESS_DENIED},
    {"ReadOnlyVolume", EROFS, ERROR_WRITE_PROTECT},
    {"Exists", EEXIST, ERROR_FILE_EXISTS},
    {"NotEmpty", ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {"OtherDevice", EXDEV, ERROR_NOT_SAME_DEVICE},
    {"NoSpace", ENOSPC, ERROR_DISK_FULL},
    {"QuotaExceeded", EDQUOT, ERROR_DISK_FULL},
    {"NameTooLong", ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {"Busy", EBUSY, ERROR_BUSY},
    {"TextBusy", ETXTBSY, ERROR_SHARING_VIOLATION},
    {"WouldBlock", EWOULDBLOCK, ERROR_LOCK_VIOLATION},
    {"Invalid", EINVAL, ERROR_INVALID_PARAMETER},
    {"BadDescriptor", EBADF, ERROR_INVALID_HANDLE},
    {"NoMemory", ENOMEM, ERROR_OUTOFMEMORY},
    {"TimedOut", ETIMEDOUT, ERROR_TIMEOUT},
    {"NotSupported", ENOTSUP, ERROR_NOT_SUPPORTED},
    {"NoMedium", ENOMEDIUM, ERROR_NOT_READY},
    {"IoError", EIO, 1117},
    {"Unknown", 4095, 31},
};

INSTANTIATE_TEST_SUITE_P(Table, ErrnoMapTest, ::testing::ValuesIn(kErrnoCases),
                         [](const auto& i) { return i.param.name; });

TEST(ErrnoMapTest, DescriptionNamesTheContextAndTheReason) {
  TakeErrorDescription();
  EXPECT_EQ(HresultFromErrno(ENOENT, L"Cannot open '/x/ä.jpg'"),
            HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  const std::wstring text = TakeErrorDescription();
  EXPECT_EQ(text.rfind(L"Cannot open '/x/ä.jpg': ", 0), 0u) << text;
  EXPECT_GT(text.size(), 26u);
  EXPECT_EQ(HresultFromErrno(0, L"nothing"), S_OK);
  EXPECT_TRUE(TakeErrorDescription().empty());
}

}  // namespace
}  // namespace lmk

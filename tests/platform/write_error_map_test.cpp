// Tests of the errno map for files being made or written: the codes the log and text writers
// report where the general table would say something else.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "platform/posix/error_map.h"

namespace lmk {
namespace {

struct WriteErrnoCase {
  std::string name;
  int error;
  DWORD win32;
};

class WriteErrnoTest : public ::testing::TestWithParam<WriteErrnoCase> {};

TEST_P(WriteErrnoTest, GivesTheWriterCode) {
  EXPECT_EQ(Win32FromWriteErrno(GetParam().error), GetParam().win32);
}

INSTANTIATE_TEST_SUITE_P(Cases, WriteErrnoTest,
                         ::testing::ValuesIn(std::initializer_list<WriteErrnoCase>{
                             {"MissingFolder", ENOENT, ERROR_PATH_NOT_FOUND},
                             {"LockedElsewhere", EWOULDBLOCK, ERROR_SHARING_VIOLATION},
                             {"FromTheTable", ENOSPC, ERROR_DISK_FULL},
                             {"UnknownIsCannotWrite", EPROTO, ERROR_CANTWRITE},
                         }),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk

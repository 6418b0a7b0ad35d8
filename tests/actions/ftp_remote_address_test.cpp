// Where the upload action sends a file: the destination, the folders kept below the images
// folder, and the name, with separators collapsed.
#include <gtest/gtest.h>

#include <string>

#include "actions/ftp_action.h"
#include "support/data_table.h"

namespace lmk {
namespace {

class FtpRemoteAddressTest : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: destination, the file, the images folder, whether the hierarchy is kept, the address.
TEST_P(FtpRemoteAddressTest, Joined) {
  const test::CaseRow& c = GetParam();
  std::wstring url;
  const HRESULT hr = CFTPAction::RemoteAddress(test::Wide(c[0]), test::Wide(c[1]), test::Wide(c[2]),
                                               c[3] == "yes", &url);
  if (c[4].empty()) {
    EXPECT_EQ(hr, E_FAIL);
    return;
  }
  ASSERT_EQ(hr, S_OK);
  EXPECT_EQ(url, test::Wide(c[4]));
}

INSTANTIATE_TEST_SUITE_P(FtpUpload, FtpRemoteAddressTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/ftp_remote_addresses.tsv")),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk

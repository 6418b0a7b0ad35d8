// Where the upload action sends a file: the destination, the folders kept below the images
// folder, and the name, with separators collapsed.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "actions/ftp_action.h"

namespace lmk {
namespace {

struct RemoteCase {
  std::string name;
  std::wstring destination;
  std::wstring source;
  std::wstring imagesFolder;
  bool hierarchy;
  std::wstring url;  ///< empty: the address is too long
};

class FtpRemoteAddressTest : public ::testing::TestWithParam<RemoteCase> {};

TEST_P(FtpRemoteAddressTest, Joined) {
  const RemoteCase& c = GetParam();
  std::wstring url;
  const HRESULT hr =
      CFTPAction::RemoteAddress(c.destination, c.source, c.imagesFolder, c.hierarchy, &url);
  if (c.url.empty()) {
    EXPECT_EQ(hr, E_FAIL);
    return;
  }
  ASSERT_EQ(hr, S_OK);
  EXPECT_EQ(url, c.url);
}

INSTANTIATE_TEST_SUITE_P(
    FtpUpload, FtpRemoteAddressTest,
    ::testing::ValuesIn(std::vector<RemoteCase>{
        {"Flat", L"ftp://h/up/", L"/p/2024/a.jpg", L"/p", false, L"ftp://h/up/a.jpg"},
        {"Inside", L"ftp://h/up", L"/p/2024/05/a.jpg", L"/p", true, L"ftp://h/up/2024/05/a.jpg"},
        {"InTheImagesFolder", L"ftp://h/up", L"/p/a.jpg", L"/p/", true, L"ftp://h/up/a.jpg"},
        {"OutsideLessTheRoot", L"ftp://h/up", L"/q/r/a.jpg", L"/p", true, L"ftp://h/up/q/r/a.jpg"},
        {"NoImagesFolder", L"ftp://h", L"/q/a.jpg", L"", true, L"ftp://h/q/a.jpg"},
        {"PercentInName", L"ftp://h/up", L"/p/100%.jpg", L"/p", false, L"ftp://h/up/100%25.jpg"},
        {"BackslashInName", L"ftp://h/up", L"/p/a\\b.jpg", L"/p", false, L"ftp://h/up/a%5Cb.jpg"},
        {"BackslashesInTemplate", L"ftp://h\\up\\\\x", L"/p/a.jpg", L"/p", false,
         L"ftp://h/up/x/a.jpg"},
        {"TooLong", L"ftp://h/" + std::wstring(2080, L'x'), L"/p/a.jpg", L"/p", false, L""},
    }),
    [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk

// Tests of when an old folder listing is read again: only when the folder may have changed.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "platform/folder_listing.h"
#include "platform_test_files.h"

namespace lmk {
namespace {

using namespace test;

struct StampCase {
  const char* name;
  bool settled;       // the folder last changed an hour before the first read
  bool sidecarAdded;  // another program adds img.xmp after the first read
  size_t reads;
};

class ListingStampTest : public ::testing::TestWithParam<StampCase> {};

TEST_P(ListingStampTest, OldListingIsReadAgainOnlyWhenTheFolderMayHaveChanged) {
  ScopedTempDir dir;
  Touch(dir / "img.jpg");
  if (GetParam().settled) {
    fs::last_write_time(dir.path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
  }
  std::chrono::steady_clock::time_point now{};
  FolderListings listings(std::chrono::milliseconds(2000), [&] { return now; });
  ASSERT_FALSE(listings.FileExists(W(dir / "img.xmp")));
  if (GetParam().sidecarAdded) Touch(dir / "img.xmp");
  now += std::chrono::milliseconds(2100);
  EXPECT_EQ(listings.FileExists(W(dir / "img.xmp")), GetParam().sidecarAdded);
  EXPECT_EQ(listings.ReadCount(), GetParam().reads);
}

INSTANTIATE_TEST_SUITE_P(Stamps, ListingStampTest,
                         ::testing::ValuesIn(std::vector<StampCase>{
                             {"SettledAndUnchangedIsKept", true, false, 1},
                             {"SettledButChangedIsReadAgain", true, true, 2},
                             {"RecentlyChangedIsReadAgain", false, false, 2},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk

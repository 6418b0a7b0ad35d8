// Tests of the trash: a trashed file can be found again with the information to restore it.
#include "platform/trash.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>

#include "com/com_error.h"
#include "platform_test_files.h"

namespace lmk {
namespace {

using namespace test;

// The desktop's data folder is read once per process: it is pointed at one temporary folder
// on the same volume as the test files before the first trash call, so that the user's own
// trash is never touched.
class TrashTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    home_ = std::make_unique<ScopedTempDir>();
    fs::create_directories(*home_ / "data");
    ::setenv("XDG_DATA_HOME", (*home_ / "data").c_str(), 1);
    ::setenv("HOME", home_->path().c_str(), 1);
  }
  static void TearDownTestSuite() { home_.reset(); }

  void SetUp() override {
    temp_ = *home_ / std::to_string(++counter_);
    data_ = *home_ / "data";
    fs::create_directories(temp_);
  }

  static inline std::unique_ptr<ScopedTempDir> home_;
  static inline int counter_ = 0;
  fs::path temp_;
  fs::path data_;
};

TEST_F(TrashTest, RoundTripThroughTheTrash) {
  const fs::path picture = temp_ / "Ferien ä.jpg";
  WriteBytes(picture, "pixels");
  const HRESULT hr = MoveToTrash(W(picture));
  if (hr == HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED)) {
    GTEST_SKIP() << "no trash on the temporary volume: " << ToUtf8(TakeErrorDescription());
  }
  ASSERT_EQ(hr, S_OK) << ToUtf8(TakeErrorDescription());
  EXPECT_FALSE(fs::exists(picture));

  const fs::path files = data_ / "Trash/files";
  const fs::path info = data_ / "Trash/info";
  EXPECT_EQ(ReadText(files / "Ferien ä.jpg"), "pixels");
  const std::string restore = ReadBytes(info / "Ferien ä.jpg.trashinfo");
  EXPECT_NE(restore.find("Path="), std::string::npos);
  EXPECT_NE(restore.find("DeletionDate="), std::string::npos);

  // A second file of the same name is kept beside the first, not over it.
  WriteBytes(picture, "second");
  ASSERT_EQ(MoveToTrash(W(picture)), S_OK);
  EXPECT_EQ(std::distance(fs::directory_iterator(files), {}), 2);
}

TEST_F(TrashTest, MissingFileIsReportedAndNothingElseHappens) {
  EXPECT_EQ(MoveToTrash(W(temp_ / "none.jpg")), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  EXPECT_NE(TakeErrorDescription().find(L"none.jpg"), std::wstring::npos);
  EXPECT_EQ(MoveToTrash(L""), E_INVALIDARG);
}

}  // namespace
}  // namespace lmk

// Tests of the block-by-block comparison used to verify copies.
#include "platform/file_compare.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "com/com_error.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

// Paths as the platform layer takes them, whatever the C library's locale.
std::wstring W(const fs::path& path) { return FromUtf8(path.string()); }

void WriteText(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

constexpr std::size_t kMiB = 1 << 20;

std::string Pattern(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>((i * 131) >> 3);
  return text;
}

struct CompareCase {
  std::string name;
  std::size_t size;
  std::size_t flipAt;  // npos: identical; else the byte changed in the second file
  std::size_t secondSize;
  FileComparison expected;
};

class CompareFilesTest : public ::testing::TestWithParam<CompareCase> {};

TEST_P(CompareFilesTest, FindsEveryDifference) {
  const CompareCase& c = GetParam();
  test::ScopedTempDir temp;
  const std::string first = Pattern(c.size);
  std::string second = Pattern(c.secondSize);
  if (c.flipAt != std::string::npos) second[c.flipAt] ^= 0x40;
  WriteText(temp / "a", first);
  WriteText(temp / "b", second);
  FileComparison result = FileComparison::kIdentical;
  ASSERT_EQ(CompareFiles(W(temp / "a"), W(temp / "b"), &result), S_OK);
  EXPECT_EQ(result, c.expected);
}

constexpr std::size_t kSame = std::string::npos;

const CompareCase kCompareCases[] = {
    {"BothEmpty", 0, kSame, 0, FileComparison::kIdentical},
    {"OneByte", 1, kSame, 1, FileComparison::kIdentical},
    {"OneByteDiffers", 1, 0, 1, FileComparison::kDifferent},
    {"ShortFinalBlock", 3 * kMiB + 4097, kSame, 3 * kMiB + 4097, FileComparison::kIdentical},
    {"ExactlyOneBlock", kMiB, kSame, kMiB, FileComparison::kIdentical},
    {"LastByteOfFirstBlock", 2 * kMiB, kMiB - 1, 2 * kMiB, FileComparison::kDifferent},
    {"FirstByteOfSecondBlock", 2 * kMiB, kMiB, 2 * kMiB, FileComparison::kDifferent},
    {"LastByteOfShortBlock", kMiB + 10, kMiB + 9, kMiB + 10, FileComparison::kDifferent},
    {"SizesDiffer", 4096, kSame, 4095, FileComparison::kDifferent},
    {"EmptyAndNot", 0, kSame, 1, FileComparison::kDifferent},
};

INSTANTIATE_TEST_SUITE_P(Cases, CompareFilesTest, ::testing::ValuesIn(kCompareCases),
                         [](const auto& i) { return i.param.name; });

TEST(CompareFilesErrorTest, MissingFilesAndFoldersAreErrorsNotDifferences) {
  test::ScopedTempDir temp;
  WriteText(temp / "a", "x");
  FileComparison result = FileComparison::kIdentical;
  EXPECT_EQ(CompareFiles(W(temp / "a"), W(temp / "none"), &result),
            HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(result, FileComparison::kDifferent);
  EXPECT_NE(TakeErrorDescription().find(L"none"), std::wstring::npos);
  EXPECT_EQ(CompareFiles(W(temp / "no/a"), W(temp / "a"), &result),
            HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
  EXPECT_EQ(CompareFiles(W(temp / "a"), W(temp.path()), &result), E_ACCESSDENIED);
  EXPECT_EQ(CompareFiles(W(temp / "a"), W(temp / "a"), nullptr), E_INVALIDARG);
}

}  // namespace
}  // namespace lmk

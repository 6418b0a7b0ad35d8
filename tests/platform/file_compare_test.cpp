// The block-by-block comparison used to verify copies.
#include "platform/file_compare.h"

#include <gtest/gtest.h>

#include <string>

#include "com/com_error.h"
#include "platform_test_files.h"

namespace lmk {
namespace {

using namespace test;

constexpr std::size_t kMiB = 1 << 20, kSame = std::string::npos;

std::string Pattern(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>((i * 131) >> 3);
  return text;
}

struct CompareCase {
  const char* name;
  std::size_t size, flipAt, secondSize;  // flipAt: the byte changed in the second file
  FileComparison expected;
};

constexpr auto kIdentical = FileComparison::kIdentical, kDifferent = FileComparison::kDifferent;

const CompareCase kCompareCases[] = {
    {"BothEmpty", 0, kSame, 0, kIdentical},
    {"OneByte", 1, kSame, 1, kIdentical},
    {"OneByteDiffers", 1, 0, 1, kDifferent},
    {"ShortFinalBlock", 3 * kMiB + 4097, kSame, 3 * kMiB + 4097, kIdentical},
    {"ExactlyOneBlock", kMiB, kSame, kMiB, kIdentical},
    {"LastByteOfFirstBlock", 2 * kMiB, kMiB - 1, 2 * kMiB, kDifferent},
    {"FirstByteOfSecondBlock", 2 * kMiB, kMiB, 2 * kMiB, kDifferent},
    {"LastByteOfShortBlock", kMiB + 10, kMiB + 9, kMiB + 10, kDifferent},
    {"SizesDiffer", 4096, kSame, 4095, kDifferent},
    {"EmptyAndNot", 0, kSame, 1, kDifferent},
};

class CompareFilesTest : public ::testing::TestWithParam<CompareCase> {};

TEST_P(CompareFilesTest, FindsEveryDifference) {
  const CompareCase& c = GetParam();
  ScopedTempDir temp;
  std::string second = Pattern(c.secondSize);
  if (c.flipAt != kSame) second[c.flipAt] ^= 0x40;
  WriteBytes(temp / "a", Pattern(c.size));
  WriteBytes(temp / "b", second);
  FileComparison result = FileComparison::kIdentical;
  ASSERT_EQ(CompareFiles(W(temp / "a"), W(temp / "b"), &result), S_OK);
  EXPECT_EQ(result, c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, CompareFilesTest, ::testing::ValuesIn(kCompareCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(CompareFilesErrorTest, MissingFilesAndFoldersAreErrorsNotDifferences) {
  ScopedTempDir temp;
  Touch(temp / "a");
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

// Path rules of the file actions, with the POSIX and Windows expectations side by side (the tables
// are tests/data/cases/destination_folders.tsv and hierarchy_below.tsv).
#include "actions/action_path.h"

#include <gtest/gtest.h>

#include <string>

#include "support/data_table.h"

namespace lmk {
namespace {

using test::Wide;

PathStyle StyleOf(const std::string& name) {
  return name == "windows" ? PathStyle::Windows : PathStyle::Posix;
}

class ResolveDestinationTest : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: style, destination, image's folder, images folder, resolved.
TEST_P(ResolveDestinationTest, Resolves) {
  const test::CaseRow& c = GetParam();
  EXPECT_EQ(ResolveDestinationFolder(Wide(c[1]), Wide(c[2]), Wide(c[3]), StyleOf(c[0])),
            Wide(c[4]));
}

INSTANTIATE_TEST_SUITE_P(Forms, ResolveDestinationTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/destination_folders.tsv")),
                         [](const auto& i) { return i.param.name; });

class HierarchyBelowTest : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: style, image's folder, images folder, the part below.
TEST_P(HierarchyBelowTest, KeepsThePartBelowTheSharedPrefix) {
  const test::CaseRow& c = GetParam();
  EXPECT_EQ(HierarchyBelow(Wide(c[1]), Wide(c[2]), StyleOf(c[0])), Wide(c[3]));
}

INSTANTIATE_TEST_SUITE_P(Folders, HierarchyBelowTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/hierarchy_below.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST(ActionPathTest, PartsOfAPath) {
  EXPECT_EQ(FolderOf(L"/a/b.jpg", PathStyle::Posix), L"/a");
  EXPECT_EQ(FolderOf(L"/b.jpg", PathStyle::Posix), L"/");
  EXPECT_EQ(FolderOf(L"C:\\b.jpg", PathStyle::Windows), L"C:\\");
  EXPECT_EQ(ExtensionOf(L"/a.b/c", PathStyle::Posix), L"");
  EXPECT_EQ(ExtensionOf(L"/a/.hidden", PathStyle::Posix), L"");
  EXPECT_EQ(ExtensionOf(L"/a/x.tar.gz", PathStyle::Posix), L".gz");
  EXPECT_TRUE(SameFolderText(L"/Pics/", L"/pics", PathStyle::Posix));
}

}  // namespace
}  // namespace lmk

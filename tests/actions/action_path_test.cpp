// Path rules of the file actions, with the POSIX and Windows expectations side by side.
#include "actions/action_path.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lmk {
namespace {

struct ResolveCase {
  std::string name;
  PathStyle style;
  std::wstring destination;
  std::wstring imageFolder;
  std::wstring imagesFolder;
  std::wstring expected;
};

std::vector<ResolveCase> ResolveCases() {
  using enum PathStyle;
  return {
      {"DotsBackslashBesideImage", Posix, L"...\\Best", L"/p/2024/trip", L"/p",
       L"/p/2024/trip/Best"},
      {"DotsSlashBesideImage", Posix, L".../Best/x", L"/p/a", L"/p", L"/p/a/Best/x"},
      {"DotsAloneIsImageFolder", Posix, L"...", L"/p/a", L"/p", L"/p/a"},
      {"RelativeToImagesFolder", Posix, L"Sorted/2024/03", L"/p/a", L"/p", L"/p/Sorted/2024/03"},
      {"BackslashesSeparateOnPosix", Posix, L"Sorted\\2024\\03", L"/p/a", L"/p/",
       L"/p/Sorted/2024/03"},
      {"RelativeWithoutImagesFolder", Posix, L"Out", L"/p/a", L"", L"/p/a/Out"},
      {"AbsoluteStands", Posix, L"/mnt/backup//2024/", L"/p/a", L"/p", L"/mnt/backup/2024"},
      {"RootStands", Posix, L"/", L"/p/a", L"/p", L"/"},
      {"WindowsDots", Windows, L"...\\Best", L"C:\\p\\a", L"C:\\p", L"C:\\p\\a\\Best"},
      {"WindowsRelative", Windows, L"Best/2024", L"C:\\p\\a", L"C:\\p", L"C:\\p\\Best\\2024"},
      {"WindowsDrive", Windows, L"D:/Backup\\2024\\", L"C:\\p\\a", L"C:\\p", L"D:\\Backup\\2024"},
      {"WindowsNetwork", Windows, L"\\\\nas\\share\\x", L"C:\\p\\a", L"C:\\p",
       L"\\\\nas\\share\\x"},
  };
}

class ResolveDestinationTest : public ::testing::TestWithParam<ResolveCase> {};

TEST_P(ResolveDestinationTest, Resolves) {
  const ResolveCase& c = GetParam();
  EXPECT_EQ(ResolveDestinationFolder(c.destination, c.imageFolder, c.imagesFolder, c.style),
            c.expected);
}

INSTANTIATE_TEST_SUITE_P(Forms, ResolveDestinationTest, ::testing::ValuesIn(ResolveCases()),
                         [](const auto& i) { return i.param.name; });

struct HierarchyCase {
  std::string name;
  PathStyle style;
  std::wstring imageFolder;
  std::wstring imagesFolder;
  std::wstring expected;
};

std::vector<HierarchyCase> HierarchyCases() {
  using enum PathStyle;
  return {
      {"InImagesFolder", Posix, L"/p", L"/p", L""},
      {"TwoLevelsBelow", Posix, L"/p/2024/trip", L"/p", L"2024/trip"},
      {"TrailingSeparator", Posix, L"/p/a/", L"/p/", L"a"},
      {"NamesNotCharacters", Posix, L"/photos2/a", L"/photos", L"photos2/a"},
      {"CaseMattersOnPosix", Posix, L"/P/a", L"/p", L"P/a"},
      {"CaseIgnoredOnWindows", Windows, L"C:\\P\\a", L"c:\\p", L"a"},
      {"OtherDriveSharesNothing", Windows, L"D:\\p\\a", L"C:\\p", L"p\\a"},
      // Each folder is re-created as one safe name, never as a way up or a hidden folder.
      {"BackslashesAndDotsOneFolder", Posix, L"/p/..\\..\\x", L"/p", L"~.~..~x"},
      {"DotDotFolderNoWayUp", Posix, L"/p/a/../b", L"/p", L"a/~/b"},
      {"HiddenFolder", Posix, L"/p/.trip", L"/p", L"~trip"},
      {"WindowsColonInName", Windows, L"C:\\p\\a:b", L"C:\\p", L"a~b"},
  };
}

class HierarchyBelowTest : public ::testing::TestWithParam<HierarchyCase> {};

TEST_P(HierarchyBelowTest, KeepsThePartBelowTheSharedPrefix) {
  const HierarchyCase& c = GetParam();
  EXPECT_EQ(HierarchyBelow(c.imageFolder, c.imagesFolder, c.style), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Folders, HierarchyBelowTest, ::testing::ValuesIn(HierarchyCases()),
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

// Where the removal of emptied folders stops: the folders the viewer shows (first level only),
// the system's roots, the paths the run was given, the home folder and mount points, for both
// systems' path rules.
#include "actions/folder_removal_guard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace lmk {
namespace {

struct GuardCase {
  std::string name;
  std::wstring folder;
  bool first = false;
  FolderKeep expected = FolderKeep::kRemovable;
  std::vector<std::wstring> runPaths;
  std::wstring imagesFolder;
  std::wstring keepCopyFolder;
  std::vector<std::wstring> homes;   // folders that hold the home folder
  std::vector<std::wstring> mounts;  // mount points
  PathStyle style = PathStyle::Posix;
};

std::vector<GuardCase> GuardCases() {
  using K = FolderKeep;
  const std::vector<std::wstring> twoTrees = {L"/v/a/home/u/Pictures/trip", L"/v/b/day"};
  return {
      {"InsideARunPath", L"/v/a/home/u/Pictures/trip/2024", false, K::kRemovable, twoTrees},
      {"RunPathItself", L"/v/b/day", false, K::kRemovable, twoTrees},
      {"AboveEveryRunPath", L"/v/a/home/u/Pictures", false, K::kOutsideRunPaths, twoTrees},
      {"CommonParentOfTwoTrees", L"/v", false, K::kOutsideRunPaths, twoTrees},
      {"NameSharingAPrefix", L"/v/b/days", false, K::kOutsideRunPaths, twoTrees},
      {"PosixComparesCase", L"/v/B/day", false, K::kOutsideRunPaths, twoTrees},
      {"DottedNameIsOutside", L"/v/b/day/../../x", false, K::kOutsideRunPaths, twoTrees},
      {"PosixRoot", L"/", false, K::kRoot, {L"/"}},
      {"ImagesFolderFirst", L"/p/trip", true, K::kViewerFolder, {L"/p"}, L"/p/trip"},
      {"ImagesFolderLater", L"/p/trip", false, K::kRemovable, {L"/p"}, L"/p/trip"},
      {"KeepCopyFolderFirst", L"/p/keep/", true, K::kViewerFolder, {L"/p"}, L"/p", L"/p/keep"},
      {"KeepCopyFolderLater", L"/p/keep", false, K::kRemovable, {L"/p"}, L"/p", L"/p/keep"},
      {"HomeFolder", L"/t/home/u", false, K::kHome, {L"/t"}, L"", L"", {L"/t/home/u", L"/t"}},
      {"HomeAncestor", L"/t", false, K::kHome, {L"/t"}, L"", L"", {L"/t/home/u", L"/t"}},
      {"MountPoint", L"/t", false, K::kMountPoint, {L"/t"}, L"", L"", {}, {L"/t"}},
      {"NoRunPathsTakesImagesFolder", L"/p/a", false, K::kRemovable, {}, L"/p"},
      {"NoRunPathsAboveImagesFolder", L"/q", false, K::kOutsideRunPaths, {}, L"/q/p"},
      {"NoRunPathsNoImagesFolder", L"/p/a", false, K::kOutsideRunPaths},
      {"WindowsShortPath",
       L"C:\\abc",
       false,
       K::kRoot,
       {L"C:\\"},
       L"",
       L"",
       {},
       {},
       PathStyle::Windows},
      {"WindowsIgnoresCase",
       L"c:/photos/Trip",
       false,
       K::kRemovable,
       {L"C:\\Photos"},
       L"",
       L"",
       {},
       {},
       PathStyle::Windows},
      {"WindowsOtherDrive",
       L"D:\\Photos\\Trip",
       false,
       K::kOutsideRunPaths,
       {L"C:\\Photos"},
       L"",
       L"",
       {},
       {},
       PathStyle::Windows},
      {"WindowsImagesFolderFirst",
       L"c:\\photos\\trip\\",
       true,
       K::kViewerFolder,
       {L"C:\\Photos"},
       L"C:\\Photos\\Trip",
       L"",
       {},
       {},
       PathStyle::Windows},
  };
}

class FolderRemovalGuardTest : public ::testing::TestWithParam<GuardCase> {};

TEST_P(FolderRemovalGuardTest, Decides) {
  const GuardCase& c = GetParam();
  const auto listed = [](const std::vector<std::wstring>& list) {
    return [list](std::wstring_view folder) {
      return std::find(list.begin(), list.end(), folder) != list.end();
    };
  };
  const FolderRemovalGuard guard(c.runPaths, c.imagesFolder, c.keepCopyFolder,
                                 FolderSystemFacts{listed(c.mounts), listed(c.homes)}, c.style);
  EXPECT_EQ(guard.Check(c.folder, c.first), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Folders, FolderRemovalGuardTest, ::testing::ValuesIn(GuardCases()),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk

// Where the removal of emptied folders stops: the folders the viewer shows (first level only),
// the system's roots, the paths the run was given, the home folder and mount points, for both
// systems' path rules (the table is tests/data/cases/folder_removal_stops.tsv).
#include "actions/folder_removal_guard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/data_table.h"

namespace lmk {
namespace {

std::vector<std::wstring> List(const std::string& text) {
  std::vector<std::wstring> list;
  std::istringstream items(text);
  for (std::string item; std::getline(items, item, ';');) list.push_back(test::Wide(item));
  return list;
}

class FolderRemovalGuardTest : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: style, folder, first, answer, run paths, images folder, keep-copy folder, homes, mounts.
TEST_P(FolderRemovalGuardTest, Decides) {
  const test::CaseRow& c = GetParam();
  const auto listed = [](const std::vector<std::wstring>& list) {
    return [list](std::wstring_view folder) {
      return std::find(list.begin(), list.end(), folder) != list.end();
    };
  };
  const std::map<std::string, FolderKeep> answers = {
      {"removable", FolderKeep::kRemovable}, {"viewer", FolderKeep::kViewerFolder},
      {"root", FolderKeep::kRoot},           {"outside", FolderKeep::kOutsideRunPaths},
      {"home", FolderKeep::kHome},           {"mount", FolderKeep::kMountPoint}};
  const FolderRemovalGuard guard(List(c[4]), test::Wide(c[5]), test::Wide(c[6]),
                                 FolderSystemFacts{listed(List(c[8])), listed(List(c[7]))},
                                 c[0] == "windows" ? PathStyle::Windows : PathStyle::Posix);
  EXPECT_EQ(guard.Check(test::Wide(c[1]), c[2] == "first"), answers.at(c[3]));
}

INSTANTIATE_TEST_SUITE_P(Folders, FolderRemovalGuardTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/folder_removal_stops.tsv")),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk

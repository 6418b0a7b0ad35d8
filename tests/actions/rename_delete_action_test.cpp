// Rename and delete on real files: the template rules, sidecars, retries of a file held open,
// read-only files, the host's notices and the removal of emptied folders with its stops.
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "actions/action_fixture.h"
#include "actions/delete_action.h"
#include "actions/rename_action.h"
#include "platform/file_operations.h"
#include "support/data_table.h"

namespace lmk {
namespace {

using test::MakeImageRecord;
using test::ReadFile;
using test::WideOf;
using test::WriteFile;

constexpr SharingRetry kQuickRetry{15, std::chrono::milliseconds(1)};

using RenameTest = test::FileActionParamTest<test::CaseRow>;

// Fields: file, template, new name, frame.
TEST_P(RenameTest, RenamesInPlace) {
  const test::CaseRow& c = GetParam();
  const std::wstring root = Root(), templ = test::Wide(c[1]);
  const std::wstring old = root + L"/" + test::Wide(c[0]);
  WriteFile(test::PathOf(old), "img");
  ComPtr<test::NoticeHost> host = MakeComObject<test::NoticeHost>();
  CRenameAction rename;
  rename.SetTemplate(templ);
  ComPtr<IDictionary> record =
      Record(test::Wide(c[0]), static_cast<unsigned short>(std::stoi(c[3])), host.Get());

  EXPECT_EQ(rename.Execute(record.Get()), c[2].empty() ? S_FALSE : S_OK)
      << ToUtf8(TakeErrorDescription());
  if (c[2].empty()) {
    EXPECT_EQ(ReadFile(test::PathOf(old)), "img");
    EXPECT_TRUE(host->renamed.empty());
    return;
  }
  const std::wstring renamed = root + L"/" + test::Wide(c[2]);
  EXPECT_EQ(ReadFile(test::PathOf(renamed)), "img");
  EXPECT_FALSE(std::filesystem::exists(test::PathOf(old)));
  EXPECT_EQ(test::RecordText(record.Get(), L"File.Name"), renamed);
  ASSERT_EQ(host->renamed.size(), 1u);
  EXPECT_EQ(host->renamed[0].to, renamed);
  EXPECT_EQ(log_.Texts(), std::vector<std::wstring>{L"Renaming \"" + old + L"\" to \"" + renamed +
                                                    L"\" using template \"" + templ + L"\"."});
}

INSTANTIATE_TEST_SUITE_P(Templates, RenameTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/renames.tsv")),
                         [](const auto& i) { return i.param.name; });

using RenameFilesTest = test::FileActionTest;

TEST_F(RenameFilesTest, ExistingNameIsKeptWithoutOverwrite) {
  WriteFile(dir_ / "a.jpg", "a");
  WriteFile(dir_ / "b.jpg", "b");
  CRenameAction rename;
  rename.SetTemplate(L"b");
  ComPtr<IDictionary> record = Record(L"a.jpg");
  EXPECT_EQ(rename.Execute(record.Get()), HRESULT_FROM_WIN32(ERROR_FILE_EXISTS));
  EXPECT_EQ(TakeErrorDescription(), L"Cannot rename '" + Root() + L"/a.jpg' to '" + Root() +
                                        L"/b.jpg'. The file exists. (0x80070050)");
  EXPECT_EQ(ReadFile(dir_ / "a.jpg"), "a");
  EXPECT_EQ(ReadFile(dir_ / "b.jpg"), "b");

  rename.SetOption(kRenameOverwrite, true);
  test::MakeReadOnly(dir_ / "b.jpg");
  EXPECT_EQ(rename.Execute(record.Get()), S_OK);
  EXPECT_EQ(ReadFile(dir_ / "b.jpg"), "a");
  EXPECT_FALSE(std::filesystem::exists(dir_ / "a.jpg"));
}

TEST_F(RenameFilesTest, SidecarsFollow) {
  WriteFile(dir_ / "s.cr2", "raw");
  WriteFile(dir_ / "s.xmp", "xmp");
  WriteFile(dir_ / "s.WAV", "wav");
  CRenameAction rename;
  rename.SetTemplate(L"t");
  ComPtr<IDictionary> record = Record(L"s.cr2");
  ASSERT_EQ(rename.Execute(record.Get()), S_OK);
  EXPECT_EQ(ReadFile(dir_ / "t.cr2"), "raw");
  EXPECT_EQ(ReadFile(dir_ / "t.xmp"), "xmp");
  EXPECT_EQ(ReadFile(dir_ / "t.WAV"), "wav");
  EXPECT_EQ(log_.Texts().size(), 3u);
}

// The parameter is how many first attempts meet a sharing violation; 15 retries follow the first.
using SharingRetryTest = test::FileActionParamTest<int>;

TEST_P(SharingRetryTest, WaitsForAFileHeldOpen) {
  WriteFile(dir_ / "held.jpg", "img");
  int calls = 0;
  const int shared = GetParam();
  ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
    if (step != FileStep::kRename) return 0;
    return ++calls <= shared ? ERROR_SHARING_VIOLATION : 0;
  });
  CRenameAction rename;
  rename.SetTemplate(L"free");
  rename.SetSharingRetry(kQuickRetry);
  ComPtr<IDictionary> record = Record(L"held.jpg");
  EXPECT_EQ(rename.Execute(record.Get()),
            shared <= 15 ? S_OK : HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION));
  TakeErrorDescription();
  EXPECT_EQ(calls, std::min(shared + 1, 16));
  EXPECT_EQ(std::filesystem::exists(dir_ / "free.jpg"), shared <= 15);
  EXPECT_TRUE(std::filesystem::exists(dir_ / "free.jpg") ||
              std::filesystem::exists(dir_ / "held.jpg"));
}

INSTANTIATE_TEST_SUITE_P(Attempts, SharingRetryTest, ::testing::Values(2, 15, 100),
                         [](const auto& i) { return "HeldFor" + std::to_string(i.param); });

// The parameter: whether the picture is read-only, whether read-only files may be deleted.
using PermanentDeleteTest = test::FileActionParamTest<std::pair<bool, bool>>;

TEST_P(PermanentDeleteTest, DeletesReadOnlyOnlyWhenAsked) {
  const auto [readOnly, readOnlyOption] = GetParam();
  const std::wstring root = Root();
  WriteFile(dir_ / "x.jpg", "img");
  WriteFile(dir_ / "x.xmp", "xmp");
  if (readOnly) test::MakeReadOnly(dir_ / "x.jpg");
  ComPtr<test::NoticeHost> host = MakeComObject<test::NoticeHost>();
  CDeleteAction action;
  action.SetOption(kDeleteToTrash, false);
  action.SetOption(kDeleteReadOnly, readOnlyOption);
  ComPtr<IDictionary> record = Record(L"x.jpg", 0, host.Get());

  const bool deleted = !readOnly || readOnlyOption;
  EXPECT_EQ(action.Execute(record.Get()), deleted ? S_OK : E_ACCESSDENIED);
  EXPECT_EQ(std::filesystem::exists(dir_ / "x.jpg"), !deleted);
  EXPECT_EQ(std::filesystem::exists(dir_ / "x.xmp"), !deleted);
  EXPECT_EQ(host->deleted.size(), deleted ? 1u : 0u);
  if (!deleted) {
    EXPECT_EQ(TakeErrorDescription(),
              L"Cannot delete '" + root + L"/x.jpg'. Access is denied. (0x80070005)");
  } else {
    EXPECT_EQ(log_.Texts(), (std::vector<std::wstring>{L"Deleting \"" + root + L"/x.jpg\".",
                                                       L"Deleting \"" + root + L"/x.xmp\"."}));
  }
}

INSTANTIATE_TEST_SUITE_P(Files, PermanentDeleteTest,
                         ::testing::Values(std::pair{false, false}, std::pair{true, false},
                                           std::pair{true, true}),
                         [](const auto& i) {
                           return !i.param.first   ? "Writable"
                                  : i.param.second ? "ReadOnlyWhenAsked"
                                                   : "ReadOnlyRefused";
                         });

// A case table's list of paths separated by spaces; "-" is none.
std::vector<std::string> Paths(const std::string& text) {
  std::istringstream words(text == "-" ? "" : text);
  return {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()};
}

using ClimbTest = test::FileActionParamTest<test::CaseRow>;

// Fields: files left in the tree, the keep-copy folder, the folders that remain, those removed.
TEST_P(ClimbTest, RemovesEmptiedFoldersAndStops) {
  const test::CaseRow& c = GetParam();
  const std::wstring root = Root();
  WriteFile(dir_ / "pics/2024/03/last.jpg", "img");
  for (const std::string& other : Paths(c[0])) WriteFile(dir_ / other, "x");
  CDeleteAction action;
  action.SetOption(kDeleteToTrash, false);
  action.SetOption(kDeleteEmptyFolders, true);
  action.SetSharingRetry(kQuickRetry);
  ComPtr<IDictionary> record =
      MakeImageRecord(root + L"/pics/2024/03/last.jpg", root + L"/pics", 0, nullptr,
                      c[1] == "-" ? L"" : root + L"/" + WideOf(c[1]));
  ASSERT_EQ(action.Execute(record.Get()), S_OK);
  for (const std::string& folder : Paths(c[2])) {
    EXPECT_TRUE(std::filesystem::is_directory(dir_ / folder)) << folder;
  }
  const std::vector<std::string> removed = Paths(c[3]);
  for (const std::string& folder : removed) {
    EXPECT_FALSE(std::filesystem::exists(dir_ / folder)) << folder;
  }
  const std::vector<std::wstring> texts = log_.Texts();
  ASSERT_EQ(texts.size(), 1 + removed.size());
  if (!removed.empty()) {
    EXPECT_EQ(texts[1], L"Removing \"" + root + L"/" + WideOf(removed[0]) + L"\".");
  }
}

INSTANTIATE_TEST_SUITE_P(Folders, ClimbTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/emptied_folders.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST_F(RenameFilesTest, LaterFrameIsNotDeleted) {
  WriteFile(dir_ / "m.tif", "img");
  CDeleteAction action;
  action.SetOption(kDeleteToTrash, false);
  ComPtr<IDictionary> record = Record(L"m.tif", 2);
  EXPECT_EQ(action.Execute(record.Get()), S_FALSE);
  EXPECT_TRUE(std::filesystem::exists(dir_ / "m.tif"));
}

}  // namespace
}  // namespace lmk

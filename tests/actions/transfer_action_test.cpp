// Copy, move and hard link on real files: destinations, renaming, overwrite, companions, the
// log texts, and that no failure ever loses a file.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "actions/action_fixture.h"
#include "actions/action_path.h"
#include "actions/copy_action.h"
#include "actions/link_action.h"
#include "actions/move_action.h"
#include "platform/file_operations.h"
#include "support/data_table.h"

namespace lmk {
namespace {

using test::MakeImageRecord;
using test::PathOf;
using test::ReadFile;
using test::WideOf;
using test::WriteFile;

// "copy", "move" or "link".
std::unique_ptr<CTransferAction> MakeAction(const std::string& kind) {
  if (kind == "copy") return std::make_unique<CCopyAction>();
  if (kind == "move") return std::make_unique<CMoveAction>();
  return std::make_unique<CLinkAction>();
}

// A row's text with <root> replaced by root.
std::wstring Rooted(const std::string& text, const std::wstring& root) {
  std::wstring line = test::Wide(text);
  for (std::size_t at; (at = line.find(L"<root>")) != std::wstring::npos;)
    line.replace(at, 6, root);
  return line;
}

using TransferTest = test::FileActionParamTest<test::CaseRow>;

// Fields: action, destination, rename template, image, where it lands, log line, options.
TEST_P(TransferTest, PutsTheImageWhereTheTemplatesSay) {
  const test::CaseRow& c = GetParam();
  const bool move = c[0] == "move";
  const std::wstring root = Root();
  const std::wstring image = root + L"/" + test::Wide(c[3]);
  WriteFile(PathOf(image), "pixels");
  auto action = MakeAction(c[0]);
  action->SetDestination(test::Wide(c[1]));
  action->SetRenameTemplate(test::Wide(c[2]));
  if (c[6] == "hierarchy") action->SetOption(kTransferPreserveHierarchy, true);
  ComPtr<IDictionary> record = Record(test::Wide(c[3]));

  ASSERT_EQ(action->Execute(record.Get()), S_OK) << ToUtf8(TakeErrorDescription());

  const std::wstring target = root + L"/" + test::Wide(c[4]);
  EXPECT_EQ(ReadFile(PathOf(target)), "pixels");
  EXPECT_EQ(std::filesystem::exists(PathOf(image)), !move);
  EXPECT_EQ(log_.Texts(), std::vector<std::wstring>{Rooted(c[5], root)});
  // Only a move changes where the rule's later actions find the file.
  EXPECT_EQ(test::RecordText(record.Get(), L"File.Name"), move ? target : image);
}

INSTANTIATE_TEST_SUITE_P(Actions, TransferTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/transfer_actions.tsv")),
                         [](const auto& i) { return i.param.name; });

using ExistingTargetTest = test::FileActionParamTest<test::CaseRow>;

// Fields: action, overwrite, the target read-only, refused or done, the target's content after.
TEST_P(ExistingTargetTest, OverwritesOnlyWhenAsked) {
  const test::CaseRow& c = GetParam();
  WriteFile(dir_ / "img.jpg", "new");
  WriteFile(dir_ / "out/img.jpg", "old");
  if (c[2] == "yes") test::MakeReadOnly(dir_ / "out/img.jpg");
  auto action = MakeAction(c[0]);
  action->SetDestination(L"out");
  action->SetOption(kTransferOverwrite, c[1] == "yes");
  ComPtr<IDictionary> record = Record(L"img.jpg");

  const bool refused = c[3] == "refused";
  EXPECT_EQ(action->Execute(record.Get()), refused ? HRESULT_FROM_WIN32(ERROR_FILE_EXISTS) : S_OK);
  EXPECT_EQ(ReadFile(dir_ / "out/img.jpg"), c[4]);
  if (refused) {
    EXPECT_EQ(ReadFile(dir_ / "img.jpg"), "new");
    EXPECT_EQ(TakeErrorDescription(),
              L"File already exists: '" + Root() + L"/out/img.jpg'. (0x80070050)");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Actions, ExistingTargetTest,
    ::testing::ValuesIn(test::ReadCaseTable("cases/transfer_existing_targets.tsv")),
    [](const auto& i) { return i.param.name; });

using TransferFailureTest = test::FileActionParamTest<test::CaseRow>;

// Fields: action, what is wrong, the error text.
TEST_P(TransferFailureTest, ReportsWhatFailed) {
  const test::CaseRow& c = GetParam();
  const bool sourceMissing = c[1] == "missing-source";
  if (!sourceMissing) WriteFile(dir_ / "img.jpg", "data");
  if (!sourceMissing) WriteFile(dir_ / "out", "a file");
  auto action = MakeAction(c[0]);
  action->SetDestination(L"out");
  ComPtr<IDictionary> record = Record(L"img.jpg");

  EXPECT_TRUE(FAILED(action->Execute(record.Get())));
  EXPECT_EQ(TakeErrorDescription(), Rooted(c[2], Root()));
  if (!sourceMissing) {
    EXPECT_EQ(ReadFile(dir_ / "img.jpg"), "data");
    EXPECT_EQ(ReadFile(dir_ / "out"), "a file");
  }
}

INSTANTIATE_TEST_SUITE_P(Actions, TransferFailureTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/transfer_failures.tsv")),
                         [](const auto& i) { return i.param.name; });

using TransferFilesTest = test::FileActionTest;

TEST_F(TransferFilesTest, LaterFramesAreLeftAlone) {
  WriteFile(dir_ / "multi.tif", "frames");
  CMoveAction move;
  move.SetDestination(L"out");
  ComPtr<IDictionary> record = Record(L"multi.tif", 1);
  EXPECT_EQ(move.Execute(record.Get()), S_FALSE);
  EXPECT_TRUE(std::filesystem::exists(dir_ / "multi.tif"));
  EXPECT_FALSE(std::filesystem::exists(dir_ / "out"));
  EXPECT_TRUE(log_.Texts().empty());
}

TEST_F(TransferFilesTest, CompanionsStayWhenNotSelected) {
  WriteFile(dir_ / "i.jpg", "img");
  WriteFile(dir_ / "i.xmp", "xmp");
  CCopyAction copy;
  copy.SetDestination(L"out");
  copy.SetFlags(copy.Flags() & ~(kCompanionXmp | kCompanionWav));
  ComPtr<IDictionary> record = Record(L"i.jpg");
  ASSERT_EQ(copy.Execute(record.Get()), S_OK);
  EXPECT_TRUE(std::filesystem::exists(dir_ / "out/i.jpg"));
  EXPECT_FALSE(std::filesystem::exists(dir_ / "out/i.xmp"));
}

TEST_F(TransferFilesTest, CompanionFailureFollowsThePolicy) {
  for (const CActionErrorMode mode : {CActionErrorMode::Ignore, CActionErrorMode::SkipActions}) {
    test::ScopedTempDir dir;
    const std::wstring root = WideOf(dir.path());
    WriteFile(dir / "i.jpg", "img");
    WriteFile(dir / "i.xmp", "new xmp");
    WriteFile(dir / "out/i.xmp", "old xmp");
    CCopyAction copy;
    copy.SetDestination(L"out");
    copy.SetOnFailure(mode);
    ComPtr<IDictionary> record = MakeImageRecord(root + L"/i.jpg", root);
    const HRESULT hr = copy.Execute(record.Get());
    // The image is copied either way; only the policy decides whether the rule stops.
    EXPECT_EQ(ReadFile(dir / "out/i.jpg"), "img");
    EXPECT_EQ(ReadFile(dir / "out/i.xmp"), "old xmp");
    EXPECT_EQ(hr, mode == CActionErrorMode::Ignore ? S_OK : HRESULT_FROM_WIN32(ERROR_FILE_EXISTS));
    TakeErrorDescription();
  }
  EXPECT_EQ(log_.TextsAt(kEventLevelError).size(), 1u);
}

TEST_F(TransferFilesTest, VerifiedCopyIsLogged) {
  WriteFile(dir_ / "v.jpg", std::string(300000, 'v'));
  CCopyAction copy;
  copy.SetDestination(L"out");
  copy.SetOption(kTransferVerify, true);
  ComPtr<IDictionary> record = Record(L"v.jpg");
  ASSERT_EQ(copy.Execute(record.Get()), S_OK);
  EXPECT_EQ(log_.Texts().back(), L"File '" + Root() +
                                     L"/out/v.jpg' has been verified to be "
                                     L"identical to '" +
                                     Root() + L"/v.jpg'.");
}

// Many workers copying into one folder at once: every file arrives once, whole, and the log
// has one announcement per file.
TEST_F(TransferFilesTest, ParallelCopiesToOneDestination) {
  constexpr int kFiles = 500;
  constexpr int kWorkers = 8;
  for (int i = 0; i < kFiles; ++i) {
    WriteFile(dir_ / "in" / ("f" + std::to_string(i) + ".jpg"),
              std::string(1000 + i, 'a' + i % 26));
  }
  CCopyAction copy;
  copy.SetDestination(L"../out");
  std::atomic<int> failures{0};
  std::vector<std::thread> workers;
  for (int w = 0; w < kWorkers; ++w) {
    workers.emplace_back([&, w] {
      for (int i = w; i < kFiles; i += kWorkers) {
        const std::wstring image = Root() + L"/in/f" + std::to_wstring(i) + L".jpg";
        ComPtr<IDictionary> record = MakeImageRecord(image, Root() + L"/in");
        if (copy.Execute(record.Get()) != S_OK) ++failures;
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_ / "out"), {}), kFiles);
  for (int i = 0; i < kFiles; ++i) {
    const std::string name = "f" + std::to_string(i) + ".jpg";
    ASSERT_EQ(ReadFile(dir_ / "out" / name), ReadFile(dir_ / "in" / name)) << name;
  }
  EXPECT_EQ(log_.Texts().size(), static_cast<std::size_t>(kFiles));
}

}  // namespace
}  // namespace lmk

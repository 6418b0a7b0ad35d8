// A move that finds the picture already at its target with the same bytes (left by a move that
// was interrupted) finishes by removing the source; a move whose source cannot be removed takes
// its copy back, so the picture always stands in one place.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "actions/action_fixture.h"
#include "actions/move_action.h"
#include "platform/file_operations.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;
using test::WideOf;
using test::WriteFile;

const std::string kPicture(70000, 'p');

std::wstring Joined(const std::vector<std::wstring>& texts) {
  std::wstring all;
  for (const std::wstring& text : texts) all += text + L"\n";
  return all;
}

struct PairCase {
  std::string name;
  std::string target;  // what stands at the target before the move
  bool hardLink;       // the target is another name of the source itself
  bool overwrite;
  HRESULT expected;
  bool sourceGone;
};

using MovePairTest = test::FileActionParamTest<PairCase>;

TEST_P(MovePairTest, FinishesOnlyWhenTheTargetHoldsTheSameBytes) {
  const PairCase& c = GetParam();
  const fs::path source = dir_ / "img.jpg";
  const fs::path target = dir_ / "out/img.jpg";
  WriteFile(source, kPicture);
  fs::create_directory(dir_ / "out");
  if (c.hardLink) {
    fs::create_hard_link(source, target);
  } else {
    WriteFile(target, c.target);
  }
  CMoveAction move;
  move.SetDestination(WideOf(dir_ / "out"));
  move.SetOption(kTransferOverwrite, c.overwrite);
  ComPtr<IDictionary> record = Record(L"img.jpg");
  EXPECT_EQ(move.Execute(record.Get()), c.expected);
  const std::wstring description = TakeErrorDescription();
  EXPECT_EQ(fs::exists(source), !c.sourceGone);
  EXPECT_EQ(ReadFile(target), c.hardLink ? kPicture : c.target);
  const bool finished =
      Joined(log_.Texts()).find(L"the move was finished by removing") != std::wstring::npos;
  EXPECT_EQ(finished, c.sourceGone) << ToUtf8(Joined(log_.Texts())) << ToUtf8(description);
  EXPECT_EQ(test::RecordText(record.Get(), L"File.Name"), WideOf(c.sourceGone ? target : source));
}

std::string OneByteChanged() {
  std::string bytes = kPicture;
  bytes[bytes.size() / 2] = 'q';
  return bytes;
}

constexpr HRESULT kExists = HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);

INSTANTIATE_TEST_SUITE_P(Targets, MovePairTest,
                         ::testing::ValuesIn(std::vector<PairCase>{
                             {"SameBytes", kPicture, false, false, S_OK, true},
                             {"SameBytesWithOverwrite", kPicture, false, true, S_OK, true},
                             {"OneByteDiffers", OneByteChanged(), false, false, kExists, false},
                             {"Shorter", kPicture.substr(1), false, false, kExists, false},
                             {"HardLinkOfTheSource", "", true, false, kExists, false},
                         }),
                         [](const auto& i) { return i.param.name; });

// The removal of the source fails after a checked copy across devices: the copy goes again.
using VerifiedMoveTakeBackTest = test::TwoVolumeTest;

TEST_F(VerifiedMoveTakeBackTest, SourceThatCannotBeRemovedKeepsThePictureInOnePlace) {
  const fs::path source = dir_ / "img.jpg";
  WriteFile(source, kPicture);
  const std::wstring wideSource = WideOf(source);
  ScopedFileFaultHook hook([&](FileStep step, std::wstring_view path) -> DWORD {
    return step == FileStep::kDelete && path == wideSource ? ERROR_WRITE_PROTECT : 0;
  });
  CMoveAction move;
  move.SetDestination(WideOf(other_));
  move.SetOption(kTransferVerify, true);
  ComPtr<IDictionary> record = Record(L"img.jpg");
  EXPECT_EQ(move.Execute(record.Get()), HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT));
  const std::wstring description = TakeErrorDescription();
  EXPECT_NE(description.find(L"'" + wideSource +
                             L"' could not be removed, so the copy was taken "
                             L"back"),
            std::wstring::npos)
      << ToUtf8(description);
  EXPECT_EQ(ReadFile(source), kPicture);
  EXPECT_FALSE(fs::exists(other_ / "img.jpg"));
}

}  // namespace
}  // namespace lmk

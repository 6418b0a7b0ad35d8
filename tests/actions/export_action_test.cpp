// Export actions on real pictures where the platform and the image library meet: workers
// racing for one name, and the attachment list that only a job's object accepts.
#include <gtest/gtest.h>

#include <latch>
#include <thread>

#include "action_fixture.h"
#include "actions/attachment_list.h"
#include "actions/save_for_web_action.h"
#include "dictionary/dictionary.h"

namespace lmk::test {
namespace {

const fs::path kSample = fs::path(LMK_SAMPLES_DIR) / "harbour_2023.jpg";

using ExportRaceTest = FileActionTest;

TEST_F(ExportRaceTest, EightWorkersIntoOneNameMakeOneWinnerAndAWholePicture) {
  const fs::path source = dir_ / "in" / "a.jpg";
  fs::create_directories(source.parent_path());
  fs::copy_file(kSample, source);
  CSaveForWebAction action;
  action.SetDestination(WideOf(dir_ / "out"));
  constexpr int kWorkers = 8;
  std::vector<HRESULT> results(kWorkers);
  std::latch start(kWorkers);
  std::vector<std::thread> workers;
  for (int i = 0; i < kWorkers; ++i) {
    workers.emplace_back([&, i] {
      const ComPtr<IDictionary> record = Record(L"in/a.jpg");
      start.arrive_and_wait();
      results[i] = action.Execute(record.Get());
      TakeErrorDescription();
    });
  }
  for (std::thread& worker : workers) worker.join();
  EXPECT_EQ(std::count(results.begin(), results.end(), S_OK), 1);
  EXPECT_EQ(std::count(results.begin(), results.end(), HRESULT_FROM_WIN32(ERROR_FILE_EXISTS)),
            kWorkers - 1);
  // One file and no temporary beside it; a whole JPEG from its start to its end marker.
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_ / "out"), fs::directory_iterator()), 1);
  const std::string written = ReadFile(dir_ / "out" / "a.jpg");
  ASSERT_GT(written.size(), 4u);
  EXPECT_EQ(written.substr(0, 2), "\xFF\xD8");
  EXPECT_EQ(written.substr(written.size() - 2), "\xFF\xD9");
}

struct AttachmentCase {
  std::string name;
  bool listIsObject;
  bool fileExists;
  HRESULT expected;
  LONG listed;
};

using AttachmentTest = FileActionParamTest<AttachmentCase>;

TEST_P(AttachmentTest, AddsOnlyWrittenFilesToAJobsList) {
  const AttachmentCase& c = GetParam();
  const fs::path file = dir_ / "web.jpg";
  if (c.fileExists) WriteFile(file, "jpeg");
  const ComPtr<IDictionary> record = Record(L"web.jpg");
  const ComPtr<CDictionary> list = MakeComObject<CDictionary>();
  const Bstr key(L"Plugin.Attachments");
  ThrowIfFailed(record->put_Value(key.get(), c.listIsObject
                                                 ? Variant::Dispatch(list.Get()).ref()
                                                 : Variant::String(L"not a list").ref()));
  EXPECT_EQ(AddAttachment(*record.Get(), WideOf(file)), c.expected);
  LONG count = 0;
  ThrowIfFailed(list->get_Count(&count));
  EXPECT_EQ(count, c.listed);
}

INSTANTIATE_TEST_SUITE_P(Cases, AttachmentTest,
                         ::testing::ValuesIn(std::vector<AttachmentCase>{
                             {"WrittenFileIsListed", true, true, S_OK, 1},
                             {"MissingFileIsNot", true, false, S_FALSE, 0},
                             {"ValueThatIsNoObjectListsNothing", false, true, S_FALSE, 0},
                         }),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk::test

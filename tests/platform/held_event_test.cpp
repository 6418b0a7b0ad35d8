// Tests of held events: a held line goes out with the thread's next event in one piece, never
// with another thread's, and in the file before the event that carried it.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "platform/event_log_writer.h"
#include "platform/event_trace_reader.h"
#include "platform/posix/file_event_trace_sink.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

// Records each piece the writer hands over: "a" for a single event, "[a b]" for a group.
class PieceSink final : public EventTraceSink {
 public:
  explicit PieceSink(std::vector<std::wstring>* pieces) : pieces_(pieces) {}
  bool IsStarted() const override { return true; }
  std::wstring LogFilePath() const override { return {}; }
  std::wstring SessionName() const override { return {}; }

 protected:
  DWORD DoStart(std::wstring_view, std::wstring_view) override { return ERROR_SUCCESS; }
  DWORD DoWrite(BYTE, BYTE, std::optional<std::wstring_view> text) override {
    pieces_->push_back(std::wstring(text.value_or(L"-")));
    return ERROR_SUCCESS;
  }
  DWORD DoWriteAll(std::span<const EventTraceEvent> events) override {
    std::wstring piece = L"[";
    for (const EventTraceEvent& event : events) {
      if (piece.size() > 1) piece += L' ';
      piece += event.text.value_or(L"-");
    }
    pieces_->push_back(piece + L"]");
    return ERROR_SUCCESS;
  }
  DWORD DoStop() override { return ERROR_SUCCESS; }

 private:
  std::vector<std::wstring>* pieces_;
};

struct HeldCase {
  const char* name;
  // Steps: "h:x" holds x, "w:x" writes x, "o:x" writes x from another thread, "f" flushes.
  std::vector<std::wstring> steps;
  std::vector<std::wstring> pieces;
  LONG information = 0;
};

std::vector<HeldCase> HeldCases() {
  return {
      {"HeldGoesWithNextWrite",
       {L"h:match", L"w:copying", L"w:done"},
       {L"[match copying]", L"done"},
       3},
      {"FlushWritesHeldAlone", {L"h:match", L"f", L"f"}, {L"[match]"}, 1},
      {"NothingHeldWritesAlone", {L"w:a", L"f"}, {L"a"}, 1},
      {"TwoHeldGoTogether", {L"h:a", L"h:b", L"w:c"}, {L"[a b c]"}, 3},
      {"OtherThreadDoesNotCarryHeld", {L"h:match", L"o:other", L"f"}, {L"other", L"[match]"}, 2},
      {"NotCountedUntilWritten", {L"h:match"}, {}, 0},
  };
}

class HeldEventTest : public ::testing::TestWithParam<HeldCase> {};

TEST_P(HeldEventTest, WritesPiecesInOrder) {
  std::vector<std::wstring> pieces;
  EventLogWriter log(std::make_unique<PieceSink>(&pieces));
  for (const std::wstring& step : GetParam().steps) {
    const std::wstring text = step.size() > 2 ? step.substr(2) : std::wstring();
    switch (step[0]) {
      case L'h':
        log.Hold(kEventLevelInformation, L"%ls", text);
        break;
      case L'w':
        log.Write(kEventLevelInformation, text);
        break;
      case L'o':
        std::thread([&] { log.Write(kEventLevelInformation, text); }).join();
        break;
      default:
        log.FlushHeld();
    }
  }
  EXPECT_EQ(pieces, GetParam().pieces);
  EXPECT_EQ(log.Count(kEventLevelInformation), GetParam().information);
  log.FlushHeld();
}

INSTANTIATE_TEST_SUITE_P(Held, HeldEventTest, ::testing::ValuesIn(HeldCases()),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(HeldEventFileTest, HeldLineStandsBeforeTheLineThatCarriedIt) {
  const test::ScopedTempDir dir;
  const std::wstring path = FromUtf8((dir.path() / "log.etl").string());
  {
    EventLogWriter log;
    ASSERT_EQ(log.Open(kBatchLogSessionName, path), ERROR_SUCCESS);
    log.Hold(kEventLevelInformation, L"matches %ls", std::wstring(L"a.jpg"));
    log.Hold(kEventLevelWarning, L"%ls", 1);
    ASSERT_EQ(log.Error(L"cannot copy %ls", std::wstring(L"a.jpg")), ERROR_SUCCESS);
    ASSERT_EQ(log.Close(), ERROR_SUCCESS);
  }
  std::vector<std::pair<int, std::wstring>> read;
  ASSERT_EQ(ReadEventTraceFile(
                path,
                [&](EventTraceRecord&& r) {
                  read.emplace_back(r.level, r.text.value_or(L""));
                  return true;
                },
                nullptr),
            ERROR_SUCCESS);
  const std::vector<std::pair<int, std::wstring>> expected{
      {kEventLevelInformation, L"matches a.jpg"},
      {kEventLevelError, std::wstring(kInternalErrorText)},
      {kEventLevelError, L"cannot copy a.jpg"}};
  EXPECT_EQ(read, expected);
}

}  // namespace
}  // namespace lmk

// Tests of held events: a held line goes out with the thread's next event in one piece, never
// with another thread's event, and is counted only once written.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "platform/event_log_writer.h"

namespace lmk {
namespace {

// Keeps each piece it is handed: "a" for one event, "[a b]" for a group written at once.
class PieceSink final : public EventTraceSink {
 public:
  std::vector<std::wstring> pieces;
  bool IsStarted() const override { return true; }
  std::wstring LogFilePath() const override { return {}; }
  std::wstring SessionName() const override { return {}; }

 protected:
  DWORD DoStart(std::wstring_view, std::wstring_view) override { return ERROR_SUCCESS; }
  DWORD DoStop() override { return ERROR_SUCCESS; }
  DWORD DoWrite(BYTE, BYTE, std::optional<std::wstring_view> text) override {
    pieces.emplace_back(*text);
    return ERROR_SUCCESS;
  }
  DWORD DoWriteAll(std::span<const EventTraceEvent> events) override {
    std::wstring piece;
    for (const EventTraceEvent& event : events) piece += L' ' + std::wstring(*event.text);
    pieces.push_back(L"[" + piece.substr(1) + L"]");
    return ERROR_SUCCESS;
  }
};

struct HeldCase {
  const char* name;
  std::wstring steps;  // "hx" holds x, "wx" writes x, "ox" writes x on another thread, "f" flushes
  std::vector<std::wstring> pieces;
};

class HeldEventTest : public ::testing::TestWithParam<HeldCase> {};

TEST_P(HeldEventTest, WritesPiecesInOrder) {
  auto owned = std::make_unique<PieceSink>();
  PieceSink& sink = *owned;
  EventLogWriter log(std::move(owned));
  for (size_t i = 0; i < GetParam().steps.size(); i += 2) {
    const std::wstring text(1, GetParam().steps[i + 1]);
    if (GetParam().steps[i] == L'h') log.Hold(kEventLevelInformation, L"%ls", text);
    if (GetParam().steps[i] == L'w') log.Write(kEventLevelInformation, text);
    if (GetParam().steps[i] == L'o') std::thread([&] { log.Write(4, text); }).join();
    if (GetParam().steps[i] == L'f') log.FlushHeld();
  }
  EXPECT_EQ(sink.pieces, GetParam().pieces);
  log.FlushHeld();
}

INSTANTIATE_TEST_SUITE_P(Held, HeldEventTest,
                         ::testing::ValuesIn(std::vector<HeldCase>{
                             {"HeldGoesWithNextWrite", L"hmwcwd", {L"[m c]", L"d"}},
                             {"FlushWritesHeldOnce", L"hmf-f-", {L"[m]"}},
                             {"TwoHeldGoTogether", L"hahbwc", {L"[a b c]"}},
                             {"OtherThreadDoesNotCarryHeld", L"hmoof-", {L"o", L"[m]"}},
                             {"NothingWrittenWhileHeld", L"hm", {}},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk

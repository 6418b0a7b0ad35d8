// Tests of the POSIX event log file: record layout, refusals, counters, concurrency.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/event_trace_reader.h"
#include "platform/posix/event_record_codec.h"
#include "platform/posix/file_event_trace_sink.h"
#include "platform/text_encoding.h"
#include "support/data_table.h"
#include "support/file_bytes.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

constexpr std::wstring_view kSession = L"Lumarko Batch Processor";

using test::ReadBytes;

uint32_t Le32(const std::string& s, size_t at) {
  const auto b = [&](size_t i) { return static_cast<uint32_t>(static_cast<uint8_t>(s[at + i])); };
  return b(0) | b(1) << 8 | b(2) << 16 | b(3) << 24;
}

struct ReadBack {
  DWORD result = 0;
  std::vector<EventTraceRecord> records;
  EventTraceDamage damage;
};

ReadBack ReadLog(const std::filesystem::path& path) {
  ReadBack back;
  back.result = ReadEventTraceFile(
      FromUtf8(path.string()),
      [&](EventTraceRecord&& r) {
        back.records.push_back(std::move(r));
        return true;
      },
      &back.damage);
  return back;
}

class EventTraceSinkTest : public ::testing::Test {
 protected:
  std::wstring LogPath() const { return FromUtf8((dir_ / "log.etl").string()); }
  std::filesystem::path LogFile() const { return dir_ / "log.etl"; }
  // A finished log holding one event per text, at level 4.
  void WriteLog(std::initializer_list<const wchar_t*> texts) {
    ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
    for (const wchar_t* text : texts) ASSERT_EQ(sink_.Write(4, 0, text), ERROR_SUCCESS);
    ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);
  }
  // The session block's size: where the first record starts.
  static size_t BlockSize() {
    return EventRecordCodec::kSessionBlockBaseSize + 2 * kSession.size() + 2;
  }

  test::ScopedTempDir dir_;
  FileEventTraceSink sink_;
};

// A text as tests/data/cases/event_records.tsv writes it.
std::optional<std::wstring> TextOf(const std::string& field) {
  if (field == "(none)") return std::nullopt;
  if (!field.starts_with("units:")) return test::Wide(field);
  std::wstring text;
  std::istringstream in(field.substr(6));
  for (unsigned long unit; in >> std::hex >> unit;) text.push_back(static_cast<wchar_t>(unit));
  return text;
}

class RecordLayoutTest : public EventTraceSinkTest,
                         public ::testing::WithParamInterface<test::CaseRow> {};

TEST_P(RecordLayoutTest, HeaderFieldsAtTheirOffsets) {
  const test::CaseRow& c = GetParam();
  const auto level = static_cast<BYTE>(std::stoi(c[0])), type = static_cast<BYTE>(std::stoi(c[1]));
  const std::optional<std::wstring> text = TextOf(c[2]);
  const size_t size = std::stoul(c[3]), textBytes = std::stoul(c[5]);
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  ASSERT_EQ(sink_.Write(level, type, text), ERROR_SUCCESS);
  ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);

  const std::string b = ReadBytes(LogFile());
  const size_t r = BlockSize();
  ASSERT_EQ(b.size(), r + size + 8 + textBytes);
  EXPECT_EQ(Le32(b, r) & 0xFFFF, size);
  EXPECT_EQ(b[r + 4], type);
  EXPECT_EQ(b[r + 5], level);
  EXPECT_EQ(b.substr(r + 24, 16),
            "\xE4\xFC\x61\xC6\x97\x8D\x54\x42\x92\x85\xBB\xC7\x4A\x45\x4E\xB1");
  EXPECT_EQ(Le32(b, r + 44), std::stoul(c[4], nullptr, 0));
  EXPECT_EQ(size == 64 ? Le32(b, r + 56) : 0, textBytes);
  // Every other header byte is zero.
  for (size_t i = 0; i < size; ++i) {
    const bool field = i < 2 || i == 4 || i == 5 || (i >= 24 && i < 40) || (i >= 44 && i < 60);
    EXPECT_TRUE(field || b[r + i] == 0) << "byte " << i;
  }
  const ReadBack back = ReadLog(LogFile());
  ASSERT_EQ(back.records.size(), 1u);
  EXPECT_EQ(back.records[0].level, level);
  EXPECT_EQ(back.records[0].type, type);
  EXPECT_EQ(back.records[0].text, c.fields.size() > 6 ? TextOf(c[6]) : text);
  EXPECT_EQ(back.damage.kind, EventTraceDamage::Kind::kNone);
}

INSTANTIATE_TEST_SUITE_P(Layouts, RecordLayoutTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/event_records.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST_F(EventTraceSinkTest, BadLevelsAndTypesAreRefusedWith87AndWriteNothing) {
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  const std::pair<BYTE, BYTE> refused[] = {{0, 0}, {6, 0}, {255, 0}, {4, 10}, {1, 255}};
  for (const auto& [level, type] : refused) {
    EXPECT_EQ(sink_.Write(level, type, L"text"), ERROR_INVALID_PARAMETER) << int{level};
    EXPECT_EQ(sink_.Write(level, type, std::nullopt), ERROR_INVALID_PARAMETER) << int{type};
  }
  for (BYTE level = 0; level <= 6; ++level) EXPECT_EQ(sink_.Count(level), 0) << int{level};
  ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);
  EXPECT_EQ(ReadBytes(LogFile()).size(), BlockSize());
}

TEST_F(EventTraceSinkTest, StartChecksNameAndPathLengths) {
  // name length, whole path length (0: the test's log path), result
  const std::tuple<size_t, size_t, DWORD> cases[] = {{0, 0, ERROR_INVALID_PARAMETER},
                                                     {1023, 0, ERROR_SUCCESS},
                                                     {1024, 0, ERROR_INVALID_PARAMETER},
                                                     {5, 260, ERROR_SUCCESS},
                                                     {5, 261, ERROR_INVALID_PARAMETER}};
  for (const auto& [nameLength, pathLength, expected] : cases) {
    FileEventTraceSink sink;
    std::wstring path = LogPath();
    if (pathLength != 0) path.insert(path.size() - 4, pathLength - path.size(), L'p');
    EXPECT_EQ(sink.Start(std::wstring(nameLength, L'n'), path), expected) << nameLength;
    EXPECT_EQ(sink.IsStarted(), expected == ERROR_SUCCESS) << pathLength;
  }
}

TEST_F(EventTraceSinkTest, BadPathsAreRefusedAndWritesWithoutSessionFail) {
  EXPECT_EQ(sink_.Start(kSession, L""), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(sink_.Start(kSession, FromUtf8((dir_ / "no/such/log.etl").string())),
            ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(sink_.Write(4, 0, L"lost"), ERROR_INVALID_HANDLE);
  EXPECT_EQ(sink_.Stop(), ERROR_INVALID_HANDLE);
  EXPECT_EQ(ReadLog(dir_ / "absent.etl").result, ERROR_FILE_NOT_FOUND);
}

TEST_F(EventTraceSinkTest, SecondSessionOnTheSameFileWritesBesideIt) {
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  ASSERT_EQ(sink_.Write(4, 0, L"first"), ERROR_SUCCESS);
  FileEventTraceSink other;
  ASSERT_EQ(other.Start(kSession, LogPath()), ERROR_SUCCESS);
  const std::wstring pid = std::to_wstring(::getpid());
  EXPECT_EQ(other.LogFilePath(), FromUtf8((dir_ / "log_").string()) + pid + L".etl");
  EXPECT_EQ(other.SessionName(), std::wstring(kSession) + L"_" + pid);
  ASSERT_EQ(other.Write(4, 0, L"second"), ERROR_SUCCESS);
  ASSERT_EQ(other.Stop(), ERROR_SUCCESS);
  ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);
  ASSERT_EQ(ReadLog(LogFile()).records.size(), 1u);
  EXPECT_EQ(ReadLog(LogFile()).records[0].text, L"first");
}

TEST_F(EventTraceSinkTest, EightThreadsWritingAThousandEventsEachLoseNothing) {
  constexpr int kThreads = 8, kEach = 1000;
  // Texts of varied length, some absent, so that torn records would misalign the reader.
  const auto text = [](int t, int i) -> std::optional<std::wstring> {
    if (i % 10 == 0) return std::nullopt;
    return std::to_wstring(t) + L":" + std::to_wstring(i) + std::wstring(i % 37, L'x');
  };
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        for (int i = 0; i < kEach; ++i) {
          EXPECT_EQ(sink_.Write(static_cast<BYTE>(1 + i % 5), static_cast<BYTE>(t), text(t, i)),
                    ERROR_SUCCESS);
        }
      });
    }
  }
  ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);
  LONG total = 0;
  for (BYTE level = 1; level <= 5; ++level) total += sink_.Count(level);
  EXPECT_EQ(total, kThreads * kEach);
  const ReadBack back = ReadLog(LogFile());
  ASSERT_EQ(back.damage.kind, EventTraceDamage::Kind::kNone);
  ASSERT_EQ(back.records.size(), static_cast<size_t>(kThreads * kEach));
  std::vector<int> next(kThreads, 0);
  int64_t lastTime = 0;
  for (const EventTraceRecord& r : back.records) {
    ASSERT_LT(r.type, kThreads);
    EXPECT_EQ(r.text, text(r.type, next[r.type]++));
    EXPECT_GE(r.time, lastTime) << "the file's order is the time stamps' order";
    lastTime = r.time;
  }
}

TEST_F(EventTraceSinkTest, ReaderStopsWhenTheCallbackSaysSo) {
  WriteLog({L"a", L"b", L"c", L"d", L"e"});
  int seen = 0;
  EXPECT_EQ(ReadEventTraceFile(
                LogPath(), [&](EventTraceRecord&&) { return ++seen < 2; }, nullptr),
            ERROR_SUCCESS);
  EXPECT_EQ(seen, 2);
}

}  // namespace
}  // namespace lmk

// Tests of the POSIX event log file: record layout, refusals, counters, concurrency, damage.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/event_trace_reader.h"
#include "platform/posix/event_record_codec.h"
#include "platform/posix/file_event_trace_sink.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

constexpr std::wstring_view kSession = L"Lumarko Batch Processor";

std::vector<uint8_t> ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteBytes(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
}

uint32_t Le32(const std::vector<uint8_t>& b, size_t at) {
  return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
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
  // The session block's size: where the first record starts.
  static size_t BlockSize() {
    return EventRecordCodec::kSessionBlockBaseSize + 2 * kSession.size() + 2;
  }

  test::ScopedTempDir dir_;
  FileEventTraceSink sink_;
};

// ---- Record layout -------------------------------------------------------------------------

struct LayoutCase {
  std::string name;
  BYTE level;
  BYTE type;
  std::optional<std::wstring> text;
  uint16_t size;
  uint32_t flags;
  uint32_t text_bytes;
};

class RecordLayoutTest : public EventTraceSinkTest,
                         public ::testing::WithParamInterface<LayoutCase> {};

TEST_P(RecordLayoutTest, HeaderFieldsAtTheirOffsets) {
  const LayoutCase& c = GetParam();
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  ASSERT_EQ(sink_.Write(c.level, c.type, c.text), ERROR_SUCCESS);
  ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);

  const std::vector<uint8_t> b = ReadBytes(LogFile());
  const size_t r = BlockSize();
  ASSERT_EQ(b.size(), r + c.size + 8 + c.text_bytes);
  EXPECT_EQ(b[r] | (b[r + 1] << 8), c.size);
  EXPECT_EQ(b[r + 4], c.type);
  EXPECT_EQ(b[r + 5], c.level);
  const uint8_t guid[16] = {0xE4, 0xFC, 0x61, 0xC6, 0x97, 0x8D, 0x54, 0x42,
                            0x92, 0x85, 0xBB, 0xC7, 0x4A, 0x45, 0x4E, 0xB1};
  EXPECT_EQ(std::memcmp(&b[r + 24], guid, 16), 0);
  EXPECT_EQ(Le32(b, r + 44), c.flags);
  if (c.size == 64) {
    EXPECT_EQ(Le32(b, r + 56), c.text_bytes);
  }
  // Every other header byte is zero.
  for (size_t i = 0; i < c.size; ++i) {
    const bool field = i < 2 || i == 4 || i == 5 || (i >= 24 && i < 40) || (i >= 44 && i < 48) ||
                       (i >= 48 && i < 60);
    if (!field) {
      EXPECT_EQ(b[r + i], 0) << "byte " << i;
    }
  }
  const ReadBack back = ReadLog(LogFile());
  ASSERT_EQ(back.records.size(), 1u);
  EXPECT_EQ(back.records[0].level, c.level);
  EXPECT_EQ(back.records[0].type, c.type);
  EXPECT_EQ(back.records[0].text, c.text);
  EXPECT_EQ(back.damage.kind, EventTraceDamage::Kind::kNone);
}

INSTANTIATE_TEST_SUITE_P(Layouts, RecordLayoutTest,
                         ::testing::ValuesIn(std::vector<LayoutCase>{
                             {"NoText48Bytes", 4, 0, std::nullopt, 48, 0x20000, 0},
                             {"InternalError34Bytes", 2, 0, L"(internal error)", 64, 0x120000, 34},
                             {"EmptyTextIsStillText", 3, 9, L"", 64, 0x120000, 2},
                             {"FatalType9", 1, 9, L"x", 64, 0x120000, 4},
                             {"AstralCharacterIsTwoUnits", 5, 1, L"\U0001F4F7", 64, 0x120000, 6},
                         }),
                         [](const auto& i) { return i.param.name; });

TEST_F(EventTraceSinkTest, SessionBlockHasTheNameAtOffset120AndThePathAfterIt) {
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);
  const std::vector<uint8_t> b = ReadBytes(LogFile());
  ASSERT_EQ(b.size(), BlockSize());
  EXPECT_EQ(Le32(b, 0), 2170 + 2 * kSession.size() + 2);
  EXPECT_EQ(Le32(b, 116), 120u);
  EXPECT_EQ(Le32(b, 112), 2 * kSession.size() + 122);
  EXPECT_EQ(b[120], 'L');
  EXPECT_EQ(b[122 + 2 * kSession.size()], '/');
}

// ---- Refusals ------------------------------------------------------------------------------

struct RefusedWrite {
  std::string name;
  BYTE level;
  BYTE type;
};

class RefusedWriteTest : public EventTraceSinkTest,
                         public ::testing::WithParamInterface<RefusedWrite> {};

TEST_P(RefusedWriteTest, RefusedWith87CountsAndWritesNothing) {
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  EXPECT_EQ(sink_.Write(GetParam().level, GetParam().type, L"text"), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(sink_.Write(GetParam().level, GetParam().type, std::nullopt), ERROR_INVALID_PARAMETER);
  for (BYTE level = 0; level <= 6; ++level) EXPECT_EQ(sink_.Count(level), 0) << int{level};
  ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);
  EXPECT_EQ(ReadBytes(LogFile()).size(), BlockSize());
}

INSTANTIATE_TEST_SUITE_P(Refusals, RefusedWriteTest,
                         ::testing::ValuesIn(std::vector<RefusedWrite>{
                             {"Level0", 0, 0},
                             {"Level6", 6, 0},
                             {"Level255", 255, 0},
                             {"Type10", 4, 10},
                             {"Type255", 1, 255},
                         }),
                         [](const auto& i) { return i.param.name; });

struct StartCase {
  std::string name;
  size_t name_length;
  size_t path_length;  // 0: the test's log path
  DWORD expected;
};

class StartArgumentTest : public EventTraceSinkTest,
                          public ::testing::WithParamInterface<StartCase> {};

TEST_P(StartArgumentTest, ChecksNameAndPathLengths) {
  const StartCase& c = GetParam();
  std::wstring path = LogPath();
  if (c.path_length != 0) {
    // Pad the file name so the whole path has the wanted length.
    path.insert(path.size() - 4, c.path_length - path.size(), L'p');
  }
  EXPECT_EQ(sink_.Start(std::wstring(c.name_length, L'n'), path), c.expected);
  EXPECT_EQ(sink_.IsStarted(), c.expected == ERROR_SUCCESS);
}

INSTANTIATE_TEST_SUITE_P(Arguments, StartArgumentTest,
                         ::testing::ValuesIn(std::vector<StartCase>{
                             {"EmptyName", 0, 0, ERROR_INVALID_PARAMETER},
                             {"Name1023", 1023, 0, ERROR_SUCCESS},
                             {"Name1024", 1024, 0, ERROR_INVALID_PARAMETER},
                             {"Path260", 5, 260, ERROR_SUCCESS},
                             {"Path261", 5, 261, ERROR_INVALID_PARAMETER},
                         }),
                         [](const auto& i) { return i.param.name; });

TEST_F(EventTraceSinkTest, EmptyPathIsRefusedAndWritesWithoutSessionFail) {
  EXPECT_EQ(sink_.Start(kSession, L""), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(sink_.Write(4, 0, L"lost"), ERROR_INVALID_HANDLE);
  EXPECT_EQ(sink_.Stop(), ERROR_INVALID_HANDLE);
}

TEST_F(EventTraceSinkTest, MissingFolderGivesPathNotFound) {
  EXPECT_EQ(sink_.Start(kSession, FromUtf8((dir_ / "no/such/log.etl").string())),
            ERROR_PATH_NOT_FOUND);
}

// ---- Counters ------------------------------------------------------------------------------

TEST_F(EventTraceSinkTest, CountsPerLevelAndResetsOnStart) {
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  for (BYTE level = 1; level <= 5; ++level) {
    for (int i = 0; i < level; ++i) ASSERT_EQ(sink_.Write(level, 0, std::nullopt), ERROR_SUCCESS);
  }
  for (BYTE level = 1; level <= 5; ++level) EXPECT_EQ(sink_.Count(level), level);
  ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);
  EXPECT_EQ(sink_.Count(2), 2) << "counters survive Stop for the run's summary";
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  for (BYTE level = 1; level <= 5; ++level) EXPECT_EQ(sink_.Count(level), 0);
  EXPECT_EQ(ReadLog(LogFile()).records.size(), 0u) << "a new session replaces the old log";
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

// ---- Concurrency ---------------------------------------------------------------------------

TEST_F(EventTraceSinkTest, EightThreadsWritingAThousandEventsEachLoseNothing) {
  constexpr int kThreads = 8;
  constexpr int kEach = 1000;
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([this, t] {
      for (int i = 0; i < kEach; ++i) {
        // Texts of varied length so that torn records would misalign the reader.
        const std::wstring text = std::to_wstring(t) + L":" + std::to_wstring(i) + L":" +
                                  std::wstring(static_cast<size_t>(i % 37), L'x');
        const BYTE level = static_cast<BYTE>(1 + (t + i) % 5);
        EXPECT_EQ(sink_.Write(level, static_cast<BYTE>(t),
                              i % 10 == 0 ? std::nullopt : std::optional(text)),
                  ERROR_SUCCESS);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);

  LONG total = 0;
  for (BYTE level = 1; level <= 5; ++level) total += sink_.Count(level);
  EXPECT_EQ(total, kThreads * kEach);

  const ReadBack back = ReadLog(LogFile());
  ASSERT_EQ(back.result, ERROR_SUCCESS);
  EXPECT_EQ(back.damage.kind, EventTraceDamage::Kind::kNone);
  ASSERT_EQ(back.records.size(), static_cast<size_t>(kThreads * kEach));
  std::vector<int> next(kThreads, 0);
  int64_t last_time = 0;
  for (const EventTraceRecord& r : back.records) {
    ASSERT_LT(r.type, kThreads);
    const int i = next[r.type]++;
    EXPECT_EQ(r.level, 1 + (r.type + i) % 5);
    if (i % 10 == 0) {
      EXPECT_FALSE(r.text.has_value());
    } else {
      EXPECT_EQ(r.text, std::to_wstring(r.type) + L":" + std::to_wstring(i) + L":" +
                            std::wstring(static_cast<size_t>(i % 37), L'x'));
    }
    EXPECT_GE(r.time, last_time) << "the file's order is the time stamps' order";
    last_time = r.time;
  }
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(next[t], kEach) << "thread " << t;
}

// ---- Damaged files -------------------------------------------------------------------------

struct DamageCase {
  std::string name;
  // Changes the bytes of a log holding the events "one", "two", "three".
  void (*damage)(std::vector<uint8_t>& bytes, size_t first_record);
  DWORD result;
  size_t events;
  EventTraceDamage::Kind kind;
};

// Record sizes of the three events: 64 + 8 + (3 or 5 characters + zero) x 2.
constexpr size_t kOne = 64 + 8 + 8;
constexpr size_t kTwo = 64 + 8 + 8;
constexpr size_t kThree = 64 + 8 + 12;

class DamagedFileTest : public EventTraceSinkTest,
                        public ::testing::WithParamInterface<DamageCase> {};

TEST_P(DamagedFileTest, ReadsWhatPrecedesTheDamage) {
  const DamageCase& c = GetParam();
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  for (const wchar_t* text : {L"one", L"two", L"three"}) ASSERT_EQ(sink_.Write(4, 0, text), 0u);
  ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);
  std::vector<uint8_t> bytes = ReadBytes(LogFile());
  c.damage(bytes, BlockSize());
  WriteBytes(LogFile(), bytes);

  const ReadBack back = ReadLog(LogFile());
  EXPECT_EQ(back.result, c.result);
  EXPECT_EQ(back.records.size(), c.events);
  EXPECT_EQ(back.damage.kind, c.kind);
  if (c.kind != EventTraceDamage::Kind::kNone) {
    const size_t sizes[] = {kOne, kTwo, kThree};
    size_t offset = c.kind == EventTraceDamage::Kind::kBadHeader ? 0 : BlockSize();
    for (size_t i = 0; i < c.events; ++i) offset += sizes[i];
    EXPECT_EQ(back.damage.offset, offset);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Damage, DamagedFileTest,
    ::testing::ValuesIn(std::vector<DamageCase>{
        {"Intact", [](auto&, size_t) {}, ERROR_SUCCESS, 3, EventTraceDamage::Kind::kNone},
        {"CutInsideLastText", [](auto& b, size_t) { b.resize(b.size() - 3); }, ERROR_SUCCESS, 2,
         EventTraceDamage::Kind::kTruncated},
        {"CutInsideLastHeader", [](auto& b, size_t first) { b.resize(first + kOne + kTwo + 30); },
         ERROR_SUCCESS, 2, EventTraceDamage::Kind::kTruncated},
        {"OneStrayByte", [](auto& b, size_t) { b.push_back(0x40); }, ERROR_SUCCESS, 3,
         EventTraceDamage::Kind::kTruncated},
        {"SizeFieldNeither48Nor64", [](auto& b, size_t first) { b[first + kOne] = 63; },
         ERROR_SUCCESS, 1, EventTraceDamage::Kind::kCorrupt},
        {"HugeTextLength", [](auto& b, size_t first) { b[first + kOne + 59] = 0x7F; },
         ERROR_SUCCESS, 1, EventTraceDamage::Kind::kCorrupt},
        {"OddTextLength", [](auto& b, size_t first) { b[first + kOne + 56] = 7; }, ERROR_SUCCESS, 1,
         EventTraceDamage::Kind::kCorrupt},
        {"Level0", [](auto& b, size_t first) { b[first + 5] = 0; }, ERROR_SUCCESS, 0,
         EventTraceDamage::Kind::kCorrupt},
        {"TextWithoutItsZero", [](auto& b, size_t first) { b[first + kOne - 2] = 'x'; },
         ERROR_SUCCESS, 0, EventTraceDamage::Kind::kCorrupt},
        {"WrongClassGuid", [](auto& b, size_t first) { b[first + kOne + 24] ^= 1; }, ERROR_SUCCESS,
         1, EventTraceDamage::Kind::kCorrupt},
        {"EmptyFile", [](auto& b, size_t) { b.clear(); }, ERROR_INVALID_DATA, 0,
         EventTraceDamage::Kind::kBadHeader},
        {"SessionBlockCut", [](auto& b, size_t) { b.resize(100); }, ERROR_INVALID_DATA, 0,
         EventTraceDamage::Kind::kBadHeader},
        {"NotALog", [](auto& b, size_t) { std::fill(b.begin(), b.end(), 0x41); },
         ERROR_INVALID_DATA, 0, EventTraceDamage::Kind::kBadHeader},
        {"HugeSessionBlock", [](auto& b, size_t) { b[3] = 0x7F; }, ERROR_INVALID_DATA, 0,
         EventTraceDamage::Kind::kBadHeader},
    }),
    [](const auto& i) { return i.param.name; });

TEST_F(EventTraceSinkTest, MissingFileIsNotFound) {
  EXPECT_EQ(ReadLog(dir_ / "absent.etl").result, ERROR_FILE_NOT_FOUND);
}

TEST_F(EventTraceSinkTest, ReaderStopsWhenTheCallbackSaysSo) {
  ASSERT_EQ(sink_.Start(kSession, LogPath()), ERROR_SUCCESS);
  for (int i = 0; i < 5; ++i) ASSERT_EQ(sink_.Write(4, 0, L"e"), ERROR_SUCCESS);
  ASSERT_EQ(sink_.Stop(), ERROR_SUCCESS);
  int seen = 0;
  EXPECT_EQ(ReadEventTraceFile(
                LogPath(), [&](EventTraceRecord&&) { return ++seen < 2; }, nullptr),
            ERROR_SUCCESS);
  EXPECT_EQ(seen, 2);
}

// ---- Text encoding -------------------------------------------------------------------------

struct TextCase {
  std::string name;
  std::wstring written;
  std::wstring read;
};

class TextRoundTripTest : public ::testing::TestWithParam<TextCase> {};

TEST_P(TextRoundTripTest, ThroughUtf16) {
  std::vector<uint8_t> record;
  EventRecordCodec::AppendRecord(4, 0, 1, GetParam().written, &record);
  std::wstring text;
  ASSERT_TRUE(EventRecordCodec::DecodeText(std::span(record).subspan(72), &text));
  EXPECT_EQ(text, GetParam().read);
}

INSTANTIATE_TEST_SUITE_P(Texts, TextRoundTripTest,
                         ::testing::ValuesIn(std::vector<TextCase>{
                             {"Ascii", L"C:\\Pictures\\a.jpg", L"C:\\Pictures\\a.jpg"},
                             {"Latin", L"Übersicht é", L"Übersicht é"},
                             {"Astral", L"\U0001F4F7 cam", L"\U0001F4F7 cam"},
                             {"LoneSurrogate", std::wstring(1, wchar_t(0xD800)) + L"a", L"\uFFFDa"},
                             {"AboveUnicode", std::wstring(1, wchar_t(0x110000)), L"\uFFFD"},
                         }),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk

// A damaged log reads up to the damage, and the message says what is wrong and at which byte.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "batch/event_log_reader.h"
#include "platform/event_log_writer.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

using Bytes = std::vector<uint8_t>;

// Where each record of an intact log starts, and (last) where the file ends.
std::vector<size_t> RecordStarts(const Bytes& b) {
  auto le16 = [&](size_t at) { return static_cast<size_t>(b[at] | (b[at + 1] << 8)); };
  auto le32 = [&](size_t at) { return le16(at) | (le16(at + 2) << 16); };
  std::vector<size_t> starts;
  for (size_t at = le32(0); at < b.size();) {
    starts.push_back(at);
    const size_t header = le16(at);
    at += header + 8 + (header == 64 ? le32(at + 56) : 0);
  }
  starts.push_back(b.size());
  return starts;
}

struct DamageCase {
  const char* name;
  // Damages a log of five records (start, "one", "two", "three", end); r holds their starts.
  std::function<void(Bytes& b, const std::vector<size_t>& r)> damage;
  DWORD result;
  size_t entries;                // readable events
  std::wstring problem;          // part of the message
  std::optional<size_t> record;  // the damaged record's index, for the byte named
};

const DamageCase kCases[] = {
    {"Intact", [](Bytes&, auto&) {}, ERROR_SUCCESS, 5, L"", std::nullopt},
    {"CutInsideFirstHeader", [](Bytes& b, auto& r) { b.resize(r[0] + 10); }, ERROR_SUCCESS, 0,
     L"is cut short at byte", 0},
    {"CutInsideSecondText", [](Bytes& b, auto& r) { b.resize(r[2] - 3); }, ERROR_SUCCESS, 1,
     L"the file ends inside an event", 1},
    {"CutBeforeLastTimeStamp", [](Bytes& b, auto& r) { b.resize(r[4] + 66); }, ERROR_SUCCESS, 4,
     L"the file ends inside an event", 4},
    {"OneByteOfTail", [](Bytes& b, auto&) { b.push_back(0x40); }, ERROR_SUCCESS, 5,
     L"the file ends inside an event", 5},
    {"RandomTail",
     [](Bytes& b, auto&) {
       b.insert(b.end(), {0x13, 0x37, 0xC0, 0xFF, 0xEE, 0x01, 0x99});
     },
     ERROR_SUCCESS, 5, L"size field says 14099 bytes (48 or 64 expected)", 5},
    {"FlippedSizeField", [](Bytes& b, auto& r) { b[r[2]] ^= 0x01; }, ERROR_SUCCESS, 2,
     L"size field says 65 bytes", 2},
    {"FlippedLevel", [](Bytes& b, auto& r) { b[r[1] + 5] = 9; }, ERROR_SUCCESS, 1,
     L"level is 9 (1 to 5 expected)", 1},
    {"FlippedType", [](Bytes& b, auto& r) { b[r[3] + 4] = 200; }, ERROR_SUCCESS, 3, L"type is 200",
     3},
    {"FlippedClassGuid", [](Bytes& b, auto& r) { b[r[3] + 30] ^= 0x80; }, ERROR_SUCCESS, 3,
     L"foreign class GUID", 3},
    {"FlippedFlags", [](Bytes& b, auto& r) { b[r[1] + 46] ^= 0x04; }, ERROR_SUCCESS, 1,
     L"flags 0x160000 do not fit", 1},
    {"HugeTextLength", [](Bytes& b, auto& r) { b[r[2] + 59] = 0x7F; }, ERROR_SUCCESS, 2,
     L"text length or place, 2130706", 2},
    {"TextWithoutZero", [](Bytes& b, auto& r) { b[r[2] - 2] = 'x'; }, ERROR_SUCCESS, 1,
     L"lacks its terminating zero", 1},
    {"ZeroLength", [](Bytes& b, auto&) { b.clear(); }, ERROR_INVALID_DATA, 0, L"the file is empty",
     std::nullopt},
    {"HeaderCut", [](Bytes& b, auto&) { b.resize(100); }, ERROR_INVALID_DATA, 0,
     L"the file ends inside its header", std::nullopt},
    {"HeaderSizeImpossible", [](Bytes& b, auto&) { b[3] = 0x7F; }, ERROR_INVALID_DATA, 0,
     L"its header announces 21", std::nullopt},
    {"HeaderMarkFlipped", [](Bytes& b, auto&) { b[24] ^= 0x01; }, ERROR_INVALID_DATA, 0,
     L"does not carry this program's mark", std::nullopt},
    {"HeaderNameMoved", [](Bytes& b, auto&) { b[116] ^= 0x02; }, ERROR_INVALID_DATA, 0,
     L"session or file name is out of place", std::nullopt},
    {"Garbage", [](Bytes& b, auto&) { std::fill(b.begin(), b.end(), 0x41); }, ERROR_INVALID_DATA, 0,
     L"its header announces 1094795585 bytes", std::nullopt},
};

class DamagedLog : public ::testing::TestWithParam<DamageCase> {};

TEST_P(DamagedLog, ShowsTheReadablePartAndSaysWhatAndWhere) {
  const DamageCase& c = GetParam();
  test::ScopedTempDir dir;
  const std::filesystem::path file = dir / "log.etl";
  const std::wstring path = FromUtf8(file.string());
  {
    EventLogWriter writer;
    ASSERT_EQ(writer.OpenBatchLog(path), ERROR_SUCCESS);
    for (const wchar_t* text : {L"one", L"two", L"three"})
      writer.Write(kEventLevelInformation, text);
    ASSERT_EQ(writer.CloseBatchLog(), ERROR_SUCCESS);
  }
  Bytes bytes;
  {
    std::ifstream in(file, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  const std::vector<size_t> starts = RecordStarts(bytes);
  ASSERT_EQ(starts.size(), 6u) << "the writer's start and end events and three more";
  c.damage(bytes, starts);
  std::ofstream(file, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));

  EventLogContents contents;
  ASSERT_EQ(EventLogReader::Read(path, &contents), c.result);
  EXPECT_EQ(contents.entries.size(), c.entries);
  if (c.problem.empty()) {
    EXPECT_EQ(contents.damage, L"");
    return;
  }
  const std::string message = ToUtf8(contents.damage);
  EXPECT_NE(contents.damage.find(c.problem), std::wstring::npos) << message;
  EXPECT_NE(contents.damage.find(path), std::wstring::npos) << message;
  if (c.record) {
    EXPECT_NE(message.find("at byte " + std::to_string(starts[*c.record])), std::string::npos)
        << message;
    EXPECT_NE(message.find("The " + std::to_string(c.entries) + " event(s) before it"),
              std::string::npos)
        << message;
  }
}

INSTANTIATE_TEST_SUITE_P(Damages, DamagedLog, ::testing::ValuesIn(kCases),
                         [](const auto& i) { return std::string(i.param.name); });

}  // namespace
}  // namespace lmk

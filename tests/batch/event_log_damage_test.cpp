// A damaged log reads up to the damage, and the message says what is wrong and at which byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "batch/event_log_reader.h"
#include "platform/event_log_writer.h"
#include "platform/text_encoding.h"
#include "support/data_table.h"
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

// Does the damage of a row to b, a log whose events start at r (see event_log_damage.tsv).
void Damage(Bytes& b, const std::vector<size_t>& r, const std::string& how) {
  std::istringstream words(how);
  std::string op, at;
  words >> op;
  const auto number = [](const std::string& text) { return std::stoul(text, nullptr, 0); };
  const auto place = [&](const std::string& text) {
    if (text[0] != 'r') return static_cast<size_t>(number(text));
    const size_t sign = text.find_first_of("+-");
    const size_t start = r.at(number(text.substr(1, sign - 1)));
    if (sign == std::string::npos) return start;
    const size_t offset = number(text.substr(sign + 1));
    return text[sign] == '+' ? start + offset : start - offset;
  };
  if (op == "fill") {
    words >> at;
    std::fill(b.begin(), b.end(), static_cast<uint8_t>(number(at)));
  } else if (op == "append") {
    while (words >> at) b.push_back(static_cast<uint8_t>(number(at)));
  } else if (op != "none") {
    std::string value;
    words >> at >> value;
    if (op == "cut") b.resize(place(at));
    if (op == "set") b.at(place(at)) = static_cast<uint8_t>(number(value));
    if (op == "xor") b.at(place(at)) ^= static_cast<uint8_t>(number(value));
  }
}

class DamagedLog : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: damage, ok or invalid, readable events, part of the message, damaged event.
TEST_P(DamagedLog, ShowsTheReadablePartAndSaysWhatAndWhere) {
  const test::CaseRow& c = GetParam();
  const size_t entries = std::stoul(c[2]);
  const std::wstring problem = test::Wide(c[3]);
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
  Damage(bytes, starts, c[0]);
  std::ofstream(file, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));

  EventLogContents contents;
  ASSERT_EQ(EventLogReader::Read(path, &contents),
            c[1] == "ok" ? ERROR_SUCCESS : ERROR_INVALID_DATA);
  EXPECT_EQ(contents.entries.size(), entries);
  if (problem.empty()) {
    EXPECT_EQ(contents.damage, L"");
    return;
  }
  const std::string message = ToUtf8(contents.damage);
  EXPECT_NE(contents.damage.find(problem), std::wstring::npos) << message;
  EXPECT_NE(contents.damage.find(path), std::wstring::npos) << message;
  if (!c[4].empty()) {
    EXPECT_NE(message.find("at byte " + std::to_string(starts[std::stoul(c[4])])),
              std::string::npos)
        << message;
    EXPECT_NE(message.find("The " + std::to_string(entries) + " event(s) before it"),
              std::string::npos)
        << message;
  }
}

INSTANTIATE_TEST_SUITE_P(Damages, DamagedLog,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/event_log_damage.tsv")),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk

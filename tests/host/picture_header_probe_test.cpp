// Pixel size and layout read from crafted picture headers, including damaged ones; checked dates
// and the label vocabulary shared by the reader and the label writer.
#include "host/picture_header_probe.h"

#include <gtest/gtest.h>

#include <exiv2/exiv2.hpp>
#include <map>
#include <string>
#include <vector>

#include "host/image_metadata.h"
#include "support/data_table.h"

namespace lmk {
namespace {

// A row's bytes: its escapes, and "(app1 N)" as an APP1 segment of N bytes.
std::string FileOf(const std::string& field) {
  std::string bytes = test::Unescape(field);
  const std::size_t at = bytes.find("(app1 ");
  if (at == std::string::npos) return bytes;
  const std::size_t end = bytes.find(')', at);
  const std::size_t length = std::stoul(bytes.substr(at + 6, end - at - 6)) + 2;
  const std::string segment = std::string("\xFF\xE1", 2) + static_cast<char>(length >> 8) +
                              static_cast<char>(length) + std::string(length - 2, 'x');
  return bytes.replace(at, end + 1 - at, segment);
}

class Probe : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(Probe, MatchesTable) {
  test::CaseRow c = GetParam();
  const std::string file = FileOf(c[0]);
  c.fields.resize(6, "0");
  Exiv2::MemIo io(reinterpret_cast<const Exiv2::byte*>(file.data()),
                  static_cast<long>(file.size()));
  PictureHeaderInfo info;
  info.width = 999;
  ProbePictureHeader(io, &info);
  ASSERT_EQ(info.known, GetParam().fields.size() > 1);
  EXPECT_EQ(info.width, std::stoul(c[1]));
  EXPECT_EQ(info.height, std::stoul(c[2]));
  EXPECT_EQ(info.bitsPerPixel, std::stoi(c[3]));
  EXPECT_EQ(info.pixelFormat, c[4] == "0" ? L"" : test::Widen(c[4]));
  EXPECT_EQ(info.supportsTransparency, c[5] == "1");
}

INSTANTIATE_TEST_SUITE_P(Headers, Probe,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/picture_headers.tsv")),
                         [](const auto& info) { return info.param.name; });

class Label : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(Label, TextToNumberAndBack) {
  const test::CaseRow& c = GetParam();
  const std::map<std::string, int16_t> conventions = {{"five", kLabelConventionFive},
                                                      {"nine", kLabelConventionNine}};
  const auto label = static_cast<int16_t>(std::stoi(c[1]));
  int16_t convention = -7;
  EXPECT_EQ(LabelFromText(test::Wide(c[0]), &convention), label);
  EXPECT_EQ(convention, conventions.at(c[2]));
  if (label != 0) {
    // The name the host writes for the number reads back as the same label.
    int16_t again = 0;
    EXPECT_EQ(LabelFromText(ConventionLabelNames(convention)[label - 1], &again), label);
    EXPECT_EQ(again, conventions.at(c[2]));
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, Label,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/label_texts.tsv")),
                         [](const auto& info) { return info.param.name; });

TEST(MetaDateTimeTest, RefusalLeavesTheValueAbsent) {
  MetaDateTime d;
  ASSERT_TRUE(d.Set(2024, 2, 29, 23, 59, 59, 999));
  EXPECT_FALSE(d.Set(2024, 4, 31, 0, 0, 0));
  EXPECT_FALSE(d.present);
  EXPECT_EQ(d.year, 0);
  EXPECT_FALSE(d.Set(2024, 1, 1, 0, 0, 0, 1000));
  EXPECT_FALSE(d.Set(10000, 1, 1, 0, 0, 0));
}

}  // namespace
}  // namespace lmk

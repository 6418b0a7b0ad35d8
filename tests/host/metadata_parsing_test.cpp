// Parsers of untrusted metadata texts and ICC blocks: what they accept and what they refuse
// (text cases in tests/data/cases/metadata_texts.tsv).
#include "host/metadata_parsing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "support/data_table.h"

namespace lmk {
namespace {

using test::CaseRow;

std::string Text(const MetaDateTime& d) {
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", d.year, d.month, d.day,
                d.hour, d.minute, d.second, d.millisecond);
  return d.present ? text : "refused";
}

MetaDateTime Date(const std::string& text) {
  MetaDateTime d;
  int v[7] = {};
  std::sscanf(text.c_str(), "%d-%d-%d %d:%d:%d.%d", &v[0], &v[1], &v[2], &v[3], &v[4], &v[5],
              &v[6]);
  d.Set(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
  return d;
}

class MetadataTextTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(MetadataTextTest, MatchesTheTable) {
  const CaseRow& c = GetParam();
  const std::string& kind = c[0];
  const std::string text = test::Unescape(c[1]), want = c[2];
  if (kind == "date") {
    MetaDateTime got;
    bool hasZone = true;
    int zone = -1;
    EXPECT_EQ(ParseMetaDateTime(text, &got, &hasZone, &zone), want != "refused");
    EXPECT_EQ(Text(got), want);
    if (want != "refused") {
      EXPECT_EQ(hasZone, c.fields.size() > 3);
      EXPECT_EQ(zone, c.fields.size() > 3 ? std::stoi(c[3]) : 0);
    }
  } else if (kind == "shift") {
    MetaDateTime d = Date(text);
    EXPECT_EQ(ShiftMinutes(&d, std::stoll(c[2])), c[3] != "refused");
    EXPECT_EQ(Text(d), c[3] == "refused" ? text : c[3]) << "a refused shift changes nothing";
  } else if (kind == "decode") {
    EXPECT_EQ(DecodeMetadataText(text), test::Wide(want));
  } else {
    double v = -12345;
    EXPECT_EQ(kind == "rational" ? ParseRationalText(text, &v) : ParseXmpGpsCoordinate(text, &v),
              want != "refused");
    if (want != "refused") {
      EXPECT_NEAR(v, std::stod(want), 1e-9);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, MetadataTextTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/metadata_texts.tsv")),
                         [](const auto& info) { return info.param.name; });

TEST(DecodeMetadataTextTest, CutsHugeTexts) {
  const std::string huge(kMaxMetadataTextLength * 3, 'a');
  EXPECT_EQ(DecodeMetadataText(huge).size(), kMaxMetadataTextLength);
}

// ICC profiles built byte by byte: a header of 128 bytes, the tag table, one 'desc' tag.
std::vector<uint8_t> IccWithTag(const std::vector<uint8_t>& tag, uint32_t declaredLength = 0) {
  std::vector<uint8_t> p(132 + 12, 0);
  auto put32 = [&](size_t at, uint32_t v) {
    p[at] = static_cast<uint8_t>(v >> 24);
    p[at + 1] = static_cast<uint8_t>(v >> 16);
    p[at + 2] = static_cast<uint8_t>(v >> 8);
    p[at + 3] = static_cast<uint8_t>(v);
  };
  p[36] = 'a';
  p[37] = 'c';
  p[38] = 's';
  p[39] = 'p';
  put32(128, 1);
  p[132] = 'd';
  p[133] = 'e';
  p[134] = 's';
  p[135] = 'c';
  put32(136, static_cast<uint32_t>(p.size()));
  put32(140, declaredLength != 0 ? declaredLength : static_cast<uint32_t>(tag.size()));
  p.insert(p.end(), tag.begin(), tag.end());
  put32(0, static_cast<uint32_t>(p.size()));
  return p;
}

class IccDescription : public ::testing::TestWithParam<CaseRow> {};

TEST_P(IccDescription, MatchesTable) {
  const CaseRow& c = GetParam();
  const std::string tag = test::Unescape(c[0]);
  const std::vector<uint8_t> profile =
      tag.starts_with("(zeros ")
          ? std::vector<uint8_t>(std::stoul(tag.substr(7)), 0)
          : IccWithTag({tag.begin(), tag.end()}, c[1].empty() ? 0 : std::stoul(c[1]));
  EXPECT_EQ(IccProfileDescription(profile.data(), profile.size()), test::Wide(c[2]));
}

INSTANTIATE_TEST_SUITE_P(Profiles, IccDescription,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/icc_descriptions.tsv")),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk

// Wildcard masks, "|" lists and whole-text regular expressions (cases in
// tests/data/cases/pattern_match.tsv).
#include "conditions/pattern_match.h"

#include <gtest/gtest.h>

#include "support/data_table.h"

namespace lmk {
namespace {

using test::CaseRow;

class PatternMatchTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(PatternMatchTest, MatchesTheWholeText) {
  const CaseRow& c = GetParam();
  const std::wstring pattern = test::Wide(c[1]), text = test::Wide(c[2]);
  bool matched = c[3] != "1";
  if (c[0] == "w") {
    matched = MatchesWildcardList(pattern, text);
  } else {
    ASSERT_EQ(MatchesRegex(pattern, text, &matched), S_OK);
  }
  EXPECT_EQ(matched, c[3] == "1");
}

INSTANTIATE_TEST_SUITE_P(Cases, PatternMatchTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/pattern_match.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST(PatternUsabilityTest, InvalidAndEmptyPatternsAreRefused) {
  bool matched = true;
  EXPECT_EQ(MatchesRegex(L"img_[", L"img_", &matched), E_INVALIDARG);
  EXPECT_FALSE(matched);
  std::wstring why;
  EXPECT_FALSE(IsUsablePattern(L"img_[", true, &why));
  EXPECT_NE(why.find(L"img_["), std::wstring::npos);
  EXPECT_FALSE(IsUsablePattern(L"", false, nullptr));
  EXPECT_FALSE(IsUsablePattern(L"", true, nullptr));
  EXPECT_FALSE(IsUsablePattern(L"|||", false, nullptr));
  EXPECT_TRUE(IsUsablePattern(L"|a|", false, nullptr));
}

}  // namespace
}  // namespace lmk

// Wildcard masks, "|" lists and whole-text regular expressions.
#include "conditions/pattern_match.h"

#include <gtest/gtest.h>

#include <string>

namespace lmk {
namespace {

struct MatchCase {
  const char* name;
  std::wstring pattern;
  std::wstring text;
  bool matches;
};

class WildcardListTest : public ::testing::TestWithParam<MatchCase> {};

TEST_P(WildcardListTest, Matches) {
  const MatchCase& c = GetParam();
  EXPECT_EQ(MatchesWildcardList(c.pattern, c.text), c.matches);
}

const MatchCase kWildcardCases[] = {
    {"StarIgnoresCase", L"img_*", L"IMG_0001", true},
    {"ExtensionInMaskNeverMatchesAStem", L"img_*.jpg", L"IMG_0001", false},
    {"AlternativesFirst", L"a|b", L"a", true},
    {"AlternativesSecond", L"a|b", L"b", true},
    {"BlankAfterBarIsKept", L"a| b", L"b", false},
    {"BlankTokenMatchesBlankText", L"a| b", L" b", true},
    {"EmptyTokensSkipped", L"||x||", L"x", true},
    {"OnlyBarsMatchNothing", L"||", L"", false},
    {"EmptyListMatchesNothing", L"", L"", false},
    {"QuestionIsExactlyOne", L"img_?", L"IMG_1", true},
    {"QuestionNeedsACharacter", L"img_?", L"IMG_", false},
    {"QuestionDoesNotMatchTwo", L"img_?", L"IMG_12", false},
    {"StarMatchesEmpty", L"img*", L"img", true},
    {"StarInTheMiddleBacktracks", L"a*b*c", L"axxbyybzzc", true},
    {"StarInTheMiddleNeedsTheTail", L"a*b*c", L"axxbyyb", false},
    {"StarDotStarMatchesNameWithoutDot", L"*.*", L"README", true},
    {"StarDotMatchesOnlyDottedNames", L"*.", L"README", false},
    {"StarDotStarInsideListToo", L"x|*.*", L"anything", true},
    {"LiteralEqualityIsCaseInsensitive", L"DSC", L"dsc", true},
    {"SemicolonIsOrdinary", L"a;b", L"a;b", true},
    {"SemicolonDoesNotSeparate", L"a;b", L"b", false},
    {"NonAsciiFoldsCase", L"\u00c9t\u00e9*", L"\u00e9t\u00e9 2024", true},
    {"LongTextManyStars", L"*a*a*a*a*b", std::wstring(200, L'a'), false},
};

INSTANTIATE_TEST_SUITE_P(Cases, WildcardListTest, ::testing::ValuesIn(kWildcardCases),
                         [](const auto& i) { return std::string(i.param.name); });

class RegexTest : public ::testing::TestWithParam<MatchCase> {};

TEST_P(RegexTest, MatchesTheWholeText) {
  const MatchCase& c = GetParam();
  bool matched = !c.matches;
  ASSERT_EQ(MatchesRegex(c.pattern, c.text, &matched), S_OK);
  EXPECT_EQ(matched, c.matches);
}

const MatchCase kRegexCases[] = {
    {"WholeMatchIgnoresCase", L"img_[0-9]+", L"IMG_0001", true},
    {"PrefixIsNoMatch", L"img_[0-9]+", L"xIMG_0001", false},
    {"SuffixIsNoMatch", L"img_[0-9]+", L"IMG_0001x", false},
    {"BarIsAlternationNotAList", L"a|b", L"b", true},
    {"EcmaScriptClasses", L"\\w+-\\d{2}", L"Trip-07", true},
};

INSTANTIATE_TEST_SUITE_P(Cases, RegexTest, ::testing::ValuesIn(kRegexCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(RegexTest, InvalidExpressionFailsWithInvalidArg) {
  bool matched = true;
  EXPECT_EQ(MatchesRegex(L"img_[", L"img_", &matched), E_INVALIDARG);
  EXPECT_FALSE(matched);
  std::wstring why;
  EXPECT_FALSE(IsUsablePattern(L"img_[", true, &why));
  EXPECT_NE(why.find(L"img_["), std::wstring::npos);
}

TEST(PatternUsabilityTest, EmptyPatternsAreRefusedInBothModes) {
  EXPECT_FALSE(IsUsablePattern(L"", false, nullptr));
  EXPECT_FALSE(IsUsablePattern(L"", true, nullptr));
  EXPECT_FALSE(IsUsablePattern(L"|||", false, nullptr));
  EXPECT_TRUE(IsUsablePattern(L"|a|", false, nullptr));
}

}  // namespace
}  // namespace lmk

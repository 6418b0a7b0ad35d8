// The bounded engine against the standard library's ECMAScript engine on the forms of
// tests/data/cases/bounded_regex_forms.tsv, and its give-up on expressions that would back-track
// without end.
#include "templates/bounded_regex.h"

#include <gtest/gtest.h>

#include <regex>

#include "com/com_error.h"
#include "support/data_table.h"

namespace lmk {
namespace {

class SameAsEcmaScript : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(SameAsEcmaScript, MatchesAndReplacesAlike) {
  const std::wstring pattern = test::Wide(GetParam()[0]), text = test::Wide(GetParam()[1]);
  const std::wstring replacement = test::Wide(GetParam()[2]);
  const std::wregex reference(pattern, std::regex::ECMAScript | std::regex::icase);
  const std::unique_ptr<BoundedRegex> bounded = BoundedRegex::Compile(pattern);
  ASSERT_NE(bounded, nullptr);

  std::wsmatch match;
  const bool expected = std::regex_match(text, match, reference);
  std::vector<std::wstring> groups;
  EXPECT_EQ(bounded->Match(text, &groups), expected);
  std::vector<std::wstring> expected_groups;
  if (expected) {
    for (const auto& group : match) expected_groups.push_back(group.matched ? group.str() : L"");
  }
  EXPECT_EQ(groups, expected_groups);
  EXPECT_EQ(bounded->ReplaceAll(text, replacement),
            std::regex_replace(text, reference, replacement));
}

INSTANTIATE_TEST_SUITE_P(Forms, SameAsEcmaScript,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/bounded_regex_forms.tsv")),
                         [](const auto& i) { return i.param.name; });

class GivesUp : public ::testing::TestWithParam<test::CaseRow> {};

// Giving up is what is checked; a search that never ends meets the test runner's time limit.
TEST_P(GivesUp, InsteadOfBacktrackingForever) {
  const std::wstring pattern = test::Wide(GetParam()[0]), text = test::Wide(GetParam()[1]);
  const std::unique_ptr<BoundedRegex> regex = BoundedRegex::Compile(pattern);
  ASSERT_NE(regex, nullptr);
  for (const bool replace : {false, true}) {
    try {
      if (replace) {
        regex->ReplaceAll(text, L"x");
      } else {
        regex->Match(text);
      }
      ADD_FAILURE() << (replace ? "ReplaceAll" : "Match") << " did not give up";
    } catch (const ComError& error) {
      EXPECT_EQ(error.hr(), BoundedRegex::kTooComplex);
      EXPECT_NE(error.description().find(pattern), std::wstring::npos) << "names the pattern";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Pathological, GivesUp,
    ::testing::ValuesIn(test::ReadCaseTable("cases/bounded_regex_give_ups.tsv")),
    [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk

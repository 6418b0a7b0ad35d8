// Trimming and case functions on texts with white space at every position, and folder names (the
// tables are tests/data/cases/text_functions.tsv and folder_names.tsv).
#include "templates/text_functions.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "support/data_table.h"
#include "templates/file_name_parts.h"

namespace lmk {
namespace {

class TextFunction : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: function, number argument (characters to drop, to keep, or where to start), input,
// output. "ReplaceBracket" replaces the invalid pattern "[" with "x".
TEST_P(TextFunction, Transforms) {
  using T = TextFunctions;
  using F = std::function<std::wstring(std::wstring_view, size_t)>;
  const std::map<std::string, F> functions = {
      {"LTrim", [](auto t, size_t n) { return T::LTrim(t, n); }},
      {"RTrim", [](auto t, size_t n) { return T::RTrim(t, n); }},
      {"LRTrim", [](auto t, size_t) { return T::LRTrim(t); }},
      {"InnerTrim", [](auto t, size_t) { return T::InnerTrim(t); }},
      {"AllTrim", [](auto t, size_t) { return T::AllTrim(t); }},
      {"SingleSpace", [](auto t, size_t) { return T::SingleSpace(t); }},
      {"Right", [](auto t, size_t n) { return T::Right(t, n); }},
      {"Mid", [](auto t, size_t n) { return T::Mid(t, n, 100); }},
      {"Reverse", [](auto t, size_t) { return T::Reverse(t); }},
      {"TitleCase", [](auto t, size_t) { return T::TitleCase(t); }},
      {"ReplaceBracket", [](auto t, size_t) { return T::Replace(t, L"[", L"x"); }},
      {"Trimmed", [](auto t, size_t) { return FileNamePieces::Trimmed(t); }}};
  const test::CaseRow& c = GetParam();
  EXPECT_EQ(functions.at(c[0])(test::Wide(c[2]), std::stoul(c[1])), test::Wide(c[3]));
}

INSTANTIATE_TEST_SUITE_P(Templates, TextFunction,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/text_functions.tsv")),
                         [](const auto& info) { return info.param.name; });

class FolderName : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(FolderName, PicksFolder) {
  const test::CaseRow& c = GetParam();
  EXPECT_EQ(FileNamePieces::FolderName(test::Wide(c[0]), std::stoul(c[1])), test::Wide(c[2]));
}

INSTANTIATE_TEST_SUITE_P(Templates, FolderName,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/folder_names.tsv")),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk

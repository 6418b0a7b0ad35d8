// Trimming and case functions on texts with white space at every position.
#include "templates/text_functions.h"

#include <gtest/gtest.h>

#include <functional>

#include "templates/file_name_parts.h"

namespace lmk {
namespace {

struct TextCase {
  const char* name;
  std::function<std::wstring(std::wstring_view)> function;
  std::wstring input;
  std::wstring expected;
};

class TextFunction : public ::testing::TestWithParam<TextCase> {};

TEST_P(TextFunction, Transforms) {
  EXPECT_EQ(GetParam().function(GetParam().input), GetParam().expected);
}

const TextCase kTextCases[] = {
    {"LTrim", [](auto t) { return TextFunctions::LTrim(t); }, L" \t a b ", L"a b "},
    {"LTrimThenDrop", [](auto t) { return TextFunctions::LTrim(t, 2); }, L"  abcd", L"cd"},
    {"LTrimDropEverything", [](auto t) { return TextFunctions::LTrim(t, 3); }, L"abc", L""},
    {"RTrim", [](auto t) { return TextFunctions::RTrim(t); }, L" a b \t", L" a b"},
    {"RTrimThenDrop", [](auto t) { return TextFunctions::RTrim(t, 1); }, L"abcd  ", L"abc"},
    {"LRTrim", [](auto t) { return TextFunctions::LRTrim(t); }, L"  a  b  ", L"a  b"},
    {"LRTrimAllBlank", [](auto t) { return TextFunctions::LRTrim(t); }, L"   ", L""},
    {"InnerTrimKeepsEnds", [](auto t) { return TextFunctions::InnerTrim(t); }, L"  My File  Name ",
     L"  MyFileName "},
    {"AllTrim", [](auto t) { return TextFunctions::AllTrim(t); }, L"  My File\tName ",
     L"MyFileName"},
    {"SingleSpaceKeepsFirstOfRun", [](auto t) { return TextFunctions::SingleSpace(t); },
     L" a \t b  c  ", L" a b c  "},
    {"SingleSpaceTabFirst", [](auto t) { return TextFunctions::SingleSpace(t); }, L"a\t  b",
     L"a\tb"},
    {"Right", [](auto t) { return TextFunctions::Right(t, 2); }, L"abc", L"bc"},
    {"MidCount", [](auto t) { return TextFunctions::Mid(t, 1, 100); }, L"abc", L"bc"},
    {"Reverse", [](auto t) { return TextFunctions::Reverse(t); }, L"abc", L"cba"},
    {"TitleCaseSeparators", [](auto t) { return TextFunctions::TitleCase(t); },
     L"hELLO wORLD-foo_bar.baz(qux)[x]{y}|z~w`v'u", L"Hello World-Foo_Bar.Baz(Qux)[X]{Y}|Z~W`V'U"},
    {"TitleCaseRunOfSeparators", [](auto t) { return TextFunctions::TitleCase(t); }, L"a -- b",
     L"A -- B"},
    {"TitleCaseDigitsAreNotSeparators", [](auto t) { return TextFunctions::TitleCase(t); },
     L"2nd take", L"2nd Take"},
    {"ReplaceInvalidPatternKeepsText", [](auto t) { return TextFunctions::Replace(t, L"[", L"x"); },
     L"a[b", L"a[b"},
    {"TrimmedNameLeadingSet", [](auto t) { return FileNamePieces::Trimmed(t); }, L"~_-name",
     L"name"},
    {"TrimmedNameKeepsLastOfSet", [](auto t) { return FileNamePieces::Trimmed(t); }, L"___", L"_"},
    {"TrimmedNameCounterPrefix", [](auto t) { return FileNamePieces::Trimmed(t); }, L"_{3}name",
     L"name"},
    {"TrimmedNameCounterAlone", [](auto t) { return FileNamePieces::Trimmed(t); }, L"{3}", L"{3}"},
};

INSTANTIATE_TEST_SUITE_P(Templates, TextFunction, ::testing::ValuesIn(kTextCases),
                         [](const auto& info) { return std::string(info.param.name); });

struct FolderCase {
  const char* name;
  std::wstring path;
  unsigned levels;
  std::wstring expected;
};

class FolderName : public ::testing::TestWithParam<FolderCase> {};

TEST_P(FolderName, PicksFolder) {
  EXPECT_EQ(FileNamePieces::FolderName(GetParam().path, GetParam().levels), GetParam().expected);
}

// Windows and POSIX paths side by side: both separators are understood everywhere.
const FolderCase kFolders[] = {
    {"WindowsParent", L"D:\\a\\b\\file", 0, L"b"},
    {"WindowsDrive", L"D:\\a\\b\\file", 2, L"D"},
    {"WindowsAboveRoot", L"D:\\a\\b\\file", 3, L""},
    {"WindowsFileAtRoot", L"D:\\file", 0, L"D"},
    {"PosixParent", L"/home/ann/file", 0, L"ann"},
    {"PosixRootHasNoName", L"/home/ann/file", 2, L""},
    {"PosixDoubleSeparator", L"/home//ann/file", 1, L"home"},
    {"UncShare", L"\\\\server\\share\\file", 0, L"share"},
    {"BareName", L"file", 0, L""},
    {"Relative", L"a/file", 0, L"a"},
};

INSTANTIATE_TEST_SUITE_P(Templates, FolderName, ::testing::ValuesIn(kFolders),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk

// {UserDefined:name}: value types, recursion, cycles, and the editing API.
#include "templates/user_variables.h"

#include <gtest/gtest.h>

#include "record_fixture.h"
#include "settings_fixture.h"
#include "templates/template_expander.h"

namespace lmk {
namespace {

RegValue S(const std::wstring& text) { return RegValue::String(text); }
RegValue E(const wchar_t* text) { return RegValue::ExpandString(text); }

struct UserCase {
  const char* name;
  std::vector<std::pair<std::wstring, RegValue>> variables;
  std::wstring templ;
  std::wstring expected;
};

class UserDefinedCase : public ::testing::TestWithParam<UserCase> {};

TEST_P(UserDefinedCase, Expands) {
  test::ScopedConfigDir config;
  setenv("LMK_TEST_PLACE", "Paris", 1);
  for (const auto& [name, value] : GetParam().variables) {
    ASSERT_EQ(UserVariables::Set(name, value), S_OK) << std::string(name.begin(), name.end());
  }
  ComPtr<IDictionary> record =
      test::MakeRecord({{L"File.PathNoExt", Variant::String(L"/p/IMG_7")}});
  std::wstring result;
  ASSERT_EQ(ExpandTemplate(record.Get(), GetParam().templ, &result), S_OK);
  EXPECT_EQ(result, GetParam().expected);
}

const UserCase kUserCases[] = {
    {"String", {{L"who", S(L"Ann")}}, L"{UserDefined:who}", L"Ann"},
    {"NameWithoutCase", {{L"Who", S(L"Ann")}}, L"{userdefined:WHO}", L"Ann"},
    {"Dword", {{L"n", RegValue::Dword(4000000000u)}}, L"{UserDefined:n}", L"4000000000"},
    {"Qword",
     {{L"q", RegValue::Qword(18446744073709551615ull)}},
     L"{UserDefined:q}",
     L"18446744073709551615"},
    {"ExpandPercent", {{L"e", E(L"in %LMK_TEST_PLACE%")}}, L"{UserDefined:e}", L"in Paris"},
    {"ExpandDollarForms",
     {{L"e", E(L"$LMK_TEST_PLACE/${LMK_TEST_PLACE}")}},
     L"{UserDefined:e}",
     L"Paris/Paris"},
    {"UnsetEnvironmentStays",
     {{L"e", E(L"%LMK_TEST_NOT_SET%")}},
     L"{UserDefined:e}",
     L"%LMK_TEST_NOT_SET%"},
    {"PlainStringNotExpanded",
     {{L"s", S(L"%LMK_TEST_PLACE%")}},
     L"{UserDefined:s}",
     L"%LMK_TEST_PLACE%"},
    {"ValueIsTemplate", {{L"t", S(L"{Upper{FileName}}")}}, L"{UserDefined:t}", L"IMG_7"},
    {"Chain", {{L"a", S(L"<{UserDefined:b}>")}, {L"b", S(L"B")}}, L"{UserDefined:a}", L"<B>"},
    {"Missing", {}, L"{UserDefined:none}", L"{UserDefined:none}"},
    {"EmptyStaysAsTyped", {{L"empty", S(L"")}}, L"{UserDefined:empty}", L"{UserDefined:empty}"},
    // A variable met again inside its own expansion stays as typed; the cycle ends there.
    {"SelfReference", {{L"a", S(L"x{UserDefined:a}")}}, L"{UserDefined:a}", L"x{UserDefined:a}"},
    {"MutualReference",
     {{L"a", S(L"x{UserDefined:b}")}, {L"b", S(L"y{UserDefined:A}")}},
     L"{UserDefined:a}",
     L"xy{UserDefined:A}"},
    {"SameVariableTwiceIsNoCycle", {{L"a", S(L"A")}}, L"{UserDefined:a}{UserDefined:a}", L"AA"},
};

INSTANTIATE_TEST_SUITE_P(Templates, UserDefinedCase, ::testing::ValuesIn(kUserCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(UserVariablesTest, LongChainStopsAtDepthLimit) {
  test::ScopedConfigDir config;
  // v0 -> v1 -> ... -> v19: no cycle, but deeper than variables may nest.
  for (int i = 0; i < 20; ++i) {
    std::wstring next = L"{UserDefined:v" + std::to_wstring(i + 1) + L"}";
    ASSERT_EQ(UserVariables::Set(L"v" + std::to_wstring(i), S(L"." + next)), S_OK);
  }
  std::wstring result;
  ASSERT_EQ(ExpandTemplate(nullptr, L"{UserDefined:v0}", &result), S_OK);
  EXPECT_EQ(result, L"........{UserDefined:v8}");
}

TEST(UserVariablesTest, ListGetSetUnset) {
  test::ScopedConfigDir config;
  std::vector<std::pair<std::wstring, RegValue>> listed;
  ASSERT_EQ(UserVariables::List(&listed), S_OK);
  EXPECT_TRUE(listed.empty());
  ASSERT_EQ(UserVariables::Set(L"b", RegValue::Dword(2)), S_OK);
  ASSERT_EQ(UserVariables::Set(L"a", S(L"one")), S_OK);
  ASSERT_EQ(UserVariables::List(&listed), S_OK);
  ASSERT_EQ(listed.size(), 2u);
  EXPECT_EQ(listed[0].first, L"a");
  EXPECT_EQ(listed[1].second, RegValue::Dword(2));
  RegValue value;
  ASSERT_EQ(UserVariables::Get(L"A", &value), S_OK);
  EXPECT_EQ(value.text, L"one");
  ASSERT_EQ(UserVariables::Unset(L"a"), S_OK);
  EXPECT_EQ(UserVariables::Get(L"a", &value), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(UserVariables::Unset(L"a"), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
}

struct BadSetCase {
  const char* name;
  std::wstring variable;
  RegValue value;
};

class RejectedSet : public ::testing::TestWithParam<BadSetCase> {};

TEST_P(RejectedSet, IsInvalidArgument) {
  test::ScopedConfigDir config;
  EXPECT_EQ(UserVariables::Set(GetParam().variable, GetParam().value), E_INVALIDARG);
}

const BadSetCase kBadSets[] = {
    {"EmptyName", L"", S(L"x")},
    {"BraceInName", L"a}b", S(L"x")},
    {"BinaryValue", L"bin", RegValue::Binary({1, 2})},
    {"TooLong", L"long", RegValue::String(std::wstring(2048, L'x'))},
};

INSTANTIATE_TEST_SUITE_P(Templates, RejectedSet, ::testing::ValuesIn(kBadSets),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk

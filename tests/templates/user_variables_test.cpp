// {UserDefined:name}: value types, recursion, cycles, and the editing API.
#include "templates/user_variables.h"

#include <gtest/gtest.h>

#include "record_fixture.h"
#include "settings_fixture.h"
#include "support/data_table.h"
#include "templates/template_expander.h"

namespace lmk {
namespace {

RegValue S(const std::wstring& text) { return RegValue::String(text); }

// "NAME=TYPE:VALUE" as a variable's name and value.
std::pair<std::wstring, RegValue> Variable(const std::string& text) {
  const auto equals = text.find('='), colon = text.find(':', equals);
  const std::wstring value = test::Wide(text.substr(colon + 1));
  const char type = text[equals + 1];
  return {test::Wide(text.substr(0, equals)),
          type == 'E'   ? RegValue::ExpandString(value)
          : type == 'D' ? RegValue::Dword(static_cast<DWORD>(std::stoul(text.substr(colon + 1))))
          : type == 'Q' ? RegValue::Qword(std::stoull(text.substr(colon + 1)))
                        : S(value)};
}

class UserDefinedCase : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: template, expected text, variables.
TEST_P(UserDefinedCase, Expands) {
  test::ScopedConfigDir config;
  setenv("LMK_TEST_PLACE", "Paris", 1);
  const test::CaseRow& c = GetParam();
  for (std::size_t i = 2; i < c.fields.size(); ++i) {
    const auto [name, value] = Variable(c[i]);
    ASSERT_EQ(UserVariables::Set(name, value), S_OK) << c[i];
  }
  ComPtr<IDictionary> record =
      test::MakeRecord({{L"File.PathNoExt", Variant::String(L"/p/IMG_7")}});
  std::wstring result;
  ASSERT_EQ(ExpandTemplate(record.Get(), test::Wide(c[0]), &result), S_OK);
  EXPECT_EQ(result, test::Wide(c[1]));
}

INSTANTIATE_TEST_SUITE_P(Templates, UserDefinedCase,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/user_variables.tsv")),
                         [](const auto& info) { return info.param.name; });

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

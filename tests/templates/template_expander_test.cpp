// Template expansion over records filled directly: scan rules, every variable family, context.
#include "templates/template_expander.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "record_fixture.h"
#include "support/data_table.h"
#include "support/temp_dir.h"
#include "templates/regex_cache.h"

namespace lmk {
namespace {

using test::Fields;
using test::MakeRecord;

// The record of tests/data/standard_record.txt, each value converted from its text.
Fields StandardFields() {
  const std::map<std::string, VARTYPE> types = {{"BSTR", VT_BSTR}, {"UI1", VT_UI1},  {"I2", VT_I2},
                                                {"UI2", VT_UI2},   {"UI4", VT_UI4},  {"I8", VT_I8},
                                                {"R4", VT_R4},     {"BOOL", VT_BOOL}};
  Fields fields;
  for (const test::DataRow& row : test::DataRows("standard_record.txt", "", 3)) {
    Variant value = Variant::String(test::Widen(row[2]));
    ThrowIfFailed(value.ChangeType(types.at(row[1])));
    fields.emplace_back(test::Widen(row[0]), std::move(value));
  }
  return fields;
}

struct Case {
  std::string name;
  std::wstring templ;
  std::wstring expected;
};

class ExpandCase : public ::testing::TestWithParam<Case> {};

TEST_P(ExpandCase, GivesExpectedText) {
  ComPtr<IDictionary> record = MakeRecord(StandardFields());
  std::wstring result = L"previous";
  ASSERT_EQ(ExpandTemplate(record.Get(), GetParam().templ, &result), S_OK);
  EXPECT_EQ(result, GetParam().expected);
}

std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (const test::DataRow& row : test::DataRows("template_expansions.txt", "", 3, '\t')) {
    cases.push_back({row[0], test::Widen(row[1]), test::Widen(row[2])});
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(Templates, ExpandCase, ::testing::ValuesIn(Cases()),
                         [](const auto& info) { return info.param.name; });

TEST(ExpandTemplateTest, NullArguments) {
  std::wstring result = L"kept";
  EXPECT_EQ(ExpandTemplate(nullptr, static_cast<const wchar_t*>(nullptr), &result), S_OK);
  EXPECT_EQ(result, L"kept");
  EXPECT_EQ(ExpandTemplate(nullptr, L"x", nullptr), E_INVALIDARG);
  // A null record reads as one without any value.
  ASSERT_EQ(ExpandTemplate(nullptr, L"{Width}|{CameraModel}|{FileName}", &result), S_OK);
  EXPECT_EQ(result, L"0||{FileName}");
}

TEST(ExpandTemplateTest, NameOverrideReplacesNameAndPath) {
  ComPtr<IDictionary> record =
      MakeRecord({{L"File.PathNoExt", Variant::String(L"/photos/day/IMG_1")}});
  TemplateContext context;
  context.set_name_override(L"new name");
  std::wstring result;
  ASSERT_EQ(ExpandTemplate(record.Get(), L"{FileName}|{RegEx*:(.*)}{1}", &result, &context), S_OK);
  EXPECT_EQ(result, L"new name|/photos/day/new name");
  context.set_name_override(L"/else/where");
  context.back_references().clear();
  ASSERT_EQ(ExpandTemplate(record.Get(), L"{RegEx*:(.*)}{1}", &result, &context), S_OK);
  EXPECT_EQ(result, L"/else/where");
}

TEST(ExpandTemplateTest, NowIsSharedAndTakenOnce) {
  TemplateContext context;
  std::wstring a, b;
  ASSERT_EQ(ExpandTemplate(nullptr, L"{NowUtc:12}", &a, &context), S_OK);
  int64_t taken = context.now();
  EXPECT_NE(taken, 0);
  ASSERT_EQ(ExpandTemplate(nullptr, L"{NowUtc:12}", &b, &context), S_OK);
  EXPECT_EQ(a, b);
  EXPECT_EQ(context.now(), taken);
  context.set_now(test::kMarch7);
  ASSERT_EQ(ExpandTemplate(nullptr, L"{NowUtc:19} {NowUtc:12}", &a, &context), S_OK);
  EXPECT_EQ(a, L"2024-03-07 140509123");
}

TEST(ExpandTemplateTest, DateTakenFallsBackToLastWrite) {
  ComPtr<IDictionary> record = MakeRecord({{L"File.LastWriteTimeFT", Variant::I8(test::kMarch7)},
                                           {L"Meta.DateTakenFT", Variant::I8(0)}});
  std::wstring result;
  ASSERT_EQ(ExpandTemplate(record.Get(), L"{DateTakenUtc:6}", &result), S_OK);
  EXPECT_EQ(result, L"20240307");
}

TEST(ExpandTemplateTest, ResultGrowsPastItsFirstBuffer) {
  std::wstring templ(40000, L'a');
  std::wstring result;
  ASSERT_EQ(ExpandTemplate(nullptr, templ + L"{Width}", &result), S_OK);
  EXPECT_EQ(result, templ + L"0");
}

TEST(ExpandTemplateTest, DeepNestingEndsWithoutCrash) {
  std::wstring templ;
  for (int i = 0; i < 5000; ++i) templ += L"{Upper";
  templ += L"{FileExtensions}";
  for (int i = 0; i < 5000; ++i) templ += L"}";
  ComPtr<IDictionary> record = MakeRecord({{L"File.Extensions", Variant::String(L"jpg")}});
  std::wstring result;
  ASSERT_EQ(ExpandTemplate(record.Get(), templ, &result), S_OK);
  EXPECT_FALSE(result.empty());
}

TEST(ExpandTemplateTest, FileHashReadsTheFile) {
  test::ScopedTempDir dir;
  std::filesystem::path file = dir / "abc.txt";
  std::ofstream(file) << "abc";
  ComPtr<IDictionary> record = MakeRecord({{L"File.Name", Variant::String(file.wstring())}});
  std::wstring result;
  ASSERT_EQ(ExpandTemplate(record.Get(), L"{FileHash}|{FileHash:1}", &result), S_OK);
  EXPECT_EQ(result, L"900150983cd24fb0d6963f7d28e17f72|a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(ExpandTemplateTest, PatternCompiledOncePerThread) {
  ComPtr<IDictionary> record = MakeRecord({{L"File.PathNoExt", Variant::String(L"a_b")}});
  std::wstring result;
  ASSERT_EQ(ExpandTemplate(record.Get(), L"{Replace{FileName},\"_q_\",\"-\"}", &result), S_OK);
  size_t compiled = RegexCache::CompiledCount();
  for (int i = 0; i < 20; ++i) {
    ASSERT_EQ(ExpandTemplate(record.Get(), L"{Replace{FileName},\"_q_\",\"-\"}", &result), S_OK);
  }
  EXPECT_EQ(RegexCache::CompiledCount(), compiled);
}

class ExpandVariableCase : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: text, characters consumed, value.
TEST_P(ExpandVariableCase, ReportsConsumedLength) {
  ComPtr<IDictionary> record = MakeRecord(StandardFields());
  std::wstring value = L"old";
  size_t consumed = 99;
  ASSERT_EQ(ExpandVariable(&value, record.Get(), test::Wide(GetParam()[0]), &consumed), S_OK);
  EXPECT_EQ(consumed, std::stoul(GetParam()[1]));
  EXPECT_EQ(value, test::Wide(GetParam()[2]));
}

INSTANTIATE_TEST_SUITE_P(Templates, ExpandVariableCase,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/template_variables.tsv")),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk

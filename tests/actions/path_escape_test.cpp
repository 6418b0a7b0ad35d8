// Names and folders made from templates stay where the template puts them: a picture's values
// never add, remove or climb a folder, names are never hidden and hold only portable
// characters. POSIX and Windows expectations side by side.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "actions/action_fixture.h"
#include "actions/action_path.h"
#include "actions/transfer_destination.h"
#include "support/data_table.h"

namespace lmk {
namespace {

using test::Wide;

// The rows of tests/data/cases/path_escapes.tsv of one table, without the table's field.
std::vector<test::CaseRow> Rows(const std::string& table) {
  std::vector<test::CaseRow> rows;
  for (test::CaseRow& row : test::ReadCaseTable("cases/path_escapes.tsv")) {
    if (row[0] != table) continue;
    row.fields.erase(row.fields.begin());
    rows.push_back(std::move(row));
  }
  return rows;
}

const auto kName = [](const auto& i) { return i.param.name; };

class SafeFolderTest : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: style, expanded destination, resolved folder.
TEST_P(SafeFolderTest, StaysInTheTemplatesFolders) {
  const test::CaseRow& c = GetParam();
  const bool windows = c[0] == "windows";
  const PathStyle style = windows ? PathStyle::Windows : PathStyle::Posix;
  EXPECT_EQ(
      ResolveDestinationFolder(SafeFolderPath(Wide(c[1]), style), windows ? L"C:\\p\\a" : L"/p/a",
                               windows ? L"C:\\p" : L"/p", style),
      Wide(c[2]));
}

INSTANTIATE_TEST_SUITE_P(Paths, SafeFolderTest, ::testing::ValuesIn(Rows("folder")), kName);

class ConfinedValueTest : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: camera model, template, folder expansion, name expansion.
TEST_P(ConfinedValueTest, ValueStaysInOneName) {
  const test::CaseRow& c = GetParam();
  ComPtr<IDictionary> record = test::MakeImageRecord(L"/p/a/img.jpg", L"/p");
  Bstr key(L"Meta.CameraModel");
  ASSERT_EQ(record->put_Value(key.get(), Variant::String(Wide(c[0])).ref()), S_OK);
  TemplateContext context;
  std::wstring folder;
  std::wstring file;
  ASSERT_EQ(ExpandFolderTemplate(record.Get(), Wide(c[1]), context, &folder), S_OK);
  TemplateContext nameContext;
  ASSERT_EQ(ExpandNameTemplate(record.Get(), Wide(c[1]), nameContext, &file), S_OK);
  EXPECT_EQ(folder, Wide(c[2]));
  EXPECT_EQ(file, Wide(c[3]));
}

INSTANTIATE_TEST_SUITE_P(Values, ConfinedValueTest, ::testing::ValuesIn(Rows("value")), kName);

}  // namespace
}  // namespace lmk

// The file actions as rule elements: their named parameters, validity reasons, description
// sentences, and the user's store of renaming templates.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "actions/action_registration.h"
#include "actions/move_action.h"
#include "actions/rename_action.h"
#include "actions/renaming_template_store.h"
#include "platform/text_encoding.h"
#include "rules/rule_set_error.h"
#include "support/data_table.h"
#include "support/named_params.h"
#include "templates/settings_fixture.h"

namespace lmk {
namespace {

CElementRegistry& Registry() {
  static CElementRegistry registry = [] {
    CElementRegistry r(CElementRegistry::Product());
    RegisterActions(r);
    return r;
  }();
  return registry;
}

class ActionParametersTest : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: key, parameters, "refused" or the flags, the sentence.
TEST_P(ActionParametersTest, LoadAndSaveBack) {
  const test::CaseRow& c = GetParam();
  const auto element = Registry().Create(test::Wide(c[0]));
  ASSERT_TRUE(element && element->IsKey(test::Wide(c[0])));
  if (c[2] == "refused") {
    EXPECT_THROW(test::LoadNamed(*element, test::ParamsOf(c[1])), CRuleSetError);
    return;
  }
  test::LoadNamed(*element, test::ParamsOf(c[1]));
  if (!c[2].empty()) EXPECT_EQ(element->Flags(), std::stoul(c[2], nullptr, 16));
  if (c.fields.size() > 3) EXPECT_EQ(element->Description(), test::Wide(c[3]));
  const auto again = Registry().Create(test::Wide(c[0]));
  test::LoadNamed(*again, element->NamedParameters());
  EXPECT_EQ(again->Flags(), element->Flags());
  EXPECT_EQ(again->Description(), element->Description());
}

INSTANTIATE_TEST_SUITE_P(Forms, ActionParametersTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/action_parameters.tsv")),
                         [](const auto& i) { return i.param.name; });

class TransferValidityTest : public ::testing::TestWithParam<test::CaseRow> {
 protected:
  test::ScopedConfigDir config_;
};

// Fields: destination, rename template, valid or invalid, how the reason begins.
TEST_P(TransferValidityTest, SaysWhatIsWrong) {
  const test::CaseRow& c = GetParam();
  CMoveAction move;
  move.SetDestination(test::Wide(c[0]));
  move.SetRenameTemplate(test::Wide(c[1]));
  std::wstring reason;
  EXPECT_EQ(move.IsValid(&reason), c[2] == "valid");
  EXPECT_EQ(reason.substr(0, c[3].size()), test::Wide(c[3]));
}

INSTANTIATE_TEST_SUITE_P(Parameters, TransferValidityTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/transfer_validity.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST(RenameValidityTest, NeedsATemplate) {
  CRenameAction rename;
  std::wstring reason;
  EXPECT_FALSE(rename.IsValid(&reason));
  EXPECT_EQ(reason.rfind(L"template: the renaming template is missing", 0), 0u);
  rename.SetTemplate(L"{FileName}");
  EXPECT_TRUE(rename.IsValid(&reason));
}

class TemplateStoreTest : public ::testing::Test {
 protected:
  test::ScopedConfigDir config_;
  CRenamingTemplateStore store_;
};

TEST_F(TemplateStoreTest, SetListFindUnset) {
  ASSERT_EQ(store_.Set(L"Dated", L"{DateTaken:6}_{FileName}"), S_OK);
  ASSERT_EQ(store_.Set(L"archive", L"A_{FileName}"), S_OK);
  NamedTemplates all;
  ASSERT_EQ(store_.List(&all), S_OK);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all.begin()->first, L"archive");
  std::wstring text;
  EXPECT_EQ(store_.Find(L"DATED", &text), S_OK);
  EXPECT_EQ(text, L"{DateTaken:6}_{FileName}");
  EXPECT_EQ(store_.Unset(L"dated"), S_OK);
  EXPECT_EQ(store_.Find(L"Dated", &text), S_FALSE);
  EXPECT_EQ(store_.Unset(L"Dated"), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
}

TEST_F(TemplateStoreTest, RefusesNamesTheStoreCannotHold) {
  for (const wchar_t* name : {L"", L"a\\b", L"   ", L"tab\there"}) {
    EXPECT_EQ(store_.Set(name, L"x"), E_INVALIDARG) << ToUtf8(name);
    EXPECT_FALSE(TakeErrorDescription().empty());
  }
}

}  // namespace
}  // namespace lmk

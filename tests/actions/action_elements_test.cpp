// The file actions as rule elements: their named parameters, binary fields with the version
// byte, validity reasons, description sentences and registration.
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "actions/action_registration.h"
#include "actions/copy_action.h"
#include "actions/delete_action.h"
#include "actions/link_action.h"
#include "actions/move_action.h"
#include "actions/rename_action.h"
#include "actions/renaming_template_store.h"
#include "platform/text_encoding.h"
#include "rules/rule_set_error.h"
#include "rules/rule_stream_reader.h"
#include "rules/rule_stream_writer.h"
#include "templates/settings_fixture.h"

namespace lmk {
namespace {

NamedParam Param(std::wstring name, std::wstring text) {
  NamedParam param;
  param.name = std::move(name);
  param.value.text = std::move(text);
  return param;
}

NamedParam ListParam(std::wstring name, std::vector<std::wstring> items) {
  NamedParam param;
  param.name = std::move(name);
  param.value.isList = true;
  param.value.items = std::move(items);
  return param;
}

void Load(CRuleElement& element, std::vector<NamedParam> params) {
  CParamArchive archive = CParamArchive::ForLoad(std::move(params));
  element.ExchangeNamedParameters(archive);
  archive.Finish();
}

TEST(TransferParametersTest, LoadFromNamedParameters) {
  CCopyAction copy;
  Load(copy, {Param(L"destination", L"Best/{DateTaken:Year}"), Param(L"overwrite", L"true"),
              Param(L"verify", L"true"), Param(L"preserve-hierarchy", L"true"),
              Param(L"rename", L"{FileName}_x"), ListParam(L"companions", {L"wav"}),
              Param(L"on-failure", L"skip-rules")});
  EXPECT_EQ(copy.Destination(), L"Best/{DateTaken:Year}");
  EXPECT_EQ(copy.RenameTemplate(), L"{FileName}_x");
  EXPECT_EQ(copy.Flags(), kTransferOverwrite | kTransferVerify | kTransferPreserveHierarchy |
                              kCompanionWav | 0x2000000u);
  EXPECT_EQ(copy.Description(),
            L"Copy the image to \"Best/{DateTaken:Year}\", renamed using \"{FileName}_x\", "
            L"preserving the folder hierarchy, overwriting existing files, with its WAV sidecar, "
            L"checking the copy's integrity.");
}

TEST(TransferParametersTest, LinkHasNoVerify) {
  CLinkAction link;
  EXPECT_THROW(Load(link, {Param(L"verify", L"true")}), CRuleSetError);
}

TEST(TransferParametersTest, UnknownCompanionWordIsRefused) {
  CMoveAction move;
  EXPECT_THROW(Load(move, {ListParam(L"companions", {L"jpg"})}), CRuleSetError);
}

// Saving the named parameters and loading them into a new element gives the same element.
template <class T>
void ExpectNamedRoundTrip(T& original) {
  T copy;
  Load(copy, original.NamedParameters());
  EXPECT_EQ(copy.Flags(), original.Flags());
  EXPECT_EQ(copy.Description(), original.Description());
}

TEST(ActionParametersTest, NamedRoundTrip) {
  CMoveAction move;
  move.SetDestination(L"...\\Keep");
  move.SetRenameTemplate(L"Dated");
  move.SetOption(kTransferOverwrite, true);
  ExpectNamedRoundTrip(move);
  CRenameAction rename;
  rename.SetTemplate(L"{Upper{FileName}}");
  rename.SetOption(kCompanionWav, false);
  ExpectNamedRoundTrip(rename);
  CDeleteAction remove;
  remove.SetOption(kDeleteToTrash, false);
  remove.SetOption(kDeleteEmptyFolders, true);
  ExpectNamedRoundTrip(remove);
}

TEST(ActionParametersTest, BinaryRoundTripWithVersionByte) {
  CCopyAction original;
  original.SetDestination(L"D/\u00e9t\u00e9");
  original.SetRenameTemplate(L"name");
  original.SetOption(kTransferVerify, true);
  CRuleStreamWriter writer;
  original.Save(writer);
  CRuleStreamReader reader(writer.bytes());
  CCopyAction loaded;
  loaded.Load(reader);
  EXPECT_EQ(loaded.Destination(), original.Destination());
  EXPECT_EQ(loaded.RenameTemplate(), L"name");
  EXPECT_EQ(loaded.Flags(), original.Flags());

  // A version byte from a newer program is refused rather than misread.
  std::vector<std::byte> bytes = writer.bytes();
  bytes[4] = std::byte{2};
  CRuleStreamReader newer(bytes);
  CCopyAction refused;
  EXPECT_THROW(refused.Load(newer), CRuleSetError);
}

struct ValidityCase {
  std::string name;
  std::wstring destination;
  std::wstring rename;
  bool valid;
  std::wstring reasonStart;
};

class TransferValidityTest : public ::testing::TestWithParam<ValidityCase> {
 protected:
  test::ScopedConfigDir config_;
};

TEST_P(TransferValidityTest, SaysWhatIsWrong) {
  const ValidityCase& c = GetParam();
  CMoveAction move;
  move.SetDestination(c.destination);
  move.SetRenameTemplate(c.rename);
  std::wstring reason;
  EXPECT_EQ(move.IsValid(&reason), c.valid);
  EXPECT_EQ(reason.substr(0, c.reasonStart.size()), c.reasonStart);
}

INSTANTIATE_TEST_SUITE_P(
    Parameters, TransferValidityTest,
    ::testing::Values(ValidityCase{"Complete", L"Out/{DateTaken:Year}", L"", true, L""},
                      ValidityCase{"NoDestination", L"  ", L"", false,
                                   L"destination: the destination folder is missing"},
                      ValidityCase{"UnclosedBrace", L"Out/{DateTaken:Year", L"", false,
                                   L"destination: the '{' at character 5 has no closing '}'"},
                      ValidityCase{"LiteralBraces", L"Out/{{x}}", L"", true, L""},
                      ValidityCase{"InlineRename", L"Out", L"{FileName}_1", true, L""},
                      ValidityCase{"UnknownTemplateName", L"Out", L"Holiday", false,
                                   L"rename: There is no renaming template named 'Holiday'."}),
    [](const auto& i) { return i.param.name; });

TEST(RenameValidityTest, NeedsATemplate) {
  CRenameAction rename;
  std::wstring reason;
  EXPECT_FALSE(rename.IsValid(&reason));
  EXPECT_EQ(reason.rfind(L"template: the renaming template is missing", 0), 0u);
  rename.SetTemplate(L"{FileName}");
  EXPECT_TRUE(rename.IsValid(&reason));
}

TEST(ActionRegistrationTest, CreatesEveryFileAction) {
  CElementRegistry registry(CElementRegistry::Product());
  RegisterActions(registry);
  for (const wchar_t* key :
       {L"Action.Copy", L"Action.Move", L"Action.Link", L"Action.Rename", L"Action.Delete"}) {
    const std::shared_ptr<CRuleElement> element = registry.Create(key);
    ASSERT_NE(element, nullptr);
    EXPECT_TRUE(element->IsKey(key));
  }
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

TEST_F(TemplateStoreTest, RuleSetTemplatesComeFirstWhileInUse) {
  ASSERT_EQ(store_.Set(L"Dated", L"user"), S_OK);
  std::wstring text;
  {
    RuleSetTemplatesScope scope(NamedTemplates{{L"dated", L"rule set"}});
    EXPECT_EQ(store_.Find(L"Dated", &text), S_OK);
    EXPECT_EQ(text, L"rule set");
  }
  EXPECT_EQ(store_.Find(L"Dated", &text), S_OK);
  EXPECT_EQ(text, L"user");
}

TEST_F(TemplateStoreTest, RefusesNamesTheStoreCannotHold) {
  for (const wchar_t* name : {L"", L"a\\b", L"   ", L"tab\there"}) {
    EXPECT_EQ(store_.Set(name, L"x"), E_INVALIDARG) << ToUtf8(name);
    EXPECT_FALSE(TakeErrorDescription().empty());
  }
}

}  // namespace
}  // namespace lmk

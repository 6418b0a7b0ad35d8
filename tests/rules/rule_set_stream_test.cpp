// The binary rule-set stream: its layout, YAML and binary twins, IStream use, and damaged data
// refused with an error instead of a crash or a huge allocation.
#include "rules/rule_set_stream.h"

#include <gtest/gtest.h>

#include <sstream>

#include "com/com_error.h"
#include "com/com_ptr.h"
#include "rules/rule_engine.h"
#include "rules/rule_set_error.h"
#include "rules/rule_set_yaml.h"
#include "support/data_table.h"
#include "support/fake_elements.h"

namespace lmk {
namespace {

using Bytes = std::vector<std::byte>;

/// One rule "r": condition FakeA, no exceptions, action FakeB.
std::vector<std::shared_ptr<CRule>> SmallRuleSet() {
  auto rule = std::make_shared<CRule>(L"r");
  rule->AddCondition(std::make_shared<test::CFakeCondition>(test::FakeConditionKind(0)));
  rule->AddAction(std::make_shared<test::CFakeAction>(test::FakeActionKind(1)));
  return {rule};
}

// Offsets in SmallRuleSet's stream.
constexpr std::size_t kNameLengthAt = 12;
constexpr std::size_t kKeyAt = 25;

void PutU32(Bytes& bytes, std::size_t at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::byte>(value >> (8 * i));
}

TEST(RuleSetStreamTest, TextsBeyondTheBasicPlaneTakeTwoUnits) {
  auto rule = std::make_shared<CRule>(std::wstring(L"a") + static_cast<wchar_t>(0x1F600));
  const Bytes bytes = RuleSetToBytes(std::vector{rule});
  EXPECT_EQ(std::to_integer<int>(bytes[kNameLengthAt]), 3);
  const auto registry = test::MakeFakeRegistry(false);
  EXPECT_EQ(RuleSetFromBytes(bytes, *registry)[0]->Name(), rule->Name());
}

TEST(RuleSetStreamTest, YamlFileAndBinaryTwinLoadToTheSameRuleSet) {
  const auto registry = test::MakeFakeRegistry(false);
  auto rule = std::make_shared<CRule>(L"Sort");
  rule->SetConditionMode(kModeAny);
  rule->SetExceptionMode(kModeAll);
  auto rich = std::make_shared<test::CFakeRichCondition>();
  rich->sizeBytes = 1536;
  rich->sizeUnit = 1;
  rich->SetFlags(0x400000);
  rule->AddCondition(rich);
  rule->AddCondition(std::make_shared<test::CFakeCondition>(test::FakeConditionKind(2), S_FALSE));
  rule->AddException(std::make_shared<test::CFakeCondition>(test::FakeConditionKind(0)));
  auto action = std::make_shared<test::CFakeAction>(test::FakeActionKind(0));
  action->SetOnFailure(CActionErrorMode::SkipActions);
  rule->AddAction(action);
  auto unchecked = std::make_shared<CRule>(L"Off");
  unchecked->SetChecked(false);
  const std::vector<std::shared_ptr<CRule>> rules = {rule, unchecked};

  const Bytes binary = RuleSetToBytes(rules);
  const auto fromYaml = ParseRuleSetYaml(RuleSetToYaml(rules), L"twin.yaml", *registry);
  const auto fromBinary = RuleSetFromBytes(binary, *registry);
  EXPECT_EQ(RuleSetToBytes(fromYaml), binary);
  EXPECT_EQ(RuleSetToBytes(fromBinary), binary);
  EXPECT_EQ(RuleSetToYaml(fromBinary), RuleSetToYaml(fromYaml));
}

TEST(RuleSetStreamTest, OlderElementVersionsStillLoad) {
  const auto registry = test::MakeFakeRegistry(false);
  auto rule = std::make_shared<CRule>(L"r");
  auto rich = std::make_shared<test::CFakeRichCondition>();
  rich->enabled = false;
  rule->AddCondition(rich);
  Bytes bytes = RuleSetToBytes(std::vector{rule});
  // Turn the version-2 block into a version-1 one: its last field (the switch) goes.
  const std::size_t versionAt =
      kKeyAt + 4 + 2 * std::wstring_view(L"Condition.FakeRich").size() + 4;
  ASSERT_EQ(std::to_integer<int>(bytes[versionAt]), 2);
  bytes[versionAt] = std::byte{1};
  bytes.erase(bytes.end() - 1 - 8, bytes.end() - 8);  // the switch precedes the two empty lists
  const auto loaded = RuleSetFromBytes(bytes, *registry);
  const auto& again = dynamic_cast<const test::CFakeRichCondition&>(*loaded[0]->Conditions()[0]);
  EXPECT_TRUE(again.enabled);
}

// "byte AT VALUE", "u32 AT VALUE", "or AT VALUE" or "append VALUE" done to bytes.
void Damage(Bytes& bytes, const std::string& how) {
  std::istringstream words(how);
  std::string op, at, value;
  words >> op >> at >> value;
  if (op == "append") return bytes.push_back(static_cast<std::byte>(std::stoul(at, nullptr, 0)));
  const std::size_t i = std::stoul(at);
  const auto v = static_cast<std::uint32_t>(std::stoul(value, nullptr, 0));
  if (op == "u32") return PutU32(bytes, i, v);
  bytes[i] = static_cast<std::byte>(op == "or" ? std::to_integer<std::uint32_t>(bytes[i]) | v : v);
}

class DamagedStreamTest : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(DamagedStreamTest, IsRefusedWithItsFault) {
  const auto registry = test::MakeFakeRegistry(false);
  Bytes bytes = RuleSetToBytes(SmallRuleSet());
  Damage(bytes, GetParam()[0]);
  try {
    RuleSetFromBytes(bytes, *registry);
    FAIL() << "accepted";
  } catch (const CRuleSetError& error) {
    EXPECT_NE(error.message().find(test::Wide(GetParam()[1])), std::wstring::npos) << error.what();
    EXPECT_TRUE(error.hasByteOffset());
    EXPECT_LE(error.byteOffset(), bytes.size());
  }
}

INSTANTIATE_TEST_SUITE_P(Damage, DamagedStreamTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/rule_set_damage.tsv")),
                         [](const auto& i) { return i.param.name; });

TEST(RuleSetStreamTest, EveryTruncationIsRefused) {
  const auto registry = test::MakeFakeRegistry(false);
  const auto rules = ParseRuleSetYaml(
      "rules:\n"
      "  - name: r\n"
      "    conditions: [ Condition.FakeRich, Condition.FakeA ]\n"
      "    exceptions: [ Exception.FakeB ]\n"
      "    actions: [ Action.FakeA ]\n",
      L"t.yaml", *registry);
  const Bytes bytes = RuleSetToBytes(rules);
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    SCOPED_TRACE(size);
    EXPECT_THROW(RuleSetFromBytes(std::span(bytes.data(), size), *registry), CRuleSetError);
  }
  EXPECT_EQ(RuleSetFromBytes(bytes, *registry).size(), 1u);
}

ComPtr<IStream> MemoryStream(const Bytes& bytes = {}) {
  ComPtr<IStream> stream;
  stream.Attach(SHCreateMemStream(reinterpret_cast<const BYTE*>(bytes.data()),
                                  static_cast<UINT>(bytes.size())));
  return stream;
}

void Rewind(IStream* stream) {
  LARGE_INTEGER zero{};
  ASSERT_EQ(stream->Seek(zero, STREAM_SEEK_SET, nullptr), S_OK);
}

TEST(RuleSetStreamTest, StreamClaimingALongTextEndsAsTruncatedNotAsAHugeAllocation) {
  // A stream has no size to check a length against: the text is read slice by slice.
  const auto registry = test::MakeFakeRegistry(false);
  Bytes bytes = RuleSetToBytes(SmallRuleSet());
  PutU32(bytes, kNameLengthAt, CRuleStreamReader::kMaxTextUnits);
  const ComPtr<IStream> stream = MemoryStream(bytes);
  try {
    LoadRuleSet(stream.Get(), *registry);
    FAIL() << "accepted";
  } catch (const CRuleSetError& error) {
    EXPECT_EQ(error.Text(),
              L"at byte 16: the rule set is damaged: it ends in the middle of a text");
  }
}

TEST(RuleSetStreamTest, EngineRefusesADamagedStreamAndKeepsItsRules) {
  const auto registry = test::MakeFakeRegistry(false);
  CRuleEngine engine(*registry);
  engine.Add(std::make_shared<CRule>(L"kept"));
  Bytes bytes = RuleSetToBytes(SmallRuleSet());
  PutU32(bytes, kNameLengthAt, 0x7FFFFFFF);
  const ComPtr<IStream> stream = MemoryStream(bytes);
  EXPECT_EQ(engine.Load(stream.Get()), HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
  EXPECT_EQ(TakeErrorDescription(),
            L"at byte 12: the rule set is damaged: a text of 2147483647 characters is longer "
            L"than allowed");
  ASSERT_EQ(engine.Count(), 1u);
  EXPECT_EQ(engine.At(0)->Name(), L"kept");
  EXPECT_EQ(engine.Load(nullptr), E_INVALIDARG);

  const ComPtr<IStream> good = MemoryStream();
  CRuleEngine source(*registry);
  for (auto& rule : SmallRuleSet()) source.Add(rule);
  ASSERT_EQ(source.Save(good.Get()), S_OK);
  Rewind(good.Get());
  ASSERT_EQ(engine.Load(good.Get()), S_OK);
  EXPECT_EQ(RuleSetToBytes(engine.Rules()), RuleSetToBytes(source.Rules()));
}

}  // namespace
}  // namespace lmk

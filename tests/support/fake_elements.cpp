// Rule elements for tests.
#include "support/fake_elements.h"

#include <stdexcept>

#include "com/com_error.h"

namespace lmk::test {
namespace {

constexpr ElementKind kConditionKinds[] = {
    {ElementFamily::Condition, L"FakeA", L"CFakeCondition", L"Condition:FakeA"},
    {ElementFamily::Condition, L"FakeB", L"CFakeCondition", L"Condition:FakeB"},
    {ElementFamily::Condition, L"FakeC", L"CFakeCondition", L"Condition:FakeC"},
};
constexpr ElementKind kRichKind = {ElementFamily::Condition, L"FakeRich", L"CFakeRichCondition",
                                   L"Condition:FakeRich"};
constexpr ElementKind kActionKinds[] = {
    {ElementFamily::Action, L"FakeA", L"CFakeAction", L"Action:FakeA"},
    {ElementFamily::Action, L"FakeB", L"CFakeAction", L"Action:FakeB"},
    {ElementFamily::Action, L"FakeC", L"CFakeAction", L""},
};

constexpr std::uint32_t kAnswerHolds = 0;
constexpr std::uint32_t kAnswerNot = 1;
constexpr std::uint32_t kAnswerFails = 2;
constexpr std::uint32_t kAnswerThrows = 3;
constexpr ParamWord kAnswerWords[] = {{L"holds", kAnswerHolds},
                                      {L"does-not-hold", kAnswerNot},
                                      {L"fails", kAnswerFails},
                                      {L"throws", kAnswerThrows}};

constexpr ParamWord kResultWords[] = {{L"done", static_cast<std::uint32_t>(S_OK)},
                                      {L"nothing", static_cast<std::uint32_t>(S_FALSE)},
                                      {L"fails", static_cast<std::uint32_t>(E_FAIL)},
                                      {L"aborts", static_cast<std::uint32_t>(E_ABORT)}};

constexpr ParamWord kModeWords[] = {{L"first", 0}, {L"second", 1}, {L"third", 2}, {L"2nd", 1}};
constexpr ParamWord kPartWords[] = {{L"latitude", 0x1}, {L"longitude", 0x2}, {L"altitude", 0x4}};
constexpr ParamUnit kDistanceUnits[] = {{L"m", 1}, {L"km", 1000}, {L"mi", 1609.344, L"miles"}};

}  // namespace

const ElementKind& FakeConditionKind(int index) { return kConditionKinds[index]; }
const ElementKind& FakeRichConditionKind() { return kRichKind; }
const ElementKind& FakeActionKind(int index) { return kActionKinds[index]; }

void AddFakeKinds(CElementRegistry& registry) {
  for (const ElementKind& kind : kConditionKinds) {
    registry.AddKind(kind, [&kind] { return std::make_shared<CFakeCondition>(kind); });
  }
  registry.AddKind(kRichKind, [] { return std::make_shared<CFakeRichCondition>(); });
  for (const ElementKind& kind : kActionKinds) {
    registry.AddKind(kind, [&kind] { return std::make_shared<CFakeAction>(kind); });
  }
}

std::unique_ptr<CElementRegistry> MakeFakeRegistry(bool withProductKinds) {
  auto registry = withProductKinds ? std::make_unique<CElementRegistry>(CElementRegistry::Product())
                                   : std::make_unique<CElementRegistry>();
  AddFakeKinds(*registry);
  return registry;
}

CFakeCondition::CFakeCondition(const ElementKind& kind, HRESULT answer)
    : CCondition(kind), answer_(answer) {}

HRESULT CFakeCondition::Evaluate(IDictionary* /*record*/) const {
  ++calls_;
  if (throws_) throw std::runtime_error("fake condition throws");
  return answer_;
}

bool CFakeCondition::IsValid(std::wstring* reason) const {
  if (!valid_ && reason) *reason = L"the fake is set to be invalid";
  return valid_;
}

void CFakeCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  std::int32_t answer = answer_;
  archive.I32(answer);
  answer_ = answer;
  archive.Bool(throws_);
  archive.Bool(valid_);
}

void CFakeCondition::ExchangeParameters(CParamArchive& archive) {
  std::uint32_t answer = throws_              ? kAnswerThrows
                         : answer_ == S_OK    ? kAnswerHolds
                         : answer_ == S_FALSE ? kAnswerNot
                                              : kAnswerFails;
  std::int64_t code = answer == kAnswerFails ? answer_ : E_FAIL;
  archive.Choice(L"answer", answer, kAnswerWords);
  archive.Integer(L"code", code, INT32_MIN, -1);
  archive.Bool(L"valid", valid_);
  throws_ = answer == kAnswerThrows;
  answer_ = answer == kAnswerHolds ? S_OK
            : answer == kAnswerNot ? S_FALSE
                                   : static_cast<HRESULT>(code);
}

CFakeRichCondition::CFakeRichCondition() : CCondition(kRichKind) {
  // 2024-02-29T13:45:30 and 22:05:00, as FILETIME counts.
  date = 133'536'879'300'000'000;
  time = (22 * 3600 + 5 * 60) * kTicksPerSecond;
}

HRESULT CFakeRichCondition::Evaluate(IDictionary* /*record*/) const {
  return enabled ? S_OK : S_FALSE;
}

void CFakeRichCondition::ExchangeFields(CFieldArchive& archive, BYTE version) {
  archive.Text(text);
  archive.I32(count);
  archive.F64(ratio);
  archive.U32(mode);
  auto op = static_cast<std::uint8_t>(compare);
  archive.U8(op);
  compare = static_cast<CompareOp>(op);
  archive.I64(date);
  archive.I64(time);
  archive.F64(distance);
  archive.U32(distanceUnit);
  archive.U64(sizeBytes);
  archive.U32(sizeUnit);
  archive.F64(place.latitude);
  archive.F64(place.longitude);
  archive.U32(parts);
  // Version 2 added the switch; version 1 data loads with it on.
  if (version >= 2) {
    archive.Bool(enabled);
  } else {
    enabled = true;
  }
}

void CFakeRichCondition::ExchangeParameters(CParamArchive& archive) {
  archive.Text(L"text", text);
  archive.Integer(L"count", count, -1000, 1000);
  archive.Number(L"ratio", ratio, 0, 1);
  archive.Choice(L"mode", mode, kModeWords);
  archive.Comparison(L"compare", compare, true);
  archive.Date(L"date", date);
  archive.TimeOfDay(L"time", time);
  archive.Quantity(L"distance", distance, distanceUnit, kDistanceUnits);
  archive.Size(L"size", sizeBytes, sizeUnit);
  archive.Place(L"place", place);
  archive.FlagSet(L"parts", parts, kPartWords);
  archive.Bool(L"enabled", enabled);
  std::uint32_t flags = Flags();
  archive.FlagBit(L"use-gps-time", flags, 0x400000);
  SetFlags(flags);
}

CFakeAction::CFakeAction(const ElementKind& kind) : CAction(kind) {}

void CFakeAction::Program(std::vector<HRESULT> results) {
  std::lock_guard lock(mutex_);
  results_ = results.empty() ? std::vector<HRESULT>{S_OK} : std::move(results);
}

HRESULT CFakeAction::Execute(IDictionary* /*record*/) const {
  const int call = calls_++;
  HRESULT hr;
  {
    std::lock_guard lock(mutex_);
    hr = results_[std::min<std::size_t>(static_cast<std::size_t>(call), results_.size() - 1)];
  }
  if (FAILED(hr) && hr != E_ABORT) SetErrorDescription(L"fake failure " + std::to_wstring(call));
  return hr;
}

void CFakeAction::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  std::int32_t first = results_.front();
  archive.I32(first);
  if (archive.IsLoading()) results_ = {first};
}

void CFakeAction::ExchangeParameters(CParamArchive& archive) {
  auto result = static_cast<std::uint32_t>(results_.front());
  archive.Choice(L"result", result, kResultWords);
  if (archive.IsLoading()) results_ = {static_cast<HRESULT>(result)};
}

}  // namespace lmk::test

// Rule elements for tests: a condition with a fixed answer, an action that plays a programmed
// sequence of results, and a condition with one parameter of every type. They live under kinds
// of their own ("Condition.FakeA", "Action.FakeB", ...) that only test registries know.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "rules/action.h"
#include "rules/condition.h"
#include "rules/element_registry.h"

namespace lmk::test {

/// The fake kinds: conditions FakeA, FakeB, FakeC and FakeRich; actions FakeA, FakeB, FakeC.
const ElementKind& FakeConditionKind(int index);  // 0..2
const ElementKind& FakeRichConditionKind();
const ElementKind& FakeActionKind(int index);  // 0..2

/// Adds the fake kinds, with their factories, to registry.
void AddFakeKinds(CElementRegistry& registry);
/// A registry with the fake kinds only, or with every product kind (no factory) too.
std::unique_ptr<CElementRegistry> MakeFakeRegistry(bool withProductKinds);

/// Answers a fixed HRESULT (or throws) and counts its calls.
/// Named parameters: answer (holds | does-not-hold | fails | throws), code (the HRESULT of
/// "fails"), valid (false makes the element invalid).
class CFakeCondition : public CCondition {
 public:
  explicit CFakeCondition(const ElementKind& kind = FakeConditionKind(0), HRESULT answer = S_OK);

  void SetAnswer(HRESULT answer) { answer_ = answer; }
  void SetThrows(bool throws) { throws_ = throws; }
  void SetValid(bool valid) { valid_ = valid; }
  int calls() const { return calls_.load(); }

  HRESULT Evaluate(IDictionary* record) const override;
  bool IsValid(std::wstring* reason) const override;

 protected:
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  HRESULT answer_;
  bool throws_ = false;
  bool valid_ = true;
  mutable std::atomic<int> calls_{0};
};

/// One parameter of every type of the parameter vocabulary, for round trips.
class CFakeRichCondition : public CCondition {
 public:
  CFakeRichCondition();

  HRESULT Evaluate(IDictionary* record) const override;
  BYTE ParamVersion() const override { return 2; }

  std::wstring text = L"a \"quoted\" text: with {Braces}";
  std::int32_t count = -7;
  double ratio = 0.1;
  std::uint32_t mode = 1;
  CompareOp compare = CompareOp::GreaterOrEqual;
  std::int64_t date = 0;
  std::int64_t time = 0;
  double distance = 1.5;
  std::uint32_t distanceUnit = 1;
  std::uint64_t sizeBytes = 10u * 1024 * 1024;
  std::uint32_t sizeUnit = 2;
  GeoPlace place{48.8584, 2.2945};
  std::uint32_t parts = 0x5;
  bool enabled = true;

 protected:
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;
};

/// Returns a programmed sequence of results, the last one repeated, and counts its calls. A
/// failing result sets the thread's error description to "fake failure <n>" first.
/// Named parameter: result (done | nothing | fails | aborts).
class CFakeAction : public CAction {
 public:
  explicit CFakeAction(const ElementKind& kind = FakeActionKind(0));

  void Program(std::vector<HRESULT> results);
  int calls() const { return calls_.load(); }

  HRESULT Execute(IDictionary* record) const override;

 protected:
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  mutable std::mutex mutex_;
  std::vector<HRESULT> results_{S_OK};
  mutable std::atomic<int> calls_{0};
};

}  // namespace lmk::test

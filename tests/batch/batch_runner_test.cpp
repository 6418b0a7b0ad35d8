// Tests of the runner against an in-memory host and event sink: modes, policies, abort and
// cancel, skipped images, per-file logging and the parallel phase.
#include "batch/batch_runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "batch/run_summary.h"
#include "batch_fixture.h"
#include "com/bstr.h"
#include "platform/processor_info.h"
#include "support/data_table.h"

namespace lmk {
namespace {

using test::CFakeAction;
using test::CFakeCondition;
using test::FakeActionKind;
using test::FakeConditionKind;
using test::FakeRunHost;
using test::Rule;

// Records the runner's notices and lets a test wait for the end of the run.
class RecordingSink final : public ProgressSink {
 public:
  std::function<void()> onStarted;

  void OnRunStarted(DWORD showProgress) override {
    started = static_cast<int>(showProgress);
    if (onStarted) onStarted();
  }
  void OnProgress(DWORD percent) override {
    std::lock_guard lock(mutex_);
    progress.push_back(percent);
  }
  void OnRunFinished(DWORD aborted) override {
    std::lock_guard lock(mutex_);
    finished = static_cast<int>(aborted);
    done_.notify_all();
  }
  void OnInternalError(std::wstring_view, std::wstring_view) override {}
  void Wait() {
    std::unique_lock lock(mutex_);
    done_.wait(lock, [this] { return finished >= 0; });
  }

  int started = -1;
  int finished = -1;
  std::vector<DWORD> progress;

 private:
  std::mutex mutex_;
  std::condition_variable done_;
};

// An action that calls back for each file, then answers as programmed.
class CallbackAction final : public CAction {
 public:
  explicit CallbackAction(std::function<HRESULT(IDictionary*)> body)
      : CAction(FakeActionKind(2)), body_(std::move(body)) {}
  HRESULT Execute(IDictionary* record) const override { return body_(record); }

 private:
  std::function<HRESULT(IDictionary*)> body_;
};

// A condition that holds for images of odd index.
class OddIndexCondition final : public CCondition {
 public:
  OddIndexCondition() : CCondition(FakeConditionKind(1)) {}
  HRESULT Evaluate(IDictionary* record) const override {
    Variant index;
    if (FAILED(record->get_Value(Bstr(L"Image.Index").get(), &index))) return E_FAIL;
    return (index.ref().ulVal % 2) == 1 ? S_OK : S_FALSE;
  }
};

std::shared_ptr<CFakeAction> Action(int kind, std::vector<HRESULT> results,
                                    CActionErrorMode policy = CActionErrorMode::Ignore) {
  auto action = std::make_shared<CFakeAction>(FakeActionKind(kind));
  action->Program(std::move(results));
  action->SetOnFailure(policy);
  return action;
}

class RunnerTest : public test::BatchFixture {
 protected:
  using BatchFixture::BatchFixture;

  BatchRunResult Run(std::vector<std::shared_ptr<CRule>> rules, DWORD mode = 2,
                     unsigned threads = 1) {
    if (!runner_) runner_ = QuickRunner(threads);
    std::vector<std::shared_ptr<const CRule>> run(rules.begin(), rules.end());
    EXPECT_TRUE(runner_->Start(&sink_, nullptr, run, mode, host_.Get()));
    sink_.Wait();
    return runner_->Finish();
  }

  // Texts of the events at level, in order ("Batch processing started." included).
  std::vector<std::wstring> Texts(BYTE level) const {
    std::vector<std::wstring> texts;
    for (const auto& event : events_->Events()) {
      if (event.level == level && event.text) texts.push_back(*event.text);
    }
    return texts;
  }
  int CountText(std::wstring_view text) const {
    int count = 0;
    for (const auto& event : events_->Events()) count += event.text && *event.text == text;
    return count;
  }

  RecordingSink sink_;
  std::unique_ptr<CBatchRunner> runner_;
};

// ---- Policies -------------------------------------------------------------------------------

struct PolicyCase {
  const char* name;
  CActionErrorMode policy;
  std::wstring_view logged;
  BYTE level;
  int secondActionCalls;  // the failing rule's next action
  int nextRuleCalls;      // the action of the following rule
  bool aborted;
  LONG processed;
};

class Policy : public RunnerTest, public ::testing::WithParamInterface<PolicyCase> {};

TEST_P(Policy, DecidesWhatRunsAfterAFailure) {
  const PolicyCase& c = GetParam();
  auto failing = Action(0, {E_FAIL}, c.policy);
  auto second = Action(1, {S_OK});
  auto next = Action(2, {S_OK});
  const BatchRunResult result = Run({Rule({failing, second}), Rule({next})});

  EXPECT_EQ(second->calls(), c.secondActionCalls);
  EXPECT_EQ(next->calls(), c.nextRuleCalls);
  EXPECT_EQ(result.aborted, c.aborted);
  EXPECT_EQ(sink_.finished, c.aborted ? 1 : 0);
  EXPECT_EQ(result.processed, c.processed);
  const int failures = c.aborted ? 1 : 5;
  EXPECT_EQ(failing->calls(), failures);
  EXPECT_EQ(CountText(L"fake failure 0"), 1);  // the action's own description is logged
  const auto texts = Texts(c.level);
  EXPECT_EQ(std::count(texts.begin(), texts.end(), std::wstring(c.logged)), failures);
}

INSTANTIATE_TEST_SUITE_P(
    Runner, Policy,
    ::testing::ValuesIn(std::vector<PolicyCase>{
        {"Ignore", CActionErrorMode::Ignore, batch_text::kIgnoring, kEventLevelWarning, 5, 5, false,
         5},
        {"SkipActions", CActionErrorMode::SkipActions, batch_text::kSkippingActions,
         kEventLevelWarning, 0, 5, false, 5},
        {"SkipActionsAndRules", CActionErrorMode::SkipActionsAndRules,
         batch_text::kSkippingActionsAndRules, kEventLevelWarning, 0, 0, false, 5},
        // The first image aborts on the runner thread: no further image starts.
        {"Abort", CActionErrorMode::Abort, batch_text::kAbortedByPolicy, kEventLevelFatal, 0, 0,
         true, 1},
    }),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(RunnerTest, ActionAbortingEndsTheRunWhateverThePolicy) {
  auto aborting = Action(0, {S_OK, E_ABORT}, CActionErrorMode::Ignore);
  const BatchRunResult result = Run({Rule({aborting})});
  EXPECT_TRUE(result.aborted);
  EXPECT_EQ(aborting->calls(), 2);
  EXPECT_EQ(CountText(batch_text::kForciblyAborted), 1);
  EXPECT_EQ(CountText(batch_text::kIgnoring), 0);
  EXPECT_EQ(SummarizeRun(result).outcome, RunOutcome::kFatal);
  // An aborted run does not take the host's range past its end.
  EXPECT_EQ(host_->nextOfRangePastEnd.load(), 0);
}

TEST_F(RunnerTest, ThrowingActionFailsWithoutErrorInformation) {
  auto throwing = std::make_shared<CallbackAction>(
      [](IDictionary*) -> HRESULT { throw std::runtime_error("boom"); });
  throwing->SetOnFailure(CActionErrorMode::SkipActions);
  const BatchRunResult result = Run({Rule({throwing})});
  EXPECT_FALSE(result.aborted);
  EXPECT_EQ(CountText(batch_text::kNoErrorInformation), 5);
  EXPECT_EQ(CountText(batch_text::kSkippingActions), 5);
  EXPECT_EQ(result.errors, 5);
}

TEST_F(RunnerTest, StaleErrorDescriptionIsNotBlamedOnAnAction) {
  auto stale = std::make_shared<CallbackAction>([](IDictionary*) {
    SetErrorDescription(L"left over");
    return S_OK;
  });
  // This one fails without a description of its own.
  auto silent = std::make_shared<CallbackAction>([](IDictionary*) { return E_FAIL; });
  Run({Rule({stale}), Rule({silent})});
  EXPECT_EQ(CountText(L"left over"), 0);
  EXPECT_EQ(CountText(batch_text::kNoErrorInformation), 5);
}

TEST_F(RunnerTest, FailedEvaluationIsLoggedAndTheNextRuleRuns) {
  auto broken = std::make_shared<CFakeCondition>(FakeConditionKind(0), E_FAIL);
  auto skipped = Action(0, {S_OK});
  auto next = Action(1, {S_OK});
  Run({Rule({skipped}, {broken}), Rule({next})});
  EXPECT_EQ(skipped->calls(), 0);
  EXPECT_EQ(next->calls(), 5);
  EXPECT_EQ(CountText(L"The condition(s)/exception(s) evaluation failed with 0x80004005"), 5);
}

// ---- Cancel -----------------------------------------------------------------------------------

TEST_F(RunnerTest, CancelBeforeTheWorkBeginsProcessesNothing) {
  runner_ = QuickRunner();
  sink_.onStarted = [this] { runner_->Cancel(); };
  auto action = Action(0, {S_OK});
  const BatchRunResult result = Run({Rule({action})});
  EXPECT_EQ(sink_.finished, 1);
  EXPECT_EQ(action->calls(), 0);
  EXPECT_EQ(result.processed, 0);
  EXPECT_TRUE(host_->Delivered().empty());
}

TEST_F(RunnerTest, CancelMidwayStartsNoFurtherImage) {
  runner_ = QuickRunner();
  int seen = 0;
  auto cancelling = std::make_shared<CallbackAction>([&](IDictionary*) {
    if (++seen == 3) runner_->Cancel();
    return S_OK;
  });
  const BatchRunResult result = Run({Rule({cancelling})});
  EXPECT_EQ(sink_.finished, 1);
  EXPECT_EQ(result.processed, 3);
  EXPECT_EQ(host_->Delivered().size(), 3u);
  EXPECT_EQ(SummarizeRun(result).outcome, RunOutcome::kFatal);
}

// ---- Images that cannot be processed --------------------------------------------------------

// An image the host cannot deliver (even the first) and a file gone from the disk are skipped and
// counted, not errors.
TEST_F(RunnerTest, UndeliverableAndMissingImagesAreSkipped) {
  host_->undeliverable = {0};
  missing_ = {L"/pictures/img0004.jpg"};
  auto action = Action(0, {S_OK});
  const BatchRunResult result = Run({Rule({action})});
  EXPECT_FALSE(result.aborted);
  EXPECT_EQ(result.processed, 3);
  EXPECT_EQ(result.skipped, 2);
  EXPECT_EQ(result.errors, 0);
  EXPECT_EQ(action->calls(), 3);
  EXPECT_EQ(CountText(L"Skipped 2 invalid image(s)."), 1);
  EXPECT_EQ(CountText(L"Skipping \"/pictures/img0004.jpg\"."), 1);
  const auto warnings = Texts(kEventLevelWarning);
  EXPECT_EQ(std::count_if(warnings.begin(), warnings.end(),
                          [](const std::wstring& t) { return t.rfind(L"Skipping \"", 0) == 0; }),
            2);
  EXPECT_EQ(SummarizeRun(result).outcome, RunOutcome::kWarnings);
}

TEST_F(RunnerTest, NoActionRunsWithoutASessionOrForAnUncheckedRule) {
  auto action = Action(0, {S_OK});
  auto rule = Rule({action});
  rule->SetChecked(false);
  EXPECT_EQ(Run({rule}).processed, 5);
  host_->failSessionInfo = true;
  runner_.reset();
  sink_.finished = -1;
  rule->SetChecked(true);
  Run({rule});
  EXPECT_EQ(sink_.finished, 1);
  EXPECT_EQ(action->calls(), 0);
}

// ---- Modes ------------------------------------------------------------------------------------

class Mode : public RunnerTest, public ::testing::WithParamInterface<test::CaseRow> {
 protected:
  Mode() : RunnerTest(10) {}
};

// Fields: mode, current image, the images delivered.
TEST_P(Mode, ProcessesItsRange) {
  const DWORD mode = std::stoul(GetParam()[0]);
  host_->currentIndex = std::stoul(GetParam()[1]);
  std::istringstream words(GetParam()[2]);
  const std::vector<ULONG> delivered{std::istream_iterator<ULONG>(words), {}};
  const BatchRunResult result = Run({Rule({Action(0, {S_OK})})}, mode);
  EXPECT_EQ(host_->Delivered(), delivered);
  EXPECT_EQ(result.processed, static_cast<LONG>(delivered.size()));
  EXPECT_EQ(sink_.started, mode == 1 ? 0 : 1) << "progress is shown for a run over several";
  EXPECT_EQ(sink_.finished, 0);
  EXPECT_EQ(sink_.progress.back(), 100u);
}

INSTANTIATE_TEST_SUITE_P(Runner, Mode,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/run_modes.tsv")),
                         [](const auto& info) { return info.param.name; });

// ---- Logging per file ---------------------------------------------------------------------------

TEST_F(RunnerTest, SelectionIsLoggedOncePerFileNotPerFrame) {
  host_ = MakeComObject<FakeRunHost>();
  host_->AddImage(L"/pictures/multi.tif", 0);
  host_->AddImage(L"/pictures/multi.tif", 1);
  host_->AddImage(L"/pictures/multi.tif", 2);
  host_->AddImage(L"/pictures/single.jpg", 0);
  auto holds = std::make_shared<CFakeCondition>(FakeConditionKind(0), S_OK);
  auto never = std::make_shared<CFakeCondition>(FakeConditionKind(1), S_FALSE);
  Run({Rule({Action(0, {S_OK})}), Rule({Action(1, {S_OK})}, {holds}),
       Rule({Action(2, {S_OK})}, {never})});
  EXPECT_EQ(CountText(L"\"/pictures/multi.tif\" will be processed unconditionally."), 1);
  EXPECT_EQ(CountText(L"\"/pictures/single.jpg\" will be processed unconditionally."), 1);
  EXPECT_EQ(CountText(L"\"/pictures/multi.tif\" matches the selection condition(s)."), 1);
  EXPECT_EQ(CountText(L"\"/pictures/single.jpg\" matches the selection condition(s)."), 1);
  // Four selections, "Batch processing started." and "Batch processing ended.".
  EXPECT_EQ(Texts(kEventLevelInformation).size(), 6u);
}

// ---- Parallel phase ---------------------------------------------------------------------------

class LargeRunTest : public RunnerTest {
 protected:
  LargeRunTest() : RunnerTest(57) {}
};

TEST_F(LargeRunTest, TwoWorkersGiveTheSameResultsAsOne) {
  struct Outcome {
    BatchRunResult result;
    std::map<std::wstring, int> texts;
  };
  auto runWith = [this](unsigned threads) {
    host_ = MakeComObject<FakeRunHost>(57);
    host_->undeliverable = {5, 40};
    runner_.reset();
    sink_.finished = -1;
    runner_ = QuickRunner(threads);
    auto failing = Action(0, {E_FAIL}, CActionErrorMode::SkipActionsAndRules);
    const BatchRunResult result =
        Run({Rule({Action(1, {S_OK})}, {std::make_shared<OddIndexCondition>()}),
             Rule({failing}, {std::make_shared<OddIndexCondition>()}), Rule({Action(2, {S_OK})})},
            2, threads);
    Outcome outcome{result, {}};
    for (const auto& event : events_->Events()) {
      if (event.text) ++outcome.texts[*event.text];
    }
    return outcome;
  };
  const Outcome one = runWith(1);
  const Outcome two = runWith(2);
  EXPECT_EQ(one.result.processed, 55);
  EXPECT_EQ(two.result.processed, one.result.processed);
  EXPECT_EQ(two.result.skipped, one.result.skipped);
  EXPECT_EQ(two.result.errors, one.result.errors);
  EXPECT_EQ(two.result.warnings, one.result.warnings);
  EXPECT_EQ(two.texts, one.texts);
}

TEST_F(RunnerTest, SecondStartIsRefusedWhileARunIsUnderWay) {
  runner_ = QuickRunner();
  std::vector<std::shared_ptr<const CRule>> rules{Rule({Action(0, {S_OK})})};
  ASSERT_TRUE(runner_->Start(&sink_, nullptr, rules, 2, host_.Get()));
  EXPECT_FALSE(runner_->Start(&sink_, nullptr, rules, 2, host_.Get()));
  sink_.Wait();
  EXPECT_FALSE(runner_->Start(&sink_, nullptr, rules, 2, host_.Get()));  // until taken back
  runner_->Finish();
  EXPECT_FALSE(runner_->IsBusy());
}

// ---- Worker count -----------------------------------------------------------------------------

class Workers : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: the UseHTCores setting (-: none), logical processors, physical cores (-: unknown),
// workers.
TEST_P(Workers, Count) {
  const test::CaseRow& c = GetParam();
  const auto given = [&](std::size_t i) {
    return c[i] == "-" ? std::nullopt : std::optional<unsigned>(std::stoul(c[i]));
  };
  const std::optional<unsigned> useHtCores = given(0);
  EXPECT_EQ(ChooseWorkerCount(useHtCores, std::stoul(c[1]), given(2)), std::stoul(c[3]));
}

INSTANTIATE_TEST_SUITE_P(Runner, Workers,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/worker_counts.tsv")),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk

// Tests of the main dialog's controller and of the plug-in's Process: the run request, the
// "Apply Rules" checks, and a whole session end to end with what the host must do after it.
#include "batch/main_dialog.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "batch/run_request.h"
#include "batch_fixture.h"
#include "com/com_error.h"
#include "platform/usage_counter.h"
#include "rules/element_kind.h"
#include "shell/file_utilities.h"
#include "shell/lumarko_plugin.h"
#include "support/data_table.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"
#include "templates/settings_fixture.h"

namespace lmk {
namespace {

using test::CFakeAction;
using test::CFakeCondition;
using test::FakeRunHost;
using test::NewStream;
using test::Rule;

// Keeps what the dialog shows.
class RecordingView final : public DialogView {
 public:
  void ShowMessage(const DialogMessage& message) override { messages.push_back(message); }
  void ShowRunStarted(bool) override {}
  void ShowProgress(DWORD percent) override { progress.push_back(percent); }
  void ShowSummary(const RunSummary& summary) override { summaries.push_back(summary); }
  void ShowEvents(std::span<const EventLogEntry>, std::wstring_view) override {}

  std::vector<DialogMessage> messages;
  std::vector<DWORD> progress;
  std::vector<RunSummary> summaries;
};

class MainDialogTest : public test::BatchFixture {
 protected:
  CMainDialog Dialog(ComPtr<ILumarkoHost> host, ComPtr<IStream> stream = nullptr) {
    return CMainDialog(std::move(host), std::move(stream), 0, view_, *registry_, QuickRunner());
  }

  test::ScopedConfigDir config_;
  std::unique_ptr<CElementRegistry> registry_ = test::MakeFakeRegistry(false);
  RecordingView view_;
};

// ---- Run request ------------------------------------------------------------------------------

class BadRunRequest : public MainDialogTest, public ::testing::WithParamInterface<test::CaseRow> {};

TEST_P(BadRunRequest, IsRefusedWithAReason) {
  std::vector<BYTE> bytes;
  for (std::size_t i = 0; i < GetParam()[0].size(); i += 2) {
    bytes.push_back(static_cast<BYTE>(std::stoul(GetParam()[0].substr(i, 2), nullptr, 16)));
  }
  ComPtr<IStream> stream = NewStream();
  ASSERT_EQ(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr), S_OK);
  RunRequest read;
  EXPECT_EQ(ReadRunRequest(stream.Get(), *registry_, &read),
            HRESULT_FROM_WIN32(ERROR_INVALID_DATA));
  EXPECT_FALSE(TakeErrorDescription().empty());
}

INSTANTIATE_TEST_SUITE_P(Dialog, BadRunRequest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/run_requests_refused.tsv")),
                         [](const auto& info) { return info.param.name; });

// ---- Apply Rules checks ------------------------------------------------------------------------

struct CheckCase {
  const char* name;
  std::function<void(FakeRunHost&, CRuleEngine&)> arrange;
  DWORD mode;
  std::wstring_view caption;
  std::wstring_view instruction;
  bool starts;
};

class ApplyRulesCheck : public MainDialogTest, public ::testing::WithParamInterface<CheckCase> {};

TEST_P(ApplyRulesCheck, RefusesOrStarts) {
  const CheckCase& c = GetParam();
  CMainDialog dialog = Dialog(host_);
  dialog.Rules().Add(Rule({std::make_shared<CFakeAction>()}));
  c.arrange(*host_.Get(), dialog.Rules());
  ASSERT_EQ(dialog.SetMode(c.mode), S_OK);
  EXPECT_EQ(dialog.ApplyRules(), c.starts);
  dialog.WaitForRun();
  if (c.starts) {
    EXPECT_TRUE(view_.messages.empty());
    EXPECT_EQ(view_.summaries.size(), 1u);
  } else {
    ASSERT_EQ(view_.messages.size(), 1u);
    EXPECT_EQ(view_.messages[0].caption, c.caption);
    EXPECT_EQ(view_.messages[0].instruction, c.instruction);
    EXPECT_EQ(view_.messages[0].icon, MessageIcon::kError);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Dialog, ApplyRulesCheck,
    ::testing::ValuesIn(std::vector<CheckCase>{
        {"Ready", [](FakeRunHost&, CRuleEngine&) {}, 2, L"", L"", true},
        {"ScanningAll", [](FakeRunHost& h, CRuleEngine&) { h.scanning = TRUE; }, 2,
         dialog_text::kApplyRulesCaption, dialog_text::kStillScanning, false},
        {"ScanningButCurrentOnly", [](FakeRunHost& h, CRuleEngine&) { h.scanning = TRUE; }, 1, L"",
         L"", true},
        {"EmptyList", [](FakeRunHost& h, CRuleEngine&) { h.failCount = true; }, 2,
         dialog_text::kApplyRulesCaption, dialog_text::kNoImages, false},
        {"InvalidRule",
         [](FakeRunHost&, CRuleEngine& rules) {
           auto invalid = std::make_shared<CFakeCondition>();
           invalid->SetValid(false);
           rules.At(0)->AddCondition(invalid);
         },
         2, dialog_text::kApplyRulesCaption, L"One or more rule(s) is invalid.", false},
        {"NothingChecked", [](FakeRunHost&, CRuleEngine& rules) { rules.At(0)->SetChecked(false); },
         2, dialog_text::kApplyRulesCaption, dialog_text::kNoCheckedRules, false},
    }),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(MainDialogTest, WithoutHostNothingIsApplied) {
  CMainDialog dialog = Dialog(nullptr);
  dialog.Rules().Add(Rule({std::make_shared<CFakeAction>()}));
  EXPECT_FALSE(dialog.ApplyRules());
  ASSERT_EQ(view_.messages.size(), 1u);
  EXPECT_EQ(view_.messages[0].caption, L"Lumarko File Utilities - Internal Error");
  EXPECT_EQ(view_.messages[0].instruction,
            L"This plug-in appears to be hosted in an incompatible host?!?");
}

TEST_F(MainDialogTest, ModeIsRemembered) {
  {
    CMainDialog dialog = Dialog(host_);
    EXPECT_EQ(dialog.SetMode(3), S_OK);
    EXPECT_EQ(dialog.SetMode(4), E_INVALIDARG);
  }
  CMainDialog dialog = Dialog(host_);
  dialog.DoModal(nullptr);
  EXPECT_EQ(dialog.Mode(), 3u);
}

// A request to run one fake action on the current image.
ComPtr<IStream> CurrentImageRequest(DWORD flags) {
  ComPtr<IStream> stream = NewStream();
  RunRequest request;
  request.mode = 1;
  request.flags = flags;
  request.rules = {Rule({std::make_shared<CFakeAction>()})};
  if (FAILED(WriteRunRequest(stream.Get(), request))) throw ComError(E_FAIL);
  return stream;
}

// The minimum run time keeps a progress display from flashing by; a run that shows none
// (the lumarko command draws its own) does not wait for it.
TEST_F(MainDialogTest, OnlyARunWithProgressWaitsForTheMinimumRunTime) {
  constexpr auto kMinimum = std::chrono::milliseconds(400);
  for (const DWORD flags : {DWORD{0}, kRunRequestShowProgress}) {
    std::unique_ptr<CBatchRunner> runner = QuickRunner();
    runner->Options().minimumRunTime = kMinimum;
    CMainDialog dialog(host_, CurrentImageRequest(flags), 0, view_, *registry_, std::move(runner));
    const auto started = std::chrono::steady_clock::now();
    dialog.DoModal(nullptr);
    const auto took = std::chrono::steady_clock::now() - started;
    if (flags == 0) {
      EXPECT_LT(took, kMinimum) << "no progress shown, nothing to wait for";
    } else {
      EXPECT_GE(took, kMinimum);
    }
  }
}

TEST_F(MainDialogTest, DamagedInitDataIsReported) {
  ComPtr<IStream> stream = NewStream();
  const BYTE junk[] = {'L', 'M', 'K', 'J', 9, 0, 0, 0};
  ASSERT_EQ(stream->Write(junk, sizeof(junk), nullptr), S_OK);
  CMainDialog dialog = Dialog(host_, stream);
  dialog.DoModal(nullptr);
  ASSERT_EQ(view_.messages.size(), 1u);
  EXPECT_EQ(view_.messages[0].instruction, dialog_text::kRuleSetUnreadable);
  EXPECT_TRUE(view_.summaries.empty());
}

// ---- Process, and what it tells the host to do after the run ----------------------------------

// An action of a product kind that does nothing.
class ProductKindAction final : public CAction {
 public:
  explicit ProductKindAction(std::wstring_view kind)
      : CAction(ProductKind(ElementFamily::Action, kind)) {}
  HRESULT Execute(IDictionary*) const override { return S_OK; }
};

// Product kinds with do-nothing factories, registered once for the process.
void RegisterProductStandIns() {
  static const bool registered = [] {
    CElementRegistry& product = CElementRegistry::Product();
    for (std::wstring_view kind : {L"Move", L"SetXMPRating", L"Copy"}) {
      product.Register(ElementFamily::Action, kind,
                       [kind] { return std::make_shared<ProductKindAction>(kind); });
    }
    return true;
  }();
  (void)registered;
}

struct ProcessCase {
  const char* name;
  std::vector<std::wstring_view> kinds;
  DWORD expected;
};

class ProcessEndToEnd : public ::testing::TestWithParam<ProcessCase> {
 protected:
  void SetUp() override { RegisterProductStandIns(); }

  test::ScopedConfigDir config_;
  test::ScopedTempDir data_;
  test::ScopedEnv dataHome_{"XDG_DATA_HOME", (data_.path() / "data").string()};
};

TEST_P(ProcessEndToEnd, TellsTheHostWhatToDo) {
  // Real files: the plug-in's own runner asks the disk whether they exist.
  ComPtr<FakeRunHost> host = MakeComObject<FakeRunHost>();
  for (const char* name : {"a.jpg", "b.jpg"}) {
    const auto path = data_.path() / name;
    std::ofstream(path) << "x";
    host->AddImage(std::wstring(path.wstring()));
  }
  auto rule = std::make_shared<CRule>(L"rule");
  for (std::wstring_view kind : GetParam().kinds) {
    rule->AddAction(std::make_shared<ProductKindAction>(kind));
  }
  RunRequest request;
  request.mode = 2;
  request.rules = {rule};
  ComPtr<IStream> stream = NewStream();
  ASSERT_EQ(WriteRunRequest(stream.Get(), request), S_OK);

  ComPtr<ILumarkoPlugin> plugin;
  ASSERT_EQ(CFileUtilities::Create(nullptr, IID_ILumarkoPlugin,
                                   reinterpret_cast<void**>(plugin.GetAddressOf())),
            S_OK);
  ASSERT_EQ(plugin->Initialize(host.Get(), 0x409, stream.Get(), 0), S_OK);
  DWORD behaviour = 0xDEADBEEF;
  EXPECT_EQ(plugin->Process(nullptr, nullptr, nullptr, 0, &behaviour), S_OK);
  EXPECT_EQ(behaviour, GetParam().expected);
  EXPECT_EQ(host->Delivered(), (std::vector<ULONG>{0, 1}));
  EXPECT_EQ(plugin->Terminate(), S_OK);
}

INSTANTIATE_TEST_SUITE_P(
    Plugin, ProcessEndToEnd,
    ::testing::ValuesIn(std::vector<ProcessCase>{
        {"Nothing", {L"Copy"}, LMKPLUGINFLAG_POSTACTIONBEHAVIOR_DONOTHING},
        {"Refresh", {L"SetXMPRating"}, LMKPLUGINFLAG_POSTACTIONBEHAVIOR_REFRESHCURRENT},
        {"ReloadWins",
         {L"SetXMPRating", L"Move"},
         LMKPLUGINFLAG_POSTACTIONBEHAVIOR_RELOADIMAGEFOLDER},
    }),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk

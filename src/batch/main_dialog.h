// CMainDialog: the controller of the plug-in's main dialog: the rule set, the operating mode,
// "Apply Rules" with its checks, the run with its progress and summary, the events list, and
// what the host must do afterwards (reload its folder or refresh the current image).
#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "actions/renaming_template_store.h"
#include "batch/batch_runner.h"
#include "batch/dialog_view.h"
#include "batch/progress_sink.h"
#include "batch/run_request.h"
#include "batch/run_summary.h"
#include "com/com.h"
#include "com/com_ptr.h"
#include "host_api/lumarko_host.h"
#include "rules/rule_engine.h"

namespace lmk {

inline constexpr std::wstring_view kLastOperatingModeValue = L"LastOperatingMode";

namespace dialog_text {
inline constexpr std::wstring_view kApplyRulesCaption = L"Apply Rules";
inline constexpr std::wstring_view kStillScanning =
    L"Lumarko is still scanning your image folder(s)!";
inline constexpr std::wstring_view kStillScanningDetail =
    L"You must wait for this operation to complete before proceeding.";
inline constexpr std::wstring_view kNoImages = L"There are no images to process!";
inline constexpr std::wstring_view kNoImagesDetail =
    L"You cannot apply any rule(s) to an empty image list.";
inline constexpr std::wstring_view kNoCheckedRules = L"There are no checked rules to apply!";
inline constexpr std::wstring_view kNoCheckedRulesDetail =
    L"Check at least one rule of the rule set and try again.";
inline constexpr std::wstring_view kIncompatibleHost =
    L"This plug-in appears to be hosted in an incompatible host?!?";
inline constexpr std::wstring_view kIncompatibleHostCaption =
    L"Lumarko File Utilities - Internal Error";
inline constexpr std::wstring_view kRuleSetUnreadable = L"The rule set could not be read.";
inline constexpr std::wstring_view kRunInProgress = L"A batch job is already running.";
}  // namespace dialog_text

/// What a finished run asks of the host, decided from the kinds of the actions that ran.
/// Moving, deleting, renaming or linking files, and scripts (which may do any of that), change
/// the folder: reload it. Rating, label, urgency and file-date actions change the metadata of
/// images, among them the current one (every mode includes it): refresh it. Copies, uploads,
/// conversions and exports leave the listed files as they were.
struct PostRunNeeds {
  bool reloadFolder = false;
  bool refreshCurrent = false;
};
PostRunNeeds PostRunNeedsOf(std::span<const std::shared_ptr<const CRule>> rules);

class CMainDialog final : private ProgressSink {
 public:
  /// host may be null (the dialog then refuses to apply rules); initStream may be null; flags
  /// is the complement of the host's flags, as the plug-in keeps it. view and registry must
  /// outlive the dialog. runner null makes the product's runner.
  CMainDialog(ComPtr<ILumarkoHost> host, ComPtr<IStream> initStream, DWORD flags, DialogView& view,
              const CElementRegistry& registry = CElementRegistry::Product(),
              std::unique_ptr<CBatchRunner> runner = nullptr);
  ~CMainDialog() override;
  CMainDialog(const CMainDialog&) = delete;
  CMainDialog& operator=(const CMainDialog&) = delete;

  /// The dialog's session, owned by parent: loads the rules and the operating mode from the
  /// init data and, when it is a run request, applies them once and shows the result. Without
  /// a window system there is nothing else for a user to do, so the session then ends.
  void DoModal(HWND parent);

  CRuleEngine& Rules() { return rules_; }
  /// Replaces the rule set by a file's (YAML or binary); false after showing why not.
  bool OpenRuleSetFile(const std::filesystem::path& path);

  /// The operating mode: the run request's, else the one last chosen, else all images.
  DWORD Mode() const { return mode_; }
  /// Chooses the operating mode and remembers it as "LastOperatingMode". E_INVALIDARG for a
  /// value outside 1..3; the settings store's failure (the mode is then still chosen).
  HRESULT SetMode(DWORD mode);

  /// "Apply Rules": checks that a run can start (showing why not) and starts it. True when
  /// the run started.
  bool ApplyRules();
  /// Waits until the run has finished, passing its notices to the view on this thread, then
  /// takes the run back, shows the summary (and the events when asked). No effect when idle.
  void WaitForRun();
  /// The Cancel button: logs "Canceling batch job at user's request." and stops the run. Safe
  /// from any thread (a terminal's interrupt handler, say).
  void Cancel();

  /// The host's flags as the plug-in keeps them (complemented).
  DWORD HostFlags() const { return flags_; }

  /// What the runs of this session recorded for the host.
  bool ReloadImageFolder() const { return needs_.reloadFolder; }
  bool RefreshCurrentImage() const { return needs_.refreshCurrent; }
  /// The summary of the last run, if any.
  const std::optional<RunSummary>& LastSummary() const { return lastSummary_; }

 private:
  // A runner notice handed from the runner's threads to the dialog's, as posted messages are.
  struct Notice {
    enum class Kind { kStarted, kProgress, kFinished, kInternalError } kind;
    DWORD value = 0;
    std::wstring caption;
    std::wstring text;
  };

  void OnRunStarted(DWORD showProgress) override;
  void OnProgress(DWORD percent) override;
  void OnRunFinished(DWORD aborted) override;
  void OnInternalError(std::wstring_view caption, std::wstring_view text) override;

  void Post(Notice notice);
  void LoadInitData();
  DWORD LastMode() const;
  void ShowError(std::wstring_view caption, std::wstring_view instruction,
                 std::wstring_view content, std::vector<std::wstring> details = {});
  void ShowEvents(const std::wstring& logFilePath);

  ComPtr<ILumarkoHost> host_;
  ComPtr<IStream> initStream_;
  DWORD flags_;  // the host's flags, complemented; what the windowed dialog adapts itself to
  DialogView& view_;
  const CElementRegistry& registry_;
  CRuleEngine rules_;
  // The rule set's own templates, installed from the start of a run until the runner is taken
  // back, so that the actions find them first. Declared before runner_ so that it outlives it.
  std::optional<RuleSetTemplatesScope> runTemplates_;
  std::unique_ptr<CBatchRunner> runner_;
  DWORD mode_ = static_cast<DWORD>(OperatingMode::kAllImages);
  DWORD requestFlags_ = 0;
  /// The runner's own minimum run time, for runs that show the progress display.
  std::chrono::milliseconds minimumRunTime_;
  std::vector<std::shared_ptr<const CRule>> runRules_;
  PostRunNeeds needs_;
  std::optional<RunSummary> lastSummary_;

  std::mutex noticesLock_;
  std::condition_variable noticesPosted_;
  std::deque<Notice> notices_;
};

}  // namespace lmk

// CMainDialog: "Apply Rules" and its checks, the hand-over of runner notices to the dialog's
// thread, the summary and events list, and the post-run needs of the host.
#include "batch/main_dialog.h"

#include <array>
#include <utility>

#include "batch/event_filter.h"
#include "batch/event_log_settings.h"
#include "com/com_error.h"
#include "platform/settings_store.h"
#include "rules/element_key.h"
#include "rules/rule_set_error.h"

namespace lmk {
namespace {

constexpr std::array<std::wstring_view, 5> kFolderChangingActions = {L"Move", L"Delete", L"Rename",
                                                                     L"Link", L"Script"};
constexpr std::array<std::wstring_view, 4> kMetadataChangingActions = {
    L"SetXMPRating", L"SetXMPLabel", L"SetPhotoshopUrgency", L"FileDateTime"};

template <std::size_t N>
bool Names(const std::array<std::wstring_view, N>& names, std::wstring_view kind) {
  for (std::wstring_view name : names) {
    if (EqualsNoCase(name, kind)) return true;
  }
  return false;
}

std::shared_ptr<SettingsStore> UserStore() {
  std::shared_ptr<SettingsStore> store;
  if (FAILED(SettingsStore::Open(SettingsScope::CurrentUser, &store))) return nullptr;
  return store;
}

}  // namespace

PostRunNeeds PostRunNeedsOf(std::span<const std::shared_ptr<const CRule>> rules) {
  PostRunNeeds needs;
  for (const auto& rule : rules) {
    if (!rule || !rule->IsChecked()) continue;
    for (const auto& action : rule->Actions()) {
      const std::wstring_view kind = action->Kind().name;
      if (Names(kFolderChangingActions, kind)) needs.reloadFolder = true;
      if (Names(kMetadataChangingActions, kind)) needs.refreshCurrent = true;
    }
  }
  return needs;
}

CMainDialog::CMainDialog(ComPtr<ILumarkoHost> host, ComPtr<IStream> initStream, DWORD flags,
                         DialogView& view, const CElementRegistry& registry,
                         std::unique_ptr<CBatchRunner> runner)
    : host_(std::move(host)),
      initStream_(std::move(initStream)),
      flags_(flags),
      view_(view),
      registry_(registry),
      rules_(registry),
      runner_(runner ? std::move(runner) : std::make_unique<CBatchRunner>()),
      minimumRunTime_(runner_->Options().minimumRunTime) {}

CMainDialog::~CMainDialog() {
  // Closing the dialog during a run cancels it; the runner must not outlive its sink's use.
  if (runner_->IsBusy()) {
    Cancel();
    WaitForRun();
  }
}

void CMainDialog::DoModal(HWND /*parent*/) {
  mode_ = LastMode();
  requestFlags_ = 0;
  LoadInitData();
}

void CMainDialog::LoadInitData() {
  if (!initStream_) return;
  RunRequest request;
  const HRESULT hr = ReadRunRequest(initStream_.Get(), registry_, &request);
  if (FAILED(hr)) {
    std::wstring why = TakeErrorDescription();
    if (why.empty()) why = L"Error 0x" + std::to_wstring(static_cast<ULONG>(hr));
    ShowError(dialog_text::kApplyRulesCaption, dialog_text::kRuleSetUnreadable, why);
    return;
  }
  rules_.Clear();
  for (auto& rule : request.rules) rules_.Add(std::move(rule));
  rules_.SetTemplates(std::move(request.templates));
  if (!request.run) return;
  if (request.mode != 0) mode_ = request.mode;
  requestFlags_ = request.flags;
  // The minimum run time keeps the progress display from flashing by. A host that asks for no
  // display (the lumarko command draws its own, or none in a script) does not wait for it.
  runner_->Options().minimumRunTime = (requestFlags_ & kRunRequestShowProgress) != 0
                                          ? minimumRunTime_
                                          : std::chrono::milliseconds::zero();
  runner_->Options().runPaths = std::move(request.runPaths);
  if (ApplyRules()) WaitForRun();
}

DWORD CMainDialog::LastMode() const {
  const std::shared_ptr<SettingsStore> store = UserStore();
  RegValue value;
  if (store && SUCCEEDED(store->GetValue(kPluginSettingsKey, kLastOperatingModeValue, &value)) &&
      value.IsNumber() && value.number <= 3 && IsOperatingMode(static_cast<DWORD>(value.number))) {
    return static_cast<DWORD>(value.number);
  }
  return static_cast<DWORD>(OperatingMode::kAllImages);
}

HRESULT CMainDialog::SetMode(DWORD mode) {
  if (!IsOperatingMode(mode)) return E_INVALIDARG;
  mode_ = mode;
  const std::shared_ptr<SettingsStore> store = UserStore();
  if (!store) return E_ACCESSDENIED;
  return store->SetValue(kPluginSettingsKey, kLastOperatingModeValue, RegValue::Dword(mode));
}

bool CMainDialog::OpenRuleSetFile(const std::filesystem::path& path) {
  try {
    rules_.Open(path);
    return true;
  } catch (const CRuleSetError& error) {
    ShowError(dialog_text::kApplyRulesCaption, dialog_text::kRuleSetUnreadable, error.Text());
  } catch (...) {
    ShowError(dialog_text::kApplyRulesCaption, dialog_text::kRuleSetUnreadable,
              L"Error 0x" + std::to_wstring(static_cast<ULONG>(HresultFromCurrentException())));
  }
  return false;
}

void CMainDialog::ShowError(std::wstring_view caption, std::wstring_view instruction,
                            std::wstring_view content, std::vector<std::wstring> details) {
  DialogMessage message;
  message.caption = caption;
  message.instruction = instruction;
  message.content = content;
  message.details = std::move(details);
  message.icon = MessageIcon::kError;
  view_.ShowMessage(message);
}

bool CMainDialog::ApplyRules() {
  using namespace dialog_text;
  if (!host_) {
    ShowError(kIncompatibleHostCaption, kIncompatibleHost, L"");
    return false;
  }
  if (runner_->IsBusy()) {
    ShowError(kApplyRulesCaption, kRunInProgress, L"");
    return false;
  }
  BOOL scanning = FALSE;
  if (mode_ != static_cast<DWORD>(OperatingMode::kCurrentImage) &&
      SUCCEEDED(host_->IsScanning(&scanning)) && scanning != FALSE) {
    ShowError(kApplyRulesCaption, kStillScanning, kStillScanningDetail);
    return false;
  }
  ULONG count = 0;
  if (FAILED(host_->GetImageCount(&count)) || count == 0) {
    ShowError(kApplyRulesCaption, kNoImages, kNoImagesDetail);
    return false;
  }
  // Installed before the check, whose `rename:` names may be the rule set's own, and even when
  // the rule set has none, so that a previous rule set's never apply.
  runTemplates_.reset();
  runTemplates_.emplace(rules_.Templates());
  const RuleSetValidity validity = rules_.CheckValidity();
  if (!validity.valid) {
    runTemplates_.reset();
    ShowError(kApplyRulesCaption, validity.title, validity.detail, validity.problems);
    return false;
  }
  runRules_ = rules_.CheckedRules();
  if (runRules_.empty()) {
    runTemplates_.reset();
    ShowError(kApplyRulesCaption, kNoCheckedRules, kNoCheckedRulesDetail);
    return false;
  }
  {
    std::lock_guard lock(noticesLock_);
    notices_.clear();
  }
  if (!runner_->Start(this, nullptr, runRules_, mode_, host_.Get())) {
    runTemplates_.reset();
    return false;
  }
  return true;
}

void CMainDialog::Cancel() {
  if (!runner_->IsBusy()) return;
  runner_->Log().Info(batch_text::kCanceling);
  runner_->Cancel();
}

void CMainDialog::Post(Notice notice) {
  {
    std::lock_guard lock(noticesLock_);
    notices_.push_back(std::move(notice));
  }
  noticesPosted_.notify_one();
}

void CMainDialog::OnRunStarted(DWORD showProgress) {
  Post({Notice::Kind::kStarted, showProgress, {}, {}});
}

void CMainDialog::OnProgress(DWORD percent) { Post({Notice::Kind::kProgress, percent, {}, {}}); }

void CMainDialog::OnRunFinished(DWORD aborted) { Post({Notice::Kind::kFinished, aborted, {}, {}}); }

void CMainDialog::OnInternalError(std::wstring_view caption, std::wstring_view text) {
  Post({Notice::Kind::kInternalError, 0, std::wstring(caption), std::wstring(text)});
}

void CMainDialog::WaitForRun() {
  if (!runner_->IsBusy()) return;
  const bool showProgress = (requestFlags_ & kRunRequestShowProgress) != 0;
  for (;;) {
    Notice notice;
    {
      std::unique_lock lock(noticesLock_);
      noticesPosted_.wait(lock, [this] { return !notices_.empty(); });
      notice = std::move(notices_.front());
      notices_.pop_front();
    }
    switch (notice.kind) {
      case Notice::Kind::kStarted:
        if (showProgress) view_.ShowRunStarted(notice.value != 0);
        break;
      case Notice::Kind::kProgress:
        if (showProgress) view_.ShowProgress(notice.value);
        break;
      case Notice::Kind::kInternalError:
        ShowError(notice.caption, notice.text, L"");
        break;
      case Notice::Kind::kFinished: {
        const BatchRunResult result = runner_->Finish();
        runTemplates_.reset();
        if (result.processed > 0) {
          const PostRunNeeds needs = PostRunNeedsOf(runRules_);
          needs_.reloadFolder = needs_.reloadFolder || needs.reloadFolder;
          needs_.refreshCurrent = needs_.refreshCurrent || needs.refreshCurrent;
        }
        lastSummary_ = SummarizeRun(result);
        view_.ShowSummary(*lastSummary_);
        if ((requestFlags_ & kRunRequestShowEvents) != 0) ShowEvents(result.logFilePath);
        return;
      }
    }
  }
}

void CMainDialog::ShowEvents(const std::wstring& logFilePath) {
  EventLogContents contents;
  if (logFilePath.empty()) return;
  // A log whose header is damaged still gets its message shown, over an empty list.
  const DWORD read = EventLogReader::Read(logFilePath, &contents);
  if (read != ERROR_SUCCESS && contents.damage.empty()) return;
  EventFilter filter = EventFilter::kAllEvents;
  if (std::shared_ptr<SettingsStore> store = UserStore()) {
    filter = EventLogSettings(std::move(store)).Filter();
  }
  const std::vector<EventLogEntry> shown = FilterEvents(contents.entries, filter);
  view_.ShowEvents(shown, contents.damage);
}

}  // namespace lmk

// CBatchRunner: the runner thread, the parallel phase over the images, the per-file rule loop
// with its on-failure policies, and the end of a run (counters, keep-copy index, summary events).
#include "batch/batch_runner.h"

#include <algorithm>
#include <utility>

#include "batch/attachment_mail.h"
#include "batch/run_globals.h"
#include "com/bstr.h"
#include "com/com_error.h"
#include "com/time_convert.h"
#include "com/variant.h"
#include "host_api/record_hints.h"
#include "platform/file_operations.h"
#include "platform/folder_listing.h"
#include "platform/processor_info.h"
#include "platform/run_cancellation.h"
#include "platform/settings_store.h"
#include "platform/thread_priority.h"
#include "platform/usage_counter.h"
#include "templates/template_counters.h"

namespace lmk {
namespace {

constexpr std::wstring_view kHostSettingsKey = L"SOFTWARE\\QELN\\Lumarko";
constexpr std::wstring_view kUseHtCoresValue = L"UseHTCores";
// Stands for the path of an image that the host could not deliver and did not describe.
constexpr std::wstring_view kUndeliveredImage = L"(an image the host could not read)";

// The shortest pause at the end of a run that ended too soon, so that the progress display is
// seen at 100 at all.
constexpr std::chrono::milliseconds kMinimumPause{200};

std::optional<unsigned long> ReadUseHtCores() {
  std::shared_ptr<SettingsStore> store;
  if (FAILED(SettingsStore::Open(SettingsScope::CurrentUser, &store)) || !store) {
    return std::nullopt;
  }
  RegValue value;
  if (FAILED(store->GetValue(kHostSettingsKey, kUseHtCoresValue, &value)) || !value.IsNumber()) {
    return std::nullopt;
  }
  return static_cast<unsigned long>(value.number);
}

// Makes the builder put only the record values that the checked rules read, and tells a host
// that takes hints, so that it parses no metadata that nobody reads.
void NarrowRecords(const std::vector<std::shared_ptr<const CRule>>& rules, ILumarkoHost& host,
                   CFileRecordBuilder& builder) {
  RecordKeySet needed;
  try {
    for (const std::shared_ptr<const CRule>& rule : rules) {
      if (rule && rule->IsChecked()) rule->AddNeededKeys(needed);
    }
  } catch (...) {
    // Whatever could not be told is read from the whole record.
    needed.AddEvery();
  }
  builder.SetNeededKeys(needed);
  ComPtr<ILumarkoRecordHints> hints;
  if (FAILED(host.QueryInterface(IID_ILumarkoRecordHints, reinterpret_cast<void**>(&hints))) ||
      !hints) {
    return;
  }
  if (needed.IsEvery()) {
    (void)hints->SetNeededKeys(0, nullptr);
    return;
  }
  std::vector<LPCWSTR> names;
  for (std::wstring_view name : builder.BuiltKeyNames()) names.push_back(name.data());
  (void)hints->SetNeededKeys(static_cast<ULONG>(names.size()), names.data());
}

}  // namespace

// What the runner thread and the workers share during one run.
struct CBatchRunner::RunState {
  ComPtr<IDictionary> globals;
  ComPtr<IDictionary> attachments;
  std::unique_ptr<CFileRecordBuilder> builder;
  // Kept open for the run, so that every counter of the run uses one connection.
  std::shared_ptr<SettingsStore> settings;
  ULONG total = 0;
  std::atomic<LONG> done{0};
  // Percent last reported; the lock keeps reports in growing order across workers. It is read
  // without the lock first: most images move no percent, and two workers meeting on the lock for
  // each one cost a wake-up.
  std::mutex progressLock;
  std::atomic<DWORD> lastPercent{0};
};

CBatchRunner::CBatchRunner(std::unique_ptr<EventLogWriter> log, BatchRunnerOptions options)
    : log_(log ? std::move(log) : std::make_unique<EventLogWriter>()),
      options_(std::move(options)) {}

CBatchRunner::~CBatchRunner() {
  Cancel();
  Finish();
}

bool CBatchRunner::Start(ProgressSink* sink, HWND window,
                         std::vector<std::shared_ptr<const CRule>> rules, DWORD mode,
                         ILumarkoHost* host) {
  std::lock_guard lock(mutex_);
  if (busy_ || sink == nullptr || host == nullptr || !IsOperatingMode(mode)) return false;
  try {
    const std::wstring path =
        options_.logFilePath.empty() ? EventLogWriter::DefaultLogFilePath() : options_.logFilePath;
    // A log that cannot be opened costs the run its record, not the run itself.
    log_->OpenBatchLog(path);
    sink_ = sink;
    window_ = window;
    rules_ = std::move(rules);
    mode_ = mode;
    host_ = ComPtr<ILumarkoHost>(host);
    GetSystemTimeAsFileTime(&startTime_);
    cancel_ = std::make_unique<ManualResetEvent>();
    RunCancellation::Clear();
    busy_ = true;
    thread_ = std::thread(&CBatchRunner::RunThread, this);
    return true;
  } catch (...) {
    busy_ = false;
    cancel_.reset();
    host_.Reset();
    if (log_->IsOpen()) log_->CloseBatchLog();
    return false;
  }
}

void CBatchRunner::Cancel() {
  std::lock_guard lock(mutex_);
  if (cancel_) {
    cancel_->Set();
    // Workers waiting for a volume lock or a file held open give up too.
    RunCancellation::Request();
  }
}

bool CBatchRunner::IsBusy() const {
  std::lock_guard lock(mutex_);
  return busy_;
}

BatchRunResult CBatchRunner::Finish() {
  std::thread runner;
  {
    std::lock_guard lock(mutex_);
    if (!busy_) return {};
    runner = std::move(thread_);
  }
  if (runner.joinable()) runner.join();

  BatchRunResult result;
  result.aborted = abort_.load();
  result.mode = mode_;
  result.processed = imagesProcessed_.load();
  result.skipped = imagesSkipped_.load();
  result.fatalErrors = log_->Count(kEventLevelFatal);
  result.errors = log_->Count(kEventLevelError);
  result.warnings = log_->Count(kEventLevelWarning);
  result.logFilePath = log_->LogFilePath();
  if (log_->IsOpen()) log_->CloseBatchLog();

  std::lock_guard lock(mutex_);
  busy_ = false;
  cancel_.reset();
  rules_.clear();
  host_.Reset();
  sink_ = nullptr;
  return result;
}

void CBatchRunner::RunThread() {
  // Multithreaded apartment, no OLE1 DDE, speed over memory.
  const HRESULT com = CoInitializeEx(
      nullptr, COINIT_MULTITHREADED | COINIT_DISABLE_OLE1DDE | COINIT_SPEED_OVER_MEMORY);
  DWORD aborted = 1;
  {
    // Actions reach the run's log through this scope; it ends only after every worker is done.
    EventLogWriter::Scope scope(*log_);
    RunState state;
    try {
      Run(state);
      aborted = abort_.load() ? 1 : 0;
    } catch (...) {
      abort_.store(true);
      log_->Fatal(L"The batch job stopped on an unexpected error (0x%08lx).",
                  HresultFromCurrentException());
    }
  }
  // Nothing of this object may be touched after this call: the dialog may take the run back.
  sink_->OnRunFinished(aborted);
  if (SUCCEEDED(com)) CoUninitialize();
}

void CBatchRunner::Run(RunState& state) {
  // Folder listings, made folders and folder devices are remembered for this run only.
  const ScopedRunMemory runMemory;
  // Counter values come from blocks reserved for the run; the unused rest goes back at its end.
  const TemplateCounters::RunScope counterBlocks;
  imagesSkipped_.store(0);
  imagesProcessed_.store(0);
  abort_.store(false);
  sink_->OnRunStarted(mode_ > 1 ? 1 : 0);
  const auto started = std::chrono::steady_clock::now();

  // A run cancelled before it began, or one whose host fails at once, ends as aborted.
  if (cancel_->IsSet()) {
    abort_.store(true);
    return;
  }
  try {
    state.globals = MakeDictionary();
    state.attachments = MakeDictionary();
  } catch (...) {
    return;
  }

  if (FAILED(FillRunGlobals(*host_.Get(), window_, *state.globals.Get()))) {
    abort_.store(true);
    return;
  }
  if (!options_.runPaths.empty()) {
    std::wstring list;
    for (const std::wstring& path : options_.runPaths) list += path + L'\0';
    const Bstr name(L"App.RunPaths");
    const Variant paths = Variant::String(list);
    ThrowIfFailed(state.globals->put_Value(name.get(), paths.ref()));
  }
  sink_->OnProgress(0);
  // Said once here rather than per image: a run that needs no counter is not held up by it.
  if (FAILED(SettingsStore::Open(SettingsScope::CurrentUser, &state.settings))) {
    std::wstring why = TakeErrorDescription();
    if (why.empty()) why = L"the settings store cannot be opened";
    why[0] = static_cast<wchar_t>(std::towupper(why[0]));
    log_->Warning(batch_text::kSettingsUnusable, why);
  }

  state.builder = std::make_unique<CFileRecordBuilder>(host_.Get(), state.globals.Get(),
                                                       state.attachments.Get(), options_.fileExists,
                                                       options_.createDictionary);
  NarrowRecords(rules_, *host_.Get(), *state.builder);

  ComPtr<ILumarkoImage> first;
  HRESULT fetched = S_FALSE;
  switch (static_cast<OperatingMode>(mode_)) {
    case OperatingMode::kCurrentImage: {
      ULONG current = 0;
      if (FAILED(host_->GetCurrentIndex(&current))) {
        abort_.store(true);
        return;
      }
      state.total = 1;
      fetched = host_->GetImageAt(current, &first);
      break;
    }
    case OperatingMode::kAllImages:
      if (FAILED(host_->GetImageCount(&state.total))) {
        abort_.store(true);
        return;
      }
      if (state.total > 0) fetched = host_->GetFirstImage(&first);
      break;
    case OperatingMode::kCurrentAndRemaining: {
      ULONG current = 0;
      ULONG last = 0;
      if (FAILED(host_->GetCurrentIndex(&current)) || FAILED(host_->GetLastIndex(&last))) {
        abort_.store(true);
        return;
      }
      state.total = last >= current ? last - current + 1 : 0;
      if (state.total > 0) fetched = host_->GetCurrentImage(&first);
      break;
    }
  }

  if (state.total > 0) {
    // The first image goes before the parallel phase and outside the percentage count; alone,
    // it would show no progress at all, so the display shows three quarters while it runs.
    if (state.total == 1) {
      std::lock_guard lock(state.progressLock);
      state.lastPercent.store(75, std::memory_order_relaxed);
      sink_->OnProgress(75);
    }
    ProcessFetched(state, fetched, first.Get());
    first.Reset();
  }

  const long remaining = state.total > 1 ? static_cast<long>(state.total) - 1 : 0;
  if (remaining > 0 && !abort_.load()) {
    const int workers = static_cast<int>(WorkerCount());
#pragma omp parallel num_threads(workers)
    {
      // Workers run at the lowest priority for the whole loop: asking for it around every
      // image cost three system calls each.
      const LowestThreadPriorityScope lowest;
#pragma omp for schedule(static)
      for (long i = 0; i < remaining; ++i) {
        if (abort_.load()) continue;
        if (cancel_->IsSet()) {
          abort_.store(true);
          continue;
        }
        // Nothing may leave an OpenMP loop body by exception.
        try {
          ComPtr<ILumarkoImage> image;
          const HRESULT hr = host_->GetNextImageOfRange(&image);
          ProcessFetched(state, hr == S_OK ? S_OK : E_FAIL, image.Get());
        } catch (...) {
          imagesSkipped_.fetch_add(1);
        }
        state.done.fetch_add(1);
        ReportProgress(state);
      }
    }
  }

  // Copies of this run reach the device together now, whether or not the run was aborted, and
  // before the range ends: the host sees the run's work done only when they are on the disk.
  if (FAILED(FlushDeferredCopies())) {
    log_->Error(batch_text::kCopiesNotFlushed, TakeErrorDescription());
  }
  EndOfRun(state, abort_.load());
  if (const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
          std::chrono::steady_clock::now() - started);
      elapsed < options_.minimumRunTime) {
    std::this_thread::sleep_for(std::max(options_.minimumRunTime - elapsed, kMinimumPause));
  }

  try {
    CountUsage(L"ImagesProcessed", imagesProcessed_.load());
    CountUsage(L"ImagesSkipped", imagesSkipped_.load());
  } catch (...) {
    // The host's counter is a statistic; its failure must not change the run's outcome.
  }
  Variant keepCopy;
  const Bstr keepCopyName(kKeepCopyIndexKey);
  if (SUCCEEDED(state.globals->get_Value(keepCopyName.get(), &keepCopy)) &&
      SUCCEEDED(keepCopy.ChangeType(VT_UI4))) {
    host_->SetSessionKeepCopyIndex(keepCopy.ref().ulVal);
  }
  if (const LONG skipped = imagesSkipped_.load(); skipped > 0) {
    log_->Warning(batch_text::kSkippedCount, static_cast<int>(skipped));
  }
  if (!abort_.load()) HandOffAttachments(state.attachments.Get());
}

void CBatchRunner::EndOfRun(RunState& state, bool aborted) {
  if (aborted) return;
  // One more step takes the host's range past its end. The current image alone walks no
  // range: a step there would only make the host read the next image for nothing.
  if (mode_ != static_cast<DWORD>(OperatingMode::kCurrentImage)) {
    ComPtr<ILumarkoImage> end;
    host_->GetNextImageOfRange(&end);
  }
  std::lock_guard lock(state.progressLock);
  if (state.lastPercent.load(std::memory_order_relaxed) != 100) {
    state.lastPercent.store(100, std::memory_order_relaxed);
    sink_->OnProgress(100);
  }
}

void CBatchRunner::ProcessFetched(RunState& state, HRESULT fetched, ILumarkoImage* image) {
  if (FAILED(fetched) || image == nullptr) {
    const std::wstring description = TakeErrorDescription();
    SkipImage(description.empty() ? kUndeliveredImage : std::wstring_view(description));
    imagesSkipped_.fetch_add(1);
    return;
  }
  const ImageOutcome outcome = ProcessImage(state, image);
  if (outcome.processed) {
    imagesProcessed_.fetch_add(1);
  } else {
    imagesSkipped_.fetch_add(1);
  }
  if (outcome.status == E_ABORT) abort_.store(true);
}

void CBatchRunner::SkipImage(std::wstring_view path) const {
  log_->Warning(batch_text::kSkipping, path);
}

void CBatchRunner::ShowInternalError(std::wstring_view text) const {
  // Logged too, so that the summary counts it and the events list shows it after the run.
  log_->Write(kEventLevelError, text);
  sink_->OnInternalError(kInternalErrorCaption, text);
}

ImageOutcome CBatchRunner::ProcessImage(RunState& state, ILumarkoImage* image) const {
  const LMKIMAGERECORD* record = nullptr;
  if (FAILED(image->GetRecord(&record)) || record == nullptr) {
    SkipImage(kUndeliveredImage);
    return {};
  }
  const std::wstring_view path =
      record->fullPath != nullptr ? std::wstring_view(record->fullPath) : std::wstring_view();

  ComPtr<IDictionary> dictionary;
  switch (state.builder->Build(*record, dictionary)) {
    case FileRecordStatus::kBuilt:
      break;
    case FileRecordStatus::kMissing:
      // Deleted or moved away since the host listed it: skipped, not an error.
      SkipImage(path);
      return {};
    case FileRecordStatus::kCannotCreate:
      ShowInternalError(kCannotCreateDictionaryText);
      return {};
    case FileRecordStatus::kCannotFill:
      ShowInternalError(kCannotFillDictionaryText);
      return {};
  }
  return {true, ApplyRules(dictionary.Get(), path, record->frameNumber == 0)};
}

void CBatchRunner::ReportProgress(RunState& state) {
  const LONG done = state.done.load();
  // Single precision, rounded half up, as the progress display has always computed it.
  const auto percent = static_cast<DWORD>(
      static_cast<float>(done) * 100.0f / static_cast<float>(state.total) + 0.5f);
  if (percent <= state.lastPercent.load(std::memory_order_relaxed)) return;
  std::lock_guard lock(state.progressLock);
  if (percent > state.lastPercent.load(std::memory_order_relaxed)) {
    state.lastPercent.store(percent, std::memory_order_relaxed);
    sink_->OnProgress(percent);
  }
}

unsigned CBatchRunner::WorkerCount() const {
  if (options_.threadCount > 0) return options_.threadCount;
  return ChooseWorkerCount(ReadUseHtCores(), LogicalProcessorCount(), PhysicalCoreCount());
}

HRESULT CBatchRunner::ApplyRules(IDictionary* record, std::wstring_view fileName,
                                 bool firstFrame) const {
  // A match line is held until the action's own line goes out with it in one write; whatever is
  // still held when the file is done goes out then.
  struct HeldFlush {
    EventLogWriter& log;
    ~HeldFlush() { log.FlushHeld(); }
  } const heldFlush{*log_};
  for (const std::shared_ptr<const CRule>& rule : rules_) {
    if (!rule || !rule->IsChecked()) continue;
    TakeErrorDescription();
    const HRESULT selection = rule->EvaluateSelection(record);
    if (FAILED(selection)) {
      log_->Error(batch_text::kEvaluationFailed, selection);
      // The condition's own words (which pattern, which text) follow the code, as they stand.
      if (const std::wstring why = TakeErrorDescription(); !why.empty()) {
        log_->Write(kEventLevelError, why);
      }
      continue;
    }
    if (selection != S_OK) continue;
    // Each frame of a multi-frame file is its own image; the file is reported once.
    if (firstFrame) {
      const bool selective = !rule->Conditions().empty() || !rule->Exceptions().empty();
      log_->Hold(kEventLevelInformation,
                 selective ? batch_text::kMatches : batch_text::kUnconditional, fileName);
    }

    for (const std::shared_ptr<CAction>& action : rule->Actions()) {
      // A description left over from earlier work must not be blamed on this action.
      TakeErrorDescription();
      HRESULT hr = S_OK;
      try {
        hr = action->Execute(record);
      } catch (...) {
        hr = E_POINTER;
      }
      if (hr == E_ABORT) {
        log_->Warning(batch_text::kForciblyAborted);
        return E_ABORT;
      }
      if (SUCCEEDED(hr)) continue;

      const std::wstring description = TakeErrorDescription();
      // The description is the action's own text, written as it stands (it may hold '%').
      log_->Write(kEventLevelError,
                  description.empty() ? batch_text::kNoErrorInformation : description);
      bool nextRule = false;
      switch (action->OnFailure()) {
        case CActionErrorMode::Ignore:
          log_->Warning(batch_text::kIgnoring);
          break;
        case CActionErrorMode::SkipActions:
          log_->Warning(batch_text::kSkippingActions);
          nextRule = true;
          break;
        case CActionErrorMode::SkipActionsAndRules:
          log_->Warning(batch_text::kSkippingActionsAndRules);
          return S_OK;
        case CActionErrorMode::Abort:
          log_->Fatal(batch_text::kAbortedByPolicy);
          return E_ABORT;
      }
      if (nextRule) break;
    }
  }
  return S_OK;
}

void CBatchRunner::HandOffAttachments(IDictionary* attachments) const {
  if (attachments == nullptr) return;
  const std::wstring failure = StartAttachmentMail(CollectAttachments(*attachments));
  if (!failure.empty()) ShowInternalError(failure);
}

}  // namespace lmk

// CBatchRunner: applies the checked rules of a rule set to the host's images on a thread of its
// own, the images in parallel, writing every step to the run's event log.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "batch/file_record_builder.h"
#include "batch/manual_reset_event.h"
#include "batch/progress_sink.h"
#include "com/com.h"
#include "com/com_ptr.h"
#include "dictionary/idictionary.h"
#include "host_api/lumarko_host.h"
#include "platform/event_log_writer.h"
#include "rules/rule.h"

namespace lmk {

/// Which images a run processes (the value the dialog stores as "LastOperatingMode").
enum class OperatingMode : DWORD {
  kCurrentImage = 1,        ///< the host's current image only
  kAllImages = 2,           ///< every image of the host's list
  kCurrentAndRemaining = 3  ///< the current image and every later one
};

/// True for the three modes above.
constexpr bool IsOperatingMode(DWORD value) { return value >= 1 && value <= 3; }

/// The log texts of a run.
namespace batch_text {
inline constexpr std::wstring_view kMatches = L"\"%ls\" matches the selection condition(s).";
inline constexpr std::wstring_view kUnconditional = L"\"%ls\" will be processed unconditionally.";
inline constexpr std::wstring_view kEvaluationFailed =
    L"The condition(s)/exception(s) evaluation failed with 0x%08lx";
inline constexpr std::wstring_view kNoErrorInformation = L"No error information.";
inline constexpr std::wstring_view kIgnoring = L"Ignoring error by policy.";
inline constexpr std::wstring_view kSkippingActions =
    L"Skipping any remaining action(s) for this file by policy.";
inline constexpr std::wstring_view kSkippingActionsAndRules =
    L"Skipping any remaining action(s) and subsequent rule(s) for this file by policy.";
inline constexpr std::wstring_view kAbortedByPolicy = L"Batch job aborted by policy.";
inline constexpr std::wstring_view kForciblyAborted = L"Batch job forcibly aborted.";
inline constexpr std::wstring_view kSkipping = L"Skipping \"%s\".";
/// Copies stay on the page cache until the run ends; when they cannot be flushed then, the
/// user must know that they may not survive a power cut (their sources are untouched).
inline constexpr std::wstring_view kCopiesNotFlushed =
    L"The copies made by this run may not be on the disk yet: %ls";
/// The settings store cannot be used: the run goes on, but no counter can be handed out.
inline constexpr std::wstring_view kSettingsUnusable =
    L"%ls. Until then, actions whose templates use {AutoIncrement} or {AutoCycle} fail; "
    L"everything else runs as usual.";
inline constexpr std::wstring_view kSkippedCount = L"Skipped %d invalid image(s).";
inline constexpr std::wstring_view kCanceling = L"Canceling batch job at user's request.";
}  // namespace batch_text

/// What the dialog learns when it takes a finished run back (CBatchRunner::Finish).
struct BatchRunResult {
  bool aborted = false;      ///< cancelled, aborted, or the host failed before the first image
  DWORD mode = 0;            ///< the operating mode of the run
  LONG processed = 0;        ///< images the rules were applied to
  LONG skipped = 0;          ///< images that were missing or could not be delivered
  LONG fatalErrors = 0;      ///< fatal events of the run's log
  LONG errors = 0;           ///< error events
  LONG warnings = 0;         ///< warning events
  std::wstring logFilePath;  ///< the file the events were written to
};

/// Settings of a runner that tests and special hosts change; the defaults are the product's.
struct BatchRunnerOptions {
  /// A run never ends visibly sooner than this after its start, so that very short runs do not
  /// flash the progress display.
  std::chrono::milliseconds minimumRunTime{750};
  /// Parallel workers; 0 takes the count from "UseHTCores" and the processor topology.
  unsigned threadCount = 0;
  /// The event log file; empty for the user's log folder.
  std::wstring logFilePath;
  /// Whether a file exists; empty asks the file system.
  CFileRecordBuilder::FileExistsFn fileExists;
  /// Makes the per-file dictionaries; empty makes CDictionary objects.
  CFileRecordBuilder::DictionaryFactory createDictionary;
  /// The files and folders the host's user gave the run; the globals hold them as
  /// `App.RunPaths`, each path ended by a NUL character. Empty: the key is left out.
  std::vector<std::wstring> runPaths;
};

/// What happened to one image.
struct ImageOutcome {
  bool processed = false;  ///< false when the file is missing or its record could not be made
  HRESULT status = S_OK;   ///< E_ABORT when the run must stop
};

/// One run at a time: Start, then (optionally) Cancel, then, once the sink has been told that
/// the run finished, Finish. The object must outlive its run; its destructor cancels and waits.
class CBatchRunner {
 public:
  /// Writes its events through `log` (the system's event log when null).
  explicit CBatchRunner(std::unique_ptr<EventLogWriter> log = nullptr,
                        BatchRunnerOptions options = {});
  ~CBatchRunner();
  CBatchRunner(const CBatchRunner&) = delete;
  CBatchRunner& operator=(const CBatchRunner&) = delete;

  /// Starts a run of `rules` (the checked ones are applied, in order) over the images that
  /// `mode` names, telling `sink` (which must outlive the run) how it goes; `window` is the
  /// dialog's window handle that actions see as App.hWnd. Opens the run's event log and writes
  /// "Batch processing started.". Returns false without doing anything while a run is under
  /// way (until Finish), when sink or host is null, or when mode is not 1..3.
  bool Start(ProgressSink* sink, HWND window, std::vector<std::shared_ptr<const CRule>> rules,
             DWORD mode, ILumarkoHost* host);

  /// Signals the cancel event: no new image starts. Safe from any thread; no effect when idle.
  void Cancel();

  /// True from Start until Finish.
  bool IsBusy() const;

  /// After OnRunFinished: waits for the runner thread, writes "Batch processing ended.", closes
  /// the log and makes the runner idle again. Returns the run's outcome. Harmless when idle.
  BatchRunResult Finish();

  /// The run's log, for the dialog's own events ("Canceling batch job at user's request.").
  EventLogWriter& Log() { return *log_; }

  /// The options in force; they may be changed while idle.
  BatchRunnerOptions& Options() { return options_; }

  /// Applies the rules to one file's dictionary: the rule loop with its logging and policies.
  /// Returns E_ABORT when the run must stop, else S_OK. Used by the workers; public so that the
  /// loop can be tested on its own.
  HRESULT ApplyRules(IDictionary* record, std::wstring_view fileName, bool firstFrame) const;

 private:
  struct RunState;

  void RunThread();
  void Run(RunState& state);
  ImageOutcome ProcessImage(RunState& state, ILumarkoImage* image) const;
  /// Processes an image the host delivered (fetched S_OK) or counts it skipped.
  void ProcessFetched(RunState& state, HRESULT fetched, ILumarkoImage* image);
  void ReportProgress(RunState& state);
  void SkipImage(std::wstring_view path) const;
  void ShowInternalError(std::wstring_view text) const;
  unsigned WorkerCount() const;
  void EndOfRun(RunState& state, bool aborted);
  /// Hands the files that actions collected for e-mail to the mail program, waiting for the
  /// send's thread at most one second.
  void HandOffAttachments(IDictionary* attachments) const;

  std::unique_ptr<EventLogWriter> log_;
  BatchRunnerOptions options_;

  mutable std::mutex mutex_;  // guards the members below against Start/Finish/Cancel races
  std::thread thread_;
  bool busy_ = false;
  std::unique_ptr<ManualResetEvent> cancel_;

  // Set by Start for the run, read by the runner thread and the workers.
  ProgressSink* sink_ = nullptr;
  HWND window_ = nullptr;
  std::vector<std::shared_ptr<const CRule>> rules_;
  DWORD mode_ = 0;
  ComPtr<ILumarkoHost> host_;
  FILETIME startTime_{};

  std::atomic<LONG> imagesProcessed_{0};
  std::atomic<LONG> imagesSkipped_{0};
  std::atomic<bool> abort_{false};
};

}  // namespace lmk

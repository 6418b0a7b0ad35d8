// lumarko apply: runs a rule set over pictures, with this program as the plug-in's host.
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "actions/renaming_template_store.h"
#include "batch/batch_runner.h"
#include "batch/event_log_reader.h"
#include "batch/main_dialog.h"
#include "cli/plugin_host_session.h"
#include "cli/progress_display.h"
#include "cli/rule_set_loading.h"
#include "cli/subcommands.h"
#include "com/time_convert.h"
#include "host/picture_file_scanner.h"
#include "host/standalone_host.h"
#include "platform/event_log_writer.h"
#include "platform/folder_listing.h"
#include "platform/terminal.h"
#include "platform/text_encoding.h"

namespace lmk::cli {
namespace {

struct ApplyOptions {
  std::string rules;
  std::vector<std::string> paths;
  std::string mode = "all";
  std::string current;
  bool recursive = false;
  bool verbose = false;
  std::string plugin;
};

constexpr const char* kApplyHelp =
    "Applies the checked rules of RULES (a YAML rule set or a .rules file) to the pictures in\n"
    "PATH... (files, and folders whose picture files are taken; hidden files are skipped). The\n"
    "pictures are listed sorted by path; the first is the current image unless --current names\n"
    "another. Progress is shown while the run goes, then the summary; `lumarko events` lists\n"
    "what happened to each file. Ctrl+C cancels the run (images already started finish).\n"
    "\n"
    "Examples:\n"
    "  lumarko apply sort.yaml ~/Pictures/2024 --recursive\n"
    "  lumarko apply sort.yaml shoot/ --mode remaining --current shoot/IMG_0042.CR3\n"
    "  lumarko apply sort.rules IMG_0001.JPG --mode current\n"
    "\n"
    "Exit status: 0 success, 1 the run could not start, 2 wrong command line, 3 warnings were\n"
    "recorded, 4 errors were recorded, 5 the run was cancelled or aborted.";

DWORD ModeValue(const std::string& mode) {
  if (mode == "current") return static_cast<DWORD>(OperatingMode::kCurrentImage);
  if (mode == "remaining") return static_cast<DWORD>(OperatingMode::kCurrentAndRemaining);
  return static_cast<DWORD>(OperatingMode::kAllImages);
}

// The run's outcome from its log: the same counts the summary was made of. A log that this run
// did not write (the plug-in refused to start, and said why) gives nullopt.
std::optional<int> OutcomeFromLog(int64_t runStart) {
  EventLogContents contents;
  if (EventLogReader::Read(EventLogWriter::DefaultLogFilePath(), &contents) != ERROR_SUCCESS ||
      contents.entries.empty() || contents.entries.front().time < runStart) {
    return std::nullopt;
  }
  bool fatal = false, errors = false, warnings = false, cancelled = false;
  for (const EventLogEntry& entry : contents.entries) {
    fatal = fatal || entry.level == kEventLevelFatal;
    errors = errors || entry.level == kEventLevelError;
    warnings = warnings || entry.level == kEventLevelWarning;
    cancelled = cancelled || entry.text == batch_text::kCanceling;
  }
  if (fatal || cancelled) return kExitAborted;
  if (errors) return kExitErrors;
  if (warnings) return kExitWarnings;
  return kExitSuccess;
}

int RunApply(const ApplyOptions& options) {
  CRuleEngine rules;
  if (!LoadRuleSet(options.rules, &rules)) return kExitFailure;

  std::vector<std::wstring> inputs;
  for (const std::string& path : options.paths) inputs.push_back(FromUtf8(path));
  PictureScanOptions scanOptions;
  scanOptions.recursive = options.recursive;
  std::vector<std::wstring> files;
  std::wstring why;
  std::vector<std::wstring> leftOut;
  if (FAILED(CPictureFileScanner(scanOptions).Scan(inputs, &files, &why, &leftOut))) {
    PrintError("cannot list the pictures", ToUtf8(why));
    return kExitFailure;
  }
  WarnLeftOut(leftOut);
  // The dialog's own checks, in its order: the list first, then the rules.
  if (files.empty()) {
    const std::wstring hint = options.recursive
                                  ? L"no picture was found in the paths given: check them"
                                  : L"no picture was found in the paths given: check them, or add "
                                    L"--recursive";
    PrintMessage("", dialog_text::kNoImages, dialog_text::kNoImagesDetail, {&hint, 1});
    return kExitFailure;
  }
  const RuleSetTemplatesScope ownTemplates(rules.Templates());
  if (!CheckRuleSet(options.rules, rules)) return kExitFailure;
  const std::wstring imagesFolder = CPictureFileScanner::CommonFolder(files);
  const ComPtr<CStandaloneHost> host = MakeComObject<CStandaloneHost>(files, imagesFolder);
  ULONG currentIndex = 0;
  if (!options.current.empty()) {
    std::vector<std::wstring> current;
    const std::wstring currentInput = FromUtf8(options.current);
    if (FAILED(CPictureFileScanner().Scan({&currentInput, 1}, &current, &why)) ||
        current.size() != 1 || FAILED(host->SetCurrentFile(current.front()))) {
      PrintError("--current " + options.current, "not one of the listed pictures");
      return kExitFailure;
    }
    host->GetCurrentIndex(&currentIndex);
  }

  PluginHostSession session;
  if (FAILED(session.Start(PluginModule::Locate(options.plugin), &why))) {
    PrintError("cannot load the plug-in", ToUtf8(why));
    return kExitFailure;
  }

  RunRequest request;
  request.run = true;
  request.mode = ModeValue(options.mode);
  // The host draws the progress itself (with counts and time); the events are
  // `lumarko events`'s.
  request.flags = 0;
  request.rules = rules.Rules();
  request.templates = rules.Templates();
  // The removal of emptied folders stays inside what the user named.
  for (const std::wstring& input : inputs) {
    request.runPaths.push_back(CPictureFileScanner::AbsolutePath(input));
  }

  std::unique_ptr<ProgressDisplay> progress;
  if (request.mode != static_cast<DWORD>(OperatingMode::kCurrentImage)) {
    const ULONG total = request.mode == static_cast<DWORD>(OperatingMode::kAllImages)
                            ? static_cast<ULONG>(files.size())
                            : static_cast<ULONG>(files.size()) - currentIndex;
    CStandaloneHost* observed = host.Get();
    progress = std::make_unique<ProgressDisplay>(
        stdout, IsTerminal(stdout), total, [observed] { return observed->ImagesDelivered(); });
    ProgressDisplay* display = progress.get();
    host->SetRunEndedCallback([display] { display->Finish(); });
  }

  FILETIME started{};
  GetSystemTimeAsFileTime(&started);
  DWORD postAction = 0;
  HRESULT hr = S_OK;
  {
    // The host looks for a sidecar beside every picture it reads: during the run it answers
    // from folder listings, as the plug-in does for its own lookups. The plug-in is a module
    // of its own and keeps its own listings; this scope is the host's.
    const ScopedRunMemory listings;
    hr = session.Run(host.Get(), request, &postAction, &why);
  }
  host->SetRunEndedCallback({});
  progress.reset();
  if (FAILED(hr)) {
    PrintError("the plug-in failed", ToUtf8(why));
    return kExitFailure;
  }
  if (options.verbose) {
    for (const CHostUsageCounter::Count& count : session.Counter().Counts()) {
      std::printf("usage: %s %s %ld\n", ToUtf8(count.category).c_str(), ToUtf8(count.event).c_str(),
                  static_cast<long>(count.count));
    }
    if (const std::optional<double> seconds = host->RangeSeconds(); seconds && *seconds > 0) {
      const ULONG images = host->ImagesDelivered();
      std::printf("processed %lu picture(s) in %.3f s: %.0f pictures/s\n",
                  static_cast<unsigned long>(images), *seconds, images / *seconds);
    }
  }
  const std::optional<int> outcome = OutcomeFromLog(FileTimeToInt64(started));
  if (!outcome) {
    PrintError("the rules were not applied", "see the message above");
    return kExitFailure;
  }
  return *outcome;
}

}  // namespace

Runner SetupApply(CLI::App& app) {
  auto options = std::make_shared<ApplyOptions>();
  CLI::App* command = app.add_subcommand("apply", "apply a rule set to pictures");
  command->footer(kApplyHelp);
  command->add_option("RULES", options->rules, "the rule set: a .yaml/.yml file or a .rules file")
      ->required();
  command->add_option("PATH", options->paths, "pictures and folders of pictures")->required();
  command
      ->add_option("--mode", options->mode,
                   "current: the current image only; all: every listed picture; remaining: the "
                   "current image and every later one")
      ->check(CLI::IsMember({"current", "all", "remaining"}))
      ->capture_default_str();
  command->add_option("--current", options->current,
                      "the picture that is the current image (default: the first listed)");
  command->add_flag("-r,--recursive", options->recursive, "also take pictures of sub-folders");
  command->add_flag(
      "-v,--verbose", options->verbose,
      "after the run, print what the plug-in counted (usage counters) and the processing rate");
  PluginModule::AddOption(*command, &options->plugin);
  return [options] { return RunApply(*options); };
}

}  // namespace lmk::cli

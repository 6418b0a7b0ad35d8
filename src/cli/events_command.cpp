// lumarko events: the events of the last run, filtered by severity, printed or saved as text.
#include <cstdio>
#include <memory>
#include <string>

#include "batch/event_filter.h"
#include "batch/event_log_exporter.h"
#include "batch/event_log_reader.h"
#include "batch/event_log_texts.h"
#include "batch/event_time_text.h"
#include "cli/subcommands.h"
#include "platform/event_log_writer.h"
#include "platform/text_encoding.h"

namespace lmk::cli {
namespace {

struct EventsOptions {
  std::string filter = "all";
  std::string save;
  std::string log;
};

constexpr const char* kEventsHelp =
    "Lists the events of the last run (`lumarko apply`): each line has the type (Fatal, Error,\n"
    "Warning, Info), the time and the description, separated by tabs. When the log is damaged,\n"
    "the events before the damage are listed, then an error says what is wrong and at which byte,\n"
    "and the exit status is 1.\n"
    "\n"
    "Examples:\n"
    "  lumarko events\n"
    "  lumarko events --filter warnings          # warnings and errors only\n"
    "  lumarko events --save last-run.txt        # the list as a text file";

EventFilter FilterOf(const std::string& word) {
  if (word == "errors") return EventFilter::kOnlyErrors;
  if (word == "warnings") return EventFilter::kWarningsAndErrors;
  if (word == "info") return EventFilter::kInfoWarningsAndErrors;
  return EventFilter::kAllEvents;
}

int RunEvents(const EventsOptions& options) {
  const std::wstring log =
      options.log.empty() ? EventLogWriter::DefaultLogFilePath() : FromUtf8(options.log);
  EventLogContents contents;
  const DWORD read = EventLogReader::Read(log, &contents);
  if (read == ERROR_FILE_NOT_FOUND) {
    PrintError("no events", "no run has written " + ToUtf8(log) + " yet");
    return kExitFailure;
  }
  if (read != ERROR_SUCCESS) {
    PrintError("cannot read " + ToUtf8(log), contents.damage.empty()
                                                 ? DescribeFailure(HRESULT_FROM_WIN32(read))
                                                 : ToUtf8(contents.damage));
    return kExitFailure;
  }
  const std::vector<EventLogEntry> shown = FilterEvents(contents.entries, FilterOf(options.filter));
  if (!options.save.empty()) {
    const DWORD saved = EventLogExporter::Save(FromUtf8(options.save), shown);
    if (saved != ERROR_SUCCESS) {
      PrintError(ToUtf8(EventLogExporter::SaveFailedText()),
                 options.save + ": " + DescribeFailure(HRESULT_FROM_WIN32(saved)));
      return kExitFailure;
    }
    std::printf("Saved %zu event(s) to %s.\n", shown.size(), options.save.c_str());
  } else {
    std::string text;
    for (const EventLogEntry& entry : shown) {
      text += ToUtf8(EventLevelWord(entry.level)) + "\t" + ToUtf8(EventTimeText(entry.time)) +
              "\t" + ToUtf8(entry.text) + "\n";
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
  }
  // The readable part is listed (or saved) first; the damage still fails the command, so a
  // script never takes a partial list for the whole run.
  if (!contents.damage.empty()) {
    PrintError("damaged event log", ToUtf8(contents.damage));
    return kExitFailure;
  }
  return kExitSuccess;
}

}  // namespace

Runner SetupEvents(CLI::App& app) {
  auto options = std::make_shared<EventsOptions>();
  CLI::App* command = app.add_subcommand("events", "list the events of the last run");
  command->footer(kEventsHelp);
  command
      ->add_option("--filter", options->filter,
                   "all: every event; errors: errors only; warnings: warnings and errors; info: "
                   "information, warnings and errors")
      ->check(CLI::IsMember({"all", "errors", "warnings", "info"}))
      ->capture_default_str();
  command->add_option("--save", options->save,
                      "write the listed events to this text file instead of printing them");
  command->add_option("--log", options->log,
                      "the log to read (default: the last run's, "
                      "$XDG_DATA_HOME/Lumarko/Logs/LMKBatchProcessorLog.etl)");
  return [options] { return RunEvents(*options); };
}

}  // namespace lmk::cli

// The event log's string table, kept in step with EventLogText by a static_assert.
#include "batch/event_log_texts.h"

#include <array>
#include <utility>

namespace lmk {

namespace {

struct Entry {
  EventLogText id;
  std::wstring_view text;
};

constexpr std::array kTexts = {
    Entry{EventLogText::kColumnType, L"Type"},
    Entry{EventLogText::kColumnTime, L"Time"},
    Entry{EventLogText::kColumnDescription, L"Description"},
    Entry{EventLogText::kColumnComment, L"Comment"},
    Entry{EventLogText::kLevelInfo, L"Info"},
    Entry{EventLogText::kLevelWarning, L"Warning"},
    Entry{EventLogText::kLevelError, L"Error"},
    Entry{EventLogText::kLevelFatal, L"Fatal"},
    Entry{EventLogText::kFilterAllEvents, L"All Events"},
    Entry{EventLogText::kFilterOnlyErrors, L"Only Errors"},
    Entry{EventLogText::kFilterWarningsAndErrors, L"Warnings & Errors"},
    Entry{EventLogText::kFilterInfoWarningsAndErrors, L"Info, Warnings & Errors"},
    Entry{EventLogText::kDaysPart, L"%d days, "},
    Entry{EventLogText::kOneDayPart, L"%d day, "},
    Entry{EventLogText::kLevelInformation, L"Information"},
    Entry{EventLogText::kLevelVerboseDetail, L"Verbose Detail"},
    Entry{EventLogText::kExecutionTime, L"Execution time: %s"},
    Entry{EventLogText::kLevelFatalHeading, L"Fatal Error"},
    Entry{EventLogText::kSaveAsFilter, L"Text Files (*.txt)|*.txt|All Files (*.*)|*.*|"},
    Entry{EventLogText::kSaveAsTitle, L"Save Batch Processor Event Log As..."},
    Entry{EventLogText::kSaveFailed, L"An error occured while saving the file, sorry."},
    Entry{EventLogText::kExportHeader, L"Lumarko Batch Processor Event Log - Generated on"},
    Entry{EventLogText::kDamagedTruncated,
          L"The event log \"%ls\" ends inside an event at byte %llu (the run that wrote it may "
          L"have been interrupted); the events before it are shown."},
    Entry{EventLogText::kDamagedCorrupt,
          L"The event log \"%ls\" is damaged at byte %llu; the events before it are shown."},
};
static_assert(kTexts.size() == 24, "one entry per EventLogText value");

}  // namespace

std::wstring_view LoadEventLogText(EventLogText id) {
  for (const Entry& entry : kTexts) {
    if (entry.id == id) return entry.text;
  }
  return {};
}

std::wstring_view EventLevelWord(BYTE level) {
  switch (level) {
    case 1:
      return LoadEventLogText(EventLogText::kLevelFatal);
    case 2:
      return LoadEventLogText(EventLogText::kLevelError);
    case 3:
      return LoadEventLogText(EventLogText::kLevelWarning);
    case 4:
      return LoadEventLogText(EventLogText::kLevelInfo);
    case 5:
      return LoadEventLogText(EventLogText::kLevelVerboseDetail);
    default:
      return L"?";
  }
}

}  // namespace lmk

// The event log's string table, kept in step with EventLogText by a static_assert.
#include "batch/event_log_texts.h"

#include <array>
#include <utility>

namespace lmk {

namespace {

// One row of a text table: a value and its words.
template <class Key>
struct KeyText {
  Key key;
  std::wstring_view text;
};

template <class Key, std::size_t N>
std::wstring_view TextOf(const std::array<KeyText<Key>, N>& table, Key key,
                         std::wstring_view missing) {
  for (const KeyText<Key>& entry : table) {
    if (entry.key == key) return entry.text;
  }
  return missing;
}

using Entry = KeyText<EventLogText>;

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
          L"The event log \"%ls\" is cut short at byte %llu: %ls. The %llu event(s) before it "
          L"are shown; the run that wrote it was probably interrupted."},
    Entry{EventLogText::kDamagedCorrupt,
          L"The event log \"%ls\" is damaged at byte %llu: %ls. The %llu event(s) before it are "
          L"shown; what follows cannot be trusted."},
    Entry{EventLogText::kDamagedHeader,
          L"The event log \"%ls\" cannot be read: %ls. It was not written by this program or "
          L"has been overwritten; apply the rules again to write a new one."},
};
static_assert(kTexts.size() == 25, "one entry per EventLogText value");

using Problem = EventTraceDamage::Problem;
using ProblemEntry = KeyText<Problem>;

constexpr std::array kProblems = {
    ProblemEntry{Problem::kNone, L"no damage"},
    ProblemEntry{Problem::kEmptyFile, L"the file is empty"},
    ProblemEntry{Problem::kHeaderCut, L"the file ends inside its header"},
    ProblemEntry{Problem::kHeaderSize, L"its header announces %llu bytes, which no log header has"},
    ProblemEntry{Problem::kNotThisProgram, L"its header does not carry this program's mark"},
    ProblemEntry{Problem::kHeaderLayout, L"its header's session or file name is out of place"},
    ProblemEntry{Problem::kRecordCut, L"the file ends inside an event"},
    ProblemEntry{Problem::kRecordSize,
                 L"an event's size field says %llu bytes (48 or 64 expected)"},
    ProblemEntry{Problem::kEventClass, L"an event carries a foreign class GUID"},
    ProblemEntry{Problem::kFlags, L"an event's flags 0x%llx do not fit its size"},
    ProblemEntry{Problem::kLevel, L"an event's level is %llu (1 to 5 expected)"},
    ProblemEntry{Problem::kType, L"an event's type is %llu (0 to 9 expected)"},
    ProblemEntry{Problem::kTextLength, L"an event's text length or place, %llu, is not possible"},
    ProblemEntry{Problem::kTextEnd, L"an event's text lacks its terminating zero"},
};
static_assert(kProblems.size() == static_cast<size_t>(Problem::kTextEnd) + 1,
              "one entry per EventTraceDamage::Problem value");

}  // namespace

std::wstring_view LoadEventLogText(EventLogText id) { return TextOf(kTexts, id, {}); }

std::wstring_view DamageProblemText(EventTraceDamage::Problem problem) {
  return TextOf(kProblems, problem, kProblems[0].text);
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

// The event log's user-visible texts: the events list, its filters, the text export.
#pragma once

#include <string_view>

#include "com/com.h"
#include "platform/event_trace_reader.h"

namespace lmk {

/// Texts of the events list and its export. Values are the string table's ids where the text
/// has one; the others follow from 9000.
enum class EventLogText : unsigned {
  kColumnType = 103,
  kColumnTime = 104,
  kColumnDescription = 105,
  kColumnComment = 106,
  kLevelInfo = 107,
  kLevelWarning = 108,
  kLevelError = 109,
  kLevelFatal = 110,
  kFilterAllEvents = 111,
  kFilterOnlyErrors = 112,
  kFilterWarningsAndErrors = 113,
  kFilterInfoWarningsAndErrors = 114,
  kDaysPart = 115,
  kOneDayPart = 116,
  kLevelInformation = 117,
  kLevelVerboseDetail = 118,
  kExecutionTime = 119,
  kLevelFatalHeading = 149,
  kSaveAsFilter = 355,
  kSaveAsTitle = 356,
  kSaveFailed = 357,
  kExportHeader = 9000,
  kDamagedTruncated = 9001,
  kDamagedCorrupt = 9002,
  kDamagedHeader = 9003,
};

/// The text of `id`; never empty for the ids above.
std::wstring_view LoadEventLogText(EventLogText id);

/// What is wrong in a damaged log, as a phrase for the kDamaged texts; "%llu" or "%llx" in it
/// stands for EventTraceDamage::found.
std::wstring_view DamageProblemText(EventTraceDamage::Problem problem);

/// The word the events list and the export show for a level: "Fatal", "Error", "Warning",
/// "Info", "Verbose Detail"; "?" for a level outside 1..5.
std::wstring_view EventLevelWord(BYTE level);

}  // namespace lmk

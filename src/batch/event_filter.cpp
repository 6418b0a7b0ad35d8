// The events list's severity filters.
#include "batch/event_filter.h"

#include "batch/event_log_texts.h"

namespace lmk {

bool EventFilterShows(EventFilter filter, BYTE level) {
  if (level < 1 || level > 5) return filter == EventFilter::kAllEvents;
  switch (filter) {
    case EventFilter::kAllEvents:
      return true;
    case EventFilter::kOnlyErrors:
      return level <= 2;
    case EventFilter::kWarningsAndErrors:
      return level <= 3;
    case EventFilter::kInfoWarningsAndErrors:
      return level <= 4;
  }
  return true;
}

std::wstring_view EventFilterName(EventFilter filter) {
  switch (filter) {
    case EventFilter::kAllEvents:
      return LoadEventLogText(EventLogText::kFilterAllEvents);
    case EventFilter::kOnlyErrors:
      return LoadEventLogText(EventLogText::kFilterOnlyErrors);
    case EventFilter::kWarningsAndErrors:
      return LoadEventLogText(EventLogText::kFilterWarningsAndErrors);
    case EventFilter::kInfoWarningsAndErrors:
      return LoadEventLogText(EventLogText::kFilterInfoWarningsAndErrors);
  }
  return {};
}

std::optional<EventFilter> EventFilterFromValue(DWORD value) {
  for (EventFilter filter : kEventFilters) {
    if (static_cast<DWORD>(filter) == value) return filter;
  }
  return std::nullopt;
}

std::vector<EventLogEntry> FilterEvents(std::span<const EventLogEntry> entries,
                                        EventFilter filter) {
  std::vector<EventLogEntry> shown;
  for (const EventLogEntry& entry : entries) {
    if (EventFilterShows(filter, entry.level)) shown.push_back(entry);
  }
  return shown;
}

}  // namespace lmk

// The events list's severity filters and the levels each one shows.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "batch/event_log_reader.h"
#include "com/com.h"

namespace lmk {

/// The filters in the order the events list offers them; the value is what the registry keeps.
enum class EventFilter : DWORD {
  kAllEvents = 0,              ///< every level
  kOnlyErrors = 1,             ///< fatal and error
  kWarningsAndErrors = 2,      ///< fatal, error, warning
  kInfoWarningsAndErrors = 3,  ///< everything but verbose detail
};

inline constexpr std::array kEventFilters = {EventFilter::kAllEvents, EventFilter::kOnlyErrors,
                                             EventFilter::kWarningsAndErrors,
                                             EventFilter::kInfoWarningsAndErrors};

/// True when `filter` shows events of `level`.
bool EventFilterShows(EventFilter filter, BYTE level);

/// "All Events", "Only Errors", "Warnings & Errors", "Info, Warnings & Errors".
std::wstring_view EventFilterName(EventFilter filter);

/// The filter a stored value stands for; nullopt for a value no filter has.
std::optional<EventFilter> EventFilterFromValue(DWORD value);

/// The entries that `filter` shows, in their order.
std::vector<EventLogEntry> FilterEvents(std::span<const EventLogEntry> entries, EventFilter filter);

}  // namespace lmk

// The events list's remembered choices: its filter and the folder of the last text export.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "batch/event_filter.h"
#include "com/com.h"
#include "platform/settings_store.h"

namespace lmk {

/// The plug-in's settings key under HKEY_CURRENT_USER.
inline constexpr std::wstring_view kPluginSettingsKey =
    L"SOFTWARE\\QELN\\Lumarko\\Plugins\\{1F65641A-9167-4B60-9415-BE7A6ED79062}";
inline constexpr std::wstring_view kEventLogViewFilterValue = L"EventLogViewFilter";
inline constexpr std::wstring_view kLastEventLogSaveAsFolderValue = L"LastEventLogSaveAsFolder";

class EventLogSettings {
 public:
  /// Reads and writes through `store` (the user's store); must not be null.
  explicit EventLogSettings(std::shared_ptr<SettingsStore> store);

  /// The stored filter as a DWORD; "All Events" when none is stored or the value is not a
  /// filter's (a damaged or future value must not hide events).
  EventFilter Filter() const;
  HRESULT SetFilter(EventFilter filter);

  /// The folder the save dialog starts in; empty when none is stored.
  std::wstring LastSaveFolder() const;
  /// Remembers the folder of a file just saved.
  HRESULT SetLastSaveFolder(std::wstring_view folder);

 private:
  std::shared_ptr<SettingsStore> store_;
};

}  // namespace lmk

// The events list's remembered choices in the plug-in's settings key.
#include "batch/event_log_settings.h"

#include <cassert>

namespace lmk {

EventLogSettings::EventLogSettings(std::shared_ptr<SettingsStore> store)
    : store_(std::move(store)) {
  assert(store_ != nullptr);
}

EventFilter EventLogSettings::Filter() const {
  RegValue value;
  if (FAILED(store_->GetValue(kPluginSettingsKey, kEventLogViewFilterValue, &value)) ||
      value.type != RegType::Dword) {
    return EventFilter::kAllEvents;
  }
  return EventFilterFromValue(static_cast<DWORD>(value.number)).value_or(EventFilter::kAllEvents);
}

HRESULT EventLogSettings::SetFilter(EventFilter filter) {
  return store_->SetValue(kPluginSettingsKey, kEventLogViewFilterValue,
                          RegValue::Dword(static_cast<DWORD>(filter)));
}

std::wstring EventLogSettings::LastSaveFolder() const {
  RegValue value;
  if (FAILED(store_->GetValue(kPluginSettingsKey, kLastEventLogSaveAsFolderValue, &value)) ||
      !value.IsText()) {
    return {};
  }
  return value.text;
}

HRESULT EventLogSettings::SetLastSaveFolder(std::wstring_view folder) {
  return store_->SetValue(kPluginSettingsKey, kLastEventLogSaveAsFolderValue,
                          RegValue::String(folder));
}

}  // namespace lmk

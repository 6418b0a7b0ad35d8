// What the caller keeps across the templates of one image: back-references, "now", options.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lmk {

class SettingsStore;

/// The expansion context of one image. An action makes one, sets the options it needs and
/// hands the same object to every template it expands for that image, so that a `{RegEx:...}`
/// of one template feeds the `{1}` of the next and every `{Now}` shows the same instant.
/// Not thread-safe: one context belongs to one expansion at a time.
class TemplateContext {
 public:
  TemplateContext() = default;

  /// The shared current time (UTC FILETIME ticks); 0 until a `{Now}` token first needs it.
  int64_t now() const { return now_; }
  /// Sets the shared current time (0 lets the next `{Now}` take it from the clock).
  void set_now(int64_t file_time) { now_ = file_time; }
  /// The shared current time, taken from the system clock on first use.
  int64_t TakeNow();

  /// The name that replaces the one in `File.PathNoExt` for `{FileName}`, `{TrimmedFileName}`,
  /// `{RegEx:...}` and `{RegEx*:...}`.
  const std::optional<std::wstring>& name_override() const { return name_override_; }
  void set_name_override(std::optional<std::wstring> name) { name_override_ = std::move(name); }

  /// In preview the persistent counters are read but not advanced.
  bool preview() const { return preview_; }
  void set_preview(bool preview) { preview_ = preview; }

  /// The store handed to a SettingsStore::Transact body, under which the counters are read and
  /// written; null (the default) opens the current user's store. Not owned.
  SettingsStore* transaction() const { return transaction_; }
  void set_transaction(SettingsStore* store) { transaction_ = store; }

  /// When set, the value of every outermost token is kept inside one path component: '/',
  /// '\' and ':' become '~' and a value made only of dots becomes "~". Set by the actions that
  /// make names and folders, so that a picture's values never add, remove or climb a folder.
  /// Text functions still see the raw values of their inner templates.
  bool confine_values() const { return confine_values_; }
  void set_confine_values(bool confine) { confine_values_ = confine; }

  /// The sub-matches of every `{RegEx...}` token met so far, in order; read by `{0}`..`{9}`.
  const std::vector<std::wstring>& back_references() const { return back_references_; }
  std::vector<std::wstring>& back_references() { return back_references_; }

 private:
  int64_t now_ = 0;
  std::optional<std::wstring> name_override_;
  bool preview_ = false;
  bool confine_values_ = false;
  SettingsStore* transaction_ = nullptr;
  std::vector<std::wstring> back_references_;
};

}  // namespace lmk

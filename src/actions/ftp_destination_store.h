// CFtpDestinationStore: the last FTP destination and the recently used ones, kept in the user's
// settings enciphered and sealed, because they may hold passwords.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"

namespace lmk {

class SettingsStore;

/// The key that holds both values (binary values "Action.FTPUpload.LastDestination" and
/// "Action.FTPUpload.LastDestinationMru").
inline constexpr std::wstring_view kFtpDestinationsKey =
    L"SOFTWARE\\QELN\\Lumarko\\Plugins\\{1F65641A-9167-4B60-9415-BE7A6ED79062}";
inline constexpr std::wstring_view kFtpLastDestinationValue = L"Action.FTPUpload.LastDestination";
inline constexpr std::wstring_view kFtpRecentDestinationsValue =
    L"Action.FTPUpload.LastDestinationMru";
/// The most destinations the recent list keeps.
inline constexpr size_t kFtpRecentLimit = 10;

class CFtpDestinationStore {
 public:
  /// Works on store; null opens the current user's store at first use.
  explicit CFtpDestinationStore(std::shared_ptr<SettingsStore> store = nullptr);

  /// The last destination; empty when none was stored or it cannot be deciphered. S_OK; the
  /// failure of the store.
  [[nodiscard]] HRESULT Last(std::wstring* out);
  /// The recent destinations, newest first; empty when none were stored or they cannot be
  /// deciphered. S_OK; the failure of the store.
  [[nodiscard]] HRESULT Recent(std::vector<std::wstring>* out);
  /// Makes destination the last one and the first of the recent list (once, however often it
  /// is used). S_OK; the failure of the store or of the sealing.
  [[nodiscard]] HRESULT Remember(std::wstring_view destination);
  /// Removes both values. S_OK also when there was nothing stored.
  [[nodiscard]] HRESULT Forget();

 private:
  HRESULT EnsureStore();
  HRESULT Read(std::wstring_view name, std::wstring* text);
  HRESULT Write(std::wstring_view name, std::wstring_view text);

  std::shared_ptr<SettingsStore> store_;
};

}  // namespace lmk

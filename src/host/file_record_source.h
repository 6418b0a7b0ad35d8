// CFileRecordSource: the per-file records of named files as a run would see them, for commands
// that show a file's values or a template's result without running any rule.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"
#include "com/com_ptr.h"
#include "dictionary/idictionary.h"
#include "host/standalone_host.h"

namespace lmk {

class CFileRecordBuilder;

/// A standalone host over a fixed list of files, with the run-wide dictionaries a run would
/// hand every record (App.Version, App.StartTime, App.StartTimeFT, App.SessionKeepCopyIndex),
/// so that a record built here holds the same 120 values as the one a run builds. Not
/// thread-safe.
class CFileRecordSource {
 public:
  /// files: absolute paths (CPictureFileScanner gives them); the images folder is the deepest
  /// folder that holds them all. Throws ComError when the host or the dictionaries cannot be
  /// made.
  explicit CFileRecordSource(std::vector<std::wstring> files);
  ~CFileRecordSource();
  CFileRecordSource(const CFileRecordSource&) = delete;
  CFileRecordSource& operator=(const CFileRecordSource&) = delete;

  /// The number of files in the list.
  std::size_t size() const noexcept { return files_.size(); }

  /// Sets *out to a new per-file dictionary for the file at index (a new reference the caller
  /// releases). *problem (when given) receives the metadata reader's complaint about a picture
  /// it could not parse (the record then holds the file's facts only), else empty.
  /// S_OK; E_INVALIDARG for a null out or an index beyond the list;
  /// HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) when the file no longer exists; E_OUTOFMEMORY;
  /// E_FAIL when the record cannot be put into a dictionary (*out stays null).
  [[nodiscard]] HRESULT Build(std::size_t index, IDictionary** out,
                              std::wstring* problem = nullptr) const noexcept;

  /// The host the records come from (owned by this object).
  CStandaloneHost& host() const noexcept { return *host_.Get(); }

 private:
  std::vector<std::wstring> files_;
  ComPtr<CStandaloneHost> host_;
  ComPtr<IDictionary> globals_;
  ComPtr<IDictionary> attachments_;
  std::unique_ptr<CFileRecordBuilder> builder_;
};

/// The per-file dictionary of one file (absolute path) as a run would see it: a shortcut for a
/// CFileRecordSource of that one file. Arguments and HRESULTs as CFileRecordSource::Build.
[[nodiscard]] HRESULT BuildFileRecordForPath(std::wstring_view path, IDictionary** out,
                                             std::wstring* problem = nullptr) noexcept;

}  // namespace lmk

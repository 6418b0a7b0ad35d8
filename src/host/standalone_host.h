// CStandaloneHost: the host interface over a list of picture files, for running the plug-in
// without the viewer. Records come from the file system and from Exiv2, read on the thread that
// asks for the image, so that parallel workers read metadata in parallel.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"
#include "com/com_object.h"
#include "com/com_ptr.h"
#include "host/exiv2_metadata_reader.h"
#include "host/metadata_writer.h"
#include "host_api/lumarko_host.h"
#include "host_api/record_hints.h"
#include "shell/image_record.h"

namespace lmk {

/// Where the host keeps the session keep-copy index: HKEY_CURRENT_USER, this key, this value.
inline constexpr std::wstring_view kHostSettingsKeyPath = L"SOFTWARE\\QELN\\Lumarko";
inline constexpr std::wstring_view kSessionKeepCopyIndexValue = L"SessionKeepCopyIndex";

/// The host of the lumarko command. Positions in the list stay fixed for the host's life, so
/// that a run's range is never disturbed: a file the plug-in deletes keeps its place (its
/// record then names a missing file, which a run skips) and a renamed file keeps its place
/// under its new path. The cookie of the file at index i is i + 1.
class CStandaloneHost final : public ComObject<CStandaloneHost, ILumarkoHost, ILumarkoRecordHints> {
 public:
  /// files: absolute paths, as the list shows them (CPictureFileScanner sorts them);
  /// imagesFolder: the folder the list stands for. The current image is the first one. Makes
  /// Exiv2 ready for the workers (CExiv2MetadataReader::Initialize).
  CStandaloneHost(std::vector<std::wstring> files, std::wstring imagesFolder);

  /// Makes the file at path the current image. S_OK; HRESULT_FROM_WIN32(ERROR_NOT_FOUND) when
  /// the list does not hold it.
  [[nodiscard]] HRESULT SetCurrentFile(std::wstring_view path);

  /// The list as it stands now (renames applied, deleted files left out).
  std::vector<std::wstring> Files() const;

  /// Images handed out since the last range started (GetCurrentImage, GetFirstImage,
  /// GetImageAt, then each GetNextImageOfRange that delivered one), for a progress display.
  ULONG ImagesDelivered() const noexcept { return delivered_.load(); }
  /// How many images the range started last covers, from its start to the end of the list.
  ULONG RangeSize() const noexcept { return rangeSize_.load(); }
  /// Seconds from the start of the last range to the call that found its end; nullopt while
  /// the range has not been walked to its end (single-image runs, aborted runs). The plug-in
  /// keeps its window open for a minimum time after that, so this is the processing time.
  std::optional<double> RangeSeconds() const noexcept;
  /// True once SetSessionKeepCopyIndex was called: the plug-in does so as a run ends, before
  /// it shows the summary.
  bool RunEnded() const noexcept { return runEnded_.load(); }
  /// Called (on the plug-in's runner thread) when the run ends as above, so that a progress
  /// display can close its line before the summary. Set it before the run starts.
  void SetRunEndedCallback(std::function<void()> callback) { onRunEnded_ = std::move(callback); }

  /// The record of one file, built now: file-system facts and the picture's metadata. A
  /// picture the metadata reader cannot parse keeps its file-system facts and the reason is
  /// logged as a warning in the run's log. Throws ComError(E_OUTOFMEMORY).
  /// *problem (when given) receives the reader's complaint, empty when there was none.
  ComPtr<CImageRecord> BuildRecord(std::wstring_view path, ULONG index,
                                   std::wstring* problem = nullptr) const;

  LMK_LUMARKO_HOST_OVERRIDES;

  /// The metadata groups (MetadataValues) behind the named record keys; every group for a
  /// count of 0. Records built after the call read only those groups.
  HRESULT STDMETHODCALLTYPE SetNeededKeys(ULONG count, const LPCWSTR* names) override;

  /// The metadata groups that feed the record key `name`: 0 for keys no metadata feeds
  /// (file-system facts, the run's values) and for names no record holds.
  static uint32_t MetadataValuesOfKey(std::wstring_view name) noexcept;

 private:
  struct Entry {
    std::wstring path;
    bool deleted = false;
  };

  /// Starts the range at index and delivers that image.
  HRESULT StartRange(ULONG index, ILumarkoImage** ppImage);
  /// The image at index (no range change). E_INVALIDARG beyond the list; E_FAIL when it cannot
  /// be built.
  HRESULT Deliver(ULONG index, ILumarkoImage** ppImage) const;
  /// The index of the entry that cookie or (when cookie is 0) path names; -1 when none.
  long FindEntry(ULONGLONG cookie, LPCWSTR path) const;
  /// Writes mark of the file that cookie names (CMetadataWriter::Write).
  HRESULT WriteMark(ULONGLONG cookie, XmpMark mark, std::string_view value);

  mutable std::shared_mutex lock_;  // guards entries_ and current_
  std::vector<Entry> entries_;
  ULONG current_ = 0;
  std::wstring imagesFolder_;
  FILETIME startTime_{};
  CExiv2MetadataReader reader_;
  // What the records read (MetadataValues); workers read it as each record is built.
  std::atomic<uint32_t> neededValues_{kMetadataAll};

  // The range: the index the next GetNextImageOfRange hands out, shared by the workers.
  std::atomic<ULONG> cursor_{0};
  std::atomic<ULONG> delivered_{0};
  std::atomic<ULONG> rangeSize_{0};
  std::atomic<bool> runEnded_{false};
  std::atomic<std::int64_t> rangeStartedNs_{0};
  std::atomic<std::int64_t> rangeEndedNs_{0};
  std::function<void()> onRunEnded_;
};

}  // namespace lmk

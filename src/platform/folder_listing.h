// What the file services remember while a batch run lasts (the names in the folders they were
// asked about, the folders they made, the devices of folders), so that thousands of images
// going through the same few folders cost one lookup each instead of ten.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace lmk {

/// How long a folder's listing is trusted: a file that another program puts beside an image
/// during a run is seen at most this late.
inline constexpr std::chrono::milliseconds kFolderListingMaxAge{2000};

/// Turns the run memory on while it lives; the batch runner holds one for each run. Creating
/// and destroying it forgets everything remembered, so that nothing carries over from one run
/// to the next. Scopes count: the memory is on while any of them lives. Outside every scope each
/// question is a real lookup, exactly as without the memory.
class ScopedRunMemory {
 public:
  ScopedRunMemory();
  ~ScopedRunMemory();
  ScopedRunMemory(const ScopedRunMemory&) = delete;
  ScopedRunMemory& operator=(const ScopedRunMemory&) = delete;
};

/// True while a ScopedRunMemory lives.
bool RunMemoryOn();

/// Forgets every folder listing, made folder and folder device remembered so far; the memory
/// stays on if it was.
void ForgetFolderListings();

/// lmk::FileExists (platform/file_system.h), answered from a listing of the folder of `path`
/// while the run memory is on: a name the listing lacks is missing; a name it holds is confirmed
/// by a real lookup, so that a file removed since the listing was read is missing. Outside the
/// run memory, a real lookup. Safe from any thread.
bool ListedFileExists(std::wstring_view path);

/// The index of the first of `suffixes` that, appended to `stem` (a path), names an existing
/// file, as ListedFileExists answers for each in turn; -1 when none does. The stem is converted
/// and split once for all of them: an image's companions are looked up this way, several
/// spellings each. Safe from any thread.
int FirstListedFile(std::wstring_view stem, std::span<const std::wstring> suffixes);

/// Tells the listings that this process has just created `path` or renamed something to it: the
/// name joins its folder's listing, and listings of `path` itself and of folders below it are
/// dropped (a folder moved into place). The file operations call it for every name they make.
void NoteFileAdded(std::wstring_view path);

/// A set of folder listings with its own age limit and clock (ListedFileExists uses one for
/// the process). Each folder is read once per age limit, however many threads ask at once: the
/// others wait for that one read. Names compare byte for byte, as the file system compares them.
/// Folder paths are compared as written after "//", "/./" and trailing separators are removed:
/// a folder reached under two spellings (through a link) has two listings, and a name added
/// through one is seen through the other when that listing is next read. Safe from any thread.
class FolderListings {
 public:
  using TimeSource = std::function<std::chrono::steady_clock::time_point()>;

  /// `now` defaults to std::chrono::steady_clock::now.
  explicit FolderListings(std::chrono::milliseconds maxAge = kFolderListingMaxAge,
                          TimeSource now = {});
  ~FolderListings();
  FolderListings(const FolderListings&) = delete;
  FolderListings& operator=(const FolderListings&) = delete;

  /// As ListedFileExists. A folder that cannot be listed (missing, no read permission) is
  /// answered by a real lookup each time until its listing is tried again.
  bool FileExists(std::wstring_view path);
  /// As lmk::FirstListedFile, for these listings.
  int FirstExisting(std::wstring_view stem, std::span<const std::wstring> suffixes);
  /// As NoteFileAdded, for these listings.
  void NoteAdded(std::wstring_view path);
  /// Drops every listing.
  void Clear();
  /// How many folder reads were made so far.
  std::size_t ReadCount() const;

 private:
  friend void NoteNativeFileAdded(const std::string& path);
  void NoteAddedNative(const std::string& native);

  struct Table;
  std::unique_ptr<Table> table_;
};

}  // namespace lmk

// Moving, copying, linking and deleting files with the guarantees of the Windows file calls.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "com/com.h"
#include "platform/file_facts.h"

namespace lmk {

// Every path is a full path in the system's own form. Every function is safe from any thread.
// An existing target is always reported as HRESULT_FROM_WIN32(ERROR_FILE_EXISTS), whether the
// call was a copy or a move, so that callers test one code for "the target is already there".
// A file whose read-only attribute is set (no owner write permission on POSIX) is refused as a
// target to replace and as a file to delete with E_ACCESSDENIED, as Windows refuses it, even for
// an administrator or root: callers clear the attribute first when they mean it.

/// Flags of MoveFileTo, the values of MoveFileExW's.
inline constexpr DWORD kMoveReplaceExisting = 0x1;  ///< replace a target that exists
inline constexpr DWORD kMoveCopyAllowed = 0x2;      ///< copy and delete across volumes

/// Whether CopyFileTo waits until the copy is on the device before giving it its name.
enum class CopyDurability {
  /// Flushed first: even a power cut never leaves a partial file under the target name. Costs
  /// one device flush per file (milliseconds each on a disk).
  kFlushToDevice,
  /// Left to the system's write-back: while the system runs no partial file is ever seen under
  /// the target name, but after a power cut a target may be short; the source is untouched.
  kLeaveToSystem,
  /// Left to the system's write-back at first, then put on the device together with every
  /// other such copy by FlushDeferredCopies: one flush per file system instead of one per file,
  /// as `sync` after `cp -r`. For copies whose source stays where it is.
  kFlushLater,
};

/// The lock a copy holds while it writes: one of `slots` slots of the volume lock named by
/// `volumeKey` (platform/volume.h). The checks before the writing run without it, so that
/// workers copying small files to one device wait for each other only while one of them writes.
struct CopyLock {
  std::wstring volumeKey;
  unsigned slots = 1;
};

/// Copies `source` to `target`: contents, last-write and last-access times and permissions
/// (the read-only attribute with them). The copy is written without a name (or, where the file
/// system has no such files, under a temporary name in the target's folder that names the
/// writing process), flushed to the device and only then given the target name, so that no
/// partial file ever stands under the target name, even after a crash. The first copy of a
/// run into a folder removes the temporaries there whose processes no longer run. With
/// `failIfExists` an existing target is never overwritten, even by a process that creates it
/// meanwhile. Returns S_OK; HRESULT_FROM_WIN32(ERROR_FILE_EXISTS) for an existing target with
/// `failIfExists` (both files are left as they were); ERROR_FILE_NOT_FOUND for a missing
/// source; ERROR_PATH_NOT_FOUND for a missing target folder; E_ACCESSDENIED when the target is
/// a folder or a read-only file, or when the system refuses; ERROR_DISK_FULL; ERROR_NOT_SAME_DEVICE
/// never. A description naming the file is set (lmk::SetErrorDescription) on failure.
/// `durability` chooses whether the copy is flushed to the device before it gets its name.
/// With a `lock`, the writing waits for a slot of it; a failure to take it is returned.
[[nodiscard]] HRESULT CopyFileTo(std::wstring_view source, std::wstring_view target,
                                 bool failIfExists,
                                 CopyDurability durability = CopyDurability::kFlushToDevice,
                                 const CopyLock* lock = nullptr);

/// Writes the new file `target` through `fill`, which receives a descriptor open for reading,
/// writing and seeking on a file in the target's folder that has no name yet (or a hidden
/// temporary name); it writes the whole content and returns S_OK or its failure. The file is
/// flushed to the device and only then given the target name, so no partial file ever stands
/// under it: never over an existing file unless `replace`, even one that another process makes
/// meanwhile. `fill` may be called a second time, from the start, on a fresh file. Returns
/// S_OK; `fill`'s failure (nothing is left behind); HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);
/// ERROR_PATH_NOT_FOUND for a missing folder; E_ACCESSDENIED for a folder or read-only file
/// under the name or a refusal; ERROR_DISK_FULL. A description naming the file is set on
/// failures of its own.
[[nodiscard]] HRESULT WriteNewFile(std::wstring_view target, bool replace,
                                   const std::function<HRESULT(int descriptor)>& fill);

/// Puts every copy made with CopyDurability::kFlushLater since the last call on its device, one
/// flush per file system. S_OK, or the first failure with a description naming the folder.
[[nodiscard]] HRESULT FlushDeferredCopies();

/// What ReplaceFileContents gives the new file as its last-write time.
enum class ReplacedFileTime {
  kKeep,  ///< the replaced file's (people and rules sort pictures by it)
  kNow,   ///< the time of the write
};

/// Gives the file `path` the new `contents` without ever writing it in place: the new file is
/// written without a name (or under a hidden temporary name) in the same folder, flushed to the
/// device and renamed over `path`, so that after a crash at any moment `path` holds its old or
/// its new contents, whole, and no temporary stays behind for long (the next write into the
/// folder removes those of processes that no longer run). The new file keeps the permissions
/// (and, where the system allows, the owner) of the old one; a missing `path` is created.
/// S_OK; E_ACCESSDENIED when `path` is read-only or a folder, or the folder refuses new files;
/// ERROR_PATH_NOT_FOUND for a missing folder; ERROR_DISK_FULL; any other failure of the system.
/// On failure `path` is unchanged and a description naming it is set. FileStep::kPublish
/// can be made to fail for tests.
[[nodiscard]] HRESULT ReplaceFileContents(std::wstring_view path, std::string_view contents,
                                          ReplacedFileTime time);

/// As above, with the new contents given as pieces written one after the other (a writer that
/// changes one part of a file passes the unchanged parts as they are, without joining them).
[[nodiscard]] HRESULT ReplaceFileContents(std::wstring_view path,
                                          std::span<const std::string_view> pieces,
                                          ReplacedFileTime time);

/// A file that ReadWholeFile read, as a later ReplaceFileContents needs it, so that the
/// replacement asks the system nothing more about the old file. Filled by ReadWholeFile only.
struct ReadFileFacts {
  std::wstring path;       ///< as the caller named it, for messages
  std::string nativePath;  ///< the file itself, a link resolved
  unsigned mode = 0;       ///< permission bits
  unsigned owner = 0;      ///< user id
  unsigned group = 0;      ///< group id
  long long lastWriteSeconds = 0;
  long lastWriteNanoseconds = 0;
};

/// Reads the whole regular file `path` (a link followed) into *contents, in one read where the
/// system allows, and what a replacement keeps of it into *facts. S_OK; ERROR_FILE_NOT_FOUND;
/// ERROR_PATH_NOT_FOUND; E_ACCESSDENIED for a folder or a file that may not be read; any other
/// failure of the system. A description naming the file is set on failure.
[[nodiscard]] HRESULT ReadWholeFile(std::wstring_view path, std::string* contents,
                                    ReadFileFacts* facts);

/// ReplaceFileContents for the file that ReadWholeFile described in `facts`: it keeps the
/// permissions, owner and (with kKeep) last-write time it had then. Same results.
[[nodiscard]] HRESULT ReplaceFileContents(const ReadFileFacts& facts,
                                          std::span<const std::string_view> pieces,
                                          ReplacedFileTime time);

/// Moves (renames) `source` to `target`. On one volume this is one atomic rename. Across
/// volumes it needs kMoveCopyAllowed (else HRESULT_FROM_WIN32(ERROR_NOT_SAME_DEVICE)): the file
/// is copied as CopyFileTo copies, always flushed, given its name and only then is the source
/// removed, so that a crash at any point loses nothing (at worst both copies remain, which the
/// caller can recognise by their equal content). When the source cannot be removed the copy is
/// taken back (a file it replaced is put back where the file system can swap names), so the
/// file stands in one place, and *copyTakenBack (when given) says so. Without
/// kMoveReplaceExisting an existing target gives HRESULT_FROM_WIN32(ERROR_FILE_EXISTS) and
/// nothing changes. Other results as CopyFileTo; a folder may be moved within one volume only.
[[nodiscard]] HRESULT MoveFileTo(std::wstring_view source, std::wstring_view target, DWORD flags,
                                 bool* copyTakenBack = nullptr);

/// Creates the hard link `link` to the existing file `existing` (the argument order of
/// CreateHardLinkW). S_OK; HRESULT_FROM_WIN32(ERROR_FILE_EXISTS) when `link` exists;
/// ERROR_NOT_SAME_DEVICE across volumes; ERROR_FILE_NOT_FOUND / ERROR_PATH_NOT_FOUND;
/// E_ACCESSDENIED (also for a folder, or a file system without hard links).
[[nodiscard]] HRESULT MakeHardLink(std::wstring_view link, std::wstring_view existing);

/// Deletes the file `path` for good. S_OK; ERROR_FILE_NOT_FOUND / ERROR_PATH_NOT_FOUND;
/// E_ACCESSDENIED for a read-only file (clear the attribute first), a folder, or a refusal.
[[nodiscard]] HRESULT DeleteFileAt(std::wstring_view path);

/// Reads the Windows attribute bits of `path` (kFileAttributeReadOnly: the owner may not write;
/// kFileAttributeHidden: the name begins with '.'; kFileAttributeDirectory;
/// kFileAttributeArchive for files). Links are followed. S_OK; ERROR_FILE_NOT_FOUND /
/// ERROR_PATH_NOT_FOUND; E_INVALIDARG for a null `attributes`.
[[nodiscard]] HRESULT GetFileAttributesOf(std::wstring_view path, DWORD* attributes);

/// Applies the read-only bit of `attributes` to `path`: set removes every write permission,
/// clear gives the owner write permission back. The other bits are facts of the name or the
/// kind of file and are ignored. S_OK (also when nothing changes); ERROR_FILE_NOT_FOUND /
/// ERROR_PATH_NOT_FOUND; E_ACCESSDENIED when the caller does not own the file.
[[nodiscard]] HRESULT SetFileAttributesOf(std::wstring_view path, DWORD attributes);

/// Sets the last-access and last-write times (UTC) of `path`; a null pointer leaves that time
/// as it is. S_OK; ERROR_FILE_NOT_FOUND / ERROR_PATH_NOT_FOUND; E_ACCESSDENIED.
/// The times are read back through GetFileFacts (platform/file_facts.h).
[[nodiscard]] HRESULT SetFileTimesOf(std::wstring_view path, const FILETIME* lastAccess,
                                     const FILETIME* lastWrite);

/// The size in bytes of the file `path`. S_OK; ERROR_FILE_NOT_FOUND / ERROR_PATH_NOT_FOUND;
/// E_ACCESSDENIED for a folder; E_INVALIDARG for a null `size`.
[[nodiscard]] HRESULT GetFileSizeOf(std::wstring_view path, ULONGLONG* size);

/// True when `path` names an existing folder (links followed). Files: lmk::FileExists in
/// platform/file_system.h.
bool FolderExists(std::wstring_view path);

/// True when both paths name one file (the same file system and file number): hard links of
/// one file, or one file seen through two mounts. False when either is missing.
bool IsSameFile(std::wstring_view first, std::wstring_view second);

/// Creates the folder `path` and every missing parent. S_OK when created; S_FALSE when it
/// already was a folder; HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS) when a file stands there;
/// ERROR_PATH_NOT_FOUND when a parent is a file; E_ACCESSDENIED; ERROR_FILENAME_EXCED_RANGE.
[[nodiscard]] HRESULT CreateDirectories(std::wstring_view path);

/// Removes the folder `path` when it is empty. S_OK; HRESULT_FROM_WIN32(ERROR_DIR_NOT_EMPTY)
/// when it holds anything; ERROR_FILE_NOT_FOUND / ERROR_PATH_NOT_FOUND; E_ACCESSDENIED when the
/// folder is read-only (its own read-only attribute, as on Windows) or the parent refuses.
[[nodiscard]] HRESULT RemoveEmptyDirectory(std::wstring_view path);

/// The steps of the calls above at which a test can inject a failure.
enum class FileStep {
  kRename,        ///< MoveFileTo on one volume (and the first attempt of any move)
  kCopy,          ///< CopyFileTo, before anything is written
  kPublish,       ///< the final rename of a copied file to its target name (copy or move)
  kNameUnnamed,   ///< giving a copy made without a name its target name (POSIX); after a
                  ///< failure the copy is made again under a temporary name
  kRemoveSource,  ///< a move across volumes removing its source after the copy stands
  kLink,          ///< MakeHardLink
  kDelete,        ///< DeleteFileAt
  kRemoveFolder,  ///< RemoveEmptyDirectory
};

/// A test hook: called with the step and the path it works on (the source for kRename,
/// kCopy and kRemoveSource; the target for kPublish; else the path argument); a non-zero
/// Win32 code makes that step fail with HRESULT_FROM_WIN32(code) as if the system had said so.
///
/// POSIX has no sharing violations: another program holding the file open never stops a rename
/// or a delete. The retry paths for ERROR_SHARING_VIOLATION therefore run only when a hook
/// returns it (for example for the first few kRename calls). The Windows implementation calls
/// the same hook before the system call.
using FileFaultHook = std::function<DWORD(FileStep step, std::wstring_view path)>;

/// Installs `hook` for the whole process while it lives; the previous hook comes back when it
/// is destroyed. For tests only; not to be nested across threads.
class ScopedFileFaultHook {
 public:
  explicit ScopedFileFaultHook(FileFaultHook hook);
  ~ScopedFileFaultHook();
  ScopedFileFaultHook(const ScopedFileFaultHook&) = delete;
  ScopedFileFaultHook& operator=(const ScopedFileFaultHook&) = delete;

 private:
  FileFaultHook previous_;
};

}  // namespace lmk

// What the file actions read from and write back to an image's per-file record, and the
// notices they give the host about files they moved, renamed or deleted.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"
#include "dictionary/idictionary.h"
#include "rules/record_key_set.h"

namespace lmk {

/// `Misc.FrameNumber`; a record without it is taken as frame 0 (a single-frame file).
[[nodiscard]] HRESULT ReadFrameNumber(IDictionary& record, unsigned* frame);

/// Where every file action starts: S_FALSE for a frame after the first (a multi-frame file is
/// one file, acted on once); otherwise the action's use is counted under usageEvent and S_OK
/// returned. The record's failure.
[[nodiscard]] HRESULT StartOnFirstFrame(IDictionary& record, std::wstring_view usageEvent);

/// A value coerced to text. The read's failure (E_FAIL for a missing key) or the coercion's.
[[nodiscard]] HRESULT ReadRecordText(IDictionary& record, std::wstring_view key,
                                     std::wstring* text);

/// A value coerced to text; empty when the record does not hold it.
[[nodiscard]] HRESULT ReadOptionalText(IDictionary& record, std::wstring_view key,
                                       std::wstring* text);

/// The image's path without extension: `File.PathNoExt`, or `File.Name` without its extension
/// when the record does not hold it.
[[nodiscard]] HRESULT ReadPathNoExt(IDictionary& record, std::wstring_view fileName,
                                    std::wstring* pathNoExt);

/// The files and folders the run was given, from `App.RunPaths` of the run-wide dictionary
/// `Plugin.Globals` (the paths one after the other, each ended by a NUL character, as the
/// command puts them there); empty when the record or the globals do not hold them (a host
/// that names no paths).
[[nodiscard]] HRESULT ReadRunPaths(IDictionary& record, std::vector<std::wstring>* paths);

/// Writes a moved or renamed file's new path into `File.Name` and the same without its
/// extension into `File.PathNoExt`, so that the rule's later actions work on the file where it
/// now is.
[[nodiscard]] HRESULT UpdateFilePath(IDictionary& record, std::wstring_view newPath);

/// Tells the host of `Plugin.Host` (with the image's `File.InternalCookie`) that the file moved
/// or was renamed. Nothing when the record holds no host; the host's own failure is not the
/// action's: the file did move.
void TellHostRenamed(IDictionary& record, std::wstring_view oldPath, std::wstring_view newPath);

/// Tells the host that the file was deleted or recycled; as TellHostRenamed.
void TellHostDeleted(IDictionary& record, std::wstring_view path);

/// Adds the values that the reads above use (the file's name, frame, host and cookie), for the
/// file actions' lists of the values they read.
void AddFileActionKeys(RecordKeySet& keys);

}  // namespace lmk

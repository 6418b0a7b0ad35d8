// CMetadataWriter: writes a picture's rating, label or urgency into the picture itself or into
// its ".xmp" sidecar, always through a new file that replaces the old one whole.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk {

/// The XMP properties the host writes for the plug-in.
enum class XmpMark {
  kRating,   ///< xmp:Rating, -1 (rejected) to 5
  kLabel,    ///< xmp:Label, the label's name
  kUrgency,  ///< photoshop:Urgency, 0 to 9
};

/// Where a picture's marks go: into the picture for the formats the metadata library rewrites
/// safely (JPEG, TIFF, PNG, WebP), into the sidecar for every other format and whenever the
/// picture already has one (the reader prefers the sidecar, so the writer must too). Stateless
/// apart from a process-wide table of locks, so that two workers writing one file (a sidecar
/// that a JPEG and a RAW file share) never lose each other's change.
class CMetadataWriter {
 public:
  /// The file a write for the picture at path goes to: the picture, its existing sidecar, or
  /// the sidecar "<path without extension>.xmp" to be made.
  static std::wstring TargetOf(std::wstring_view picturePath);

  /// Sets mark of the picture at picturePath to value (UTF-8; empty removes the property),
  /// keeping every other value of the file. The picture keeps its last-write time; a sidecar
  /// gets the time of the write. S_OK; E_FAIL when the picture or the sidecar cannot be parsed
  /// or rewritten; the failures of lmk::ReplaceFileContents. On failure the file is unchanged and
  /// the thread's error description says which file, what is wrong and what to do.
  [[nodiscard]] static HRESULT Write(std::wstring_view picturePath, XmpMark mark,
                                     std::string_view value) noexcept;
};

}  // namespace lmk

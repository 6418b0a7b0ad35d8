// CJpegXmpRewriter: sets one simple XMP property of a JPEG by editing the text of its XMP packet,
// without decoding the rest of the file; the picture data after the segments is kept as it is.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace lmk {

/// A simple XMP property: its namespace, the prefix it is written with when the packet does
/// not declare that namespace yet, and its name.
struct XmpPropertyName {
  std::string_view uri;
  std::string_view prefix;
  std::string_view local;
};

/// Edits the packet where it is certain to keep it valid: the property as an attribute or as a
/// text element of a top-level rdf:Description, or missing. The packet keeps its size when its
/// padding allows (the segment is then rewritten in place), else its segment is rebuilt; a JPEG
/// without XMP gets a new packet after its EXIF segment. Every edit is checked by reading the
/// new packet back: it must hold the new value and every other property it held before.
class CJpegXmpRewriter {
 public:
  enum class Outcome {
    kRewritten,    ///< Pieces() give the new file
    kUnchanged,    ///< the file already holds the value (or lacks the property to remove)
    kUnsupported,  ///< a form this class does not edit (not a JPEG, extended or read-only XMP,
                   ///< an unusual packet): the general writer must do it
    kDamaged,      ///< the segments before the picture data are broken; Problem() says how
  };

  /// `file` is the whole JPEG; it must outlive the rewriter, whose pieces point into it.
  explicit CJpegXmpRewriter(std::string_view file) : file_(file) {}

  /// Sets `property` to `value` (UTF-8; empty removes it).
  Outcome Set(const XmpPropertyName& property, std::string_view value);

  /// After kRewritten: the new file, in order (the old file's head, the new XMP segment, the
  /// rest of the old file).
  std::array<std::string_view, 3> Pieces() const;

  /// After kDamaged: what is broken, in English.
  const std::string& Problem() const { return problem_; }

 private:
  Outcome Damaged(std::string problem);

  std::string_view file_;
  std::string segment_;       // the new XMP segment, marker included
  std::size_t cutBegin_ = 0;  // the old file's bytes [cutBegin_, cutEnd_) give way to segment_
  std::size_t cutEnd_ = 0;
  std::string problem_;
};

}  // namespace lmk

// CPictureFileScanner: turns the files and folders a user names into the host's sorted list of
// picture files.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"

namespace lmk {

struct PictureScanOptions {
  /// Also list the pictures of sub-folders (hidden folders excepted).
  bool recursive = false;
  /// Extensions that make a file a picture, with the dot, lower case; empty takes
  /// CPictureFileScanner::DefaultExtensions().
  std::vector<std::wstring> extensions;
};

class CPictureFileScanner {
 public:
  explicit CPictureFileScanner(PictureScanOptions options = {});

  /// The extensions a folder scan lists by default: the common picture formats (JPEG, PNG,
  /// TIFF, GIF, BMP, WebP, HEIF/AVIF, JPEG XL) and the common camera RAW formats. ".xmp"
  /// sidecars are not pictures.
  static std::span<const std::wstring_view> DefaultExtensions();

  /// Whether a file name has one of the scanner's extensions (compared without regard to case).
  bool IsPictureName(std::wstring_view name) const;

  /// Lists the pictures of `inputs`, absolute, without duplicates, sorted by path. A file named
  /// in `inputs` is listed whatever its extension (the user asked for it); a folder contributes
  /// its picture files; hidden files and folders (names beginning with '.') inside a folder are
  /// skipped. Only regular files are listed: reading a named pipe, socket or device would block
  /// or never end, so a named input of that kind goes to `*leftOut` (absolute, once each; may be
  /// null) and one inside a folder is skipped. S_OK; HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) for
  /// an input that does not exist, E_ACCESSDENIED for a folder that cannot be read, with *error
  /// naming the path.
  [[nodiscard]] HRESULT Scan(std::span<const std::wstring> inputs, std::vector<std::wstring>* files,
                             std::wstring* error,
                             std::vector<std::wstring>* leftOut = nullptr) const;

  /// An input path as Scan takes it: made absolute against the working folder, "." and ".."
  /// resolved by their text, without trailing separator. Empty when the working folder cannot
  /// be found.
  static std::wstring AbsolutePath(std::wstring_view input);

  /// The deepest folder that holds every one of `files` (absolute paths); empty for none.
  static std::wstring CommonFolder(std::span<const std::wstring> files);

 private:
  HRESULT ScanFolder(const std::wstring& folder, std::vector<std::wstring>* files,
                     std::wstring* error) const;

  PictureScanOptions options_;
};

}  // namespace lmk

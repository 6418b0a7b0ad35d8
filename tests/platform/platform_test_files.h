// Small file helpers shared by the platform tests that work on real disks.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/text_encoding.h"
#include "support/file_bytes.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

namespace lmk::test {

namespace fs = std::filesystem;

/// A path as the platform layer takes it, whatever the C library's locale.
inline std::wstring W(const fs::path& path) { return FromUtf8(path.string()); }

/// The content of a regular file; nullopt when there is none.
inline std::optional<std::string> ReadText(const fs::path& path) {
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) return std::nullopt;
  return ReadBytes(path);
}

/// Makes the parent folders, then the file.
inline void Touch(const fs::path& path, const std::string& text = "x") {
  fs::create_directories(path.parent_path());
  WriteBytes(path, text);
}

/// Temporary copies left below folder: none may survive an operation, whatever its outcome.
inline std::vector<std::string> LeftoverTemporaries(const fs::path& folder) {
  std::vector<std::string> found;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().filename().string().starts_with(".lmk-")) found.push_back(entry.path());
  }
  return found;
}

}  // namespace lmk::test

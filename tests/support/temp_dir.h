// A temporary folder owned by a test: created empty, removed with everything in it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace lmk::test {

class ScopedTempDir {
 public:
  ScopedTempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "lmk-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
  }
  ~ScopedTempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  ScopedTempDir(const ScopedTempDir&) = delete;
  ScopedTempDir& operator=(const ScopedTempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::filesystem::path& rel) const { return path_ / rel; }

 private:
  std::filesystem::path path_;
};

}  // namespace lmk::test

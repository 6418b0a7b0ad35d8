// Reading and writing a test file's bytes whole.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace lmk::test {

/// The bytes of `path`; empty when it cannot be read.
inline std::string ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// Replaces the content of `path` with `bytes`.
inline void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace lmk::test

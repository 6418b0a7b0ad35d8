// Points the settings store at a temporary folder for the life of a test.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

#include "support/temp_dir.h"

namespace lmk::test {

class ScopedConfigDir {
 public:
  ScopedConfigDir() {
    if (const char* old = std::getenv("LUMARKO_CONFIG_DIR")) old_ = old;
    setenv("LUMARKO_CONFIG_DIR", dir_.path().c_str(), 1);
  }
  ~ScopedConfigDir() {
    if (old_) {
      setenv("LUMARKO_CONFIG_DIR", old_->c_str(), 1);
    } else {
      unsetenv("LUMARKO_CONFIG_DIR");
    }
  }
  ScopedConfigDir(const ScopedConfigDir&) = delete;
  ScopedConfigDir& operator=(const ScopedConfigDir&) = delete;

  const ScopedTempDir& dir() const { return dir_; }

 private:
  ScopedTempDir dir_;
  std::optional<std::string> old_;
};

}  // namespace lmk::test

// A folder on another file system than the temporary folder, for tests that cross devices.
#pragma once

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/temp_dir.h"

namespace lmk::test {

// Root mounts a small memory file system on a subfolder of its own temporary folder; others
// use /dev/shm when it is another device. available() is false (with reason()) when neither
// can be had.
class SecondFileSystem {
 public:
  SecondFileSystem() {
    struct stat home {
    }, other{};
    ::stat(temp_.path().c_str(), &home);
    const std::filesystem::path mount = temp_ / "mnt";
    std::filesystem::create_directories(mount);
    if (::geteuid() == 0 && Run("mount -t tmpfs -o size=64m lmk-test '" + mount.string() + "'")) {
      mounted_ = mount;
      if (::stat(mount.c_str(), &other) == 0 && other.st_dev != home.st_dev) path_ = mount;
    }
    std::string pattern = "/dev/shm/lmk-test-XXXXXX";
    if (path_.empty() && ::stat("/dev/shm", &other) == 0 && other.st_dev != home.st_dev &&
        ::mkdtemp(pattern.data()) != nullptr) {
      path_ = owned_ = pattern;
    }
  }
  ~SecondFileSystem() {
    std::error_code ec;
    if (!owned_.empty()) std::filesystem::remove_all(owned_, ec);
    if (!mounted_.empty()) {
      std::filesystem::remove_all(mounted_, ec);
      if (!Run("umount '" + mounted_.string() + "'")) Run("umount -l '" + mounted_.string() + "'");
    }
  }
  SecondFileSystem(const SecondFileSystem&) = delete;
  SecondFileSystem& operator=(const SecondFileSystem&) = delete;

  bool available() const { return !path_.empty(); }
  std::string reason() const {
    return "no second file system: not root (cannot mount a tmpfs) and /dev/shm is missing or on "
           "the same device as the temporary folder";
  }
  /// The folder on the local temporary file system.
  const std::filesystem::path& local() const { return temp_.path(); }
  /// The folder on the other file system.
  const std::filesystem::path& other() const { return path_; }

 private:
  static bool Run(const std::string& command) {
    return std::system((command + " 2>/dev/null").c_str()) == 0;
  }
  ScopedTempDir temp_;
  std::filesystem::path path_, mounted_, owned_;
};

}  // namespace lmk::test

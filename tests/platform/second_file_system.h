// A folder on another file system than the temporary folder, for tests that cross devices.
#pragma once

#include <sched.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "support/temp_dir.h"

namespace lmk::test {

// Root mounts a small memory file system on a subfolder of its own temporary folder, in a
// private mount namespace where it can have one; others
// use /dev/shm when it is another device. available() is false (with reason()) when neither
// can be had.
class SecondFileSystem {
 public:
  SecondFileSystem() {
    struct stat home {};
    ::stat(temp_.path().c_str(), &home);
    if (::geteuid() == 0) {
      // In a mount namespace of the test's own, nothing mounted here is seen outside or
      // outlives the test, even when it is killed.
      if (::unshare(CLONE_NEWNS) == 0) ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
      const std::filesystem::path mount = temp_ / "mnt";
      std::filesystem::create_directories(mount);
      const std::string command =
          "mount -t tmpfs -o size=64m lmk-test '" + mount.string() + "' 2>/dev/null";
      struct stat other {};
      if (std::system(command.c_str()) == 0) {
        mounted_ = mount;
        if (::stat(mount.c_str(), &other) == 0 && other.st_dev != home.st_dev) {
          path_ = mount;
          return;
        }
      }
    }
    std::string pattern = "/dev/shm/lmk-test-XXXXXX";
    struct stat shm {};
    if (::stat("/dev/shm", &shm) == 0 && shm.st_dev != home.st_dev &&
        ::mkdtemp(pattern.data()) != nullptr) {
      path_ = pattern;
      owned_ = path_;
      return;
    }
    reason_ =
        "no second file system: not root (cannot mount a tmpfs) and /dev/shm is missing or on "
        "the same device as the temporary folder";
  }
  ~SecondFileSystem() {
    std::error_code ec;
    if (!owned_.empty()) std::filesystem::remove_all(owned_, ec);
    if (!mounted_.empty()) {
      std::filesystem::remove_all(mounted_, ec);
      const std::string command = "umount '" + mounted_.string() + "' 2>/dev/null";
      if (std::system(command.c_str()) != 0) {
        std::system(("umount -l '" + mounted_.string() + "' 2>/dev/null").c_str());
      }
    }
  }
  SecondFileSystem(const SecondFileSystem&) = delete;
  SecondFileSystem& operator=(const SecondFileSystem&) = delete;

  bool available() const { return !path_.empty(); }
  const std::string& reason() const { return reason_; }
  /// The folder on the local temporary file system.
  const std::filesystem::path& local() const { return temp_.path(); }
  /// The folder on the other file system.
  const std::filesystem::path& other() const { return path_; }

 private:
  ScopedTempDir temp_;
  std::filesystem::path path_;
  std::filesystem::path mounted_;
  std::filesystem::path owned_;
  std::string reason_;
};

}  // namespace lmk::test

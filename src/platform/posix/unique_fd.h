// Only POSIX code here: a file descriptor owned by one object and closed with it.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace lmk {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) noexcept : fd_(fd) {}
  ~UniqueFd() { Reset(); }
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
      Reset();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;

  int get() const noexcept { return fd_; }
  bool valid() const noexcept { return fd_ >= 0; }
  /// Closes now and returns close()'s errno (0 on success), for writers that must know.
  int Close() noexcept {
    if (fd_ < 0) return 0;
    const int result = ::close(std::exchange(fd_, -1));
    return result == 0 ? 0 : errno;
  }
  /// Gives the descriptor up to the caller, who closes it.
  int Release() noexcept { return std::exchange(fd_, -1); }
  void Reset() noexcept {
    if (fd_ >= 0) ::close(std::exchange(fd_, -1));
  }

 private:
  int fd_ = -1;
};

}  // namespace lmk

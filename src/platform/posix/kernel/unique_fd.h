/// Ownership of one file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : _fd(fd) {}
  ~UniqueFd() { Reset(); }
  UniqueFd(UniqueFd&& other) noexcept : _fd(other.Release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    Reset(other.Release());
    return *this;
  }

  int Get() const { return _fd; }
  explicit operator bool() const { return _fd >= 0; }
  int Release() { return std::exchange(_fd, -1); }

  /// Closes what it owned; errno is left as it was, so that a failure path can still report it.
  void Reset(int fd = -1);

 private:
  int _fd = -1;
};

}  // namespace platform

#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace qrl::process {

// Owns one file descriptor and closes it when destroyed.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : fd_(fd) {}
  ~FileDescriptor() { reset(); }
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      reset();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  int release() { return std::exchange(fd_, -1); }
  void reset(int fd = -1) {
    if (fd_ >= 0)
      ::close(fd_);
    fd_ = fd;
  }

 private:
  int fd_ = -1;
};

// Repeats a system call while it fails with EINTR.
template <typename Call>
auto retryOnInterrupt(Call call) {
  for (;;) {
    auto result = call();
    if (!(result < 0 && errno == EINTR))
      return result;
  }
}

}  // namespace qrl::process

#pragma once

#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>

#include "platform/base/FileDescriptor.h"

// System calls on descriptors that retry interrupted calls (EINTR) and report
// failures as an IO qrl::Exception saying what was done to which object,
// with errno's text: "read /path/movie.mov: Input/output error".
namespace qrl {

// Repeats a system call while it fails with EINTR; returns its last result,
// with errno as the call left it.
template <typename Call>
auto retryOnInterrupt(Call call) {
  for (;;) {
    auto result = call();
    if (!(result < 0 && errno == EINTR))
      return result;
  }
}

// Opens `path` (open(2) flags and mode); `operation` names the step in the
// error ("open", "open for writing").
FileDescriptor openFile(const std::filesystem::path& path, int flags, mode_t mode = 0,
                        std::string_view operation = "open");
// The same without the exception: an invalid descriptor, errno saying why.
FileDescriptor tryOpenFile(const std::filesystem::path& path, int flags, mode_t mode = 0);

// Reads until `out` is full or the input ends; returns the bytes read, fewer
// than asked only at the end. `object` names the file or stream in errors.
size_t readFully(int fd, std::span<uint8_t> out, std::string_view object);
// The same from a file offset (pread), leaving the file position alone.
size_t readFullyAt(int fd, std::span<uint8_t> out, uint64_t offset, std::string_view object);

// Writes every byte, however many calls it takes.
void writeFully(int fd, std::span<const uint8_t> bytes, std::string_view object);
// The same at a file offset (pwrite), leaving the file position alone.
void writeFullyAt(int fd, std::span<const uint8_t> bytes, uint64_t offset, std::string_view object);
// The same on a socket, where a peer that has gone away is an EPIPE error
// rather than a SIGPIPE that ends the process. Errors say "write".
void sendFully(int fd, std::span<const uint8_t> bytes, std::string_view object);

// Flushes the file's data to the disk (fsync).
void syncFile(int fd, std::string_view object);

}  // namespace qrl

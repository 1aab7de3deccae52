#include "platform/base/FileIO.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "platform/base/Exception.h"

namespace qrl {
namespace {

[[noreturn]] void fail(std::string_view operation, std::string_view object) {
  throw Exception::fromErrno(std::string(operation), std::string(object), errno);
}

// Runs `step(done)` until it has moved `size` bytes or reports the end (0);
// returns the bytes moved.
template <typename Step>
size_t transfer(size_t size, std::string_view operation, std::string_view object, Step step) {
  size_t done = 0;
  while (done < size) {
    const ssize_t n = retryOnInterrupt([&] { return step(done); });
    if (n < 0)
      fail(operation, object);
    if (n == 0)
      break;
    done += static_cast<size_t>(n);
  }
  return done;
}

// A write that returns 0 makes no progress; say so rather than loop.
void written(size_t size, std::string_view object, size_t done) {
  if (done < size)
    throw Exception::io("write " + std::string(object) + ": no more bytes were taken");
}

}  // namespace

FileDescriptor tryOpenFile(const std::filesystem::path& path, int flags, mode_t mode) {
  return FileDescriptor(retryOnInterrupt([&] { return ::open(path.c_str(), flags, mode); }));
}

FileDescriptor openFile(const std::filesystem::path& path, int flags, mode_t mode,
                        std::string_view operation) {
  FileDescriptor fd = tryOpenFile(path, flags, mode);
  if (!fd.valid())
    fail(operation, path.string());
  return fd;
}

size_t readFully(int fd, std::span<uint8_t> out, std::string_view object) {
  return transfer(out.size(), "read", object,
                  [&](size_t done) { return ::read(fd, out.data() + done, out.size() - done); });
}

size_t readFullyAt(int fd, std::span<uint8_t> out, uint64_t offset, std::string_view object) {
  return transfer(out.size(), "read", object, [&](size_t done) {
    return ::pread(fd, out.data() + done, out.size() - done, static_cast<off_t>(offset + done));
  });
}

void writeFully(int fd, std::span<const uint8_t> bytes, std::string_view object) {
  written(bytes.size(), object, transfer(bytes.size(), "write", object, [&](size_t done) {
            return ::write(fd, bytes.data() + done, bytes.size() - done);
          }));
}

void writeFullyAt(int fd, std::span<const uint8_t> bytes, uint64_t offset,
                  std::string_view object) {
  written(bytes.size(), object, transfer(bytes.size(), "write", object, [&](size_t done) {
            return ::pwrite(fd, bytes.data() + done, bytes.size() - done,
                            static_cast<off_t>(offset + done));
          }));
}

void sendFully(int fd, std::span<const uint8_t> bytes, std::string_view object) {
  written(bytes.size(), object, transfer(bytes.size(), "write", object, [&](size_t done) {
            return ::send(fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
          }));
}

void syncFile(int fd, std::string_view object) {
  if (::fsync(fd) != 0)
    fail("sync", object);
}

}  // namespace qrl

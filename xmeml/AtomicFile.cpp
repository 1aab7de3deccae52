#include "xmeml/AtomicFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>

#include "platform/base/Exception.h"
#include "platform/base/FileIO.h"

namespace qrl {

namespace {

std::filesystem::path temporarySibling(const std::filesystem::path& path) {
  static std::atomic<unsigned> counter{0};
  // Built by appending: GCC 12's -Wrestrict misfires on "." + std::string at -O3.
  std::string name(".");
  name.append(path.filename().string())
      .append(".tmp-")
      .append(std::to_string(::getpid()))
      .append("-")
      .append(std::to_string(counter.fetch_add(1)));
  return path.parent_path() / name;
}

}  // namespace

void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes) {
  if (path.empty() || !path.has_filename())
    throw Exception::io("cannot write to \"" + path.string() + "\": not a file path");
  std::filesystem::path temporary;
  FileDescriptor fd;
  for (int attempt = 0; attempt < 100 && !fd.valid(); ++attempt) {
    temporary = temporarySibling(path);
    fd.reset(retryOnInterrupt(
        [&] { return ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666); }));
    if (!fd.valid() && errno != EEXIST)
      throw Exception::fromErrno("create", temporary.string(), errno);
  }
  if (!fd.valid())
    throw Exception::fromErrno("create", temporary.string(), EEXIST);

  auto fail = [&](const char* operation, int err) {
    fd.reset();
    ::unlink(temporary.c_str());
    throw Exception::fromErrno(operation, path.string(), err);
  };
  size_t done = 0;
  while (done < bytes.size()) {
    ssize_t n = retryOnInterrupt(
        [&] { return ::write(fd.get(), bytes.data() + done, bytes.size() - done); });
    if (n < 0)
      fail("write", errno);
    done += static_cast<size_t>(n);
  }
  if (::fsync(fd.get()) != 0)
    fail("sync", errno);
  if (::close(fd.release()) != 0)
    fail("close", errno);
  if (::rename(temporary.c_str(), path.c_str()) != 0)
    fail("rename", errno);
}

}  // namespace qrl

#include "platform/base/AtomicFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
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

AtomicFile::AtomicFile(std::filesystem::path target) : target_(std::move(target)) {
  if (target_.empty() || !target_.has_filename())
    throw Exception::io("cannot write to \"" + target_.string() + "\": not a file path");
  // A stale temporary of an earlier process with our identifier is skipped.
  for (int attempt = 0; attempt < 100 && !fd_.valid(); ++attempt) {
    temporary_ = temporarySibling(target_);
    fd_ = tryOpenFile(temporary_, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (!fd_.valid() && errno != EEXIST)
      throw Exception::fromErrno("create", temporary_.string(), errno);
  }
  if (!fd_.valid())
    throw Exception::fromErrno("create", temporary_.string(), EEXIST);
}

AtomicFile::~AtomicFile() {
  if (!committed_)
    discard();
}

void AtomicFile::discard() {
  fd_.reset();
  if (!temporary_.empty())
    ::unlink(temporary_.c_str());
  temporary_.clear();
}

void AtomicFile::writeAt(uint64_t offset, std::span<const uint8_t> bytes) {
  writeFullyAt(fd_.get(), bytes, offset, target_.string());
  size_ = std::max(size_, offset + bytes.size());
}

void AtomicFile::commit() {
  try {
    syncFile(fd_.get(), target_.string());
    if (::close(fd_.release()) != 0)
      throw Exception::fromErrno("close", target_.string(), errno);
    if (::rename(temporary_.c_str(), target_.c_str()) != 0)
      throw Exception::fromErrno("rename", target_.string(), errno);
  } catch (...) {
    discard();
    throw;
  }
  committed_ = true;
  // The rename itself reaches the disk with the folder; where the folder
  // cannot be opened the new content is in place all the same.
  const std::filesystem::path folder = target_.parent_path().empty() ? "." : target_.parent_path();
  if (FileDescriptor dir = tryOpenFile(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC); dir.valid())
    ::fsync(dir.get());
}

void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes) {
  AtomicFile file(path);
  file.append(std::span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
  file.commit();
}

}  // namespace qrl

#include "platform/quicktime/ByteSource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "platform/base/Exception.h"
#include "platform/base/FileIO.h"

namespace qrl::quicktime {
namespace {

class FileSource : public ByteSource {
 public:
  FileSource(FileDescriptor fd, uint64_t size, std::string path)
      : fd_(std::move(fd)), size_(size), path_(std::move(path)) {}

  // The file may have grown since it was opened (a movie being edited appends
  // its new samples), so the size is looked up again.
  uint64_t size() const override {
    refreshSize();
    return size_;
  }

  void read(uint64_t offset, std::span<uint8_t> out) const override {
    if (offset > size_ || out.size() > size_ - offset)
      refreshSize();
    if (offset > size_ || out.size() > size_ - offset) {
      throw Exception::io("read " + path_ + ": " + std::to_string(out.size()) +
                          " bytes at offset " + std::to_string(offset) + " lie past its end (" +
                          std::to_string(size_) + " bytes)");
    }
    if (readFullyAt(fd_.get(), out, offset, path_) < out.size())
      throw Exception::io("read " + path_ + ": file shrank while reading");
  }

 private:
  void refreshSize() const {
    struct stat st {};
    if (::fstat(fd_.get(), &st) == 0)
      size_ = static_cast<uint64_t>(st.st_size);
  }

  FileDescriptor fd_;
  mutable uint64_t size_;
  std::string path_;
};

class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}

  uint64_t size() const override { return bytes_.size(); }

  void read(uint64_t offset, std::span<uint8_t> out) const override {
    if (offset > bytes_.size() || out.size() > bytes_.size() - offset) {
      throw Exception::io("read: " + std::to_string(out.size()) + " bytes at offset " +
                          std::to_string(offset) + " lie past the end of the data");
    }
    if (!out.empty())
      std::memcpy(out.data(), bytes_.data() + offset, out.size());
  }

 private:
  std::vector<uint8_t> bytes_;
};

}  // namespace

std::unique_ptr<ByteSource> ByteSource::openFile(const std::filesystem::path& path) {
  FileDescriptor fd = qrl::openFile(path, O_RDONLY | O_CLOEXEC);
  struct stat st {};
  if (::fstat(fd.get(), &st) != 0)
    throw Exception::fromErrno("stat", path.string(), errno);
  if (!S_ISREG(st.st_mode))
    throw Exception::io("open " + path.string() + ": not a regular file");
  return std::make_unique<FileSource>(std::move(fd), static_cast<uint64_t>(st.st_size),
                                      path.string());
}

std::unique_ptr<ByteSource> ByteSource::fromBytes(std::vector<uint8_t> bytes) {
  return std::make_unique<MemorySource>(std::move(bytes));
}

}  // namespace qrl::quicktime

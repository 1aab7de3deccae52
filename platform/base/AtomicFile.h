#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>

#include "platform/base/FileDescriptor.h"

namespace qrl {

// The new content of a file, written to a temporary beside it and renamed
// over it in one step, so that a reader sees the old file or the whole new
// one, never a part, and a crash leaves the old file. The temporary,
// ".<name>.tmp-<process>-<counter>" in the target's folder, gets the usual
// permissions (0666 less the umask) and is removed unless committed.
// Failures are IO Exceptions naming the target (the temporary when it cannot
// be created); the target is then untouched.
class AtomicFile {
 public:
  explicit AtomicFile(std::filesystem::path target);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  // Bytes go at the end, or at an offset that may lie inside what is written.
  void append(std::span<const uint8_t> bytes) { writeAt(size_, bytes); }
  void writeAt(uint64_t offset, std::span<const uint8_t> bytes);
  // One past the furthest byte written.
  uint64_t size() const { return size_; }

  // Flushes the temporary to the disk, renames it over the target and flushes
  // the folder, so the new name survives a crash too; on failure removes the
  // temporary at once. Call once.
  void commit();

 private:
  void discard();

  std::filesystem::path target_;
  std::filesystem::path temporary_;
  FileDescriptor fd_;
  uint64_t size_ = 0;
  bool committed_ = false;
};

// Replaces the file at `path` with `bytes` through an AtomicFile.
void writeFileAtomically(const std::filesystem::path& path, std::string_view bytes);

}  // namespace qrl

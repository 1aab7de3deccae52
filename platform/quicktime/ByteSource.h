#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace qrl::quicktime {

// Random-access bytes of a movie or media file: an open file (owning its
// descriptor) or a block in memory. Reads are exact: a short read throws.
class ByteSource {
 public:
  virtual ~ByteSource() = default;

  virtual uint64_t size() const = 0;
  // Fills `out` from `offset`; throws an IO Exception when the bytes are not there.
  virtual void read(uint64_t offset, std::span<uint8_t> out) const = 0;

  std::vector<uint8_t> read(uint64_t offset, size_t count) const {
    std::vector<uint8_t> bytes(count);
    read(offset, bytes);
    return bytes;
  }

  // Throws an IO Exception naming the path when it cannot be opened.
  static std::unique_ptr<ByteSource> openFile(const std::filesystem::path& path);
  static std::unique_ptr<ByteSource> fromBytes(std::vector<uint8_t> bytes);
};

}  // namespace qrl::quicktime

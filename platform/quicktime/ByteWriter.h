#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace qrl::quicktime {

// Big-endian appends to a byte vector the caller owns.
class ByteWriter {
 public:
  explicit ByteWriter(std::vector<uint8_t>& out) : out_(out) {}

  size_t position() const { return out_.size(); }
  void u8(uint8_t v) { out_.push_back(v); }
  void u16(uint16_t v) { put(v, 2); }
  void u32(uint32_t v) { put(v, 4); }
  void u64(uint64_t v) { put(v, 8); }
  void i16(int16_t v) { u16(static_cast<uint16_t>(v)); }
  void i32(int32_t v) { u32(static_cast<uint32_t>(v)); }
  void i64(int64_t v) { u64(static_cast<uint64_t>(v)); }
  void bytes(std::span<const uint8_t> b) { out_.insert(out_.end(), b.begin(), b.end()); }
  void zeros(size_t count) { out_.insert(out_.end(), count, 0); }

 private:
  void put(uint64_t v, int width) {
    for (int i = width - 1; i >= 0; --i)
      out_.push_back(static_cast<uint8_t>(v >> (8 * i)));
  }

  std::vector<uint8_t>& out_;
};

}  // namespace qrl::quicktime

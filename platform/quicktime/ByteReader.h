#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace qrl::quicktime {

// Big-endian reads bounded by a span of bytes. Every read checks what is left
// and throws a parse Exception naming `context` instead of reading past the end.
class ByteReader {
 public:
  ByteReader(std::span<const uint8_t> bytes, std::string context)
      : bytes_(bytes), context_(std::move(context)) {}

  size_t position() const { return position_; }
  size_t remaining() const { return bytes_.size() - position_; }
  bool atEnd() const { return position_ == bytes_.size(); }
  const std::string& context() const { return context_; }

  uint8_t u8();
  uint16_t u16();
  uint32_t u32();
  uint64_t u64();
  int16_t i16() { return static_cast<int16_t>(u16()); }
  int32_t i32() { return static_cast<int32_t>(u32()); }
  int64_t i64() { return static_cast<int64_t>(u64()); }
  std::span<const uint8_t> bytes(size_t count);
  void skip(size_t count) { bytes(count); }
  std::span<const uint8_t> rest() { return bytes(remaining()); }

  // Throws unless `count` records of `recordSize` bytes fit in what is left, so
  // that a count read from the file never drives an allocation past the data.
  void requireRecords(uint64_t count, size_t recordSize) const;

 private:
  void require(size_t count) const;

  std::span<const uint8_t> bytes_;
  std::string context_;
  size_t position_ = 0;
};

}  // namespace qrl::quicktime

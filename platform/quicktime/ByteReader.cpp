#include "platform/quicktime/ByteReader.h"

#include "platform/base/Exception.h"

namespace qrl::quicktime {

void ByteReader::require(size_t count) const {
  if (count > remaining()) {
    throw Exception::parse(context_ + ": needs " + std::to_string(count) + " bytes at offset " +
                           std::to_string(position_) + ", only " + std::to_string(remaining()) +
                           " left");
  }
}

void ByteReader::requireRecords(uint64_t count, size_t recordSize) const {
  if (recordSize != 0 && count > remaining() / recordSize) {
    throw Exception::parse(context_ + ": " + std::to_string(count) + " entries of " +
                           std::to_string(recordSize) + " bytes do not fit in the " +
                           std::to_string(remaining()) + " bytes left");
  }
}

uint8_t ByteReader::u8() {
  require(1);
  return bytes_[position_++];
}

uint16_t ByteReader::u16() {
  require(2);
  uint16_t v = static_cast<uint16_t>((bytes_[position_] << 8) | bytes_[position_ + 1]);
  position_ += 2;
  return v;
}

uint32_t ByteReader::u32() {
  require(4);
  uint32_t v = 0;
  for (int i = 0; i < 4; ++i)
    v = (v << 8) | bytes_[position_++];
  return v;
}

uint64_t ByteReader::u64() {
  require(8);
  uint64_t v = 0;
  for (int i = 0; i < 8; ++i)
    v = (v << 8) | bytes_[position_++];
  return v;
}

std::span<const uint8_t> ByteReader::bytes(size_t count) {
  require(count);
  auto s = bytes_.subspan(position_, count);
  position_ += count;
  return s;
}

}  // namespace qrl::quicktime

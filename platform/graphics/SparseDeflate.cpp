#include "platform/graphics/SparseDeflate.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cassert>

namespace qrl::graphics::detail {

namespace {

constexpr size_t kMinimumMatch = 3;
constexpr size_t kMaximumMatch = 258;
constexpr uint32_t kAdlerModulus = 65521;

struct Code {
  uint16_t bits = 0;  // already reversed for LSB-first output
  uint8_t length = 0;
};

constexpr uint16_t reversed(uint32_t code, int length) {
  uint32_t r = 0;
  for (int i = 0; i < length; ++i)
    r |= ((code >> i) & 1U) << (length - 1 - i);
  return static_cast<uint16_t>(r);
}

// The fixed Huffman code of deflate for literal/length symbols 0..287.
constexpr std::array<Code, 288> makeLiteralCodes() {
  std::array<Code, 288> codes{};
  for (uint32_t s = 0; s < 288; ++s) {
    if (s < 144) {
      codes[s] = {reversed(0x30 + s, 8), 8};
    } else if (s < 256) {
      codes[s] = {reversed(0x190 + s - 144, 9), 9};
    } else if (s < 280) {
      codes[s] = {reversed(s - 256, 7), 7};
    } else {
      codes[s] = {reversed(0xC0 + s - 280, 8), 8};
    }
  }
  return codes;
}
constexpr std::array<Code, 288> kLiteralCodes = makeLiteralCodes();

constexpr std::array<uint16_t, 29> kLengthBase = {3,  4,  5,  6,   7,   8,   9,   10,  11, 13,
                                                  15, 17, 19, 23,  27,  31,  35,  43,  51, 59,
                                                  67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr std::array<uint8_t, 29> kLengthExtra = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                                  2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
constexpr std::array<uint16_t, 30> kDistanceBase = {
    1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
    193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
constexpr std::array<uint8_t, 30> kDistanceExtra = {0, 0, 0,  0,  1,  1,  2,  2,  3,  3,
                                                    4, 4, 5,  5,  6,  6,  7,  7,  8,  8,
                                                    9, 9, 10, 10, 11, 11, 12, 12, 13, 13};

class BitWriter {
 public:
  explicit BitWriter(std::vector<uint8_t>& out) : out_(out) {}

  void put(uint32_t bits, int count) {
    accumulator_ |= static_cast<uint64_t>(bits) << filled_;
    filled_ += count;
    while (filled_ >= 8) {
      out_.push_back(static_cast<uint8_t>(accumulator_));
      accumulator_ >>= 8;
      filled_ -= 8;
    }
  }

  void alignToByte() {
    if (filled_ > 0)
      put(0, 8 - filled_);
  }

 private:
  std::vector<uint8_t>& out_;
  uint64_t accumulator_ = 0;
  int filled_ = 0;
};

class BlockWriter {
 public:
  BlockWriter(const uint8_t* raw, std::vector<uint8_t>& out) : raw_(raw), bits_(out) {
    bits_.put(1, 1);  // final block
    bits_.put(1, 2);  // fixed Huffman codes
  }

  void literal(uint8_t byte) {
    const Code& c = kLiteralCodes[byte];
    bits_.put(c.bits, c.length);
    last_ = byte;
    ++position_;
  }

  // Repeats the `length` bytes found `distance` back.
  void match(size_t length, size_t distance) {
    assert(length >= kMinimumMatch && length <= kMaximumMatch && distance <= position_);
    const auto l = static_cast<uint16_t>(length);
    const size_t ls =
        static_cast<size_t>(std::upper_bound(kLengthBase.begin(), kLengthBase.end(), l) -
                            kLengthBase.begin()) -
        1;
    const Code& c = kLiteralCodes[257 + ls];
    bits_.put(c.bits, c.length);
    bits_.put(l - kLengthBase[ls], kLengthExtra[ls]);
    const auto d = static_cast<uint16_t>(distance);
    const size_t ds =
        static_cast<size_t>(std::upper_bound(kDistanceBase.begin(), kDistanceBase.end(), d) -
                            kDistanceBase.begin()) -
        1;
    bits_.put(reversed(static_cast<uint32_t>(ds), 5), 5);
    bits_.put(d - kDistanceBase[ds], kDistanceExtra[ds]);
    position_ += length;
    last_ = raw_[position_ - 1];
  }

  // A run of zero bytes, as matches one byte back once a zero precedes it.
  void zeros(size_t count) {
    if (count > 0 && (position_ == 0 || last_ != 0)) {
      literal(0);
      --count;
    }
    while (count > 0) {
      if (count < kMinimumMatch) {
        literal(0);
        --count;
        continue;
      }
      size_t length = std::min(count, kMaximumMatch);
      // Never leave a remainder too short for a match of its own.
      if (count > kMaximumMatch && count - kMaximumMatch < kMinimumMatch)
        length = count - 3;
      match(length, 1);
      count -= length;
    }
  }

  // Content bytes up to `end`: greedy matches against the pixel before or the
  // row above, literals where neither repeats.
  void content(size_t end, size_t rowBytes) {
    while (position_ < end) {
      const size_t limit = std::min(kMaximumMatch, end - position_);
      size_t bestLength = 0;
      size_t bestDistance = 0;
      for (size_t distance : {size_t{4}, rowBytes}) {
        if (distance > position_)
          continue;
        const uint8_t* here = raw_ + position_;
        const uint8_t* there = here - distance;
        size_t n = 0;
        while (n < limit && here[n] == there[n])
          ++n;
        if (n > bestLength) {
          bestLength = n;
          bestDistance = distance;
        }
      }
      if (bestLength >= kMinimumMatch) {
        match(bestLength, bestDistance);
      } else {
        literal(raw_[position_]);
      }
    }
  }

  void finish() {
    const Code& end = kLiteralCodes[256];
    bits_.put(end.bits, end.length);
    bits_.alignToByte();
  }

  size_t position() const { return position_; }

 private:
  const uint8_t* raw_;
  BitWriter bits_;
  size_t position_ = 0;
  uint8_t last_ = 0;
};

// Adler-32 over `count` zero bytes: the byte sum stays, the running sum grows
// by it once per byte.
uLong adlerOfZeros(uLong adler, size_t count) {
  const uint64_t a = adler & 0xFFFF;
  uint64_t b = adler >> 16;
  b = (b + (count % kAdlerModulus) * a) % kAdlerModulus;
  return static_cast<uLong>((b << 16) | a);
}

}  // namespace

void sparseDeflate(const uint8_t* raw, size_t rows, size_t rowBytes, const StripContent& content,
                   std::vector<uint8_t>& out) {
  assert(rowBytes <= kSparseDeflateMaximumRowBytes);
  out.clear();
  out.reserve(1024);
  out.push_back(0x78);  // deflate, 32 KiB window
  out.push_back(0x01);  // no dictionary, fastest; header check bits
  uLong adler = adler32(0, nullptr, 0);
  BlockWriter block(raw, out);
  size_t pendingZeros = 0;
  const bool anyContent = content.begin < content.end && content.firstRow < content.endRow;
  for (size_t row = 0; row < rows; ++row) {
    if (!anyContent || row < content.firstRow || row >= content.endRow) {
      pendingZeros += rowBytes;
      continue;
    }
    pendingZeros += content.begin;
    block.zeros(pendingZeros);
    adler = adlerOfZeros(adler, pendingZeros);
    const size_t rowStart = row * rowBytes;
    block.content(rowStart + content.end, rowBytes);
    adler = adler32(adler, raw + rowStart + content.begin,
                    static_cast<uInt>(content.end - content.begin));
    pendingZeros = rowBytes - content.end;
  }
  block.zeros(pendingZeros);
  adler = adlerOfZeros(adler, pendingZeros);
  block.finish();
  assert(block.position() == rows * rowBytes);
  for (int shift = 24; shift >= 0; shift -= 8)
    out.push_back(static_cast<uint8_t>(adler >> shift));
}

}  // namespace qrl::graphics::detail

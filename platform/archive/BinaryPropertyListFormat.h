#pragma once

// What the binary property-list reader and writer share: the format's
// constants and a few helpers. Private to platform/archive.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace qrl::archive::bplist {

constexpr uint8_t kMagic[8] = {'b', 'p', 'l', 'i', 's', 't', '0', '0'};
constexpr size_t kTrailerBytes = 32;

// Markers: the high nibble is the type, the low one a size or sub-type.
enum : uint8_t {
  kFalse = 0x08,
  kTrue = 0x09,
  kInt = 0x10,
  kReal = 0x20,
  kDate = 0x33,
  kData = 0x40,
  kAscii = 0x50,
  kUtf16 = 0x60,
  kUid = 0x80,
  kArray = 0xA0,
  kSet = 0xC0,
  kDict = 0xD0,
};

inline unsigned widthFor(uint64_t v) {
  return v <= 0xFF ? 1 : v <= 0xFFFF ? 2 : v <= 0xFFFFFFFF ? 4 : 8;
}

inline uint8_t log2Width(unsigned width) {
  return static_cast<uint8_t>(std::countr_zero(width));
}

constexpr uint64_t kHighBits = 0x8080808080808080u;
constexpr uint64_t kLowBits = 0x0101010101010101u;

inline uint64_t word(const char* p) {
  uint64_t w;
  std::memcpy(&w, p, sizeof w);
  return w;
}

// Working vectors kept per thread from one call to the next, so that small
// messages do not allocate them every time; after a large value they give
// their memory back. Writer and Reader never run inside one another.
template <typename T, int Tag>
class Scratch {
 public:
  Scratch() : v(storage()) { v.clear(); }
  ~Scratch() {
    if (v.capacity() > 4096)
      std::vector<T>().swap(v);
    else
      v.clear();
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  std::vector<T>& v;

 private:
  static std::vector<T>& storage() {
    thread_local std::vector<T> s;
    return s;
  }
};

}  // namespace qrl::archive::bplist

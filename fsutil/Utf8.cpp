#include "fsutil/Utf8.h"

#include <cstdint>

namespace qrl::fsutil {

bool isValidUtf8(std::string_view bytes) {
  size_t i = 0;
  const size_t size = bytes.size();
  while (i < size) {
    const auto lead = static_cast<uint8_t>(bytes[i]);
    if (lead < 0x80) {
      ++i;
      continue;
    }
    size_t length = 0;
    // The bounds of the first continuation byte rule out overlong forms,
    // surrogates and code points past U+10FFFF in one check.
    uint8_t low = 0x80;
    uint8_t high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3;
      if (lead == 0xE0)
        low = 0xA0;
      if (lead == 0xED)
        high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4;
      if (lead == 0xF0)
        low = 0x90;
      if (lead == 0xF4)
        high = 0x8F;
    } else {
      return false;
    }
    if (size - i < length)
      return false;
    const auto first = static_cast<uint8_t>(bytes[i + 1]);
    if (first < low || first > high)
      return false;
    for (size_t k = 2; k < length; ++k) {
      const auto next = static_cast<uint8_t>(bytes[i + k]);
      if (next < 0x80 || next > 0xBF)
        return false;
    }
    i += length;
  }
  return true;
}

}  // namespace qrl::fsutil

#pragma once

#include <cstdint>
#include <string>

namespace qrl::quicktime {

// A four-character code as QuickTime stores it: four bytes read big-endian.
constexpr uint32_t fourCC(const char (&code)[5]) {
  return (static_cast<uint32_t>(static_cast<uint8_t>(code[0])) << 24) |
         (static_cast<uint32_t>(static_cast<uint8_t>(code[1])) << 16) |
         (static_cast<uint32_t>(static_cast<uint8_t>(code[2])) << 8) |
         static_cast<uint32_t>(static_cast<uint8_t>(code[3]));
}

// The code as text; bytes outside printable ASCII become '?' so that a code
// read from a damaged file is always safe to print.
inline std::string fourCCString(uint32_t code) {
  std::string s(4, ' ');
  for (int i = 0; i < 4; ++i) {
    auto c = static_cast<unsigned char>((code >> (24 - 8 * i)) & 0xFF);
    s[static_cast<size_t>(i)] = (c >= 0x20 && c < 0x7F) ? static_cast<char>(c) : '?';
  }
  return s;
}

// The code in single quotes, for messages. Built by appending: GCC 12 warns
// wrongly about prepending a literal to a temporary string at -O3.
inline std::string quoted(uint32_t code) {
  std::string s(1, '\'');
  s.append(fourCCString(code));
  s.push_back('\'');
  return s;
}

// Media types, as the media handler's component subtype names them.
inline constexpr uint32_t kMediaTypeVideo = fourCC("vide");
inline constexpr uint32_t kMediaTypeSound = fourCC("soun");
inline constexpr uint32_t kMediaTypeTimeCode = fourCC("tmcd");

}  // namespace qrl::quicktime

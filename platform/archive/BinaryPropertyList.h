#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/archive/Value.h"

namespace qrl::archive {

// The binary property-list form ("bplist00"), read and written directly:
// every IPC message and keyed archive passes through here, and going through
// a generic node tree cost several times the work of the format itself.
//
// Writing picks the smallest widths the format allows, writes each distinct
// string once, keeps negative integers at 8 bytes and reals that a float holds
// exactly at 4 bytes (as libplist did before, so the bytes stay the same kind).
// A null, a string or key with a NUL or invalid UTF-8, a date beyond the
// 32-bit second range, or nesting deeper than kMaxDepth throws
// Exception (Unsupported).
//
// Reading validates every offset, count and reference against the buffer and
// throws Exception (Parse) naming the problem. Objects shared by several
// references are decoded once; the value they expand to, counted over every
// reference, is bounded (maxExpandedObjects, maxExpandedBytes), so a small
// input cannot stand for an enormous value. Nesting beyond kMaxDepth and
// cycles are refused; strings must be valid UTF-8 (or UTF-16).
class BinaryPropertyList {
 public:
  static constexpr size_t kMaxInputBytes = 64u << 20;
  static constexpr int kMaxDepth = 128;

  static bool isBinary(std::span<const uint8_t> bytes);
  static Value read(std::span<const uint8_t> bytes);
  static Data write(const Value& value);

  // The most objects a value read from `inputBytes` may expand to.
  static constexpr uint64_t maxExpandedObjects(size_t inputBytes) {
    return 1'000'000 + 8 * static_cast<uint64_t>(inputBytes);
  }
  // The most string and data bytes it may expand to: writers store a repeated
  // key once and refer to it, so legitimate files stay well inside this.
  static constexpr uint64_t maxExpandedBytes(size_t inputBytes) {
    return (32u << 20) + 64 * static_cast<uint64_t>(inputBytes);
  }

  // Strict UTF-8: no overlong forms, surrogates or code points past U+10FFFF.
  static bool isUtf8(std::string_view s);
};

}  // namespace qrl::archive

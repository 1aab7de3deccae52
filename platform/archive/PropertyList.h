#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/archive/BinaryPropertyList.h"
#include "platform/archive/Value.h"

namespace qrl::archive {

// Binary ("bplist00") and XML property lists: the binary form through our own
// reader and writer (BinaryPropertyList), XML through libplist.
//
// Reading accepts either form and turns an XML dictionary whose only key is
// "CF$UID" into a UID, which libplist 2.2 leaves as a dictionary. Every read
// is bounded: inputs over kMaxInputBytes or nested deeper than kMaxDepth are
// refused. Failures throw qrl::Exception (Parse); a write of a value that the
// format cannot hold (null, a string with a NUL; in binary, also a string that
// is not UTF-8) throws Exception (Unsupported).
class PropertyList {
 public:
  static constexpr size_t kMaxInputBytes = BinaryPropertyList::kMaxInputBytes;
  static constexpr int kMaxDepth = BinaryPropertyList::kMaxDepth;

  static Value parse(std::span<const uint8_t> bytes);
  static Value parse(std::string_view text);

  static Data binaryData(const Value& value);
  static std::string xmlText(const Value& value);
};

}  // namespace qrl::archive

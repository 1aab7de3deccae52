// Any bytes through the property-list reader; what it accepts must write back
// and read again to the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

#include "platform/archive/PropertyList.h"
#include "platform/base/Exception.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using qrl::archive::PropertyList;
  qrl::archive::Value v;
  qrl::archive::Data once;
  try {
    v = PropertyList::parse(std::span(data, size));
    once = PropertyList::binaryData(v);
  } catch (const qrl::Exception&) {
    // Unreadable, or not writable (a string holding NUL): reported, not a fault.
    return 0;
  }
  // Bytes are compared, not values: NaN is unequal to itself, except inside a
  // container shared by both sides of a comparison.
  try {
    if (PropertyList::binaryData(PropertyList::parse(once)) != once)
      std::abort();
  } catch (const qrl::Exception& e) {
    // Our own bytes must read back, unless the expansion limits (which scale
    // with the input's size) are what stops them.
    std::string_view what = e.what();
    if (what.find("too many objects") == what.npos && what.find("too much data") == what.npos)
      std::abort();
  }
  return 0;
}

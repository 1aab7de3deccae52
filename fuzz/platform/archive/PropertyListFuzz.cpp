// Any bytes through the property-list reader; what it accepts must write back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "platform/archive/PropertyList.h"
#include "platform/process/Exception.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using qrl::archive::PropertyList;
  qrl::archive::Value v;
  try {
    v = PropertyList::parse(std::span(data, size));
  } catch (const qrl::Exception&) {
    return 0;
  }
  try {
    // A value read from binary must survive a second trip unchanged.
    auto again = PropertyList::parse(PropertyList::binaryData(v));
    if (!(again == v) && v == v)
      std::abort();
  } catch (const qrl::Exception&) {
    // Strings with NUL characters cannot be written; that is reported, not a fault.
  }
  return 0;
}

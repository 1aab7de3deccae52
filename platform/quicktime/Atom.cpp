#include "platform/quicktime/Atom.h"

#include <limits>
#include <string>

#include "platform/base/Exception.h"
#include "platform/quicktime/FourCC.h"

namespace qrl::quicktime {

uint64_t Atom::headerSize() const {
  bool needsLarge = payloadSize() > std::numeric_limits<uint32_t>::max() - 8;
  return (largeSize_ || needsLarge) ? 16 : 8;
}

uint64_t Atom::size() const {
  return headerSize() + payloadSize();
}

void Atom::write(ByteWriter& out) const {
  size_t start = out.position();
  uint64_t total = size();
  if (headerSize() == 16) {
    out.u32(1);
    out.u32(type_);
    out.u64(total);
  } else {
    out.u32(static_cast<uint32_t>(total));
    out.u32(type_);
  }
  writePayload(out);
  if (out.position() - start != total) {
    throw Exception::internal(std::string("atom ").append(quoted(type_)) + " wrote " +
                              std::to_string(out.position() - start) + " bytes, declared " +
                              std::to_string(total));
  }
}

}  // namespace qrl::quicktime

#include "platform/quicktime/ChunkOffsetAtom.h"

#include <limits>
#include <string>

#include "platform/base/Exception.h"

namespace qrl::quicktime {

std::unique_ptr<ChunkOffsetAtom> ChunkOffsetAtom::parse(uint32_t type, ByteReader& in) {
  auto atom = std::make_unique<ChunkOffsetAtom>(type == kType64);
  atom->readVersionAndFlags(in);
  uint32_t count = in.u32();
  bool wide = atom->isWide();
  in.requireRecords(count, wide ? 8 : 4);
  atom->offsets_.resize(count);
  for (auto& o : atom->offsets_)
    o = wide ? in.u64() : in.u32();
  atom->keepTrailing(in);
  return atom;
}

bool ChunkOffsetAtom::needsWide() const {
  for (uint64_t o : offsets_) {
    if (o > std::numeric_limits<uint32_t>::max())
      return true;
  }
  return false;
}

void ChunkOffsetAtom::writeFields(ByteWriter& out) const {
  out.u32(static_cast<uint32_t>(offsets_.size()));
  for (uint64_t o : offsets_) {
    if (isWide()) {
      out.u64(o);
    } else if (o > std::numeric_limits<uint32_t>::max()) {
      throw Exception::range("stco: chunk offset " + std::to_string(o) +
                             " needs a 64-bit chunk offset table");
    } else {
      out.u32(static_cast<uint32_t>(o));
    }
  }
}

}  // namespace qrl::quicktime

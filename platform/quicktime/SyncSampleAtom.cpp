#include "platform/quicktime/SyncSampleAtom.h"

namespace qrl::quicktime {

std::unique_ptr<SyncSampleAtom> SyncSampleAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<SyncSampleAtom>();
  atom->readVersionAndFlags(in);
  uint32_t count = in.u32();
  in.requireRecords(count, 4);
  atom->numbers_.resize(count);
  for (auto& n : atom->numbers_)
    n = in.u32();
  atom->keepTrailing(in);
  return atom;
}

void SyncSampleAtom::writeFields(ByteWriter& out) const {
  out.u32(static_cast<uint32_t>(numbers_.size()));
  for (uint32_t n : numbers_)
    out.u32(n);
}

}  // namespace qrl::quicktime

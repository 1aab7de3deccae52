#include "platform/quicktime/TimeToSampleAtom.h"

namespace qrl::quicktime {

std::unique_ptr<TimeToSampleAtom> TimeToSampleAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<TimeToSampleAtom>();
  atom->readVersionAndFlags(in);
  uint32_t count = in.u32();
  in.requireRecords(count, 8);
  atom->entries_.resize(count);
  for (auto& e : atom->entries_) {
    e.count = in.u32();
    e.delta = in.u32();
  }
  atom->keepTrailing(in);
  return atom;
}

void TimeToSampleAtom::writeFields(ByteWriter& out) const {
  out.u32(static_cast<uint32_t>(entries_.size()));
  for (const auto& e : entries_) {
    out.u32(e.count);
    out.u32(e.delta);
  }
}

}  // namespace qrl::quicktime

#include "platform/quicktime/SampleToChunkAtom.h"

namespace qrl::quicktime {

std::unique_ptr<SampleToChunkAtom> SampleToChunkAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<SampleToChunkAtom>();
  atom->readVersionAndFlags(in);
  uint32_t count = in.u32();
  in.requireRecords(count, 12);
  atom->entries_.resize(count);
  for (auto& e : atom->entries_) {
    e.firstChunk = in.u32();
    e.samplesPerChunk = in.u32();
    e.descriptionNumber = in.u32();
  }
  atom->keepTrailing(in);
  return atom;
}

void SampleToChunkAtom::writeFields(ByteWriter& out) const {
  out.u32(static_cast<uint32_t>(entries_.size()));
  for (const auto& e : entries_) {
    out.u32(e.firstChunk);
    out.u32(e.samplesPerChunk);
    out.u32(e.descriptionNumber);
  }
}

}  // namespace qrl::quicktime

#include "platform/quicktime/TrackReferenceTypeAtom.h"

namespace qrl::quicktime {

std::unique_ptr<TrackReferenceTypeAtom> TrackReferenceTypeAtom::parse(uint32_t type,
                                                                      ByteReader& in) {
  auto atom = std::make_unique<TrackReferenceTypeAtom>(type);
  atom->ids_.resize(in.remaining() / 4);
  for (auto& id : atom->ids_)
    id = in.u32();
  auto rest = in.rest();
  atom->trailing_.assign(rest.begin(), rest.end());
  return atom;
}

void TrackReferenceTypeAtom::writePayload(ByteWriter& out) const {
  for (uint32_t id : ids_)
    out.u32(id);
  out.bytes(trailing_);
}

}  // namespace qrl::quicktime

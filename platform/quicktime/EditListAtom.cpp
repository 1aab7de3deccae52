#include "platform/quicktime/EditListAtom.h"

#include "platform/base/Exception.h"

namespace qrl::quicktime {

std::unique_ptr<EditListAtom> EditListAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<EditListAtom>();
  atom->readVersionAndFlags(in);
  if (atom->version() > 1) {
    throw Exception::unsupported("elst: version " + std::to_string(atom->version()));
  }
  bool wide = atom->version() == 1;
  uint32_t count = in.u32();
  in.requireRecords(count, wide ? 20 : 12);
  atom->entries_.resize(count);
  for (auto& e : atom->entries_) {
    e.duration = wide ? in.u64() : in.u32();
    e.mediaTime = wide ? in.i64() : in.i32();
    e.mediaRate = in.i32();
  }
  atom->keepTrailing(in);
  return atom;
}

void EditListAtom::writeFields(ByteWriter& out) const {
  bool wide = version() == 1;
  out.u32(static_cast<uint32_t>(entries_.size()));
  for (const auto& e : entries_) {
    if (wide) {
      out.u64(e.duration);
      out.i64(e.mediaTime);
    } else {
      out.u32(static_cast<uint32_t>(e.duration));
      out.i32(static_cast<int32_t>(e.mediaTime));
    }
    out.i32(e.mediaRate);
  }
}

}  // namespace qrl::quicktime

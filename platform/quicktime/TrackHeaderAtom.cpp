#include "platform/quicktime/TrackHeaderAtom.h"

#include "platform/base/Exception.h"

namespace qrl::quicktime {

std::unique_ptr<TrackHeaderAtom> TrackHeaderAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<TrackHeaderAtom>();
  atom->readVersionAndFlags(in);
  if (atom->version() > 1) {
    throw Exception::unsupported("tkhd: version " + std::to_string(atom->version()));
  }
  Fields& f = atom->fields_;
  bool wide = atom->version() == 1;
  f.creationTime = wide ? in.u64() : in.u32();
  f.modificationTime = wide ? in.u64() : in.u32();
  f.trackID = in.u32();
  f.reserved1 = in.u32();
  f.duration = wide ? in.u64() : in.u32();
  f.reserved2 = in.u64();
  f.layer = in.i16();
  f.alternateGroup = in.i16();
  f.volume = in.i16();
  f.reserved3 = in.u16();
  f.matrix = Matrix::read(in);
  f.width = in.i32();
  f.height = in.i32();
  atom->keepTrailing(in);
  return atom;
}

void TrackHeaderAtom::writeFields(ByteWriter& out) const {
  const Fields& f = fields_;
  bool wide = version() == 1;
  auto word = [&](uint64_t v) { wide ? out.u64(v) : out.u32(static_cast<uint32_t>(v)); };
  word(f.creationTime);
  word(f.modificationTime);
  out.u32(f.trackID);
  out.u32(f.reserved1);
  word(f.duration);
  out.u64(f.reserved2);
  out.i16(f.layer);
  out.i16(f.alternateGroup);
  out.i16(f.volume);
  out.u16(f.reserved3);
  f.matrix.write(out);
  out.i32(f.width);
  out.i32(f.height);
}

}  // namespace qrl::quicktime

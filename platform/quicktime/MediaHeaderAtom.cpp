#include "platform/quicktime/MediaHeaderAtom.h"

#include "platform/base/Exception.h"

namespace qrl::quicktime {

std::unique_ptr<MediaHeaderAtom> MediaHeaderAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<MediaHeaderAtom>();
  atom->readVersionAndFlags(in);
  if (atom->version() > 1) {
    throw Exception::unsupported("mdhd: version " + std::to_string(atom->version()));
  }
  Fields& f = atom->fields_;
  bool wide = atom->version() == 1;
  f.creationTime = wide ? in.u64() : in.u32();
  f.modificationTime = wide ? in.u64() : in.u32();
  f.timeScale = in.u32();
  f.duration = wide ? in.u64() : in.u32();
  f.language = in.u16();
  f.quality = in.u16();
  atom->keepTrailing(in);
  return atom;
}

void MediaHeaderAtom::writeFields(ByteWriter& out) const {
  const Fields& f = fields_;
  bool wide = version() == 1;
  auto word = [&](uint64_t v) { wide ? out.u64(v) : out.u32(static_cast<uint32_t>(v)); };
  word(f.creationTime);
  word(f.modificationTime);
  out.u32(f.timeScale);
  word(f.duration);
  out.u16(f.language);
  out.u16(f.quality);
}

}  // namespace qrl::quicktime

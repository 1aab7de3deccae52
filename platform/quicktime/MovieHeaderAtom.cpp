#include "platform/quicktime/MovieHeaderAtom.h"

#include "platform/base/Exception.h"

namespace qrl::quicktime {

std::unique_ptr<MovieHeaderAtom> MovieHeaderAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<MovieHeaderAtom>();
  atom->readVersionAndFlags(in);
  if (atom->version() > 1) {
    throw Exception::unsupported("mvhd: version " + std::to_string(atom->version()));
  }
  Fields& f = atom->fields_;
  bool wide = atom->version() == 1;
  f.creationTime = wide ? in.u64() : in.u32();
  f.modificationTime = wide ? in.u64() : in.u32();
  f.timeScale = in.u32();
  f.duration = wide ? in.u64() : in.u32();
  f.preferredRate = in.i32();
  f.preferredVolume = in.i16();
  auto reserved = in.bytes(10);
  std::copy(reserved.begin(), reserved.end(), f.reserved.begin());
  f.matrix = Matrix::read(in);
  f.previewTime = in.u32();
  f.previewDuration = in.u32();
  f.posterTime = in.u32();
  f.selectionTime = in.u32();
  f.selectionDuration = in.u32();
  f.currentTime = in.u32();
  f.nextTrackID = in.u32();
  atom->keepTrailing(in);
  return atom;
}

void MovieHeaderAtom::writeFields(ByteWriter& out) const {
  const Fields& f = fields_;
  bool wide = version() == 1;
  auto word = [&](uint64_t v) { wide ? out.u64(v) : out.u32(static_cast<uint32_t>(v)); };
  word(f.creationTime);
  word(f.modificationTime);
  out.u32(f.timeScale);
  word(f.duration);
  out.i32(f.preferredRate);
  out.i16(f.preferredVolume);
  out.bytes(f.reserved);
  f.matrix.write(out);
  for (uint32_t v : {f.previewTime, f.previewDuration, f.posterTime, f.selectionTime,
                     f.selectionDuration, f.currentTime, f.nextTrackID}) {
    out.u32(v);
  }
}

}  // namespace qrl::quicktime

#include "platform/quicktime/TimeCodeMediaInfoAtom.h"

#include <algorithm>

namespace qrl::quicktime {

std::unique_ptr<TimeCodeMediaInfoAtom> TimeCodeMediaInfoAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<TimeCodeMediaInfoAtom>();
  atom->readVersionAndFlags(in);
  Fields& f = atom->fields_;
  f.textFont = in.i16();
  f.textFace = in.i16();
  f.textSize = in.i16();
  f.reserved = in.u16();
  for (auto& c : f.textColor)
    c = in.u16();
  for (auto& c : f.backgroundColor)
    c = in.u16();
  uint8_t length = in.u8();
  auto name = in.bytes(length);
  f.fontName.assign(name.begin(), name.end());
  atom->keepTrailing(in);
  return atom;
}

void TimeCodeMediaInfoAtom::writeFields(ByteWriter& out) const {
  const Fields& f = fields_;
  out.i16(f.textFont);
  out.i16(f.textFace);
  out.i16(f.textSize);
  out.u16(f.reserved);
  for (auto c : f.textColor)
    out.u16(c);
  for (auto c : f.backgroundColor)
    out.u16(c);
  size_t length = std::min<size_t>(f.fontName.size(), 255);
  out.u8(static_cast<uint8_t>(length));
  out.bytes({reinterpret_cast<const uint8_t*>(f.fontName.data()), length});
}

}  // namespace qrl::quicktime

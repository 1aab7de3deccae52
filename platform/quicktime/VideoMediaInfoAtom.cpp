#include "platform/quicktime/VideoMediaInfoAtom.h"

namespace qrl::quicktime {

std::unique_ptr<VideoMediaInfoAtom> VideoMediaInfoAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<VideoMediaInfoAtom>();
  atom->readVersionAndFlags(in);
  atom->graphicsMode_ = in.u16();
  for (auto& c : atom->opColor_)
    c = in.u16();
  atom->keepTrailing(in);
  return atom;
}

}  // namespace qrl::quicktime

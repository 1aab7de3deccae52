#include "platform/quicktime/SampleSizeAtom.h"

namespace qrl::quicktime {

std::unique_ptr<SampleSizeAtom> SampleSizeAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<SampleSizeAtom>();
  atom->readVersionAndFlags(in);
  atom->constantSize_ = in.u32();
  atom->sampleCount_ = in.u32();
  if (atom->constantSize_ == 0) {
    in.requireRecords(atom->sampleCount_, 4);
    atom->sizes_.resize(atom->sampleCount_);
    for (auto& s : atom->sizes_)
      s = in.u32();
  }
  atom->keepTrailing(in);
  return atom;
}

void SampleSizeAtom::writeFields(ByteWriter& out) const {
  out.u32(constantSize_);
  out.u32(sampleCount_);
  for (uint32_t s : sizes_)
    out.u32(s);
}

}  // namespace qrl::quicktime

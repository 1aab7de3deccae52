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

void SampleSizeAtom::addSamples(uint32_t size, uint32_t count) {
  if (count == 0)
    return;
  if (sampleCount_ == 0 && sizes_.empty() && size != 0) {
    constantSize_ = size;
  } else if (constantSize_ != 0 && size != constantSize_) {
    sizes_.assign(sampleCount_, constantSize_);
    constantSize_ = 0;
  }
  if (constantSize_ == 0)
    sizes_.insert(sizes_.end(), count, size);
  sampleCount_ += count;
}

void SampleSizeAtom::writeFields(ByteWriter& out) const {
  out.u32(constantSize_);
  out.u32(sampleCount_);
  for (uint32_t s : sizes_)
    out.u32(s);
}

}  // namespace qrl::quicktime

#pragma once

#include <memory>
#include <vector>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'stsz': one size for every sample, or a size per sample when that is 0.
class SampleSizeAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x7374737a;  // stsz

  SampleSizeAtom() : FullAtom(kType, 0, 0) {}
  static std::unique_ptr<SampleSizeAtom> parse(ByteReader& in);

  uint32_t constantSize() const { return constantSize_; }
  uint32_t sampleCount() const { return sampleCount_; }
  // Empty when every sample has the constant size.
  const std::vector<uint32_t>& sizes() const { return sizes_; }
  void setConstant(uint32_t size, uint32_t count) {
    constantSize_ = size;
    sampleCount_ = count;
    sizes_.clear();
  }
  // Appends `count` samples of `size` bytes, keeping the constant form while
  // every sample has the same size (a sound track adds millions of them).
  void addSamples(uint32_t size, uint32_t count);
  void setSizes(std::vector<uint32_t> sizes) {
    constantSize_ = 0;
    sampleCount_ = static_cast<uint32_t>(sizes.size());
    sizes_ = std::move(sizes);
  }

 protected:
  uint64_t fieldsSize() const override { return 8 + 4 * sizes_.size(); }
  void writeFields(ByteWriter& out) const override;

 private:
  uint32_t constantSize_ = 0;
  uint32_t sampleCount_ = 0;
  std::vector<uint32_t> sizes_;
};

}  // namespace qrl::quicktime

#pragma once

#include <memory>
#include <vector>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'stss': the 1-based numbers of the key samples, ascending.
class SyncSampleAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x73747373;  // stss

  SyncSampleAtom() : FullAtom(kType, 0, 0) {}
  static std::unique_ptr<SyncSampleAtom> parse(ByteReader& in);

  const std::vector<uint32_t>& sampleNumbers() const { return numbers_; }
  void setSampleNumbers(std::vector<uint32_t> numbers) { numbers_ = std::move(numbers); }
  void addSampleNumber(uint32_t number) { numbers_.push_back(number); }

 protected:
  uint64_t fieldsSize() const override { return 4 + 4 * numbers_.size(); }
  void writeFields(ByteWriter& out) const override;

 private:
  std::vector<uint32_t> numbers_;
};

}  // namespace qrl::quicktime

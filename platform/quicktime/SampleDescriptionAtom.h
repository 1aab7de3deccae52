#pragma once

#include <memory>
#include <vector>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'stsd': the media's sample descriptions, each kept as its whole entry
// (size, data format, reserved, data reference index, then media-specific
// fields and extension atoms). SampleDescription interprets one.
class SampleDescriptionAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x73747364;  // stsd

  SampleDescriptionAtom() : FullAtom(kType, 0, 0) {}
  static std::unique_ptr<SampleDescriptionAtom> parse(ByteReader& in);

  const std::vector<std::vector<uint8_t>>& entries() const { return entries_; }
  // Appends an entry; its first four bytes are rewritten with its length.
  void addEntry(std::vector<uint8_t> entry);

 protected:
  uint64_t fieldsSize() const override;
  void writeFields(ByteWriter& out) const override;

 private:
  std::vector<std::vector<uint8_t>> entries_;
};

}  // namespace qrl::quicktime

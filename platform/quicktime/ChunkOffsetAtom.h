#pragma once

#include <memory>
#include <vector>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'stco' (32-bit) or 'co64' (64-bit): the absolute file offset of each chunk.
// Offsets are held as 64-bit; writing one past 4 GiB in 'stco' form is refused
// rather than truncated (promote with setWide).
class ChunkOffsetAtom : public FullAtom {
 public:
  static constexpr uint32_t kType32 = 0x7374636f;  // stco
  static constexpr uint32_t kType64 = 0x636f3634;  // co64

  explicit ChunkOffsetAtom(bool wide) : FullAtom(wide ? kType64 : kType32, 0, 0) {}
  static std::unique_ptr<ChunkOffsetAtom> parse(uint32_t type, ByteReader& in);

  bool isWide() const { return type() == kType64; }
  const std::vector<uint64_t>& offsets() const { return offsets_; }
  void setOffsets(std::vector<uint64_t> offsets) { offsets_ = std::move(offsets); }
  void addOffset(uint64_t offset) { offsets_.push_back(offset); }
  bool needsWide() const;

 protected:
  uint64_t fieldsSize() const override { return 4 + (isWide() ? 8 : 4) * offsets_.size(); }
  void writeFields(ByteWriter& out) const override;

 private:
  std::vector<uint64_t> offsets_;
};

}  // namespace qrl::quicktime

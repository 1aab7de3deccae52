#pragma once

#include <memory>
#include <vector>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'stsc': from which chunk on each run of chunks holds how many samples, and
// which sample description they use. Chunk and description numbers are 1-based.
class SampleToChunkAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x73747363;  // stsc

  struct Entry {
    uint32_t firstChunk = 1;
    uint32_t samplesPerChunk = 1;
    uint32_t descriptionNumber = 1;
    friend bool operator==(const Entry&, const Entry&) = default;
  };

  SampleToChunkAtom() : FullAtom(kType, 0, 0) {}
  static std::unique_ptr<SampleToChunkAtom> parse(ByteReader& in);

  const std::vector<Entry>& entries() const { return entries_; }
  void setEntries(std::vector<Entry> entries) { entries_ = std::move(entries); }

 protected:
  uint64_t fieldsSize() const override { return 4 + 12 * entries_.size(); }
  void writeFields(ByteWriter& out) const override;

 private:
  std::vector<Entry> entries_;
};

}  // namespace qrl::quicktime

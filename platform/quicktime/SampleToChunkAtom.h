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
  // Records that chunk `chunkNumber` (the new last chunk) holds `samples`
  // samples of the description, merging with the last run when it matches.
  void addChunk(uint32_t chunkNumber, uint32_t samples, uint32_t descriptionNumber) {
    if (!entries_.empty() && entries_.back().samplesPerChunk == samples &&
        entries_.back().descriptionNumber == descriptionNumber) {
      return;
    }
    entries_.push_back({chunkNumber, samples, descriptionNumber});
  }
  // Adds samples to the last chunk, `chunkNumber`, splitting its run if the
  // run covers earlier chunks too.
  void growLastChunk(uint32_t chunkNumber, uint32_t extraSamples) {
    Entry& last = entries_.back();
    if (last.firstChunk == chunkNumber) {
      last.samplesPerChunk += extraSamples;
    } else {
      entries_.push_back(
          {chunkNumber, last.samplesPerChunk + extraSamples, last.descriptionNumber});
    }
  }

 protected:
  uint64_t fieldsSize() const override { return 4 + 12 * entries_.size(); }
  void writeFields(ByteWriter& out) const override;

 private:
  std::vector<Entry> entries_;
};

}  // namespace qrl::quicktime

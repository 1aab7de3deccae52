#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'stts': runs of samples with equal decode durations.
class TimeToSampleAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x73747473;  // stts

  struct Entry {
    uint32_t count = 0;
    uint32_t delta = 0;  // media time scale
    friend bool operator==(const Entry&, const Entry&) = default;
  };

  TimeToSampleAtom() : FullAtom(kType, 0, 0) {}
  static std::unique_ptr<TimeToSampleAtom> parse(ByteReader& in);

  const std::vector<Entry>& entries() const { return entries_; }
  void setEntries(std::vector<Entry> entries) { entries_ = std::move(entries); }
  // Appends samples, extending the last run when the duration matches.
  void addSamples(uint32_t count, uint32_t delta) {
    if (count == 0)
      return;
    if (!entries_.empty() && entries_.back().delta == delta &&
        entries_.back().count <= UINT32_MAX - count) {
      entries_.back().count += count;
    } else {
      entries_.push_back({count, delta});
    }
  }

 protected:
  uint64_t fieldsSize() const override { return 4 + 8 * entries_.size(); }
  void writeFields(ByteWriter& out) const override;

 private:
  std::vector<Entry> entries_;
};

}  // namespace qrl::quicktime

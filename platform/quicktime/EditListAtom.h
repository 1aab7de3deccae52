#pragma once

#include <memory>
#include <vector>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'elst': the track's edits, played one after another.
class EditListAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x656c7374;  // elst

  struct Entry {
    uint64_t duration = 0;        // movie time scale
    int64_t mediaTime = 0;        // media time scale; -1 is an empty edit
    int32_t mediaRate = 0x10000;  // 16.16
    friend bool operator==(const Entry&, const Entry&) = default;
  };

  explicit EditListAtom(uint8_t version = 0) : FullAtom(kType, version, 0) {}
  static std::unique_ptr<EditListAtom> parse(ByteReader& in);

  const std::vector<Entry>& entries() const { return entries_; }
  void setEntries(std::vector<Entry> entries) { entries_ = std::move(entries); }

 protected:
  uint64_t fieldsSize() const override { return 4 + entries_.size() * (version() == 1 ? 20 : 12); }
  void writeFields(ByteWriter& out) const override;

 private:
  std::vector<Entry> entries_;
};

}  // namespace qrl::quicktime

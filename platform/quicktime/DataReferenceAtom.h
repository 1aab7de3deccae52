#pragma once

#include <memory>
#include <vector>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'dref': where the media's samples live. Each entry is an 'alis', 'url ' or
// other reference; flag bit 0 means "in the movie's own file".
class DataReferenceAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x64726566;  // dref
  static constexpr uint32_t kSelfReference = 0x1;

  struct Entry {
    uint32_t type = 0;  // 'alis', 'url ', ...
    uint32_t versionAndFlags = kSelfReference;
    std::vector<uint8_t> data;  // an alias record, a URL, ...
    bool isSelfReference() const { return (versionAndFlags & kSelfReference) != 0; }
  };

  DataReferenceAtom() : FullAtom(kType, 0, 0) {}
  static std::unique_ptr<DataReferenceAtom> parse(ByteReader& in);

  const std::vector<Entry>& entries() const { return entries_; }
  void addEntry(Entry entry) { entries_.push_back(std::move(entry)); }

 protected:
  uint64_t fieldsSize() const override;
  void writeFields(ByteWriter& out) const override;

 private:
  std::vector<Entry> entries_;
};

}  // namespace qrl::quicktime

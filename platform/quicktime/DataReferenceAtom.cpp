#include "platform/quicktime/DataReferenceAtom.h"

#include <string>

#include "platform/base/Exception.h"

namespace qrl::quicktime {

std::unique_ptr<DataReferenceAtom> DataReferenceAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<DataReferenceAtom>();
  atom->readVersionAndFlags(in);
  uint32_t count = in.u32();
  in.requireRecords(count, 12);
  atom->entries_.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t size = in.u32();
    if (size < 12 || size - 4 > in.remaining()) {
      throw Exception::parse("dref: entry " + std::to_string(i + 1) + " has size " +
                             std::to_string(size));
    }
    Entry e;
    e.type = in.u32();
    e.versionAndFlags = in.u32();
    auto data = in.bytes(size - 12);
    e.data.assign(data.begin(), data.end());
    atom->entries_.push_back(std::move(e));
  }
  atom->keepTrailing(in);
  return atom;
}

uint64_t DataReferenceAtom::fieldsSize() const {
  uint64_t total = 4;
  for (const auto& e : entries_)
    total += 12 + e.data.size();
  return total;
}

void DataReferenceAtom::writeFields(ByteWriter& out) const {
  out.u32(static_cast<uint32_t>(entries_.size()));
  for (const auto& e : entries_) {
    out.u32(static_cast<uint32_t>(12 + e.data.size()));
    out.u32(e.type);
    out.u32(e.versionAndFlags);
    out.bytes(e.data);
  }
}

}  // namespace qrl::quicktime

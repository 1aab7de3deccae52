#include "platform/quicktime/SampleDescriptionAtom.h"

#include <string>

#include "platform/base/Exception.h"

namespace qrl::quicktime {

std::unique_ptr<SampleDescriptionAtom> SampleDescriptionAtom::parse(ByteReader& in) {
  auto atom = std::make_unique<SampleDescriptionAtom>();
  atom->readVersionAndFlags(in);
  uint32_t count = in.u32();
  in.requireRecords(count, 16);
  atom->entries_.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    size_t start = in.position();
    uint32_t size = in.u32();
    if (size < 16 || size - 4 > in.remaining()) {
      throw Exception::parse("stsd: entry " + std::to_string(i + 1) + " has size " +
                             std::to_string(size) + " at offset " + std::to_string(start));
    }
    auto body = in.bytes(size - 4);
    std::vector<uint8_t> entry{static_cast<uint8_t>(size >> 24), static_cast<uint8_t>(size >> 16),
                               static_cast<uint8_t>(size >> 8), static_cast<uint8_t>(size)};
    entry.insert(entry.end(), body.begin(), body.end());
    atom->entries_.push_back(std::move(entry));
  }
  atom->keepTrailing(in);
  return atom;
}

void SampleDescriptionAtom::addEntry(std::vector<uint8_t> entry) {
  if (entry.size() < 16)
    throw Exception::range("stsd: an entry needs at least 16 bytes");
  auto size = static_cast<uint32_t>(entry.size());
  for (int i = 0; i < 4; ++i)
    entry[static_cast<size_t>(i)] = static_cast<uint8_t>(size >> (24 - 8 * i));
  entries_.push_back(std::move(entry));
}

uint64_t SampleDescriptionAtom::fieldsSize() const {
  uint64_t total = 4;
  for (const auto& e : entries_)
    total += e.size();
  return total;
}

void SampleDescriptionAtom::writeFields(ByteWriter& out) const {
  out.u32(static_cast<uint32_t>(entries_.size()));
  for (const auto& e : entries_)
    out.bytes(e);
}

}  // namespace qrl::quicktime

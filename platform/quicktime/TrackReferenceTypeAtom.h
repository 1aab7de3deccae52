#pragma once

#include <memory>
#include <vector>

#include "platform/quicktime/Atom.h"
#include "platform/quicktime/ByteReader.h"

namespace qrl::quicktime {

// A child of 'tref': its type is the reference type ('tmcd', 'chap', ...)
// and its payload the referenced track IDs (0 = no reference, kept in place).
class TrackReferenceTypeAtom : public Atom {
 public:
  explicit TrackReferenceTypeAtom(uint32_t type) : Atom(type) {}
  static std::unique_ptr<TrackReferenceTypeAtom> parse(uint32_t type, ByteReader& in);

  const std::vector<uint32_t>& trackIDs() const { return ids_; }
  void setTrackIDs(std::vector<uint32_t> ids) { ids_ = std::move(ids); }

  uint64_t payloadSize() const override { return 4 * ids_.size() + trailing_.size(); }
  void writePayload(ByteWriter& out) const override;

 private:
  std::vector<uint32_t> ids_;
  std::vector<uint8_t> trailing_;
};

}  // namespace qrl::quicktime

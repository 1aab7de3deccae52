#pragma once

#include <span>
#include <vector>

#include "platform/quicktime/Atom.h"

namespace qrl::quicktime {

// An atom the model does not interpret, kept byte for byte so that writing
// the movie back preserves it.
class RawAtom : public Atom {
 public:
  RawAtom(uint32_t type, std::span<const uint8_t> payload)
      : Atom(type), payload_(payload.begin(), payload.end()) {}

  const std::vector<uint8_t>& payload() const { return payload_; }
  uint64_t payloadSize() const override { return payload_.size(); }
  void writePayload(ByteWriter& out) const override { out.bytes(payload_); }

 private:
  std::vector<uint8_t> payload_;
};

}  // namespace qrl::quicktime

#pragma once

#include <span>
#include <vector>

#include "platform/quicktime/Atom.h"
#include "platform/quicktime/ByteReader.h"

namespace qrl::quicktime {

// An atom whose payload starts with a version byte and 24 bits of flags.
// Bytes after the fields a subclass knows are kept and written back, so a
// newer or padded variant survives a rewrite unchanged.
class FullAtom : public Atom {
 public:
  FullAtom(uint32_t type, uint8_t version, uint32_t flags)
      : Atom(type), version_(version), flags_(flags & 0xFFFFFF) {}

  uint8_t version() const { return version_; }
  uint32_t flags() const { return flags_; }
  void setFlags(uint32_t flags) { flags_ = flags & 0xFFFFFF; }
  const std::vector<uint8_t>& trailingBytes() const { return trailing_; }

  uint64_t payloadSize() const final { return 4 + fieldsSize() + trailing_.size(); }
  void writePayload(ByteWriter& out) const final {
    out.u32((static_cast<uint32_t>(version_) << 24) | flags_);
    writeFields(out);
    out.bytes(trailing_);
  }

 protected:
  virtual uint64_t fieldsSize() const = 0;
  virtual void writeFields(ByteWriter& out) const = 0;

  // Reads version and flags; subclasses call this first in their parse.
  void readVersionAndFlags(ByteReader& in) {
    uint32_t word = in.u32();
    version_ = static_cast<uint8_t>(word >> 24);
    flags_ = word & 0xFFFFFF;
  }
  void keepTrailing(ByteReader& in) {
    auto rest = in.rest();
    trailing_.assign(rest.begin(), rest.end());
  }

 private:
  uint8_t version_;
  uint32_t flags_;
  std::vector<uint8_t> trailing_;
};

}  // namespace qrl::quicktime

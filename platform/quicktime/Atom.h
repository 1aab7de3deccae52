#pragma once

#include <cstdint>
#include <vector>

#include "platform/quicktime/ByteWriter.h"

namespace qrl::quicktime {

// One atom of a QuickTime file: a type and a payload whose size is derived
// from the fields, never stored, so an edited atom always writes a consistent
// header. Atoms are objects with identity (held by their container).
class Atom {
 public:
  explicit Atom(uint32_t type) : type_(type) {}
  virtual ~Atom() = default;
  Atom(const Atom&) = delete;
  Atom& operator=(const Atom&) = delete;

  uint32_t type() const { return type_; }

  // Header (8 bytes, or 16 when the 64-bit size form is used) plus payload.
  uint64_t size() const;
  uint64_t headerSize() const;

  // Writes header and payload; throws an internal Exception if the payload
  // written differs from payloadSize(), which would corrupt every later atom.
  void write(ByteWriter& out) const;

  // Keeps the 16-byte header form of an atom that was read with one.
  void setLargeSize(bool large) { largeSize_ = large; }
  bool hasLargeSize() const { return largeSize_; }

  virtual uint64_t payloadSize() const = 0;
  virtual void writePayload(ByteWriter& out) const = 0;

 private:
  uint32_t type_;
  bool largeSize_ = false;
};

}  // namespace qrl::quicktime

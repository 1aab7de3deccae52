#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/quicktime/Atom.h"
#include "platform/quicktime/ByteReader.h"

namespace qrl::quicktime {

// Builds atoms from bytes: one switch on the type (and, for 'tmcd', on the
// parent), with every atom it does not model kept as a RawAtom.
class AtomFactory {
 public:
  // Containers deeper than this are refused, so hostile nesting cannot
  // exhaust the stack.
  static constexpr int kMaxDepth = 16;

  // Reads the atom at the reader's position, bounded by what the reader has
  // left; moves the reader to the atom's end (start + size). Size 0 means "to
  // the end of the container"; size 1 means a 64-bit size follows.
  static std::unique_ptr<Atom> parse(ByteReader& in, uint32_t parentType = 0, int depth = 0);

  // Parses every atom in `bytes` (for example a whole 'moov' including its header).
  static std::vector<std::unique_ptr<Atom>> parseAll(std::span<const uint8_t> bytes,
                                                     uint32_t parentType = 0);

  static bool isContainer(uint32_t type, uint32_t parentType);
};

}  // namespace qrl::quicktime

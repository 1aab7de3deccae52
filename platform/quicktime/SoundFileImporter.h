#pragma once

#include <memory>

#include "platform/quicktime/ContainerAtom.h"

namespace qrl::quicktime {

class ByteSource;

// Opens WAV and AIFF(-C) files as movies: builds a movie atom with one sound
// track whose samples are the file's own sample bytes, in place.
class SoundFileImporter {
 public:
  // The movie atom for a WAV or AIFF file; nullptr when the bytes are neither.
  // Throws a parse Exception for a damaged sound file and an unsupported
  // Exception for an encoding it cannot describe (compressed audio).
  static std::unique_ptr<ContainerAtom> import(const ByteSource& file);
};

}  // namespace qrl::quicktime

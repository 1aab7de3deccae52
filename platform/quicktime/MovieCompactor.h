#pragma once

#include <cstdint>
#include <filesystem>

namespace qrl::quicktime {

// Rewrites a movie file without the space that saving in place leaves behind
// (freed movie atoms, the sample bytes of removed tracks): the file type, any
// other top-level atoms kept byte for byte, one media data atom holding the
// samples the movie still uses in its own file, then the movie atom. The new
// file is written beside the old one and renamed over it, so a failure leaves
// the old file as it was.
class MovieCompactor {
 public:
  struct Result {
    uint64_t sizeBefore = 0;
    uint64_t sizeAfter = 0;
  };

  // Throws an IO Exception when the file cannot be read or written, a parse
  // Exception for a damaged movie, and an unsupported one for a sound file.
  static Result compact(const std::filesystem::path& path);
};

}  // namespace qrl::quicktime

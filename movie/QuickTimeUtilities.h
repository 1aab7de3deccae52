#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/base/Size.h"
#include "platform/graphics/Image.h"
#include "platform/quicktime/TimeCode.h"
#include "timecode/QRLVideoFrameRate.h"

namespace qrl {

namespace quicktime {
class Movie;
}

// Small movie queries and the predicates over the QuickTime-side timecode
// rate codes (100 to 113). Class methods only.
class QuickTimeUtilities {
 public:
  // The poster's fixed size: callers lay it out in a 250 x 100 box.
  static constexpr int kPosterWidth = 250;
  static constexpr int kPosterHeight = 100;
  // The box the decoded first frame is fitted into first.
  static constexpr int kPosterFitSize = 250;

  // The movie's duration as a time value in the movie's own time scale (not
  // milliseconds, whatever the name says: callers depend on this number);
  // 0 when the file does not open as a movie.
  static int64_t durationOfFileInMiliseconds(const std::string& path);

  // Makes the movie editable, enables or disables every timecode track and
  // saves it in place, also when it has none. Failures are swallowed: a
  // movie that cannot be written stays as it was on disk.
  static void setEnabledStateOfQTTimecodeTracksForMovie(quicktime::Movie* movie, bool enabled);

  // The first video frame, fitted within 250 x 250 keeping its aspect ratio,
  // then drawn at 250 x 100. An empty (0 x 0) image for a file without video
  // or not a movie. `compressImage` is ignored.
  static graphics::Image posterImageForFilePath(const std::string& path, bool compressImage);
  static graphics::Image posterImageForFilePath(const std::string& path);

  // The longer side becomes 192, the other scales with it (single precision).
  static Size thumbnailSizeForImageSize(Size size);

  // "2997", "2500", ... as the rate table names each code; "2997" otherwise.
  static std::string frameRateStringFromTimeCodeRate(QRLMovieRateDefinition rate);
  // Only 100 counts as drop-frame here, although 106, 107 and 109 carry the flag.
  static bool isTimeCodeRateDrop(QRLMovieRateDefinition rate);
  // 100, 101, 104, 108 and 112, as the rate table marks them.
  static bool isTimeCodeRateNTSC(QRLMovieRateDefinition rate);
  // The first two characters are "23", "29" or "59".
  static bool isFrameRateNTSC(std::string_view frameRate);
  // Kept as an entry point; it logs nothing.
  static void showLogForDefinition(const quicktime::TimeCodeDef& definition);
};

}  // namespace qrl

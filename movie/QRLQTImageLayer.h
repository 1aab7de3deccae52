#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/base/Point.h"
#include "platform/base/Size.h"
#include "platform/base/Time.h"
#include "platform/graphics/Color.h"
#include "platform/graphics/Image.h"

namespace qrl {

namespace quicktime {
class Movie;
class Track;
}  // namespace quicktime

// Appended to the display name of every track the overlay code adds; a video
// track whose name ends with it is one of ours (case-sensitive suffix test).
inline constexpr std::string_view QRLTrackAddedByQuorlanQTImageLayerSuffix =
    "_quorlanImageOverlayTrack";

// How every overlay image is stored: TIFF at QuickTime's high quality (0x300).
struct QRLImageAddingAttributes {
  std::string QTAddImageCodecType = "tiff";
  int64_t QTAddImageCodecQuality = 768;
  friend bool operator==(const QRLImageAddingAttributes&,
                         const QRLImageAddingAttributes&) = default;
};

// Builds overlay video tracks: drawn in front of the movie (layer -1) with
// straight alpha, named with the marker. Stateless; tracks it returns belong
// to the movie and stay valid until removed. A null movie gives null tracks.
class QRLQTImageLayer {
 public:
  // Told after each burnt frame: how far the loop is from the movie's start,
  // and the movie's duration.
  using BurnProgress = std::function<void(Duration done, Duration total)>;

  static std::unique_ptr<QRLQTImageLayer> layer() { return std::make_unique<QRLQTImageLayer>(); }
  static QRLImageAddingAttributes textBasedImageDictionary() { return {}; }
  // The display name gains the marker; an engine failure leaves the old name.
  static void addQuorlanSuffixToTrack(quicktime::Track* track);
  // The signed 16-bit 16.16 dimension a float size becomes (truncated, wrapped).
  static int32_t fixedDimension(float size);

  // A new empty overlay track of the size at the origin, or null when the
  // movie is null or cannot be edited.
  quicktime::Track* addBlankTrackIntoMovie(quicktime::Movie* movie, Size layerSize,
                                           Point andOrigin);
  // The same holding `image` (when given) once for the whole duration.
  quicktime::Track* addOverlay(const graphics::Image* image, quicktime::Movie* intoMovie,
                               Duration overDuration, Size withSize, Point andLocation);
  // An overlay as large as the movie holding one transparent image for its length.
  quicktime::Track* addTransparentOverlayTrackIntoMovie(quicktime::Movie* movie);

  // One image per movie frame holding that frame's timecode text drawn at
  // `origin` (lower left of the image of `trackSize`); frames without timecode
  // add nothing. Returns the new track, or null when none could be made.
  quicktime::Track* burnTimecodeImagesintoMovie(quicktime::Movie* movie, Size trackSize,
                                                Point origin, int32_t tcFontSize,
                                                const graphics::Color& timecodeColor,
                                                std::optional<graphics::Color> andBackgroundColor,
                                                const BurnProgress& progress = {});
  quicktime::Track* burnTimecodeImagesintoMovie(quicktime::Movie* movie, Size trackSize,
                                                Point origin, int32_t tcFontSize,
                                                const graphics::Color& andTcColor);

  // The string in "Lucida Grande" at the size, on an otherwise transparent
  // image of the bounds. Throws qrl::Exception (Range) for a bad bounds size.
  graphics::Image imageFromString(std::string_view string, Size withBounds, Point origin,
                                  int32_t fontSize, const graphics::Color& stringColor,
                                  std::optional<graphics::Color> andBackgroundColor);
  graphics::Image imageFromString(std::string_view string, Size withBounds, Point origin,
                                  int32_t fontSize, const graphics::Color& andColor);
  graphics::Image imageFromString(std::string_view string, Size withBounds, int32_t fontSize,
                                  const graphics::Color& andColor);

  // Encodes and appends one image to an overlay track as the attributes say.
  static void addImage(quicktime::Track& track, const graphics::Image& image, Duration forDuration);
};

}  // namespace qrl

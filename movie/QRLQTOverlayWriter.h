#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "movie/QRLBurnAttributeHolder.h"
#include "movie/QRLImageOverlay.h"
#include "movie/QRLQTImageLayer.h"
#include "movie/QRLTextOverlay.h"
#include "platform/archive/Value.h"
#include "platform/base/Point.h"
#include "platform/base/Rect.h"
#include "platform/base/Size.h"
#include "platform/graphics/Color.h"
#include "platform/graphics/Image.h"
#include "timecode/QRLVideoFrameRate.h"

namespace qrl {

namespace quicktime {
class Movie;
class Track;
}  // namespace quicktime

// Lays pictures over a movie's video and saves the movie into its own file:
// watermark images, lines of text, and the running timecode burnt in frame by
// frame; also adds the movie platform's own timecode track. Stateless.
//
// Failures are not reported to the caller: an operation logs a line and
// returns nothing, null or its documented fallback. A movie whose edit fails
// is not saved, so its file still opens as it was. Locations are movie pixels
// from the lower left; font sizes are whole points.
class QRLQTOverlayWriter {
 public:
  // Larger sizes are refused: no line of text that big fits a picture.
  static constexpr int32_t kMaximumFontSize = 1000;
  using Progress = QRLQTImageLayer::BurnProgress;

  // Watermark and text.
  void overlayWatermarkImage(const graphics::Image& image, quicktime::Movie* intoMovie,
                             Point atLocation);
  // `image` is image-file data, drawn at its own size or at `withSize`.
  void overlayWatermarkImage(std::span<const uint8_t> image, const std::string& intoMovieAtPath,
                             Point atLocation);
  void overlayWatermarkImage(std::span<const uint8_t> image, const std::string& intoMovieAtPath,
                             Point atLocation, Size withSize);
  void addImageOverlayToMovieAtPath(const std::string& path,
                                    const QRLImageOverlay& withImageOverlay);
  // `intoMovie` is the movie's path.
  void overlayTextualMessage(const std::string& message, const std::string& intoMovie,
                             Point atLocation, int32_t withFontSize,
                             const graphics::Color& textColor,
                             std::optional<graphics::Color> andBackgroundColor);
  void overlayTextualMessage(const std::string& message, const std::string& intoMovie,
                             Point atLocation, int32_t withFontSize,
                             const graphics::Color& andColor);
  // The overlay's text, or the word "Text" when it has none.
  void addTextualOverlayToMovieAtPath(const std::string& path,
                                      const QRLTextOverlay& withTextOverlay);
  // Draws the archived burn attributes' start timecode as a still text.
  void addTextualWatermarkOverlayToMovieAtPathOverlayAttributes(
      const std::string& path, std::span<const uint8_t> overlayAttributes);
  // Only logs what the archive holds.
  void addTextualWatermarkOverlayToMovieAtPathWithCompressionPresetData(
      const std::string& path, std::span<const uint8_t> withCompressionPresetData);

  // The timecode burn. The core inserts a hidden timecode track running from
  // the start timecode at the rate, disables every timecode track, burns one
  // image per frame and saves; it returns the burn track or null.
  quicktime::Track* addTimecodeBurnToMovie(quicktime::Movie* movie,
                                           const std::string& withStartTimecode,
                                           QRLVideoFrameRate videoFrameRate, Point location,
                                           uint32_t timecodeFontSize,
                                           const graphics::Color& timecodeColor,
                                           std::optional<graphics::Color> backgroundColor,
                                           const Progress& progress = {});
  quicktime::Track* addTimecodeBurnToMovie(quicktime::Movie* movie,
                                           const std::string& withStartTimecode,
                                           QRLVideoFrameRate videoFrameRate, Point location,
                                           uint32_t timecodeFontSize,
                                           const graphics::Color& timecodeColor);
  // `burnAttributes` is a keyed archive of a QRLQTTimecodeBurnAttributeWrapper.
  void addTimecodeBurnToMovie(quicktime::Movie* movie, std::span<const uint8_t> burnAttributes);
  void addTimecodeBurnToMovieAtPath(const std::string& path,
                                    std::span<const uint8_t> burnAttributes);
  void addTimecodeBurnToMovieAtPath(const std::string& path, const archive::Value& burnDictionary);
  void addTimecodeOverlayToMovieAtPath(const std::string& path,
                                       const std::string& withStartingTimecode,
                                       QRLVideoFrameRate frameRate,
                                       const QRLBurnAttributeHolder& timecodeOverlayData);

  // The movie platform's timecode track: shown from the default timecode at
  // font size 25, saved; always true.
  bool addQTTimecodeTrackToMovie(quicktime::Movie* movie, QRLVideoFrameRate withVideoFrameRate);
  // A timecode track for the whole movie, its text strip below the picture.
  void insertTimeCodeTrackIntoMovie(quicktime::Movie* movie, QRLVideoFrameRate videoFrameRate,
                                    const std::string& startTime, bool showTimecode,
                                    uint32_t fontSize);
  // The same track into the movie file at the path, saved: the strip sits in
  // `boundingBox` (y from the bottom of the picture), its colours scaled by
  // 255 as the desktop code did. With `transparentBackground` the movie's
  // picture is drawn in `transparencyMode`.
  void insertTimeCodeTrackIntoVideoFile(const std::string& path, QRLVideoFrameRate videoFrameRate,
                                        const std::string& startTime, bool showTimecode,
                                        uint32_t fontSize, const graphics::Color& fontForeColor,
                                        const graphics::Color& fontBackColor,
                                        const Rect& boundingBox, bool transparentBackground,
                                        int32_t transparencyMode);
  // A shown timecode strip in the overlay's box; false only when the movie
  // does not open.
  bool addQuicktimeTimecodeOverlayToVideoAtPath(
      const std::string& path, const std::string& startTimcode,
      const QRLBurnAttributeHolder& withBurnAttributeWrapper,
      QRLVideoFrameRate conformingToVideoFrameRate);
  // A shown timecode track, all timecode tracks disabled, and the timecode
  // burnt into a track of the compression size; not saved. True when the
  // burn track came back. The rate, width, height and frames-per-timecode
  // numbers are accepted and not used.
  bool createTimecodeOverlayForMovie(quicktime::Movie* movie, const std::string& startTimecode,
                                     QRLVideoFrameRate frameRate, int32_t numericRate,
                                     int32_t timecodeWidth, int32_t timecodeHeight,
                                     int32_t compressionWidth, int32_t compressionHeight,
                                     Point timecodePosition, int32_t framesPerTimecode,
                                     int32_t fontSize, const graphics::Color& tcColor);
  // The movie's first timecode, trimmed; the default timecode when the file
  // does not open, none when it has no timecode track.
  std::optional<std::string> beginningTimecodeForQuicktimeVideoAtPath(const std::string& path);

 private:
  quicktime::Track* burn(quicktime::Movie& movie, const std::string& start, QRLVideoFrameRate rate,
                         Point location, uint32_t fontSize, const graphics::Color& color,
                         std::optional<graphics::Color> background, const Progress& progress);
};

}  // namespace qrl

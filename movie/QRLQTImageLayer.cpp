#include "movie/QRLQTImageLayer.h"

#include <cmath>
#include <limits>
#include <unordered_set>
#include <vector>

#include "movie/QRLQuickTimeUtility32.h"
#include "platform/base/Exception.h"
#include "platform/graphics/StringDrawing.h"
#include "platform/graphics/TiffEncoder.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/Track.h"

namespace qrl {

using quicktime::Movie;
using quicktime::Track;

namespace {

constexpr int16_t kOverlayLayer = -1;  // lower layers are drawn in front
constexpr uint16_t kGraphicsModeStraightAlpha = 0x100;
constexpr char kFontName[] = "Lucida Grande";

// Truncates toward zero, saturating where the float does not fit an int.
int32_t truncated(float value) {
  if (!std::isfinite(value))
    return 0;
  if (value >= static_cast<float>(std::numeric_limits<int32_t>::max()))
    return std::numeric_limits<int32_t>::max();
  if (value <= static_cast<float>(std::numeric_limits<int32_t>::min()))
    return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value);
}

// The pixel size of an image made for a float size; the image refuses what
// does not fit.
int pixels(float value) {
  return truncated(value);
}

Duration durationOf(const Movie* movie) {
  return movie == nullptr ? Duration::zero() : movie->duration();
}

graphics::StringAttributes attributesFor(int32_t fontSize, const graphics::Color& color,
                                         std::optional<graphics::Color> background) {
  return graphics::StringAttributes{
      graphics::Font::fontWithName(kFontName, static_cast<double>(fontSize)), color, background};
}

}  // namespace

int32_t QRLQTImageLayer::fixedDimension(float size) {
  // FixRatio(n, 1) of the size as a signed 16-bit number.
  auto n = static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint32_t>(truncated(size))));
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<int32_t>(n)) << 16);
}

void QRLQTImageLayer::addQuorlanSuffixToTrack(Track* track) {
  if (track == nullptr)
    return;
  try {
    track->setDisplayName(track->displayName().value_or("") +
                          std::string(QRLTrackAddedByQuorlanQTImageLayerSuffix));
  } catch (const Exception&) {
    // The track keeps its old name.
  }
}

void QRLQTImageLayer::addImage(Track& track, const graphics::Image& image, Duration forDuration) {
  const QRLImageAddingAttributes attributes = textBasedImageDictionary();
  uint32_t codec = 0;
  for (size_t i = 0; i < 4; ++i) {
    auto c = i < attributes.QTAddImageCodecType.size() ? attributes.QTAddImageCodecType[i] : ' ';
    codec = (codec << 8) | static_cast<uint8_t>(c);
  }
  track.addImage(graphics::TiffEncoder::encode(image), codec, forDuration);
}

Track* QRLQTImageLayer::addBlankTrackIntoMovie(Movie* movie, Size layerSize, Point andOrigin) {
  if (movie == nullptr)
    return nullptr;
  Track* track = nullptr;
  try {
    movie->setEditable(true);
    track = &movie->newTrack(fixedDimension(layerSize.width), fixedDimension(layerSize.height), 0);
    movie->newTrackMedia(*track, quicktime::kMediaTypeVideo, movie->timeScale(), std::nullopt,
                         quicktime::fourCC("alis"));
  } catch (const Exception&) {
    // A track made before its media failed stays in the movie as it is.
    return nullptr;
  }
  addQuorlanSuffixToTrack(track);
  track->setLayer(kOverlayLayer);
  quicktime::Rect bounds = track->bounds();
  bounds.x = andOrigin.x;
  bounds.y = andOrigin.y;
  track->setBounds(bounds);
  // Written again after the bounds, as the desktop code did.
  track->setLayer(kOverlayLayer);
  track->media().setGraphicsMode(kGraphicsModeStraightAlpha, {0, 0, 0});
  return track;
}

Track* QRLQTImageLayer::addOverlay(const graphics::Image* image, Movie* intoMovie,
                                   Duration overDuration, Size withSize, Point andLocation) {
  Track* track = addBlankTrackIntoMovie(intoMovie, withSize, andLocation);
  if (track != nullptr && image != nullptr)
    addImage(*track, *image, overDuration);
  return track;
}

Track* QRLQTImageLayer::addTransparentOverlayTrackIntoMovie(Movie* movie) {
  if (movie == nullptr)
    return nullptr;
  quicktime::Size natural = movie->naturalSize();
  Size size{static_cast<float>(natural.width), static_cast<float>(natural.height)};
  graphics::Image clear(pixels(size.width), pixels(size.height));
  clear.fillRect({{0, 0}, size}, graphics::Color::clearColor());
  return addOverlay(&clear, movie, durationOf(movie), size, {0, 0});
}

Track* QRLQTImageLayer::burnTimecodeImagesintoMovie(
    Movie* movie, Size trackSize, Point origin, int32_t tcFontSize,
    const graphics::Color& timecodeColor, std::optional<graphics::Color> andBackgroundColor,
    const BurnProgress& progress) {
  std::unordered_set<const Track*> before;
  if (movie != nullptr) {
    for (const auto& t : movie->tracks())
      before.insert(t.get());
  }
  addOverlay(nullptr, movie, durationOf(movie), trackSize, {0, 0});
  if (movie == nullptr)
    return nullptr;
  Track* burn = nullptr;
  for (const auto& t : movie->tracks()) {
    if (!before.contains(t.get()))
      burn = t.get();
  }
  if (burn == nullptr)
    return nullptr;

  // One canvas for the whole loop, cleared where the last frame drew, so
  // that memory and cost per frame stay flat however long the movie is.
  graphics::Image canvas(pixels(trackSize.width), pixels(trackSize.height));
  const graphics::StringAttributes attributes =
      attributesFor(tcFontSize, timecodeColor, andBackgroundColor);
  const Duration duration = movie->duration();
  const Time end = Time::zeroPlus(duration);
  movie->gotoBeginning();
  Time loop = movie->currentTime();
  // Inequality, not earlier-than: stepping always lands on the end exactly.
  while (loop != end) {
    const Time t0 = movie->currentTime();
    std::optional<std::string> timecode = QRLQuickTimeUtility32::QTTC_FindCurrentTimeCode(movie);
    movie->stepForward();
    const Time t1 = movie->currentTime();
    // Frame times may come in a track's own scale; the desktop movie kept
    // them in the movie's, so both are truncated to it and the spans add up
    // to the movie's duration exactly.
    const int32_t scale = movie->timeScale();
    const Duration span = t1.rescaledTo(scale) - t0.rescaledTo(scale);
    if (timecode && span.value > 0) {
      canvas.clear();
      graphics::StringDrawing::drawAtPoint(*timecode, canvas, origin, attributes);
      addImage(*burn, canvas, span);
    }
    loop = t1;
    if (progress)
      progress(loop.sinceZero(), duration);
  }
  return burn;
}

Track* QRLQTImageLayer::burnTimecodeImagesintoMovie(Movie* movie, Size trackSize, Point origin,
                                                    int32_t tcFontSize,
                                                    const graphics::Color& andTcColor) {
  return burnTimecodeImagesintoMovie(movie, trackSize, origin, tcFontSize, andTcColor,
                                     std::nullopt);
}

graphics::Image QRLQTImageLayer::imageFromString(
    std::string_view string, Size withBounds, Point origin, int32_t fontSize,
    const graphics::Color& stringColor, std::optional<graphics::Color> andBackgroundColor) {
  graphics::Image image(pixels(withBounds.width), pixels(withBounds.height));
  graphics::StringDrawing::drawAtPoint(string, image, origin,
                                       attributesFor(fontSize, stringColor, andBackgroundColor));
  return image;
}

graphics::Image QRLQTImageLayer::imageFromString(std::string_view string, Size withBounds,
                                                 Point origin, int32_t fontSize,
                                                 const graphics::Color& andColor) {
  return imageFromString(string, withBounds, origin, fontSize, andColor, std::nullopt);
}

graphics::Image QRLQTImageLayer::imageFromString(std::string_view string, Size withBounds,
                                                 int32_t fontSize,
                                                 const graphics::Color& andColor) {
  return imageFromString(string, withBounds, {0, 0}, fontSize, andColor, std::nullopt);
}

}  // namespace qrl

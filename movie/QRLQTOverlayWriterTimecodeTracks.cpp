#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "movie/QRLOverlayChecks.h"
#include "movie/QRLQTOverlayWriter.h"
#include "movie/QRLQuickTime32.h"
#include "movie/QRLQuickTimeUtility32.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "platform/quicktime/Track.h"
#include "timecode/QRLTimecodeUtility.h"

namespace qrl {

using overlay::fillTimecodeTrack;
using overlay::fixed;
using overlay::pixelsOf;
using quicktime::Movie;
using quicktime::Track;

namespace {

constexpr int16_t kTimecodeFontNumber = 21;
constexpr int16_t kBoldFace = 1;
constexpr int32_t kInitialStripHeight = 0x1400000;  // 320.0 in 16.16
constexpr size_t kStartTextBufferSize = 1024;
constexpr uint16_t kBlendOperationLevel = 0xB200;
constexpr uint16_t kOverlayGraphicsMode = 257;

// The desktop code scaled the components by 255 into 16-bit colour fields, so
// the strip's colours come out nearly black; files made by it look so too.
std::array<uint16_t, 3> colorField(const graphics::Color& color) {
  auto component = [](double c) { return static_cast<uint16_t>(static_cast<int32_t>(c * 255.0)); };
  return {component(color.red), component(color.green), component(color.blue)};
}

void insertIntoOpenFile(Movie& movie, QRLVideoFrameRate videoFrameRate,
                        const std::string& startTime, bool showTimecode, uint32_t fontSize,
                        const graphics::Color& fontForeColor, const graphics::Color& fontBackColor,
                        const Rect& boundingBox, bool transparentBackground,
                        int32_t transparencyMode) {
  const quicktime::Size natural = movie.naturalSize();
  auto video = movie.tracksOfMediaType(quicktime::kMediaTypeVideo);
  // The picture's own time scale, as for the track without a box.
  const Duration duration = video.empty()
                                ? movie.duration()
                                : movie.duration().rescaledTo(video.front()->media().timeScale());
  movie.gotoBeginning();
  while (movie.currentTime() != Time::zeroPlus(movie.duration()))
    movie.stepForward();
  movie.gotoBeginning();

  Track& track = movie.newTrack(fixed(natural.width), kInitialStripHeight, 0);
  quicktime::Media& media =
      movie.newTrackMedia(track, quicktime::kMediaTypeTimeCode, duration.scale, std::nullopt);
  const quicktime::TimeCodeDef definition =
      QRLQuickTime32().timecodeDefinitionFromVideoFrameRate(videoFrameRate);
  char text[kStartTextBufferSize] = {};
  std::memcpy(text, startTime.data(), std::min(startTime.size(), kStartTextBufferSize - 1));
  quicktime::TimeCodeRecord record;
  QRLQuickTimeUtility32::convertStringToTimeCodeRecord(text, &record);

  quicktime::TimeCodeMediaHandler handler(track);
  auto options = handler.displayOptions();
  options.txFont = kTimecodeFontNumber;
  options.txFace = kBoldFace;
  options.txSize = static_cast<int16_t>(fontSize);
  options.foreColor = colorField(fontForeColor);
  options.backColor = colorField(fontBackColor);
  handler.setDisplayOptions(options);

  track.setDimensions({pixelsOf(fixed(boundingBox.size.width)), pixelsOf(fixed(fontSize))});
  // The box's y counts up from the bottom of the picture.
  quicktime::Matrix matrix = track.matrix();
  matrix.values[6] += fixed(boundingBox.origin.x);
  matrix.values[7] += fixed(natural.height - fontSize - boundingBox.origin.y);
  track.setMatrix(matrix);
  track.setEnabled(true);
  fillTimecodeTrack(track, media, handler, definition, record, duration, showTimecode);

  if (!video.empty()) {
    video.front()->addReference(track, quicktime::fourCC("tmcd"));
    if (transparentBackground)
      video.front()->media().setGraphicsMode(
          static_cast<uint16_t>(transparencyMode),
          {kBlendOperationLevel, kBlendOperationLevel, kBlendOperationLevel});
  }
  process::SystemLog::write("Track");
  movie.updateMovieFile();
}

}  // namespace

void QRLQTOverlayWriter::insertTimeCodeTrackIntoVideoFile(
    const std::string& path, QRLVideoFrameRate videoFrameRate, const std::string& startTime,
    bool showTimecode, uint32_t fontSize, const graphics::Color& fontForeColor,
    const graphics::Color& fontBackColor, const Rect& boundingBox, bool transparentBackground,
    int32_t transparencyMode) {
  // The display keeps the size in 16 bits; a bigger one would wrap.
  if (!overlay::isUsableFontSize(fontSize, path))
    return;
  auto movie = overlay::openMovie(path);
  if (!movie) {
    process::SystemLog::write("Insertion of the time code failed");
    return;
  }
  try {
    movie->setEditable(true);
    insertIntoOpenFile(*movie, videoFrameRate, startTime, showTimecode, fontSize, fontForeColor,
                       fontBackColor, boundingBox, transparentBackground, transparencyMode);
  } catch (const Exception&) {
    process::SystemLog::write("Problem occured while trying to create a new track for the movie");
  }
}

bool QRLQTOverlayWriter::addQuicktimeTimecodeOverlayToVideoAtPath(
    const std::string& path, const std::string& startTimcode,
    const QRLBurnAttributeHolder& withBurnAttributeWrapper,
    QRLVideoFrameRate conformingToVideoFrameRate) {
  if (!overlay::openMovie(path))
    return false;
  const QRLEmbeddedTimecodeOverlay& o = withBurnAttributeWrapper.embeddedTimecodeOverlay;
  // includeBackgroundColor is not consulted: the strip always has a background.
  const Rect box{{static_cast<float>(o.xCoordinate), static_cast<float>(o.yCoordinate)},
                 {static_cast<float>(o.width), static_cast<float>(o.height)}};
  insertTimeCodeTrackIntoVideoFile(
      path, conformingToVideoFrameRate, startTimcode, true, static_cast<uint32_t>(o.fontSize),
      o.textColor.value_or(graphics::Color::blackColor()),
      o.backgroundColor.value_or(graphics::Color::whiteColor()), box, false, kOverlayGraphicsMode);
  return true;
}

bool QRLQTOverlayWriter::createTimecodeOverlayForMovie(
    Movie* movie, const std::string& startTimecode, QRLVideoFrameRate frameRate,
    int32_t /*numericRate*/, int32_t /*timecodeWidth*/, int32_t /*timecodeHeight*/,
    int32_t compressionWidth, int32_t compressionHeight, Point timecodePosition,
    int32_t /*framesPerTimecode*/, int32_t fontSize, const graphics::Color& tcColor) {
  if (movie == nullptr) {
    process::SystemLog::write("Insertion of the time code failed");
    return false;
  }
  if (!overlay::isUsableFontSize(fontSize, movie->path().string()) || !overlay::hasPicture(*movie))
    return false;
  try {
    movie->setEditable(true);
    // The track writer takes the movie-side rate definition (100 on), while
    // callers pass a video frame-rate code: convert with the engine's table.
    QRLQuickTimeUtility32::insertTimeCodeTrackIntoMovie(
        movie, QRLTimecodeUtility::convertVideoFrameRateDefinitionToOld(frameRate), startTimecode,
        true, fontSize);
    for (Track* timecode : movie->tracksOfMediaType(quicktime::kMediaTypeTimeCode))
      timecode->setEnabled(false);
    Track* track = QRLQTImageLayer::layer()->burnTimecodeImagesintoMovie(
        movie, {static_cast<float>(compressionWidth), static_cast<float>(compressionHeight)},
        timecodePosition, fontSize, tcColor, std::nullopt, {});
    return track != nullptr;
  } catch (const Exception& e) {
    overlay::log(movie->path().string() + ": the timecode overlay stopped: " + e.what());
    return false;
  }
}

}  // namespace qrl

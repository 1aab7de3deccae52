#include <algorithm>
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
#include "records/QRLQTTimecodeBurnAttributeWrapper.h"
#include "records/QRLRecordClasses.h"
#include "timecode/QRLTimecodeUtility.h"

namespace qrl {

using overlay::fillTimecodeTrack;
using overlay::fixed;
using overlay::fromArchive;
using overlay::log;
using overlay::openMovie;
using overlay::pixelsOf;
using quicktime::Movie;
using quicktime::Track;

namespace {

constexpr int16_t kTimecodeFontNumber = 21;
constexpr int16_t kBoldFace = 1;
constexpr int32_t kInitialStripHeight = 0x1400000;  // 320.0 in 16.16
constexpr size_t kStartTextBufferSize = 1024;

}  // namespace

void QRLQTOverlayWriter::insertTimeCodeTrackIntoMovie(Movie* movie,
                                                      QRLVideoFrameRate videoFrameRate,
                                                      const std::string& startTime,
                                                      bool showTimecode, uint32_t fontSize) {
  try {
    if (movie == nullptr) {
      process::SystemLog::write("Insertion of the time code failed");
      return;
    }
    const quicktime::Size natural = movie->naturalSize();
    // The duration in the picture's own time scale where there is a picture:
    // a movie scale of 1000 cannot place 29.97 frames exactly, and the
    // timecode read at a frame's start would lag a frame behind.
    auto video = movie->tracksOfMediaType(quicktime::kMediaTypeVideo);
    const Duration duration =
        video.empty() ? movie->duration()
                      : movie->duration().rescaledTo(video.front()->media().timeScale());
    const int32_t timeScale = duration.scale;
    // Walked once to the end, as the desktop code did before adding the track.
    movie->gotoBeginning();
    while (movie->currentTime() != Time::zeroPlus(movie->duration()))
      movie->stepForward();
    movie->gotoBeginning();

    movie->setEditable(true);
    Track& track = movie->newTrack(fixed(natural.width), kInitialStripHeight, 0);
    quicktime::Media& media =
        movie->newTrackMedia(track, quicktime::kMediaTypeTimeCode, timeScale, std::nullopt);
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
    handler.setDisplayOptions(options);

    track.setDimensions({pixelsOf(fixed(natural.width)), pixelsOf(fixed(fontSize * 1.25 + 14.0))});
    // The text strip shows below the picture.
    quicktime::Matrix matrix = track.matrix();
    matrix.values[7] += fixed(natural.height);
    track.setMatrix(matrix);
    track.setEnabled(true);
    fillTimecodeTrack(track, media, handler, definition, record, duration, showTimecode);

    if (!video.empty())
      video.front()->addReference(track, quicktime::fourCC("tmcd"));
  } catch (const Exception&) {
    process::SystemLog::write("Problem occured while trying to create a new track for the movie");
  }
}

Track* QRLQTOverlayWriter::burn(Movie& movie, const std::string& start, QRLVideoFrameRate rate,
                                Point location, uint32_t fontSize, const graphics::Color& color,
                                std::optional<graphics::Color> background,
                                const Progress& progress) {
  movie.setEditable(true);
  insertTimeCodeTrackIntoMovie(&movie, rate, start, false, fontSize);
  for (Track* timecode : movie.tracksOfMediaType(quicktime::kMediaTypeTimeCode))
    timecode->setEnabled(false);
  const quicktime::Size natural = movie.naturalSize();
  Track* track = QRLQTImageLayer::layer()->burnTimecodeImagesintoMovie(
      &movie, {static_cast<float>(natural.width), static_cast<float>(natural.height)}, location,
      static_cast<int32_t>(fontSize), color, background, progress);
  movie.updateMovieFile();
  return track;
}

Track* QRLQTOverlayWriter::addTimecodeBurnToMovie(
    Movie* movie, const std::string& withStartTimecode, QRLVideoFrameRate videoFrameRate,
    Point location, uint32_t timecodeFontSize, const graphics::Color& timecodeColor,
    std::optional<graphics::Color> backgroundColor, const Progress& progress) {
  if (movie == nullptr) {
    process::SystemLog::write("Insertion of the time code failed");
    return nullptr;
  }
  const std::string path = movie->path().string();
  if (!QRLTimecodeUtility::isValidTimeCode(withStartTimecode)) {
    log(path + ": the start timecode \"" + withStartTimecode + "\" is not HH:MM:SS:FF");
    return nullptr;
  }
  if (!overlay::isUsableFontSize(timecodeFontSize, path) || !overlay::hasPicture(*movie) ||
      !overlay::isInside(*movie, location)) {
    return nullptr;
  }
  try {
    return burn(*movie, withStartTimecode, videoFrameRate, location, timecodeFontSize,
                timecodeColor, backgroundColor, progress);
  } catch (const Exception& e) {
    // Nothing was saved: the file still opens as the movie it was.
    log(path + ": the timecode burn stopped: " + e.what());
    return nullptr;
  }
}

Track* QRLQTOverlayWriter::addTimecodeBurnToMovie(Movie* movie,
                                                  const std::string& withStartTimecode,
                                                  QRLVideoFrameRate videoFrameRate, Point location,
                                                  uint32_t timecodeFontSize,
                                                  const graphics::Color& timecodeColor) {
  return addTimecodeBurnToMovie(movie, withStartTimecode, videoFrameRate, location,
                                timecodeFontSize, timecodeColor, std::nullopt);
}

namespace {
void burnRecord(QRLQTOverlayWriter& writer, Movie* movie,
                const QRLQTTimecodeBurnAttributeWrapper& record) {
  writer.addTimecodeBurnToMovie(
      movie, record.startTimecode().value_or(""),
      static_cast<QRLVideoFrameRate>(record.frameRate()),
      {record.burnOrigin().x, record.burnOrigin().y}, static_cast<uint32_t>(record.fontSize()),
      fromArchive(record.fontColor()).value_or(graphics::Color::blackColor()), std::nullopt);
}
}  // namespace

void QRLQTOverlayWriter::addTimecodeBurnToMovie(Movie* movie,
                                                std::span<const uint8_t> burnAttributes) {
  auto record = unarchiveRecord<QRLQTTimecodeBurnAttributeWrapper>(burnAttributes);
  if (record)
    burnRecord(*this, movie, *record);
}

void QRLQTOverlayWriter::addTimecodeBurnToMovieAtPath(const std::string& path,
                                                      std::span<const uint8_t> burnAttributes) {
  auto movie = openMovie(path);
  addTimecodeBurnToMovie(movie.get(), burnAttributes);
}

void QRLQTOverlayWriter::addTimecodeBurnToMovieAtPath(const std::string& path,
                                                      const archive::Value& burnDictionary) {
  auto movie = openMovie(path);
  QRLQTTimecodeBurnAttributeWrapper record(burnDictionary);
  if (movie)
    burnRecord(*this, movie.get(), record);
}

void QRLQTOverlayWriter::addTimecodeOverlayToMovieAtPath(
    const std::string& path, const std::string& withStartingTimecode, QRLVideoFrameRate frameRate,
    const QRLBurnAttributeHolder& timecodeOverlayData) {
  auto movie = openMovie(path);
  const QRLEmbeddedTimecodeOverlay& o = timecodeOverlayData.embeddedTimecodeOverlay;
  std::optional<graphics::Color> background;
  if (o.includeBackgroundColor)
    background = o.backgroundColor;
  addTimecodeBurnToMovie(movie.get(), withStartingTimecode, frameRate,
                         {static_cast<float>(o.xCoordinate), static_cast<float>(o.yCoordinate)},
                         static_cast<uint32_t>(o.fontSize),
                         o.textColor.value_or(graphics::Color::blackColor()), background);
}

bool QRLQTOverlayWriter::addQTTimecodeTrackToMovie(Movie* movie,
                                                   QRLVideoFrameRate withVideoFrameRate) {
  insertTimeCodeTrackIntoMovie(movie, withVideoFrameRate, QRLTimecodeUtility::defaultTimecode(),
                               true, 25);
  if (movie != nullptr) {
    try {
      movie->updateMovieFile();
    } catch (const Exception& e) {
      log(movie->path().string() + ": not saved: " + e.what());
    }
  }
  return true;
}

std::optional<std::string> QRLQTOverlayWriter::beginningTimecodeForQuicktimeVideoAtPath(
    const std::string& path) {
  std::unique_ptr<Movie> movie;
  try {
    movie = Movie::open(path);
  } catch (const Exception&) {
    return QRLTimecodeUtility::defaultTimecode();
  }
  movie->gotoBeginning();
  auto timecode = QRLQuickTimeUtility32::QTTC_FindCurrentTimeCode(movie.get());
  if (!timecode)
    return std::nullopt;
  const char* space = " \t\n\r\f\v";
  auto first = timecode->find_first_not_of(space);
  if (first == std::string::npos)
    return std::string();
  return timecode->substr(first, timecode->find_last_not_of(space) - first + 1);
}

}  // namespace qrl

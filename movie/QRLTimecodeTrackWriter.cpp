#include "movie/QRLTimecodeTrackWriter.h"

#include <cmath>
#include <limits>

#include "platform/base/Exception.h"
#include "platform/quicktime/ByteWriter.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Media.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "platform/quicktime/Track.h"

namespace qrl {

using quicktime::Movie;
using quicktime::TimeCodeDef;
using quicktime::TimeCodeMediaHandler;
using quicktime::TimeCodeRecord;
using quicktime::Track;

namespace {

constexpr uint32_t kDescriptionSize = 38;

}  // namespace

int32_t QRLTimecodeTrackWriter::fixedFromPixels(double pixels) {
  double fixed = pixels * 65536.0;
  if (std::isnan(fixed))
    return 0;
  if (fixed >= 2147483648.0)
    return std::numeric_limits<int32_t>::max();
  if (fixed < -2147483648.0)
    return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(fixed);
}

int32_t QRLTimecodeTrackWriter::stripHeightForFontSize(int32_t fontSize) {
  return fixedFromPixels(fontSize * 1.25 + 14);
}

std::vector<uint8_t> QRLTimecodeTrackWriter::timecodeDescription(const TimeCodeDef& definition) {
  std::vector<uint8_t> entry;
  entry.reserve(kDescriptionSize);
  quicktime::ByteWriter out(entry);
  out.u32(kDescriptionSize);
  out.u32(quicktime::kMediaTypeTimeCode);  // data format 'tmcd'
  out.zeros(6);                            // reserved
  out.u16(0);                              // data reference index
  out.u32(0);                              // flags
  out.i32(definition.flags);
  out.i32(definition.fTimeScale);
  out.i32(definition.frameDuration);
  out.u8(definition.numFrames);
  out.u8(definition.padding);
  out.u32(0);  // source reference
  return entry;
}

std::array<uint8_t, 4> QRLTimecodeTrackWriter::frameNumberSample(const TimeCodeDef& definition,
                                                                 const TimeCodeRecord& record) {
  auto number = static_cast<uint32_t>(
      TimeCodeMediaHandler::frameNumberFromRecord(definition, record).value_or(0));
  return {static_cast<uint8_t>(number >> 24), static_cast<uint8_t>(number >> 16),
          static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)};
}

void QRLTimecodeTrackWriter::walkMovie(Movie& movie) {
  movie.gotoBeginning();
  const Time end = Time::zeroPlus(movie.duration());
  while (movie.currentTime() != end)
    movie.stepForward();
  movie.gotoBeginning();
}

QRLTimecodeTrackWriter::NewTrack QRLTimecodeTrackWriter::newTimecodeTrack(
    Movie& movie, double naturalWidth, double naturalHeight, int32_t mediaTimeScale,
    int32_t fontSize, const Describe& describe) {
  NewTrack made;
  const int32_t width = fixedFromPixels(naturalWidth);
  Track& track = movie.newTrack(width, kInitialTrackHeight, 0);
  made.track = &track;
  movie.newTrackMedia(track, quicktime::kMediaTypeTimeCode, mediaTimeScale, std::nullopt);
  TimeCodeMediaHandler handler(track);
  if (describe)
    describe(made.definition, made.record);

  auto options = handler.displayOptions();
  options.txFont = kFontNumber;
  options.txFace = kBoldFace;
  options.txSize = static_cast<int16_t>(fontSize);
  handler.setDisplayOptions(options);

  track.setDimensions({width / 65536.0, stripHeightForFontSize(fontSize) / 65536.0});
  quicktime::Matrix matrix = track.matrix();
  matrix.values[7] += fixedFromPixels(naturalHeight);  // the strip goes under the picture
  track.setMatrix(matrix);
  track.setEnabled(true);
  return made;
}

void QRLTimecodeTrackWriter::setShowTimecode(Track& track, bool show) {
  const int32_t bits = show ? kShowTimeCode : 0;
  TimeCodeMediaHandler(track).setTimeCodeFlags(bits, bits);
}

void QRLTimecodeTrackWriter::addTimecodeSample(Movie& movie, const NewTrack& made,
                                               int64_t trackStart, int64_t duration) {
  Track& track = *made.track;
  quicktime::Media& media = track.media();
  const uint32_t description = media.addSampleDescription(timecodeDescription(made.definition));
  const auto sample = frameNumberSample(made.definition, made.record);
  media.addSamples(sample, 1, static_cast<uint32_t>(duration), description);
  // The toolbox takes the media duration as a 32-bit time value.
  track.insertMedia(trackStart, 0, static_cast<int32_t>(duration), 0x10000);

  auto video = movie.tracksOfMediaType(quicktime::kMediaTypeVideo);
  if (video.empty())
    throw Exception::range("the movie has no video track to refer to its timecode track");
  video.front()->addReference(track, quicktime::kMediaTypeTimeCode);
}

void QRLTimecodeTrackWriter::addTrackForWholeMovie(Movie& movie, bool includeTimeCode,
                                                   int32_t fontSize, const Describe& describe) {
  const quicktime::Size natural = movie.naturalSize();
  const Duration duration = movie.duration();
  walkMovie(movie);
  NewTrack made =
      newTimecodeTrack(movie, natural.width, natural.height, duration.scale, fontSize, describe);
  setShowTimecode(*made.track, includeTimeCode);
  addTimecodeSample(movie, made, 0, duration.value);
}

}  // namespace qrl

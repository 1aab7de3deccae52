// The writing half of QRLQuickTimeUtility32: timecode tracks and sound-track copies.
#include "movie/QRLQuickTimeUtility32.h"

#include "movie/QRLTimecodeTrackWriter.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/DataReference.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/Track.h"

namespace qrl {

using quicktime::Movie;
using quicktime::TimeCodeDef;
using quicktime::TimeCodeRecord;
using Writer = QRLTimecodeTrackWriter;

namespace {

constexpr const char* kTrackProblem =
    "Problem occured while trying to create a new track for the movie";

// The toolbox codes a failed copy step answers.
constexpr int16_t kNoErr = 0;
constexpr int16_t kIOErr = -36;
constexpr int16_t kParamErr = -50;
constexpr int16_t kInvalidMovie = -2010;

int16_t errorCodeOf(const Exception& e) {
  return e.kind() == Exception::Kind::IO ? kIOErr : kParamErr;
}

}  // namespace

bool QRLQuickTimeUtility32::addTimecodeTrackToMovie(Movie* movie, QRLVideoFrameRate videoFrameRate,
                                                    const std::string& beginningTimecode,
                                                    bool includeTimeCode, int32_t fontSize) const {
  if (movie == nullptr)
    return false;
  try {
    Writer::addTrackForWholeMovie(
        *movie, includeTimeCode, fontSize, [&](TimeCodeDef& definition, TimeCodeRecord& record) {
          definition = timecodeDefinitionFromVideoFrameRate(videoFrameRate);
          timecodeToTimeCodeRecord(beginningTimecode.c_str(), &record);
        });
    return true;
  } catch (const Exception&) {
    process::SystemLog::write(kTrackProblem);
    return false;
  }
}

void QRLQuickTimeUtility32::insertTimeCodeTrackIntoMovie(Movie* movie,
                                                         QRLMovieRateDefinition withRate,
                                                         const std::string& startTime,
                                                         bool includeTimeCode, int32_t fontSize) {
  if (movie == nullptr) {
    // Logged, and every later step would act on no movie at all.
    process::SystemLog::write("Insertion of the time code failed");
    return;
  }
  try {
    Writer::addTrackForWholeMovie(*movie, includeTimeCode, fontSize,
                                  [&](TimeCodeDef& definition, TimeCodeRecord& record) {
                                    definition = timeCodeDefinitionFromRate(withRate);
                                    convertStringToTimeCodeRecord(startTime.c_str(), &record);
                                  });
  } catch (const Exception&) {
    process::SystemLog::write(kTrackProblem);
  }
}

void QRLQuickTimeUtility32::insertTimecodeSegmentsIntoMovie(
    Movie* movie, int32_t fontSize, const std::vector<QTTimecodeDescription>& timecodes) {
  if (movie == nullptr)
    return;
  try {
    const quicktime::Size natural = movie->naturalSize();
    const int32_t mediaTimeScale = movie->duration().scale;
    Time runningStart = Time::indefinite();
    for (const QTTimecodeDescription& segment : timecodes) {
      Writer::NewTrack made = Writer::newTimecodeTrack(*movie, natural.width, natural.height,
                                                       mediaTimeScale, fontSize, nullptr);
      Writer::setShowTimecode(*made.track, true);
      made.definition = timeCodeDefinitionFromRate(
          static_cast<QRLMovieRateDefinition>(static_cast<uint32_t>(segment.frameRate())));
      convertStringToTimeCodeRecord(segment.startTimecode().c_str(), &made.record);
      const Duration length = segment.timecodeDuration();
      const int64_t start = runningStart.isIndefinite() ? 0 : runningStart.value;
      // Added as they are: every segment is expected in the movie's time scale.
      runningStart = Time::make(start + length.value, length.scale);
      Writer::addTimecodeSample(*movie, made, start, length.value);
    }
  } catch (const Exception&) {
    // Swallowed: the tracks made before the refused step stay.
  }
}

int16_t QRLQuickTimeUtility32::QTUCopySoundTracks(const Movie* source, Movie* destinationMovie) {
  if (source == nullptr || source->trackCount() < 1)
    return kNoErr;
  for (size_t number = 1; number <= source->trackCount(); ++number) {
    const quicktime::Track& track = source->track(number);
    if (track.mediaType() != quicktime::kMediaTypeSound)
      continue;
    if (destinationMovie == nullptr)
      return kInvalidMovie;
    try {
      // The toolbox held the copied samples in a memory handle; this engine
      // refers to the source's samples where they lie, through a reference
      // made with the media (readers follow a media's first reference).
      quicktime::Track& copy = destinationMovie->newTrack(0, 0, track.volume());
      std::optional<quicktime::DataReferenceAtom::Entry> reference;
      if (!source->path().empty())
        reference = quicktime::DataReference::aliasTo(source->path(), destinationMovie->path());
      destinationMovie->newTrackMedia(copy, quicktime::kMediaTypeSound, track.media().timeScale(),
                                      reference);
      const Duration length = track.duration();
      copy.insertSegment(track, TimeRange::make(Time::make(0, length.scale), length),
                         Time::make(0, destinationMovie->timeScale()));
    } catch (const Exception& e) {
      return errorCodeOf(e);
    }
  }
  return kNoErr;
}

}  // namespace qrl

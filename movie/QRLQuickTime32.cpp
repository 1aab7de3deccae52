#include "movie/QRLQuickTime32.h"

#include <cstdio>

#include "movie/QRLQuickTimeUtility32.h"
#include "movie/QRLTimecodeTrackWriter.h"
#include "movie/QuickTimeUtilities.h"
#include "movie/TimecodeTrackDefinitions.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"
#include "timecode/QRLTimecodeUtility.h"

namespace qrl {

using quicktime::TimeCodeDef;

// The service object counts interlaced codes in frames: 50i answers 2500 and 59.94i 2997,
// the time scales of their progressive equivalents, where the utility class answers the
// field rates.
int32_t QRLQuickTime32::timeScaleForVideoFrameRate(QRLVideoFrameRate rate) const {
  const auto* row = frame_rate_catalogue::videoFrameRateRow(
      QRLTimecodeUtility::progressiveEquivalentForVideoFrameRate(rate));
  return row != nullptr ? row->timecodeScale : 0;
}

uint8_t QRLQuickTime32::frameCountFromVideoFrameRate(QRLVideoFrameRate rate) const {
  return timecode_track::frameCountOf(rate);
}

TimeCodeDef QRLQuickTime32::timecodeDefinitionFromVideoFrameRate(QRLVideoFrameRate rate) const {
  return timecode_track::definitionOf(rate, timeScaleForVideoFrameRate(rate));
}

QRLVideoFrameRate QRLQuickTime32::videoFrameRateFromTimecodeDef(
    const TimeCodeDef& definition) const {
  char text[16];
  std::snprintf(text, sizeof text, "%d", definition.fTimeScale);
  return QRLTimecodeUtility::sharedInstance().videoFrameRateFromFrameRateDescription(text);
}

QRLVideoFrameRate QRLQuickTime32::videoFrameRateForTrack(QRLMovieTrack /*track*/) const {
  return QRLVideoFrameRateUndefined;
}

std::optional<quicktime::TimeCodeMediaHandler> QRLQuickTime32::QTTC_GetTimeCodeMediaHandler(
    const quicktime::Movie* movie) const {
  return QRLQuickTimeUtility32::QTTC_GetTimeCodeMediaHandler(movie);
}

std::optional<std::string> QRLQuickTime32::QTTC_FindCurrentTimeCode(
    const quicktime::Movie* movie) const {
  return QRLQuickTimeUtility32::QTTC_FindCurrentTimeCode(movie);
}

std::optional<std::string> QRLQuickTime32::QTTC_ShowCurrentTimeCode(
    const quicktime::Movie* movie) const {
  return QTTC_FindCurrentTimeCode(movie);
}

std::optional<std::string> QRLQuickTime32::extractStartTimecodeFromTimecodeTrack(
    QRLMovieTrack track) const {
  return QRLQuickTimeUtility32::timecodeStartTimeInQTTimecodeTrack(track);
}

std::vector<std::string> QRLQuickTime32::timecodeSeriesForMovie(quicktime::Movie* movie) const {
  return QRLQuickTimeUtility32::timecodeSeriesForMovie(movie);
}

std::optional<std::string> QRLQuickTime32::timecodeAtCurrentPlayPositionForMovie(
    const quicktime::Movie* movie) const {
  return QTTC_FindCurrentTimeCode(movie);
}

void QRLQuickTime32::setEnabledStateOfQTTimecodeTracksForMovie(quicktime::Movie* movie,
                                                               bool enabled) const {
  QuickTimeUtilities::setEnabledStateOfQTTimecodeTracksForMovie(movie, enabled);
}

bool QRLQuickTime32::addTimecodeTrackToMovie(quicktime::Movie* movie,
                                             QRLVideoFrameRate videoFrameRate,
                                             const std::string& beginningTimecode,
                                             bool includeTimeCode, int32_t fontSize) const {
  if (movie == nullptr)
    return false;
  try {
    QRLTimecodeTrackWriter::addTrackForWholeMovie(
        *movie, includeTimeCode, fontSize,
        [&](TimeCodeDef& definition, quicktime::TimeCodeRecord& record) {
          definition = timecodeDefinitionFromVideoFrameRate(videoFrameRate);
          timecodeToTimeCodeRecord(beginningTimecode.c_str(), &record);
        });
    return true;
  } catch (const Exception&) {
    process::SystemLog::write("Problem occured while trying to create a new track for the movie");
    return false;
  }
}

int16_t QRLQuickTime32::QTUCopySoundTracks(const quicktime::Movie* source,
                                           quicktime::Movie* destinationMovie) const {
  return QRLQuickTimeUtility32::QTUCopySoundTracks(source, destinationMovie);
}

bool QRLQuickTime32::copyAudioTracksFromMovie(const quicktime::Movie* movie,
                                              quicktime::Movie* intoMovie) const {
  return QTUCopySoundTracks(movie, intoMovie) == 0;
}

int64_t QRLQuickTime32::durationOfFileInMiliseconds(const std::string& path) const {
  return QuickTimeUtilities::durationOfFileInMiliseconds(path);
}

graphics::Image QRLQuickTime32::posterImageForFilePath(const std::string& path,
                                                       bool compressImage) const {
  return QuickTimeUtilities::posterImageForFilePath(path, compressImage);
}

graphics::Image QRLQuickTime32::posterImageForFilePath(const std::string& path) const {
  return posterImageForFilePath(path, false);
}

Size QRLQuickTime32::thumbnailSizeForImageSize(Size size) const {
  return QuickTimeUtilities::thumbnailSizeForImageSize(size);
}

void QRLQuickTime32::timecodeToTimeCodeRecord(const char* timecode,
                                              quicktime::TimeCodeRecord* toTCRec) const {
  QRLQuickTimeUtility32::convertStringToTimeCodeRecord(timecode, toTCRec);
}

}  // namespace qrl

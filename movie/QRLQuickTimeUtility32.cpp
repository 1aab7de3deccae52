#include "movie/QRLQuickTimeUtility32.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "movie/TimecodeTrackDefinitions.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/Track.h"
#include "timecode/QRLTimecodeUtility.h"

namespace qrl {

using quicktime::TimeCodeDef;
using quicktime::TimeCodeMediaHandler;
using quicktime::TimeCodeRecord;

namespace {

// The historical conversion buffer: 15 bytes, NUL included.
constexpr size_t kRecordBufferSize = 15;

uint8_t fieldAt(const char (&buffer)[kRecordBufferSize], size_t index) {
  const char field[3] = {buffer[index], buffer[index + 1], '\0'};
  return static_cast<uint8_t>(std::atoi(field));
}

bool contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

std::string trimmed(const std::string& text) {
  constexpr const char* kSpace = " \t\n\r\v\f";
  auto first = text.find_first_not_of(kSpace);
  if (first == std::string::npos)
    return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

std::optional<TimeCodeMediaHandler::CurrentTimeCode> currentOfTrack(QRLMovieTrack track) {
  if (track.movie == nullptr || track.track == nullptr ||
      track.track->mediaType() != quicktime::kMediaTypeTimeCode) {
    return std::nullopt;
  }
  return TimeCodeMediaHandler(*track.track).currentTimeCode(*track.movie);
}

}  // namespace

// Interlaced codes in fields: 50i answers 5000 and 59.94i 5994.
int32_t QRLQuickTimeUtility32::timeScaleForVideoFrameRate(QRLVideoFrameRate rate) const {
  const auto* row = frame_rate_catalogue::videoFrameRateRow(rate);
  return row != nullptr ? row->timecodeScale : 0;
}

uint8_t QRLQuickTimeUtility32::frameCountFromVideoFrameRate(QRLVideoFrameRate rate) const {
  return timecode_track::frameCountOf(rate);
}

TimeCodeDef QRLQuickTimeUtility32::timecodeDefinitionFromVideoFrameRate(
    QRLVideoFrameRate rate) const {
  return timecode_track::definitionOf(rate, timeScaleForVideoFrameRate(rate));
}

void QRLQuickTimeUtility32::timecodeToTimeCodeRecord(const char* timecode,
                                                     TimeCodeRecord* toTCRec) const {
  convertStringToTimeCodeRecord(timecode, toTCRec);
}

std::optional<TimeCodeMediaHandler> QRLQuickTimeUtility32::QTTC_GetTimeCodeMediaHandler(
    const quicktime::Movie* movie) {
  if (movie == nullptr)
    return std::nullopt;
  return TimeCodeMediaHandler::forMovie(*movie);
}

std::optional<std::string> QRLQuickTimeUtility32::QTTC_FindCurrentTimeCode(
    const quicktime::Movie* movie) {
  auto handler = QTTC_GetTimeCodeMediaHandler(movie);
  if (!handler)
    return std::nullopt;
  auto current = handler->currentTimeCode(*movie);
  if (!current)
    return std::nullopt;
  return TimeCodeMediaHandler::toString(current->definition, current->record);
}

std::optional<std::string> QRLQuickTimeUtility32::QTTC_ShowCurrentTimeCode(
    const quicktime::Movie* movie) {
  return QTTC_FindCurrentTimeCode(movie);
}

std::optional<std::string> QRLQuickTimeUtility32::timecodeStartTimeInQTTimecodeTrack(
    QRLMovieTrack track) {
  auto current = currentOfTrack(track);
  if (!current)
    return std::nullopt;
  return trimmed(TimeCodeMediaHandler::toString(current->definition, current->record));
}

std::vector<std::string> QRLQuickTimeUtility32::timecodeSeriesForMovie(quicktime::Movie* movie) {
  std::vector<std::string> series;
  if (movie == nullptr || movie->tracksOfMediaType(quicktime::kMediaTypeTimeCode).empty())
    return series;
  movie->gotoBeginning();
  const Time end = Time::zeroPlus(movie->duration());
  // The handler is looked up again at every step, as each step reads afresh.
  while (movie->currentTime() != end) {
    std::string timecode =
        QTTC_FindCurrentTimeCode(movie).value_or(QRLTimecodeUtility::defaultTimecode());
    process::SystemLog::write(timecode);
    series.push_back(std::move(timecode));
    movie->stepForward();
  }
  return series;
}

void QRLQuickTimeUtility32::convertStringToTimeCodeRecord(const char* timecode,
                                                          TimeCodeRecord* toTCRec) {
  char buffer[kRecordBufferSize] = {};
  if (timecode != nullptr) {
    size_t length = std::strlen(timecode);
    if (length >= kRecordBufferSize) {
      throw std::length_error("timecode text of " + std::to_string(length) +
                              " bytes overflows its 15-byte buffer");
    }
    std::memcpy(buffer, timecode, length);
  }
  if (toTCRec == nullptr)
    return;
  toTCRec->hours = fieldAt(buffer, 0);
  toTCRec->minutes = fieldAt(buffer, 3);
  toTCRec->seconds = fieldAt(buffer, 6);
  toTCRec->frames = fieldAt(buffer, 9);
}

TimeCodeDef QRLQuickTimeUtility32::findTimeCodeDefinitionFromRate(QRLMovieRateDefinition rate) {
  return timecode_track::definitionOf(rate);
}

TimeCodeDef QRLQuickTimeUtility32::timeCodeDefinitionFromRate(QRLMovieRateDefinition rate) {
  if (rate < QRLMovieRate2997Drop || rate > QRLMovieRate25p)
    return timecode_track::definitionOf(QRLMovieRateUnknown);
  TimeCodeDef d = timecode_track::definitionOf(rate);
  if (rate == QRLMovieRate30)
    d.fTimeScale = 2997;
  return d;
}

QRLMovieRateDefinition QRLQuickTimeUtility32::findTimeCodeRateDefinitionFromTimecodeDef(
    const TimeCodeDef& definition) {
  const std::string scale = std::to_string(definition.fTimeScale);
  const std::string frames = std::to_string(definition.numFrames);
  if (contains(scale, "5994")) {
    if (contains(frames, "60"))
      return QRLMovieRate5994;
    return contains(frames, "30") ? QRLMovieRate5994Alt : QRLMovieRate2997;
  }
  if (contains(scale, "6000"))
    return QRLMovieRate60;
  if (contains(scale, "5000"))
    return contains(frames, "50") ? QRLMovieRate50 : QRLMovieRate2997;
  if (contains(scale, "2997"))
    return definition.flags == 1 ? QRLMovieRate2997Drop : QRLMovieRate2997;
  if (contains(scale, "2500")) {
    if (!contains(frames, "25"))
      return QRLMovieRate2997;
    return definition.flags == 1 ? QRLMovieRate50i : QRLMovieRate25;
  }
  if (contains(scale, "2400"))
    return QRLMovieRate24;
  if (contains(scale, "2398") || contains(scale, "2397"))
    return QRLMovieRate2398;
  return QRLMovieRate2997;
}

QRLMovieRateDefinition QRLQuickTimeUtility32::timecodeRateDefinitionForTrack(QRLMovieTrack track) {
  auto current = currentOfTrack(track);
  if (!current)
    return QRLMovieRate2997;
  return findTimeCodeRateDefinitionFromTimecodeDef(current->definition);
}

}  // namespace qrl

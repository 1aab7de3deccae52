#include "timecode/QRLTimecodeUtility.h"

#include <cmath>
#include <stdexcept>

#include "timecode/TimecodeDetail.h"

namespace qrl {
namespace {

using timecode_detail::joinTimecode;
using timecode_detail::truncateToInt32;

// Two frames off every minute except each tenth, whatever the rate.
double withMinuteCorrection(double total, const timecode_detail::Fields& f) {
  int32_t totalMinutes = f.hours * 60 + f.minutes;
  return total - 2 * totalMinutes + 2 * (totalMinutes / 10);
}

int32_t classPerUnitCheck(int32_t framesPerMeasurment, int32_t frames) {
  if (framesPerMeasurment == 0 && frames != 0) {
    throw std::domain_error("cannot distribute " + std::to_string(frames) +
                            " frames at 0 frames per unit");
  }
  return framesPerMeasurment;
}

}  // namespace

int32_t QRLTimecodeUtility::framesRepresentedByTimecode(std::string_view timecode,
                                                        QRLVideoFrameRate videoFrameRate) const {
  if (!isValidTimeCode(timecode)) {
    return 0;
  }
  auto fields = timecode_detail::parseFields(timecode);
  if (!fields) {
    return 0;
  }
  const auto& [h, m, s, f] = *fields;
  // Single precision, each step rounded to float: stored frame offsets depend on it.
  float fps = static_cast<float>(numericRateForVideoFrameRate(videoFrameRate));
  float a = static_cast<float>(m * 60) * fps;
  float hourFrames = static_cast<float>(h * 3600) * fps;
  float b = hourFrames + a;
  float secondFrames = static_cast<float>(s) * fps;
  float c = secondFrames + b;
  float d = static_cast<float>(f) + c;
  double total = d;
  if (videoFrameRateIsDropFrame(videoFrameRate)) {
    total = withMinuteCorrection(total, *fields);
  }
  return truncateToInt32(total);
}

std::string QRLTimecodeUtility::timecodeFromFrames(int32_t frames, QRLVideoFrameRate videoFrameRate,
                                                   QRLFrameRateViewType viewType) const {
  if (videoFrameRate == QRLVideoFrameRateUndefined) {
    return defaultTimecode();
  }
  bool drop = videoFrameRateIsDropFrame(videoFrameRate);
  float fps = static_cast<float>(numericRateForVideoFrameRate(videoFrameRate, viewType));
  if (frames <= 0) {
    return drop ? freshDropFrameTimecode() : freshNonDropFrameTimecode();
  }
  float hourSize = 3600.0f * fps;
  float minuteSize = 60.0f * fps;
  int32_t hour = truncateToInt32(hourSize);
  int32_t minute = truncateToInt32(minuteSize);
  int32_t second = truncateToInt32(fps);
  int32_t hours = 0, minutes = 0, seconds = 0;
  int32_t rest = remainingFramesAfterDistributionToTimeMeasurement(hours, frames, hour);
  rest = remainingFramesAfterDistributionToTimeMeasurement(minutes, rest, minute);
  rest = remainingFramesAfterDistributionToTimeMeasurement(seconds, rest, second);
  return timecodeFromHours(hours, minutes, seconds, rest, drop);
}

int32_t QRLTimecodeUtility::remainingFramesAfterDistributionToTimeMeasurement(
    int32_t& time, int32_t framesToDistribute, int32_t framesPerMeasurement) const {
  return timecode_detail::distributeWhole(framesToDistribute, framesPerMeasurement, time);
}

std::string QRLTimecodeUtility::progressiveTimecodeForInterlacedVideoFrameRate(
    QRLVideoFrameRate rate, std::string_view andTimecode) const {
  QRLVideoFrameRate progressive = progressiveEquivalentForVideoFrameRate(rate);
  if (progressive == rate) {
    return std::string(andTimecode);
  }
  auto fields = timecode_detail::parseFields(andTimecode);
  if (!fields) {
    throw std::out_of_range("timecode too short to read its fields: \"" + std::string(andTimecode) +
                            "\"");
  }
  auto [h, m, s, f] = *fields;
  // Both interlaced codes hold 59.94, so this is 60 fields a second.
  auto fieldRate = static_cast<uint32_t>(std::lround(numericRateForVideoFrameRate(rate)));
  // Unsigned, as the field count is: a negative frames field reads as its 32-bit value.
  uint32_t q = static_cast<uint32_t>(f) / fieldRate;
  if (q > 0) {
    f = static_cast<int32_t>(static_cast<uint32_t>(f) % fieldRate);
    s = static_cast<int32_t>(static_cast<uint32_t>(s) + q);
    // 60 seconds and 60 minutes stand; only 61 and above wrap.
    if (s >= 61) {
      s %= 60;
      m += 1;
    }
    if (m >= 61) {
      m %= 60;
      h += 1;
    }
  }
  return joinTimecode(h, m, s, videoFrameRateIsDropFrame(progressive) ? ';' : ':', f);
}

int32_t QRLTimecodeUtility::totalFramesInTimeCode(std::string_view timecode, double frameRate,
                                                  bool andIsDropFrame) {
  double r = timecode_detail::roundedToHundredths(frameRate);
  auto fields = timecode_detail::parseFields(timecode);
  if (!fields) {
    return 0;
  }
  const auto& [h, m, s, f] = *fields;
  double total = f + (s * r + ((h * 3600) * r + (m * 60) * r));
  if (andIsDropFrame) {
    total = withMinuteCorrection(total, *fields);
  }
  return truncateToInt32(total);
}

int32_t QRLTimecodeUtility::totalFramesInTimeCode(std::string_view timecode, double frameRate) {
  return totalFramesInTimeCode(timecode, frameRate, false);
}

std::optional<std::string> QRLTimecodeUtility::timecodeFromFrames(int32_t frames,
                                                                  double withFrameRate,
                                                                  bool andDropFrame) {
  QRLVideoFrameRate code = videoFrameRateFromNumericRate(withFrameRate, QRLScanTypeProgressive);
  if (code == QRLVideoFrameRateUndefined) {
    return std::nullopt;
  }
  code = andDropFrame ? dropFrameRateForNonDropFrameRate(code)
                      : nonDropFrameRateForDropFrameRate(code);
  double r = numericRateForVideoFrameRate(code, QRLFrameRateViewTypeAsDefined);
  int32_t hours = 0, minutes = 0, seconds = 0;
  int32_t rest = framesRemainingAfterDistribution(frames, 3600 * r, hours);
  rest = framesRemainingAfterDistribution(rest, 60 * r, minutes);
  rest = framesRemainingAfterDistribution(rest, r, seconds);
  return joinTimecode(hours, minutes, seconds, andDropFrame ? ';' : ':', rest);
}

std::string QRLTimecodeUtility::createTimecodeFromFrames(int32_t frames, int32_t framesRate,
                                                         bool dropFrame) {
  char separator = dropFrame ? ';' : ':';
  if (frames == 0) {
    return std::string("00:00:00") + separator + "00";
  }
  classPerUnitCheck(framesRate, frames);
  int32_t hours = 0, minutes = 0, seconds = 0;
  int32_t rest = timecode_detail::distributeWhole(frames, int64_t{framesRate} * 3600, hours);
  rest = timecode_detail::distributeWhole(rest, int64_t{framesRate} * 60, minutes);
  rest = timecode_detail::distributeWhole(rest, framesRate, seconds);
  // The count is not shifted; only the label of a dropped minute's first frame moves.
  if (dropFrame && seconds == 0 && rest == 0 && minutes > 0 && minutes % 10 != 0) {
    rest = 2;
  }
  return joinTimecode(hours, minutes, seconds, separator, rest);
}

int32_t QRLTimecodeUtility::findTimeRepresentedByFrames(int32_t frames, int32_t framesPerMeasurment,
                                                        int32_t& time) {
  classPerUnitCheck(framesPerMeasurment, frames);
  return timecode_detail::distributeWhole(frames, framesPerMeasurment, time);
}

int32_t QRLTimecodeUtility::framesRemainingAfterDistribution(int32_t frames,
                                                             double framesPerMeasurment,
                                                             int32_t& time) {
  return timecode_detail::distributeFractional(frames, framesPerMeasurment, time);
}

std::string QRLTimecodeUtility::incrementTimecode(std::string_view timecode, int32_t framesToStep,
                                                  int32_t frameRate) {
  bool drop = timecodeIsDropFrame(timecode);
  int32_t start = totalFramesInTimeCode(timecode, static_cast<double>(frameRate));
  return createTimecodeFromFrames(timecode_detail::wrappingAdd(start, framesToStep), frameRate,
                                  drop);
}

std::string QRLTimecodeUtility::adjustTimecode(std::string_view timecode,
                                               QRLMovieRateDefinition fromRecordedRate,
                                               QRLMovieRateDefinition toTimecodeRate) {
  timecode_detail::CodeUnits units(timecode);
  if (!isValidTimeCode(timecode)) {
    return std::string(timecode);
  }
  int32_t a = numericMovieRateFromRateDefinitions(fromRecordedRate);
  int32_t b = numericMovieRateFromRateDefinitions(toTimecodeRate);
  if (a == b) {
    return std::string(timecode);
  }
  int32_t frames = timecode_detail::leadingInteger(units, 9, 2);
  int32_t scaled = truncateToInt32(static_cast<double>(b) / a * frames);
  return units.slice(0, 9) + formatTimeCodeSegmentFromInteger(scaled);
}

}  // namespace qrl

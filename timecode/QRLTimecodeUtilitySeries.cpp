#include "timecode/QRLTimecodeUtility.h"

#include <cmath>

#include "timecode/TimecodeDetail.h"

namespace qrl {

using timecode_detail::joinTimecode;

std::vector<std::string> QRLTimecodeUtility::timecodeSeriesForFrames(int32_t count,
                                                                     int32_t withFrameOffset,
                                                                     float frameRate,
                                                                     bool andDropFrame) {
  std::vector<std::string> series;
  if (count <= 0) {
    return series;
  }
  series.reserve(static_cast<size_t>(count));
  // Unit sizes multiplied in single precision, then widened; no drop-frame correction.
  const double hourSize = 3600.0f * frameRate;
  const double minuteSize = 60.0f * frameRate;
  const double secondSize = frameRate;
  const char separator = andDropFrame ? ';' : ':';
  for (int32_t i = 0; i < count; ++i) {
    int32_t frame = timecode_detail::wrappingAdd(withFrameOffset, i);
    int32_t hours = 0, minutes = 0, seconds = 0;
    int32_t rest = timecode_detail::distributeFractional(frame, hourSize, hours);
    rest = timecode_detail::distributeFractional(rest, minuteSize, minutes);
    rest = timecode_detail::distributeFractional(rest, secondSize, seconds);
    series.push_back(joinTimecode(hours, minutes, seconds, separator, rest));
  }
  return series;
}

std::vector<std::string> QRLTimecodeUtility::timecodeSeriesForStartTimecode(
    std::string_view startTimecode, int32_t frameCount, float frameRate, bool dropFrame) {
  std::vector<std::string> series;
  if (frameCount <= 0) {
    return series;
  }
  std::string start =
      isValidTimeCode(startTimecode) ? std::string(startTimecode) : defaultTimecode();
  auto [h, m, s, f] = timecode_detail::parseFields(start).value();
  const int32_t n = timecode_detail::truncateToInt32(std::round(frameRate));
  const char separator = dropFrame ? ';' : ':';
  series.reserve(static_cast<size_t>(frameCount));
  for (int32_t i = 0; i < frameCount; ++i) {
    series.push_back(joinTimecode(h, m, s, separator, f));
    // Seconds and minutes carry only past 60, so both show 60 before wrapping; frames
    // are never skipped, drop-frame or not.
    int32_t nextFrame = f + 1;
    int32_t nextSecond = nextFrame >= n ? s + 1 : s;
    int32_t nextMinute = nextSecond > 60 ? m + 1 : m;
    if (nextMinute > 60) {
      h += 1;
    }
    f = (nextFrame >= n || nextSecond > 60 || nextMinute > 60) ? 0 : nextFrame;
    s = (nextSecond > 60 || nextMinute > 60) ? 0 : nextSecond;
    m = nextMinute > 60 ? 0 : nextMinute;
  }
  return series;
}

}  // namespace qrl

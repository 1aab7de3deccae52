#pragma once

#include <cstdint>
#include <string>

#include "platform/base/Time.h"

namespace qrl {

// One timecode segment of a movie: its first frame's timecode, its rate as a
// movie rate definition, and its duration in movie time.
class QTTimecodeDescription {
 public:
  // 6 is not itself a movie rate definition; the initial value stays so.
  static constexpr int32_t kInitialFrameRate = 6;

  QTTimecodeDescription();

  static QTTimecodeDescription timecodeDescriptionForTimecode(std::string timecode,
                                                              int32_t withFrameRate,
                                                              Duration andDuration);

  const std::string& startTimecode() const { return startTimecode_; }
  void setStartTimecode(std::string startTimecode) { startTimecode_ = std::move(startTimecode); }
  int32_t frameRate() const { return frameRate_; }
  void setFrameRate(int32_t frameRate) { frameRate_ = frameRate; }
  Duration timecodeDuration() const { return timecodeDuration_; }
  void setTimecodeDuration(Duration duration) { timecodeDuration_ = duration; }

 private:
  std::string startTimecode_;
  int32_t frameRate_ = kInitialFrameRate;
  Duration timecodeDuration_{0, 0, 0};  // all zero, time scale included
};

}  // namespace qrl

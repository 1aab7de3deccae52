#pragma once

#include <cstdint>

namespace qrl::quicktime {

// The platform's timecode definition, as a timecode sample description holds it.
struct TimeCodeDef {
  static constexpr int32_t kDropFrame = 0x1;   // tcDropFrame
  static constexpr int32_t k24HourMax = 0x2;   // tc24HourMax
  static constexpr int32_t kNegTimesOK = 0x4;  // tcNegTimesOK
  static constexpr int32_t kCounter = 0x8;     // tcCounter

  int32_t flags = 0;
  int32_t fTimeScale = 0;     // units per second
  int32_t frameDuration = 0;  // units per frame
  uint8_t numFrames = 0;      // frames per second as the timecode counts them
  uint8_t padding = 0;

  bool isDropFrame() const { return (flags & kDropFrame) != 0; }
  friend bool operator==(const TimeCodeDef&, const TimeCodeDef&) = default;
};

// The platform's timecode record (counter form). A negative time sets the
// top bit of `minutes`, as QuickTime's tctNegFlag does.
struct TimeCodeRecord {
  static constexpr uint8_t kNegativeFlag = 0x80;

  uint8_t hours = 0;
  uint8_t minutes = 0;
  uint8_t seconds = 0;
  uint8_t frames = 0;

  friend bool operator==(const TimeCodeRecord&, const TimeCodeRecord&) = default;
};

}  // namespace qrl::quicktime

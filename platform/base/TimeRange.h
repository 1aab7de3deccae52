#pragma once

#include "platform/base/Time.h"

namespace qrl {

// A stretch of movie time: where it starts and how long it lasts.
struct TimeRange {
  Time time;
  Duration duration;

  static constexpr TimeRange make(Time time, Duration duration) {
    return TimeRange{time, duration};
  }

  // The first position after the range, in the start's scale.
  constexpr Time end() const { return time + duration; }
  constexpr bool contains(Time t) const { return !(t < time) && t < end(); }

  friend constexpr bool operator==(const TimeRange& a, const TimeRange& b) {
    return a.time == b.time && a.duration == b.duration;
  }
};

}  // namespace qrl

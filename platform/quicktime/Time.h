#pragma once

#include <compare>
#include <cstdint>

namespace qrl::quicktime {

__extension__ typedef __int128 Wide;  // exact products of 64-bit values and 32-bit scales

// A movie time: an integer count of units of 1/scale second, as QuickTime keeps
// it (64-bit value, 32-bit scale, flags). Header-only so that records can carry
// one without depending on the movie engine.
struct Time {
  static constexpr uint32_t kIndefinite = 1u << 0;

  int64_t value = 0;
  int32_t scale = 600;
  uint32_t flags = 0;

  static constexpr Time make(int64_t value, int32_t scale) { return Time{value, scale, 0}; }
  static constexpr Time zero() { return Time{0, 1, 0}; }
  static constexpr Time indefinite() { return Time{0, 1, kIndefinite}; }

  constexpr bool isIndefinite() const { return (flags & kIndefinite) != 0; }

  // The same instant in another scale, truncating toward zero. Uses 128-bit
  // arithmetic so long movies at large scales do not overflow.
  constexpr Time rescaledTo(int32_t newScale) const {
    if (isIndefinite() || newScale == scale || scale == 0) {
      return Time{isIndefinite() ? 0 : value, newScale, flags};
    }
    Wide v = static_cast<Wide>(value) * newScale / scale;
    return Time{static_cast<int64_t>(v), newScale, flags};
  }

  constexpr double seconds() const {
    return scale == 0 ? 0.0 : static_cast<double>(value) / static_cast<double>(scale);
  }

  // Compares the instants exactly (cross-multiplied); indefinite is after every
  // definite time and equal to itself.
  friend constexpr std::strong_ordering operator<=>(const Time& a, const Time& b) {
    if (a.isIndefinite() || b.isIndefinite()) {
      return static_cast<int>(a.isIndefinite()) <=> static_cast<int>(b.isIndefinite());
    }
    Wide l = static_cast<Wide>(a.value) * b.scale;
    Wide r = static_cast<Wide>(b.value) * a.scale;
    if (l < r)
      return std::strong_ordering::less;
    if (l > r)
      return std::strong_ordering::greater;
    return std::strong_ordering::equal;
  }
  friend constexpr bool operator==(const Time& a, const Time& b) {
    return (a <=> b) == std::strong_ordering::equal;
  }
};

// A span of movie time: where it starts and how long it lasts.
struct TimeRange {
  Time time;
  Time duration;

  static constexpr TimeRange make(Time time, Time duration) { return TimeRange{time, duration}; }

  constexpr Time end() const {
    Time d = duration.rescaledTo(time.scale);
    return Time{time.value + d.value, time.scale, time.flags | duration.flags};
  }
  constexpr bool contains(Time t) const { return !(t < time) && t < end(); }

  friend constexpr bool operator==(const TimeRange& a, const TimeRange& b) {
    return a.time == b.time && a.duration == b.duration;
  }
};

}  // namespace qrl::quicktime

#pragma once

#include <compare>
#include <cstdint>
#include <type_traits>

namespace qrl {

__extension__ typedef __int128 Wide;  // exact products of 64-bit values and 32-bit scales

namespace detail {
struct PositionTag;
struct DurationTag;

// What a position in movie time (Time) and a length of movie time (Duration)
// share: an integer count of units of 1/scale second, as QuickTime keeps it
// (64-bit value, 32-bit scale, flags). They are two types so that one is not
// passed for the other by accident; the operators below say how they mix.
template <typename Tag>
struct ScaledTime {
  static constexpr uint32_t kIndefinite = 1u << 0;

  int64_t value = 0;
  int32_t scale = 600;
  uint32_t flags = 0;

  static constexpr ScaledTime make(int64_t value, int32_t scale) {
    return ScaledTime{value, scale, 0};
  }
  static constexpr ScaledTime zero() { return ScaledTime{0, 1, 0}; }
  static constexpr ScaledTime indefinite() { return ScaledTime{0, 1, kIndefinite}; }

  // Time only: the position `offset` after time zero, in the offset's scale.
  static constexpr ScaledTime zeroPlus(
      ScaledTime<DurationTag> offset) requires std::is_same_v<Tag, PositionTag> {
    return ScaledTime{offset.value, offset.scale, offset.flags};
  }
  // Time only: how far the position lies after time zero, in its scale.
  constexpr ScaledTime<DurationTag> sinceZero() const requires std::is_same_v<Tag, PositionTag> {
    return ScaledTime<DurationTag>{value, scale, flags};
  }

  constexpr bool isIndefinite() const { return (flags & kIndefinite) != 0; }

  // The same amount in another scale, truncating toward zero. Uses 128-bit
  // arithmetic so long movies at large scales do not overflow.
  constexpr ScaledTime rescaledTo(int32_t newScale) const {
    if (isIndefinite() || newScale == scale || scale == 0) {
      return ScaledTime{isIndefinite() ? 0 : value, newScale, flags};
    }
    Wide v = static_cast<Wide>(value) * newScale / scale;
    return ScaledTime{static_cast<int64_t>(v), newScale, flags};
  }

  constexpr double seconds() const {
    return scale == 0 ? 0.0 : static_cast<double>(value) / static_cast<double>(scale);
  }

  // Compares exactly (cross-multiplied); indefinite is after every definite
  // amount and equal to itself.
  friend constexpr std::strong_ordering operator<=>(const ScaledTime& a, const ScaledTime& b) {
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
  friend constexpr bool operator==(const ScaledTime& a, const ScaledTime& b) {
    return (a <=> b) == std::strong_ordering::equal;
  }
};

// `a` moved by `b`, in a's scale: b is rescaled into it (truncating toward
// zero) and the result is indefinite when either is.
template <typename Result, typename A, typename B>
constexpr Result shifted(const A& a, const B& b, bool subtract) {
  const int64_t r = b.rescaledTo(a.scale).value;
  return Result{subtract ? a.value - r : a.value + r, a.scale, a.flags | b.flags};
}

}  // namespace detail

// A position in movie time.
using Time = detail::ScaledTime<detail::PositionTag>;
// A length of movie time.
using Duration = detail::ScaledTime<detail::DurationTag>;

// Position + duration = position; position - position = duration; durations
// add and subtract. Each result is in the left operand's scale, the right one
// rescaled into it (truncating toward zero), indefinite when either is.
constexpr Time operator+(const Time& t, const Duration& d) {
  return detail::shifted<Time>(t, d, false);
}
constexpr Time operator-(const Time& t, const Duration& d) {
  return detail::shifted<Time>(t, d, true);
}
constexpr Duration operator-(const Time& a, const Time& b) {
  return detail::shifted<Duration>(a, b, true);
}
constexpr Duration operator+(const Duration& a, const Duration& b) {
  return detail::shifted<Duration>(a, b, false);
}
constexpr Duration operator-(const Duration& a, const Duration& b) {
  return detail::shifted<Duration>(a, b, true);
}

}  // namespace qrl

#include "platform/base/Time.h"

#include <gtest/gtest.h>

#include <concepts>

#include "platform/base/TimeRange.h"

namespace qrl {
namespace {

TEST(Time, ComparesInstantsAcrossScales) {
  EXPECT_EQ(Time::make(1001, 30000), Time::make(1001 * 2, 60000));
  EXPECT_LT(Time::make(33, 1000), Time::make(1001, 30000));
  EXPECT_GT(Time::make(34, 1000), Time::make(1001, 30000));
  EXPECT_EQ(Time::zero(), Time::make(0, 600));
  // Indefinite is after every definite time and equal only to itself.
  EXPECT_GT(Time::indefinite(), Time::make(INT64_MAX / 2, 1));
  EXPECT_EQ(Time::indefinite(), Time::indefinite());
  EXPECT_TRUE(Time::indefinite().isIndefinite());
  // Long movies at large scales do not overflow the cross-multiplication.
  EXPECT_LT(Time::make(int64_t{1} << 60, 2000000000),
            Time::make((int64_t{1} << 60) + 1, 2000000000));
}

TEST(Time, RescalesTowardZeroAndRangesEndExclusive) {
  EXPECT_EQ(Time::make(1001, 30000).rescaledTo(600).value, 20);
  EXPECT_EQ(Time::make(-1001, 30000).rescaledTo(600).value, -20);
  TimeRange r = TimeRange::make(Time::make(600, 600), Duration::make(30000, 30000));
  EXPECT_EQ(r.end(), Time::make(1200, 600));
  EXPECT_TRUE(r.contains(Time::make(600, 600)));
  EXPECT_TRUE(r.contains(Time::make(1199, 600)));
  EXPECT_FALSE(r.contains(Time::make(1200, 600)));
  EXPECT_FALSE(r.contains(Time::make(599, 600)));
}

template <typename A, typename B>
concept Addable = requires(A a, B b) {
  a + b;
};
template <typename A, typename B>
concept Subtractable = requires(A a, B b) {
  a - b;
};
template <typename A, typename B>
concept Comparable = requires(A a, B b) {
  a < b;
};

// What mixes and what does not is part of the types' contract.
static_assert(std::same_as<decltype(Time() + Duration()), Time>);
static_assert(std::same_as<decltype(Time() - Duration()), Time>);
static_assert(std::same_as<decltype(Time() - Time()), Duration>);
static_assert(std::same_as<decltype(Duration() + Duration()), Duration>);
static_assert(!Addable<Time, Time>);
static_assert(!Addable<Duration, Time>);
static_assert(!Subtractable<Duration, Time>);
static_assert(!Comparable<Time, Duration>);
static_assert(!std::convertible_to<Duration, Time> && !std::convertible_to<Time, Duration>);

TEST(Time, PositionsAndDurationsMixInTheLeftScaleTruncatingTheRight) {
  struct Case {
    Time a;
    Time b;
    Duration difference;  // a - b, in a's scale
  } const cases[] = {
      {Time::make(1200, 600), Time::make(30000, 30000), Duration::make(600, 600)},
      {Time::make(20, 600), Time::make(1001, 30000), Duration::make(0, 600)},  // 1001 -> 20
      {Time::make(0, 600), Time::make(1001, 30000), Duration::make(-20, 600)},
      {Time::make(3003, 30000), Time::make(1, 600), Duration::make(2953, 30000)},
  };
  for (const auto& c : cases) {
    const Duration d = c.a - c.b;
    EXPECT_EQ(d.value, c.difference.value) << c.a.value << "/" << c.a.scale;
    EXPECT_EQ(d.scale, c.a.scale);
    EXPECT_EQ(c.b.rescaledTo(c.a.scale) + d, c.a);
  }
  EXPECT_EQ(Time::make(100, 600) - Duration::make(1001, 30000), Time::make(80, 600));
  EXPECT_EQ(Duration::make(1, 4) + Duration::make(1, 2), Duration::make(3, 4));
  EXPECT_EQ(Duration::make(1, 2) + Duration::make(1, 4),
            Duration::make(1, 2));  // 1/4 truncates to 0/2
  EXPECT_TRUE((Time::indefinite() - Time::make(5, 1)).isIndefinite());
  EXPECT_TRUE((Time::make(5, 1) + Duration::indefinite()).isIndefinite());
  // Time zero plus a duration keeps the duration's scale, and back.
  const Duration length = Duration::make(3003, 30000);
  EXPECT_EQ(Time::zeroPlus(length).scale, 30000);
  EXPECT_EQ(Time::zeroPlus(length).sinceZero().value, 3003);
}

}  // namespace
}  // namespace qrl

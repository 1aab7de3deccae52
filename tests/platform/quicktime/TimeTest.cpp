#include "platform/quicktime/Time.h"

#include <gtest/gtest.h>

namespace qrl::quicktime {
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
  TimeRange r = TimeRange::make(Time::make(600, 600), Time::make(30000, 30000));
  EXPECT_EQ(r.end(), Time::make(1200, 600));
  EXPECT_TRUE(r.contains(Time::make(600, 600)));
  EXPECT_TRUE(r.contains(Time::make(1199, 600)));
  EXPECT_FALSE(r.contains(Time::make(1200, 600)));
  EXPECT_FALSE(r.contains(Time::make(599, 600)));
}

}  // namespace
}  // namespace qrl::quicktime

#include "timecode/QRLTimecodeUtility.h"

#include <gtest/gtest.h>

namespace qrl {
namespace {

using U = QRLTimecodeUtility;
using Series = std::vector<std::string>;

TEST(SeriesFromFrames, FractionalDistributionPerFrame) {
  struct Row {
    int32_t count, offset;
    float rate;
    bool drop;
    Series expected;
  } rows[] = {
      {3, 1797, 29.97f, true, {"00:00:59;28", "00:00:59;29", "00:01:00;00"}},
      {3, 17981, 29.97f, true, {"00:09:59;28", "00:10:00;00", "00:10:00;01"}},
      {3, 107890, 29.97f, false, {"00:59:59:27", "00:59:59:28", "01:00:00:00"}},
      {3, 1438, 23.976f, false, {"00:00:59:23", "00:01:00:00", "00:01:00:01"}},
      {3, 1799, 30.0f, false, {"00:00:59:29", "00:01:00:00", "00:01:00:01"}},
      {3, -2, 30.0f, false, {"00:00:00:0-2", "00:00:00:0-1", "00:00:00:00"}},
      {2, 2589407, 29.97f, true, {"23:59:59;28", "24:00:00;00"}},
      {0, 0, 30.0f, false, {}},
      {-4, 0, 30.0f, false, {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.count << " from " << row.offset << " at " << row.rate);
    EXPECT_EQ(U::timecodeSeriesForFrames(row.count, row.offset, row.rate, row.drop), row.expected);
  }
}

TEST(SeriesFromFrames, TheFlagOnlyPicksTheSeparator) {
  Series drop = U::timecodeSeriesForFrames(2000, 17000, 29.97f, true);
  Series plain = U::timecodeSeriesForFrames(2000, 17000, 29.97f, false);
  ASSERT_EQ(drop.size(), 2000u);
  ASSERT_EQ(plain.size(), 2000u);
  for (size_t i = 0; i < drop.size(); ++i) {
    std::string relabelled = plain[i];
    relabelled[8] = ';';
    ASSERT_EQ(drop[i], relabelled) << "entry " << i;
  }
}

Series fromStart(const char* start, int32_t count, float rate, bool drop = false) {
  return U::timecodeSeriesForStartTimecode(start, count, rate, drop);
}

TEST(SeriesFromStart, SecondsShowSixtyBeforeTheMinuteTurns) {
  Series series = fromStart("00:00:59:29", 32, 29.97f);
  ASSERT_EQ(series.size(), 32u);
  EXPECT_EQ(series[0], "00:00:59:29");
  EXPECT_EQ(series[1], "00:00:60:00");
  EXPECT_EQ(series[30], "00:00:60:29");
  EXPECT_EQ(series[31], "00:01:00:00");
  for (int i = 1; i <= 30; ++i) {
    EXPECT_EQ(series[i], U::timecodeFromHours(0, 0, 60, i - 1, false));
  }
}

TEST(SeriesFromStart, CarriesAndRounding) {
  struct Row {
    const char* start;
    float rate;
    bool drop;
    Series expected;
  } rows[] = {
      {"00:59:60:29", 30.0f, false, {"00:59:60:29", "00:60:00:00"}},  // minutes show 60 too
      {"00:60:60:29", 30.0f, false, {"00:60:60:29", "01:00:00:00"}},
      {"99:60:60:29", 30.0f, false, {"99:60:60:29", "100:00:00:00"}},  // hours never wrap
      {"00:00:00:45", 30.0f, false, {"00:00:00:45", "00:00:01:00"}},
      {"00:00:99:05", 30.0f, false, {"00:00:99:05", "00:01:00:00"}},
      {"00:00:00:23", 23.976f, false, {"00:00:00:23", "00:00:01:00"}},
      {"00:00:00:23", 24.5f, false, {"00:00:00:23", "00:00:00:24"}},  // half rounds up: 25
      {"00:00:00:59", 59.94f, false, {"00:00:00:59", "00:00:01:00"}},
      {"00:00:00;00", 29.97f, true, {"00:00:00;00", "00:00:00;01"}},
      {"00:00:00;00", 29.97f, false, {"00:00:00:00", "00:00:00:01"}},  // flag, not start
      {"00:01:59;29", 29.97f, true, {"00:01:59;29", "00:01:60;00"}},   // no dropped labels
      {"bad", 30.0f, false, {"00:00:00:00", "00:00:00:01"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.start << " at " << row.rate);
    EXPECT_EQ(fromStart(row.start, static_cast<int32_t>(row.expected.size()), row.rate, row.drop),
              row.expected);
  }
  EXPECT_TRUE(fromStart("00:00:00:00", 0, 30.0f).empty());
  EXPECT_TRUE(fromStart("00:00:00:00", -1, 30.0f).empty());
}

TEST(SeriesFromStart, AnHourAtThirtyHasSixtyOneSecondsAMinute) {
  Series series = fromStart("00:00:00:00", 61 * 30 * 2 + 1, 30.0f);
  EXPECT_EQ(series[61 * 30 - 1], "00:00:60:29");
  EXPECT_EQ(series[61 * 30], "00:01:00:00");
  EXPECT_EQ(series.back(), "00:02:00:00");
}

}  // namespace
}  // namespace qrl

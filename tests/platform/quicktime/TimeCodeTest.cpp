#include "platform/quicktime/TimeCodeMediaHandler.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace qrl::quicktime {
namespace {

// An independent SMPTE drop-frame labeller: walks the minutes, giving every
// minute not divisible by ten `fps * 60 - drop` labels starting at frame `drop`.
std::string smpteLabel(int64_t frame, int fps, bool drop) {
  int dropped = drop ? fps / 15 : 0;
  int64_t hours = 0, minutes = 0;
  while (true) {
    int64_t inMinute = fps * 60 - ((minutes % 10 != 0) ? dropped : 0);
    if (frame < inMinute)
      break;
    frame -= inMinute;
    if (++minutes == 60) {
      minutes = 0;
      ++hours;
    }
  }
  if (minutes % 10 != 0)
    frame += dropped;  // labels 00.. are skipped
  char text[96];
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld%c%02lld", static_cast<long long>(hours),
                static_cast<long long>(minutes), static_cast<long long>(frame / fps),
                drop ? ';' : ':', static_cast<long long>(frame % fps));
  return text;
}

TimeCodeDef definition(int fps, bool drop) {
  TimeCodeDef d;
  d.flags = drop ? TimeCodeDef::kDropFrame : 0;
  d.fTimeScale = fps * 1000;
  d.frameDuration = drop ? 1001 : 1000;
  d.numFrames = static_cast<uint8_t>(fps);
  return d;
}

// Frame numbers around the first minute, the tenth minute, the first hour
// and the tenth hour, at both drop-frame rates, checked both ways.
TEST(TimeCodeArithmetic, DropFrameAgreesWithIndependentSmpteCountAtBoundaries) {
  for (int fps : {30, 60}) {
    TimeCodeDef d = definition(fps, true);
    int64_t perMinute = fps * 60 - fps / 15;
    int64_t perTen = fps * 600 - 9 * (fps / 15);
    for (int64_t centre : {int64_t{0}, perMinute, 2 * perMinute, perTen, perTen + perMinute,
                           6 * perTen, 60 * perTen - 1, 60 * perTen + 9 * perMinute}) {
      for (int64_t n = std::max<int64_t>(0, centre - 6); n <= centre + 6; ++n) {
        SCOPED_TRACE("fps " + std::to_string(fps) + " frame " + std::to_string(n));
        TimeCodeRecord r = TimeCodeMediaHandler::recordFromFrameNumber(d, n);
        EXPECT_EQ(TimeCodeMediaHandler::toString(d, r), smpteLabel(n, fps, true));
        EXPECT_EQ(TimeCodeMediaHandler::frameNumberFromRecord(d, r), n);
      }
    }
  }
}

TEST(TimeCodeArithmetic, EveryFrameOfTheFirstTwelveMinutesRoundTrips) {
  for (int fps : {30, 60}) {
    for (bool drop : {true, false}) {
      TimeCodeDef d = definition(fps, drop);
      for (int64_t n = 0; n < int64_t{fps} * 60 * 12; ++n) {
        TimeCodeRecord r = TimeCodeMediaHandler::recordFromFrameNumber(d, n);
        auto back = TimeCodeMediaHandler::frameNumberFromRecord(d, r);
        ASSERT_EQ(back, n) << fps << (drop ? " drop " : " ") << n;
      }
    }
  }
}

TEST(TimeCodeArithmetic, KnownValues) {
  struct Case {
    int fps;
    bool drop;
    TimeCodeRecord record;
    int64_t frame;
    const char* text;
  } cases[] = {
      {30, true, {1, 0, 0, 0}, 107892, "01:00:00;00"},
      {30, true, {0, 1, 0, 2}, 1800, "00:01:00;02"},
      {30, true, {0, 10, 0, 0}, 17982, "00:10:00;00"},
      {60, true, {0, 1, 0, 4}, 3600, "00:01:00;04"},
      {25, false, {10, 0, 0, 0}, 900000, "10:00:00:00"},
      {25, false, {1, 0, 0, 0}, 90000, "01:00:00:00"},
      {24, false, {1, 0, 0, 0}, 86400, "01:00:00:00"},
      {30, false, {23, 59, 59, 29}, 2591999, "23:59:59:29"},
  };
  for (const auto& c : cases) {
    TimeCodeDef d = definition(c.fps, c.drop);
    EXPECT_EQ(TimeCodeMediaHandler::frameNumberFromRecord(d, c.record), c.frame) << c.text;
    EXPECT_EQ(TimeCodeMediaHandler::recordFromFrameNumber(d, c.frame), c.record) << c.text;
    EXPECT_EQ(TimeCodeMediaHandler::toString(d, c.record), c.text);
  }
}

TEST(TimeCodeArithmetic, RejectsLabelsThatDoNotExist) {
  TimeCodeDef drop30 = definition(30, true);
  EXPECT_EQ(TimeCodeMediaHandler::frameNumberFromRecord(drop30, {0, 1, 0, 0}), std::nullopt);
  EXPECT_EQ(TimeCodeMediaHandler::frameNumberFromRecord(drop30, {0, 1, 0, 1}), std::nullopt);
  EXPECT_NE(TimeCodeMediaHandler::frameNumberFromRecord(drop30, {0, 10, 0, 0}), std::nullopt);
  EXPECT_EQ(TimeCodeMediaHandler::frameNumberFromRecord(definition(60, true), {0, 2, 0, 3}),
            std::nullopt);
  EXPECT_EQ(TimeCodeMediaHandler::frameNumberFromRecord(definition(25, false), {0, 0, 0, 25}),
            std::nullopt);
  EXPECT_EQ(TimeCodeMediaHandler::frameNumberFromRecord(definition(25, false), {0, 60, 0, 0}),
            std::nullopt);
  EXPECT_EQ(TimeCodeMediaHandler::frameNumberFromRecord(TimeCodeDef{}, {0, 0, 0, 0}), std::nullopt);
}

TEST(TimeCodeArithmetic, TwentyFourHourWrapAndNegativeTimes) {
  TimeCodeDef d = definition(25, false);
  d.flags |= TimeCodeDef::k24HourMax;
  EXPECT_EQ(TimeCodeMediaHandler::toString(
                d, TimeCodeMediaHandler::recordFromFrameNumber(d, int64_t{25} * 3600 * 25 + 3)),
            "01:00:00:03");
  TimeCodeDef n = definition(25, false);
  TimeCodeRecord negative = TimeCodeMediaHandler::recordFromFrameNumber(n, -26);
  EXPECT_EQ(TimeCodeMediaHandler::toString(n, negative), "-00:00:01:01");
  EXPECT_EQ(TimeCodeMediaHandler::frameNumberFromRecord(n, negative), -26);
}

}  // namespace
}  // namespace qrl::quicktime

#include "timecode/QRLTimecodeUtility.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace qrl {
namespace {

using U = QRLTimecodeUtility;
using R = QRLVideoFrameRate;

TEST(InstanceTimecodeToFrames, SinglePrecisionThenTwoFramesAMinute) {
  struct Row {
    const char* timecode;
    uint32_t code;
    int32_t expected;
  } rows[] = {
      {"00:10:00;00", 5, 17964},  // fractional rate and the correction on top of it
      {"00:01:00;02", 5, 1798},
      {"00:00:59;29", 5, 1797},
      {"00:11:00;00", 5, 19760},
      {"01:00:00;00", 5, 107784},
      {"02:00:00;00", 5, 215568},
      {"00:03:20;00", 5, 5988},     // double precision would give 5987
      {"10:00:01;00", 5, 1077870},  // double precision would give 1077869
      {"01:15:00;00", 1, 107756},   // double precision would give 107755
      {"01:00:00:00", 1, 86205},    // 23.976 drops two a minute as well
      {"01:00:00;00", 7, 215676},
      {"00:01:00:00", 4, 3596},  // 50i computes at 59.94 and is not drop-frame
      {"01:00:00:00", 6, 108000},
      {"01:00:00:00", 2, 90000},
      {"99:99:99:99", 6, 10873269},
      {"00:00:10:05", 10, 5},  // no rate: only the frames field counts
      {"00:00:10:05", 11, 5},
      {"01:00:00", 6, 0},
      {"ab:00:00:00", 6, 0},
      {"01:00:00:00 ", 6, 0},
  };
  U any;
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.timecode << " at code " << row.code);
    EXPECT_EQ(any.framesRepresentedByTimecode(row.timecode, static_cast<R>(row.code)),
              row.expected);
  }
}

TEST(ClassTimecodeToFrames, DoublePrecisionAtTheRateRoundedToHundredths) {
  struct Row {
    const char* timecode;
    double rate;
    bool drop;
    int32_t expected;
  } rows[] = {
      {"00:10:00;00", 30.0, true, 17982},
      {"00:01:00;02", 30.0, true, 1800},
      {"00:10:00;00", 29.97, true, 17964},
      {"01:00:00;00", 29.97, true, 107784},
      {"00:03:20;00", 29.97, true, 5987},
      {"10:00:01;00", 29.97, true, 1077869},
      {"01:00:00:00", 23.976, false, 86328},  // counted at 23.98
      {"01:02:03:04", 25.0, false, 93079},
      {"00:10:00;00", 30.0, false, 18000},    // the flag, not the separator, decides
      {"01:00:00:001", 30.0, false, 108000},  // parsed by position only
      {" 1:00:00:00", 30.0, false, 108000},
      {"-1:00:00:00", 30.0, false, -108000},
      {"ab:cd:ef:gh", 30.0, false, 0},
      {"01:02", 30.0, true, 0},
      {"", 30.0, false, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.timecode << " at " << row.rate << " drop " << row.drop);
    EXPECT_EQ(U::totalFramesInTimeCode(row.timecode, row.rate, row.drop), row.expected);
    if (!row.drop) {
      EXPECT_EQ(U::totalFramesInTimeCode(row.timecode, row.rate), row.expected);
    }
  }
}

TEST(InstanceFramesToTimecode, IntegerDistributionWithoutReinsertion) {
  struct Row {
    int32_t frames;
    uint32_t code, viewType;
    const char* expected;
  } rows[] = {
      {17982, 5, 0, "00:10:00;02"},
      {1800, 5, 0, "00:01:00;02"},
      {30, 5, 0, "00:00:01;01"},
      {17982, 6, 0, "00:09:59:12"},
      {17982, 7, 0, "00:05:00;02"},
      {17982, 7, 1, "00:10:00;02"},
      {100, 2, 0, "00:00:04:00"},
      {0, 5, 0, "00:00:00;00"},
      {0, 6, 0, "00:00:00:00"},
      {-5, 5, 0, "00:00:00;00"},
      {-5, 6, 0, "00:00:00:00"},
      {100, 10, 0, "00:00:00:00"},
      {100, 11, 0, "00:00:00:00"},
      {90000, 4, 0, "00:25:01:41"},
      {90000, 4, 1, "01:00:00:00"},
      // Minute rollover, tenth minute and second hour at 29.97 (units 107892/1798/29).
      {1797, 5, 0, "00:00:61;28"},
      {1798, 5, 0, "00:01:00;00"},
      {17979, 5, 0, "00:09:61;28"},
      {17980, 5, 0, "00:10:00;00"},
      {107891, 5, 0, "00:60:00;11"},
      {107892, 5, 0, "01:00:00;00"},
      {215783, 5, 0, "01:60:00;11"},
      {215784, 5, 0, "02:00:00;00"},
      {2589408, 5, 0, "24:00:00;00"},
      {1438, 1, 0, "00:01:00;00"},
      {86313, 1, 0, "01:00:00;00"},
  };
  U any;
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message()
                 << row.frames << " at code " << row.code << " view " << row.viewType);
    EXPECT_EQ(any.timecodeFromFrames(row.frames, static_cast<R>(row.code),
                                     static_cast<QRLFrameRateViewType>(row.viewType)),
              row.expected);
  }
}

TEST(ClassFramesToTimecode, FractionalDistributionAtTheSwappedCode) {
  struct Row {
    int32_t frames;
    double rate;
    bool drop;
    std::optional<std::string> expected;
  } rows[] = {
      {17982, 29.97, true, "00:10:00;00"},   {1800, 29.97, true, "00:01:00;01"},
      {107892, 29.97, true, "01:00:00;00"},  {-5, 29.97, true, "00:00:00;0-5"},
      {17982, 29.97, false, "00:09:59:12"},  // computed at 30
      {17982, 30.0, true, "00:10:00;00"},    // computed at 29.97
      {17982, 48.0, true, std::nullopt},     {17982, 0.0, false, std::nullopt},
      {2589408, 29.97, true, "24:00:00;00"}, {0, 29.97, true, "00:00:00;00"},
      {100, 50.0, false, "00:00:01:40"},  // 50p holds 59.94
      {1798, 29.97, true, "00:00:59;29"},    {1799, 29.97, true, "00:01:00;00"},
      {3597, 29.97, true, "00:02:00;00"},    {17981, 29.97, true, "00:09:59;28"},
      {107891, 29.97, true, "00:59:59;28"},  {215783, 29.97, true, "01:59:59;28"},
      {215784, 29.97, true, "02:00:00;00"},  {107999, 30.0, false, "00:59:59:29"},
      {108000, 30.0, false, "01:00:00:00"},  {86313, 23.976, true, "00:59:59;22"},
      {86314, 23.976, true, "01:00:00;00"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.frames << " at " << row.rate << " drop " << row.drop);
    EXPECT_EQ(U::timecodeFromFrames(row.frames, row.rate, row.drop), row.expected);
  }
}

TEST(WholeNumberFramesToTimecode, DroppedMinutesStartAtFrameTwo) {
  struct Row {
    int32_t frames, fps;
    bool drop;
    const char* expected;
  } rows[] = {
      {1800, 30, true, "00:01:00;02"},    {18000, 30, true, "00:10:00;00"},
      {1799, 30, true, "00:00:59;29"},    {1801, 30, true, "00:01:00;01"},
      {3600, 30, true, "00:02:00;02"},    {108000, 30, true, "01:00:00;00"},
      {109800, 30, true, "01:01:00;02"},  {1800, 30, false, "00:01:00:00"},
      {0, 30, true, "00:00:00;00"},       {0, 30, false, "00:00:00:00"},
      {0, 0, true, "00:00:00;00"},        {-5, 25, false, "00:00:00:0-5"},
      {1500, 25, false, "00:01:00:00"},   {90000, 25, false, "01:00:00:00"},
      {5, 1000000, false, "00:00:00:05"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.frames << " at " << row.fps << " drop " << row.drop);
    EXPECT_EQ(U::createTimecodeFromFrames(row.frames, row.fps, row.drop), row.expected);
  }
  EXPECT_THROW(U::createTimecodeFromFrames(5, 0, false), std::domain_error);
}

TEST(Stepping, CountsWithoutTheCorrectionAndLabelsWithIt) {
  struct Row {
    const char* timecode;
    int32_t step, fps;
    const char* expected;
  } rows[] = {
      {"00:00:59;29", 1, 30, "00:01:00;02"},    {"00:00:59:29", 1, 30, "00:01:00:00"},
      {"00:01:00;02", 1, 30, "00:01:00;03"},    {"01:00:00:00", -1, 25, "00:59:59:24"},
      {"00:00:00:00", 0, 30, "00:00:00:00"},    {"garbage", 5, 30, "00:00:00:05"},
      {"00:00:01:00", -31, 30, "00:00:00:0-1"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.timecode << " + " << row.step << " at " << row.fps);
    EXPECT_EQ(U::incrementTimecode(row.timecode, row.step, row.fps), row.expected);
  }
  EXPECT_THROW(U::incrementTimecode("00:00:00:00", 1, 0), std::domain_error);
}

TEST(Rescaling, OnlyTheFramesFieldChangesAndIsNotWrapped) {
  using M = QRLMovieRateDefinition;
  struct Row {
    const char* timecode;
    uint32_t from, to;
    const char* expected;
  } rows[] = {
      {"01:00:00:15", 102, 110, "01:00:00:18"},
      {"00:00:10:24", 103, 105, "00:00:10:50"},
      {"00:00:10;24", 110, 102, "00:00:10;20"},
      {"00:00:10:29", 110, 103, "00:00:10:23"},
      {"00:00:00:59", 104, 103, "00:00:00:23"},
      {"00:00:01:10", 99, 103, "00:00:01:08"},
      {"00:00:10:24", 100, 101, "00:00:10:24"},
      {"00:00:10:24", 111, 110, "00:00:10:24"},
      {"bad", 102, 110, "bad"},
      {"01:00:00:5", 102, 110, "01:00:00:5"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.timecode << " from " << row.from << " to " << row.to);
    EXPECT_EQ(U::adjustTimecode(row.timecode, M(row.from), M(row.to)), row.expected);
  }
}

TEST(FieldsToFrames, SurplusFieldsCarryIntoSecondsOnlyPastSixty) {
  struct Row {
    uint32_t code;
    const char* timecode;
    const char* expected;
  } rows[] = {
      {7, "00:00:10:45", "00:00:10;45"},
      {7, "00:00:59:75", "00:00:60;15"},
      {4, "00:00:59:75", "00:00:60:15"},
      {7, "00:00:60:60", "00:01:01;00"},
      {7, "00:59:60:60", "00:60:01;00"},
      {7, "00:60:60:60", "01:01:01;00"},
      {4, "00:00:10:99", "00:00:11:39"},
      {5, "00:00:10:99", "00:00:10:99"},
      {10, "junk", "junk"},
      {7, "00:00:10:-5", "00:01:38;11"},
  };
  U any;
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.timecode << " at code " << row.code);
    EXPECT_EQ(any.progressiveTimecodeForInterlacedVideoFrameRate(R(row.code), row.timecode),
              row.expected);
  }
  EXPECT_THROW(any.progressiveTimecodeForInterlacedVideoFrameRate(R(7), "00:00:10"),
               std::out_of_range);
}

TEST(Distribution, WholeAndFractionalSteps) {
  U any;
  struct WholeRow {
    int32_t frames, perUnit, units, rest;
  } whole[] = {{0, 30, 0, 0}, {65, 30, 2, 5}, {-65, 30, -2, -5}, {5, 30, 0, 5}, {60, 30, 2, 0}};
  for (const auto& row : whole) {
    SCOPED_TRACE(testing::Message() << row.frames << " by " << row.perUnit);
    int32_t units = -99;
    EXPECT_EQ(any.remainingFramesAfterDistributionToTimeMeasurement(units, row.frames, row.perUnit),
              row.rest);
    EXPECT_EQ(units, row.units);
    units = -99;
    EXPECT_EQ(U::findTimeRepresentedByFrames(row.frames, row.perUnit, units), row.rest);
    EXPECT_EQ(units, row.units);
  }
  int32_t units = -99;
  EXPECT_EQ(any.remainingFramesAfterDistributionToTimeMeasurement(units, 65, 0), 0);
  EXPECT_EQ(units, 0);
  EXPECT_THROW(U::findTimeRepresentedByFrames(65, 0, units), std::domain_error);

  struct FractionalRow {
    int32_t frames;
    double perUnit;
    int32_t units, rest;
  } fractional[] = {{1800, 1798.2, 1, 1}, {17982, 1798.2, 10, 0}, {-5, 29.97, 0, -5},
                    {0, 0.0, 0, 0},       {29, 29.97, 0, 29},     {30, 30.0, 1, 0},
                    {59, 30.0, 1, 29},    {-5, -1.0, 0, -5},      {107892, 107892.0, 1, 0}};
  for (const auto& row : fractional) {
    SCOPED_TRACE(testing::Message() << row.frames << " by " << row.perUnit);
    units = -99;
    EXPECT_EQ(U::framesRemainingAfterDistribution(row.frames, row.perUnit, units), row.rest);
    EXPECT_EQ(units, row.units);
  }
  EXPECT_THROW(U::framesRemainingAfterDistribution(5, 0.0, units), std::domain_error);
  EXPECT_THROW(U::framesRemainingAfterDistribution(5, -1.0, units), std::domain_error);
  EXPECT_THROW(U::framesRemainingAfterDistribution(INT32_MAX, 1e-9, units), std::domain_error);
}

// Broadcast drop-frame labelling, written from the frame-number side and independently of
// the engine: skip frames 0 and 1 of every minute not divisible by ten.
std::string smpteDropFrameTimecode(int32_t frame) {
  int32_t tens = frame / 17982, rest = frame % 17982;
  int32_t label = frame + 18 * tens + (rest > 1 ? 2 * ((rest - 2) / 1798) : 0);
  char text[64];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d;%02d", label / 108000, label / 1800 % 60,
                label / 30 % 60, label % 30);
  return text;
}

TEST(DropFrameCrossCheck, ClassCountsAtThirtyAreTheBroadcastCounts) {
  auto check = [](int32_t frame) {
    std::string timecode = smpteDropFrameTimecode(frame);
    ASSERT_EQ(U::totalFramesInTimeCode(timecode, 30.0, true), frame) << timecode;
  };
  for (int32_t frame = 0; frame < 40000; ++frame) {
    check(frame);
  }
  for (int32_t frame = 40000; frame < 2 * 107892 + 100; frame += 7) {
    check(frame);
  }
  EXPECT_EQ(smpteDropFrameTimecode(1800), "00:01:00;02");  // the formula itself is sound
  EXPECT_EQ(smpteDropFrameTimecode(17982), "00:10:00;00");
  EXPECT_EQ(smpteDropFrameTimecode(107892), "01:00:00;00");
}

TEST(DropFrameCrossCheck, AtTwentyNineNinetySevenTheReductionComesTwice) {
  struct Row {
    int32_t broadcast, documented;
  } rows[] = {{1800, 1798}, {17982, 17964}, {107892, 107784}, {215784, 215568}};
  U any;
  for (const auto& row : rows) {
    std::string timecode = smpteDropFrameTimecode(row.broadcast);
    SCOPED_TRACE(timecode);
    EXPECT_EQ(U::totalFramesInTimeCode(timecode, 29.97, true), row.documented);
    EXPECT_EQ(any.framesRepresentedByTimecode(timecode, QRLVideoFrameRate29_97), row.documented);
    EXPECT_NE(row.documented, row.broadcast);
  }
}

}  // namespace
}  // namespace qrl

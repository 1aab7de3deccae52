#include "timecode/QRLTimecodeUtility.h"

#include <gtest/gtest.h>

#include <thread>

namespace qrl {
namespace {

using U = QRLTimecodeUtility;

TEST(Counter, DefaultInstanceCountsAtThirtyFromZero) {
  U counter;
  EXPECT_EQ(counter.framesPerSecond(), 30.0f);
  EXPECT_EQ(counter.startTimecode(), "00:00:00:00");
  EXPECT_EQ(counter.frameOffset(), 0);
  EXPECT_FALSE(counter.isDropFrame());
  EXPECT_EQ(counter.frameRateViewType(), QRLFrameRateViewTypeAsDefined);
  auto made = U::timecodeUtility();
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->framesPerSecond(), 30.0f);
  EXPECT_NE(made.get(), &U::sharedInstance());
}

TEST(Counter, InitialisationDerivesDropAndOffset) {
  struct Row {
    float rate;
    const char* start;
    bool drop;
    int32_t offset;
  } rows[] = {
      {29.97f, "00:01:00;00", true, 1796},  // two frames off the 1798.2 of a 29.97 minute
      {29.97f, "01:00:00;00", true, 107784},
      {30.0f, "01:00:00:00", false, 108000},
      {25.0f, "01:00:00:00", false, 90000},
      {23.976f, "00:00:00:00", true, 0},
      {59.94f, "00:00:01:00", true, 59},
      {60.0f, "00:00:01:00", false, 60},
      {48.0f, "00:00:10:05", false, 5},  // unknown rate: only the frames field counts
      {30.0f, "bogus", false, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.rate << " from " << row.start);
    U counter(row.rate, row.start);
    EXPECT_EQ(counter.framesPerSecond(), row.rate);
    EXPECT_EQ(counter.startTimecode(), row.start);
    EXPECT_EQ(counter.isDropFrame(), row.drop);
    EXPECT_EQ(counter.frameOffset(), row.offset);
    EXPECT_EQ(counter.frameRateViewType(), QRLFrameRateViewTypeAsDefined);
  }
}

TEST(Counter, FramesFieldIsTheRequestedFrame) {
  struct Row {
    float rate;
    const char* start;
    int32_t frame;
    const char* expected;
  } rows[] = {
      {30.0f, "00:00:00:00", 100, "00:00:03:100"},
      {30.0f, "00:00:00:00", 5, "00:00:00:05"},
      {30.0f, "00:00:00:00", -5, "00:00:00:0-5"},
      {29.97f, "00:01:00;00", 0, "00:00:61;00"},  // 1796 frames: 61 seconds of 29
      {29.97f, "00:01:00;00", 2, "00:01:00;02"},
      {25.0f, "01:00:00:00", 30, "01:00:01:30"},
      {29.97f, "01:00:00;00", 108, "01:00:00;108"},
      {48.0f, "00:00:10:05", 7, "00:00:00:07"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.rate << " from " << row.start << " frame " << row.frame);
    U counter(row.rate, row.start);
    EXPECT_EQ(counter.timecodeAtFrame(row.frame), row.expected);
  }
}

TEST(Counter, SettersDoNotRecomputeAndTheSumWraps) {
  U counter(29.97f, "00:01:00;00");
  counter.setFramesPerSecond(25.0f);
  counter.setStartTimecode("10:00:00:00");
  EXPECT_EQ(counter.frameOffset(), 1796);
  EXPECT_TRUE(counter.isDropFrame());
  EXPECT_EQ(counter.startTimecode(), "10:00:00:00");
  EXPECT_EQ(counter.timecodeAtFrame(0), "00:01:11;00");  // 1796 at 25: 1 minute, 71 seconds

  counter.setIsDropFrame(false);
  counter.setFramesPerSecond(30.0f);
  counter.setFrameOffset(INT32_MAX);
  EXPECT_EQ(counter.timecodeAtFrame(1), "0-19884:0-6:0-28:01");
  counter.setFrameRateViewType(QRLFrameRateViewTypeProgressive);
  EXPECT_EQ(counter.frameRateViewType(), QRLFrameRateViewTypeProgressive);
}

TEST(SharedInstance, ConcurrentFirstCallersAgreeAndItCarriesTheDefaultViewType) {
  U* seen[2] = {nullptr, nullptr};
  std::thread first([&] { seen[0] = &U::sharedInstance(); });
  std::thread second([&] { seen[1] = &U::sharedInstance(); });
  first.join();
  second.join();
  ASSERT_NE(seen[0], nullptr);
  EXPECT_EQ(seen[0], seen[1]);
  EXPECT_EQ(seen[0], &U::sharedInstance());

  EXPECT_EQ(U::defaultViewType(), QRLFrameRateViewTypeAsDefined);
  U::sharedInstance().setFrameRateViewType(QRLFrameRateViewTypeProgressive);
  EXPECT_EQ(U::defaultViewType(), QRLFrameRateViewTypeProgressive);
  U::sharedInstance().setFrameRateViewType(QRLFrameRateViewTypeAsDefined);
}

}  // namespace
}  // namespace qrl

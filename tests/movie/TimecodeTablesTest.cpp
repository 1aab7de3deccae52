#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "movie/QRLQuickTime32.h"
#include "movie/QRLQuickTimeUtility32.h"
#include "movie/QuickTimeUtilities.h"

namespace qrl {
namespace {

using quicktime::TimeCodeDef;
using quicktime::TimeCodeRecord;

struct VideoRateCase {
  uint32_t code;
  int32_t scaleA;
  int32_t scaleB;
  uint8_t frames;  // after the interlace rule
  int32_t flags;
};

// Codes 4 and 7 are interlaced (counts halved) and the only rows where the
// two classes disagree; 1, 5 and 7 are the drop-frame codes.
const VideoRateCase kVideoRates[] = {
    {0, 2400, 2400, 24, 0},   {1, 2398, 2398, 24, 1}, {2, 2500, 2500, 25, 0},
    {3, 2500, 2500, 25, 0},   {4, 2500, 5000, 25, 0}, {5, 2997, 2997, 30, 1},
    {6, 3000, 3000, 30, 0},   {7, 2997, 5994, 30, 1}, {8, 5000, 5000, 50, 0},
    {9, 6000, 6000, 60, 0},   {10, 0, 0, 0, 0},       {11, 0, 0, 0, 0},
    {0xFFFFFFFF, 0, 0, 0, 0},
};

TEST(TimecodeTables, VideoFrameRateRowsInBothClasses) {
  QRLQuickTime32 service;
  QRLQuickTimeUtility32 utility;
  for (const auto& row : kVideoRates) {
    SCOPED_TRACE(row.code);
    auto code = static_cast<QRLVideoFrameRate>(row.code);
    EXPECT_EQ(service.timeScaleForVideoFrameRate(code), row.scaleA);
    EXPECT_EQ(utility.timeScaleForVideoFrameRate(code), row.scaleB);
    EXPECT_EQ(service.frameCountFromVideoFrameRate(code), row.frames);
    EXPECT_EQ(utility.frameCountFromVideoFrameRate(code), row.frames);
    EXPECT_EQ(service.timecodeDefinitionFromVideoFrameRate(code),
              (TimeCodeDef{row.flags, row.scaleA, 100, row.frames, 0}));
    EXPECT_EQ(utility.timecodeDefinitionFromVideoFrameRate(code),
              (TimeCodeDef{row.flags, row.scaleB, 100, row.frames, 0}));
  }
}

struct MovieRateCase {
  uint32_t code;
  TimeCodeDef find;  // findTimeCodeDefinitionFromRate:
  TimeCodeDef make;  // timeCodeDefinitionFromRate:
  const char* text;
  bool ntsc;
  bool drop;
};

constexpr TimeCodeDef kFallback{1, 2997, 100, 30, 0};

const MovieRateCase kMovieRates[] = {
    {99, kFallback, kFallback, "2997", false, false},
    {100, {1, 2997, 100, 30, 0}, {1, 2997, 100, 30, 0}, "2997", true, true},
    {101, {0, 2997, 100, 30, 0}, {0, 2997, 100, 30, 0}, "2997", true, false},
    {102, {0, 2500, 100, 25, 0}, {0, 2500, 100, 25, 0}, "2500", false, false},
    {103, {0, 2400, 100, 24, 0}, {0, 2400, 100, 24, 0}, "2400", false, false},
    {104, {0, 5994, 100, 60, 0}, {0, 5994, 100, 60, 0}, "5994", true, false},
    {105, {0, 5000, 100, 50, 0}, {0, 5000, 100, 50, 0}, "5000", false, false},
    {106, {1, 2997, 100, 30, 0}, {1, 2997, 100, 30, 0}, "2997", false, false},
    {107, {1, 2997, 100, 30, 0}, {1, 2997, 100, 30, 0}, "2997", false, false},
    {108, {0, 5994, 100, 30, 0}, {0, 5994, 100, 30, 0}, "5994", true, false},
    {109, {1, 2500, 100, 25, 0}, {1, 2500, 100, 25, 0}, "5000", false, false},
    {110, {0, 3000, 100, 30, 0}, {0, 2997, 100, 30, 0}, "3000", false, false},
    {111, {0, 2500, 100, 25, 0}, {0, 2500, 100, 25, 0}, "2500", false, false},
    {112, {0, 2398, 100, 24, 0}, kFallback, "2398", true, false},
    {113, {0, 6000, 100, 60, 0}, kFallback, "6000", false, false},
    {114, kFallback, kFallback, "2997", false, false},
    {0, kFallback, kFallback, "2997", false, false},
};

TEST(TimecodeTables, MovieRateRowsAndPredicates) {
  for (const auto& row : kMovieRates) {
    SCOPED_TRACE(row.code);
    auto code = static_cast<QRLMovieRateDefinition>(row.code);
    EXPECT_EQ(QRLQuickTimeUtility32::findTimeCodeDefinitionFromRate(code), row.find);
    EXPECT_EQ(QRLQuickTimeUtility32::timeCodeDefinitionFromRate(code), row.make);
    EXPECT_EQ(QuickTimeUtilities::frameRateStringFromTimeCodeRate(code), row.text);
    EXPECT_EQ(QuickTimeUtilities::isTimeCodeRateNTSC(code), row.ntsc);
    EXPECT_EQ(QuickTimeUtilities::isTimeCodeRateDrop(code), row.drop);
  }
}

TEST(TimecodeTables, RateDefinitionFromTimecodeDefBySubstring) {
  struct Case {
    TimeCodeDef definition;
    uint32_t expected;
  };
  const Case cases[] = {
      {{0, 2500, 100, 25, 0}, 102},
      {{1, 2500, 100, 25, 0}, 109},
      {{0, 2500, 100, 24, 0}, 101},
      {{0, 29970, 100, 30, 0}, 101},  // "29970" contains "2997"
      {{1, 29970, 100, 30, 0}, 100},
      {{3, 2997, 100, 30, 0}, 101},  // flags must equal 1 exactly
      {{0, 5994, 100, 60, 0}, 104},
      {{0, 5994, 100, 30, 0}, 108},
      {{0, 5994, 100, 25, 0}, 101},
      {{0, 6000, 100, 60, 0}, 113},
      {{0, 5000, 100, 50, 0}, 105},
      {{0, 5000, 100, 25, 0}, 101},
      {{0, 2400, 100, 24, 0}, 103},
      {{0, 2398, 100, 24, 0}, 112},
      {{0, 2397, 100, 24, 0}, 112},
      {{0, 25000, 100, 25, 0}, 101},  // "25000" holds "5000", tested before "2500"
      {{0, 125994, 100, 60, 0}, 104},
      {{1, 30000, 1001, 30, 0}, 101},  // what ffmpeg writes
                                       // at 29.97
      {{0, 3000, 100, 30, 0}, 101},
      {{0, 0, 0, 0, 0}, 101},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.definition.flags) + " " +
                 std::to_string(c.definition.fTimeScale) + " " +
                 std::to_string(c.definition.numFrames));
    EXPECT_EQ(QRLQuickTimeUtility32::findTimeCodeRateDefinitionFromTimecodeDef(c.definition),
              c.expected);
  }
}

TEST(TimecodeTables, VideoFrameRateFromTimecodeDefReadsTheTimeScaleAlone) {
  QRLQuickTime32 service;
  // Only the first two digits of the time scale count, as a rate description.
  EXPECT_EQ(service.videoFrameRateFromTimecodeDef({1, 2997, 100, 30, 0}), 5u);
  EXPECT_EQ(service.videoFrameRateFromTimecodeDef({0, 2997, 100, 30, 0}), 5u);
  EXPECT_EQ(service.videoFrameRateFromTimecodeDef({0, 2500, 100, 25, 0}),
            service.videoFrameRateFromTimecodeDef({0, 25, 1, 99, 0}));
  EXPECT_EQ(service.videoFrameRateFromTimecodeDef({0, 2400, 100, 24, 0}), 0u);
  EXPECT_EQ(service.videoFrameRateFromTimecodeDef({0, 0, 100, 0, 0}), 10u);
  EXPECT_EQ(service.videoFrameRateForTrack({}), 10u);
}

TEST(TimecodeText, FieldsAreReadByPosition) {
  struct Case {
    const char* text;
    TimeCodeRecord expected;
  };
  const Case cases[] = {
      {"01;02;03;04", {1, 2, 3, 4}},
      {"01:02:03;04", {1, 2, 3, 4}},
      {"23x59y59z29", {23, 59, 59, 29}},
      {"99:99:99:99", {99, 99, 99, 99}},
      {"1a:2b:3c:4d", {1, 2, 3, 4}},  // atoi stops at the first non-digit
      {"ab:cd:ef:gh", {0, 0, 0, 0}},
      {"-1:00:00:00", {255, 0, 0, 0}},  // atoi's sign, stored in 8 bits
      {"01:02", {1, 2, 0, 0}},
      {"", {0, 0, 0, 0}},
      {"01:02:03:04:05", {1, 2, 3, 4}},  // 14 bytes still fit
  };
  QRLQuickTime32 service;
  QRLQuickTimeUtility32 utility;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    TimeCodeRecord a{9, 9, 9, 9}, b{9, 9, 9, 9}, d{9, 9, 9, 9};
    service.timecodeToTimeCodeRecord(c.text, &a);
    utility.timecodeToTimeCodeRecord(c.text, &b);
    QRLQuickTimeUtility32::convertStringToTimeCodeRecord(c.text, &d);
    EXPECT_EQ(a, c.expected);
    EXPECT_EQ(b, c.expected);
    EXPECT_EQ(d, c.expected);
  }
}

TEST(TimecodeText, FifteenBytesOverflowTheBuffer) {
  TimeCodeRecord record;
  EXPECT_THROW(QRLQuickTimeUtility32::convertStringToTimeCodeRecord("01:02:03:04:056", &record),
               std::length_error);
  EXPECT_THROW(QRLQuickTime32().timecodeToTimeCodeRecord(std::string(1023, '1').c_str(), &record),
               std::length_error);
}

TEST(ThumbnailSize, LongerSideBecomes192) {
  struct Case {
    Size in, out;
  };
  const Case cases[] = {
      {{400, 300}, {192, 144}},
      {{300, 400}, {144, 192}},
      {{100, 100}, {192, 192}},
      {{1920, 1080}, {192, 108}},
      {{1, 3}, {64, 192}},
      {{7, 3}, {192, 3.0f * 192.0f / 7.0f}},  // single precision, multiplication first
  };
  QRLQuickTime32 service;
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.in.width) + "x" + std::to_string(c.in.height));
    EXPECT_EQ(QuickTimeUtilities::thumbnailSizeForImageSize(c.in), c.out);
    EXPECT_EQ(service.thumbnailSizeForImageSize(c.in), c.out);
  }
}

TEST(FrameRateText, NtscByTheFirstTwoCharacters) {
  struct Case {
    const char* text;
    bool ntsc;
  };
  const Case cases[] = {{"2997", true},   {"30", false}, {"2", false},   {"", false},
                        {"23.976", true}, {"59", true},  {"5994", true}, {"25", false},
                        {"29", true},     {"9", false},  {" 29", false}};
  for (const auto& c : cases) {
    EXPECT_EQ(QuickTimeUtilities::isFrameRateNTSC(c.text), c.ntsc) << c.text;
  }
}

}  // namespace
}  // namespace qrl

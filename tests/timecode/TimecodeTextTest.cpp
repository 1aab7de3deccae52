#include "timecode/QRLTimecodeUtility.h"

#include <gtest/gtest.h>

#include <ctime>

namespace qrl {
namespace {

using U = QRLTimecodeUtility;

struct ShapeRow {
  const char* text;
  bool valid, dropIndicator, dropUnchecked;
};

const ShapeRow kShapes[] = {
    {"01:02:03:04", true, false, false},
    {"01:02:03;04", true, true, true},
    {"99:99:99:99", true, false, false},
    {"01;02:03:04", false, false, false},
    {"01:02;03:04", false, false, false},
    {"1:02:03:04", false, false, false},    // 10 characters
    {"01:02:03:04 ", false, false, false},  // 12
    {"ab:cd:ef:gh", false, false, false},
    {"01:02:03.04", false, false, false},
    {"12345678;", false, false, true},  // index 8 read without validating
    {"12345678;xx", false, false, true},
    {"01:02", false, false, false},
    {"", false, false, false},
    {"01:02:03:0\x00", false, false, false},
    // Positions count UTF-16 units and only their low byte is judged: U+0131 and U+0130
    // pass for digits and U+013B for ';' (which is not a drop-frame mark, though).
    {"\xC4\xB1"
     "1:02:03:04",
     true, false, false},
    {"01:02:03\xC4\xBB"
     "04",
     true, false, false},
    {"01:02:03:0\xC4\xB0", true, false, false},
    {"01:02:03:\xC3\xA9"
     "4",
     false, false, false},
    {"\xF0\x9F\x98\x80:02:03:04", false, false, false},  // a surrogate pair is two units
    {"0\xFF:02:03:04", false, false, false},             // malformed UTF-8
};

TEST(TimecodeText, ShapeValidationAndDropFrameMarks) {
  U any;
  for (const auto& row : kShapes) {
    SCOPED_TRACE(std::string("timecode \"") + row.text + "\"");
    EXPECT_EQ(U::isValidTimeCode(row.text), row.valid);
    EXPECT_EQ(any.timecodeIsValid(row.text), row.valid);
    EXPECT_EQ(any.timecodeHasDropFrameIndicator(row.text), row.dropIndicator);
    EXPECT_EQ(U::timecodeIsDropFrame(row.text), row.dropUnchecked);
  }
  EXPECT_FALSE(U::isValidTimeCode(std::string_view("01:02:03:0\0", 11)));
}

TEST(TimecodeText, ForcingTheSeparatorOnlyTouchesValidTimecodes) {
  struct Row {
    const char* text;
    bool drop;
    const char* expected;
  } rows[] = {
      {"10:00:00:00", true, "10:00:00;00"},
      {"10:00:00;00", false, "10:00:00:00"},
      {"10:00:00;00", true, "10:00:00;00"},
      {"garbage", true, "garbage"},
      {"10:00:00:0", true, "10:00:00:0"},
      {"01:02:03\xC4\xBB"
       "04",
       true, "01:02:03;04"},
      {"\xC4\xB1"
       "1:02:03:04",
       true,
       "\xC4\xB1"
       "1:02:03;04"},
  };
  U any;
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string("timecode \"") + row.text + "\"");
    EXPECT_EQ(any.forceTimecodeToMatchDropFrameFormat(row.text, row.drop), row.expected);
    EXPECT_EQ(U::augmentTimecodeDropFrame(row.text, row.drop), row.expected);
  }
}

TEST(TimecodeText, SegmentsPadEverythingUpToNine) {
  struct Row {
    int32_t value;
    const char* expected;
  } rows[] = {{0, "00"},
              {7, "07"},
              {9, "09"},
              {10, "10"},
              {99, "99"},
              {100, "100"},
              {123, "123"},
              {-5, "0-5"},
              {-10, "0-10"},
              {INT32_MIN, "0-2147483648"},
              {INT32_MAX, "2147483647"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "value " << row.value);
    EXPECT_EQ(U::timecodeSegmentFromInteger(row.value), row.expected);
    EXPECT_EQ(U::formatTimeCodeSegmentFromInteger(row.value), row.expected);
  }
}

TEST(TimecodeText, BuildingFromFieldsHasNoRangeChecks) {
  EXPECT_EQ(U::timecodeFromHours(1, 2, 3, 4, true), "01:02:03;04");
  EXPECT_EQ(U::timecodeFromHours(1, 2, 3, 4, false), "01:02:03:04");
  EXPECT_EQ(U::timecodeFromHours(25, 0, 0, 100, false), "25:00:00:100");
  EXPECT_EQ(U::timecodeFromHours(0, -1, 60, 0, true), "00:0-1:60;00");
}

TEST(TimecodeText, ReversalSwapsPairsAndMovesTheDropMark) {
  struct Row {
    const char* text;
    std::optional<std::string> expected;
  } rows[] = {
      {"01:02:03;04", "04;03:02:01"},
      {"01:02:03:04", "04:03:02:01"},
      {"01;02:03:04", "04;03:02:01"},  // a ';' anywhere counts
      {"01020304", "04:03:02:01"},
      {"ab:cd:ef:gh", "gh:ef:cd:ab"},  // characters are not checked
      {"1:2:3:4", std::nullopt},
      {"01:02:03:045", std::nullopt},
      {"", std::nullopt},
      {"\xC3\xA9"
       "1:02:03:04",
       "04:03:02:\xC3\xA9"
       "1"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string("timecode \"") + row.text + "\"");
    EXPECT_EQ(U::reverseTimecodeString(row.text), row.expected);
  }
}

TEST(TimecodeText, FixedTimecodes) {
  EXPECT_EQ(U::defaultTimecode(), "00:00:00:00");
  EXPECT_EQ(U::freshNonDropFrameTimecode(), "00:00:00:00");
  EXPECT_EQ(U::freshDropFrameTimecode(), "00:00:00;00");
}

std::chrono::system_clock::time_point localTime(int hour, int minute, int second) {
  std::tm parts{};
  parts.tm_year = 2024 - 1900;
  parts.tm_mon = 2;
  parts.tm_mday = 14;
  parts.tm_hour = hour;
  parts.tm_min = minute;
  parts.tm_sec = second;
  parts.tm_isdst = -1;
  return std::chrono::system_clock::from_time_t(std::mktime(&parts));
}

TEST(TimecodeText, ClockTimesBecomeWholeSecondTimecodes) {
  U any;
  struct Row {
    int h, m, s;
    const char* expected;
  } rows[] = {{14, 5, 9, "14:05:09:00"}, {0, 0, 0, "00:00:00:00"}, {23, 59, 59, "23:59:59:00"}};
  for (const auto& row : rows) {
    auto date = localTime(row.h, row.m, row.s) + std::chrono::milliseconds(999);
    EXPECT_EQ(any.dateToTimecode(date), row.expected);
    EXPECT_EQ(U::timecodeFromDate(date), row.expected);
  }
}

}  // namespace
}  // namespace qrl

#include "timecode/QRLTimecodeUtility.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "timecode/FrameRateCatalogue.h"

namespace qrl {
namespace {

using U = QRLTimecodeUtility;
using R = QRLVideoFrameRate;

bool member(const std::vector<R>& list, R rate) {
  return std::find(list.begin(), list.end(), rate) != list.end();
}

struct RateRow {
  uint32_t code;
  const char* name;  // "" where the catalogue has no row
  double rate0, rate1;
  const char* text;
  bool ntsc, drop, interlaced, progressive, pal;
  uint32_t progressiveEq, interlacedEq, dropEq, nonDropEq, palEq, viewing, old;
};

// One row per code, as published to every caller; 11 stands for any unknown value. After the
// texts: NTSC, drop-frame, interlaced, progressive, PAL set; then the progressive, interlaced,
// drop-frame, non-drop, PAL and viewing equivalents and the old definition.
// clang-format off
const RateRow kRates[] = {
    {0,  "24",     24.0,   24.0,   "24",     0, 0, 0, 1, 0, 0,  10, 1,  0,  2,  0,  103},
    {1,  "23.976", 23.976, 23.976, "23.976", 1, 1, 0, 1, 0, 1,  10, 1,  0,  2,  1,  107},
    {2,  "PAL",    25.0,   25.0,   "25",     0, 0, 0, 1, 1, 2,  10, 2,  2,  2,  2,  102},
    {3,  "25p",    25.0,   25.0,   "25",     0, 0, 0, 1, 0, 3,  4,  3,  3,  10, 3,  111},
    {4,  "50i",    59.94,  25.0,   "59.94",  0, 0, 1, 0, 0, 3,  4,  4,  4,  10, 4,  109},
    {5,  "29.97",  29.97,  29.97,  "29.97",  1, 1, 0, 1, 0, 5,  7,  5,  6,  10, 5,  100},
    {6,  "30",     30.0,   30.0,   "30",     0, 0, 0, 1, 0, 6,  10, 5,  6,  10, 6,  101},
    {7,  "59.94i", 59.94,  29.97,  "59.94",  1, 1, 1, 0, 0, 5,  7,  7,  9,  10, 7,  104},
    {8,  "50p",    59.94,  59.94,  "59.94",  0, 0, 0, 1, 0, 8,  10, 8,  8,  10, 3,  105},
    {9,  "60p",    60.0,   60.0,   "60",     0, 0, 0, 1, 0, 9,  10, 7,  9,  10, 6,  113},
    {10, "",       0.0,    0.0,    "0",      0, 0, 0, 0, 0, 10, 10, 10, 10, 10, 10, 106},
    {11, "",       0.0,    0.0,    "0",      0, 0, 0, 0, 0, 11, 10, 11, 11, 10, 11, 107},
};
// clang-format on

TEST(FrameRateTable, EveryCodeMatchesItsRow) {
  U any;
  for (const auto& row : kRates) {
    SCOPED_TRACE("code " + std::to_string(row.code));
    R code = static_cast<R>(row.code);
    const auto* entry = frame_rate_catalogue::videoFrameRateRow(code);
    EXPECT_EQ(entry ? entry->name : "", row.name);
    EXPECT_EQ(U::numericRateForVideoFrameRate(code), row.rate0);
    EXPECT_EQ(U::numericRateForVideoFrameRate(code, QRLFrameRateViewTypeAsDefined), row.rate0);
    EXPECT_EQ(U::numericRateForVideoFrameRate(code, QRLFrameRateViewTypeProgressive), row.rate1);
    EXPECT_EQ(any.numericRateForVideoFrameRate(code), row.rate0);
    EXPECT_EQ(U::stringRateForVideoFrameRate(code), row.text);
    EXPECT_EQ(U::videoFrameRateIsNTSC(code), row.ntsc);
    EXPECT_EQ(U::videoFrameRateIsDropFrame(code), row.drop);
    EXPECT_EQ(U::frameRateIsDrop(code), row.drop);
    EXPECT_EQ(U::videoFrameRateIsInterlaced(code), row.interlaced);
    EXPECT_EQ(U::videoFrameRateIsProgressive(code), row.progressive);
    EXPECT_EQ(member(U::palVideoFrameRates(), code), row.pal);
    EXPECT_EQ(member(U::nonDropFrameVideoFrameRates(), code), row.code < 10 && !row.drop);

    EXPECT_EQ(U::progressiveEquivalentForVideoFrameRate(code), row.progressiveEq);
    EXPECT_EQ(U::interlacedEquivalentForVideoFrameRate(code), row.interlacedEq);
    EXPECT_EQ(U::dropFrameEquivalentForVideoFrameRate(code), row.dropEq);
    EXPECT_EQ(U::nonDropFrameEquivalentForVideoFrameRate(code), row.nonDropEq);
    EXPECT_EQ(U::palEquivalentForVideoFrameRate(code), row.palEq);
    EXPECT_EQ(U::adjustVideoFrameRateToViewingFrameRate(code), row.viewing);
    EXPECT_EQ(U::convertVideoFrameRateDefinitionToOld(code), row.old);
    // The class forms skip the membership test but agree on every code.
    EXPECT_EQ(U::dropFrameRateForNonDropFrameRate(code), row.dropEq);
    EXPECT_EQ(U::nonDropFrameRateForDropFrameRate(code), row.nonDropEq);
    // View type 1 swaps only the interlaced codes for their progressive ones.
    EXPECT_EQ(U::videoFrameRateEquivalentForFrameRate(code, QRLFrameRateViewTypeProgressive),
              row.code == 4 || row.code == 7 ? row.progressiveEq : row.code);
    EXPECT_EQ(U::videoFrameRateEquivalentForFrameRate(code, QRLFrameRateViewTypeAsDefined),
              row.code);
  }
  EXPECT_EQ(U::palEquivalentForVideoFrameRate(static_cast<R>(0xFFFFFFFFu)), 10u);
}

struct MovieRateRow {
  uint32_t definition, video;
  int32_t numeric;
  const char* text;
  bool inOld, inMovie;
};

const MovieRateRow kMovieRates[] = {
    {100, 5, 30, "2997", true, true},  {101, 6, 30, "2997", true, true},
    {102, 2, 25, "25", true, true},    {103, 0, 24, "24", true, true},
    {104, 7, 60, "5994", true, true},  {105, 8, 50, "50", true, true},
    {106, 10, 30, "30", true, false},  {107, 10, 30, "30", false, false},
    {108, 7, 60, "5994", true, false}, {109, 4, 50, "25", true, false},
    {110, 6, 30, "30", true, true},    {111, 3, 30, "30", true, false},
    {112, 0, 24, "30", true, false},   {113, 9, 60, "30", true, false},
    {99, 10, 30, "30", false, false},  {114, 10, 30, "30", false, false},
};

TEST(FrameRateTable, MovieRateDefinitionsFollowTheirTable) {
  auto old = U::allDefinedOldFrameRates();
  auto movie = U::allDefinedMovieRates();
  for (const auto& row : kMovieRates) {
    SCOPED_TRACE("definition " + std::to_string(row.definition));
    auto definition = static_cast<QRLMovieRateDefinition>(row.definition);
    EXPECT_EQ(U::convertOldFrameRateDefinition(definition), row.video);
    EXPECT_EQ(U::numericMovieRateFromRateDefinitions(definition), row.numeric);
    EXPECT_EQ(U::movieRateFromRateDefinition(definition), row.text);
    EXPECT_EQ(std::count(old.begin(), old.end(), definition), row.inOld ? 1 : 0);
    EXPECT_EQ(std::count(movie.begin(), movie.end(), static_cast<int32_t>(row.definition)),
              row.inMovie ? 1 : 0);
  }
}

TEST(FrameRateTable, ListsKeepTheirOrder) {
  using V = std::vector<R>;
  EXPECT_EQ(U::allDefinedVideoFrameRates(),
            (V{R(0), R(1), R(2), R(3), R(4), R(5), R(6), R(7), R(8), R(9)}));
  EXPECT_EQ(U::ntscFrameRates(), (V{R(1), R(5), R(7)}));
  EXPECT_EQ(U::dropFrameVideoFrameRates(), (V{R(1), R(5), R(7)}));
  EXPECT_EQ(U::nonDropFrameVideoFrameRates(), (V{R(0), R(2), R(3), R(4), R(6), R(8), R(9)}));
  EXPECT_EQ(U::interlacedVideoFrameRates(), (V{R(4), R(7)}));
  EXPECT_EQ(U::progressiveVideoFrameRates(), (V{R(0), R(1), R(2), R(3), R(5), R(6), R(8), R(9)}));
  EXPECT_EQ(U::palVideoFrameRates(), (V{R(2)}));
  using M = QRLMovieRateDefinition;
  EXPECT_EQ(U::allDefinedOldFrameRates(),
            (std::vector<M>{M(100), M(101), M(102), M(103), M(106), M(104), M(105), M(108), M(109),
                            M(110), M(111), M(112), M(113)}));
  EXPECT_EQ(U::allDefinedMovieRates(), (std::vector<int32_t>{101, 100, 110, 102, 103, 104, 105}));
}

struct NumericRow {
  double raw;
  uint32_t scan0, scan1, forDouble;
};

// Equalities are judged on the "%.2lf" round trip, the windows on the raw value with
// exclusive bounds, in a fixed order.
const NumericRow kNumeric[] = {
    {60.0, 9, 7, 9},      {59.999, 9, 7, 9},    {60.004, 9, 7, 9},   {59.94, 7, 7, 7},
    {59.9301, 7, 7, 7},   {59.93, 10, 10, 10},  {59.95, 10, 10, 10}, {59.9499, 7, 7, 7},
    {50.0, 8, 4, 8},      {49.996, 8, 4, 8},    {30.0, 6, 6, 6},     {29.996, 6, 6, 6},
    {29.995, 6, 6, 6},    {29.985, 10, 10, 10}, {29.97, 5, 5, 5},    {29.965, 5, 5, 5},
    {29.96, 10, 10, 10},  {29.98, 10, 10, 10},  {29.9799, 5, 5, 5},  {25.0, 3, 3, 3},
    {24.0, 0, 0, 0},      {23.976, 1, 1, 1},    {23.98, 1, 1, 1},    {23.985, 1, 1, 1},
    {23.97, 10, 10, 10},  {23.99, 10, 10, 10},  {48.0, 10, 10, 10},  {0.0, 10, 10, 10},
    {-29.97, 10, 10, 10}, {1e300, 10, 10, 10},
};

TEST(FrameRateLookup, NumericRatesTestEqualitiesAndWindowsInOrder) {
  for (const auto& row : kNumeric) {
    SCOPED_TRACE(testing::Message() << "rate " << row.raw);
    EXPECT_EQ(U::videoFrameRateFromNumericRate(row.raw), row.scan0);
    EXPECT_EQ(U::videoFrameRateFromNumericRate(row.raw, QRLScanTypeProgressive), row.scan0);
    EXPECT_EQ(U::videoFrameRateFromNumericRate(row.raw, QRLScanTypeInterlaced), row.scan1);
    // Anything but 1 is progressive.
    EXPECT_EQ(U::videoFrameRateFromNumericRate(row.raw, static_cast<QRLScanType>(2)), row.scan0);
    EXPECT_EQ(U::frameRateForDouble(row.raw), row.forDouble);
  }
  EXPECT_EQ(U::videoFrameRateFromNumericRate(std::numeric_limits<double>::quiet_NaN()), 10u);
}

struct DescriptionRow {
  const char* text;
  uint32_t plain, progressive, interlaced;
};

const DescriptionRow kDescriptions[] = {
    {"29.97", 5, 5, 7},
    {"29.97 DF", 5, 5, 7},
    {"2997", 5, 5, 7},
    {"29", 5, 5, 7},
    {"  \t30 fps\t ", 6, 6, 10},
    {"600", 9, 9, 10},
    {"59.94i", 7, 5, 7},
    {"50", 8, 8, 10},
    {"25", 3, 3, 4},
    {"24", 0, 0, 10},
    {"23.976", 1, 1, 10},
    {"120", 10, 10, 10},
    {" 2", 10, 10, 10},
    {"", 10, 10, 10},
    {"   ", 10, 10, 10},
    {"PAL", 10, 10, 10},
    {" 2 9", 10, 10, 10},
};

TEST(FrameRateLookup, DescriptionsMatchOnTheirFirstTwoCharacters) {
  for (const auto& row : kDescriptions) {
    SCOPED_TRACE(std::string("description \"") + row.text + "\"");
    EXPECT_EQ(U::videoFrameRateFromFrameRateDescription(row.text), row.plain);
    EXPECT_EQ(U::videoFrameRateFromFrameRateDescription(row.text, QRLScanTypeProgressive),
              row.progressive);
    EXPECT_EQ(U::videoFrameRateFromFrameRateDescription(row.text, QRLScanTypeInterlaced),
              row.interlaced);
    EXPECT_EQ(U::videoFrameRateFromFrameRateDescription(row.text, static_cast<QRLScanType>(7)),
              row.plain);
  }
}

TEST(FrameRateLookup, MovieRatesFromTextSearchSubstringsInOrder) {
  struct Row {
    const char* text;
    uint32_t withoutDrop, withDrop;
  } rows[] = {
      {"29.97", 101, 100}, {"NTSC 2997", 101, 100}, {"24", 103, 103},   {"23.976", 103, 103},
      {"25", 102, 102},    {"30", 110, 110},        {"50", 105, 105},   {"5994", 104, 104},
      {"59.94", 104, 104}, {"60", 107, 107},        {"6000", 107, 107}, {"2530", 102, 102},
      {"", 107, 107},      {"3024", 103, 103},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string("text \"") + row.text + "\"");
    EXPECT_EQ(U::movieRateFromString(row.text, false), row.withoutDrop);
    EXPECT_EQ(U::movieRateFromString(row.text, true), row.withDrop);
  }
}

TEST(FrameRateLookup, MovieRatesFromNumbersNeverGiveDropOrThirty) {
  struct Row {
    double number;
    uint32_t expected;
  } rows[] = {{29.97, 101}, {2997, 101}, {23.976, 103}, {24, 103}, {25, 102},  {50, 105},
              {59.94, 104}, {30, 107},   {60, 107},     {5, 107},  {-29, 107}, {2.5, 107}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "number " << row.number);
    EXPECT_EQ(U::movieRateFromNumber(row.number), row.expected);
  }
}

TEST(FrameRateDefaults, FixedAnswers) {
  EXPECT_EQ(U::adjustedFrameRate(29.97, true), 0.0);
  EXPECT_EQ(U::adjustedFrameRate(30.0, false), 0.0);
  EXPECT_EQ(U::defaultVideoFrameRate(), 6u);
  EXPECT_EQ(U::defaultScanType(), 0u);
  EXPECT_EQ(U::defaultFramerateDefinition(), 110u);
  EXPECT_EQ(U::convertOldFrameRateDefinition(QRLMovieRateUnknown), 10u);
}

}  // namespace
}  // namespace qrl

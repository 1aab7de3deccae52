#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "timecode/QRLVideoFrameRate.h"

// The frame-rate catalogue: one row per video frame-rate code and one per movie rate
// definition. QRLTimecodeUtility and the timecode-track classes of movie/ answer from these
// rows; what a row does not hold (the answer for a code outside the table, the differences
// between the movie classes) stays with the function that answers. Codes in the rows are
// written as their numbers, the way they cross the wire.
namespace qrl::frame_rate_catalogue {

struct VideoFrameRateRow {
  uint32_t code;
  // The code's short name, as people write it.
  std::string_view name;
  // The rate the engine computes with. 50i and 50p hold 59.94: stored numbers were
  // computed with exactly these, so they stay.
  double numericRate;
  bool isNtsc;
  bool isDropFrame;
  bool isInterlaced;  // every other code in the table is progressive
  bool isPal;
  // Equivalent codes; 10 where there is none.
  uint32_t progressive;
  uint32_t interlaced;
  uint32_t dropFrame;
  uint32_t nonDropFrame;
  uint32_t pal;
  uint32_t viewing;  // 60p and 50p are watched at half their rate
  // A timecode track at this rate: units per second, and frames per second before the
  // halving of interlaced codes, both counting interlaced codes in fields.
  int32_t timecodeScale;
  uint8_t timecodeFrames;
};

// clang-format off
inline constexpr auto kVideoFrameRates = std::to_array<VideoFrameRateRow>({
  // code  name     rate    NTSC   drop   inter. PAL    prog inter drop non-d PAL view scale fr.
    {0,  "24",     24.0,   false, false, false, false, 0,   10,   1,   0,    2,  0,   2400, 24},
    {1,  "23.976", 23.976, true,  true,  false, false, 1,   10,   1,   0,    2,  1,   2398, 24},
    {2,  "PAL",    25.0,   false, false, false, true,  2,   10,   2,   2,    2,  2,   2500, 25},
    {3,  "25p",    25.0,   false, false, false, false, 3,   4,    3,   3,    10, 3,   2500, 25},
    {4,  "50i",    59.94,  false, false, true,  false, 3,   4,    4,   4,    10, 4,   5000, 50},
    {5,  "29.97",  29.97,  true,  true,  false, false, 5,   7,    5,   6,    10, 5,   2997, 30},
    {6,  "30",     30.0,   false, false, false, false, 6,   10,   5,   6,    10, 6,   3000, 30},
    {7,  "59.94i", 59.94,  true,  true,  true,  false, 5,   7,    7,   9,    10, 7,   5994, 60},
    {8,  "50p",    59.94,  false, false, false, false, 8,   10,   8,   8,    10, 3,   5000, 50},
    {9,  "60p",    60.0,   false, false, false, false, 9,   10,   7,   9,    10, 6,   6000, 60},
});
// clang-format on

// The row of a code; nullptr for 10 (undefined) and above.
constexpr const VideoFrameRateRow* videoFrameRateRow(QRLVideoFrameRate rate) {
  return rate < kVideoFrameRates.size() ? &kVideoFrameRates[rate] : nullptr;
}

struct MovieRateRow {
  uint32_t code;
  // The video frame-rate code it converts to, its whole frames per second and its
  // movie-rate text.
  uint32_t videoFrameRate;
  int32_t numericRate;
  std::string_view text;
  // The timecode definition it stands for (flags hold only the drop-frame bit, 1), the rate
  // text that definition is known by, and whether it counts as NTSC.
  int32_t timecodeFlags;
  int32_t timecodeScale;
  uint8_t timecodeFrames;
  std::string_view timecodeText;
  bool isNtsc;
};

// 111 and 112 have a numeric rate that disagrees with their text, 106 converts to no code,
// 109 is drop-frame flagged but not called drop-frame: all kept, stored data depend on them.
// clang-format off
inline constexpr auto kMovieRates = std::to_array<MovieRateRow>({
  // code video rate text    flags scale fr. text    NTSC
    {100, 5,   30,  "2997", 1,    2997, 30, "2997", true},
    {101, 6,   30,  "2997", 0,    2997, 30, "2997", true},
    {102, 2,   25,  "25",   0,    2500, 25, "2500", false},
    {103, 0,   24,  "24",   0,    2400, 24, "2400", false},
    {104, 7,   60,  "5994", 0,    5994, 60, "5994", true},
    {105, 8,   50,  "50",   0,    5000, 50, "5000", false},
    {106, 10,  30,  "30",   1,    2997, 30, "2997", false},
    {107, 10,  30,  "30",   1,    2997, 30, "2997", false},
    {108, 7,   60,  "5994", 0,    5994, 30, "5994", true},
    {109, 4,   50,  "25",   1,    2500, 25, "5000", false},
    {110, 6,   30,  "30",   0,    3000, 30, "3000", false},
    {111, 3,   30,  "30",   0,    2500, 25, "2500", false},
    {112, 0,   24,  "30",   0,    2398, 24, "2398", true},
    {113, 9,   60,  "30",   0,    6000, 60, "6000", false},
});
// clang-format on

// The row of a definition; any code outside 100-113 reads as 107 (unknown) in every column.
constexpr const MovieRateRow& movieRateRow(QRLMovieRateDefinition definition) {
  uint32_t index = definition - kMovieRates.front().code;
  return index < kMovieRates.size() ? kMovieRates[index]
                                    : kMovieRates[QRLMovieRateUnknown - kMovieRates.front().code];
}

namespace detail {
template <size_t N, class Row>
constexpr bool numberedInOrder(const std::array<Row, N>& rows, uint32_t first) {
  for (size_t index = 0; index < N; ++index) {
    if (rows[index].code != first + index)
      return false;
  }
  return true;
}
}  // namespace detail

static_assert(detail::numberedInOrder(kVideoFrameRates, QRLVideoFrameRate24) &&
              kVideoFrameRates.size() == QRLVideoFrameRateUndefined);
static_assert(detail::numberedInOrder(kMovieRates, QRLMovieRate2997Drop) &&
              kMovieRates.back().code == QRLMovieRate60);

}  // namespace qrl::frame_rate_catalogue

#pragma once

#include <array>
#include <cstdint>

#include "platform/quicktime/TimeCode.h"
#include "timecode/QRLVideoFrameRate.h"

// Constant tables shared by the timecode-track classes. Each class keeps its
// own entry points over them; the rows are here once so a test can walk them.
namespace qrl::timecode_tables {

// Video frame-rate code -> time scale and frame count. The two time-scale
// columns differ at codes 4 and 7: the service object has always answered
// column A and the utility class column B, and stored tracks depend on both.
struct VideoRateRow {
  int32_t timeScaleA;
  int32_t timeScaleB;
  uint8_t frameCount;  // before halving for interlaced codes
};

inline constexpr std::array<VideoRateRow, 10> kVideoRates{{
    {2400, 2400, 24},
    {2398, 2398, 24},
    {2500, 2500, 25},
    {2500, 2500, 25},
    {2500, 5000, 50},
    {2997, 2997, 30},
    {3000, 3000, 30},
    {2997, 5994, 60},
    {5000, 5000, 50},
    {6000, 6000, 60},
}};

// Movie rate definition (100 + index) -> timecode definition and rate text.
struct MovieRateRow {
  int32_t flags;
  int32_t timeScale;
  uint8_t numFrames;
  const char* rateString;
};

inline constexpr uint32_t kFirstMovieRate = 100;
inline constexpr std::array<MovieRateRow, 14> kMovieRates{{
    {1, 2997, 30, "2997"},  // 100
    {0, 2997, 30, "2997"},  // 101
    {0, 2500, 25, "2500"},  // 102
    {0, 2400, 24, "2400"},  // 103
    {0, 5994, 60, "5994"},  // 104
    {0, 5000, 50, "5000"},  // 105
    {1, 2997, 30, "2997"},  // 106
    {1, 2997, 30, "2997"},  // 107
    {0, 5994, 30, "5994"},  // 108
    {1, 2500, 25, "5000"},  // 109
    {0, 3000, 30, "3000"},  // 110
    {0, 2500, 25, "2500"},  // 111
    {0, 2398, 24, "2398"},  // 112
    {0, 6000, 60, "6000"},  // 113
}};

// Every definition this code writes counts frames in units of 1/100 frame.
inline constexpr int32_t kFrameDuration = 100;

// What a rate code outside a lookup's range stands for.
inline constexpr quicktime::TimeCodeDef kFallbackDefinition{1, 2997, kFrameDuration, 30, 0};

inline constexpr quicktime::TimeCodeDef definitionOf(const MovieRateRow& row) {
  return quicktime::TimeCodeDef{row.flags, row.timeScale, kFrameDuration, row.numFrames, 0};
}

}  // namespace qrl::timecode_tables

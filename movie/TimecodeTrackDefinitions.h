#pragma once

#include <cstdint>

#include "platform/quicktime/TimeCode.h"
#include "timecode/FrameRateCatalogue.h"
#include "timecode/QRLVideoFrameRate.h"

// The timecode definitions the timecode-track classes build from the frame-rate catalogue.
// Each class keeps its own entry points and its own differences over these.
namespace qrl::timecode_track {

// Every definition this code writes counts frames in units of 1/100 frame.
inline constexpr int32_t kFrameDuration = 100;

// The definition a movie rate definition stands for; outside 100-113 that of 107 (unknown):
// drop-frame flagged, time scale 2997, 30 frames.
inline constexpr quicktime::TimeCodeDef definitionOf(QRLMovieRateDefinition rate) {
  const auto& row = frame_rate_catalogue::movieRateRow(rate);
  return quicktime::TimeCodeDef{row.timecodeFlags, row.timecodeScale, kFrameDuration,
                                row.timecodeFrames, 0};
}

// Frames per second a timecode counts at the code: the catalogue counts interlaced codes in
// fields, so they are halved. 0 outside the catalogue.
inline constexpr uint8_t frameCountOf(QRLVideoFrameRate rate) {
  const auto* row = frame_rate_catalogue::videoFrameRateRow(rate);
  if (row == nullptr)
    return 0;
  return row->isInterlaced ? static_cast<uint8_t>(row->timecodeFrames >> 1) : row->timecodeFrames;
}

// The definition of a video frame-rate code at the time scale the asking class answers for
// it: drop-frame flag from the code, never the 24-hour flag.
inline constexpr quicktime::TimeCodeDef definitionOf(QRLVideoFrameRate rate, int32_t timeScale) {
  const auto* row = frame_rate_catalogue::videoFrameRateRow(rate);
  int32_t flags = row != nullptr && row->isDropFrame ? quicktime::TimeCodeDef::kDropFrame : 0;
  return quicktime::TimeCodeDef{flags, timeScale, kFrameDuration, frameCountOf(rate), 0};
}

}  // namespace qrl::timecode_track

#pragma once

#include <string_view>

#include "timecode/QRLVideoFrameRate.h"

namespace qrl {

// The timecode engine's defaults as the records use them: a fresh non-drop-frame
// timecode and the 30 fps rate code.
inline constexpr std::string_view kDefaultTimecode = "00:00:00:00";
inline constexpr QRLVideoFrameRate kDefaultVideoFrameRate = QRLVideoFrameRate30;

}  // namespace qrl

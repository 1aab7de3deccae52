#pragma once

#include <optional>
#include <string_view>

#include "timecode/QRLVideoFrameRate.h"

namespace qrl::app {

// The frame-rate code a person means by a name on the command line: "24",
// "23.976", "pal"/"25", "25p", "50i", "29.97", "30", "59.94i", "50p", "60p"/"60"
// (any case). Nothing for other text.
std::optional<QRLVideoFrameRate> videoFrameRateFromName(std::string_view name);

// The names above, for help texts.
inline constexpr std::string_view kFrameRateNames =
    "24, 23.976, pal (25), 25p, 50i, 29.97, 30, 59.94i, 50p, 60p (60)";

}  // namespace qrl::app

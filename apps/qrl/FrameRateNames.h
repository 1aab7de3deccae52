#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "timecode/QRLVideoFrameRate.h"

namespace qrl::app {

// The frame-rate code a person means by a name on the command line: a code's short name
// ("24", "23.976", "pal", "25p", "50i", "29.97", "30", "59.94i", "50p", "60p") or one of
// the shorthands "25" (pal) and "60" (60p), in any case. Nothing for other text.
std::optional<QRLVideoFrameRate> videoFrameRateFromName(std::string_view name);

// The names above for help texts: "24, 23.976, pal (25), 25p, ..., 60p (60)".
std::string frameRateNames();

}  // namespace qrl::app

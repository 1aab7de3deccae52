#pragma once

#include <string_view>

namespace qrl {

// Keys of the timecode attribute records' dictionary and archive forms. Each
// constant's value is its own name, except the four font-colour components.
inline constexpr std::string_view QRLQTOverlayStartTimecodeAttribute =
    "QRLQTOverlayStartTimecodeAttribute";
inline constexpr std::string_view QRLQTOverlayVideoFrameRateAttribute =
    "QRLQTOverlayVideoFrameRateAttribute";
inline constexpr std::string_view QRLQTOverlayFontSizeAttribute = "QRLQTOverlayFontSizeAttribute";
inline constexpr std::string_view QRLQTOverlayBurnOriginAttribute =
    "QRLQTOverlayBurnOriginAttribute";
inline constexpr std::string_view QRLQTOverlayBurnFontRedColorAttribute = "redFontColor";
inline constexpr std::string_view QRLQTOverlayBurnFontGreenColorAttribute = "greenFontColor";
inline constexpr std::string_view QRLQTOverlayBurnFontBlueColorAttribute = "blueFontColor";
inline constexpr std::string_view QRLQTOverlayBurnFontAlphaColorAttribute = "alphaLevel";
// Archive only: the whole colour objects.
inline constexpr std::string_view QRLQTOverlayBurnFontColorAttribute =
    "QRLQTOverlayBurnFontColorAttribute";
inline constexpr std::string_view QRLQTOverlayBurnLetterBoxFontColorAttribute =
    "QRLQTOverlayBurnLetterBoxFontColorAttribute";
inline constexpr std::string_view QRLQTOverlayTrackVisibleAttribute =
    "QRLQTOverlayTrackVisibleAttribute";

}  // namespace qrl

#include "apps/qrl/FrameRateNames.h"

#include <algorithm>
#include <cctype>

#include "timecode/FrameRateCatalogue.h"

namespace qrl::app {
namespace {

namespace catalogue = frame_rate_catalogue;

struct Shorthand {
  std::string_view name;
  QRLVideoFrameRate code;
};

constexpr Shorthand kShorthands[] = {{"25", QRLVideoFrameRatePAL}, {"60", QRLVideoFrameRate60p}};

std::string lowercase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

}  // namespace

std::optional<QRLVideoFrameRate> videoFrameRateFromName(std::string_view name) {
  const std::string lower = lowercase(name);
  for (const auto& row : catalogue::kVideoFrameRates) {
    if (lowercase(row.name) == lower)
      return static_cast<QRLVideoFrameRate>(row.code);
  }
  for (const auto& shorthand : kShorthands) {
    if (shorthand.name == lower)
      return shorthand.code;
  }
  return std::nullopt;
}

std::string frameRateNames() {
  std::string names;
  for (const auto& row : catalogue::kVideoFrameRates) {
    if (!names.empty())
      names += ", ";
    names += lowercase(row.name);
    for (const auto& shorthand : kShorthands) {
      if (shorthand.code == row.code)
        names += " (" + std::string(shorthand.name) + ")";
    }
  }
  return names;
}

}  // namespace qrl::app

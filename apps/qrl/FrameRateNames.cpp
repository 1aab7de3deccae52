#include "apps/qrl/FrameRateNames.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace qrl::app {
namespace {

struct NamedRate {
  std::string_view name;
  QRLVideoFrameRate code;
};

constexpr NamedRate kNamedRates[] = {
    {"24", QRLVideoFrameRate24},         {"23.976", QRLVideoFrameRate23_976},
    {"pal", QRLVideoFrameRatePAL},       {"25", QRLVideoFrameRatePAL},
    {"25p", QRLVideoFrameRate25p},       {"50i", QRLVideoFrameRate50i},
    {"29.97", QRLVideoFrameRate29_97},   {"30", QRLVideoFrameRate30},
    {"59.94i", QRLVideoFrameRate59_94i}, {"50p", QRLVideoFrameRate50p},
    {"60p", QRLVideoFrameRate60p},       {"60", QRLVideoFrameRate60p},
};

}  // namespace

std::optional<QRLVideoFrameRate> videoFrameRateFromName(std::string_view name) {
  std::string lower(name);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (const auto& named : kNamedRates) {
    if (named.name == lower)
      return named.code;
  }
  return std::nullopt;
}

}  // namespace qrl::app

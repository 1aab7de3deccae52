#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

namespace qrl::settings {

// The compression presets shipped with the program. "Large.txt" holds the
// settings used where a preset carries none: H.264 at 1280 × 720 (high
// quality, the source's frame rate, a key frame at least every 30 frames,
// no data-rate limit) with AAC sound, 48 kHz, 16 bits, stereo; as
// hexadecimal text (see SettingsFile).
class SettingsPresets {
 public:
  static constexpr std::string_view kLarge = "Large.txt";

  // The folders searched, first match wins: $QRL_PRESET_DIR when set;
  // share/qrl/presets beside the program's own bin folder (an installed
  // tree, wherever it was moved); the configured install prefix's; the
  // source tree's settings/presets (a build that was not installed).
  static std::vector<std::filesystem::path> searchPath();

  // The first file of that name in the search path. Throws an IO Exception
  // naming the folders searched when there is none.
  static std::filesystem::path find(std::string_view name);

  // The container bytes of "Large.txt".
  static std::vector<uint8_t> largeSettings();
};

}  // namespace qrl::settings

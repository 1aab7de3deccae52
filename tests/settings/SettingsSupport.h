#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

#include "platform/quicktime/AtomContainer.h"
#include "platform/quicktime/FourCC.h"
#include "settings/SettingsFile.h"

namespace qrl::settings::testing {

using Bytes = std::vector<uint8_t>;

inline std::filesystem::path dataDir() {
  const char* source = std::getenv("QRL_SOURCE_DIR");
  return std::filesystem::path(source != nullptr ? source : ".") / "tests/settings/data";
}

// The containers made by the original platform's software.
inline std::vector<std::string> judgedFiles() {
  return {"harmony-moov-png-3840x2160-nosound.qtatoms",
          "harmony-moov-avdn.qtatoms",
          "harmony-moov-avdn-earlier.qtatoms",
          "harmony-moov-rle-openharmony.qtatoms",
          "harmony-moov-rle-birdo.qtatoms",
          "rmov-moov-rle-settings.st",
          "nuke-sc-avdn.qtatoms",
          "nuke-sc-avc1.qtatoms"};
}

inline quicktime::AtomContainer judged(const std::string& name) {
  return quicktime::AtomContainer::read(SettingsFile::read(dataDir() / name));
}

// A four-character code from its text.
inline uint32_t code(const char* text) {
  uint32_t v = 0;
  for (int i = 0; i < 4; ++i)
    v = (v << 8) | static_cast<uint8_t>(text[i]);
  return v;
}

// A leaf to add under a section: its type and its data as stored.
struct Leaf {
  const char* type;
  Bytes data;
};

// A container with one section per entry, in order (a type, then its
// leaves); the section "" puts its leaves at the root.
inline quicktime::AtomContainer build(
    std::initializer_list<std::pair<const char*, std::vector<Leaf>>> sections) {
  quicktime::AtomContainer c;
  for (const auto& [section, leaves] : sections) {
    quicktime::QTAtom parent = quicktime::kParentAtomIsContainer;
    if (*section != '\0')
      parent = c.insertChild(parent, code(section), 0, 0);
    // Children go inside the section, which is last at the root: it does not move.
    for (const auto& leaf : leaves)
      c.insertChild(parent, code(leaf.type), 0, 0, leaf.data);
  }
  return c;
}

}  // namespace qrl::settings::testing

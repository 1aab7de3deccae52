#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "platform/quicktime/FullAtom.h"

namespace qrl::quicktime {

// 'vmhd': how a video track is drawn over the tracks behind it (QuickTime's
// graphics mode, with the operation colour the blend and transparent modes use).
class VideoMediaInfoAtom : public FullAtom {
 public:
  static constexpr uint32_t kType = 0x766d6864;  // vmhd
  static constexpr uint16_t kCopy = 0x0000;
  static constexpr uint16_t kDitherCopy = 0x0040;
  static constexpr uint16_t kStraightAlpha = 0x0100;

  // Flags 1 ("no lean ahead") is what every writer sets.
  VideoMediaInfoAtom() : FullAtom(kType, 0, 1) {}
  static std::unique_ptr<VideoMediaInfoAtom> parse(ByteReader& in);

  uint16_t graphicsMode() const { return graphicsMode_; }
  const std::array<uint16_t, 3>& opColor() const { return opColor_; }
  void setGraphicsMode(uint16_t mode, const std::array<uint16_t, 3>& opColor) {
    graphicsMode_ = mode;
    opColor_ = opColor;
  }

 protected:
  uint64_t fieldsSize() const override { return 8; }
  void writeFields(ByteWriter& out) const override {
    out.u16(graphicsMode_);
    for (uint16_t c : opColor_)
      out.u16(c);
  }

 private:
  uint16_t graphicsMode_ = kDitherCopy;
  std::array<uint16_t, 3> opColor_{0x8000, 0x8000, 0x8000};
};

}  // namespace qrl::quicktime

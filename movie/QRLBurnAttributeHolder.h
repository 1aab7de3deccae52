#pragma once

#include <cstdint>
#include <optional>

#include "platform/graphics/Color.h"

namespace qrl {

// What the parent application's burn attribute holder answers through
// `embeddedTimecodeOverlay`: the box and style of a timecode overlay.
struct QRLEmbeddedTimecodeOverlay {
  int32_t xCoordinate = 0;
  int32_t yCoordinate = 0;
  int32_t width = 0;
  int32_t height = 0;
  bool includeBackgroundColor = false;
  std::optional<graphics::Color> backgroundColor;
  std::optional<graphics::Color> textColor;
  int32_t fontSize = 0;
};

struct QRLBurnAttributeHolder {
  QRLEmbeddedTimecodeOverlay embeddedTimecodeOverlay;
};

}  // namespace qrl

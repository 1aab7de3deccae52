#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/graphics/Color.h"

namespace qrl {

// A text overlay as the parent application describes one; only these
// accessors are relied on. Coordinates are movie pixels from the lower left.
struct QRLTextOverlay {
  std::optional<std::string> text;
  int32_t xCoordinate = 0;
  int32_t yCoordinate = 0;
  bool includeBackgroundColor = false;
  std::optional<graphics::Color> backgroundColor;
  std::optional<graphics::Color> textColor;
  int32_t fontSize = 0;
};

}  // namespace qrl

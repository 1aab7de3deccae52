#pragma once

#include "platform/graphics/Point.h"
#include "platform/graphics/Size.h"

namespace qrl::graphics {

// A rectangle in drawing coordinates: origin is its lower-left corner.
struct Rect {
  Point origin;
  Size size;

  constexpr bool isEmpty() const { return !(size.width > 0) || !(size.height > 0); }

  friend constexpr bool operator==(const Rect&, const Rect&) = default;
};

}  // namespace qrl::graphics

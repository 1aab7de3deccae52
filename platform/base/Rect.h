#pragma once

#include "platform/base/Point.h"
#include "platform/base/Size.h"

namespace qrl {

// A rectangle in movie pixels: origin is its lower-left corner.
struct Rect {
  Point origin;
  Size size;

  constexpr bool isEmpty() const { return !(size.width > 0) || !(size.height > 0); }

  friend constexpr bool operator==(const Rect&, const Rect&) = default;
};

}  // namespace qrl

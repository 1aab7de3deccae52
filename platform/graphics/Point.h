#pragma once

namespace qrl::graphics {

// A position in an image's drawing coordinates: pixels, origin at the lower
// left, y growing upwards (the convention of the desktop drawing kit).
struct Point {
  float x = 0;
  float y = 0;

  friend constexpr bool operator==(const Point&, const Point&) = default;
};

}  // namespace qrl::graphics

#pragma once

namespace qrl {

// A position in movie pixels, in 32-bit floats as the drawing layer and the
// archives keep them. Drawing puts the origin at the lower left with y
// growing upwards (the convention of the desktop drawing kit).
struct Point {
  float x = 0;
  float y = 0;

  friend constexpr bool operator==(const Point&, const Point&) = default;
};

}  // namespace qrl

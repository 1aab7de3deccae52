#pragma once

namespace qrl {

// A width and height in movie pixels; fractions are allowed, as callers pass them.
struct Size {
  float width = 0;
  float height = 0;

  friend constexpr bool operator==(const Size&, const Size&) = default;
};

}  // namespace qrl

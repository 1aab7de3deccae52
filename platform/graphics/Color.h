#pragma once

namespace qrl::graphics {

// A calibrated RGB colour with straight (not premultiplied) components in
// 0..1. Out-of-range components are clamped where the colour is used.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  static constexpr Color colorWithCalibratedRed(double red, double green, double blue,
                                                double alpha) {
    return {red, green, blue, alpha};
  }
  static constexpr Color clearColor() { return {0, 0, 0, 0}; }
  static constexpr Color blackColor() { return {0, 0, 0, 1}; }
  static constexpr Color whiteColor() { return {1, 1, 1, 1}; }

  friend constexpr bool operator==(const Color&, const Color&) = default;
};

}  // namespace qrl::graphics

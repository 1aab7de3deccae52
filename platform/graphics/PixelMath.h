#pragma once

// Private to the graphics library: component arithmetic shared by the image,
// the encoders and the decoder.

#include <cstdint>

namespace qrl::graphics::detail {

constexpr uint32_t packPixel(uint32_t a, uint32_t r, uint32_t g, uint32_t b) {
  return (a << 24) | (r << 16) | (g << 8) | b;
}
constexpr uint8_t alphaOf(uint32_t p) {
  return static_cast<uint8_t>(p >> 24);
}
constexpr uint8_t redOf(uint32_t p) {
  return static_cast<uint8_t>(p >> 16);
}
constexpr uint8_t greenOf(uint32_t p) {
  return static_cast<uint8_t>(p >> 8);
}
constexpr uint8_t blueOf(uint32_t p) {
  return static_cast<uint8_t>(p);
}

// c * a / 255, rounded as cairo and pixman round.
constexpr uint8_t premultiplyComponent(uint32_t c, uint32_t a) {
  const uint32_t t = c * a + 0x80;
  return static_cast<uint8_t>((t + (t >> 8)) >> 8);
}

// The inverse, rounded to nearest and clamped: a premultiplied component can
// exceed its alpha only in a malformed pixel.
constexpr uint8_t unpremultiplyComponent(uint32_t c, uint32_t a) {
  if (a == 0)
    return 0;
  const uint32_t v = (c * 255 + a / 2) / a;
  return static_cast<uint8_t>(v > 255 ? 255 : v);
}

constexpr uint32_t premultiplyPixel(uint32_t p) {
  const uint32_t a = alphaOf(p);
  if (a == 255)
    return p;
  if (a == 0)
    return 0;
  return packPixel(a, premultiplyComponent(redOf(p), a), premultiplyComponent(greenOf(p), a),
                   premultiplyComponent(blueOf(p), a));
}

constexpr uint32_t unpremultiplyPixel(uint32_t p) {
  const uint32_t a = alphaOf(p);
  if (a == 255)
    return p;
  if (a == 0)
    return 0;
  return packPixel(a, unpremultiplyComponent(redOf(p), a), unpremultiplyComponent(greenOf(p), a),
                   unpremultiplyComponent(blueOf(p), a));
}

}  // namespace qrl::graphics::detail

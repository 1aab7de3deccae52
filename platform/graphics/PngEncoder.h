#pragma once

#include <cstdint>
#include <vector>

#include "platform/graphics/Image.h"

namespace qrl::graphics {

// Writes an image as a PNG file in memory, for people to look at. A straight
// image is premultiplied on the way (cairo's PNG writer takes that form), so
// colours of partly transparent pixels may move by a step.
class PngEncoder {
 public:
  // Throws qrl::Exception (Range) for an empty image, (IO) when cairo fails.
  static std::vector<uint8_t> encode(const Image& image);
};

}  // namespace qrl::graphics

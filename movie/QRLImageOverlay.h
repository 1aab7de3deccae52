#pragma once

#include <cstdint>
#include <vector>

namespace qrl {

// An image overlay as the parent application describes one: the picture as
// image-file data (PNG, JPEG, TIFF...), drawn at the size with its lower-left
// corner at the coordinates (movie pixels from the lower left).
struct QRLImageOverlay {
  std::vector<uint8_t> watermarkImage;
  int32_t xCoordinate = 0;
  int32_t yCoordinate = 0;
  int32_t width = 0;
  int32_t height = 0;
};

}  // namespace qrl

#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/graphics/Image.h"

namespace qrl::graphics {

// Decodes image-file data held in memory (PNG, JPEG, TIFF, BMP, GIF and
// whatever else FFmpeg recognises; the first frame of anything animated) into
// a straight-alpha image. Images without alpha come out opaque.
class ImageDecoder {
 public:
  // Larger pictures are refused rather than allocated.
  static constexpr int64_t kMaximumPixels = int64_t{8192} * 8192;

  // Throws qrl::Exception (Parse) when the data is not a decodable image, or
  // (Range) when the picture is too large.
  static Image decode(std::span<const uint8_t> data);

  // The same, with no value instead of an exception.
  static std::optional<Image> tryDecode(std::span<const uint8_t> data);
};

}  // namespace qrl::graphics

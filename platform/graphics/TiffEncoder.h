#pragma once

#include <cstdint>
#include <vector>

#include "platform/graphics/Image.h"

namespace qrl::graphics {

enum class TiffCompression { None, PackBits, LZW, Deflate };

struct TiffOptions {
  TiffCompression compression = TiffCompression::Deflate;
  // Smaller strips let a line of text cost less; each empty strip still costs
  // its compressed bytes (about 80 for 8 rows of 1920 pixels with Deflate).
  int rowsPerStrip = 16;
  // zlib level 1..9 for Deflate strips that zlib compresses: the empty-strip
  // bytes, and drawn strips of images wider than 8192 pixels (narrower ones
  // use a faster writer of our own made for sparse rows).
  int deflateLevel = 6;
};

// Writes an image as an RGBA TIFF in memory: 8 bits per sample, one extra
// sample marked unassociated (straight) alpha, strips top first. Strips
// outside the image's content box are written from compressed bytes computed
// once per width, strip height and compression, so a mostly transparent frame
// costs little more than its drawn strips.
class TiffEncoder {
 public:
  // Throws qrl::Exception (Range) for an empty image or bad options, (IO)
  // when libtiff fails.
  static std::vector<uint8_t> encode(const Image& image, const TiffOptions& options = {});
};

}  // namespace qrl::graphics

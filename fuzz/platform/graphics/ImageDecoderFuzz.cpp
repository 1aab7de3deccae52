// Arbitrary bytes through the image decoder; whatever decodes is written back
// as TIFF and PNG, so odd sizes and pixel formats reach the encoders too.
#include <cstddef>
#include <cstdint>
#include <span>

extern "C" {
#include <libavutil/log.h>
}

#include "platform/graphics/ImageDecoder.h"
#include "platform/graphics/PngEncoder.h"
#include "platform/graphics/TiffEncoder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  av_log_set_level(AV_LOG_QUIET);
  auto image = qrl::graphics::ImageDecoder::tryDecode(std::span<const uint8_t>(data, size));
  if (image && static_cast<int64_t>(image->width()) * image->height() <= 1 << 20) {
    qrl::graphics::TiffEncoder::encode(*image, {qrl::graphics::TiffCompression::Deflate, 8, 1});
    qrl::graphics::PngEncoder::encode(*image);
  }
  return 0;
}

#include "platform/graphics/PngEncoder.h"

#include <optional>
#include <string>

#include "platform/base/Exception.h"
#include "platform/graphics/CairoCanvas.h"

namespace qrl::graphics {

namespace {

cairo_status_t append(void* closure, const unsigned char* data, unsigned int length) {
  auto* out = static_cast<std::vector<uint8_t>*>(closure);
  out->insert(out->end(), data, data + length);
  return CAIRO_STATUS_SUCCESS;
}

}  // namespace

std::vector<uint8_t> PngEncoder::encode(const Image& image) {
  if (image.width() == 0 || image.height() == 0) {
    throw Exception::range("cannot write an empty image as PNG");
  }
  std::optional<Image> converted;
  const Image* premultiplied = &image;
  if (image.alphaMode() != AlphaMode::Premultiplied) {
    converted = image.copy();
    converted->convertTo(AlphaMode::Premultiplied);
    premultiplied = &*converted;
  }
  std::vector<uint8_t> out;
  cairo_surface_t* surface = detail::surfaceForReading(*premultiplied);
  const cairo_status_t status = cairo_surface_write_to_png_stream(surface, &append, &out);
  cairo_surface_destroy(surface);
  if (status != CAIRO_STATUS_SUCCESS) {
    throw Exception::io(std::string("cannot write PNG: ") + cairo_status_to_string(status));
  }
  return out;
}

}  // namespace qrl::graphics

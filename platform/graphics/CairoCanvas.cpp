#include "platform/graphics/CairoCanvas.h"

#include <string>

#include "platform/base/Exception.h"

namespace qrl::graphics::detail {

namespace {

cairo_surface_t* wrap(uint32_t* pixels, int width, int height) {
  cairo_surface_t* surface = cairo_image_surface_create_for_data(
      reinterpret_cast<unsigned char*>(pixels), CAIRO_FORMAT_ARGB32, width, height, width * 4);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    const std::string reason = cairo_status_to_string(cairo_surface_status(surface));
    cairo_surface_destroy(surface);
    throw Exception::internal("cannot draw into a " + std::to_string(width) + "x" +
                              std::to_string(height) + " image: " + reason);
  }
  return surface;
}

}  // namespace

namespace {

uint32_t* premultipliedPixels(Image& image) {
  image.convertTo(AlphaMode::Premultiplied);
  return image.mutablePixels();
}

}  // namespace

CairoCanvas::CairoCanvas(Image& image)
    : surface_(wrap(premultipliedPixels(image), image.width(), image.height())),
      cr_(cairo_create(surface_)) {}

CairoCanvas::~CairoCanvas() {
  cairo_destroy(cr_);
  // Flush so that the pixels are final before the image is read again.
  cairo_surface_flush(surface_);
  cairo_surface_destroy(surface_);
}

void CairoCanvas::clipTo(const PixelBox& box) {
  cairo_rectangle(cr_, box.column, box.row, box.columns, box.rows);
  cairo_clip(cr_);
}

cairo_surface_t* surfaceForReading(const Image& image) {
  // Cairo wants a mutable pointer but only reads a source surface.
  return wrap(const_cast<uint32_t*>(image.pixels()), image.width(), image.height());
}

}  // namespace qrl::graphics::detail

#pragma once

// Private to the graphics library: a cairo context drawing straight into an
// Image's pixels, in memory coordinates (y down).

#include <cairo.h>

#include "platform/graphics/Image.h"

namespace qrl::graphics::detail {

class CairoCanvas {
 public:
  // Converts the image to premultiplied. Throws qrl::Exception when cairo
  // cannot wrap it.
  explicit CairoCanvas(Image& image);
  CairoCanvas(const CairoCanvas&) = delete;
  CairoCanvas& operator=(const CairoCanvas&) = delete;
  ~CairoCanvas();

  cairo_t* context() const { return cr_; }

  // Restricts all further drawing to the box.
  void clipTo(const PixelBox& box);

 private:
  cairo_surface_t* surface_ = nullptr;
  cairo_t* cr_ = nullptr;
};

// A cairo image surface over an image's pixels for reading (a source or a
// PNG). The image must be premultiplied and outlive the surface.
cairo_surface_t* surfaceForReading(const Image& image);

}  // namespace qrl::graphics::detail

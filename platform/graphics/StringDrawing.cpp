#include "platform/graphics/StringDrawing.h"

#include <algorithm>
#include <cmath>

#include "platform/graphics/CairoCanvas.h"
#include "platform/graphics/PangoText.h"

namespace qrl::graphics {

namespace {

double clamp01(double v) {
  return std::isnan(v) ? 0.0 : std::clamp(v, 0.0, 1.0);
}

void setColor(cairo_t* cr, const Color& color) {
  cairo_set_source_rgba(cr, clamp01(color.red), clamp01(color.green), clamp01(color.blue),
                        clamp01(color.alpha));
}

}  // namespace

Size StringDrawing::sizeWithAttributes(std::string_view text, const StringAttributes& attributes) {
  PangoLayout* layout = detail::layoutFor(text, attributes.font);
  PangoRectangle logical;
  pango_layout_get_extents(layout, nullptr, &logical);
  return {static_cast<float>(logical.width) / PANGO_SCALE,
          static_cast<float>(logical.height) / PANGO_SCALE};
}

void StringDrawing::drawAtPoint(std::string_view text, Image& image, const Point& atPoint,
                                const StringAttributes& attributes) {
  PangoLayout* layout = detail::layoutFor(text, attributes.font);
  if (text.empty() || image.width() == 0 || image.height() == 0)
    return;
  PangoRectangle ink;
  PangoRectangle logical;
  pango_layout_get_extents(layout, &ink, &logical);
  const double logicalX = static_cast<double>(logical.x) / PANGO_SCALE;
  const double logicalY = static_cast<double>(logical.y) / PANGO_SCALE;
  const double logicalWidth = static_cast<double>(logical.width) / PANGO_SCALE;
  const double logicalHeight = static_cast<double>(logical.height) / PANGO_SCALE;

  // The layout's own origin in memory coordinates, placing the line box's
  // lower-left corner at the point.
  const double originX = atPoint.x - logicalX;
  const double originY = static_cast<double>(image.height()) - atPoint.y - logicalHeight - logicalY;

  // What may change: the ink, plus the line box under a background; a couple
  // of pixels of slack for antialiasing. Drawing is clipped to it so that the
  // image's content box stays exact.
  constexpr double kSlack = 2;
  auto boxOf = [&](const PangoRectangle& r) {
    const double left = originX + static_cast<double>(r.x) / PANGO_SCALE - kSlack;
    const double top = originY + static_cast<double>(r.y) / PANGO_SCALE - kSlack;
    const double width = static_cast<double>(r.width) / PANGO_SCALE + 2 * kSlack;
    const double height = static_cast<double>(r.height) / PANGO_SCALE + 2 * kSlack;
    // Back into drawing coordinates for pixelBoxOf.
    return image.pixelBoxOf(
        Rect{{static_cast<float>(left), static_cast<float>(image.height() - top - height)},
             {static_cast<float>(width), static_cast<float>(height)}});
  };
  PixelBox box = boxOf(ink);
  const bool withBackground = attributes.backgroundColor && attributes.backgroundColor->alpha > 0;
  if (withBackground)
    box = box.united(boxOf(logical));
  if (box.isEmpty())
    return;

  {
    detail::CairoCanvas canvas(image);
    cairo_t* cr = canvas.context();
    canvas.clipTo(box);
    if (withBackground) {
      setColor(cr, *attributes.backgroundColor);
      cairo_rectangle(cr, originX + logicalX, originY + logicalY, logicalWidth, logicalHeight);
      cairo_fill(cr);
    }
    setColor(cr, attributes.foregroundColor);
    cairo_move_to(cr, originX, originY);
    pango_cairo_show_layout(cr, layout);
  }
  image.noteDrawn(box);
}

}  // namespace qrl::graphics

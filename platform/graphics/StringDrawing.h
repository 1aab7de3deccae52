#pragma once

#include <string_view>

#include "platform/base/Point.h"
#include "platform/base/Size.h"
#include "platform/graphics/Image.h"
#include "platform/graphics/StringAttributes.h"

namespace qrl::graphics {

// Drawing and measuring one line of UTF-8 text with Pango. Layout objects are
// cached per thread, so these may be called from any thread, one image per
// thread at a time.
class StringDrawing {
 public:
  // The size of the text's line box: the advance width and the line height
  // (ascent plus descent) of the font. Empty text has width 0.
  static Size sizeWithAttributes(std::string_view text, const StringAttributes& attributes);

  // Draws the text with the line box's lower-left corner at `atPoint` (drawing
  // coordinates). Pixels outside the glyphs and, when a background colour is
  // given, outside the line box, are left as they were. Invalid UTF-8 is
  // drawn with replacement characters.
  static void drawAtPoint(std::string_view text, Image& image, const Point& atPoint,
                          const StringAttributes& attributes);
};

}  // namespace qrl::graphics

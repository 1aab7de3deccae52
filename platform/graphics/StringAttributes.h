#pragma once

#include <optional>

#include "platform/graphics/Color.h"
#include "platform/graphics/Font.h"

namespace qrl::graphics {

// How a string is drawn: its font, its colour, and optionally a colour
// painted behind the run of text (the line's full height, the text's width).
struct StringAttributes {
  Font font;
  Color foregroundColor = Color::blackColor();
  std::optional<Color> backgroundColor;
};

}  // namespace qrl::graphics

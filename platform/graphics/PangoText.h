#pragma once

// Private to the graphics library: the per-thread Pango state behind Font and
// StringDrawing.

#include <pango/pangocairo.h>

#include <string_view>

#include "platform/graphics/Font.h"

namespace qrl::graphics::detail {

// The thread's layout, holding `text` (made valid UTF-8) in `font`. Owned by
// the thread; valid until the next call on the same thread. Throws
// qrl::Exception (Range) for a font size that is not a positive number up to
// 10,000.
PangoLayout* layoutFor(std::string_view text, const Font& font);

// The thread's Pango context (font options fixed for drawing into images).
PangoContext* threadContext();

// A font description for the font; owned by the thread's cache.
const PangoFontDescription* descriptionFor(const Font& font);

}  // namespace qrl::graphics::detail

#include "platform/graphics/Font.h"

#include "platform/graphics/PangoText.h"

namespace qrl::graphics {

std::string Font::resolvedFamily() const {
  PangoFont* loaded =
      pango_context_load_font(detail::threadContext(), detail::descriptionFor(*this));
  if (loaded == nullptr)
    return {};
  PangoFontDescription* described = pango_font_describe(loaded);
  const char* family = pango_font_description_get_family(described);
  std::string result = family != nullptr ? family : "";
  pango_font_description_free(described);
  g_object_unref(loaded);
  return result;
}

}  // namespace qrl::graphics

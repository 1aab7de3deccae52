#include "platform/graphics/PangoText.h"

#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "platform/base/Exception.h"

// Fontconfig keeps its configuration and font patterns for the life of the
// process and frees them only in FcFini, which nothing may call while Pango
// is in use; LeakSanitizer would report them at exit in every program that
// draws text. The hook is weak in the sanitizer runtime; one definition per
// program, so this is the only place that may define it.
#if defined(__SANITIZE_ADDRESS__)
#define QRL_GRAPHICS_LSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QRL_GRAPHICS_LSAN 1
#endif
#endif
#ifdef QRL_GRAPHICS_LSAN
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig.so\n";
}
#endif

namespace qrl::graphics::detail {

namespace {

struct GObjectUnref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
struct DescriptionFree {
  void operator()(PangoFontDescription* d) const { pango_font_description_free(d); }
};

struct ThreadState {
  std::unique_ptr<PangoContext, GObjectUnref> context;
  std::unique_ptr<PangoLayout, GObjectUnref> layout;
  std::map<std::pair<std::string, double>, std::unique_ptr<PangoFontDescription, DescriptionFree>>
      descriptions;
  const PangoFontDescription* layoutDescription = nullptr;

  ThreadState() {
    // The default font map is per thread.
    context.reset(pango_font_map_create_context(pango_cairo_font_map_get_default()));
    cairo_font_options_t* options = cairo_font_options_create();
    // Grey antialiasing: subpixel colour fringes would make no sense over video.
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_ON);
    pango_cairo_context_set_font_options(context.get(), options);
    cairo_font_options_destroy(options);
    layout.reset(pango_layout_new(context.get()));
  }
};

ThreadState& state() {
  thread_local ThreadState threadState;
  return threadState;
}

}  // namespace

PangoContext* threadContext() {
  return state().context.get();
}

const PangoFontDescription* descriptionFor(const Font& font) {
  const double size = font.size();
  if (!std::isfinite(size) || size <= 0 || size > 10000) {
    throw Exception::range("font size " + std::to_string(size) + " of \"" + font.name() +
                           "\" is not within 0..10000");
  }
  auto& cache = state().descriptions;
  auto key = std::make_pair(font.name(), size);
  auto found = cache.find(key);
  if (found != cache.end())
    return found->second.get();
  std::unique_ptr<PangoFontDescription, DescriptionFree> description(pango_font_description_new());
  pango_font_description_set_family(description.get(), font.name().c_str());
  pango_font_description_set_absolute_size(description.get(), size * PANGO_SCALE);
  // Bound the cache: a long-running service sees few fonts, but never grow
  // without limit on odd input.
  if (cache.size() >= 64) {
    if (state().layoutDescription != nullptr) {
      pango_layout_set_font_description(state().layout.get(), nullptr);
      state().layoutDescription = nullptr;
    }
    cache.clear();
  }
  return cache.emplace(std::move(key), std::move(description)).first->second.get();
}

PangoLayout* layoutFor(std::string_view text, const Font& font) {
  const PangoFontDescription* description = descriptionFor(font);
  ThreadState& s = state();
  if (s.layoutDescription != description) {
    pango_layout_set_font_description(s.layout.get(), description);
    s.layoutDescription = description;
  }
  std::unique_ptr<gchar, decltype(&g_free)> valid(
      g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), &g_free);
  pango_layout_set_text(s.layout.get(), valid.get(), -1);
  return s.layout.get();
}

}  // namespace qrl::graphics::detail

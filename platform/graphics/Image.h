#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/base/Rect.h"
#include "platform/graphics/Color.h"
#include "platform/graphics/PixelBox.h"

namespace qrl::graphics {

// Whether an image's colour components are already multiplied by its alpha.
// Drawing works premultiplied; decoded files and TIFF output are straight.
enum class AlphaMode { Straight, Premultiplied };

// One pixel as four 8-bit components.
struct Rgba8 {
  uint8_t red = 0;
  uint8_t green = 0;
  uint8_t blue = 0;
  uint8_t alpha = 0;

  friend constexpr bool operator==(const Rgba8&, const Rgba8&) = default;
};

// How a drawn colour or image meets what is already there.
enum class CompositingOperation {
  Copy,        // replaces the destination pixels
  SourceOver,  // blends over them by the source's alpha
};

namespace detail {
// Frees an image's pixel buffer the way it was allocated (by its size).
struct PixelsDeleter {
  size_t bytes = 0;
  void operator()(uint32_t* pixels) const;
};
}  // namespace detail

// An RGBA raster that owns its pixels (one owner; copy() makes a new one).
//
// Pixels are native-endian 32-bit words 0xAARRGGBB, rows top first, no padding
// (the layout cairo draws into). alphaMode() says whether the colour is
// premultiplied. Drawing calls take drawing coordinates (origin lower left);
// pixelAt() and PixelBox use memory order (row 0 at the top).
//
// The image keeps a content box: every pixel outside it is fully transparent
// (zero). Drawing grows it, clear() empties it, so that encoders and clear()
// only pay for the area that was drawn.
class Image {
 public:
  // Cairo cannot draw into anything wider or taller.
  static constexpr int kMaximumDimension = 32767;

  // A fully transparent image; either dimension may be 0. Throws
  // qrl::Exception (Range) for a negative or too large dimension.
  Image(int width, int height, AlphaMode mode = AlphaMode::Premultiplied);

  // An image from 8-bit R, G, B, A samples, rows top first, whose colours are
  // in the given mode. Throws qrl::Exception (Range) when the byte count is
  // not width * height * 4.
  static Image fromRGBA(int width, int height, std::span<const uint8_t> rgba, AlphaMode mode);

  Image(Image&& other) noexcept;
  Image& operator=(Image&& other) noexcept;
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image();

  Image copy() const;

  int width() const { return width_; }
  int height() const { return height_; }
  Size size() const { return {static_cast<float>(width_), static_cast<float>(height_)}; }
  AlphaMode alphaMode() const { return mode_; }
  PixelBox contentBounds() const { return content_; }

  // Rewrites the pixels in the other mode. Premultiplying loses colour
  // precision in partly transparent pixels; going back cannot restore it.
  void convertTo(AlphaMode mode);

  // The pixel with straight components, whatever the image's mode. Throws
  // qrl::Exception (Range) outside the image.
  Rgba8 pixelAt(int column, int row) const;

  // One row as R, G, B, A bytes in the requested mode; `out` holds at least
  // width() * 4 bytes.
  void copyRowAsRGBA(int row, std::span<uint8_t> out, AlphaMode mode) const;

  // All pixels as R, G, B, A bytes, rows top first.
  std::vector<uint8_t> rgba(AlphaMode mode = AlphaMode::Straight) const;

  // Makes every pixel transparent; costs only the content box.
  void clear();

  // Paints the rectangle with the colour (the desktop kit's rectangle fill
  // copies; SourceOver blends).
  void fillRect(const Rect& rect, const Color& color,
                CompositingOperation operation = CompositingOperation::Copy);

  // Draws the part `fromRect` of the source (its own drawing coordinates; an
  // empty rectangle means the whole source) with that part's lower-left corner
  // at `atPoint`, its alpha scaled by `fraction` (0..1).
  void drawImage(const Image& source, const Point& atPoint, const Rect& fromRect,
                 CompositingOperation operation, double fraction);

  // The whole source, source-over.
  void drawImage(const Image& source, const Point& atPoint, double fraction = 1.0) {
    drawImage(source, atPoint, Rect{}, CompositingOperation::SourceOver, fraction);
  }

  // A new premultiplied image of the given pixel size with this image
  // stretched over it (smooth filtering). Throws like the constructor.
  Image scaledTo(int width, int height) const;

  // The whole pixels a rectangle in drawing coordinates touches, clipped to the
  // image.
  PixelBox pixelBoxOf(const Rect& rect) const;

  // Direct access for drawing code: width() * height() words as described
  // above, in alphaMode(). Whoever writes through mutablePixels() reports the
  // area with noteDrawn().
  const uint32_t* pixels() const { return pixels_.get(); }
  uint32_t* mutablePixels();
  void noteDrawn(const PixelBox& box);

 private:
  using PixelBuffer = std::unique_ptr<uint32_t[], detail::PixelsDeleter>;

  static PixelBuffer allocateZeroed(int width, int height);
  PixelBox wholeImage() const { return {0, 0, width_, height_}; }

  int width_ = 0;
  int height_ = 0;
  AlphaMode mode_ = AlphaMode::Premultiplied;
  PixelBox content_;
  PixelBuffer pixels_;
};

}  // namespace qrl::graphics

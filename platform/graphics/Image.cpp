#include "platform/graphics/Image.h"

#include <sys/mman.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <string>

#include "platform/base/Exception.h"
#include "platform/graphics/CairoCanvas.h"
#include "platform/graphics/PixelMath.h"

namespace qrl::graphics {

namespace {

// Large buffers come straight from mmap: the kernel hands out zero pages that
// cost nothing until drawn on, where calloc would often clear recycled heap
// memory. A mostly empty frame then costs only the pages it touches.
constexpr size_t kMapThreshold = 256 * 1024;

void checkDimensions(int width, int height) {
  if (width < 0 || height < 0 || width > Image::kMaximumDimension ||
      height > Image::kMaximumDimension) {
    throw Exception::range("image size " + std::to_string(width) + "x" + std::to_string(height) +
                           " is outside 0.." + std::to_string(Image::kMaximumDimension));
  }
}

double clamp01(double v) {
  return std::isnan(v) ? 0.0 : std::clamp(v, 0.0, 1.0);
}

// A whole-pixel box covering a rectangle already in memory coordinates.
PixelBox coveringBox(double left, double top, double right, double bottom) {
  if (std::isnan(left) || std::isnan(top) || std::isnan(right) || std::isnan(bottom))
    return {};
  const double l = std::floor(left);
  const double t = std::floor(top);
  const double r = std::ceil(right);
  const double b = std::ceil(bottom);
  // Keep far-away rectangles within int range before clipping.
  static constexpr double kLimit = 1 << 30;
  auto clampCoord = [](double v) { return static_cast<int>(std::clamp(v, -kLimit, kLimit)); };
  const int x0 = clampCoord(l);
  const int y0 = clampCoord(t);
  return {x0, y0, clampCoord(r) - x0, clampCoord(b) - y0};
}

}  // namespace

void detail::PixelsDeleter::operator()(uint32_t* pixels) const {
  if (bytes >= kMapThreshold) {
    munmap(pixels, bytes);
  } else {
    std::free(pixels);
  }
}

Image::PixelBuffer Image::allocateZeroed(int width, int height) {
  const size_t bytes = static_cast<size_t>(width) * static_cast<size_t>(height) * 4;
  if (bytes == 0)
    return PixelBuffer(nullptr, detail::PixelsDeleter{0});
  void* memory = nullptr;
  if (bytes >= kMapThreshold) {
    memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
      memory = nullptr;
  } else {
    memory = std::calloc(bytes, 1);
  }
  if (memory == nullptr)
    throw std::bad_alloc();
  return PixelBuffer(static_cast<uint32_t*>(memory), detail::PixelsDeleter{bytes});
}

Image::Image(int width, int height, AlphaMode mode) : mode_(mode) {
  checkDimensions(width, height);
  width_ = width;
  height_ = height;
  pixels_ = allocateZeroed(width, height);
}

Image Image::fromRGBA(int width, int height, std::span<const uint8_t> rgba, AlphaMode mode) {
  Image image(width, height, mode);
  const size_t expected = static_cast<size_t>(width) * static_cast<size_t>(height) * 4;
  if (rgba.size() != expected) {
    throw Exception::range("RGBA data of " + std::to_string(rgba.size()) + " bytes for a " +
                           std::to_string(width) + "x" + std::to_string(height) +
                           " image; expected " + std::to_string(expected));
  }
  const size_t count = expected / 4;
  for (size_t i = 0; i < count; ++i) {
    const uint8_t* s = rgba.data() + i * 4;
    image.pixels_[i] = detail::packPixel(s[3], s[0], s[1], s[2]);
  }
  // Transparent pixels in straight data may carry colour; keep such data as
  // given but treat the whole image as drawn.
  image.content_ = image.wholeImage();
  return image;
}

Image::Image(Image&& other) noexcept
    : width_(other.width_),
      height_(other.height_),
      mode_(other.mode_),
      content_(other.content_),
      pixels_(std::move(other.pixels_)) {
  other.width_ = 0;
  other.height_ = 0;
  other.content_ = {};
}

Image& Image::operator=(Image&& other) noexcept {
  if (this != &other) {
    width_ = other.width_;
    height_ = other.height_;
    mode_ = other.mode_;
    content_ = other.content_;
    pixels_ = std::move(other.pixels_);
    other.width_ = 0;
    other.height_ = 0;
    other.content_ = {};
  }
  return *this;
}

Image::~Image() = default;

Image Image::copy() const {
  Image result(width_, height_, mode_);
  for (int row = content_.row; row < content_.endRow(); ++row) {
    const size_t offset = static_cast<size_t>(row) * width_ + content_.column;
    std::memcpy(result.pixels_.get() + offset, pixels_.get() + offset,
                static_cast<size_t>(content_.columns) * 4);
  }
  result.content_ = content_;
  return result;
}

void Image::convertTo(AlphaMode mode) {
  if (mode == mode_)
    return;
  for (int row = content_.row; row < content_.endRow(); ++row) {
    uint32_t* p = pixels_.get() + static_cast<size_t>(row) * width_;
    for (int column = content_.column; column < content_.endColumn(); ++column) {
      p[column] = mode == AlphaMode::Premultiplied ? detail::premultiplyPixel(p[column])
                                                   : detail::unpremultiplyPixel(p[column]);
    }
  }
  mode_ = mode;
}

Rgba8 Image::pixelAt(int column, int row) const {
  if (column < 0 || row < 0 || column >= width_ || row >= height_) {
    throw Exception::range("pixel (" + std::to_string(column) + ", " + std::to_string(row) +
                           ") is outside a " + std::to_string(width_) + "x" +
                           std::to_string(height_) + " image");
  }
  uint32_t p = pixels_[static_cast<size_t>(row) * width_ + column];
  if (mode_ == AlphaMode::Premultiplied)
    p = detail::unpremultiplyPixel(p);
  return {detail::redOf(p), detail::greenOf(p), detail::blueOf(p), detail::alphaOf(p)};
}

void Image::copyRowAsRGBA(int row, std::span<uint8_t> out, AlphaMode mode) const {
  const size_t needed = static_cast<size_t>(width_) * 4;
  if (row < 0 || row >= height_ || out.size() < needed) {
    throw Exception::range("row " + std::to_string(row) + " of a " + std::to_string(width_) + "x" +
                           std::to_string(height_) + " image into " + std::to_string(out.size()) +
                           " bytes");
  }
  if (row < content_.row || row >= content_.endRow()) {
    std::memset(out.data(), 0, needed);
    return;
  }
  std::memset(out.data(), 0, static_cast<size_t>(content_.column) * 4);
  std::memset(out.data() + static_cast<size_t>(content_.endColumn()) * 4, 0,
              static_cast<size_t>(width_ - content_.endColumn()) * 4);
  const uint32_t* p = pixels_.get() + static_cast<size_t>(row) * width_;
  uint8_t* d = out.data() + static_cast<size_t>(content_.column) * 4;
  const bool unpremultiply = mode_ == AlphaMode::Premultiplied && mode == AlphaMode::Straight;
  const bool premultiply = mode_ == AlphaMode::Straight && mode == AlphaMode::Premultiplied;
  for (int column = content_.column; column < content_.endColumn(); ++column, d += 4) {
    uint32_t v = p[column];
    if (unpremultiply) {
      v = detail::unpremultiplyPixel(v);
    } else if (premultiply) {
      v = detail::premultiplyPixel(v);
    }
    d[0] = detail::redOf(v);
    d[1] = detail::greenOf(v);
    d[2] = detail::blueOf(v);
    d[3] = detail::alphaOf(v);
  }
}

std::vector<uint8_t> Image::rgba(AlphaMode mode) const {
  const size_t rowBytes = static_cast<size_t>(width_) * 4;
  std::vector<uint8_t> out(rowBytes * static_cast<size_t>(height_));
  for (int row = 0; row < height_; ++row) {
    copyRowAsRGBA(row, std::span<uint8_t>(out.data() + row * rowBytes, rowBytes), mode);
  }
  return out;
}

void Image::clear() {
  for (int row = content_.row; row < content_.endRow(); ++row) {
    std::memset(pixels_.get() + static_cast<size_t>(row) * width_ + content_.column, 0,
                static_cast<size_t>(content_.columns) * 4);
  }
  content_ = {};
}

PixelBox Image::pixelBoxOf(const Rect& rect) const {
  if (rect.isEmpty())
    return {};
  const double left = rect.origin.x;
  const double top = static_cast<double>(height_) - rect.origin.y - rect.size.height;
  const PixelBox box =
      coveringBox(left, top, left + rect.size.width, top + static_cast<double>(rect.size.height));
  return box.intersected(wholeImage());
}

uint32_t* Image::mutablePixels() {
  return pixels_.get();
}

void Image::noteDrawn(const PixelBox& box) {
  content_ = content_.united(box.intersected(wholeImage()));
}

void Image::fillRect(const Rect& rect, const Color& color, CompositingOperation operation) {
  const PixelBox box = pixelBoxOf(rect);
  if (box.isEmpty())
    return;
  const double alpha = clamp01(color.alpha);
  if (operation == CompositingOperation::SourceOver && alpha == 0)
    return;
  if (operation == CompositingOperation::Copy && alpha == 0 && box == wholeImage()) {
    clear();
    return;
  }
  {
    detail::CairoCanvas canvas(*this);
    cairo_t* cr = canvas.context();
    cairo_set_operator(
        cr, operation == CompositingOperation::Copy ? CAIRO_OPERATOR_SOURCE : CAIRO_OPERATOR_OVER);
    cairo_set_source_rgba(cr, clamp01(color.red), clamp01(color.green), clamp01(color.blue), alpha);
    cairo_rectangle(cr, rect.origin.x,
                    static_cast<double>(height_) - rect.origin.y - rect.size.height,
                    rect.size.width, rect.size.height);
    cairo_fill(cr);
  }
  // A transparent copy only erases, so it adds nothing to the content.
  if (alpha > 0)
    noteDrawn(box);
}

void Image::drawImage(const Image& source, const Point& atPoint, const Rect& fromRect,
                      CompositingOperation operation, double fraction) {
  const double alpha = clamp01(fraction);
  const Rect part = fromRect.isEmpty() ? Rect{{0, 0}, source.size()} : fromRect;
  if (source.width_ == 0 || source.height_ == 0 || width_ == 0 || height_ == 0)
    return;
  if (operation == CompositingOperation::SourceOver && alpha == 0)
    return;

  const Rect target{atPoint, part.size};
  const PixelBox targetBox = pixelBoxOf(target);
  if (targetBox.isEmpty())
    return;

  // Where the source's own top-left corner lands, in memory coordinates.
  const double offsetX = static_cast<double>(atPoint.x) - part.origin.x;
  const double offsetY = (static_cast<double>(height_) - atPoint.y - part.size.height) -
                         (static_cast<double>(source.height_) - part.origin.y - part.size.height);
  // The source's content, moved there, with a pixel of slack for filtering at
  // fractional offsets.
  const PixelBox moved = coveringBox(
      offsetX + source.content_.column - 1, offsetY + source.content_.row - 1,
      offsetX + source.content_.endColumn() + 1, offsetY + source.content_.endRow() + 1);
  const PixelBox drawn = targetBox.intersected(moved);
  if (operation == CompositingOperation::SourceOver && drawn.isEmpty())
    return;

  // Cairo needs a premultiplied source that is not also the destination;
  // otherwise draw from a copy.
  std::optional<Image> converted;
  const Image* premultiplied = &source;
  if (source.mode_ != AlphaMode::Premultiplied || &source == this) {
    converted = source.copy();
    converted->convertTo(AlphaMode::Premultiplied);
    premultiplied = &*converted;
  }

  {
    detail::CairoCanvas canvas(*this);
    cairo_t* cr = canvas.context();
    // Source-over never touches pixels outside the moved content; clipping to
    // it keeps the content box exact even if filtering spreads further.
    canvas.clipTo(operation == CompositingOperation::SourceOver ? drawn : targetBox);
    cairo_rectangle(cr, atPoint.x, static_cast<double>(height_) - atPoint.y - part.size.height,
                    part.size.width, part.size.height);
    cairo_clip(cr);
    cairo_surface_t* surface = detail::surfaceForReading(*premultiplied);
    cairo_set_source_surface(cr, surface, offsetX, offsetY);
    cairo_surface_destroy(surface);
    cairo_set_operator(
        cr, operation == CompositingOperation::Copy ? CAIRO_OPERATOR_SOURCE : CAIRO_OPERATOR_OVER);
    cairo_paint_with_alpha(cr, alpha);
  }
  noteDrawn(drawn);
}

Image Image::scaledTo(int width, int height) const {
  Image result(width, height);
  if (width == 0 || height == 0 || width_ == 0 || height_ == 0 || content_.isEmpty()) {
    return result;
  }
  std::optional<Image> converted;
  const Image* premultiplied = this;
  if (mode_ != AlphaMode::Premultiplied) {
    converted = copy();
    converted->convertTo(AlphaMode::Premultiplied);
    premultiplied = &*converted;
  }
  const double sx = static_cast<double>(width) / width_;
  const double sy = static_cast<double>(height) / height_;
  // The content, scaled, with slack for the filter's reach (a source pixel
  // spreads over about `scale` result pixels); clipping to it keeps the
  // result's content box exact.
  const double slack = std::max({sx, sy, 1.0}) + 2;
  const PixelBox box =
      coveringBox(content_.column * sx - slack, content_.row * sy - slack,
                  content_.endColumn() * sx + slack, content_.endRow() * sy + slack)
          .intersected(result.wholeImage());
  {
    detail::CairoCanvas canvas(result);
    cairo_t* cr = canvas.context();
    canvas.clipTo(box);
    cairo_scale(cr, sx, sy);
    cairo_surface_t* surface = detail::surfaceForReading(*premultiplied);
    cairo_set_source_surface(cr, surface, 0, 0);
    cairo_surface_destroy(surface);
    cairo_pattern_t* pattern = cairo_get_source(cr);
    cairo_pattern_set_filter(pattern, CAIRO_FILTER_GOOD);
    // Pad rather than fade to transparent at the image's edges.
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_paint(cr);
  }
  result.noteDrawn(box);
  return result;
}

}  // namespace qrl::graphics

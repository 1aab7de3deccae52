#pragma once

#include <string>
#include <utility>

namespace qrl::graphics {

// A font by family name and size. Size is in pixels of the image drawn into
// (a point is a pixel, as on the desktop at 1x). Any name gives a usable font:
// fontconfig maps a family that is not installed to the closest one that is
// ("Lucida Grande" becomes DejaVu Sans).
class Font {
 public:
  Font(std::string name, double size) : name_(std::move(name)), size_(size) {}

  static Font fontWithName(std::string name, double size) { return Font(std::move(name), size); }

  const std::string& name() const { return name_; }
  double size() const { return size_; }

  // The family of the installed face that drawing actually uses.
  std::string resolvedFamily() const;

  friend bool operator==(const Font&, const Font&) = default;

 private:
  std::string name_;
  double size_;
};

}  // namespace qrl::graphics

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/archive/Object.h"

namespace qrl::archive {

// An NSColor with RGB or white components (32-bit floats, 0 to 1). Archived
// as "NSColorSpace" plus the components as ASCII text ("NSRGB" or "NSWhite",
// ten significant digits, NUL-terminated, alpha left out when it is 1).
class Color final : public Object {
 public:
  enum Space : int64_t {
    CalibratedRGB = 1,
    DeviceRGB = 2,
    CalibratedWhite = 3,
    DeviceWhite = 4,
  };

  Color() = default;
  static Color calibratedRGB(float red, float green, float blue, float alpha);
  static Color deviceRGB(float red, float green, float blue, float alpha);
  static Color calibratedWhite(float white, float alpha);

  Space space() const { return space_; }
  // For the white spaces red, green and blue are all the white level.
  float red() const { return red_; }
  float green() const { return green_; }
  float blue() const { return blue_; }
  float alpha() const { return alpha_; }
  bool isWhite() const { return space_ == CalibratedWhite || space_ == DeviceWhite; }

  // The component text written under "NSRGB" or "NSWhite", without the NUL.
  std::string componentText() const;

  // Builds a colour from the space code and the component bytes (trailing
  // NULs ignored); empty when the space is not RGB or white or the numbers
  // do not fit it.
  static std::optional<Color> fromComponents(int64_t space, std::string_view text);

  std::span<const std::string_view> classChain() const override;
  void encodeWithCoder(KeyedArchiver& coder) const override;

  friend bool operator==(const Color& a, const Color& b) {
    return a.space_ == b.space_ && a.red_ == b.red_ && a.green_ == b.green_ && a.blue_ == b.blue_ &&
           a.alpha_ == b.alpha_;
  }

 private:
  Color(Space space, float r, float g, float b, float a)
      : space_(space), red_(r), green_(g), blue_(b), alpha_(a) {}

  Space space_ = CalibratedRGB;
  float red_ = 0;
  float green_ = 0;
  float blue_ = 0;
  float alpha_ = 1;
};

}  // namespace qrl::archive

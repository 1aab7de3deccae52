#include "platform/archive/Color.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "platform/archive/KeyedArchiver.h"

namespace qrl::archive {
namespace {

constexpr std::string_view kChain[] = {"NSColor", "NSObject"};

// The text printf's "%.10g" gives, without printf's cost.
void appendComponent(std::string& out, float f) {
  char buf[32];
  auto r =
      std::to_chars(buf, buf + sizeof buf, static_cast<double>(f), std::chars_format::general, 10);
  if (!out.empty())
    out += ' ';
  out.append(buf, r.ptr);
}

}  // namespace

Color Color::calibratedRGB(float red, float green, float blue, float alpha) {
  return Color(CalibratedRGB, red, green, blue, alpha);
}

Color Color::deviceRGB(float red, float green, float blue, float alpha) {
  return Color(DeviceRGB, red, green, blue, alpha);
}

Color Color::calibratedWhite(float white, float alpha) {
  return Color(CalibratedWhite, white, white, white, alpha);
}

std::string Color::componentText() const {
  std::string s;
  appendComponent(s, red_);
  if (!isWhite()) {
    appendComponent(s, green_);
    appendComponent(s, blue_);
  }
  if (alpha_ != 1.0f)
    appendComponent(s, alpha_);
  return s;
}

std::optional<Color> Color::fromComponents(int64_t space, std::string_view text) {
  bool white = space == CalibratedWhite || space == DeviceWhite;
  if (!white && space != CalibratedRGB && space != DeviceRGB)
    return std::nullopt;
  while (!text.empty() && text.back() == '\0')
    text.remove_suffix(1);
  std::string copy(text);  // strtof needs termination
  std::vector<float> c;
  const char* p = copy.c_str();
  const char* end = p + copy.size();
  while (p < end && c.size() < 5) {
    while (p < end && *p == ' ')
      ++p;
    if (p == end)
      break;
    char* next = nullptr;
    float f = std::strtof(p, &next);
    if (next == p || !std::isfinite(f))
      return std::nullopt;
    c.push_back(f);
    p = next;
  }
  if (p < end)
    return std::nullopt;
  size_t base = white ? 1 : 3;
  if (c.size() != base && c.size() != base + 1)
    return std::nullopt;
  float alpha = c.size() > base ? c[base] : 1.0f;
  auto s = static_cast<Space>(space);
  return white ? Color(s, c[0], c[0], c[0], alpha) : Color(s, c[0], c[1], c[2], alpha);
}

std::span<const std::string_view> Color::classChain() const {
  return kChain;
}

void Color::encodeWithCoder(KeyedArchiver& coder) const {
  coder.encodeInt64(space_, "NSColorSpace");
  std::string text = componentText();
  Data bytes(text.begin(), text.end());
  bytes.push_back(0);
  coder.encodeBytes(bytes, isWhite() ? "NSWhite" : "NSRGB");
}

}  // namespace qrl::archive

#include "platform/archive/Color.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <system_error>

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
  float c[5];
  size_t n = 0;
  std::string copy;  // for strtof, which needs termination; made only when needed
  const char* p = text.data();
  const char* end = p + text.size();
  while (p < end && n < 5) {
    while (p < end && *p == ' ')
      ++p;
    if (p == end)
      break;
    // from_chars reads plain decimals quickly; anything else it declines
    // (a sign, hex, a range error) goes to strtof, whose reading is the rule.
    float f = 0;
    auto r = std::from_chars(p, end, f);
    if (r.ec != std::errc() || (r.ptr != end && *r.ptr != ' ')) {
      if (copy.empty())
        copy.assign(text);
      const char* q = copy.c_str() + (p - text.data());
      char* next = nullptr;
      f = std::strtof(q, &next);
      if (next == q)
        return std::nullopt;
      r.ptr = p + (next - q);
    }
    if (!std::isfinite(f))
      return std::nullopt;
    c[n++] = f;
    p = r.ptr;
  }
  if (p < end)
    return std::nullopt;
  size_t base = white ? 1 : 3;
  if (n != base && n != base + 1)
    return std::nullopt;
  float alpha = n > base ? c[base] : 1.0f;
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

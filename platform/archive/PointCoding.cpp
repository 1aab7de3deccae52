#include "platform/archive/PointCoding.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace qrl::archive {
namespace {

void appendNumber(std::string& out, float f) {
  char buf[32];
  auto r = std::to_chars(buf, buf + sizeof buf, f);
  out.append(buf, r.ptr);
}

// A number stored as a real or an integer (dictionaries written elsewhere may use either).
std::optional<float> numberOf(const Value* v) {
  if (v == nullptr)
    return std::nullopt;
  if (auto d = v->real())
    return static_cast<float>(*d);
  if (auto i = v->integer())
    return static_cast<float>(*i);
  return std::nullopt;
}

}  // namespace

std::string pointText(Point point) {
  std::string s = "{";
  appendNumber(s, point.x);
  s += ", ";
  appendNumber(s, point.y);
  s += '}';
  return s;
}

std::optional<Point> pointFromText(std::string_view text) {
  float v[2];
  size_t pos = 0;
  for (float& out : v) {
    while (pos < text.size() && (text[pos] == '{' || text[pos] == ',' || text[pos] == ' '))
      ++pos;
    if (pos == text.size())
      return std::nullopt;
    // strtod wants a terminated string; numbers are short, so copy a bounded piece.
    std::string piece(text.substr(pos, 64));
    char* end = nullptr;
    double d = std::strtod(piece.c_str(), &end);
    if (end == piece.c_str() || !std::isfinite(d))
      return std::nullopt;
    out = static_cast<float>(d);
    if (!std::isfinite(out))
      return std::nullopt;
    pos += static_cast<size_t>(end - piece.c_str());
  }
  return Point{v[0], v[1]};
}

Value pointValue(Point point) {
  return Value(Value::Dictionary{{"x", Value(point.x)}, {"y", Value(point.y)}});
}

std::optional<Point> pointFromValue(const Value& value) {
  if (const std::string* s = value.string())
    return pointFromText(*s);
  auto x = numberOf(value.find("x"));
  auto y = numberOf(value.find("y"));
  if (!x || !y)
    return std::nullopt;
  return Point{*x, *y};
}

}  // namespace qrl::archive

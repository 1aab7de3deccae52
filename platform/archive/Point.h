#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/archive/Value.h"

namespace qrl::archive {

// A point in movie pixels, in 32-bit floats as the drawing layer keeps them.
struct Point {
  float x = 0;
  float y = 0;

  // "{x, y}", as the coder's point encoding writes it: each number in the
  // shortest form that reads back to the same float, whole numbers bare ("{400, 300}").
  std::string text() const;

  // Reads the first two numbers of "{x, y}"; braces, commas and spaces between
  // them are skipped. Empty when two finite numbers are not there.
  static std::optional<Point> fromText(std::string_view text);

  // The small dictionary {"x": real, "y": real} that carries a point in
  // attribute dictionaries and messages.
  Value value() const;

  // Reads that dictionary, or the "{x, y}" string form. Empty otherwise.
  static std::optional<Point> fromValue(const Value& value);

  friend bool operator==(const Point&, const Point&) = default;
};

}  // namespace qrl::archive

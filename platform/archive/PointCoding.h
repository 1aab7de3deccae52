#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/archive/Value.h"
#include "platform/base/Point.h"

// The forms a point takes in archives, attribute dictionaries and messages.
namespace qrl::archive {

// "{x, y}", as the coder's point encoding writes it: each number in the
// shortest form that reads back to the same float, whole numbers bare ("{400, 300}").
std::string pointText(Point point);

// Reads the first two numbers of "{x, y}"; braces, commas and spaces between
// them are skipped. Empty when two finite numbers are not there.
std::optional<Point> pointFromText(std::string_view text);

// The small dictionary {"x": real, "y": real} that carries a point in
// attribute dictionaries and messages.
Value pointValue(Point point);

// Reads that dictionary, or the "{x, y}" string form. Empty otherwise.
std::optional<Point> pointFromValue(const Value& value);

}  // namespace qrl::archive

#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/archive/Value.h"

namespace qrl::detail {

// Number readings of dictionary entries as the attribute records make them:
// integers, reals and booleans all answer; anything else counts as absent
// (and is logged, naming the key).
std::optional<double> numberIn(const archive::Value& dictionary, std::string_view key);
std::optional<uint32_t> unsignedIn(const archive::Value& dictionary, std::string_view key);
std::optional<int32_t> intIn(const archive::Value& dictionary, std::string_view key);
std::optional<float> floatIn(const archive::Value& dictionary, std::string_view key);
std::optional<bool> boolIn(const archive::Value& dictionary, std::string_view key);
// A string entry; other types count as absent (and are logged).
std::optional<std::string> stringIn(const archive::Value& dictionary, std::string_view key);

// The integer of a number value as an unsigned or int conversion would give it.
std::optional<int64_t> wholeNumber(const archive::Value& number);

}  // namespace qrl::detail

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/archive/Value.h"

namespace qrl {

// Reads the fields of a dictionary that stands for a value on the wire, all
// under one rule:
// - a field the value cannot do without (a point's x and y, a colour's red,
//   green and blue...) must be there: "<what> has no '<key>'";
// - any other absent field reads as an unset accessor does: zero, false or
//   none;
// - a field of the wrong type or outside its range is an error naming it:
//   "field '<key>' must be a number", "field '<key>' is out of range".
// Numbers may be integers or reals; a whole-number field truncates a real
// toward zero. Every error is Exception::parse. A nil field counts as absent.
class QRLFieldReader {
 public:
  // Throws unless the value is a dictionary: "<what> must be a dictionary".
  QRLFieldReader(const archive::Value& value, std::string what);

  // The field, or null when it is absent or nil.
  const archive::Value* find(std::string_view key) const;

  double requiredNumber(std::string_view key) const;
  double number(std::string_view key, double absent) const;
  // A whole number within [low, high]; required.
  int64_t requiredWholeNumber(std::string_view key, int64_t low, int64_t high) const;
  // A whole number within int32; 0 when absent.
  int32_t int32(std::string_view key) const;
  bool boolean(std::string_view key) const;
  std::optional<std::string> string(std::string_view key) const;
  const std::string& requiredString(std::string_view key) const;
  // Data, described as `kind` in the error ("image-file data").
  std::optional<archive::Data> data(std::string_view key, std::string_view kind) const;

  const archive::Value& value() const { return value_; }
  const std::string& what() const { return what_; }

 private:
  const archive::Value& required(std::string_view key) const;

  const archive::Value& value_;
  std::string what_;
};

}  // namespace qrl

#pragma once

#include "platform/archive/Object.h"

namespace qrl::archive {

// A Foundation value object: a string, number (integer, real or boolean),
// data or date. The first four are archived as bare values; a date becomes an
// NSDate with "NS.time". Mutable strings and data decode to the same object.
class ValueObject final : public Object {
 public:
  explicit ValueObject(Value value) : value_(std::move(value)) {}

  const Value& value() const { return value_; }

  std::span<const std::string_view> classChain() const override;
  void encodeWithCoder(KeyedArchiver& coder) const override;
  const Value* plainValue() const override;

 private:
  Value value_;
};

}  // namespace qrl::archive

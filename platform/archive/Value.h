#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qrl::archive {

using Data = std::vector<uint8_t>;

// A point in time as property lists keep it: seconds since 2001-01-01 00:00:00 UTC.
struct Date {
  double sinceReferenceDate = 0;
  friend bool operator==(const Date&, const Date&) = default;
};

// A keyed-archive object reference: an index into the archive's "$objects"; 0 is nil.
struct Uid {
  uint64_t index = 0;
  friend bool operator==(const Uid&, const Uid&) = default;
};

// One property-list value. Copies are cheap: strings and data are held
// directly, arrays and dictionaries are shared and immutable once built (build
// an Array or Dictionary, then wrap it). Null exists in memory only; the
// property-list formats cannot carry it.
class Value {
 public:
  enum class Type {
    kNull,
    kBool,
    kInteger,
    kReal,
    kString,
    kData,
    kDate,
    kArray,
    kDictionary,
    kUid
  };
  using Array = std::vector<Value>;
  using Dictionary = std::map<std::string, Value, std::less<>>;

  Value() = default;
  Value(std::nullptr_t) {}
  Value(bool b) : v_(b) {}
  // Every integer type is kept as a signed 64-bit value; unsigned values above
  // INT64_MAX wrap, as they do in the binary format.
  template <std::integral T>
  requires(!std::same_as<T, bool>) Value(T i) : v_(static_cast<int64_t>(i)) {}
  Value(double d) : v_(d) {}
  Value(float f) : v_(static_cast<double>(f)) {}
  Value(std::string s) : v_(std::move(s)) {}
  Value(std::string_view s) : v_(std::string(s)) {}
  Value(const char* s) : v_(std::string(s)) {}
  Value(archive::Data d) : v_(std::move(d)) {}
  Value(archive::Date d) : v_(d) {}
  Value(archive::Uid u) : v_(u) {}
  Value(Array a) : v_(std::make_shared<const Array>(std::move(a))) {}
  Value(Dictionary d) : v_(std::make_shared<const Dictionary>(std::move(d))) {}

  Type type() const { return static_cast<Type>(v_.index()); }
  bool isNull() const { return type() == Type::kNull; }

  // Typed access: empty or null when the value holds another type. integer()
  // does not convert reals, nor real() integers: the archive keeps them apart.
  std::optional<bool> boolean() const;
  std::optional<int64_t> integer() const;
  std::optional<double> real() const;
  std::optional<archive::Date> date() const;
  std::optional<archive::Uid> uid() const;
  const std::string* string() const { return std::get_if<std::string>(&v_); }
  const archive::Data* data() const { return std::get_if<archive::Data>(&v_); }
  const Array* array() const;
  const Dictionary* dictionary() const;

  // The entry under key when this is a dictionary holding it, else null.
  const Value* find(std::string_view key) const;

  // The type's name for messages: "integer", "dictionary", ...
  static std::string_view typeName(Type type);
  std::string_view typeName() const { return typeName(type()); }

  friend bool operator==(const Value& a, const Value& b);

 private:
  std::variant<std::monostate, bool, int64_t, double, std::string, archive::Data, archive::Date,
               std::shared_ptr<const Array>, std::shared_ptr<const Dictionary>, archive::Uid>
      v_;
};

}  // namespace qrl::archive

#include "platform/archive/Value.h"

namespace qrl::archive {

std::optional<bool> Value::boolean() const {
  if (auto* b = std::get_if<bool>(&v_))
    return *b;
  return std::nullopt;
}

std::optional<int64_t> Value::integer() const {
  if (auto* i = std::get_if<int64_t>(&v_))
    return *i;
  return std::nullopt;
}

std::optional<double> Value::real() const {
  if (auto* d = std::get_if<double>(&v_))
    return *d;
  return std::nullopt;
}

std::optional<archive::Date> Value::date() const {
  if (auto* d = std::get_if<archive::Date>(&v_))
    return *d;
  return std::nullopt;
}

std::optional<archive::Uid> Value::uid() const {
  if (auto* u = std::get_if<archive::Uid>(&v_))
    return *u;
  return std::nullopt;
}

const Value::Array* Value::array() const {
  auto* a = std::get_if<std::shared_ptr<const Array>>(&v_);
  return a ? a->get() : nullptr;
}

const Value::Dictionary* Value::dictionary() const {
  auto* d = std::get_if<std::shared_ptr<const Dictionary>>(&v_);
  return d ? d->get() : nullptr;
}

const Value* Value::find(std::string_view key) const {
  const Dictionary* d = dictionary();
  if (d == nullptr)
    return nullptr;
  auto it = d->find(key);
  return it == d->end() ? nullptr : &it->second;
}

std::string_view Value::typeName(Type type) {
  switch (type) {
    case Type::kNull:
      return "null";
    case Type::kBool:
      return "boolean";
    case Type::kInteger:
      return "integer";
    case Type::kReal:
      return "real";
    case Type::kString:
      return "string";
    case Type::kData:
      return "data";
    case Type::kDate:
      return "date";
    case Type::kArray:
      return "array";
    case Type::kDictionary:
      return "dictionary";
    case Type::kUid:
      return "UID";
  }
  return "unknown";
}

bool operator==(const Value& a, const Value& b) {
  if (a.type() != b.type())
    return false;
  switch (a.type()) {
    case Value::Type::kArray:
      return a.array() == b.array() || *a.array() == *b.array();
    case Value::Type::kDictionary:
      return a.dictionary() == b.dictionary() || *a.dictionary() == *b.dictionary();
    default:
      return a.v_ == b.v_;
  }
}

}  // namespace qrl::archive

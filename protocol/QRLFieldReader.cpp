#include "protocol/QRLFieldReader.h"

#include "platform/base/Exception.h"

namespace qrl {

using archive::Value;

namespace {

std::string field(std::string_view key) {
  return "field '" + std::string(key) + "'";
}

double numberOf(const Value& value, std::string_view key) {
  if (auto i = value.integer())
    return static_cast<double>(*i);
  if (auto r = value.real())
    return *r;
  throw Exception::parse(field(key) + " must be a number");
}

int64_t wholeNumberIn(double n, std::string_view key, int64_t low, int64_t high) {
  if (!(n >= static_cast<double>(low) && n <= static_cast<double>(high)))
    throw Exception::parse(field(key) + " is out of range");
  return static_cast<int64_t>(n);
}

}  // namespace

QRLFieldReader::QRLFieldReader(const Value& value, std::string what)
    : value_(value), what_(std::move(what)) {
  if (value.dictionary() == nullptr)
    throw Exception::parse(what_ + " must be a dictionary");
}

const Value* QRLFieldReader::find(std::string_view key) const {
  const Value* found = value_.find(key);
  return found != nullptr && !found->isNull() ? found : nullptr;
}

const Value& QRLFieldReader::required(std::string_view key) const {
  const Value* found = find(key);
  if (found == nullptr)
    throw Exception::parse(what_ + " has no '" + std::string(key) + "'");
  return *found;
}

double QRLFieldReader::requiredNumber(std::string_view key) const {
  return numberOf(required(key), key);
}

double QRLFieldReader::number(std::string_view key, double absent) const {
  const Value* found = find(key);
  return found != nullptr ? numberOf(*found, key) : absent;
}

int64_t QRLFieldReader::requiredWholeNumber(std::string_view key, int64_t low, int64_t high) const {
  return wholeNumberIn(requiredNumber(key), key, low, high);
}

int32_t QRLFieldReader::int32(std::string_view key) const {
  return static_cast<int32_t>(wholeNumberIn(number(key, 0), key, INT32_MIN, INT32_MAX));
}

bool QRLFieldReader::boolean(std::string_view key) const {
  const Value* found = find(key);
  if (found == nullptr)
    return false;
  if (auto b = found->boolean())
    return *b;
  throw Exception::parse(field(key) + " must be a boolean");
}

std::optional<std::string> QRLFieldReader::string(std::string_view key) const {
  const Value* found = find(key);
  if (found == nullptr)
    return std::nullopt;
  if (const std::string* s = found->string())
    return *s;
  throw Exception::parse(field(key) + " must be a string");
}

const std::string& QRLFieldReader::requiredString(std::string_view key) const {
  if (const std::string* s = required(key).string())
    return *s;
  throw Exception::parse(field(key) + " must be a string");
}

std::optional<archive::Data> QRLFieldReader::data(std::string_view key,
                                                  std::string_view kind) const {
  const Value* found = find(key);
  if (found == nullptr)
    return std::nullopt;
  if (const archive::Data* d = found->data())
    return *d;
  throw Exception::parse(field(key) + " must be " + std::string(kind));
}

}  // namespace qrl

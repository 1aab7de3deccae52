#include "records/QRLAttributeValues.h"

#include <cmath>
#include <string>

#include "platform/process/SystemLog.h"

namespace qrl::detail {
namespace {

void logIgnored(std::string_view key, const archive::Value& v, std::string_view wanted) {
  process::SystemLog::write("attribute \"" + std::string(key) + "\" holds a " +
                            std::string(v.typeName()) + ", not a " + std::string(wanted) +
                            "; ignored");
}

}  // namespace

std::optional<int64_t> wholeNumber(const archive::Value& number) {
  if (auto i = number.integer())
    return *i;
  if (auto b = number.boolean())
    return *b ? 1 : 0;
  if (auto d = number.real()) {
    if (!std::isfinite(*d) || std::fabs(*d) > 9.2e18)
      return 0;
    return static_cast<int64_t>(*d);  // truncates toward zero, as the number conversions do
  }
  return std::nullopt;
}

std::optional<double> numberIn(const archive::Value& dictionary, std::string_view key) {
  const archive::Value* v = dictionary.find(key);
  if (v == nullptr)
    return std::nullopt;
  if (auto d = v->real())
    return *d;
  if (auto i = v->integer())
    return static_cast<double>(*i);
  if (auto b = v->boolean())
    return *b ? 1.0 : 0.0;
  logIgnored(key, *v, "number");
  return std::nullopt;
}

std::optional<uint32_t> unsignedIn(const archive::Value& dictionary, std::string_view key) {
  const archive::Value* v = dictionary.find(key);
  if (v == nullptr)
    return std::nullopt;
  if (auto i = wholeNumber(*v))
    return static_cast<uint32_t>(*i);
  logIgnored(key, *v, "number");
  return std::nullopt;
}

std::optional<int32_t> intIn(const archive::Value& dictionary, std::string_view key) {
  auto u = unsignedIn(dictionary, key);
  if (!u)
    return std::nullopt;
  return static_cast<int32_t>(*u);
}

std::optional<float> floatIn(const archive::Value& dictionary, std::string_view key) {
  auto d = numberIn(dictionary, key);
  if (!d)
    return std::nullopt;
  return static_cast<float>(*d);
}

std::optional<bool> boolIn(const archive::Value& dictionary, std::string_view key) {
  auto d = numberIn(dictionary, key);
  if (!d)
    return std::nullopt;
  return *d != 0;
}

std::optional<std::string> stringIn(const archive::Value& dictionary, std::string_view key) {
  const archive::Value* v = dictionary.find(key);
  if (v == nullptr)
    return std::nullopt;
  if (const std::string* s = v->string())
    return *s;
  logIgnored(key, *v, "string");
  return std::nullopt;
}

}  // namespace qrl::detail

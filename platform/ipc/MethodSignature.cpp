#include "platform/ipc/MethodSignature.h"

#include <limits>
#include <mutex>
#include <set>

namespace qrl::ipc {

using archive::Value;

ValueKind ValueKind::named(std::string_view name) {
  for (const ValueKind& generic : kind::kGeneric) {
    if (generic.name() == name)
      return generic;
  }
  // Kind names are few; each distinct one is stored once.
  static std::mutex mutex;
  static std::set<std::string, std::less<>> names;
  std::lock_guard lock(mutex);
  auto it = names.find(name);
  if (it == names.end())
    it = names.emplace(name).first;
  return ValueKind(*it, nullptr);
}

namespace checks {

std::string expected(std::string_view what, const Value& value) {
  return "expected " + std::string(what) + ", got " + std::string(value.typeName());
}

std::optional<std::string> integerIn(const Value& value, int64_t low, int64_t high) {
  auto i = value.integer();
  if (!i)
    return expected("an integer", value);
  if (*i < low || *i > high)
    return "integer " + std::to_string(*i) + " out of range";
  return std::nullopt;
}

std::optional<std::string> none(const Value& value) {
  return value.isNull() ? std::nullopt : std::optional<std::string>("expected no value");
}

std::optional<std::string> boolean(const Value& value) {
  return value.boolean() ? std::nullopt : std::optional(expected("a boolean", value));
}

std::optional<std::string> int32(const Value& value) {
  return integerIn(value, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max());
}

std::optional<std::string> uint32(const Value& value) {
  return integerIn(value, 0, std::numeric_limits<uint32_t>::max());
}

std::optional<std::string> int64(const Value& value) {
  return integerIn(value, std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max());
}

std::optional<std::string> uint8(const Value& value) {
  return integerIn(value, 0, 255);
}

std::optional<std::string> string(const Value& value) {
  return value.string() ? std::nullopt : std::optional(expected("a string", value));
}

std::optional<std::string> data(const Value& value) {
  return value.data() ? std::nullopt : std::optional(expected("data", value));
}

std::optional<std::string> anything(const Value&) {
  return std::nullopt;
}

}  // namespace checks

std::optional<std::string> checkArguments(const MethodSignature& signature,
                                          const std::vector<Value>& arguments) {
  if (arguments.size() != signature.arguments.size()) {
    return "expected " + std::to_string(signature.arguments.size()) + " arguments, got " +
           std::to_string(arguments.size());
  }
  for (size_t i = 0; i < arguments.size(); ++i) {
    const ValueKind& kind = signature.arguments[i];
    if (auto problem = kind.problemWith(arguments[i])) {
      return "argument " + std::to_string(i + 1) + " (" + std::string(kind.name()) +
             "): " + *problem;
    }
  }
  return std::nullopt;
}

Value signatureValue(const MethodSignature& signature) {
  Value::Array arguments;
  for (const ValueKind& k : signature.arguments)
    arguments.emplace_back(k.name());
  return Value::Dictionary{{"arguments", Value(std::move(arguments))},
                           {"result", Value(signature.result.name())}};
}

std::optional<MethodSignature> signatureFromValue(const Value& value) {
  const Value* arguments = value.find("arguments");
  const Value* result = value.find("result");
  const Value::Array* names = arguments != nullptr ? arguments->array() : nullptr;
  const std::string* resultName = result != nullptr ? result->string() : nullptr;
  if (names == nullptr || resultName == nullptr)
    return std::nullopt;
  MethodSignature signature;
  for (const auto& a : *names) {
    const std::string* name = a.string();
    if (name == nullptr || name->empty())
      return std::nullopt;
    signature.arguments.push_back(ValueKind::named(*name));
  }
  if (resultName->empty())
    return std::nullopt;
  signature.result = ValueKind::named(*resultName);
  return signature;
}

}  // namespace qrl::ipc

#include "platform/ipc/MethodSignature.h"

#include <array>
#include <limits>

namespace qrl::ipc {
namespace {

using archive::Value;

constexpr std::array kNames{
    std::pair{Kind::None, "none"},
    std::pair{Kind::Bool, "bool"},
    std::pair{Kind::Int32, "int32"},
    std::pair{Kind::UInt32, "uint32"},
    std::pair{Kind::Int64, "int64"},
    std::pair{Kind::UInt8, "uint8"},
    std::pair{Kind::Point, "point"},
    std::pair{Kind::Size, "size"},
    std::pair{Kind::TimeCodeDef, "timecodedef"},
    std::pair{Kind::String, "string"},
    std::pair{Kind::Data, "data"},
    std::pair{Kind::Object, "object"},
    std::pair{Kind::Movie, "movie"},
    std::pair{Kind::Track, "track"},
};

std::optional<std::string> integerIn(const Value& value, int64_t low, int64_t high) {
  auto i = value.integer();
  if (!i)
    return "expected an integer, got " + std::string(value.typeName());
  if (*i < low || *i > high)
    return "integer " + std::to_string(*i) + " out of range";
  return std::nullopt;
}

std::optional<std::string> numericFields(const Value& value,
                                         std::initializer_list<std::string_view> keys) {
  if (!value.dictionary())
    return "expected a dictionary, got " + std::string(value.typeName());
  for (auto key : keys) {
    const Value* field = value.find(key);
    if (field == nullptr)
      return "missing field '" + std::string(key) + "'";
    if (!field->integer() && !field->real()) {
      return "field '" + std::string(key) + "' is not a number";
    }
  }
  return std::nullopt;
}

}  // namespace

std::string_view kindName(Kind kind) {
  for (auto [k, name] : kNames) {
    if (k == kind)
      return name;
  }
  return "unknown";
}

std::optional<Kind> kindFromName(std::string_view name) {
  for (auto [k, n] : kNames) {
    if (n == name)
      return k;
  }
  return std::nullopt;
}

std::optional<std::string> checkValue(Kind kind, const Value& value) {
  switch (kind) {
    case Kind::None:
      return value.isNull() ? std::nullopt : std::optional<std::string>("expected no value");
    case Kind::Bool:
      if (value.boolean())
        return std::nullopt;
      return "expected a boolean, got " + std::string(value.typeName());
    case Kind::Int32:
      return integerIn(value, std::numeric_limits<int32_t>::min(),
                       std::numeric_limits<int32_t>::max());
    case Kind::UInt32:
      return integerIn(value, 0, std::numeric_limits<uint32_t>::max());
    case Kind::Int64:
      return integerIn(value, std::numeric_limits<int64_t>::min(),
                       std::numeric_limits<int64_t>::max());
    case Kind::UInt8:
      return integerIn(value, 0, 255);
    case Kind::Point:
      return numericFields(value, {"x", "y"});
    case Kind::Size:
      return numericFields(value, {"width", "height"});
    case Kind::TimeCodeDef:
      return numericFields(value, {"flags", "timeScale", "frameDuration", "numFrames"});
    case Kind::String:
    case Kind::Movie:
      if (value.string())
        return std::nullopt;
      return "expected a string, got " + std::string(value.typeName());
    case Kind::Data:
      if (value.data())
        return std::nullopt;
      return "expected data, got " + std::string(value.typeName());
    case Kind::Object:
      return std::nullopt;
    case Kind::Track: {
      if (!value.dictionary())
        return "expected a track dictionary";
      const Value* path = value.find("path");
      if (path == nullptr || !path->string())
        return "track without a 'path' string";
      const Value* index = value.find("index");
      if (index == nullptr)
        return "track without an 'index'";
      return integerIn(*index, 1, std::numeric_limits<int32_t>::max());
    }
  }
  return "unknown kind";
}

std::optional<std::string> checkArguments(const MethodSignature& signature,
                                          const std::vector<Value>& arguments) {
  if (arguments.size() != signature.arguments.size()) {
    return "expected " + std::to_string(signature.arguments.size()) + " arguments, got " +
           std::to_string(arguments.size());
  }
  for (size_t i = 0; i < arguments.size(); ++i) {
    if (signature.arguments[i] == Kind::Object)
      continue;
    if (auto problem = checkValue(signature.arguments[i], arguments[i])) {
      return "argument " + std::to_string(i + 1) + " (" +
             std::string(kindName(signature.arguments[i])) + "): " + *problem;
    }
  }
  return std::nullopt;
}

archive::Value signatureValue(const MethodSignature& signature) {
  Value::Array arguments;
  for (Kind k : signature.arguments)
    arguments.emplace_back(kindName(k));
  return Value::Dictionary{{"arguments", Value(std::move(arguments))},
                           {"result", Value(kindName(signature.result))}};
}

std::optional<MethodSignature> signatureFromValue(const Value& value) {
  const Value* arguments = value.find("arguments");
  const Value* result = value.find("result");
  const Value::Array* names = arguments != nullptr ? arguments->array() : nullptr;
  const std::string* resultName = result != nullptr ? result->string() : nullptr;
  if (names == nullptr || resultName == nullptr) return std::nullopt;
  MethodSignature signature;
  for (const auto& a : *names) {
    const std::string* name = a.string();
    auto kind = name != nullptr ? kindFromName(*name) : std::nullopt;
    if (!kind) return std::nullopt;
    signature.arguments.push_back(*kind);
  }
  auto kind = kindFromName(*resultName);
  if (!kind) return std::nullopt;
  signature.result = *kind;
  return signature;
}

}  // namespace qrl::ipc

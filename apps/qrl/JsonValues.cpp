#include "apps/qrl/JsonValues.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "protocol/QRLWireKinds.h"

namespace qrl::app {

using archive::Value;
using nlohmann::json;

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

archive::Data readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in)
    throw std::invalid_argument("cannot read " + path);
  return archive::Data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

}  // namespace

std::string base64(const archive::Data& data) {
  std::string out;
  out.reserve((data.size() + 2) / 3 * 4);
  for (size_t i = 0; i < data.size(); i += 3) {
    uint32_t n = uint32_t{data[i]} << 16;
    if (i + 1 < data.size())
      n |= uint32_t{data[i + 1]} << 8;
    if (i + 2 < data.size())
      n |= data[i + 2];
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += i + 1 < data.size() ? kAlphabet[(n >> 6) & 63] : '=';
    out += i + 2 < data.size() ? kAlphabet[n & 63] : '=';
  }
  return out;
}

archive::Data fromBase64(const std::string& text) {
  archive::Data out;
  uint32_t buffer = 0;
  int bits = 0;
  for (char c : text) {
    if (c == '=' || c == '\n' || c == '\r')
      continue;
    const char* at = std::char_traits<char>::find(kAlphabet, 64, c);
    if (at == nullptr)
      throw std::invalid_argument("not base64");
    buffer = (buffer << 6) | static_cast<uint32_t>(at - kAlphabet);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out.push_back(static_cast<uint8_t>((buffer >> bits) & 0xff));
    }
  }
  return out;
}

json jsonFromValue(const Value& value) {
  switch (value.type()) {
    case Value::Type::kNull:
      return nullptr;
    case Value::Type::kBool:
      return *value.boolean();
    case Value::Type::kInteger:
      return *value.integer();
    case Value::Type::kReal:
      return *value.real();
    case Value::Type::kString:
      return *value.string();
    case Value::Type::kData:
      return json{{"$data", base64(*value.data())}};
    case Value::Type::kDate:
      return json{{"$date", value.date()->sinceReferenceDate}};
    case Value::Type::kUid:
      return json{{"$uid", value.uid()->index}};
    case Value::Type::kArray: {
      json array = json::array();
      for (const auto& item : *value.array())
        array.push_back(jsonFromValue(item));
      return array;
    }
    case Value::Type::kDictionary: {
      json object = json::object();
      for (const auto& [key, item] : *value.dictionary())
        object[key] = jsonFromValue(item);
      return object;
    }
  }
  return nullptr;
}

Value valueFromJson(const json& j) {
  switch (j.type()) {
    case json::value_t::null:
      return Value();
    case json::value_t::boolean:
      return Value(j.get<bool>());
    case json::value_t::number_integer:
      return Value(j.get<int64_t>());
    case json::value_t::number_unsigned:
      return Value(static_cast<int64_t>(j.get<uint64_t>()));
    case json::value_t::number_float:
      return Value(j.get<double>());
    case json::value_t::string:
      return Value(j.get<std::string>());
    case json::value_t::array: {
      Value::Array array;
      for (const auto& item : j)
        array.push_back(valueFromJson(item));
      return Value(std::move(array));
    }
    case json::value_t::object: {
      if (j.size() == 1 && j.contains("$data") && j["$data"].is_string()) {
        return Value(fromBase64(j["$data"].get<std::string>()));
      }
      if (j.size() == 1 && j.contains("$uid") && j["$uid"].is_number_unsigned()) {
        return Value(archive::Uid{j["$uid"].get<uint64_t>()});
      }
      Value::Dictionary dictionary;
      for (const auto& [key, item] : j.items())
        dictionary[key] = valueFromJson(item);
      return Value(std::move(dictionary));
    }
    default:
      throw std::invalid_argument("unsupported JSON value");
  }
}

Value valueFromArgument(const std::string& argument, const ipc::ValueKind& wanted) {
  if (argument.size() > 1 && argument[0] == '@')
    return Value(readFile(argument.substr(1)));
  if (wanted == kind::String || wanted == kind::Movie) {
    // A path or text as it stands; a JSON string literal is unquoted.
    if (argument.size() >= 2 && argument.front() == '"') {
      json parsed = json::parse(argument, nullptr, false);
      if (parsed.is_string())
        return Value(parsed.get<std::string>());
    }
    return Value(argument);
  }
  if (wanted == kind::Bool) {
    if (argument == "YES" || argument == "yes" || argument == "true" || argument == "1") {
      return Value(true);
    }
    if (argument == "NO" || argument == "no" || argument == "false" || argument == "0") {
      return Value(false);
    }
    throw std::invalid_argument("'" + argument + "' is not a truth value (true/false, YES/NO)");
  }
  json parsed = json::parse(argument, nullptr, false);
  if (parsed.is_discarded()) {
    if (wanted == kind::Object)
      return Value(argument);  // a bare word is a string
    throw std::invalid_argument("'" + argument + "' is not valid JSON for a " +
                                std::string(wanted.name()));
  }
  // The caller's signature check names any mismatch of kind precisely.
  return valueFromJson(parsed);
}

}  // namespace qrl::app

#include "platform/archive/PropertyList.h"

#include <plist/plist.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "platform/archive/BinaryPropertyList.h"
#include "platform/base/Exception.h"

namespace qrl::archive {
namespace {

struct NodeDeleter {
  void operator()(plist_t node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, NodeDeleter>;

constexpr std::string_view kUidKey = "CF$UID";

Value fromNode(plist_t node, int depth);

std::string checkedString(const char* p, uint64_t len) {
  std::string s(p ? p : "", p ? len : 0);
  if (!BinaryPropertyList::isUtf8(s))
    throw Exception::parse("property list: a string is not valid UTF-8");
  return s;
}

Value dictionaryFromNode(plist_t node, int depth) {
  Value::Dictionary d;
  plist_dict_iter raw = nullptr;
  plist_dict_new_iter(node, &raw);
  std::unique_ptr<void, decltype(&std::free)> it(raw, &std::free);
  for (;;) {
    char* rawKey = nullptr;
    plist_t item = nullptr;
    plist_dict_next_item(node, it.get(), &rawKey, &item);
    std::unique_ptr<char, decltype(&std::free)> key(rawKey, &std::free);
    if (item == nullptr)
      break;
    std::string k = checkedString(key.get(), key ? std::strlen(key.get()) : 0);
    d.insert_or_assign(std::move(k), fromNode(item, depth + 1));
  }
  // XML keeps UIDs as {"CF$UID": n}; libplist 2.2 does not turn them back.
  if (d.size() == 1) {
    auto uid = d.begin();
    if (uid->first == kUidKey) {
      if (auto n = uid->second.integer(); n && *n >= 0 && *n <= UINT32_MAX) {
        return Value(Uid{static_cast<uint64_t>(*n)});
      }
    }
  }
  return Value(std::move(d));
}

Value fromNode(plist_t node, int depth) {
  if (depth > PropertyList::kMaxDepth)
    throw Exception::parse("property list: nested too deeply");
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      uint8_t b = 0;
      plist_get_bool_val(node, &b);
      return Value(b != 0);
    }
    case PLIST_UINT: {
      uint64_t u = 0;
      plist_get_uint_val(node, &u);
      return Value(static_cast<int64_t>(u));  // negatives arrive as two's complement
    }
    case PLIST_REAL: {
      double d = 0;
      plist_get_real_val(node, &d);
      return Value(d);
    }
    case PLIST_STRING:
    case PLIST_KEY: {
      uint64_t len = 0;
      const char* p = plist_get_string_ptr(node, &len);
      return Value(checkedString(p, len));
    }
    case PLIST_DATA: {
      uint64_t len = 0;
      const char* p = plist_get_data_ptr(node, &len);
      const auto* u = reinterpret_cast<const uint8_t*>(p);
      return Value(Data(u, u + (p ? len : 0)));
    }
    case PLIST_DATE: {
      int32_t sec = 0, usec = 0;
      plist_get_date_val(node, &sec, &usec);
      return Value(Date{sec + usec / 1e6});
    }
    case PLIST_UID: {
      uint64_t u = 0;
      plist_get_uid_val(node, &u);
      return Value(Uid{u});
    }
    case PLIST_ARRAY: {
      Value::Array a;
      uint32_t n = plist_array_get_size(node);
      a.reserve(n);
      for (uint32_t i = 0; i < n; ++i)
        a.push_back(fromNode(plist_array_get_item(node, i), depth + 1));
      return Value(std::move(a));
    }
    case PLIST_DICT:
      return dictionaryFromNode(node, depth);
    default:
      throw Exception::parse("property list: unknown node type");
  }
}

plist_t toNode(const Value& v, int depth) {
  if (depth > PropertyList::kMaxDepth) {
    throw Exception::unsupported("property list: nested too deeply to write");
  }
  switch (v.type()) {
    case Value::Type::kNull:
      throw Exception::unsupported("property list: null cannot be written");
    case Value::Type::kBool:
      return plist_new_bool(*v.boolean() ? 1 : 0);
    case Value::Type::kInteger:
      return plist_new_uint(static_cast<uint64_t>(*v.integer()));
    case Value::Type::kReal:
      return plist_new_real(*v.real());
    case Value::Type::kString: {
      const std::string& s = *v.string();
      if (s.find('\0') != std::string::npos) {
        throw Exception::unsupported("property list: string holds a NUL character");
      }
      return plist_new_string(s.c_str());
    }
    case Value::Type::kData: {
      const Data& d = *v.data();
      return plist_new_data(reinterpret_cast<const char*>(d.data()), d.size());
    }
    case Value::Type::kDate: {
      double t = v.date()->sinceReferenceDate;
      if (!(t > INT32_MIN && t < INT32_MAX))
        throw Exception::unsupported("property list: date out of range");
      double sec = std::floor(t);
      return plist_new_date(static_cast<int32_t>(sec),
                            static_cast<int32_t>(std::lround((t - sec) * 1e6)));
    }
    case Value::Type::kUid:
      return plist_new_uid(v.uid()->index);
    case Value::Type::kArray: {
      Node a(plist_new_array());
      for (const Value& item : *v.array())
        plist_array_append_item(a.get(), toNode(item, depth + 1));
      return a.release();
    }
    case Value::Type::kDictionary: {
      Node d(plist_new_dict());
      for (const auto& [key, item] : *v.dictionary()) {
        if (key.find('\0') != std::string::npos) {
          throw Exception::unsupported("property list: key holds a NUL character");
        }
        plist_dict_set_item(d.get(), key.c_str(), toNode(item, depth + 1));
      }
      return d.release();
    }
  }
  throw Exception::unsupported("property list: unknown value type");
}

// XML only: the binary form has a reader of its own.
Node parseXmlNode(const char* p, size_t size) {
  if (size > PropertyList::kMaxInputBytes)
    throw Exception::parse("property list: input too large");
  if (size == 0)
    throw Exception::parse("property list: empty input");
  plist_t node = nullptr;
  plist_from_xml(p, static_cast<uint32_t>(size), &node);
  if (node == nullptr)
    throw Exception::parse("property list: not a valid binary or XML property list");
  return Node(node);
}

}  // namespace

Value PropertyList::parse(std::span<const uint8_t> bytes) {
  if (bytes.size() > kMaxInputBytes)
    throw Exception::parse("property list: input too large");
  if (BinaryPropertyList::isBinary(bytes))
    return BinaryPropertyList::read(bytes);
  Node node = parseXmlNode(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return fromNode(node.get(), 0);
}

Value PropertyList::parse(std::string_view text) {
  return parse(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

Data PropertyList::binaryData(const Value& value) {
  return BinaryPropertyList::write(value);
}

std::string PropertyList::xmlText(const Value& value) {
  Node node(toNode(value, 0));
  char* out = nullptr;
  uint32_t len = 0;
  plist_to_xml(node.get(), &out, &len);
  if (out == nullptr)
    throw Exception::unsupported("property list: XML writing failed");
  std::string s(out, len);
  plist_to_xml_free(out);
  return s;
}

}  // namespace qrl::archive

#include "platform/archive/PropertyList.h"

#include <plist/plist.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "platform/process/Exception.h"

namespace qrl::archive {
namespace {

struct NodeDeleter {
  void operator()(plist_t node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, NodeDeleter>;

constexpr std::string_view kUidKey = "CF$UID";

// Binary plists can only nest as deep as they have objects, but libplist
// recurses once per level while parsing. This walks the object graph from the
// trailer first and refuses anything nested deeper than we accept, so libplist
// never sees a pathological input.
class BinaryDepthCheck {
 public:
  explicit BinaryDepthCheck(std::span<const uint8_t> b) : b_(b) {}

  void run() {
    if (b_.size() < 8 + 32)
      throw Exception::parse("binary property list: too short");
    auto t = b_.subspan(b_.size() - 32);
    offsetSize_ = t[6];
    refSize_ = t[7];
    count_ = be(t.subspan(8, 8));
    uint64_t top = be(t.subspan(16, 8));
    tableOffset_ = be(t.subspan(24, 8));
    if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8 || count_ == 0 ||
        top >= count_ || tableOffset_ >= b_.size() ||
        count_ > (b_.size() - tableOffset_) / offsetSize_) {
      throw Exception::parse("binary property list: bad trailer");
    }
    // Iterative post-order walk with a memo per object: its height and how many
    // nodes it expands to. libplist copies a shared object at every reference,
    // so a few shared levels could otherwise expand exponentially.
    constexpr uint8_t kUnseen = 0, kOnPath = 1, kDone = 2;
    std::vector<uint8_t> state(count_, kUnseen);
    std::vector<uint32_t> height(count_, 0);
    std::vector<uint64_t> expanded(count_, 0);
    const uint64_t maxExpanded = 1'000'000 + 8 * static_cast<uint64_t>(b_.size());
    struct Frame {
      uint64_t object;
      std::vector<uint64_t> children;
      size_t next = 0;
      uint32_t height = 1;
      uint64_t expanded = 1;
    };
    std::vector<Frame> stack;
    stack.push_back({top, childrenOf(top)});
    state[top] = kOnPath;
    while (!stack.empty()) {
      Frame& f = stack.back();
      if (f.next == f.children.size()) {
        state[f.object] = kDone;
        height[f.object] = f.height;
        expanded[f.object] = f.expanded;
        Frame done = std::move(stack.back());
        stack.pop_back();
        if (!stack.empty())
          absorb(stack.back(), done.height, done.expanded, maxExpanded);
        continue;
      }
      uint64_t c = f.children[f.next++];
      if (c >= count_)
        throw Exception::parse("binary property list: object reference out of range");
      if (state[c] == kOnPath)
        throw Exception::parse("binary property list: object refers to itself");
      if (state[c] == kDone) {
        absorb(f, height[c], expanded[c], maxExpanded);
        continue;
      }
      if (stack.size() >= static_cast<size_t>(PropertyList::kMaxDepth)) {
        throw Exception::parse("binary property list: nested too deeply");
      }
      state[c] = kOnPath;
      stack.push_back({c, childrenOf(c)});
    }
  }

 private:
  template <typename Frame>
  static void absorb(Frame& parent, uint32_t childHeight, uint64_t childExpanded, uint64_t limit) {
    parent.height = std::max(parent.height, childHeight + 1);
    parent.expanded += childExpanded;
    if (parent.height > static_cast<uint32_t>(PropertyList::kMaxDepth)) {
      throw Exception::parse("binary property list: nested too deeply");
    }
    if (parent.expanded > limit)
      throw Exception::parse("binary property list: too many objects");
  }

  static uint64_t be(std::span<const uint8_t> s) {
    uint64_t v = 0;
    for (uint8_t x : s)
      v = (v << 8) | x;
    return v;
  }

  uint64_t readAt(uint64_t pos, uint64_t size) const {
    if (pos > b_.size() || size > b_.size() - pos) {
      throw Exception::parse("binary property list: truncated object");
    }
    return be(b_.subspan(pos, size));
  }

  std::vector<uint64_t> childrenOf(uint64_t object) const {
    uint64_t pos = readAt(tableOffset_ + object * offsetSize_, offsetSize_);
    uint8_t marker = static_cast<uint8_t>(readAt(pos, 1));
    uint8_t kind = marker >> 4;
    if (kind != 0xA && kind != 0xC && kind != 0xD)
      return {};
    uint64_t n = marker & 0x0F;
    pos += 1;
    if (n == 0x0F) {
      uint8_t intMarker = static_cast<uint8_t>(readAt(pos, 1));
      if ((intMarker >> 4) != 1 || (intMarker & 0x0F) > 3) {
        throw Exception::parse("binary property list: bad collection size");
      }
      uint64_t width = uint64_t{1} << (intMarker & 0x0F);
      n = readAt(pos + 1, width);
      pos += 1 + width;
    }
    uint64_t refs = kind == 0xD ? n * 2 : n;
    if (n > b_.size() || refs * refSize_ > b_.size() - std::min<uint64_t>(pos, b_.size())) {
      throw Exception::parse("binary property list: collection larger than the data");
    }
    std::vector<uint64_t> children;
    children.reserve(refs);
    for (uint64_t i = 0; i < refs; ++i)
      children.push_back(readAt(pos + i * refSize_, refSize_));
    return children;
  }

  std::span<const uint8_t> b_;
  uint64_t offsetSize_ = 0;
  uint64_t refSize_ = 0;
  uint64_t count_ = 0;
  uint64_t tableOffset_ = 0;
};

Value fromNode(plist_t node, int depth);

// Strings are UTF-8 in memory; bytes that are not (an "ASCII" string with high
// bytes, say) would not write back the same, so they are refused on reading.
bool isUtf8(std::string_view s) {
  size_t i = 0;
  while (i < s.size()) {
    auto c = static_cast<uint8_t>(s[i]);
    size_t more = c < 0x80                  ? 0
                  : (c >= 0xC2 && c < 0xE0) ? 1
                  : (c & 0xF0) == 0xE0      ? 2
                  : (c >= 0xF0 && c < 0xF5) ? 3
                                            : 4;
    if (more == 4 || more >= s.size() - i) {
      if (more != 0)
        return false;
    }
    for (size_t k = 1; k <= more; ++k) {
      if ((static_cast<uint8_t>(s[i + k]) & 0xC0) != 0x80)
        return false;
    }
    i += more + 1;
  }
  return true;
}

std::string checkedString(const char* p, uint64_t len) {
  std::string s(p ? p : "", p ? len : 0);
  if (!isUtf8(s))
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

Node parseNode(const char* p, size_t size) {
  if (size > PropertyList::kMaxInputBytes)
    throw Exception::parse("property list: input too large");
  if (size == 0)
    throw Exception::parse("property list: empty input");
  plist_t node = nullptr;
  auto n = static_cast<uint32_t>(size);
  if (plist_is_binary(p, n)) {
    BinaryDepthCheck(std::span(reinterpret_cast<const uint8_t*>(p), size)).run();
    plist_from_bin(p, n, &node);
  } else {
    plist_from_xml(p, n, &node);
  }
  if (node == nullptr)
    throw Exception::parse("property list: not a valid binary or XML property list");
  return Node(node);
}

}  // namespace

Value PropertyList::parse(std::span<const uint8_t> bytes) {
  Node node = parseNode(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return fromNode(node.get(), 0);
}

Value PropertyList::parse(std::string_view text) {
  Node node = parseNode(text.data(), text.size());
  return fromNode(node.get(), 0);
}

Data PropertyList::binaryData(const Value& value) {
  Node node(toNode(value, 0));
  char* out = nullptr;
  uint32_t len = 0;
  plist_to_bin(node.get(), &out, &len);
  if (out == nullptr)
    throw Exception::unsupported("property list: binary writing failed");
  Data d(reinterpret_cast<uint8_t*>(out), reinterpret_cast<uint8_t*>(out) + len);
  plist_to_bin_free(out);
  return d;
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

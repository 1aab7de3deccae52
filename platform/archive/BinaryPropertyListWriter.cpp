#include "platform/archive/BinaryPropertyList.h"

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/archive/BinaryPropertyListFormat.h"
#include "platform/base/Exception.h"

namespace qrl::archive {
namespace bplist {
namespace {

// One code point from valid UTF-8 at s[i]; advances i.
char32_t nextCodePoint(std::string_view s, size_t& i) {
  auto c = static_cast<uint8_t>(s[i++]);
  if (c < 0x80)
    return c;
  int more = c < 0xE0 ? 1 : c < 0xF0 ? 2 : 3;
  char32_t cp = c & (0x3F >> more);
  for (int k = 0; k < more; ++k)
    cp = (cp << 6) | (static_cast<uint8_t>(s[i++]) & 0x3F);
  return cp;
}

// A quick hash for the writer's string table (eight bytes at a time).
uint64_t hashOf(std::string_view s) {
  constexpr uint64_t kMul = 0xFF51AFD7ED558CCDu;
  uint64_t h = 0x9E3779B97F4A7C15u ^ s.size();
  size_t i = 0;
  for (; i + 8 <= s.size(); i += 8) {
    h = (h ^ word(s.data() + i)) * kMul;
    h ^= h >> 32;
  }
  uint64_t tail = 0;
  std::memcpy(&tail, s.data() + i, s.size() - i);
  h = (h ^ tail) * kMul;
  return h ^ (h >> 29);
}

class Writer {
 public:
  Data run(const Value& root) {
    slots_.assign(64, 0);
    add(root, 0);
    refSize_ = widthFor(items_.size() - 1);
    // Room for the most the objects can take, so that they are written
    // through a cursor without checks; the excess is cut off at the end.
    size_t objectsBound = sizeof kMagic + estimate_ + refs_.size() * refSize_;
    Data out(objectsBound + items_.size() * widthFor(objectsBound) + kTrailerBytes);
    p_ = out.data();
    std::memcpy(p_, kMagic, sizeof kMagic);
    p_ += sizeof kMagic;
    for (Item& item : items_) {
      item.offset = static_cast<uint64_t>(p_ - out.data());
      emit(item);
    }
    auto tableOffset = static_cast<uint64_t>(p_ - out.data());
    unsigned offsetSize = widthFor(items_.back().offset);
    for (const Item& item : items_)
      put(item.offset, offsetSize);
    std::memset(p_, 0, 6);
    p_ += 6;
    *p_++ = static_cast<uint8_t>(offsetSize);
    *p_++ = static_cast<uint8_t>(refSize_);
    put(items_.size(), 8);
    put(0, 8);  // the root is written first
    put(tableOffset, 8);
    out.resize(static_cast<size_t>(p_ - out.data()));
    return out;
  }

 private:
  // A string object is a key or a string value; everything else is a Value.
  struct Item {
    const Value* value = nullptr;
    const std::string* text = nullptr;
    uint32_t refs = 0;  // first reference in refs_, for containers
    bool ascii = false;
    uint64_t offset = 0;
  };

  uint32_t push(Item item) {
    if (items_.size() >= std::numeric_limits<uint32_t>::max())
      throw Exception::unsupported("property list: too many objects to write");
    items_.push_back(item);
    return static_cast<uint32_t>(items_.size() - 1);
  }

  uint32_t add(const Value& v, int depth) {
    if (depth > BinaryPropertyList::kMaxDepth)
      throw Exception::unsupported("property list: nested too deeply to write");
    switch (v.type()) {
      case Value::Type::kNull:
        throw Exception::unsupported("property list: null cannot be written");
      case Value::Type::kString:
        return addString(*v.string(), "string");
      case Value::Type::kDate: {
        double t = v.date()->sinceReferenceDate;
        if (!(t > INT32_MIN && t < INT32_MAX))
          throw Exception::unsupported("property list: date out of range");
        break;
      }
      case Value::Type::kData:
        estimate_ += 10 + v.data()->size();
        return push({&v});
      case Value::Type::kArray: {
        const Value::Array& a = *v.array();
        auto start = static_cast<uint32_t>(refs_.size());
        uint32_t index = push({&v, nullptr, start});
        estimate_ += 10;
        refs_.resize(refs_.size() + a.size());
        for (size_t i = 0; i < a.size(); ++i)
          refs_[start + i] = add(a[i], depth + 1);
        return index;
      }
      case Value::Type::kDictionary: {
        const Value::Dictionary& d = *v.dictionary();
        auto start = static_cast<uint32_t>(refs_.size());
        uint32_t index = push({&v, nullptr, start});
        estimate_ += 10;
        refs_.resize(refs_.size() + 2 * d.size());
        size_t i = 0;
        for (const auto& [key, item] : d) {
          refs_[start + i] = addString(key, "key");
          refs_[start + d.size() + i] = add(item, depth + 1);
          ++i;
        }
        return index;
      }
      default:
        break;
    }
    estimate_ += 9;
    return push({&v});
  }

  // Each distinct string is written once; archives repeat their keys and
  // class names in every object.
  uint32_t addString(const std::string& s, const char* what) {
    size_t mask = slots_.size() - 1;
    size_t h = hashOf(s) & mask;
    for (; slots_[h] != 0; h = (h + 1) & mask) {
      if (*items_[slots_[h] - 1].text == s)
        return slots_[h] - 1;
    }
    bool ascii = true;
    size_t i = 0;
    for (; i + 8 <= s.size(); i += 8) {
      uint64_t w = word(s.data() + i);
      if (((w - kLowBits) & ~w & kHighBits) != 0 || (w & kHighBits) != 0)
        break;  // a NUL or a byte past ASCII: look closer
    }
    for (; i < s.size(); ++i) {
      if (s[i] == '\0') {
        throw Exception::unsupported(std::string("property list: ") + what +
                                     " holds a NUL character");
      }
      ascii = ascii && static_cast<uint8_t>(s[i]) < 0x80;
    }
    if (!ascii && !BinaryPropertyList::isUtf8(s))
      throw Exception::unsupported(std::string("property list: ") + what + " is not valid UTF-8");
    uint32_t index = push({nullptr, &s, 0, ascii});
    slots_[h] = index + 1;
    estimate_ += 10 + (ascii ? 1 : 2) * s.size();  // no more UTF-16 units than bytes
    if (++strings_ * 2 > slots_.size())
      rehash();
    return index;
  }

  void rehash() {
    std::vector<uint32_t> old(slots_.size() * 2, 0);
    old.swap(slots_);
    size_t mask = slots_.size() - 1;
    for (uint32_t slot : old) {
      if (slot == 0)
        continue;
      size_t h = hashOf(*items_[slot - 1].text) & mask;
      while (slots_[h] != 0)
        h = (h + 1) & mask;
      slots_[h] = slot;
    }
  }

  void put(uint64_t v, unsigned width) {
    for (unsigned s = width; s-- > 0;)
      *p_++ = static_cast<uint8_t>(v >> (8 * s));
  }

  void bytes(const void* b, size_t n) {
    if (n != 0)
      std::memcpy(p_, b, n);
    p_ += n;
  }

  // At most 10 bytes: the marker, then an integer marker and up to 8 bytes.
  void header(uint8_t type, uint64_t count) {
    if (count < 15) {
      *p_++ = static_cast<uint8_t>(type | count);
      return;
    }
    *p_++ = type | 0x0F;
    unsigned w = widthFor(count);
    *p_++ = static_cast<uint8_t>(kInt | log2Width(w));
    put(count, w);
  }

  void emitRefs(uint32_t start, size_t n) {
    for (size_t i = 0; i < n; ++i)
      put(refs_[start + i], refSize_);
  }

  void emitString(const Item& item) {
    const std::string& s = *item.text;
    if (item.ascii) {
      header(kAscii, s.size());
      bytes(s.data(), s.size());
      return;
    }
    size_t units = 0;
    for (size_t i = 0; i < s.size();)
      units += nextCodePoint(s, i) > 0xFFFF ? 2 : 1;
    header(kUtf16, units);
    for (size_t i = 0; i < s.size();) {
      char32_t cp = nextCodePoint(s, i);
      if (cp > 0xFFFF) {
        cp -= 0x10000;
        put(0xD800 + (cp >> 10), 2);
        put(0xDC00 + (cp & 0x3FF), 2);
      } else {
        put(cp, 2);
      }
    }
  }

  void emit(const Item& item) {
    if (item.text != nullptr) {
      emitString(item);
      return;
    }
    const Value& v = *item.value;
    switch (v.type()) {
      case Value::Type::kBool:
        *p_++ = *v.boolean() ? kTrue : kFalse;
        break;
      case Value::Type::kInteger: {
        int64_t i = *v.integer();
        auto u = static_cast<uint64_t>(i);
        unsigned w = i < 0 ? 8 : widthFor(u);
        *p_++ = static_cast<uint8_t>(kInt | log2Width(w));
        put(u, w);
        break;
      }
      case Value::Type::kReal: {
        double d = *v.real();
        if (std::fabs(d) <= FLT_MAX && static_cast<double>(static_cast<float>(d)) == d) {
          *p_++ = kReal | 2;
          put(std::bit_cast<uint32_t>(static_cast<float>(d)), 4);
        } else {
          *p_++ = kReal | 3;
          put(std::bit_cast<uint64_t>(d), 8);
        }
        break;
      }
      case Value::Type::kDate:
        *p_++ = kDate;
        put(std::bit_cast<uint64_t>(v.date()->sinceReferenceDate), 8);
        break;
      case Value::Type::kData: {
        const Data& d = *v.data();
        header(kData, d.size());
        bytes(d.data(), d.size());
        break;
      }
      case Value::Type::kUid: {
        uint64_t u = v.uid()->index;
        unsigned w = widthFor(u);
        *p_++ = static_cast<uint8_t>(kUid | (w - 1));
        put(u, w);
        break;
      }
      case Value::Type::kArray:
        header(kArray, v.array()->size());
        emitRefs(item.refs, v.array()->size());
        break;
      case Value::Type::kDictionary:
        header(kDict, v.dictionary()->size());
        emitRefs(item.refs, 2 * v.dictionary()->size());
        break;
      default:
        throw Exception::unsupported("property list: unknown value type");
    }
  }

  Scratch<Item, 0> itemScratch_;
  Scratch<uint32_t, 1> refScratch_;
  Scratch<uint32_t, 2> slotScratch_;
  std::vector<Item>& items_ = itemScratch_.v;
  std::vector<uint32_t>& refs_ = refScratch_.v;
  std::vector<uint32_t>& slots_ = slotScratch_.v;  // string table: item index + 1, 0 when empty
  size_t strings_ = 0;
  size_t estimate_ = 0;  // the most bytes the objects take, references aside
  unsigned refSize_ = 1;
  uint8_t* p_ = nullptr;
};

}  // namespace
}  // namespace bplist

Data BinaryPropertyList::write(const Value& value) {
  return bplist::Writer().run(value);
}

}  // namespace qrl::archive

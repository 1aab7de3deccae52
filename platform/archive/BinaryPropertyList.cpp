#include "platform/archive/BinaryPropertyList.h"

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include "platform/process/Exception.h"

namespace qrl::archive {
namespace {

constexpr uint8_t kMagic[8] = {'b', 'p', 'l', 'i', 's', 't', '0', '0'};
constexpr size_t kTrailerBytes = 32;

// Markers: the high nibble is the type, the low one a size or sub-type.
enum : uint8_t {
  kFalse = 0x08,
  kTrue = 0x09,
  kInt = 0x10,
  kReal = 0x20,
  kDate = 0x33,
  kData = 0x40,
  kAscii = 0x50,
  kUtf16 = 0x60,
  kUid = 0x80,
  kArray = 0xA0,
  kSet = 0xC0,
  kDict = 0xD0,
};

unsigned widthFor(uint64_t v) {
  return v <= 0xFF ? 1 : v <= 0xFFFF ? 2 : v <= 0xFFFFFFFF ? 4 : 8;
}

uint8_t log2Width(unsigned width) {
  return static_cast<uint8_t>(std::countr_zero(width));
}

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

constexpr uint64_t kHighBits = 0x8080808080808080u;
constexpr uint64_t kLowBits = 0x0101010101010101u;

uint64_t word(const char* p) {
  uint64_t w;
  std::memcpy(&w, p, sizeof w);
  return w;
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

// Working vectors kept per thread from one call to the next, so that small
// messages do not allocate them every time; after a large value they give
// their memory back. Writer and Reader never run inside one another.
template <typename T, int Tag>
class Scratch {
 public:
  Scratch() : v(storage()) { v.clear(); }
  ~Scratch() {
    if (v.capacity() > 4096)
      std::vector<T>().swap(v);
    else
      v.clear();
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  std::vector<T>& v;

 private:
  static std::vector<T>& storage() {
    thread_local std::vector<T> s;
    return s;
  }
};

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

class Reader {
 public:
  explicit Reader(std::span<const uint8_t> b) : b_(b) {}

  Value run() {
    if (b_.size() < sizeof kMagic + kTrailerBytes)
      throw Exception::parse("binary property list: too short");
    size_t trailer = b_.size() - kTrailerBytes;
    offsetSize_ = b_[trailer + 6];
    refSize_ = b_[trailer + 7];
    count_ = be(trailer + 8, 8);
    uint64_t top = be(trailer + 16, 8);
    end_ = be(trailer + 24, 8);
    if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8 || count_ == 0 ||
        top >= count_ || end_ < sizeof kMagic || end_ > trailer ||
        count_ > (trailer - end_) / offsetSize_) {
      throw Exception::parse("binary property list: bad trailer");
    }
    maxNodes_ = BinaryPropertyList::maxExpandedObjects(b_.size());
    maxBytes_ = BinaryPropertyList::maxExpandedBytes(b_.size());
    marks_.assign(count_, kUnseen);
    Cost cost;
    return object(top, 0, cost);
  }

 private:
  static constexpr uint32_t kUnseen = 0, kOnPath = std::numeric_limits<uint32_t>::max();

  // What a value expands to when every shared reference is counted.
  struct Cost {
    uint64_t nodes = 0;
    uint64_t bytes = 0;
  };
  struct Shared {
    Value value;
    Cost cost;
  };

  uint64_t be(uint64_t pos, unsigned width) const {
    uint64_t v = 0;
    for (unsigned i = 0; i < width; ++i)
      v = (v << 8) | b_[pos + i];
    return v;
  }

  // Checks that `size` bytes at `pos` lie within the object area.
  void need(uint64_t pos, uint64_t size) const {
    if (pos > end_ || size > end_ - pos)
      throw Exception::parse("binary property list: truncated object");
  }

  // Adds a child's cost to its parent's, refusing past the limits (which the
  // running totals never exceed, so the sums cannot overflow).
  void charge(Cost& total, Cost more) const {
    if (more.nodes > maxNodes_ - total.nodes)
      throw Exception::parse("binary property list: too many objects");
    if (more.bytes > maxBytes_ - total.bytes)
      throw Exception::parse("binary property list: expands to too much data");
    total.nodes += more.nodes;
    total.bytes += more.bytes;
  }

  uint64_t offsetOf(uint64_t index) const {
    if (index >= count_)
      throw Exception::parse("binary property list: object reference out of range");
    uint64_t off = be(end_ + index * offsetSize_, offsetSize_);
    if (off < sizeof kMagic || off >= end_)
      throw Exception::parse("binary property list: object offset out of range");
    return off;
  }

  // The count in a marker's low nibble, or in the integer after it.
  uint64_t count(uint8_t marker, uint64_t& pos) const {
    if ((marker & 0x0F) != 0x0F)
      return marker & 0x0F;
    need(pos, 1);
    uint8_t intMarker = b_[pos];
    if ((intMarker & 0xF0) != kInt || (intMarker & 0x0F) > 3)
      throw Exception::parse("binary property list: bad collection size");
    unsigned w = 1u << (intMarker & 0x0F);
    need(pos + 1, w);
    uint64_t n = be(pos + 1, w);
    pos += 1 + w;
    return n;
  }

  // A string of n bytes (ASCII) or n units (UTF-16) at pos, after its marker.
  std::string string(uint8_t marker, uint64_t pos, uint64_t n, Cost& cost) const {
    bool isAscii = (marker & 0xF0) == kAscii;
    if (pos > end_ || n > (end_ - pos) / (isAscii ? 1 : 2))
      throw Exception::parse("binary property list: truncated object");
    charge(cost, {1, n});  // before allocating; a UTF-16 unit counts once
    return isAscii ? ascii(pos, n) : utf16(pos, n);
  }

  std::string ascii(uint64_t pos, uint64_t n) const {
    std::string s(reinterpret_cast<const char*>(b_.data() + pos), n);
    if (!BinaryPropertyList::isUtf8(s))
      throw Exception::parse("property list: a string is not valid UTF-8");
    return s;
  }

  std::string utf16(uint64_t pos, uint64_t units) const {
    std::string s;
    s.reserve(units * 3);
    for (uint64_t i = 0; i < units; ++i) {
      char32_t cp = static_cast<char32_t>(be(pos + 2 * i, 2));
      if (cp >= 0xD800 && cp < 0xDC00 && i + 1 < units) {
        auto low = static_cast<char32_t>(be(pos + 2 * (i + 1), 2));
        if (low >= 0xDC00 && low < 0xE000) {
          cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
          ++i;
        }
      }
      if (cp >= 0xD800 && cp < 0xE000)
        throw Exception::parse("property list: a string is not valid UTF-16");
      if (cp < 0x80) {
        s += static_cast<char>(cp);
      } else if (cp < 0x800) {
        s += static_cast<char>(0xC0 | (cp >> 6));
        s += static_cast<char>(0x80 | (cp & 0x3F));
      } else if (cp < 0x10000) {
        s += static_cast<char>(0xE0 | (cp >> 12));
        s += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        s += static_cast<char>(0x80 | (cp & 0x3F));
      } else {
        s += static_cast<char>(0xF0 | (cp >> 18));
        s += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        s += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        s += static_cast<char>(0x80 | (cp & 0x3F));
      }
    }
    return s;
  }

  std::string key(uint64_t index, Cost& cost) const {
    uint64_t pos = offsetOf(index);
    uint8_t marker = b_[pos++];
    if ((marker & 0xF0) != kAscii && (marker & 0xF0) != kUtf16)
      throw Exception::parse("binary property list: a dictionary key is not a string");
    uint64_t n = count(marker, pos);
    return string(marker, pos, n, cost);
  }

  Value object(uint64_t index, int depth, Cost& parent) {
    if (depth >= BinaryPropertyList::kMaxDepth)
      throw Exception::parse("binary property list: nested too deeply");
    uint64_t pos = offsetOf(index);
    uint8_t marker = b_[pos++];
    uint8_t low = marker & 0x0F;
    switch (marker & 0xF0) {
      case 0x00:
        if (marker != kFalse && marker != kTrue)
          break;
        charge(parent, {1, 0});
        return Value(marker == kTrue);
      case kInt: {
        if (low > 4)
          break;
        unsigned w = 1u << low;
        need(pos, w);
        charge(parent, {1, 0});
        // 16-byte integers hold values past INT64_MAX; their low half wraps.
        uint64_t u = w == 16 ? be(pos + 8, 8) : be(pos, w);
        return Value(static_cast<int64_t>(u));
      }
      case kReal:
        if (low == 2) {
          need(pos, 4);
          charge(parent, {1, 0});
          return Value(
              static_cast<double>(std::bit_cast<float>(static_cast<uint32_t>(be(pos, 4)))));
        }
        if (low == 3) {
          need(pos, 8);
          charge(parent, {1, 0});
          return Value(std::bit_cast<double>(be(pos, 8)));
        }
        break;
      case kDate & 0xF0:
        if (marker != kDate)
          break;
        need(pos, 8);
        charge(parent, {1, 0});
        return Value(Date{std::bit_cast<double>(be(pos, 8))});
      case kData: {
        uint64_t n = count(marker, pos);
        need(pos, n);
        charge(parent, {1, n});  // before allocating
        const uint8_t* p = b_.data() + pos;
        return Value(Data(p, p + n));
      }
      case kAscii:
      case kUtf16: {
        uint64_t n = count(marker, pos);
        return Value(string(marker, pos, n, parent));
      }
      case kUid: {
        unsigned w = low + 1u;
        if (w > 8)
          break;
        need(pos, w);
        charge(parent, {1, 0});
        return Value(Uid{be(pos, w)});
      }
      case kArray:
      case kSet:
      case kDict:
        return container(index, marker, pos, depth, parent);
      default:
        break;
    }
    throw Exception::parse("binary property list: unsupported object type");
  }

  // Arrays (sets read as arrays) and dictionaries. A container met again is
  // shared, not decoded again, but its cost counts at every reference.
  Value container(uint64_t index, uint8_t marker, uint64_t pos, int depth, Cost& parent) {
    uint32_t& mark = marks_[index];
    if (mark == kOnPath)
      throw Exception::parse("binary property list: object refers to itself");
    if (mark != kUnseen) {
      const Shared& seen = shared_[mark - 1];
      charge(parent, seen.cost);
      return seen.value;
    }
    bool dict = (marker & 0xF0) == kDict;
    uint64_t n = count(marker, pos);
    uint64_t refs = dict ? 2 * n : n;
    if (n > end_ || refs > (end_ - std::min(pos, end_)) / refSize_)
      throw Exception::parse("binary property list: collection larger than the data");
    mark = kOnPath;
    Cost cost{1, 0};
    Value v;
    if (dict) {
      Value::Dictionary d;
      for (uint64_t i = 0; i < n; ++i) {
        std::string k = key(be(pos + i * refSize_, refSize_), cost);
        Value item = object(be(pos + (n + i) * refSize_, refSize_), depth + 1, cost);
        d.insert_or_assign(d.end(), std::move(k), std::move(item));
      }
      v = Value(std::move(d));
    } else {
      Value::Array a;
      a.reserve(n);
      for (uint64_t i = 0; i < n; ++i)
        a.push_back(object(be(pos + i * refSize_, refSize_), depth + 1, cost));
      v = Value(std::move(a));
    }
    charge(parent, cost);
    shared_.push_back({v, cost});
    marks_[index] = static_cast<uint32_t>(shared_.size());
    return v;
  }

  std::span<const uint8_t> b_;
  unsigned offsetSize_ = 0;
  unsigned refSize_ = 0;
  uint64_t count_ = 0;
  uint64_t end_ = 0;  // where the offset table starts: objects lie before it
  uint64_t maxNodes_ = 0;
  uint64_t maxBytes_ = 0;
  Scratch<uint32_t, 3> markScratch_;
  Scratch<Shared, 4> sharedScratch_;
  std::vector<uint32_t>& marks_ = markScratch_.v;  // unseen, on the path, or shared_ index + 1
  std::vector<Shared>& shared_ = sharedScratch_.v;
};

}  // namespace

bool BinaryPropertyList::isBinary(std::span<const uint8_t> bytes) {
  return bytes.size() >= sizeof kMagic && std::memcmp(bytes.data(), kMagic, sizeof kMagic) == 0;
}

Value BinaryPropertyList::read(std::span<const uint8_t> bytes) {
  if (bytes.size() > kMaxInputBytes)
    throw Exception::parse("property list: input too large");
  if (!isBinary(bytes))
    throw Exception::parse("binary property list: no bplist00 header");
  return Reader(bytes).run();
}

Data BinaryPropertyList::write(const Value& value) {
  return Writer().run(value);
}

bool BinaryPropertyList::isUtf8(std::string_view s) {
  size_t i = 0, n = s.size();
  while (i < n) {
    while (i + 8 <= n && (word(s.data() + i) & kHighBits) == 0)
      i += 8;
    if (i == n)
      break;
    auto c = static_cast<uint8_t>(s[i]);
    if (c < 0x80) {
      ++i;
      continue;
    }
    size_t more;
    uint8_t lo = 0x80, hi = 0xBF;  // allowed range of the first continuation byte
    if (c >= 0xC2 && c < 0xE0) {
      more = 1;
    } else if (c >= 0xE0 && c < 0xF0) {
      more = 2;
      lo = c == 0xE0 ? 0xA0 : 0x80;  // no overlong forms
      hi = c == 0xED ? 0x9F : 0xBF;  // no surrogates
    } else if (c >= 0xF0 && c < 0xF5) {
      more = 3;
      lo = c == 0xF0 ? 0x90 : 0x80;
      hi = c == 0xF4 ? 0x8F : 0xBF;  // nothing past U+10FFFF
    } else {
      return false;
    }
    if (more >= n - i)
      return false;
    auto first = static_cast<uint8_t>(s[i + 1]);
    if (first < lo || first > hi)
      return false;
    for (size_t k = 2; k <= more; ++k) {
      if ((static_cast<uint8_t>(s[i + k]) & 0xC0) != 0x80)
        return false;
    }
    i += more + 1;
  }
  return true;
}

}  // namespace qrl::archive

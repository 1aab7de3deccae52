#include "platform/archive/BinaryPropertyList.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "platform/archive/BinaryPropertyListFormat.h"
#include "platform/base/Exception.h"

namespace qrl::archive {
namespace bplist {
namespace {

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
}  // namespace bplist

bool BinaryPropertyList::isBinary(std::span<const uint8_t> bytes) {
  return bytes.size() >= sizeof bplist::kMagic &&
         std::memcmp(bytes.data(), bplist::kMagic, sizeof bplist::kMagic) == 0;
}

Value BinaryPropertyList::read(std::span<const uint8_t> bytes) {
  if (bytes.size() > kMaxInputBytes)
    throw Exception::parse("property list: input too large");
  if (!isBinary(bytes))
    throw Exception::parse("binary property list: no bplist00 header");
  return bplist::Reader(bytes).run();
}

bool BinaryPropertyList::isUtf8(std::string_view s) {
  size_t i = 0, n = s.size();
  while (i < n) {
    while (i + 8 <= n && (bplist::word(s.data() + i) & bplist::kHighBits) == 0)
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
#include "platform/archive/PropertyList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/base/Exception.h"

namespace qrl::archive {
namespace {

Value sample() {
  Value::Dictionary d;
  d.emplace("bool", true);
  d.emplace("negative", int64_t{-5});
  d.emplace("big", int64_t{1} << 40);
  d.emplace("half", 0.5);  // written as a 4-byte real by libplist; still 0.5
  d.emplace("third", 1.0 / 3.0);
  d.emplace("text", "héllo wörld");
  d.emplace("bytes", Data{0, 1, 2, 255});
  d.emplace("date", Date{1210536312.0});
  d.emplace("uid", Uid{300});
  d.emplace("list", Value::Array{Value(1), Value("two"), Value(Value::Array{})});
  d.emplace("empty", Value::Dictionary{});
  return Value(std::move(d));
}

TEST(PropertyList, BinaryAndXmlRoundTripEveryType) {
  Value v = sample();
  Data bin = PropertyList::binaryData(v);
  ASSERT_GE(bin.size(), 8u);
  EXPECT_EQ(std::string(bin.begin(), bin.begin() + 8), "bplist00");
  EXPECT_EQ(PropertyList::parse(bin), v);

  std::string xml = PropertyList::xmlText(v);
  EXPECT_NE(xml.find("<key>CF$UID</key>"), std::string::npos);
  // libplist 2.2 leaves CF$UID as a dictionary; ours must come back as a UID.
  Value back = PropertyList::parse(std::string_view(xml));
  EXPECT_EQ(back, v);
  EXPECT_EQ(back.find("uid")->uid(), Uid{300});
  EXPECT_EQ(back.find("negative")->integer(), -5);
}

TEST(PropertyList, CfUidDictionaryWithOtherKeysStaysADictionary) {
  Value v(Value::Dictionary{{"CF$UID", Value(3)}, {"other", Value(1)}});
  EXPECT_EQ(PropertyList::parse(std::string_view(PropertyList::xmlText(v))), v);
  Value notInteger(Value::Dictionary{{"CF$UID", Value("3")}});
  EXPECT_EQ(PropertyList::parse(std::string_view(PropertyList::xmlText(notInteger))), notInteger);
}

TEST(PropertyList, ValuesTheFormatsCannotHoldAreRefused) {
  struct Case {
    const char* name;
    Value value;
  };
  const Case cases[] = {
      {"null", Value()},
      {"null inside", Value(Value::Array{Value(1), Value()})},
      {"NUL in string", Value(std::string("a\0b", 3))},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    try {
      PropertyList::binaryData(c.value);
      ADD_FAILURE() << "no exception";
    } catch (const Exception& e) {
      EXPECT_EQ(e.kind(), Exception::Kind::Unsupported);
    }
  }
}

// A binary plist of one array nested `depth` times, hand-assembled so that the
// reader's limits are reached without libplist's writer.
Data nestedArrays(size_t depth, bool cycle) {
  Data b = {'b', 'p', 'l', 'i', 's', 't', '0', '0'};
  std::vector<uint64_t> offsets;
  for (size_t i = 0; i < depth; ++i) {
    offsets.push_back(b.size());
    bool last = i + 1 == depth;
    if (last && !cycle) {
      b.push_back(0xA0);
    } else {
      b.push_back(0xA1);
      b.push_back(static_cast<uint8_t>(0));  // patched below: 2-byte refs
      b.push_back(0);
    }
  }
  // Rewrite with 2-byte references: child index i+1 (or 0 for the cycle).
  for (size_t i = 0; i < depth; ++i) {
    bool last = i + 1 == depth;
    if (last && !cycle)
      continue;
    uint64_t child = last ? 0 : i + 1;
    b[offsets[i] + 1] = static_cast<uint8_t>(child >> 8);
    b[offsets[i] + 2] = static_cast<uint8_t>(child);
  }
  uint64_t table = b.size();
  for (uint64_t o : offsets) {
    for (int s = 3; s >= 0; --s)
      b.push_back(static_cast<uint8_t>(o >> (8 * s)));
  }
  uint8_t trailer[32] = {};
  trailer[6] = 4;  // offset size
  trailer[7] = 2;  // reference size
  for (int s = 0; s < 8; ++s) {
    trailer[15 - s] = static_cast<uint8_t>(static_cast<uint64_t>(depth) >> (8 * s));
    trailer[31 - s] = static_cast<uint8_t>(table >> (8 * s));
  }
  b.insert(b.end(), trailer, trailer + 32);
  return b;
}

TEST(PropertyList, NestingWithinTheLimitReads) {
  Value v = PropertyList::parse(nestedArrays(50, false));
  int depth = 0;
  for (const Value* p = &v; p->array() && !p->array()->empty(); p = &p->array()->front())
    ++depth;
  EXPECT_EQ(depth, 49);
}

TEST(PropertyList, MalformedInputIsAParseError) {
  struct Case {
    const char* name;
    Data bytes;
    const char* message;
  };
  Data good = PropertyList::binaryData(sample());
  Data truncated(good.begin(), good.begin() + static_cast<long>(good.size() / 2));
  Data badTrailer = good;
  badTrailer[badTrailer.size() - 1] ^= 0x7F;  // offset table moved off the end
  const Case cases[] = {
      {"empty", {}, "empty input"},
      {"garbage", {0x13, 0x37, 0x00, 0xFF, 'x'}, "not a valid"},
      {"bplist header only", {'b', 'p', 'l', 'i', 's', 't', '0', '0'}, "too short"},
      {"truncated", truncated, ""},
      {"bad trailer", badTrailer, ""},
      {"deep nesting", nestedArrays(5000, false), "nested too deeply"},
      {"cycle", nestedArrays(3, true), "refers to itself"},
      {"string not UTF-8",
       Data{'<', 'p', 'l', 'i', 's', 't', '>', '<', 's', 't', 'r', 'i', 'n', 'g', '>', 0xFF, '<',
            '/', 's', 't', 'r', 'i', 'n', 'g', '>', '<', '/', 'p', 'l', 'i', 's', 't', '>'},
       "UTF-8"},
      {"unclosed xml", Data{'<', 'p', 'l', 'i', 's', 't', '>', '<', 'a', 'r', 'r', 'a', 'y', '>'},
       ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    try {
      PropertyList::parse(c.bytes);
      ADD_FAILURE() << "no exception";
    } catch (const Exception& e) {
      EXPECT_EQ(e.kind(), Exception::Kind::Parse);
      EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
    }
  }
}

TEST(PropertyList, DeepXmlIsRefused) {
  std::string xml = "<plist version=\"1.0\">";
  for (int i = 0; i < 1000; ++i)
    xml += "<array>";
  for (int i = 0; i < 1000; ++i)
    xml += "</array>";
  xml += "</plist>";
  EXPECT_THROW(PropertyList::parse(std::string_view(xml)), Exception);
}

TEST(Value, CopiesShareCollectionsAndCompareDeeply) {
  Value a = sample();
  Value b = a;
  EXPECT_EQ(a.dictionary(), b.dictionary());  // shared, not copied
  EXPECT_EQ(a, b);
  Value c = PropertyList::parse(PropertyList::binaryData(a));
  EXPECT_NE(a.dictionary(), c.dictionary());
  EXPECT_EQ(a, c);
  EXPECT_NE(Value(1), Value(1.0));
  EXPECT_NE(Value(1), Value(true));
  EXPECT_FALSE(Value(1.5).integer());
  EXPECT_FALSE(Value(2).real());
  EXPECT_EQ(Value("x").find("x"), nullptr);
}

}  // namespace
}  // namespace qrl::archive

// Our binary property lists against two readers and writers that share no
// code with them (libplist and Python's plistlib), the exact bytes of each
// object kind, and hostile inputs.
#include "platform/archive/BinaryPropertyList.h"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "platform/archive/PropertyList.h"
#include "platform/base/Exception.h"

namespace qrl::archive {
namespace {

namespace fs = std::filesystem;

// Mirrors SAMPLE in plistlib_values.py.
Value sample() {
  Value::Array longArray;
  for (int i = 0; i < 20; ++i)
    longArray.emplace_back(i);
  Data longData;
  for (uint8_t i = 0; i < 40; ++i)
    longData.push_back(i);
  Value::Dictionary d{
      {"true", Value(true)},
      {"false", Value(false)},
      {"zero", Value(0)},
      {"byte", Value(255)},
      {"short", Value(256)},
      {"int32", Value(65536)},
      {"int64", Value(int64_t{1} << 40)},
      {"max", Value(INT64_MAX)},
      {"minus one", Value(-1)},
      {"min", Value(INT64_MIN)},
      {"half", Value(0.5)},
      {"third", Value(1.0 / 3)},
      {"negative real", Value(-1e300)},
      {"ascii", Value("plain text")},
      {"long ascii", Value("a string longer than fifteen characters")},
      {"latin", Value("h\xC3\xA9llo w\xC3\xB6rld")},
      {"cjk", Value("\xE3\x82\xBF\xE3\x82\xA4\xE3\x83\xA0\xE3\x82\xB3\xE3\x83\xBC\xE3\x83\x89")},
      {"astral", Value("clip \xF0\x9F\x8E\xAC end")},
      {"empty string", Value("")},
      {"data", Value(Data{0, 1, 2, 255})},
      {"empty data", Value(Data{})},
      {"long data", Value(longData)},
      {"date", Value(Date{263765112.0})},
      {"uid", Value(Uid{1})},
      {"uid 300", Value(Uid{300})},
      {"uid 70000", Value(Uid{70000})},
      {"array", Value(Value::Array{Value(1), Value("two"), Value(3.5), Value(Value::Array{}),
                                   Value(Value::Dictionary{})})},
      {"long array", Value(std::move(longArray))},
      {"nested",
       Value(Value::Dictionary{
           {"inner",
            Value(Value::Dictionary{
                {"deeper", Value(Value::Array{
                               Value(Uid{2}),
                               Value(Value::Dictionary{{"\xC3\xA9", Value("\xC3\xBC")}})})}})}})},
      {"empty array", Value(Value::Array{})},
      {"empty dict", Value(Value::Dictionary{})},
  };
  return Value(std::move(d));
}

class Plistlib : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ =
        fs::temp_directory_path() / ("qrl-bplist-" + std::to_string(::getpid()) + "-" +
                                     testing::UnitTest::GetInstance()->current_test_info()->name());
  }
  void TearDown() override { fs::remove(path_); }

  int judge(const char* mode) {
    const char* src = std::getenv("QRL_SOURCE_DIR");
    std::string cmd =
        "python3 '" +
        (fs::path(src ? src : ".") / "tests/platform/archive/plistlib_values.py").string() + "' " +
        mode + " '" + path_.string() + "'";
    return std::system(cmd.c_str());
  }

  fs::path path_;
};

TEST_F(Plistlib, ReadsWhatWeWrite) {
  Data bytes = BinaryPropertyList::write(sample());
  std::ofstream(path_, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  EXPECT_EQ(judge("check"), 0);
}

TEST_F(Plistlib, WeReadWhatItWrites) {
  ASSERT_EQ(judge("write"), 0);
  std::ifstream in(path_, std::ios::binary);
  Data bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  Value got = BinaryPropertyList::read(bytes);
  ASSERT_NE(got.dictionary(), nullptr);
  EXPECT_EQ(got.find("huge")->integer(), -1);  // 2^64 - 1 as a 16-byte integer
  Value::Dictionary rest = *got.dictionary();
  rest.erase("huge");
  Value expected = sample();
  EXPECT_EQ(rest.size(), expected.dictionary()->size());
  for (const auto& [key, value] : *expected.dictionary()) {
    const Value* mine = got.find(key);
    EXPECT_TRUE(mine && *mine == value) << key;
  }
}

struct PlistDeleter {
  void operator()(plist_t p) const { plist_free(p); }
};
using PlistNode = std::unique_ptr<void, PlistDeleter>;

TEST(BinaryPropertyList, LibplistReadsWhatWeWriteAndWeReadWhatItWrites) {
  Data ours = BinaryPropertyList::write(sample());
  plist_t raw = nullptr;
  plist_from_bin(reinterpret_cast<const char*>(ours.data()), static_cast<uint32_t>(ours.size()),
                 &raw);
  ASSERT_NE(raw, nullptr);
  PlistNode node(raw);
  ASSERT_EQ(plist_get_node_type(node.get()), PLIST_DICT);
  EXPECT_EQ(plist_dict_get_size(node.get()), sample().dictionary()->size());
  char* text = nullptr;
  uint64_t len = 0;
  const char* cjk = plist_get_string_ptr(plist_dict_get_item(node.get(), "cjk"), &len);
  EXPECT_EQ(std::string(cjk, len), *sample().find("cjk")->string());

  // libplist's own binary form (4-byte reals, its de-duplication) reads back
  // to the same values.
  uint32_t size = 0;
  plist_to_bin(node.get(), &text, &size);
  ASSERT_NE(text, nullptr);
  Data theirs(text, text + size);
  plist_to_bin_free(text);
  EXPECT_EQ(BinaryPropertyList::read(theirs), sample());
}

// The bytes of one object, written as the root of a plist on its own.
Data objectBytes(const Value& v) {
  Data all = BinaryPropertyList::write(v);
  uint64_t table = 0;
  for (size_t i = all.size() - 8; i < all.size(); ++i)
    table = (table << 8) | all[i];
  return Data(all.begin() + 8, all.begin() + static_cast<long>(table));
}

TEST(BinaryPropertyList, EachKindIsWrittenInItsSmallestForm) {
  struct Case {
    const char* name;
    Value value;
    Data bytes;
  };
  const Case cases[] = {
      {"false", Value(false), {0x08}},
      {"true", Value(true), {0x09}},
      {"0", Value(0), {0x10, 0x00}},
      {"255", Value(255), {0x10, 0xFF}},
      {"256", Value(256), {0x11, 0x01, 0x00}},
      {"65536", Value(65536), {0x12, 0x00, 0x01, 0x00, 0x00}},
      {"2^32", Value(int64_t{1} << 32), {0x13, 0, 0, 0, 1, 0, 0, 0, 0}},
      {"-1", Value(-1), {0x13, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
      {"0.5 as a float", Value(0.5), {0x22, 0x3F, 0x00, 0x00, 0x00}},
      {"0.1 as a double", Value(0.1), {0x23, 0x3F, 0xB9, 0x99, 0x99, 0x99, 0x99, 0x99, 0x9A}},
      {"date", Value(Date{1.5}), {0x33, 0x3F, 0xF8, 0, 0, 0, 0, 0, 0}},
      {"data", Value(Data{7, 8}), {0x42, 7, 8}},
      {"ascii", Value("abc"), {0x53, 'a', 'b', 'c'}},
      {"15 characters",
       Value("abcdefghijklmno"),
       {0x5F, 0x10, 0x0F, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l', 'm', 'n',
        'o'}},
      {"latin as UTF-16", Value("\xC3\xA9"), {0x61, 0x00, 0xE9}},
      {"astral as a surrogate pair", Value("\xF0\x9F\x8E\xAC"), {0x62, 0xD8, 0x3C, 0xDF, 0xAC}},
      {"uid 1", Value(Uid{1}), {0x80, 0x01}},
      {"uid 300", Value(Uid{300}), {0x81, 0x01, 0x2C}},
      {"uid 70000", Value(Uid{70000}), {0x83, 0x00, 0x01, 0x11, 0x70}},
      {"empty array", Value(Value::Array{}), {0xA0}},
      {"array", Value(Value::Array{Value(true)}), {0xA1, 0x01, 0x09}},
      {"dictionary",
       Value(Value::Dictionary{{"k", Value(false)}}),
       {0xD1, 0x01, 0x02, 0x51, 'k', 0x08}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(objectBytes(c.value), c.bytes);
    EXPECT_EQ(BinaryPropertyList::read(BinaryPropertyList::write(c.value)), c.value);
  }
}

TEST(BinaryPropertyList, RepeatedStringsAreWrittenOnce) {
  Value::Array objects;
  for (int i = 0; i < 40; ++i) {
    objects.emplace_back(
        Value::Dictionary{{"$class", Value(Uid{1})}, {"name", Value("NSObject")}, {"n", Value(i)}});
  }
  Data bytes = BinaryPropertyList::write(Value(std::move(objects)));
  std::string text(bytes.begin(), bytes.end());
  size_t found = 0;
  for (size_t at = text.find("NSObject"); at != std::string::npos;
       at = text.find("NSObject", at + 1))
    ++found;
  EXPECT_EQ(found, 1u);
  // 40 dictionaries and 40 integers, one string each for "$class", "name",
  // "n", "NSObject", one UID per dictionary, and the root array.
  uint64_t count = 0;
  for (size_t i = bytes.size() - 24; i < bytes.size() - 16; ++i)
    count = (count << 8) | bytes[i];
  EXPECT_EQ(count, 1u + 40 + 40 + 40 + 4);
}

TEST(BinaryPropertyList, ValuesItCannotHoldAreRefused) {
  Value deep(1);
  for (int i = 0; i < BinaryPropertyList::kMaxDepth + 2; ++i)
    deep = Value(Value::Array{deep});
  struct Case {
    const char* name;
    Value value;
    const char* message;
  };
  const Case cases[] = {
      {"invalid UTF-8", Value("\xC3"), "not valid UTF-8"},
      {"surrogate in UTF-8", Value("\xED\xA0\x80"), "not valid UTF-8"},
      {"NUL in a key", Value(Value::Dictionary{{std::string("a\0b", 3), Value(1)}}), "key holds"},
      {"date past 2038", Value(Date{5e9}), "date out of range"},
      {"too deep", deep, "nested too deeply"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    try {
      BinaryPropertyList::write(c.value);
      ADD_FAILURE() << "no exception";
    } catch (const Exception& e) {
      EXPECT_EQ(e.kind(), Exception::Kind::Unsupported);
      EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
    }
  }
}

TEST(BinaryPropertyList, Utf8CheckIsStrict) {
  struct Case {
    const char* text;
    bool valid;
  };
  const Case cases[] = {
      {"", true},
      {"plain", true},
      {"\xC3\xA9", true},
      {"\xEF\xBF\xBD", true},
      {"\xF4\x8F\xBF\xBF", true},   // U+10FFFF
      {"\xC3", false},              // cut short
      {"\xC0\x80", false},          // overlong NUL
      {"\xE0\x80\x80", false},      // overlong
      {"\xED\xA0\x80", false},      // surrogate
      {"\xF4\x90\x80\x80", false},  // past U+10FFFF
      {"\xF5\x80\x80\x80", false},
      {"\x80", false},
      {"a\xE2\x82", false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(BinaryPropertyList::isUtf8(c.text), c.valid) << testing::PrintToString(c.text);
}

// A plist from hand-made objects with 1-byte offsets and references (2-byte
// offsets when the objects need them).
Data assemble(const std::vector<Data>& objects, uint64_t top = 0) {
  Data b = {'b', 'p', 'l', 'i', 's', 't', '0', '0'};
  std::vector<uint64_t> offsets;
  for (const Data& o : objects) {
    offsets.push_back(b.size());
    b.insert(b.end(), o.begin(), o.end());
  }
  uint64_t table = b.size();
  uint8_t offsetSize = offsets.back() > 0xFF ? 2 : 1;
  for (uint64_t o : offsets) {
    if (offsetSize == 2)
      b.push_back(static_cast<uint8_t>(o >> 8));
    b.push_back(static_cast<uint8_t>(o));
  }
  uint8_t trailer[32] = {};
  trailer[6] = offsetSize;
  trailer[7] = 1;
  for (int s = 0; s < 8; ++s) {
    trailer[15 - s] = static_cast<uint8_t>(objects.size() >> (8 * s));
    trailer[23 - s] = static_cast<uint8_t>(top >> (8 * s));
    trailer[31 - s] = static_cast<uint8_t>(table >> (8 * s));
  }
  b.insert(b.end(), trailer, trailer + 32);
  return b;
}

TEST(BinaryPropertyList, SharedContainersAreReadOnce) {
  // The root array refers to the same inner array twice.
  Value v = BinaryPropertyList::read(assemble({{0xA2, 1, 1}, {0xA1, 2}, {0x53, 'a', 'b', 'c'}}));
  ASSERT_TRUE(v.array() && v.array()->size() == 2);
  EXPECT_EQ(v.array()->at(0).array(), v.array()->at(1).array());
  EXPECT_EQ(v.array()->at(0), Value(Value::Array{Value("abc")}));
}

TEST(BinaryPropertyList, HostileInputIsAParseError) {
  // 64 arrays, each holding the next twice: 2^64 objects once expanded.
  std::vector<Data> doubling;
  for (uint8_t i = 0; i < 64; ++i)
    doubling.push_back({0xA2, static_cast<uint8_t>(i + 1), static_cast<uint8_t>(i + 1)});
  doubling.push_back({0xA0});
  // One 4 KiB string referred to 10,000 times.
  Data bigString = {0x5F, 0x11, 0x10, 0x00};
  bigString.resize(bigString.size() + 4096, 'x');
  Data manyRefs = {0xAF, 0x11, 0x27, 0x10};
  manyRefs.resize(manyRefs.size() + 10000, 1);
  Data offsetIntoTable = assemble({{0x09}});
  offsetIntoTable[9] = 9;  // the table starts at 9
  Data topPastCount = assemble({{0x09}});
  topPastCount[topPastCount.size() - 9] = 1;
  Data tableOverTrailer = assemble({{0x09}});
  tableOverTrailer[tableOverTrailer.size() - 17] = 2;

  struct Case {
    const char* name;
    Data bytes;
    const char* message;
  };
  const Case cases[] = {
      {"reference out of range", assemble({{0xA1, 5}}), "reference out of range"},
      {"offset into the table", offsetIntoTable, "offset out of range"},
      {"top past the count", topPastCount, "bad trailer"},
      {"table over the trailer", tableOverTrailer, "bad trailer"},
      {"string longer than the data", assemble({{0x5F, 0x10, 0xFF, 'a'}}), "truncated"},
      {"UTF-16 longer than the data", assemble({{0x63, 0, 'a'}}), "truncated"},
      {"count of 16 bytes", assemble({{0x5F, 0x14, 0, 0}}), "bad collection size"},
      {"array longer than the data", assemble({{0xAF, 0x12, 0x7F, 0xFF, 0xFF, 0xFF}}),
       "collection larger than the data"},
      {"integer cut short", assemble({{0x13, 0, 0}}), "truncated"},
      {"key that is not a string", assemble({{0xD1, 1, 2}, {0x10, 1}, {0x09}}),
       "key is not a string"},
      {"null", assemble({{0x00}}), "unsupported object type"},
      {"32-byte integer", assemble({{0x15}}), "unsupported object type"},
      {"9-byte UID", assemble({{0x88, 0, 0, 0, 0, 0, 0, 0, 0, 1}}), "unsupported object type"},
      {"lone surrogate", assemble({{0x61, 0xD8, 0x00}}), "not valid UTF-16"},
      {"overlong UTF-8 in an ASCII string", assemble({{0x52, 0xC0, 0x80}}), "not valid UTF-8"},
      {"dictionary holding itself", assemble({{0xD1, 1, 0}, {0x51, 'k'}}), "refers to itself"},
      {"doubling arrays", assemble(doubling), "too many objects"},
      {"shared string", assemble({manyRefs, bigString}), "too much data"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    try {
      Value v = PropertyList::parse(c.bytes);
      ADD_FAILURE() << "no exception, read a " << v.typeName();
    } catch (const Exception& e) {
      EXPECT_EQ(e.kind(), Exception::Kind::Parse);
      EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
    }
  }
}

}  // namespace
}  // namespace qrl::archive

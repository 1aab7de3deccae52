// Archives written by the platform's own archiver (see data/), decoded by ours.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "platform/archive/ArrayObject.h"
#include "platform/archive/Color.h"
#include "platform/archive/DictionaryObject.h"
#include "platform/archive/KeyedUnarchiver.h"
#include "platform/archive/ValueObject.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"

namespace qrl::archive {
namespace {

std::filesystem::path dataDir() {
  const char* src = std::getenv("QRL_SOURCE_DIR");
  return std::filesystem::path(src ? src : ".") / "tests/platform/archive/data";
}

Data readFile(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  EXPECT_TRUE(in) << p;
  return Data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

struct ManifestColor {
  std::string file;
  int64_t space = 0;
  std::vector<double> components;
};

// The manifest is pretty-printed JSON with one field per line; the fields we
// need are read with patterns rather than a JSON library.
std::vector<ManifestColor> manifest() {
  std::ifstream in(dataDir() / "colors/manifest.json");
  std::vector<ManifestColor> out;
  std::string line;
  std::smatch m;
  const std::regex file("\"file\": \"([^\"]+)\""), space("\"NSColorSpace\": (\\d+)"),
      text("\"NS(RGB|White)\": \"([^\"\\\\]*)");
  while (std::getline(in, line)) {
    if (std::regex_search(line, m, file))
      out.push_back({m[1], 0, {}});
    if (std::regex_search(line, m, space))
      out.back().space = std::stoll(m[1]);
    if (std::regex_search(line, m, text)) {
      std::istringstream numbers(m[2]);
      for (double d; numbers >> d;)
        out.back().components.push_back(d);
    }
  }
  return out;
}

TEST(AppleArchives, EveryColourDecodesToItsManifestComponents) {
  auto colors = manifest();
  ASSERT_EQ(colors.size(), 13u);
  int spaces[5] = {};
  for (const auto& c : colors) {
    SCOPED_TRACE(c.file);
    auto color = std::dynamic_pointer_cast<const Color>(
        KeyedUnarchiver::unarchiveTopLevelObjectWithData(readFile(dataDir() / "colors" / c.file)));
    ASSERT_TRUE(color);
    EXPECT_EQ(color->space(), c.space);
    ++spaces[c.space];
    if (c.space == Color::CalibratedWhite) {
      ASSERT_EQ(c.components.size(), 1u);
      EXPECT_NEAR(color->red(), c.components[0], 1e-7);
      EXPECT_TRUE(color->isWhite());
    } else {
      ASSERT_EQ(c.components.size(), 3u);
      EXPECT_NEAR(color->red(), c.components[0], 1e-7);
      EXPECT_NEAR(color->green(), c.components[1], 1e-7);
      EXPECT_NEAR(color->blue(), c.components[2], 1e-7);
    }
    EXPECT_EQ(color->alpha(), 1.0f);
  }
  EXPECT_EQ(spaces[1], 4);  // calibrated RGB in a custom space
  EXPECT_EQ(spaces[2], 8);  // device RGB
  EXPECT_EQ(spaces[3], 1);  // calibrated white
}

ObjectPtr foundation(const char* name, const ClassRegistry& registry = ClassRegistry::standard()) {
  return KeyedUnarchiver::unarchiveTopLevelObjectWithData(readFile(dataDir() / "foundation" / name),
                                                          registry);
}

std::string stringOf(const ObjectPtr& o) {
  auto v = std::dynamic_pointer_cast<const ValueObject>(o);
  return v && v->value().string() ? *v->value().string() : "<not a string>";
}

// A class known only to the test program: the registry takes it like any other.
struct TestDummy final : Object {
  std::span<const std::string_view> classChain() const override {
    static constexpr std::string_view kChain[] = {"TestDummy"};
    return kChain;
  }
  void encodeWithCoder(KeyedArchiver&) const override {}
  static ObjectPtr initWithCoder(KeyedUnarchiver& coder) {
    auto d = std::make_shared<TestDummy>();
    d->typeInt = coder.decodeValue("typeInt");
    d->typeString = coder.decodeString("typeString");
    d->typeBool = coder.decodeValue("typeBool");
    d->typeFloat = coder.decodeValue("typeFloat");
    d->data = coder.decodeValue("data");
    d->foo = coder.decodeString("foo");
    return d;
  }
  Value typeInt, typeBool, typeFloat, data;
  std::optional<std::string> typeString, foo;
};

// NSURL is not one of the standard classes; the test registers a reader.
struct Url final : Object {
  std::span<const std::string_view> classChain() const override {
    static constexpr std::string_view kChain[] = {"NSURL", "NSObject"};
    return kChain;
  }
  void encodeWithCoder(KeyedArchiver&) const override {}
  static ObjectPtr initWithCoder(KeyedUnarchiver& coder) {
    auto u = std::make_shared<Url>();
    u->base = coder.decodeObject("NS.base");
    u->relative = coder.decodeString("NS.relative").value_or("");
    return u;
  }
  ObjectPtr base;
  std::string relative;
};

TEST(AppleArchives, FoundationValuesDecode) {
  EXPECT_EQ(foundation("null.bin.plist"), nullptr);

  auto date = std::dynamic_pointer_cast<const ValueObject>(foundation("date.bin.plist"));
  ASSERT_TRUE(date);
  EXPECT_EQ(date->value().date(), Date{1210536312.0});

  ClassRegistry registry = ClassRegistry::standard();
  registry.registerClass("NSURL", Url::initWithCoder);
  // One URL under two keys: both values are the same object.
  auto reference = std::dynamic_pointer_cast<const DictionaryObject>(
      foundation("reference.bin.plist", registry));
  ASSERT_TRUE(reference);
  auto one = std::dynamic_pointer_cast<const Url>(reference->find("copyOne"));
  ASSERT_TRUE(one);
  EXPECT_EQ(one, reference->find("copyTwo"));
  EXPECT_EQ(one->relative, "https://example.com/foo/bar?a=b#hash");
  EXPECT_EQ(one->base, nullptr);

  // Dictionaries nested in each other, each holding its level number.
  auto nested =
      std::dynamic_pointer_cast<const DictionaryObject>(foundation("nested.bin.plist", registry));
  ASSERT_TRUE(nested);
  EXPECT_EQ(nested->entries().size(), 3u);
  auto level = std::dynamic_pointer_cast<const ValueObject>(nested->find("level"));
  ASSERT_TRUE(level);
  EXPECT_EQ(level->value().integer(), 0);
  auto inner = std::dynamic_pointer_cast<const DictionaryObject>(nested->find("levelZeroData"));
  ASSERT_TRUE(inner);
  EXPECT_EQ(std::dynamic_pointer_cast<const ValueObject>(inner->find("level"))->value(), Value(1));

  // Without the registration the URL is an unknown class: nil in place, and a log line.
  process::CapturingLog log;
  auto lenient =
      std::dynamic_pointer_cast<const DictionaryObject>(KeyedUnarchiver::unarchiveObjectWithData(
          readFile(dataDir() / "foundation/reference.bin.plist")));
  ASSERT_TRUE(lenient);
  EXPECT_EQ(lenient->find("copyOne"), nullptr);
  ASSERT_EQ(log.messages().size(), 1u);
  EXPECT_NE(log.messages()[0].find("NSURL"), std::string::npos);
}

TEST(AppleArchives, ClassesKnownOnlyByNameNeedARegistration) {
  {
    process::CapturingLog log;
    EXPECT_EQ(KeyedUnarchiver::unarchiveObjectWithData(
                  readFile(dataDir() / "foundation/scalarTypes.bin.plist")),
              nullptr);
    ASSERT_EQ(log.messages().size(), 1u);
    EXPECT_NE(log.messages()[0].find("TestDummy"), std::string::npos);
  }
  ClassRegistry registry = ClassRegistry::standard();
  registry.registerClass("TestDummy", TestDummy::initWithCoder);
  auto s =
      std::dynamic_pointer_cast<const TestDummy>(foundation("scalarTypes.bin.plist", registry));
  ASSERT_TRUE(s);
  EXPECT_EQ(s->typeInt, Value(42));
  EXPECT_EQ(s->typeString, "foo bar");
  EXPECT_EQ(s->typeBool, Value(true));
  EXPECT_EQ(s->typeFloat, Value(3.14));
  EXPECT_EQ(s->data, Value(Data{'f', 'o', 'o', 'b', 'a', 'r'}));
  auto single = std::dynamic_pointer_cast<const TestDummy>(
      foundation("objectWithSingleProp.bin.plist", registry));
  ASSERT_TRUE(single);
  EXPECT_EQ(single->foo, "bar");
  EXPECT_TRUE(
      std::dynamic_pointer_cast<const TestDummy>(foundation("emptyObject.bin.plist", registry)));
}

TEST(AppleArchives, CollectionsDecodeWithSharedMembers) {
  ClassRegistry registry = ClassRegistry::standard();
  registry.registerClass("TestDummy", TestDummy::initWithCoder);
  // The collections root is a TestDummy; read its array and dictionary directly.
  struct Collections final : Object {
    std::span<const std::string_view> classChain() const override { return {}; }
    void encodeWithCoder(KeyedArchiver&) const override {}
    static ObjectPtr initWithCoder(KeyedUnarchiver& coder) {
      auto c = std::make_shared<Collections>();
      c->strings = coder.decodeObjectOfClass<ArrayObject>("arrayOfStrings");
      c->ints = coder.decodeObjectOfClass<ArrayObject>("arrayOfInts");
      c->dictionary = coder.decodeObjectOfClass<DictionaryObject>("dictionary");
      return c;
    }
    std::shared_ptr<const ArrayObject> strings, ints;
    std::shared_ptr<const DictionaryObject> dictionary;
  };
  registry.registerClass("TestDummy", Collections::initWithCoder);
  registry.registerClass("NSSet", [](KeyedUnarchiver&) -> ObjectPtr { return nullptr; });
  auto c =
      std::dynamic_pointer_cast<const Collections>(foundation("collections.bin.plist", registry));
  ASSERT_TRUE(c && c->strings && c->ints && c->dictionary);
  ASSERT_EQ(c->strings->objects().size(), 3u);
  EXPECT_EQ(stringOf(c->strings->objects()[2]), "baz");
  ASSERT_EQ(c->ints->objects().size(), 3u);
  EXPECT_EQ(std::dynamic_pointer_cast<const ValueObject>(c->ints->objects()[2])->value(), Value(3));
  EXPECT_EQ(stringOf(c->dictionary->find("baz")), "aaa");
  // The dictionary's key "baz" is the very object in the array of strings.
  EXPECT_EQ(c->dictionary->entries()[0].first, c->strings->objects()[2]);
}

TEST(AppleArchives, BrokenArchivesAreRejectedWithAClearError) {
  struct Case {
    const char* file;
    const char* message;
  };
  const Case cases[] = {
      {"invalidContainer.bin.plist", "$top is a boolean, not a dictionary"},
      {"invalidObjectDeclarationContainer.bin.plist", "not a class description"},
      {"invalidReference.bin.plist", "reference 5 under \"root\" is out of range"},
      {"missingRoot.bin.plist", "$top has no root"},
      {"objectWithNoClassName.bin.plist", "without $classname"},
      {"objectWithNonArrayClassChain.bin.plist", "$classes that is not an array"},
      {"objectWithNonStringClassName.bin.plist", "$classname that is a integer, not a string"},
  };
  ClassRegistry registry = ClassRegistry::standard();
  registry.registerClass("TestDummy", TestDummy::initWithCoder);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    Data bytes = readFile(dataDir() / "broken" / c.file);
    try {
      KeyedUnarchiver::unarchiveTopLevelObjectWithData(bytes, registry);
      ADD_FAILURE() << "accepted";
    } catch (const Exception& e) {
      EXPECT_EQ(e.kind(), Exception::Kind::Parse);
      EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
    }
    process::CapturingLog log;
    EXPECT_EQ(KeyedUnarchiver::unarchiveObjectWithData(bytes, registry), nullptr);
    EXPECT_EQ(log.messages().size(), 1u);
  }
}

}  // namespace
}  // namespace qrl::archive

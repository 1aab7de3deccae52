#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "platform/archive/ArrayObject.h"
#include "platform/archive/Color.h"
#include "platform/archive/DictionaryObject.h"
#include "platform/archive/KeyedArchiver.h"
#include "platform/archive/KeyedUnarchiver.h"
#include "platform/archive/PointCoding.h"
#include "platform/archive/PointValue.h"
#include "platform/archive/PropertyList.h"
#include "platform/archive/ValueObject.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"

namespace qrl::archive {
namespace {

const Value& objectsOf(const Value& archive) {
  return *archive.find("$objects");
}

const Value& entry(const Value& archive, const Value& ref) {
  return objectsOf(archive).array()->at(ref.uid()->index);
}

std::string classNameOf(const Value& archive, const Value& object) {
  return *entry(archive, *object.find("$class")).find("$classname")->string();
}

TEST(KeyedArchiver, WritesTheKeyedArchiveStructure) {
  auto shared = std::make_shared<ValueObject>(Value("shared"));
  auto inner = std::make_shared<ArrayObject>(std::vector<ObjectPtr>{shared, shared, nullptr});
  ArrayObject root({inner, inner, std::make_shared<ArrayObject>()});
  Value a = KeyedArchiver::archivedValueWithRootObject(&root);

  EXPECT_EQ(*a.find("$archiver")->string(), "NSKeyedArchiver");
  EXPECT_EQ(a.find("$version")->integer(), 100000);
  const Value& objects = objectsOf(a);
  EXPECT_EQ(*objects.array()->front().string(), "$null");
  const Value& rootRef = *a.find("$top")->find("root");
  ASSERT_TRUE(rootRef.uid());
  const Value& r = entry(a, rootRef);
  EXPECT_EQ(classNameOf(a, r), "NSArray");
  const auto& members = *r.find("NS.objects")->array();
  ASSERT_EQ(members.size(), 3u);
  EXPECT_EQ(members[0], members[1]);  // stored once, referenced twice
  const auto& innerMembers = *entry(a, members[0]).find("NS.objects")->array();
  EXPECT_EQ(innerMembers[0], innerMembers[1]);
  EXPECT_EQ(innerMembers[2].uid(), Uid{0});  // nil
  EXPECT_EQ(*entry(a, innerMembers[0]).string(), "shared");
  // One class description for all three arrays.
  EXPECT_EQ(*r.find("$class"), *entry(a, members[0]).find("$class"));
  EXPECT_EQ(*r.find("$class"), *entry(a, members[2]).find("$class"));
  // Root, inner, the string, the empty array, the class: five objects after $null.
  EXPECT_EQ(objects.array()->size(), 6u);
}

TEST(KeyedArchiver, NilRootIsUidZero) {
  Value a = KeyedArchiver::archivedValueWithRootObject(nullptr);
  EXPECT_EQ(a.find("$top")->find("root")->uid(), Uid{0});
  EXPECT_EQ(objectsOf(a).array()->size(), 1u);
  EXPECT_EQ(KeyedUnarchiver::unarchiveTopLevelObjectWithData(
                KeyedArchiver::archivedDataWithRootObject(nullptr)),
            nullptr);
}

TEST(KeyedArchiver, ColourIsSpaceAndNulTerminatedComponentText) {
  struct Case {
    Color color;
    const char* key;
    std::string bytes;
  };
  const Case cases[] = {
      {Color::calibratedRGB(1, 1, 1, 1), "NSRGB", std::string("1 1 1\0", 6)},
      {Color::calibratedRGB(1, 0.5f, 1, 0.5f), "NSRGB", std::string("1 0.5 1 0.5\0", 12)},
      {Color::deviceRGB(9 / 255.f, 3 / 255.f, 0, 1), "NSRGB",
       std::string("0.03529411927 0.01176470611 0\0", 30)},
      {Color::calibratedWhite(1, 1), "NSWhite", std::string("1\0", 2)},
  };
  for (const auto& c : cases) {
    Value a = KeyedArchiver::archivedValueWithRootObject(&c.color);
    const Value& r = entry(a, *a.find("$top")->find("root"));
    EXPECT_EQ(classNameOf(a, r), "NSColor");
    EXPECT_EQ(r.find("NSColorSpace")->integer(), c.color.space());
    const Data* d = r.find(c.key)->data();
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(std::string(d->begin(), d->end()), c.bytes);
    auto back =
        std::dynamic_pointer_cast<const Color>(KeyedUnarchiver::unarchiveTopLevelObjectWithData(
            KeyedArchiver::archivedDataWithRootObject(&c.color)));
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, c.color);
  }
}

// The component text is printf's "%.10g" of each float; libc is the judge
// over awkward values (tiny, huge, subnormal, negative, ten-digit rounding).
TEST(KeyedArchiver, ColourTextIsPrintfsTenDigitForm) {
  std::vector<float> values = {0.0f,   -0.0f,  1.0f,      0.1f,         1.0f / 3,     2.0f / 3,
                               1e-5f,  1e-4f,  123456.8f, 1234567890.f, 9999999999.f, 3.4e38f,
                               1e-38f, 1e-45f, -0.75f,    0.9999999f};
  for (int i = 0; i <= 255; ++i)
    values.push_back(static_cast<float>(i) / 255.f);
  for (float v : values) {
    char expected[64];
    std::snprintf(expected, sizeof expected, "%.10g", static_cast<double>(v));
    EXPECT_EQ(Color::calibratedWhite(v, 1).componentText(), expected) << v;
  }
}

TEST(KeyedArchiver, StandardObjectsRoundTrip) {
  auto key = std::make_shared<ValueObject>(Value("key"));
  std::vector<ObjectPtr> members = {
      std::make_shared<ValueObject>(Value(int64_t{-7})),
      std::make_shared<ValueObject>(Value(2.25)),
      std::make_shared<ValueObject>(Value(true)),
      std::make_shared<ValueObject>(Value(Data{1, 2, 3})),
      std::make_shared<ValueObject>(Value(Date{12.5})),
      std::make_shared<PointValue>(Point{10, 20.5f}),
      std::make_shared<DictionaryObject>(std::vector<DictionaryObject::Entry>{{key, key}}),
  };
  ArrayObject root(members);
  auto back =
      std::dynamic_pointer_cast<const ArrayObject>(KeyedUnarchiver::unarchiveTopLevelObjectWithData(
          KeyedArchiver::archivedDataWithRootObject(&root)));
  ASSERT_TRUE(back);
  ASSERT_EQ(back->objects().size(), members.size());
  for (size_t i = 0; i < 5; ++i) {
    auto v = std::dynamic_pointer_cast<const ValueObject>(back->objects()[i]);
    ASSERT_TRUE(v) << i;
    EXPECT_EQ(v->value(), static_cast<const ValueObject&>(*members[i]).value()) << i;
  }
  auto p = std::dynamic_pointer_cast<const PointValue>(back->objects()[5]);
  ASSERT_TRUE(p);
  EXPECT_EQ(p->point(), (Point{10, 20.5f}));
  auto d = std::dynamic_pointer_cast<const DictionaryObject>(back->objects()[6]);
  ASSERT_TRUE(d);
  auto found = std::dynamic_pointer_cast<const ValueObject>(d->find("key"));
  ASSERT_TRUE(found);
  EXPECT_EQ(found->value(), Value("key"));
  EXPECT_EQ(d->entries()[0].first, d->entries()[0].second);  // one object, shared on decode too
}

TEST(Point, TextFormAndLenientReading) {
  EXPECT_EQ(pointText(Point{400, 300}), "{400, 300}");
  EXPECT_EQ(pointText(Point{1.5f, -2}), "{1.5, -2}");
  EXPECT_EQ(pointText(Point{0.1f, 0}), "{0.1, 0}");
  struct Case {
    const char* text;
    std::optional<Point> point;
  };
  const Case cases[] = {
      {"{10, 20.5}", Point{10, 20.5f}},
      {"{10,20.5}", Point{10, 20.5f}},
      {"{1e2, -3}", Point{100, -3}},
      {"{1}", std::nullopt},
      {"", std::nullopt},
      {"{x, y}", std::nullopt},
      {"{nan, 1}", std::nullopt},
      {"{1e39, 1}", std::nullopt},
  };
  for (const auto& c : cases)
    EXPECT_EQ(pointFromText(c.text), c.point) << c.text;
  EXPECT_EQ(pointFromValue(pointValue(Point{3, 4})), (Point{3, 4}));
  EXPECT_EQ(pointFromValue(Value("{3, 4}")), (Point{3, 4}));
  EXPECT_EQ(pointFromValue(Value(3)), std::nullopt);
}

TEST(Color, ComponentTextReading) {
  struct Case {
    int64_t space;
    std::string text;
    std::optional<Color> color;
  };
  const Case cases[] = {
      {2, std::string("1 0.5 0\0", 8), Color::deviceRGB(1, 0.5f, 0, 1)},
      {1, "1 0.5 0 0.25", Color::calibratedRGB(1, 0.5f, 0, 0.25f)},
      {3, std::string("0.5\0", 4), Color::calibratedWhite(0.5f, 1)},
      {3, "0.5 0.5", Color::calibratedWhite(0.5f, 0.5f)},
      {2, "1 1", std::nullopt},
      {2, "1 1 1 1 1", std::nullopt},
      {2, "1 x 1", std::nullopt},
      {6, "1 1 1", std::nullopt},
      // Forms the fast reader leaves to strtof: a sign, hex, an underflow,
      // other white space; and what neither accepts.
      {2, "+1 0x1p-1 1e-50", Color::deviceRGB(1, 0.5f, 0, 1)},
      {1, "\t1 1 1", Color::calibratedRGB(1, 1, 1, 1)},
      {2, "1e 1 1", std::nullopt},
      {2, "1 1 1e39", std::nullopt},
      {2, "1 inf 1", std::nullopt},
      {2, std::string("1 \0 1 1", 7), std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Color::fromComponents(c.space, c.text), c.color) << c.space << " " << c.text;
  }
}

// Archives with one defect each, made from a good one by editing "$objects".
Value withObjects(Value::Array objects, Value root = Value(Uid{1})) {
  return Value(Value::Dictionary{{"$archiver", "NSKeyedArchiver"},
                                 {"$version", 100000},
                                 {"$top", Value::Dictionary{{"root", root}}},
                                 {"$objects", std::move(objects)}});
}

Value classDict(const char* name) {
  return Value(Value::Dictionary{{"$classname", name},
                                 {"$classes", Value::Array{Value(name), Value("NSObject")}}});
}

Value arrayOf(Value::Array refs, uint64_t cls) {
  return Value(Value::Dictionary{{"NS.objects", std::move(refs)}, {"$class", Uid{cls}}});
}

TEST(KeyedUnarchiver, DefectsAreErrorsWhenStrictAndNilWithALogLineWhenLenient) {
  Value deepChain;
  {
    Value::Array objects{"$null"};
    for (uint64_t i = 1; i <= 200; ++i)
      objects.push_back(arrayOf({Value(Uid{i + 1})}, 202));
    objects.push_back("end");                 // 201
    objects.push_back(classDict("NSArray"));  // 202
    deepChain = withObjects(std::move(objects));
  }
  struct Case {
    const char* name;
    Value archive;
    const char* message;
  };
  const Case cases[] = {
      {"not a dictionary", Value(Value::Array{}), "not a dictionary"},
      {"wrong archiver", Value(Value::Dictionary{{"$archiver", "Other"}}), "$archiver"},
      {"member out of range",
       withObjects({"$null", arrayOf({Value(Uid{9})}, 2), classDict("NSArray")}), "out of range"},
      {"cycle", withObjects({"$null", arrayOf({Value(Uid{1})}, 2), classDict("NSArray")}),
       "refers back to itself"},
      {"unknown class", withObjects({"$null", arrayOf({}, 2), classDict("NSWindow")}), "NSWindow"},
      {"member not a UID", withObjects({"$null", arrayOf({Value(3)}, 2), classDict("NSArray")}),
       "not an object reference"},
      {"colour components",
       withObjects({"$null",
                    Value::Dictionary{
                        {"NSColorSpace", 2}, {"NSRGB", Data{'1', ' ', 'z'}}, {"$class", Uid{2}}},
                    classDict("NSColor")}),
       "unusable components"},
      {"colour space as real",
       withObjects({"$null",
                    Value::Dictionary{{"NSColorSpace", 2.0},
                                      {"NSRGB", Data{'1', ' ', '1', ' ', '1'}},
                                      {"$class", Uid{2}}},
                    classDict("NSColor")}),
       "wrong type"},
      {"UID as object", withObjects({"$null", Uid{1}}), "cannot stand for an object"},
      {"deep chain", deepChain, "nested too deeply"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    try {
      KeyedUnarchiver::unarchiveTopLevelObjectWithValue(c.archive);
      ADD_FAILURE() << "no exception";
    } catch (const Exception& e) {
      EXPECT_EQ(e.kind(), Exception::Kind::Parse);
      EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
    }
    process::CapturingLog log;
    ObjectPtr lenient = KeyedUnarchiver::unarchiveObjectWithValue(c.archive);
    ASSERT_FALSE(log.messages().empty());
    EXPECT_NE(log.messages().front().find(c.message), std::string::npos) << log.messages().front();
    // A defect in a member leaves the container with nil in its place.
    if (auto a = std::dynamic_pointer_cast<const ArrayObject>(lenient)) {
      for (const auto& m : a->objects()) {
        if (std::string(c.name) != "deep chain") {
          EXPECT_EQ(m, nullptr);
        }
      }
    }
  }
}

TEST(KeyedUnarchiver, DollarKeysAreEscaped) {
  struct Custom final : Object {
    std::span<const std::string_view> classChain() const override {
      static constexpr std::string_view kChain[] = {"Custom", "NSObject"};
      return kChain;
    }
    void encodeWithCoder(KeyedArchiver& coder) const override { coder.encodeInt32(5, "$class"); }
  } custom;
  Value a = KeyedArchiver::archivedValueWithRootObject(&custom);
  const Value& r = entry(a, *a.find("$top")->find("root"));
  EXPECT_EQ(r.find("$$class")->integer(), 5);
  EXPECT_EQ(classNameOf(a, r), "Custom");
}

}  // namespace
}  // namespace qrl::archive

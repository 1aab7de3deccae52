#include "platform/archive/ClassRegistry.h"

#include <memory>

#include "platform/archive/ArrayObject.h"
#include "platform/archive/Color.h"
#include "platform/archive/DictionaryObject.h"
#include "platform/archive/KeyedUnarchiver.h"
#include "platform/archive/PointCoding.h"
#include "platform/archive/PointValue.h"
#include "platform/archive/ValueObject.h"

namespace qrl::archive {
namespace {

ObjectPtr decodeMutableString(KeyedUnarchiver& coder) {
  if (!coder.containsValueForKey("NS.string"))
    return std::make_shared<ValueObject>(Value(""));
  Value v = coder.decodeValue("NS.string");
  if (v.string() == nullptr)
    return coder.fail("NSMutableString without a string under NS.string");
  return std::make_shared<ValueObject>(std::move(v));
}

ObjectPtr decodeMutableData(KeyedUnarchiver& coder) {
  // The platform stores the bytes inline; some writers store a reference to data.
  Value v = coder.decodeValue("NS.data");
  if (v.data() == nullptr)
    return coder.fail("NSMutableData without data under NS.data");
  return std::make_shared<ValueObject>(std::move(v));
}

ObjectPtr decodeArray(KeyedUnarchiver& coder) {
  return std::make_shared<ArrayObject>(coder.decodeObjects("NS.objects"));
}

ObjectPtr decodeDictionary(KeyedUnarchiver& coder) {
  auto keys = coder.decodeObjects("NS.keys");
  auto values = coder.decodeObjects("NS.objects");
  if (keys.size() != values.size()) {
    return coder.fail("NSDictionary with " + std::to_string(keys.size()) + " keys but " +
                      std::to_string(values.size()) + " values");
  }
  std::vector<DictionaryObject::Entry> entries;
  entries.reserve(keys.size());
  for (size_t i = 0; i < keys.size(); ++i)
    entries.emplace_back(keys[i], values[i]);
  return std::make_shared<DictionaryObject>(std::move(entries));
}

ObjectPtr decodeDate(KeyedUnarchiver& coder) {
  return std::make_shared<ValueObject>(Value(Date{coder.decodeDouble("NS.time")}));
}

ObjectPtr decodeColor(KeyedUnarchiver& coder) {
  int64_t space = coder.decodeInt64("NSColorSpace");
  const char* key =
      (space == Color::CalibratedWhite || space == Color::DeviceWhite) ? "NSWhite" : "NSRGB";
  auto bytes = coder.decodeBytes(key);
  if (!bytes)
    return coder.fail("NSColor of space " + std::to_string(space) + " without " + key);
  std::string_view text(reinterpret_cast<const char*>(bytes->data()), bytes->size());
  auto color = Color::fromComponents(space, text);
  if (!color) {
    return coder.fail("NSColor of space " + std::to_string(space) + " with unusable components \"" +
                      std::string(text.substr(0, 80)) + "\"");
  }
  return std::make_shared<Color>(*color);
}

ObjectPtr decodeValueObject(KeyedUnarchiver& coder) {
  int64_t special = coder.decodeInt64("NS.special");
  if (special != PointValue::kSpecialPoint) {
    return coder.fail("NSValue of kind " + std::to_string(special) + " is not supported");
  }
  auto text = coder.decodeString("NS.pointval");
  auto point = text ? pointFromText(*text) : std::nullopt;
  if (!point)
    return coder.fail("NSValue point without a \"{x, y}\" string");
  return std::make_shared<PointValue>(*point);
}

ClassRegistry makeStandard() {
  ClassRegistry r;
  r.registerClass("NSMutableString", decodeMutableString);
  r.registerClass("NSMutableData", decodeMutableData);
  r.registerClass("NSArray", decodeArray);
  r.registerClass("NSMutableArray", decodeArray);
  r.registerClass("NSDictionary", decodeDictionary);
  r.registerClass("NSMutableDictionary", decodeDictionary);
  r.registerClass("NSDate", decodeDate);
  r.registerClass("NSColor", decodeColor);
  r.registerClass("NSValue", decodeValueObject);
  return r;
}

}  // namespace

void ClassRegistry::registerClass(std::string className, Decoder decoder) {
  decoders_.insert_or_assign(std::move(className), decoder);
}

ClassRegistry::Decoder ClassRegistry::find(std::string_view className) const {
  auto it = decoders_.find(className);
  return it == decoders_.end() ? nullptr : it->second;
}

const ClassRegistry& ClassRegistry::standard() {
  static const ClassRegistry registry = makeStandard();
  return registry;
}

}  // namespace qrl::archive

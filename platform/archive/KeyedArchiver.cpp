#include "platform/archive/KeyedArchiver.h"

#include "platform/archive/PointCoding.h"
#include "platform/archive/PropertyList.h"
#include "platform/base/Exception.h"

namespace qrl::archive {
namespace {

constexpr std::string_view kArrayChain[] = {"NSArray", "NSObject"};
constexpr std::string_view kDictionaryChain[] = {"NSDictionary", "NSObject"};
constexpr std::string_view kDateChain[] = {"NSDate", "NSObject"};

// Keys of our own that start with "$" are escaped with one more "$" so they
// cannot be taken for the archive's "$class".
std::string escapedKey(std::string_view key) {
  std::string k;
  if (!key.empty() && key.front() == '$')
    k += '$';
  k += key;
  return k;
}

}  // namespace

KeyedArchiver::KeyedArchiver() {
  objects_.emplace_back("$null");
}

Data KeyedArchiver::archivedDataWithRootObject(const Object* root) {
  return PropertyList::binaryData(archivedValueWithRootObject(root));
}

Value KeyedArchiver::archivedValueWithRootObject(const Object* root) {
  KeyedArchiver archiver;
  return archiver.finish(root);
}

Value KeyedArchiver::finish(const Object* root) {
  Uid top = reference(root);
  Value::Dictionary archive;
  archive.emplace("$archiver", "NSKeyedArchiver");
  archive.emplace("$version", kVersion);
  archive.emplace("$top", Value::Dictionary{{"root", Value(top)}});
  archive.emplace("$objects", std::move(objects_));
  return Value(std::move(archive));
}

Uid KeyedArchiver::append(Value value) {
  objects_.push_back(std::move(value));
  return Uid{objects_.size() - 1};
}

void KeyedArchiver::put(std::string_view key, Value value) {
  if (open_.empty())
    throw Exception::unsupported("keyed archiver: value encoded outside an object");
  open_.back().insert_or_assign(escapedKey(key), std::move(value));
}

Uid KeyedArchiver::classReference(const Object& object) {
  auto chain = object.classChain();
  if (chain.empty())
    throw Exception::unsupported("keyed archiver: object without a class");
  auto it = classes_.find(chain.front());
  if (it != classes_.end())
    return Uid{it->second};
  Value::Array names(chain.begin(), chain.end());
  Uid uid = append(Value::Dictionary{{"$classname", Value(chain.front())},
                                     {"$classes", Value(std::move(names))}});
  classes_.emplace(std::string(chain.front()), uid.index);
  return uid;
}

Uid KeyedArchiver::reference(const Object* object) {
  if (object == nullptr)
    return Uid{0};
  if (auto it = uids_.find(object); it != uids_.end())
    return Uid{it->second};
  if (const Value* plain = object->plainValue()) {
    Uid uid = append(*plain);
    uids_.emplace(object, uid.index);
    return uid;
  }
  // The object takes its slot before its members; its class follows them.
  Uid uid = append(Value());
  uids_.emplace(object, uid.index);
  open_.emplace_back();
  object->encodeWithCoder(*this);
  Value::Dictionary fields = std::move(open_.back());
  open_.pop_back();
  fields.insert_or_assign("$class", Value(classReference(*object)));
  objects_[uid.index] = Value(std::move(fields));
  return uid;
}

Uid KeyedArchiver::reference(const Value& value) {
  // Collections of plain values are encoded through temporary objects held for
  // the rest of the archive, so their identities stay distinct.
  struct Wrapped final : Object {
    Wrapped(const Value& v, std::span<const std::string_view> chain) : value(v), classes(chain) {}
    std::span<const std::string_view> classChain() const override { return classes; }
    void encodeWithCoder(KeyedArchiver& coder) const override {
      if (const auto* a = value.array()) {
        Value::Array refs;
        for (const Value& item : *a)
          refs.emplace_back(coder.reference(item));
        coder.put("NS.objects", Value(std::move(refs)));
      } else if (const auto* d = value.dictionary()) {
        Value::Array keys, refs;
        for (const auto& [k, item] : *d)
          keys.emplace_back(coder.reference(Value(k)));
        for (const auto& [k, item] : *d)
          refs.emplace_back(coder.reference(item));
        coder.put("NS.keys", Value(std::move(keys)));
        coder.put("NS.objects", Value(std::move(refs)));
      } else if (auto date = value.date()) {
        coder.encodeDouble(date->sinceReferenceDate, "NS.time");
      }
    }
    Value value;
    std::span<const std::string_view> classes;
  };
  switch (value.type()) {
    case Value::Type::kNull:
      return Uid{0};
    case Value::Type::kUid:
      throw Exception::unsupported("keyed archiver: a UID is not an object");
    case Value::Type::kArray:
    case Value::Type::kDictionary:
    case Value::Type::kDate: {
      auto chain = value.array()        ? std::span(kArrayChain)
                   : value.dictionary() ? std::span(kDictionaryChain)
                                        : std::span(kDateChain);
      auto wrapped = std::make_shared<const Wrapped>(value, chain);
      keepAlive_.push_back(wrapped);
      return reference(wrapped.get());
    }
    default:
      return append(value);
  }
}

void KeyedArchiver::encodeObject(const Object* object, std::string_view forKey) {
  put(forKey, Value(reference(object)));
}

void KeyedArchiver::encodeObject(const ObjectPtr& object, std::string_view forKey) {
  if (object)
    keepAlive_.push_back(object);
  put(forKey, Value(reference(object.get())));
}

void KeyedArchiver::encodeObject(const Value& value, std::string_view forKey) {
  put(forKey, Value(reference(value)));
}

void KeyedArchiver::encodeObjects(std::span<const ObjectPtr> objects, std::string_view forKey) {
  Value::Array refs;
  refs.reserve(objects.size());
  for (const ObjectPtr& o : objects) {
    if (o)
      keepAlive_.push_back(o);
    refs.emplace_back(reference(o.get()));
  }
  put(forKey, Value(std::move(refs)));
}

void KeyedArchiver::encodeBool(bool value, std::string_view forKey) {
  put(forKey, Value(value));
}

void KeyedArchiver::encodeInt32(int32_t value, std::string_view forKey) {
  put(forKey, Value(value));
}

void KeyedArchiver::encodeInt64(int64_t value, std::string_view forKey) {
  put(forKey, Value(value));
}

void KeyedArchiver::encodeFloat(float value, std::string_view forKey) {
  put(forKey, Value(value));
}

void KeyedArchiver::encodeDouble(double value, std::string_view forKey) {
  put(forKey, Value(value));
}

void KeyedArchiver::encodeBytes(const Data& bytes, std::string_view forKey) {
  put(forKey, Value(bytes));
}

void KeyedArchiver::encodePoint(Point point, std::string_view forKey) {
  encodeObject(Value(pointText(point)), forKey);
}

}  // namespace qrl::archive

#include "platform/archive/KeyedUnarchiver.h"

#include <initializer_list>
#include <limits>

#include "platform/archive/KeyedArchiver.h"
#include "platform/archive/PointCoding.h"
#include "platform/archive/PropertyList.h"
#include "platform/archive/ValueObject.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"

namespace qrl::archive {
namespace {

constexpr uint8_t kUnseen = 0, kDecoding = 1, kDone = 2;

// Joins message parts; GCC 12 misreads chains of literal + std::string at -O3.
std::string text(std::initializer_list<std::string_view> parts) {
  std::string s;
  for (std::string_view p : parts)
    s.append(p);
  return s;
}

std::string escapedKey(std::string_view key) {
  std::string k;
  if (!key.empty() && key.front() == '$')
    k += '$';
  k += key;
  return k;
}

// The "$objects" array of a well-formed archive; throws a parse error naming
// what is wrong otherwise.
const Value::Array& checkedObjects(const Value& archive) {
  if (archive.dictionary() == nullptr) {
    throw Exception::parse("keyed archive: the property list is a " +
                           std::string(archive.typeName()) + ", not a dictionary");
  }
  const Value* archiver = archive.find("$archiver");
  if (archiver == nullptr || archiver->string() == nullptr ||
      *archiver->string() != "NSKeyedArchiver") {
    throw Exception::parse("keyed archive: $archiver is not \"NSKeyedArchiver\"");
  }
  const Value* version = archive.find("$version");
  if (version == nullptr || version->integer() != KeyedArchiver::kVersion) {
    throw Exception::parse("keyed archive: $version is not 100000");
  }
  const Value* top = archive.find("$top");
  if (top == nullptr || top->dictionary() == nullptr) {
    throw Exception::parse(top ? "keyed archive: $top is a " + std::string(top->typeName()) +
                                     ", not a dictionary"
                               : "keyed archive: $top is missing");
  }
  const Value* objects = archive.find("$objects");
  if (objects == nullptr || objects->array() == nullptr || objects->array()->empty()) {
    throw Exception::parse("keyed archive: $objects is missing or not a non-empty array");
  }
  if (top->find("root") == nullptr)
    throw Exception::parse("keyed archive: $top has no root");
  return *objects->array();
}

}  // namespace

KeyedUnarchiver::KeyedUnarchiver(const Value::Array& objects, const ClassRegistry& registry,
                                 Mode mode)
    : objects_(objects),
      registry_(registry),
      mode_(mode),
      decoded_(objects.size()),
      state_(objects.size(), kUnseen) {}

ObjectPtr KeyedUnarchiver::run(const Value& archive, const ClassRegistry& registry, Mode mode) {
  const Value::Array& objects = checkedObjects(archive);
  KeyedUnarchiver coder(objects, registry, mode);
  return coder.objectAt(*archive.find("$top")->find("root"), "root");
}

ObjectPtr KeyedUnarchiver::unarchiveTopLevelObjectWithValue(const Value& archive,
                                                            const ClassRegistry& registry) {
  return run(archive, registry, Mode::Strict);
}

ObjectPtr KeyedUnarchiver::unarchiveObjectWithValue(const Value& archive,
                                                    const ClassRegistry& registry) {
  try {
    return run(archive, registry, Mode::Lenient);
  } catch (const Exception& e) {
    process::SystemLog::write(e.what());
    return nullptr;
  }
}

ObjectPtr KeyedUnarchiver::unarchiveTopLevelObjectWithData(std::span<const uint8_t> data,
                                                           const ClassRegistry& registry) {
  return run(PropertyList::parse(data), registry, Mode::Strict);
}

ObjectPtr KeyedUnarchiver::unarchiveObjectWithData(std::span<const uint8_t> data,
                                                   const ClassRegistry& registry) {
  try {
    return run(PropertyList::parse(data), registry, Mode::Lenient);
  } catch (const Exception& e) {
    process::SystemLog::write(e.what());
    return nullptr;
  }
}

ObjectPtr KeyedUnarchiver::fail(const std::string& problem) {
  std::string message = "keyed archive: ";
  if (!openIndex_.empty()) {
    message += "object " + std::to_string(openIndex_.back());
    if (!openClass_.back()->empty())
      message += " (" + *openClass_.back() + ")";
    message += ": ";
  }
  message += problem;
  if (mode_ == Mode::Strict)
    throw Exception::parse(message);
  process::SystemLog::write(message);
  return nullptr;
}

void KeyedUnarchiver::wrongType(std::string_view key) {
  fail("the value under \"" + std::string(key) + "\" is of the wrong type");
}

const Value* KeyedUnarchiver::field(std::string_view key) const {
  if (open_.empty())
    return nullptr;
  const Value::Dictionary& fields = *open_.back();
  // Only keys that start with "$" are stored escaped; the rest need no copy.
  auto it = !key.empty() && key.front() == '$' ? fields.find(escapedKey(key)) : fields.find(key);
  return it == fields.end() ? nullptr : &it->second;
}

bool KeyedUnarchiver::containsValueForKey(std::string_view key) const {
  return field(key) != nullptr;
}

ObjectPtr KeyedUnarchiver::objectAt(const Value& reference, std::string_view where) {
  auto uid = reference.uid();
  if (!uid) {
    return fail(
        text({"\"", where, "\" holds a ", reference.typeName(), ", not an object reference"}));
  }
  uint64_t index = uid->index;
  if (index == 0)
    return nullptr;
  if (index >= objects_.size()) {
    return fail(text({"reference ", std::to_string(index), " under \"", where,
                      "\" is out of range (the archive has ", std::to_string(objects_.size()),
                      " objects)"}));
  }
  if (state_[index] == kDone)
    return decoded_[index];
  if (state_[index] == kDecoding) {
    return fail("object " + std::to_string(index) + " refers back to itself");
  }
  if (open_.size() >= static_cast<size_t>(kMaxNesting))
    return fail("objects nested too deeply");
  state_[index] = kDecoding;
  ObjectPtr result;
  try {
    result = decodeEntry(index);
  } catch (...) {
    state_[index] = kUnseen;
    throw;
  }
  decoded_[index] = result;
  state_[index] = kDone;
  return result;
}

const std::string* KeyedUnarchiver::className(uint64_t index, const Value& classReference) {
  // The message prefix is built only when there is a problem to report.
  auto problem = [&](std::string_view what) {
    fail(text({"object ", std::to_string(index), " ", what}));
    return nullptr;
  };
  auto uid = classReference.uid();
  if (!uid) {
    return problem("has a $class that is not a reference");
  }
  if (uid->index == 0 || uid->index >= objects_.size()) {
    return problem("has a $class reference out of range");
  }
  const Value& description = objects_[uid->index];
  if (description.dictionary() == nullptr) {
    return problem("has a $class that is not a class description");
  }
  const Value* name = description.find("$classname");
  if (name == nullptr) {
    return problem("has a class description without $classname");
  }
  const std::string* nameText = name->string();
  if (nameText == nullptr) {
    return problem(text({"has a $classname that is a ", name->typeName(), ", not a string"}));
  }
  if (const Value* chain = description.find("$classes")) {
    bool strings = chain->array() != nullptr;
    if (strings) {
      for (const Value& c : *chain->array())
        strings = strings && c.string() != nullptr;
    }
    if (!strings) {
      return problem("has a $classes that is not an array of class names");
    }
  }
  return nameText;
}

ObjectPtr KeyedUnarchiver::decodeEntry(uint64_t index) {
  const Value& entry = objects_[index];
  switch (entry.type()) {
    case Value::Type::kString:
      if (*entry.string() == "$null")
        return nullptr;
      [[fallthrough]];
    case Value::Type::kInteger:
    case Value::Type::kReal:
    case Value::Type::kBool:
    case Value::Type::kData:
    case Value::Type::kDate:
      return std::make_shared<ValueObject>(entry);
    case Value::Type::kDictionary:
      break;
    default:
      return fail("object " + std::to_string(index) + " is a " + std::string(entry.typeName()) +
                  ", which cannot stand for an object");
  }
  const Value* classReference = entry.find("$class");
  if (classReference == nullptr) {
    return fail("object " + std::to_string(index) + " has no $class");
  }
  const std::string* name = className(index, *classReference);
  if (name == nullptr)
    return nullptr;
  ClassRegistry::Decoder decoder = registry_.find(*name);
  if (decoder == nullptr) {
    // A class we do not know may name fallbacks, as the platform's archiver allows.
    if (const Value* hints = objects_[classReference->uid()->index].find("$classhints")) {
      for (const Value& h : hints->array() ? *hints->array() : Value::Array{}) {
        if (h.string() && (decoder = registry_.find(*h.string())))
          break;
      }
    }
  }
  if (decoder == nullptr) {
    return fail("object " + std::to_string(index) + " is of class " + *name +
                ", which cannot be decoded here");
  }
  open_.push_back(entry.dictionary());
  openIndex_.push_back(index);
  openClass_.push_back(name);
  struct Close {
    KeyedUnarchiver& c;
    ~Close() {
      c.open_.pop_back();
      c.openIndex_.pop_back();
      c.openClass_.pop_back();
    }
  } close{*this};
  return decoder(*this);
}

ObjectPtr KeyedUnarchiver::decodeObject(std::string_view forKey) {
  const Value* v = field(forKey);
  return v ? objectAt(*v, forKey) : nullptr;
}

Value KeyedUnarchiver::decodeValue(std::string_view forKey) {
  const Value* v = field(forKey);
  if (v == nullptr)
    return Value();
  // Inline values (NS.string, NS.data) are accepted as well as references.
  if (!v->uid()) {
    if (v->string() || v->data() || v->integer() || v->real() || v->boolean())
      return *v;
  }
  ObjectPtr o = objectAt(*v, forKey);
  auto plain = std::dynamic_pointer_cast<const ValueObject>(o);
  if (o && !plain)
    wrongType(forKey);
  return plain ? plain->value() : Value();
}

std::optional<std::string> KeyedUnarchiver::decodeString(std::string_view forKey) {
  Value v = decodeValue(forKey);
  if (const std::string* s = v.string())
    return *s;
  if (!v.isNull())
    wrongType(forKey);
  return std::nullopt;
}

std::vector<ObjectPtr> KeyedUnarchiver::decodeObjects(std::string_view forKey) {
  std::vector<ObjectPtr> out;
  const Value* v = field(forKey);
  if (v == nullptr)
    return out;
  if (v->array() == nullptr) {
    wrongType(forKey);
    return out;
  }
  out.reserve(v->array()->size());
  for (const Value& ref : *v->array())
    out.push_back(objectAt(ref, forKey));
  return out;
}

bool KeyedUnarchiver::decodeBool(std::string_view forKey) {
  const Value* v = field(forKey);
  if (v == nullptr)
    return false;
  if (auto b = v->boolean())
    return *b;
  if (auto i = v->integer())
    return *i != 0;
  wrongType(forKey);
  return false;
}

int64_t KeyedUnarchiver::decodeInt64(std::string_view forKey) {
  const Value* v = field(forKey);
  if (v == nullptr)
    return 0;
  if (auto i = v->integer())
    return *i;
  if (auto b = v->boolean())
    return *b ? 1 : 0;
  wrongType(forKey);
  return 0;
}

int32_t KeyedUnarchiver::decodeInt32(std::string_view forKey) {
  int64_t i = decodeInt64(forKey);
  if (i < std::numeric_limits<int32_t>::min() || i > std::numeric_limits<int32_t>::max()) {
    fail("the integer under \"" + std::string(forKey) + "\" does not fit 32 bits");
    return 0;
  }
  return static_cast<int32_t>(i);
}

double KeyedUnarchiver::decodeDouble(std::string_view forKey) {
  const Value* v = field(forKey);
  if (v == nullptr)
    return 0;
  if (auto d = v->real())
    return *d;
  wrongType(forKey);
  return 0;
}

float KeyedUnarchiver::decodeFloat(std::string_view forKey) {
  return static_cast<float>(decodeDouble(forKey));
}

std::optional<Data> KeyedUnarchiver::decodeBytes(std::string_view forKey) {
  const Value* v = field(forKey);
  if (v == nullptr)
    return std::nullopt;
  if (const Data* d = v->data())
    return *d;
  wrongType(forKey);
  return std::nullopt;
}

Point KeyedUnarchiver::decodePoint(std::string_view forKey) {
  auto text = decodeString(forKey);
  if (!text)
    return Point{};
  auto p = pointFromText(*text);
  if (!p) {
    fail("the point under \"" + std::string(forKey) + "\" is not \"{x, y}\"");
    return Point{};
  }
  return *p;
}

}  // namespace qrl::archive

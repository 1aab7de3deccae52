#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/archive/Object.h"
#include "platform/base/Point.h"

namespace qrl::archive {

// Writes the NSKeyedArchiver structure: "$archiver", "$version" 100000,
// "$top" {"root": UID}, "$objects" starting with "$null". Each object is
// stored once (by identity) and referenced by UID; its class dictionary is
// shared by every object of the class; scalars go inline; nil is UID 0.
class KeyedArchiver {
 public:
  static constexpr int64_t kVersion = 100000;

  // The archive as a binary property list; `root` may be null.
  static Data archivedDataWithRootObject(const Object* root);
  // The archive as a property-list value (before serialisation).
  static Value archivedValueWithRootObject(const Object* root);

  // Objects. Pointers must stay valid until archiving ends (shared pointers
  // are kept alive by the archiver); null writes UID 0.
  void encodeObject(const Object* object, std::string_view forKey);
  void encodeObject(const ObjectPtr& object, std::string_view forKey);
  // A plain value as an object: strings, numbers and data stand alone in
  // "$objects", dates become NSDate, arrays NSArray and dictionaries
  // NSDictionary (of such values); null writes UID 0.
  void encodeObject(const Value& value, std::string_view forKey);
  // An inline array of references, as collections store their members.
  void encodeObjects(std::span<const ObjectPtr> objects, std::string_view forKey);

  void encodeBool(bool value, std::string_view forKey);
  void encodeInt32(int32_t value, std::string_view forKey);
  void encodeInt64(int64_t value, std::string_view forKey);
  void encodeFloat(float value, std::string_view forKey);
  void encodeDouble(double value, std::string_view forKey);
  void encodeBytes(const Data& bytes, std::string_view forKey);
  // The coder's point encoding: a string object "{x, y}".
  void encodePoint(Point point, std::string_view forKey);

 private:
  KeyedArchiver();
  Value finish(const Object* root);

  Uid reference(const Object* object);
  Uid reference(const Value& value);
  Uid classReference(const Object& object);
  Uid append(Value value);
  void put(std::string_view key, Value value);

  Value::Array objects_;
  std::vector<Value::Dictionary> open_;  // dictionaries of the objects being encoded
  std::unordered_map<const Object*, uint64_t> uids_;
  std::map<std::string, uint64_t, std::less<>> classes_;
  std::vector<ObjectPtr> keepAlive_;
};

}  // namespace qrl::archive

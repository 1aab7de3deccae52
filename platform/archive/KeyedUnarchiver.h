#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/archive/ClassRegistry.h"
#include "platform/archive/Object.h"
#include "platform/base/Point.h"

namespace qrl::archive {

// Reads the NSKeyedArchiver structure. Decoders registered in a ClassRegistry
// read their fields through the decode... methods, which look in the object
// being decoded; a missing key gives nil, NO or 0.
//
// Two modes. Strict (unarchiveTopLevelObjectWithData) throws qrl::Exception
// (Parse) at the first problem: not a keyed archive, a bad UID, a UID cycle, a
// malformed class description, an unknown class, a value of the wrong type.
// Lenient (unarchiveObjectWithData) logs each problem to the system log and
// goes on with nil (or 0) in that place. Neither crashes or recurses without
// bound on hostile input.
class KeyedUnarchiver {
 public:
  static constexpr int kMaxNesting = 64;

  static ObjectPtr unarchiveTopLevelObjectWithData(
      std::span<const uint8_t> data, const ClassRegistry& registry = ClassRegistry::standard());
  static ObjectPtr unarchiveObjectWithData(
      std::span<const uint8_t> data, const ClassRegistry& registry = ClassRegistry::standard());
  // The same from an archive already parsed into a property-list value.
  static ObjectPtr unarchiveTopLevelObjectWithValue(
      const Value& archive, const ClassRegistry& registry = ClassRegistry::standard());
  static ObjectPtr unarchiveObjectWithValue(
      const Value& archive, const ClassRegistry& registry = ClassRegistry::standard());

  bool containsValueForKey(std::string_view key) const;

  ObjectPtr decodeObject(std::string_view forKey);
  // The object if it is a T; otherwise nil, and a problem when it was not nil.
  template <typename T>
  std::shared_ptr<const T> decodeObjectOfClass(std::string_view forKey) {
    ObjectPtr o = decodeObject(forKey);
    auto t = std::dynamic_pointer_cast<const T>(o);
    if (o && !t)
      wrongType(forKey);
    return t;
  }
  // The bare value of a string, number, data or date object; null otherwise.
  Value decodeValue(std::string_view forKey);
  std::optional<std::string> decodeString(std::string_view forKey);
  // The members of an inline array of references (NS.objects, NS.keys).
  std::vector<ObjectPtr> decodeObjects(std::string_view forKey);

  bool decodeBool(std::string_view forKey);
  int32_t decodeInt32(std::string_view forKey);
  int64_t decodeInt64(std::string_view forKey);
  float decodeFloat(std::string_view forKey);
  double decodeDouble(std::string_view forKey);
  std::optional<Data> decodeBytes(std::string_view forKey);
  // The coder's point encoding ("{x, y}" string); (0, 0) when missing.
  Point decodePoint(std::string_view forKey);

  // Reports a problem with the object being decoded: throws in strict mode,
  // logs in lenient mode. Returns nil so that decoders can `return fail(...)`.
  ObjectPtr fail(const std::string& problem);

 private:
  enum class Mode { Strict, Lenient };
  KeyedUnarchiver(const Value::Array& objects, const ClassRegistry& registry, Mode mode);

  static ObjectPtr run(const Value& archive, const ClassRegistry& registry, Mode mode);
  ObjectPtr objectAt(const Value& reference, std::string_view where);
  ObjectPtr decodeEntry(uint64_t index);
  const Value* field(std::string_view key) const;
  // The class name of object `index`, or null after reporting a malformed
  // class description.
  const std::string* className(uint64_t index, const Value& classReference);
  void wrongType(std::string_view key);

  const Value::Array& objects_;
  const ClassRegistry& registry_;
  Mode mode_;
  std::vector<ObjectPtr> decoded_;
  std::vector<uint8_t> state_;
  std::vector<const Value::Dictionary*> open_;  // the objects being decoded, innermost last
  std::vector<uint64_t> openIndex_;
  std::vector<const std::string*> openClass_;  // names live in objects_
};

}  // namespace qrl::archive

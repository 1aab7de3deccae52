#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "platform/archive/Value.h"

namespace qrl::archive {

class KeyedArchiver;

// An object that a keyed archive can hold. Decoding is the business of the
// ClassRegistry, which maps "$classname" to a function building the object.
class Object {
 public:
  virtual ~Object() = default;

  // The class chain written to "$classes": the class itself first, "NSObject"
  // last. Its first entry is the "$classname". The names must outlive the call.
  virtual std::span<const std::string_view> classChain() const = 0;

  virtual void encodeWithCoder(KeyedArchiver& coder) const = 0;

  // Strings, numbers and data are stored as bare property-list values rather
  // than as dictionaries with a class; such objects return that value here.
  virtual const Value* plainValue() const { return nullptr; }

 protected:
  Object() = default;
  Object(const Object&) = default;
  Object& operator=(const Object&) = default;
};

using ObjectPtr = std::shared_ptr<const Object>;

}  // namespace qrl::archive

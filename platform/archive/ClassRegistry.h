#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "platform/archive/Object.h"

namespace qrl::archive {

class KeyedUnarchiver;

// Maps a "$classname" to the function that decodes an object of that class
// from the unarchiver's current object. A registry is a plain value: copy the
// standard one and add your own classes.
class ClassRegistry {
 public:
  // Returns the decoded object, or null after reporting the problem through
  // KeyedUnarchiver::fail.
  using Decoder = ObjectPtr (*)(KeyedUnarchiver& coder);

  void registerClass(std::string className, Decoder decoder);
  Decoder find(std::string_view className) const;

  // Strings, numbers and data (and their mutable forms), arrays, dictionaries,
  // dates, colours and NSValue points.
  static const ClassRegistry& standard();

 private:
  std::map<std::string, Decoder, std::less<>> decoders_;
};

}  // namespace qrl::archive

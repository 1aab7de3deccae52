#pragma once

#include <memory>
#include <span>
#include <string>
#include <typeinfo>

#include "platform/archive/ClassRegistry.h"
#include "platform/archive/KeyedUnarchiver.h"
#include "platform/process/SystemLog.h"

namespace qrl {

// The standard classes plus the archivable records, by their class names.
const archive::ClassRegistry& recordClassRegistry();

// The record of type T archived in `data`, or null with a log line when the
// data is not a keyed archive of a T.
template <typename T>
std::shared_ptr<const T> unarchiveRecord(std::span<const uint8_t> data) {
  archive::ObjectPtr o =
      archive::KeyedUnarchiver::unarchiveObjectWithData(data, recordClassRegistry());
  auto record = std::dynamic_pointer_cast<const T>(o);
  if (o && !record) {
    process::SystemLog::write("keyed archive: the root object is a " +
                              std::string(o->classChain().front()) + ", not the record expected");
  }
  return record;
}

}  // namespace qrl

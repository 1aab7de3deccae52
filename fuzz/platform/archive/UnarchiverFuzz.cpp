// Any bytes through the lenient unarchiver with the standard classes: must not
// crash, overflow the stack or allocate without bound.
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/archive/KeyedUnarchiver.h"
#include "platform/process/SystemLog.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool quiet = [] {
    qrl::process::SystemLog::setSink([](std::string_view) {});
    return true;
  }();
  (void)quiet;
  qrl::archive::KeyedUnarchiver::unarchiveObjectWithData(std::span(data, size));
  return 0;
}

#include "platform/archive/ArrayObject.h"

#include "platform/archive/KeyedArchiver.h"

namespace qrl::archive {
namespace {
constexpr std::string_view kChain[] = {"NSArray", "NSObject"};
}  // namespace

std::span<const std::string_view> ArrayObject::classChain() const {
  return kChain;
}

void ArrayObject::encodeWithCoder(KeyedArchiver& coder) const {
  coder.encodeObjects(objects_, "NS.objects");
}

}  // namespace qrl::archive

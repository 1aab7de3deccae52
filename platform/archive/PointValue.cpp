#include "platform/archive/PointValue.h"

#include "platform/archive/KeyedArchiver.h"

namespace qrl::archive {
namespace {
constexpr std::string_view kChain[] = {"NSValue", "NSObject"};
}  // namespace

std::span<const std::string_view> PointValue::classChain() const {
  return kChain;
}

void PointValue::encodeWithCoder(KeyedArchiver& coder) const {
  coder.encodeInt64(kSpecialPoint, "NS.special");
  coder.encodePoint(point_, "NS.pointval");
}

}  // namespace qrl::archive

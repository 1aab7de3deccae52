#include "platform/archive/ValueObject.h"

#include "platform/archive/KeyedArchiver.h"

namespace qrl::archive {
namespace {
constexpr std::string_view kString[] = {"NSString", "NSObject"};
constexpr std::string_view kNumber[] = {"NSNumber", "NSValue", "NSObject"};
constexpr std::string_view kData[] = {"NSData", "NSObject"};
constexpr std::string_view kDate[] = {"NSDate", "NSObject"};
}  // namespace

std::span<const std::string_view> ValueObject::classChain() const {
  switch (value_.type()) {
    case Value::Type::kString:
      return kString;
    case Value::Type::kData:
      return kData;
    case Value::Type::kDate:
      return kDate;
    default:
      return kNumber;
  }
}

void ValueObject::encodeWithCoder(KeyedArchiver& coder) const {
  if (auto d = value_.date())
    coder.encodeDouble(d->sinceReferenceDate, "NS.time");
}

const Value* ValueObject::plainValue() const {
  return value_.type() == Value::Type::kDate ? nullptr : &value_;
}

}  // namespace qrl::archive

#include "records/QRLQTTimecodeTrackAttributeWrapper.h"

#include <memory>

#include "platform/archive/KeyedArchiver.h"
#include "platform/archive/KeyedUnarchiver.h"
#include "records/QRLAttributeValues.h"
#include "records/QRLQTTimecodeAttributes.h"

namespace qrl {
namespace {
constexpr std::string_view kChain[] = {"QRLQTTimecodeTrackAttributeWrapper",
                                       "QRLQTTimecodeAttributeWrapper", "NSObject"};
}  // namespace

QRLQTTimecodeTrackAttributeWrapper::QRLQTTimecodeTrackAttributeWrapper()
    : QRLQTTimecodeTrackAttributeWrapper(archive::Value(archive::Value::Dictionary{})) {}

QRLQTTimecodeTrackAttributeWrapper::QRLQTTimecodeTrackAttributeWrapper(const archive::Value& d)
    : QRLQTTimecodeAttributeWrapper(d),
      showTimecode_(detail::boolIn(d, QRLQTOverlayTrackVisibleAttribute).value_or(true)) {}

archive::ObjectPtr QRLQTTimecodeTrackAttributeWrapper::initWithCoder(
    archive::KeyedUnarchiver& coder) {
  auto record = std::make_shared<QRLQTTimecodeTrackAttributeWrapper>();
  record->decodeBase(coder);
  record->showTimecode_ = coder.decodeBool(QRLQTOverlayTrackVisibleAttribute);
  return record;
}

void QRLQTTimecodeTrackAttributeWrapper::encodeWithCoder(archive::KeyedArchiver& coder) const {
  QRLQTTimecodeAttributeWrapper::encodeWithCoder(coder);
  coder.encodeBool(showTimecode_, QRLQTOverlayTrackVisibleAttribute);
}

archive::Value QRLQTTimecodeTrackAttributeWrapper::timecodeAttributeDictionary() const {
  archive::Value::Dictionary d;
  addBaseEntries(d);
  d.insert_or_assign(std::string(QRLQTOverlayTrackVisibleAttribute), showTimecode_);
  return archive::Value(std::move(d));
}

std::span<const std::string_view> QRLQTTimecodeTrackAttributeWrapper::classChain() const {
  return kChain;
}

}  // namespace qrl

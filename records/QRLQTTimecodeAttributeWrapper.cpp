#include "records/QRLQTTimecodeAttributeWrapper.h"

#include <memory>

#include "platform/archive/KeyedArchiver.h"
#include "platform/archive/KeyedUnarchiver.h"
#include "records/QRLAttributeValues.h"
#include "records/QRLQTTimecodeAttributes.h"
#include "records/QRLRecordDefaults.h"

namespace qrl {
namespace {
constexpr std::string_view kChain[] = {"QRLQTTimecodeAttributeWrapper", "NSObject"};
}  // namespace

QRLQTTimecodeAttributeWrapper::QRLQTTimecodeAttributeWrapper()
    : QRLQTTimecodeAttributeWrapper(archive::Value(archive::Value::Dictionary{})) {}

QRLQTTimecodeAttributeWrapper::QRLQTTimecodeAttributeWrapper(const archive::Value& d)
    : startTimecode_(detail::stringIn(d, QRLQTOverlayStartTimecodeAttribute)
                         .value_or(std::string(kDefaultTimecode))),
      frameRate_(detail::unsignedIn(d, QRLQTOverlayVideoFrameRateAttribute)
                     .value_or(kDefaultVideoFrameRate)),
      fontSize_(detail::intIn(d, QRLQTOverlayFontSizeAttribute).value_or(kDefaultFontSize)) {}

archive::ObjectPtr QRLQTTimecodeAttributeWrapper::initWithCoder(archive::KeyedUnarchiver& coder) {
  auto record = std::make_shared<QRLQTTimecodeAttributeWrapper>();
  record->decodeBase(coder);
  return record;
}

void QRLQTTimecodeAttributeWrapper::decodeBase(archive::KeyedUnarchiver& coder) {
  // No defaults here: what the archive lacks decodes as none or 0.
  startTimecode_ = coder.decodeString(QRLQTOverlayStartTimecodeAttribute);
  frameRate_ = static_cast<uint32_t>(
      detail::wholeNumber(coder.decodeValue(QRLQTOverlayVideoFrameRateAttribute)).value_or(0));
  fontSize_ = static_cast<int32_t>(
      detail::wholeNumber(coder.decodeValue(QRLQTOverlayFontSizeAttribute)).value_or(0));
}

void QRLQTTimecodeAttributeWrapper::encodeWithCoder(archive::KeyedArchiver& coder) const {
  coder.encodeObject(startTimecode_ ? archive::Value(*startTimecode_) : archive::Value(),
                     QRLQTOverlayStartTimecodeAttribute);
  coder.encodeObject(archive::Value(frameRate_), QRLQTOverlayVideoFrameRateAttribute);
  coder.encodeObject(archive::Value(fontSize_), QRLQTOverlayFontSizeAttribute);
}

void QRLQTTimecodeAttributeWrapper::addBaseEntries(archive::Value::Dictionary& d) const {
  if (startTimecode_)
    d.insert_or_assign(std::string(QRLQTOverlayStartTimecodeAttribute), *startTimecode_);
  d.insert_or_assign(std::string(QRLQTOverlayVideoFrameRateAttribute), frameRate_);
  d.insert_or_assign(std::string(QRLQTOverlayFontSizeAttribute), fontSize_);
}

archive::Value QRLQTTimecodeAttributeWrapper::timecodeAttributeDictionary() const {
  archive::Value::Dictionary d;
  addBaseEntries(d);
  return archive::Value(std::move(d));
}

std::span<const std::string_view> QRLQTTimecodeAttributeWrapper::classChain() const {
  return kChain;
}

}  // namespace qrl

#include "records/QRLQTTimecodeBurnAttributeWrapper.h"

#include <array>
#include <memory>

#include "platform/archive/KeyedArchiver.h"
#include "platform/archive/KeyedUnarchiver.h"
#include "platform/archive/PointCoding.h"
#include "platform/process/SystemLog.h"
#include "records/QRLAttributeValues.h"
#include "records/QRLQTTimecodeAttributes.h"

namespace qrl {
namespace {

constexpr std::string_view kChain[] = {"QRLQTTimecodeBurnAttributeWrapper",
                                       "QRLQTTimecodeAttributeWrapper", "NSObject"};

constexpr std::array<std::string_view, 4> kComponentKeys = {
    QRLQTOverlayBurnFontRedColorAttribute, QRLQTOverlayBurnFontGreenColorAttribute,
    QRLQTOverlayBurnFontBlueColorAttribute, QRLQTOverlayBurnFontAlphaColorAttribute};

archive::Color fontColorIn(const archive::Value& d) {
  std::array<float, 4> c{};
  for (size_t i = 0; i < c.size(); ++i)
    c[i] = detail::floatIn(d, kComponentKeys[i]).value_or(1.0f);
  return archive::Color::calibratedRGB(c[0], c[1], c[2], c[3]);
}

void addComponents(archive::Value::Dictionary& d, const std::optional<archive::Color>& color,
                   bool letterbox) {
  // A missing colour answers 0 for every component.
  std::array<float, 4> c{};
  if (color)
    c = {color->red(), color->green(), color->blue(), color->alpha()};
  for (size_t i = 0; i < c.size(); ++i) {
    std::string key =
        letterbox ? QRLQTTimecodeBurnAttributeWrapper::amendTimecodeFontKeyForLetterboxColor(
                        kComponentKeys[i])
                  : std::string(kComponentKeys[i]);
    d.insert_or_assign(std::move(key), archive::Value(c[i]));
  }
}

}  // namespace

QRLQTTimecodeBurnAttributeWrapper::QRLQTTimecodeBurnAttributeWrapper()
    : QRLQTTimecodeBurnAttributeWrapper(archive::Value(archive::Value::Dictionary{})) {}

QRLQTTimecodeBurnAttributeWrapper::QRLQTTimecodeBurnAttributeWrapper(const archive::Value& d)
    : QRLQTTimecodeAttributeWrapper(d), fontColor_(fontColorIn(d)) {
  if (const archive::Value* origin = d.find(QRLQTOverlayBurnOriginAttribute)) {
    if (auto p = archive::pointFromValue(*origin)) {
      burnOrigin_ = *p;
    } else {
      process::SystemLog::write("attribute \"" + std::string(QRLQTOverlayBurnOriginAttribute) +
                                "\" is not a point; ignored");
    }
  }
  // Only the red key decides whether there is a letterbox at all.
  if (d.find(amendTimecodeFontKeyForLetterboxColor(QRLQTOverlayBurnFontRedColorAttribute))) {
    letterboxBackgroundColor_ = letterBoxColorFromAttributeDictionary(d);
  }
}

std::string QRLQTTimecodeBurnAttributeWrapper::amendTimecodeFontKeyForLetterboxColor(
    std::string_view key) {
  return std::string(key) + "_Letterbox";
}

float QRLQTTimecodeBurnAttributeWrapper::extractLetterboxValueStoredInDictionary(
    const archive::Value& dictionary, std::string_view withLetterBoxKey) {
  return detail::floatIn(dictionary, withLetterBoxKey).value_or(1.0f);
}

archive::Color QRLQTTimecodeBurnAttributeWrapper::letterBoxColorFromAttributeDictionary(
    const archive::Value& dictionary) {
  std::array<float, 4> c{};
  for (size_t i = 0; i < c.size(); ++i) {
    c[i] = extractLetterboxValueStoredInDictionary(
        dictionary, amendTimecodeFontKeyForLetterboxColor(kComponentKeys[i]));
  }
  return archive::Color::calibratedRGB(c[0], c[1], c[2], c[3]);
}

archive::Value QRLQTTimecodeBurnAttributeWrapper::timecodeAttributeDictionary() const {
  archive::Value::Dictionary d;
  addBaseEntries(d);
  d.insert_or_assign(std::string(QRLQTOverlayBurnOriginAttribute),
                     archive::pointValue(burnOrigin_));
  addComponents(d, fontColor_, false);
  if (letterboxBackgroundColor_)
    addComponents(d, letterboxBackgroundColor_, true);
  return archive::Value(std::move(d));
}

archive::ObjectPtr QRLQTTimecodeBurnAttributeWrapper::initWithCoder(
    archive::KeyedUnarchiver& coder) {
  auto record = std::make_shared<QRLQTTimecodeBurnAttributeWrapper>();
  record->decodeBase(coder);
  auto font = coder.decodeObjectOfClass<archive::Color>(QRLQTOverlayBurnFontColorAttribute);
  record->fontColor_ = font ? std::optional(*font) : std::nullopt;
  record->burnOrigin_ = coder.decodePoint(QRLQTOverlayBurnOriginAttribute);
  auto letterbox =
      coder.decodeObjectOfClass<archive::Color>(QRLQTOverlayBurnLetterBoxFontColorAttribute);
  record->letterboxBackgroundColor_ = letterbox ? std::optional(*letterbox) : std::nullopt;
  return record;
}

void QRLQTTimecodeBurnAttributeWrapper::encodeWithCoder(archive::KeyedArchiver& coder) const {
  QRLQTTimecodeAttributeWrapper::encodeWithCoder(coder);
  coder.encodeObject(fontColor_ ? &*fontColor_ : nullptr, QRLQTOverlayBurnFontColorAttribute);
  coder.encodePoint(burnOrigin_, QRLQTOverlayBurnOriginAttribute);
  if (letterboxBackgroundColor_) {
    coder.encodeObject(&*letterboxBackgroundColor_, QRLQTOverlayBurnLetterBoxFontColorAttribute);
  }
}

std::span<const std::string_view> QRLQTTimecodeBurnAttributeWrapper::classChain() const {
  return kChain;
}

}  // namespace qrl

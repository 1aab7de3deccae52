#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/archive/Color.h"
#include "platform/base/Point.h"
#include "records/QRLQTTimecodeAttributeWrapper.h"

namespace qrl {

// A timecode burn: the base settings plus where and in which colours the text
// is burnt in. The dictionary carries colour components under their own keys;
// the archive carries whole colour objects.
class QRLQTTimecodeBurnAttributeWrapper : public QRLQTTimecodeAttributeWrapper {
 public:
  QRLQTTimecodeBurnAttributeWrapper();
  explicit QRLQTTimecodeBurnAttributeWrapper(const archive::Value& attributeDictionary);

  static archive::ObjectPtr initWithCoder(archive::KeyedUnarchiver& coder);

  archive::Value timecodeAttributeDictionary() const override;
  std::span<const std::string_view> classChain() const override;
  void encodeWithCoder(archive::KeyedArchiver& coder) const override;

  // The key with "_Letterbox" appended.
  static std::string amendTimecodeFontKeyForLetterboxColor(std::string_view key);
  // The number under the key as a float, or 1.0 when the key is absent.
  static float extractLetterboxValueStoredInDictionary(const archive::Value& dictionary,
                                                       std::string_view withLetterBoxKey);
  // The calibrated RGB colour of the four "_Letterbox" components.
  static archive::Color letterBoxColorFromAttributeDictionary(const archive::Value& dictionary);

  // Empty only after decoding an archive that carried none; its components
  // then read as 0 in the dictionary form.
  const std::optional<archive::Color>& fontColor() const { return fontColor_; }
  void setFontColor(std::optional<archive::Color> fontColor) { fontColor_ = fontColor; }
  // Empty means no band behind the text.
  const std::optional<archive::Color>& letterboxBackgroundColor() const {
    return letterboxBackgroundColor_;
  }
  void setLetterboxBackgroundColor(std::optional<archive::Color> color) {
    letterboxBackgroundColor_ = color;
  }
  Point burnOrigin() const { return burnOrigin_; }
  void setBurnOrigin(Point burnOrigin) { burnOrigin_ = burnOrigin; }

  friend bool operator==(const QRLQTTimecodeBurnAttributeWrapper& a,
                         const QRLQTTimecodeBurnAttributeWrapper& b) {
    return static_cast<const QRLQTTimecodeAttributeWrapper&>(a) ==
               static_cast<const QRLQTTimecodeAttributeWrapper&>(b) &&
           a.fontColor_ == b.fontColor_ &&
           a.letterboxBackgroundColor_ == b.letterboxBackgroundColor_ &&
           a.burnOrigin_ == b.burnOrigin_;
  }

 private:
  std::optional<archive::Color> fontColor_;
  std::optional<archive::Color> letterboxBackgroundColor_;
  Point burnOrigin_;
};

}  // namespace qrl

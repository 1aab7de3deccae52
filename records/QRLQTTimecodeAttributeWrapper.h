#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/archive/Object.h"
#include "platform/archive/Value.h"

namespace qrl::archive {
class KeyedUnarchiver;
}

namespace qrl {

// The settings shared by timecode operations: start timecode, frame-rate code
// and font size. Travels as an attribute dictionary or as a keyed archive;
// the two forms differ on purpose (the dictionary applies defaults, the
// archive does not).
class QRLQTTimecodeAttributeWrapper : public archive::Object {
 public:
  static constexpr int32_t kDefaultFontSize = 15;

  // The defaults of an empty dictionary.
  QRLQTTimecodeAttributeWrapper();
  // initWithAttributeDictionary:; a non-dictionary counts as empty.
  explicit QRLQTTimecodeAttributeWrapper(const archive::Value& attributeDictionary);

  // initWithCoder:, as registered for the class name.
  static archive::ObjectPtr initWithCoder(archive::KeyedUnarchiver& coder);

  // A new dictionary with this record's entries.
  virtual archive::Value timecodeAttributeDictionary() const;

  std::span<const std::string_view> classChain() const override;
  void encodeWithCoder(archive::KeyedArchiver& coder) const override;

  // Empty only after decoding an archive that carried none.
  const std::optional<std::string>& startTimecode() const { return startTimecode_; }
  void setStartTimecode(std::optional<std::string> startTimecode) {
    startTimecode_ = std::move(startTimecode);
  }
  uint32_t frameRate() const { return frameRate_; }
  void setFrameRate(uint32_t frameRate) { frameRate_ = frameRate; }
  int32_t fontSize() const { return fontSize_; }
  void setFontSize(int32_t fontSize) { fontSize_ = fontSize; }

  friend bool operator==(const QRLQTTimecodeAttributeWrapper& a,
                         const QRLQTTimecodeAttributeWrapper& b) {
    return a.startTimecode_ == b.startTimecode_ && a.frameRate_ == b.frameRate_ &&
           a.fontSize_ == b.fontSize_;
  }

 protected:
  void addBaseEntries(archive::Value::Dictionary& dictionary) const;
  void decodeBase(archive::KeyedUnarchiver& coder);

 private:
  std::optional<std::string> startTimecode_;
  uint32_t frameRate_ = 0;
  int32_t fontSize_ = 0;
};

}  // namespace qrl

#pragma once

#include "records/QRLQTTimecodeAttributeWrapper.h"

namespace qrl {

// A timecode track: the base settings plus whether the track is shown.
class QRLQTTimecodeTrackAttributeWrapper : public QRLQTTimecodeAttributeWrapper {
 public:
  QRLQTTimecodeTrackAttributeWrapper();
  explicit QRLQTTimecodeTrackAttributeWrapper(const archive::Value& attributeDictionary);

  static archive::ObjectPtr initWithCoder(archive::KeyedUnarchiver& coder);

  archive::Value timecodeAttributeDictionary() const override;
  std::span<const std::string_view> classChain() const override;
  void encodeWithCoder(archive::KeyedArchiver& coder) const override;

  bool showTimecode() const { return showTimecode_; }
  void setShowTimecode(bool showTimecode) { showTimecode_ = showTimecode; }

  friend bool operator==(const QRLQTTimecodeTrackAttributeWrapper& a,
                         const QRLQTTimecodeTrackAttributeWrapper& b) {
    return static_cast<const QRLQTTimecodeAttributeWrapper&>(a) ==
               static_cast<const QRLQTTimecodeAttributeWrapper&>(b) &&
           a.showTimecode_ == b.showTimecode_;
  }

 private:
  bool showTimecode_ = true;
};

}  // namespace qrl

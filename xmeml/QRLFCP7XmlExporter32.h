#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/archive/Value.h"
#include "timecode/QRLVideoFrameRate.h"
#include "xmeml/QRLFCP7XmlDocument.h"
#include "xmeml/XmlElement.h"

namespace qrl {

// Dictionary keys passed between the clip builder's steps.
inline constexpr std::string_view QRLFCP7DocumentTimecodeKey = "timecode";
inline constexpr std::string_view QRLFCP7DocumentTimecodeFramesKey = "timecodeFrames";
inline constexpr std::string_view QRLFCP7DocumentDropFrameKey = "dropFrame";
inline constexpr std::string_view QRLFCP7DocumentTimecodeSourceKey = "timecodeSource";
inline constexpr std::string_view QRLFCP7DocumentReelNameKey = "reelName";
inline constexpr std::string_view QRLFCP7DocumentNTSCKeyRate = "NTSC";
inline constexpr std::string_view QRLFCP7DocumentTimebaseKeyRate = "timeBase";

// Builds the `clip` element of an xmeml document for one movie file, and the
// pieces it is made of. Every leaf is made by QRLXmlUtility::createElementWithName.
class QRLFCP7XmlExporter32 {
 public:
  QRLFCP7XmlExporter32();

  const std::shared_ptr<QRLFCP7XmlDocument>& sevenXmlDocument() const { return sevenXmlDocument_; }
  void setSevenXmlDocument(std::shared_ptr<QRLFCP7XmlDocument> document) {
    sevenXmlDocument_ = std::move(document);
  }

  // The string held by the value; "" for no value or any other kind of value.
  std::string createXmlValueStringForObject(const archive::Value* object) const;

  // timecode, timecodeFrames, dropFrame ("DF" or "NDF"), timecodeSource,
  // reelName, in that order; the first missing argument ends the dictionary.
  archive::Value::Dictionary timecodeDictionary(const std::optional<std::string>& timecode,
                                                const std::optional<std::string>& withStartingFrame,
                                                bool dropFrame,
                                                const std::optional<std::string>& source,
                                                const std::optional<std::string>& andReel) const;
  // `timecode` holding string, frame, displayformat, source and reel/name;
  // a missing key gives an empty element.
  XmlElement timecodeElementFromDictionary(const archive::Value::Dictionary& dictionary) const;
  // `rate` holding ntsc and timebase.
  XmlElement rateElementFromDictionary(const archive::Value::Dictionary& dictionary) const;
  // An element holding one `samplecharacteristics`; when both arrays are
  // given, have equal counts and are not empty, each (name, value) pair of
  // strings becomes a child of `samplecharacteristics` with that text.
  XmlElement mediaChildElement(std::string_view name,
                               const archive::Value::Array* withCharacteristics,
                               const archive::Value::Array* andValues) const;
  // `audio` with samplerate and depth characteristics, then layout and channelcount.
  XmlElement audioMediaElementwithSampleRate(std::string_view sampleRate, std::string_view depth,
                                             std::string_view layout,
                                             std::string_view andChannelCount) const;

  // The clip for a movie file with an optional start timecode at a frame-rate
  // code; none when the movie cannot be opened. A timecode that is not
  // timecode-shaped counts as none. With a timecode, `in` is its frame count
  // and `out` that count plus the movie's duration in movie time units (not
  // frames; kept so for the editors that read these documents).
  std::optional<XmlElement> clipElementForQuickTimeFile(
      const std::string& path, const std::optional<std::string>& withTimecode,
      QRLVideoFrameRate andFrameRateDefinition) const;

  // A sample rate as the audio element gives it: the rate as a 32-bit float
  // in its shortest decimal form with every "." removed (48000 -> "48000",
  // 22050.5 -> "220505").
  static std::string sampleRateText(double sampleRate);

 private:
  std::shared_ptr<QRLFCP7XmlDocument> sevenXmlDocument_;
};

}  // namespace qrl

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/quicktime/AtomContainer.h"

namespace qrl {

// Reads a movie-export compression-settings container into plain fields:
// video codec, frame size, frame rate and data rate, sound codec, sample
// rate, sample size and channels.
//
// Every raw field is the first bytes of its atom's data taken as a
// little-endian word, without converting from the container's big-endian
// order; the derived fields swap back where they need real numbers. So a
// stored width of 720.0 (02 D0 00 00) is `width` 0xD002 and `settingWidth`
// 720, and a stored channel count of 1 is `numberOfChannels` 256, "Mono".
// These values are what parents of the conduit know; keep them so. (The
// export reads the same containers properly: settings/MovieExporter.h.)
class QRLQTSettingsParser {
 public:
  // All numbers 0, the three strings empty.
  QRLQTSettingsParser();

  // A new parser that has walked the container from its root.
  static std::unique_ptr<QRLQTSettingsParser> initWithContainer(
      const quicktime::AtomContainer& container);

  // The walk, depth first, each atom before its children. `ofType` is the
  // type under which the parent listed the atom (0 for the root, which
  // matches nothing); a leaf of one of the nine known types sets its field.
  // The data size is not checked: a short leaf reads on into the bytes that
  // follow it in the container (zero past the container's end). Children
  // are visited type by type in the order the types first occur, each type's
  // children by index; when a type occurs more than once anywhere, the last
  // one visited wins.
  void parseAtom(const quicktime::AtomContainer& container, quicktime::QTAtom withAtom,
                 quicktime::QTAtomType ofType);

  // Normalises the settings through the movie exporter and walks the
  // result. Settings the exporter cannot read leave every field as it was.
  void parseData(const std::vector<uint8_t>& data);

  // The settings panel without a panel: nothing for missing or empty data;
  // otherwise the exporter's normalised copy of the settings, or a copy of
  // the data itself when the exporter cannot read them.
  std::optional<std::vector<uint8_t>> loadCompressorPanelWithCompressionData(
      const std::optional<std::vector<uint8_t>>& data);

  // --- Class operations; all pure. Binary strings are "0"/"1" digits, most
  // significant first.

  // v >> 15 for v > 0, else 0.
  static int extraceDataRateFromLong(int32_t v);
  // The display name of the compressor whose code, read little-endian, is
  // `code`; "Unknown" for a code no compressor has.
  static std::string extractCodecNameFromCodecType(uint32_t code);
  // The four characters of a 32-digit (padded) binary string, the lowest 8
  // digits first. A group of value 0 adds nothing; 0x80 and above give the
  // character of that Latin-1 code, in UTF-8.
  static std::string findSubtypeFromBinaryString(const std::string& s);
  // The byte swap of v's low 16 bits; 0 for negative v.
  static int extractSelectionValueFromFixedSettingsValue(int v);
  // The display name of the first compressor in search order whose subtype
  // text (osTypeToNSString) equals `s`; "Unknown" when none does.
  static std::string subTypeToCodecName(const std::string& s);
  // The four bytes from the most significant down: 32 … 126 as themselves,
  // others as "$" and two lower-case hex digits; "" for the code 0.
  static std::string osTypeToNSString(uint32_t code);
  // The binary digits of v from the smallest power of two not below it:
  // 5 gives "0101", 8 "1000", 1 "1", 0 and negatives "0".
  static std::string longToBinary(int32_t v);
  static std::string integerToBinary(int v);
  // `s` with "0"s in front up to `withLength` digits; never shortened.
  static std::string makeBinaryStringHaveBitLength(const std::string& s, int withLength);
  // `s` padded to 2n digits, then its last n digits before the n in front of
  // them; digits before the last 2n are dropped.
  static std::string swapBinaryPositions(const std::string& s, int withSwapPosition);
  // The sum of 2^i over the "1"s, i counted from the right from 0, taken as a
  // 32-bit integer (positions from 32 on add nothing); "" gives 0.
  static int binaryStringToInteger(const std::string& s);

  // --- Fields.
  uint32_t codecType() const { return codecType_; }
  void setCodecType(uint32_t v) { codecType_ = v; }
  uint32_t soundCodecType() const { return soundCodecType_; }
  void setSoundCodecType(uint32_t v) { soundCodecType_ = v; }
  int32_t width() const { return width_; }
  void setWidth(int32_t v) { width_ = v; }
  int32_t height() const { return height_; }
  void setHeight(int32_t v) { height_ = v; }
  int32_t frameRate() const { return frameRate_; }
  void setFrameRate(int32_t v) { frameRate_ = v; }
  int32_t soundRateType() const { return soundRateType_; }
  void setSoundRateType(int32_t v) { soundRateType_ = v; }
  int32_t dataRateBytes() const { return dataRateBytes_; }
  void setDataRateBytes(int32_t v) { dataRateBytes_ = v; }
  int32_t soundSampleSize() const { return soundSampleSize_; }
  void setSoundSampleSize(int32_t v) { soundSampleSize_ = v; }
  int16_t numberOfChannels() const { return numberOfChannels_; }
  void setNumberOfChannels(int16_t v) { numberOfChannels_ = v; }
  int settingWidth() const { return settingWidth_; }
  void setSettingWidth(int v) { settingWidth_ = v; }
  int settingHeight() const { return settingHeight_; }
  void setSettingHeight(int v) { settingHeight_ = v; }
  // Never set by the walk: stays 0.
  int settingFrameRate() const { return settingFrameRate_; }
  void setSettingFrameRate(int v) { settingFrameRate_ = v; }
  int settingDataRate() const { return settingDataRate_; }
  void setSettingDataRate(int v) { settingDataRate_ = v; }
  int soundSampleRate() const { return soundSampleRate_; }
  void setSoundSampleRate(int v) { soundSampleRate_ = v; }
  const std::string& codecName() const { return codecName_; }
  void setCodecName(std::string v) { codecName_ = std::move(v); }
  const std::string& soundCodecName() const { return soundCodecName_; }
  void setSoundCodecName(std::string v) { soundCodecName_ = std::move(v); }
  // "Mono", "Stereo" or "Multiple".
  const std::string& channelCount() const { return channelCount_; }
  void setChannelCount(std::string v) { channelCount_ = std::move(v); }

 private:
  uint32_t codecType_ = 0;
  uint32_t soundCodecType_ = 0;
  int32_t width_ = 0;
  int32_t height_ = 0;
  int32_t frameRate_ = 0;
  int32_t soundRateType_ = 0;
  int32_t dataRateBytes_ = 0;
  int32_t soundSampleSize_ = 0;
  int16_t numberOfChannels_ = 0;
  int settingWidth_ = 0;
  int settingHeight_ = 0;
  int settingFrameRate_ = 0;
  int settingDataRate_ = 0;
  int soundSampleRate_ = 0;
  std::string codecName_;
  std::string soundCodecName_;
  std::string channelCount_;
};

}  // namespace qrl

#include "settings/QRLQTSettingsParser.h"

#include "platform/base/Exception.h"
#include "platform/quicktime/FourCC.h"
#include "settings/CompressorRegistry.h"
#include "settings/MovieExporter.h"

namespace qrl {

namespace {

using quicktime::AtomContainer;
using quicktime::fourCC;
using quicktime::QTAtom;
using quicktime::QTAtomType;

// `width` bytes from `offset` into an atom's data, as the host's
// little-endian word. The atom's data size is not checked: the bytes are
// taken from the container, and past its end they are 0.
uint32_t rawWord(const AtomContainer& container, const uint8_t* data, size_t offset, size_t width) {
  std::span<const uint8_t> all = container.bytes();
  auto start = static_cast<size_t>(data - all.data()) + offset;
  uint32_t v = 0;
  for (size_t i = 0; i < width; ++i) {
    size_t at = start + i;
    uint32_t byte = at < all.size() ? all[at] : 0;
    v |= byte << (8 * i);
  }
  return v;
}

}  // namespace

QRLQTSettingsParser::QRLQTSettingsParser() = default;

std::unique_ptr<QRLQTSettingsParser> QRLQTSettingsParser::initWithContainer(
    const AtomContainer& container) {
  auto parser = std::make_unique<QRLQTSettingsParser>();
  parser->parseAtom(container, quicktime::kParentAtomIsContainer, 0);
  return parser;
}

void QRLQTSettingsParser::parseAtom(const AtomContainer& container, QTAtom withAtom,
                                    QTAtomType ofType) {
  int32_t size = 0;
  const uint8_t* data = nullptr;
  if (quicktime::QTGetAtomDataPtr(container, withAtom, &size, &data) == quicktime::noErr) {
    auto word = [&](size_t offset) {
      return static_cast<int32_t>(rawWord(container, data, offset, 4));
    };
    switch (ofType) {
      case fourCC("drat"):
        dataRateBytes_ = word(0);
        settingDataRate_ = extraceDataRateFromLong(dataRateBytes_);
        break;
      case fourCC("hegt"):
        height_ = word(0);
        settingHeight_ = extractSelectionValueFromFixedSettingsValue(height_);
        break;
      case fourCC("sptl"):
        codecType_ = static_cast<uint32_t>(word(0));
        codecName_ = extractCodecNameFromCodecType(codecType_);
        break;
      case fourCC("sscc"):
        numberOfChannels_ = static_cast<int16_t>(rawWord(container, data, 0, 2));
        channelCount_ = numberOfChannels_ == 256   ? "Mono"
                        : numberOfChannels_ == 512 ? "Stereo"
                                                   : "Multiple";
        break;
      case fourCC("ssct"):
        soundCodecType_ = static_cast<uint32_t>(word(0));
        soundCodecName_ = extractCodecNameFromCodecType(soundCodecType_);
        break;
      case fourCC("ssir"):
        soundSampleSize_ = word(0);
        break;
      case fourCC("ssrt"):
        soundRateType_ = word(0);
        soundSampleRate_ = extractSelectionValueFromFixedSettingsValue(soundRateType_);
        break;
      case fourCC("tprl"):
        frameRate_ = word(4);
        break;
      case fourCC("wdth"):
        width_ = word(0);
        settingWidth_ = extractSelectionValueFromFixedSettingsValue(width_);
        break;
      default:
        break;
    }
  }
  for (QTAtomType type = quicktime::QTGetNextChildType(container, withAtom, 0); type != 0;
       type = quicktime::QTGetNextChildType(container, withAtom, type)) {
    int16_t count = quicktime::QTCountChildrenOfType(container, withAtom, type);
    for (int16_t index = 1; index <= count; ++index) {
      QTAtom child = quicktime::QTFindChildByIndex(container, withAtom, type, index, nullptr);
      // A child that was counted is always found; 0 would name the root again.
      if (child != 0)
        parseAtom(container, child, type);
    }
  }
}

void QRLQTSettingsParser::parseData(const std::vector<uint8_t>& data) {
  try {
    settings::MovieExporter exporter;
    exporter.setSettingsFromAtomContainer(AtomContainer::read(data));
    AtomContainer normalised = exporter.getSettingsAsAtomContainer();
    parseAtom(normalised, quicktime::kParentAtomIsContainer, 0);
  } catch (const Exception&) {
    // The exporter could not take these settings: the fields stay as they were.
  }
}

std::optional<std::vector<uint8_t>> QRLQTSettingsParser::loadCompressorPanelWithCompressionData(
    const std::optional<std::vector<uint8_t>>& data) {
  if (!data || data->empty())
    return std::nullopt;
  std::vector<uint8_t> result = *data;
  try {
    settings::MovieExporter exporter;
    exporter.setSettingsFromAtomContainer(AtomContainer::read(*data));
    AtomContainer chosen = exporter.getSettingsAsAtomContainer();
    initWithContainer(chosen);  // walked and dropped, as the panel's caller does
    if (!chosen.bytes().empty())
      result.assign(chosen.bytes().begin(), chosen.bytes().end());
  } catch (const Exception&) {
    // Settings the exporter cannot read come back as they went in.
  }
  return result;
}

int QRLQTSettingsParser::extraceDataRateFromLong(int32_t v) {
  if (v <= 0)
    return 0;
  std::string binary = longToBinary(v);
  if (binary.size() < 15)
    return 0;
  return binaryStringToInteger(binary.substr(0, binary.size() - 15));
}

std::string QRLQTSettingsParser::extractCodecNameFromCodecType(uint32_t code) {
  return subTypeToCodecName(findSubtypeFromBinaryString(longToBinary(static_cast<int32_t>(code))));
}

std::string QRLQTSettingsParser::findSubtypeFromBinaryString(const std::string& s) {
  std::string padded = makeBinaryStringHaveBitLength(s, 32);
  std::string result;
  for (size_t group = 0; group < 4; ++group) {
    auto value = static_cast<uint32_t>(binaryStringToInteger(padded.substr(group * 8, 8)));
    std::string character;
    if (value >= 0x80) {
      character.push_back(static_cast<char>(0xC0 | (value >> 6)));
      character.push_back(static_cast<char>(0x80 | (value & 0x3F)));
    } else if (value != 0) {
      character.push_back(static_cast<char>(value));
    }
    result.insert(0, character);
  }
  return result;
}

int QRLQTSettingsParser::extractSelectionValueFromFixedSettingsValue(int v) {
  return binaryStringToInteger(swapBinaryPositions(integerToBinary(v), 8));
}

std::string QRLQTSettingsParser::subTypeToCodecName(const std::string& s) {
  for (const auto& compressor : settings::CompressorRegistry::all()) {
    if (osTypeToNSString(compressor.code) == s)
      return compressor.name.empty() ? "Unknown" : std::string(compressor.name);
  }
  return "Unknown";
}

std::string QRLQTSettingsParser::osTypeToNSString(uint32_t code) {
  if (code == 0)
    return "";
  static constexpr char kHex[] = "0123456789abcdef";
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    auto byte = static_cast<uint8_t>(code >> shift);
    if (byte >= 32 && byte <= 126) {
      text.push_back(static_cast<char>(byte));
    } else {
      text.push_back('$');
      text.push_back(kHex[byte >> 4]);
      text.push_back(kHex[byte & 0xF]);
    }
  }
  return text;
}

std::string QRLQTSettingsParser::longToBinary(int32_t v) {
  int k = 0;
  while (k < 32 && (int64_t{1} << k) < v)
    ++k;
  std::string binary;
  int64_t remainder = v;
  for (int power = k; power >= 0; --power) {
    if ((int64_t{1} << power) <= remainder) {
      binary.push_back('1');
      remainder -= int64_t{1} << power;
    } else {
      binary.push_back('0');
    }
  }
  return binary;
}

std::string QRLQTSettingsParser::integerToBinary(int v) {
  return longToBinary(v);
}

std::string QRLQTSettingsParser::makeBinaryStringHaveBitLength(const std::string& s,
                                                               int withLength) {
  if (withLength <= 0 || s.size() >= static_cast<size_t>(withLength))
    return s;
  return std::string(static_cast<size_t>(withLength) - s.size(), '0') + s;
}

std::string QRLQTSettingsParser::swapBinaryPositions(const std::string& s, int withSwapPosition) {
  if (withSwapPosition <= 0)
    return "";
  auto n = static_cast<size_t>(withSwapPosition);
  std::string padded = makeBinaryStringHaveBitLength(s, withSwapPosition * 2);
  std::string last = padded.substr(padded.size() - n);
  std::string before = padded.substr(padded.size() - 2 * n, n);
  return last + before;
}

int QRLQTSettingsParser::binaryStringToInteger(const std::string& s) {
  uint32_t v = 0;
  size_t length = s.size();
  for (size_t i = 0; i < length && i < 32; ++i) {
    if (s[length - 1 - i] == '1')
      v |= uint32_t{1} << i;
  }
  return static_cast<int32_t>(v);
}

}  // namespace qrl

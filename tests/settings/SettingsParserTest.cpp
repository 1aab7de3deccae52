#include <gtest/gtest.h>

#include <climits>

#include "settings/QRLQTSettingsParser.h"
#include "tests/settings/SettingsSupport.h"

namespace qrl {
namespace {

using P = QRLQTSettingsParser;
using settings::testing::build;
using settings::testing::Bytes;
using settings::testing::code;

// The stored bytes of a code read as a little-endian word, as the parser reads them.
uint32_t asStoredLittle(const char* text) {
  uint32_t v = 0;
  for (int i = 3; i >= 0; --i)
    v = (v << 8) | static_cast<uint8_t>(text[i]);
  return v;
}

TEST(SettingsParserBinary, LongToBinaryAndBackAtTheBoundaries) {
  const struct {
    int32_t value;
    std::string binary;
    int back;  // binaryStringToInteger of the string
  } rows[] = {
      {INT32_MIN, "0", 0},
      {-1, "0", 0},
      {0, "0", 0},
      {1, "1", 1},
      {2, "10", 2},
      {3, "011", 3},
      {5, "0101", 5},
      {8, "1000", 8},
      {255, "011111111", 255},
      {256, "100000000", 256},
      {1 << 30, "1" + std::string(30, '0'), 1 << 30},
      {(1 << 30) + 1, "01" + std::string(29, '0') + "1", (1 << 30) + 1},
      {INT32_MAX, "0" + std::string(31, '1'), INT32_MAX},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(P::longToBinary(row.value), row.binary) << row.value;
    EXPECT_EQ(P::integerToBinary(row.value), row.binary) << row.value;
    EXPECT_EQ(P::binaryStringToInteger(row.binary), row.back) << row.value;
  }
  // Strings longer than a word: positions from 32 on add nothing.
  const struct {
    std::string binary;
    int value;
  } words[] = {
      {"", 0},
      {"1" + std::string(31, '0'), INT32_MIN},
      {std::string(32, '1'), -1},
      {"1" + std::string(32, '0'), 0},
      {"1" + std::string(31, '0') + "1", 1},
  };
  for (const auto& w : words)
    EXPECT_EQ(P::binaryStringToInteger(w.binary), w.value) << w.binary;
}

TEST(SettingsParserBinary, PaddingAndSwappingKeepOrDropDigitsAsTheirRulesSay) {
  EXPECT_EQ(P::makeBinaryStringHaveBitLength("101", 2), "101");
  EXPECT_EQ(P::makeBinaryStringHaveBitLength("101", 5), "00101");
  EXPECT_EQ(P::makeBinaryStringHaveBitLength("", 3), "000");
  EXPECT_EQ(P::swapBinaryPositions("0101", 8), "0000010100000000");
  // 17 digits: the leading one is dropped.
  EXPECT_EQ(P::swapBinaryPositions("01101000000000010", 8), "0000001011010000");
  EXPECT_EQ(P::swapBinaryPositions("1101", 1), "10");
}

TEST(SettingsParserBinary, DerivationsSwapBytesAndShiftDataRates) {
  const struct {
    int value, selection, dataRate;
  } rows[] = {
      {INT32_MIN, 0, 0},
      {-1, 0, 0},
      {0, 0, 0},
      {1, 256, 0},
      {0x80, 0x8000, 0},
      {0xD002, 720, 1},
      {0x2256, 22050, 0},
      {0x44AC, 44100, 0},
      {0x7FFF, 0xFF7F, 0},
      {0x8000, 0x80, 1},
      {0x10000, 0, 2},
      {0x12345678, 0x7856, 0x2468},
      {0x00800000, 0, 256},
      {INT32_MAX, 0xFFFF, 0xFFFF},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(P::extractSelectionValueFromFixedSettingsValue(row.value), row.selection)
        << row.value;
    EXPECT_EQ(P::extraceDataRateFromLong(row.value), row.dataRate) << row.value;
  }
}

TEST(SettingsParserBinary, CodesBecomeTextAndNames) {
  EXPECT_EQ(P::findSubtypeFromBinaryString(P::longToBinary(0x31637661)), "avc1");
  EXPECT_EQ(P::findSubtypeFromBinaryString("0"), "");
  EXPECT_EQ(P::findSubtypeFromBinaryString("10000000"), "\xC2\x80");
  EXPECT_EQ(P::osTypeToNSString(code("avc1")), "avc1");
  EXPECT_EQ(P::osTypeToNSString(0), "");
  EXPECT_EQ(P::osTypeToNSString(0x41000000), "A$00$00$00");
  EXPECT_EQ(P::osTypeToNSString(0x7F204142), "$7f AB");
  EXPECT_EQ(P::osTypeToNSString(0xFFFFFFFF), "$ff$ff$ff$ff");
  EXPECT_EQ(P::extractCodecNameFromCodecType(asStoredLittle("avc1")), "H.264 (AVC) video");
  EXPECT_EQ(P::extractCodecNameFromCodecType(asStoredLittle("zzzz")), "Unknown");
  EXPECT_EQ(P::extractCodecNameFromCodecType(0), "Unknown");
  // A fourth stored byte of 0x80 or more reads negative.
  EXPECT_EQ(P::extractCodecNameFromCodecType(asStoredLittle("avc\xB1")), "Unknown");
  // The search yields video compressors first.
  EXPECT_EQ(P::subTypeToCodecName("raw "), "Uncompressed RGB");
  EXPECT_EQ(P::subTypeToCodecName("ima4"), "IMA ADPCM 4:1");
}

TEST(SettingsParserWalk, KnownLeavesAnywhereFillTheFieldsAndTheLastVisitedWins) {
  auto c = build({{"", {{"envi", {1}}}}});
  auto none = P::initWithContainer(c);
  EXPECT_EQ(none->codecType(), 0u);
  EXPECT_EQ(none->settingWidth(), 0);
  EXPECT_EQ(none->codecName(), "");
  EXPECT_EQ(none->soundCodecName(), "");
  EXPECT_EQ(none->channelCount(), "");

  // 'vide' > 'sptl' avc1, 'vide' > 'sptl' png; then a second top-level 'vide' with rle.
  quicktime::AtomContainer nested;
  auto vide = nested.insertChild(0, code("vide"), 1, 0);
  nested.insertChild(vide, code("sptl"), 1, 0, Bytes{'a', 'v', 'c', '1'});
  auto inner = nested.insertChild(vide, code("vide"), 1, 0);
  nested.insertChild(inner, code("sptl"), 1, 0, Bytes{'p', 'n', 'g', ' '});
  auto sound = nested.insertChild(0, code("soun"), 1, 0);
  nested.insertChild(sound, code("sscc"), 1, 0, Bytes{0, 2});
  auto second = nested.insertChild(0, code("vide"), 2, 0);
  nested.insertChild(second, code("sptl"), 1, 0, Bytes{'r', 'l', 'e', ' '});
  // A known type that holds atoms has no data: skipped, its children walked.
  auto parentSptl =
      nested.insertChild(nested.findChildByID(0, code("vide"), 2), code("tprl"), 1, 0);
  nested.insertChild(parentSptl, code("wdth"), 1, 0, Bytes{0x02, 0xD0, 0, 0});
  auto p = P::initWithContainer(nested);
  EXPECT_EQ(p->codecType(), asStoredLittle("rle "));
  EXPECT_EQ(p->codecName(), "Animation (run-length RGB)");
  EXPECT_EQ(p->channelCount(), "Stereo");
  EXPECT_EQ(p->settingWidth(), 720);
  EXPECT_EQ(p->frameRate(), 0);
}

TEST(SettingsParserWalk, RawLittleEndianReadsAndTheirDerivedValues) {
  const struct {
    const char* type;
    Bytes data;
    const char* expect;
  } rows[] = {
      {"sscc", {0, 1}, "channels 256 Mono"},
      {"sscc", {0, 2}, "channels 512 Stereo"},
      {"sscc", {0, 6}, "channels 1536 Multiple"},
      {"wdth", {0x02, 0xD0, 0, 0}, "width 53250 720"},
      {"hegt", {0x01, 0xE0, 0, 0x80}, "height -2147426303 0"},
      {"ssrt", {0xAC, 0x44, 0, 0}, "rate 17580 44100"},
      {"ssrt", {0xAC, 0x44, 0, 0x80}, "rate -2147466068 0"},
      {"drat", {0, 0, 0x80, 0}, "data 8388608 256"},
      {"tprl", {0, 0, 2, 0, 0, 0x1D, 0xF8, 0x52}, "frame 1391992064"},
      {"ssir", {0, 0x10, 0, 0}, "size 4096"},
      {"ssct", {'t', 'w', 'o', 's'}, "sound Signed PCM, big-endian"},
  };
  for (const auto& row : rows) {
    auto p = P::initWithContainer(build({{"x   ", {{row.type, row.data}}}}));
    std::string got;
    switch (settings::testing::code(row.type)) {
      case quicktime::fourCC("sscc"):
        got = "channels " + std::to_string(p->numberOfChannels()) + " " + p->channelCount();
        break;
      case quicktime::fourCC("wdth"):
        got = "width " + std::to_string(p->width()) + " " + std::to_string(p->settingWidth());
        break;
      case quicktime::fourCC("hegt"):
        got = "height " + std::to_string(p->height()) + " " + std::to_string(p->settingHeight());
        break;
      case quicktime::fourCC("ssrt"):
        got = "rate " + std::to_string(p->soundRateType()) + " " +
              std::to_string(p->soundSampleRate());
        break;
      case quicktime::fourCC("drat"):
        got = "data " + std::to_string(p->dataRateBytes()) + " " +
              std::to_string(p->settingDataRate());
        break;
      case quicktime::fourCC("tprl"):
        got = "frame " + std::to_string(p->frameRate());
        break;
      case quicktime::fourCC("ssir"):
        got = "size " + std::to_string(p->soundSampleSize());
        break;
      default:
        got = "sound " + p->soundCodecName();
    }
    EXPECT_EQ(got, row.expect) << row.type;
    EXPECT_EQ(p->settingFrameRate(), 0);
  }
}

TEST(SettingsParserWalk, AShortLeafReadsOnIntoTheBytesAfterIt) {
  // 'tprl' with 4 bytes: its second word is the next atom's size (24).
  auto followed = build({{"vide", {{"tprl", {0, 0, 0, 0}}, {"sptl", {1, 2, 3, 4}}}}});
  EXPECT_EQ(P::initWithContainer(followed)->frameRate(), 0x18000000);
  // At the end of the container there is nothing more: zeros.
  auto last = build({{"vide", {{"tprl", {0, 0, 0, 0}}}}});
  EXPECT_EQ(P::initWithContainer(last)->frameRate(), 0);
}

// What the walk yields on the original platform's own containers, worked out
// by hand from their bytes (see the data folder's README).
TEST(SettingsParserWalk, TheOriginalPlatformsContainers) {
  const struct {
    const char* file;
    const char* codec;
    int width, height;
    const char* soundCodec;
    int rate;
    const char* channels;
  } rows[] = {
      {"harmony-moov-png-3840x2160-nosound.qtatoms", "png ", 3840, 2160, "sowt", 22050, "Mono"},
      {"harmony-moov-avdn.qtatoms", "AVdn", 0, 0, "sowt", 22050, "Mono"},
      {"harmony-moov-avdn-earlier.qtatoms", "AVdn", 0, 0, "sowt", 22050, "Mono"},
      {"harmony-moov-rle-openharmony.qtatoms", "rle ", 0, 0, "sowt", 22050, "Mono"},
      {"harmony-moov-rle-birdo.qtatoms", "rle ", 0, 0, "sowt", 22050, "Mono"},
      {"rmov-moov-rle-settings.st", "rle ", 0, 0, "twos", 44100, "Stereo"},
      {"nuke-sc-avdn.qtatoms", "AVdn", 0, 0, nullptr, 0, ""},
      {"nuke-sc-avc1.qtatoms", "avc1", 0, 0, nullptr, 0, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file);
    auto p = P::initWithContainer(settings::testing::judged(row.file));
    EXPECT_EQ(p->codecType(), asStoredLittle(row.codec));
    EXPECT_EQ(p->codecName(),
              P::subTypeToCodecName(P::osTypeToNSString(settings::testing::code(row.codec))));
    EXPECT_NE(p->codecName(), "Unknown");
    EXPECT_EQ(p->settingWidth(), row.width);
    EXPECT_EQ(p->settingHeight(), row.height);
    EXPECT_EQ(p->soundCodecType(), row.soundCodec ? asStoredLittle(row.soundCodec) : 0u);
    EXPECT_EQ(p->soundSampleRate(), row.rate);
    EXPECT_EQ(p->channelCount(), row.channels);
    EXPECT_EQ(p->dataRateBytes(), 0);
    EXPECT_EQ(p->soundSampleSize(), 0);  // they carry 'ssss', never 'ssir'
  }
}

TEST(SettingsParserData, ParseDataNormalisesAndThePanelAnswersACopy) {
  // A bare 'vide' with a big-endian width: normalised, the walk sees the
  // exporter's complete settings.
  auto c = build({{"vide",
                   {{"sptl", {'p', 'n', 'g', ' ', 0, 0, 0, 0, 0, 32, 0, 0, 2, 0}},
                    {"wdth", {0x05, 0x00, 0, 0}}}}});
  Bytes bytes(c.bytes().begin(), c.bytes().end());
  P parser;
  parser.parseData(bytes);
  EXPECT_EQ(parser.codecName(), "PNG frames");
  EXPECT_EQ(parser.settingWidth(), 1280);
  EXPECT_EQ(parser.soundCodecName(), "AAC audio");  // the exporter's sound settings
  EXPECT_EQ(parser.channelCount(), "Stereo");
  EXPECT_EQ(parser.soundSampleRate(), 48000);

  // Bytes that are no container leave the fields alone.
  P untouched;
  untouched.setCodecName("kept");
  untouched.parseData(Bytes{1, 2, 3});
  EXPECT_EQ(untouched.codecName(), "kept");

  EXPECT_EQ(parser.loadCompressorPanelWithCompressionData(std::nullopt), std::nullopt);
  EXPECT_EQ(parser.loadCompressorPanelWithCompressionData(Bytes{}), std::nullopt);
  EXPECT_EQ(parser.loadCompressorPanelWithCompressionData(Bytes{1, 2, 3}), (Bytes{1, 2, 3}));
  auto chosen = parser.loadCompressorPanelWithCompressionData(bytes);
  ASSERT_TRUE(chosen.has_value());
  auto reread = P::initWithContainer(quicktime::AtomContainer::read(*chosen));
  EXPECT_EQ(reread->codecName(), "PNG frames");
  EXPECT_EQ(reread->settingWidth(), 1280);
  // The panel's answer is normalised already: normalising again changes nothing.
  EXPECT_EQ(parser.loadCompressorPanelWithCompressionData(*chosen), chosen);
}

}  // namespace
}  // namespace qrl

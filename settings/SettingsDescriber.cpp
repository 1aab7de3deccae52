#include "settings/SettingsDescriber.h"

#include <algorithm>
#include <string>

#include "platform/quicktime/FourCC.h"
#include "settings/MovieExporter.h"
#include "settings/QRLQTSettingsParser.h"
#include "settings/SettingsFile.h"

namespace qrl::settings {

namespace {

using quicktime::AtomContainer;
using quicktime::MovieDescriber;
using quicktime::QTAtom;

// Leaf data is shown up to this many bytes.
constexpr size_t kShownBytes = 32;

void describeAtom(const AtomContainer& c, QTAtom atom, MovieDescriber& out);

void describeChildren(const AtomContainer& c, QTAtom parent, MovieDescriber& out) {
  out.startArray("children");
  for (QTAtom child = c.nextChild(parent, 0); child != 0; child = c.nextChild(parent, child))
    describeAtom(c, child, out);
  out.endArray();
}

void describeAtom(const AtomContainer& c, QTAtom atom, MovieDescriber& out) {
  out.startObject("");
  out.addText("type", quicktime::fourCCString(c.type(atom)));
  out.addInteger("id", c.id(atom));
  std::span<const uint8_t> data;
  if (c.leafData(atom, data)) {
    out.addInteger("dataSize", static_cast<int64_t>(data.size()));
    std::vector<uint8_t> shown(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                                data.size(), kShownBytes)));
    out.addText("data", SettingsFile::hex(shown) + (data.size() > kShownBytes ? "…" : ""));
  } else {
    describeChildren(c, atom, out);
  }
  out.endObject();
}

std::string fraction(int32_t numerator, int32_t denominator) {
  if (numerator == 0)
    return "source";
  if (denominator == 1)
    return std::to_string(numerator);
  return std::to_string(numerator) + "/" + std::to_string(denominator);
}

void describeOrder(const AtomContainer& c, quicktime::QTAtomType section, MovieDescriber& out) {
  auto order = MovieExporter::payloadOrder(c, section);
  if (!order)
    return;
  out.startObject("payloads");
  out.addText("byteOrder", order->littleEndian ? "little-endian" : "big-endian");
  out.addBool("versPresent", order->versPresent);
  out.addBool("versLittleEndianFlag", order->versLittleEndian);
  out.addInteger("plausibleBigEndian", order->plausibleBig);
  out.addInteger("plausibleLittleEndian", order->plausibleLittle);
  out.endObject();
}

}  // namespace

void SettingsDescriber::describe(const AtomContainer& settings, MovieDescriber& out) {
  out.startObject("settings");

  out.startObject("container");
  out.addInteger("bytes", static_cast<int64_t>(settings.bytes().size()));
  describeChildren(settings, quicktime::kParentAtomIsContainer, out);
  out.endObject();

  auto parser = QRLQTSettingsParser::initWithContainer(settings);
  out.startObject("parser");
  out.addInteger("codecType", parser->codecType());
  out.addInteger("soundCodecType", parser->soundCodecType());
  out.addInteger("width", parser->width());
  out.addInteger("height", parser->height());
  out.addInteger("frameRate", parser->frameRate());
  out.addInteger("soundRateType", parser->soundRateType());
  out.addInteger("dataRateBytes", parser->dataRateBytes());
  out.addInteger("soundSampleSize", parser->soundSampleSize());
  out.addInteger("numberOfChannels", parser->numberOfChannels());
  out.addInteger("settingWidth", parser->settingWidth());
  out.addInteger("settingHeight", parser->settingHeight());
  out.addInteger("settingFrameRate", parser->settingFrameRate());
  out.addInteger("settingDataRate", parser->settingDataRate());
  out.addInteger("soundSampleRate", parser->soundSampleRate());
  out.addText("codecName", parser->codecName());
  out.addText("soundCodecName", parser->soundCodecName());
  out.addText("channelCount", parser->channelCount());
  out.endObject();

  quicktime::ExportParameters p = MovieExporter::exportParameters(settings);
  out.startObject("export");
  out.startObject("video");
  out.addBool("enabled", p.video.enabled);
  out.addText("codec", quicktime::fourCCString(p.video.codec));
  out.addText("format", quicktime::fourCCString(p.video.format));
  out.addText("encoder", p.video.encoder.empty() ? "none" : p.video.encoder);
  out.addText("profile", p.video.profile);
  out.addText("pixelFormat", p.video.pixelFormat);
  out.addInteger("width", p.video.width);
  out.addInteger("height", p.video.height);
  out.addText("frameRate", fraction(p.video.frameRateNumerator, p.video.frameRateDenominator));
  out.addInteger("bitRate", p.video.bitRate);
  out.addInteger("keyFrameInterval", p.video.keyFrameInterval);
  out.addInteger("spatialQuality", p.video.spatialQuality);
  out.addInteger("temporalQuality", p.video.temporalQuality);
  out.addInteger("depth", p.video.depth);
  describeOrder(settings, quicktime::fourCC("vide"), out);
  out.endObject();
  out.startObject("sound");
  out.addBool("enabled", p.sound.enabled);
  out.addText("codec", quicktime::fourCCString(p.sound.codec));
  out.addText("format", quicktime::fourCCString(p.sound.format));
  out.addText("encoder", p.sound.encoder.empty() ? "none" : p.sound.encoder);
  out.addText("sampleFormat", p.sound.sampleFormat);
  out.addInteger("sampleRate", p.sound.sampleRate);
  out.addInteger("sampleSize", p.sound.sampleSize);
  out.addInteger("channels", p.sound.channels);
  describeOrder(settings, quicktime::fourCC("soun"), out);
  out.endObject();
  out.endObject();

  out.endObject();
}

}  // namespace qrl::settings

#include "settings/MovieExporter.h"

#include <bit>
#include <cmath>
#include <numeric>
#include <span>
#include <string>
#include <vector>

#include "platform/base/Exception.h"
#include "platform/quicktime/FourCC.h"
#include "settings/CompressorRegistry.h"

namespace qrl::settings {

namespace {

using quicktime::AtomContainer;
using quicktime::ExportParameters;
using quicktime::fourCC;
using quicktime::QTAtom;
using quicktime::QTAtomType;
using Bytes = std::vector<uint8_t>;

constexpr QTAtomType kVideo = fourCC("vide");
constexpr QTAtomType kSound = fourCC("soun");
constexpr QTAtomType kSize = fourCC("isiz");
constexpr QTAtomType kVersion = fourCC("vers");
constexpr int32_t kFixedOne = 0x10000;

// The component versions the original platform's exporter writes in its
// sections' 'vers' atoms, so that a container we write reads there as its own.
constexpr uint32_t kVideoComponentVersion = 0x0003001C;
constexpr uint32_t kSoundComponentVersion = 0x00030014;

QTAtom firstChild(const AtomContainer& c, QTAtom parent, QTAtomType type) {
  return c.findChildByIndex(parent, type, 1);
}

// A leaf's data, or nothing when the atom is missing or holds atoms.
std::optional<std::span<const uint8_t>> leafOf(const AtomContainer& c, QTAtom parent,
                                               QTAtomType type) {
  QTAtom atom = firstChild(c, parent, type);
  std::span<const uint8_t> data;
  if (atom == 0 || !c.leafData(atom, data))
    return std::nullopt;
  return data;
}

// A field of `width` bytes (2 or 4) at `offset` of a leaf, in the given byte
// order; nothing when the leaf is missing or too short.
std::optional<uint32_t> field(const std::optional<std::span<const uint8_t>>& data, size_t offset,
                              size_t width, bool littleEndian) {
  if (!data || data->size() < offset + width)
    return std::nullopt;
  uint32_t v = 0;
  for (size_t i = 0; i < width; ++i) {
    size_t at = littleEndian ? offset + width - 1 - i : offset + i;
    v = (v << 8) | (*data)[at];
  }
  return v;
}

struct VideoFields {
  std::optional<uint32_t> codec, depth, spatialQuality, temporalQuality, frameRate, keyFrames,
      dataRate, width, height;
};

struct SoundFields {
  std::optional<uint32_t> codec, rate, size, channels;
};

struct SizeFields {
  std::optional<uint32_t> width, height;
};

VideoFields readVideo(const AtomContainer& c, QTAtom vide, bool little) {
  auto sptl = leafOf(c, vide, fourCC("sptl"));
  auto tprl = leafOf(c, vide, fourCC("tprl"));
  auto drat = leafOf(c, vide, fourCC("drat"));
  return {field(sptl, 0, 4, little),
          field(sptl, 8, 2, little),
          field(sptl, 10, 4, little),
          field(tprl, 0, 4, little),
          field(tprl, 4, 4, little),
          field(tprl, 8, 4, little),
          field(drat, 0, 4, little),
          field(leafOf(c, vide, fourCC("wdth")), 0, 4, little),
          field(leafOf(c, vide, fourCC("hegt")), 0, 4, little)};
}

SoundFields readSound(const AtomContainer& c, QTAtom soun, bool little) {
  return {field(leafOf(c, soun, fourCC("ssct")), 0, 4, little),
          field(leafOf(c, soun, fourCC("ssrt")), 0, 4, little),
          field(leafOf(c, soun, fourCC("ssss")), 0, 2, little),
          field(leafOf(c, soun, fourCC("sscc")), 0, 2, little)};
}

SizeFields readSize(const AtomContainer& c, QTAtom isiz, bool little) {
  return {field(leafOf(c, isiz, fourCC("iwdt")), 0, 4, little),
          field(leafOf(c, isiz, fourCC("ihgt")), 0, 4, little)};
}

// Plausibility: a field that is absent or 0 says nothing either way.
int scoreIf(const std::optional<uint32_t>& v, bool (*plausible)(uint32_t)) {
  return (v && *v != 0 && plausible(*v)) ? 1 : 0;
}

int scoreCodec(const std::optional<uint32_t>& code, CompressorKind kind) {
  if (!code || *code == 0)
    return 0;
  int score = 1;
  for (int shift = 0; shift < 32; shift += 8) {
    auto c = static_cast<uint8_t>(*code >> shift);
    if (c < 0x20 || c > 0x7E)
      score = 0;
  }
  return score + (CompressorRegistry::find(*code, kind) ? 1 : 0);
}

bool plausibleDepth(uint32_t v) {
  for (uint32_t d : {1u, 2u, 4u, 8u, 16u, 24u, 32u, 33u, 34u, 36u, 40u}) {
    if (v == d)
      return true;
  }
  return false;
}
bool plausibleQuality(uint32_t v) {
  return v <= 0x400;
}
bool plausibleFrameRate(uint32_t v) {
  return v >= uint32_t{kFixedOne} && v <= 240u * kFixedOne;
}
bool plausibleKeyFrames(uint32_t v) {
  return v <= 1000000;
}
bool plausibleFixedSize(uint32_t v) {
  return (v & 0xFFFF) == 0 && (v >> 16) <= 32767;
}
bool plausibleSize(uint32_t v) {
  return v <= 32767;
}
bool plausibleSampleRate(uint32_t v) {
  return (v >> 16) >= 8000;
}
bool plausibleSampleSize(uint32_t v) {
  return v == 8 || v == 16 || v == 24 || v == 32;
}
bool plausibleChannels(uint32_t v) {
  return v <= 32;
}

int score(const VideoFields& f) {
  return scoreCodec(f.codec, CompressorKind::Video) + scoreIf(f.depth, plausibleDepth) +
         scoreIf(f.spatialQuality, plausibleQuality) +
         scoreIf(f.temporalQuality, plausibleQuality) + scoreIf(f.frameRate, plausibleFrameRate) +
         scoreIf(f.keyFrames, plausibleKeyFrames) + scoreIf(f.width, plausibleFixedSize) +
         scoreIf(f.height, plausibleFixedSize);
}

int score(const SoundFields& f) {
  return scoreCodec(f.codec, CompressorKind::Sound) + scoreIf(f.rate, plausibleSampleRate) +
         scoreIf(f.size, plausibleSampleSize) + scoreIf(f.channels, plausibleChannels);
}

int score(const SizeFields& f) {
  return scoreIf(f.width, plausibleSize) + scoreIf(f.height, plausibleSize);
}

PayloadOrder orderOf(const AtomContainer& c, QTAtom section, QTAtomType type) {
  PayloadOrder order;
  auto vers = leafOf(c, section, kVersion);
  if (!vers)
    vers = leafOf(c, quicktime::kParentAtomIsContainer, kVersion);
  if (vers && vers->size() >= 6) {
    order.versPresent = true;
    // Bit 0 of the flags, in either byte: a host-order writer on a
    // little-endian host stores it in the first.
    order.versLittleEndian = (((*vers)[4] | (*vers)[5]) & 1) != 0;
  }
  if (type == kVideo) {
    order.plausibleBig = score(readVideo(c, section, false));
    order.plausibleLittle = score(readVideo(c, section, true));
  } else if (type == kSound) {
    order.plausibleBig = score(readSound(c, section, false));
    order.plausibleLittle = score(readSound(c, section, true));
  } else {
    order.plausibleBig = score(readSize(c, section, false));
    order.plausibleLittle = score(readSize(c, section, true));
  }
  bool bigEndianHost = order.versPresent && !order.versLittleEndian;
  order.littleEndian = !bigEndianHost && order.plausibleLittle > order.plausibleBig;
  return order;
}

// A 16.16 frame rate as a fraction: the NTSC rates and whole rates exactly,
// anything else as stored.
void setFrameRate(quicktime::VideoExportParameters& v, uint32_t fixed) {
  if (fixed == 0 || fixed > 0x7FFFFFFF) {
    v.frameRateNumerator = 0;
    v.frameRateDenominator = 1;
    return;
  }
  double fps = fixed / double(kFixedOne);
  for (int32_t base : {24, 30, 48, 60, 120}) {
    if (std::abs(fps - base * 1000.0 / 1001.0) < 0.01) {
      v.frameRateNumerator = base * 1000;
      v.frameRateDenominator = 1001;
      return;
    }
  }
  if (std::abs(fps - std::round(fps)) < 0.001) {
    v.frameRateNumerator = static_cast<int32_t>(std::round(fps));
    v.frameRateDenominator = 1;
    return;
  }
  int32_t divisor = std::gcd(static_cast<int32_t>(fixed), kFixedOne);
  v.frameRateNumerator = static_cast<int32_t>(fixed) / divisor;
  v.frameRateDenominator = kFixedOne / divisor;
}

uint32_t fixedFrameRate(const quicktime::VideoExportParameters& v) {
  if (v.frameRateNumerator == 0)
    return 0;
  return static_cast<uint32_t>(
      std::llround(double(v.frameRateNumerator) * kFixedOne / v.frameRateDenominator));
}

void fillEncoders(ExportParameters& p) {
  auto& video = p.video;
  video.encoder.clear();
  video.profile.clear();
  video.pixelFormat.clear();
  video.format = video.codec;
  if (const Compressor* c = CompressorRegistry::find(video.codec, CompressorKind::Video)) {
    video.encoder = c->encoder;
    video.profile = c->profile;
    video.pixelFormat = (video.depth == 32 && !c->alphaFormat.empty()) ? c->alphaFormat : c->format;
    if (c->fileFormat != 0)
      video.format = c->fileFormat;
  }
  auto& sound = p.sound;
  sound.encoder.clear();
  sound.sampleFormat.clear();
  sound.format = sound.codec;
  if (const PcmEncoding* pcm = CompressorRegistry::pcmEncoding(sound.codec, sound.sampleSize)) {
    sound.encoder = pcm->encoder;
    sound.sampleFormat = pcm->sampleFormat;
    sound.format = pcm->fileFormat;
  } else if (const Compressor* c = CompressorRegistry::find(sound.codec, CompressorKind::Sound)) {
    sound.encoder = c->encoder;
    sound.sampleFormat = c->format;
    if (c->fileFormat != 0)
      sound.format = c->fileFormat;
  }
}

void requireShape(const AtomContainer& c, QTAtom parent, std::initializer_list<QTAtomType> leaves) {
  for (QTAtomType type : leaves) {
    QTAtom atom = firstChild(c, parent, type);
    if (atom != 0 && c.childCount(atom) != 0) {
      throw Exception::parse("settings atom " + quicktime::quoted(type) +
                             " holds atoms; it must hold data");
    }
  }
}

QTAtom section(const AtomContainer& c, QTAtomType type) {
  QTAtom atom = firstChild(c, quicktime::kParentAtomIsContainer, type);
  std::span<const uint8_t> data;
  if (atom != 0 && c.leafData(atom, data) && !data.empty()) {
    throw Exception::parse("settings section " + quicktime::quoted(type) + " holds " +
                           std::to_string(data.size()) + " bytes of data; it must hold atoms");
  }
  return atom;
}

void append(Bytes& b, uint32_t v, size_t width) {
  for (size_t i = width; i-- > 0;)
    b.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

Bytes words(std::initializer_list<std::pair<uint32_t, size_t>> fields) {
  Bytes b;
  for (auto [v, width] : fields)
    append(b, v, width);
  return b;
}

// Writes `value` over the start of the first leaf of the type under the
// section (the root when `sectionType` is 0), keeping the leaf's later
// bytes; adds the section and the leaf (ID 1) when missing.
void putLeaf(AtomContainer& c, QTAtomType sectionType, const char (&type)[5], const Bytes& value) {
  QTAtom parent = quicktime::kParentAtomIsContainer;
  if (sectionType != 0) {
    parent = firstChild(c, quicktime::kParentAtomIsContainer, sectionType);
    if (parent == 0)
      parent = c.insertChild(quicktime::kParentAtomIsContainer, sectionType, 1, 0);
  }
  QTAtom leaf = firstChild(c, parent, fourCC(type));
  if (leaf == 0) {
    c.insertChild(parent, fourCC(type), 1, 0, value);
    return;
  }
  std::span<const uint8_t> old;
  c.leafData(leaf, old);
  Bytes merged = value;
  if (old.size() > value.size())
    merged.insert(merged.end(), old.begin() + static_cast<std::ptrdiff_t>(value.size()), old.end());
  c.setAtomData(leaf, merged);
}

uint32_t componentVersion(const AtomContainer& c, QTAtomType sectionType, uint32_t fallback) {
  QTAtom s = firstChild(c, quicktime::kParentAtomIsContainer, sectionType);
  auto vers = s != 0 ? leafOf(c, s, kVersion) : std::nullopt;
  return field(vers, 0, 4, false).value_or(fallback);
}

void requireRange(int64_t v, int64_t low, int64_t high, const char* what) {
  if (v < low || v > high) {
    throw Exception::range(std::string(what) + " " + std::to_string(v) + " does not fit a " +
                           "settings container (" + std::to_string(low) + " to " +
                           std::to_string(high) + ")");
  }
}

}  // namespace

MovieExporter::MovieExporter() {
  parameters_.video.codec = fourCC("avc1");
  parameters_.video.depth = 24;
  parameters_.video.spatialQuality = 0x200;
  parameters_.video.temporalQuality = 0x200;
  parameters_.sound.enabled = false;
  parameters_.sound.codec = fourCC("aac ");
  parameters_.sound.sampleRate = 48000;
  parameters_.sound.sampleSize = 16;
  parameters_.sound.channels = 2;
  fillEncoders(parameters_);
}

std::optional<PayloadOrder> MovieExporter::payloadOrder(const AtomContainer& settings,
                                                        QTAtomType type) {
  QTAtom s = firstChild(settings, quicktime::kParentAtomIsContainer, type);
  if (s == 0)
    return std::nullopt;
  return orderOf(settings, s, type);
}

void MovieExporter::setSettingsFromAtomContainer(const AtomContainer& settings) {
  const QTAtom root = quicktime::kParentAtomIsContainer;
  QTAtom vide = section(settings, kVideo);
  QTAtom soun = section(settings, kSound);
  QTAtom isiz = section(settings, kSize);
  requireShape(settings, root, {fourCC("envi"), fourCC("enso"), fourCC("vers")});
  if (vide != 0)
    requireShape(settings, vide,
                 {fourCC("sptl"), fourCC("tprl"), fourCC("drat"), fourCC("wdth"), fourCC("hegt"),
                  fourCC("vers")});
  if (soun != 0)
    requireShape(settings, soun,
                 {fourCC("ssct"), fourCC("ssrt"), fourCC("ssss"), fourCC("sscc"), fourCC("vers")});
  if (isiz != 0)
    requireShape(settings, isiz, {fourCC("iwdt"), fourCC("ihgt")});

  ExportParameters p = parameters_;
  auto& video = p.video;
  if (vide != 0) {
    VideoFields f = readVideo(settings, vide, orderOf(settings, vide, kVideo).littleEndian);
    video.codec = f.codec.value_or(video.codec);
    video.depth = static_cast<int16_t>(f.depth.value_or(static_cast<uint16_t>(video.depth)));
    video.spatialQuality = static_cast<int32_t>(f.spatialQuality.value_or(video.spatialQuality));
    video.temporalQuality = static_cast<int32_t>(f.temporalQuality.value_or(video.temporalQuality));
    if (f.frameRate)
      setFrameRate(video, *f.frameRate);
    video.keyFrameInterval = static_cast<int32_t>(f.keyFrames.value_or(video.keyFrameInterval));
    if (f.dataRate)
      video.bitRate = int64_t{8} * *f.dataRate;
    // 16.16 sizes; a negative one keeps the current size.
    if (f.width && static_cast<int32_t>(*f.width) >= 0)
      video.width = static_cast<int32_t>(*f.width >> 16);
    if (f.height && static_cast<int32_t>(*f.height) >= 0)
      video.height = static_cast<int32_t>(*f.height >> 16);
  }
  if (isiz != 0) {
    SizeFields f = readSize(settings, isiz, orderOf(settings, isiz, kSize).littleEndian);
    if (f.width && static_cast<int32_t>(*f.width) > 0)
      video.width = static_cast<int32_t>(*f.width);
    if (f.height && static_cast<int32_t>(*f.height) > 0)
      video.height = static_cast<int32_t>(*f.height);
  }
  auto& sound = p.sound;
  if (soun != 0) {
    SoundFields f = readSound(settings, soun, orderOf(settings, soun, kSound).littleEndian);
    sound.codec = f.codec.value_or(sound.codec);
    if (f.rate)
      sound.sampleRate = static_cast<int32_t>(*f.rate >> 16);
    sound.sampleSize =
        static_cast<int16_t>(f.size.value_or(static_cast<uint16_t>(sound.sampleSize)));
    sound.channels =
        static_cast<int16_t>(f.channels.value_or(static_cast<uint16_t>(sound.channels)));
  }
  auto envi = leafOf(settings, root, fourCC("envi"));
  video.enabled = !envi || envi->empty() || (*envi)[0] != 0;
  auto enso = leafOf(settings, root, fourCC("enso"));
  sound.enabled = enso && !enso->empty() && (*enso)[0] != 0;
  fillEncoders(p);
  parameters_ = std::move(p);
  loaded_ = settings;
}

void MovieExporter::setParameters(const ExportParameters& parameters) {
  const auto& v = parameters.video;
  requireRange(v.width, 0, 32767, "width");
  requireRange(v.height, 0, 32767, "height");
  requireRange(v.frameRateNumerator, 0, INT32_MAX, "frame rate numerator");
  requireRange(v.frameRateDenominator, 1, INT32_MAX, "frame rate denominator");
  if (v.frameRateNumerator != 0) {
    requireRange(std::llround(double(v.frameRateNumerator) / v.frameRateDenominator), 0, 32767,
                 "frame rate");
  }
  requireRange(v.bitRate, 0, int64_t{8} * INT32_MAX, "bit rate");
  requireRange(v.keyFrameInterval, 0, INT32_MAX, "key-frame distance");
  requireRange(v.spatialQuality, 0, 0x400, "spatial quality");
  requireRange(v.temporalQuality, 0, 0x400, "temporal quality");
  requireRange(v.depth, 0, 40, "depth");
  const auto& s = parameters.sound;
  requireRange(s.sampleRate, 0, 65535, "sample rate");
  requireRange(s.sampleSize, 0, 64, "sample size");
  requireRange(s.channels, 0, 32767, "channel count");
  parameters_ = parameters;
  fillEncoders(parameters_);
}

AtomContainer MovieExporter::getSettingsAsAtomContainer() const {
  AtomContainer out = loaded_.value_or(AtomContainer());
  const auto& v = parameters_.video;
  const auto& s = parameters_.sound;
  const uint32_t hostFlag = std::endian::native == std::endian::little ? 1 : 0;
  putLeaf(out, kVideo, "sptl",
          words({{v.codec, 4},
                 {0, 4},
                 {static_cast<uint16_t>(v.depth), 2},
                 {static_cast<uint32_t>(v.spatialQuality), 4}}));
  putLeaf(out, kVideo, "tprl",
          words({{static_cast<uint32_t>(v.temporalQuality), 4},
                 {fixedFrameRate(v), 4},
                 {static_cast<uint32_t>(v.keyFrameInterval), 4}}));
  putLeaf(out, kVideo, "drat", words({{static_cast<uint32_t>(v.bitRate / 8), 4}}));
  putLeaf(out, kVideo, "wdth", words({{static_cast<uint32_t>(v.width) << 16, 4}}));
  putLeaf(out, kVideo, "hegt", words({{static_cast<uint32_t>(v.height) << 16, 4}}));
  putLeaf(
      out, kVideo, "vers",
      words({{componentVersion(out, kVideo, kVideoComponentVersion), 4}, {hostFlag, 2}, {0, 2}}));
  putLeaf(out, kSize, "iwdt", words({{static_cast<uint32_t>(v.width), 4}}));
  putLeaf(out, kSize, "ihgt", words({{static_cast<uint32_t>(v.height), 4}}));
  putLeaf(out, kSound, "ssct", words({{s.codec, 4}}));
  putLeaf(out, kSound, "ssrt", words({{static_cast<uint32_t>(s.sampleRate) << 16, 4}}));
  putLeaf(out, kSound, "ssss", words({{static_cast<uint32_t>(s.sampleSize), 2}}));
  putLeaf(out, kSound, "sscc", words({{static_cast<uint32_t>(s.channels), 2}}));
  putLeaf(
      out, kSound, "vers",
      words({{componentVersion(out, kSound, kSoundComponentVersion), 4}, {hostFlag, 2}, {0, 2}}));
  putLeaf(out, 0, "envi", words({{v.enabled ? 1u : 0u, 1}}));
  putLeaf(out, 0, "enso", words({{s.enabled ? 1u : 0u, 1}}));
  return out;
}

ExportParameters MovieExporter::exportParameters(const AtomContainer& settings) {
  MovieExporter exporter;
  exporter.setSettingsFromAtomContainer(settings);
  return exporter.parameters();
}

}  // namespace qrl::settings

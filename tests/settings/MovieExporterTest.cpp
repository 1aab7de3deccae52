#include <gtest/gtest.h>

#include <algorithm>

#include "platform/base/Exception.h"
#include "platform/quicktime/Movie.h"
#include "settings/CompressorRegistry.h"
#include "settings/MovieExporter.h"
#include "settings/QRLQTSettingsParser.h"
#include "settings/SettingsFile.h"
#include "tests/platform/quicktime/Fixtures.h"
#include "tests/settings/SettingsSupport.h"

namespace qrl::settings {
namespace {

using quicktime::AtomContainer;
using quicktime::ExportParameters;
using quicktime::fourCCString;
using testing::build;
using testing::Bytes;
using testing::code;
using testing::judged;

// The fields a test compares, as one line that names what differs.
std::string summary(const ExportParameters& p) {
  const auto& v = p.video;
  const auto& s = p.sound;
  return fourCCString(v.codec) + " " + v.encoder + "/" + v.profile + "/" + v.pixelFormat + " " +
         std::to_string(v.width) + "x" + std::to_string(v.height) + " " +
         std::to_string(v.frameRateNumerator) + "/" + std::to_string(v.frameRateDenominator) +
         " b" + std::to_string(v.bitRate) + " k" + std::to_string(v.keyFrameInterval) + " q" +
         std::to_string(v.spatialQuality) + "," + std::to_string(v.temporalQuality) + " d" +
         std::to_string(v.depth) + (v.enabled ? "" : " novideo") + " | " +
         (s.enabled ? "" : "off ") + fourCCString(s.codec) + " " + s.encoder + "/" +
         s.sampleFormat + " " + std::to_string(s.sampleRate) + " " + std::to_string(s.sampleSize) +
         " " + std::to_string(s.channels);
}

Bytes bytesOf(const AtomContainer& c) {
  return {c.bytes().begin(), c.bytes().end()};
}

// Clears (or sets) bit 0 of every 'vers' atom's flags.
AtomContainer withVersFlag(const AtomContainer& c, bool set) {
  AtomContainer out = AtomContainer::read(c.bytes());
  for (quicktime::QTAtomType section : {code("vide"), code("soun")}) {
    quicktime::QTAtom s = out.findChildByIndex(0, section, 1);
    quicktime::QTAtom vers = s != 0 ? out.findChildByIndex(s, code("vers"), 1) : 0;
    std::span<const uint8_t> data;
    if (vers == 0 || !out.leafData(vers, data))
      continue;
    Bytes changed(data.begin(), data.end());
    changed[4] = 0;
    changed[5] = set ? 1 : 0;
    out.setAtomData(vers, changed);
  }
  return out;
}

// What the manifest decodes for each of the original platform's containers.
TEST(MovieExporter, TheOriginalPlatformsContainersGiveTheirDecodedSettings) {
  const struct {
    const char* file;
    const char* expected;
  } rows[] = {
      {"harmony-moov-png-3840x2160-nosound.qtatoms",
       "png  png//rgba 3840x2160 0/1 b0 k0 q512,0 d32 | off sowt pcm_s16le/s16 22050 16 1"},
      {"harmony-moov-avdn.qtatoms",
       "AVdn dnxhd/dnxhr_sq/yuv422p 0x0 0/1 b0 k0 q512,0 d32 | sowt pcm_s16le/s16 22050 16 1"},
      {"harmony-moov-avdn-earlier.qtatoms",
       "AVdn dnxhd/dnxhr_sq/yuv422p 0x0 0/1 b0 k0 q512,0 d32 | sowt pcm_s16le/s16 22050 16 1"},
      {"harmony-moov-rle-openharmony.qtatoms",
       "rle  qtrle//argb 0x0 0/1 b0 k24 q768,512 d32 | sowt pcm_s16le/s16 22050 16 1"},
      {"harmony-moov-rle-birdo.qtatoms",
       "rle  qtrle//argb 0x0 0/1 b0 k0 q1024,0 d32 | sowt pcm_s16le/s16 22050 16 1"},
      {"rmov-moov-rle-settings.st",
       "rle  qtrle//argb 0x0 0/1 b0 k24 q1024,512 d32 | twos pcm_s16be/s16 44100 16 2"},
      // Standard Compression settings: video only, the exporter's sound defaults stay off.
      {"nuke-sc-avdn.qtatoms",
       "AVdn dnxhd/dnxhr_sq/yuv422p 0x0 24000/1001 b0 k0 q1023,0 d32 | off aac  aac/fltp 48000 16 "
       "2"},
      {"nuke-sc-avc1.qtatoms",
       "avc1 libx264//yuv420p 0x0 24/1 b0 k0 q1023,0 d24 | off aac  aac/fltp 48000 16 2"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file);
    AtomContainer c = judged(row.file);
    EXPECT_EQ(bytesOf(AtomContainer::read(c.bytes())), bytesOf(c)) << "read-write-read";
    ExportParameters p = MovieExporter::exportParameters(c);
    EXPECT_EQ(summary(p), row.expected);
    // The vers flag (set in all of them) changes nothing, and neither does normalising.
    EXPECT_EQ(summary(MovieExporter::exportParameters(withVersFlag(c, false))), row.expected);
    MovieExporter exporter;
    exporter.setSettingsFromAtomContainer(c);
    AtomContainer normalised = exporter.getSettingsAsAtomContainer();
    EXPECT_EQ(summary(MovieExporter::exportParameters(normalised)), row.expected);
    // Atoms the exporter does not know travel on unchanged.
    for (const char* kept : {"cdec", "cmfr", "mpes"}) {
      std::span<const uint8_t> before, after;
      auto at = [&](const AtomContainer& in) {
        return in.findChildByIndex(in.findChildByIndex(0, code("vide"), 1), code(kept), 1);
      };
      bool had = c.leafData(at(c), before);
      EXPECT_EQ(had, normalised.leafData(at(normalised), after)) << kept;
      EXPECT_TRUE(std::equal(before.begin(), before.end(), after.begin(), after.end())) << kept;
    }
  }
}

// The same settings stored with little-endian payloads, as a host-order
// writer on a little-endian machine would, and flagged so, read the same.
TEST(MovieExporter, LittleEndianPayloadsReadLikeBigEndianOnes) {
  auto reversed = [](Bytes b, std::initializer_list<std::pair<size_t, size_t>> fields) {
    for (auto [at, width] : fields)
      std::reverse(b.begin() + static_cast<long>(at), b.begin() + static_cast<long>(at + width));
    return b;
  };
  Bytes sptl{'a', 'p', 'c', 'h', 0, 0, 0, 0, 0, 24, 0, 0, 3, 0};
  Bytes tprl{0, 0, 2, 0, 0, 0x1D, 0xF8, 0x52, 0, 0, 0, 12};
  Bytes drat{0, 0x0F, 0x42, 0x40};
  Bytes size{0x07, 0x80, 0, 0};
  Bytes ssct{'i', 'n', '2', '4'}, ssrt{0xBB, 0x80, 0, 0}, ssss{0, 24}, sscc{0, 6};
  auto container = [&](bool little, uint8_t flag) {
    auto r = [&](const Bytes& b, std::initializer_list<std::pair<size_t, size_t>> f) {
      return little ? reversed(b, f) : b;
    };
    Bytes vers = little ? Bytes{0x1C, 0, 3, 0, flag, 0, 0, 0} : Bytes{0, 3, 0, 0x1C, 0, flag, 0, 0};
    return build({{"vide",
                   {{"sptl", r(sptl, {{0, 4}, {8, 2}, {10, 4}})},
                    {"tprl", r(tprl, {{0, 4}, {4, 4}, {8, 4}})},
                    {"drat", r(drat, {{0, 4}})},
                    {"wdth", r(size, {{0, 4}})},
                    {"vers", vers}}},
                  {"soun",
                   {{"ssct", r(ssct, {{0, 4}})},
                    {"ssrt", r(ssrt, {{0, 4}})},
                    {"ssss", r(ssss, {{0, 2}})},
                    {"sscc", r(sscc, {{0, 2}})},
                    {"vers", vers}}},
                  {"", {{"enso", {1}}}}});
  };
  const std::string expected =
      "apch prores_ks/3/yuv422p10le 1920x0 30000/1001 b8000000 k12 q768,512 d24 | in24 "
      "pcm_s24be/s32 48000 24 6";
  EXPECT_EQ(summary(MovieExporter::exportParameters(container(false, 0))), expected);
  EXPECT_EQ(summary(MovieExporter::exportParameters(container(false, 1))), expected);
  EXPECT_EQ(summary(MovieExporter::exportParameters(container(true, 1))), expected);
  auto order = MovieExporter::payloadOrder(container(true, 1), code("soun"));
  ASSERT_TRUE(order.has_value());
  EXPECT_TRUE(order->littleEndian);
  EXPECT_TRUE(order->versLittleEndian);
  // A cleared flag means a big-endian writer: its payloads are not second-guessed.
  EXPECT_NE(summary(MovieExporter::exportParameters(container(true, 0))), expected);
}

TEST(MovieExporter, EveryRegistryCodecSurvivesAContainerRoundTrip) {
  for (const auto& c : CompressorRegistry::all()) {
    SCOPED_TRACE(fourCCString(c.code));
    MovieExporter exporter;
    ExportParameters asked = exporter.parameters();
    if (c.kind == CompressorKind::Video) {
      asked.video.codec = c.code;
      asked.video.width = 1920;
      asked.video.height = 1080;
      asked.video.frameRateNumerator = 25;
      asked.video.bitRate = 12000000;
      asked.video.keyFrameInterval = 50;
      asked.video.spatialQuality = 0x3FF;
      asked.video.depth = 32;
    } else {
      asked.sound.enabled = true;
      asked.sound.codec = c.code;
      asked.sound.sampleRate = 44100;
      asked.sound.sampleSize = 24;
      asked.sound.channels = 6;
    }
    exporter.setParameters(asked);
    AtomContainer written = exporter.getSettingsAsAtomContainer();
    ExportParameters back = MovieExporter::exportParameters(AtomContainer::read(written.bytes()));
    EXPECT_EQ(summary(back), summary(exporter.parameters()));
    const auto& encoder = c.kind == CompressorKind::Video ? back.video.encoder : back.sound.encoder;
    EXPECT_EQ(encoder.empty(), c.encoder.empty());
  }
}

TEST(MovieExporter, MisshapenSettingsAndImpossibleValuesAreRefused) {
  MovieExporter exporter;
  EXPECT_THROW(exporter.setSettingsFromAtomContainer(build({{"", {{"vide", {1, 2}}}}})), Exception);
  AtomContainer parentSptl;
  auto vide = parentSptl.insertChild(0, code("vide"), 1, 0);
  auto sptl = parentSptl.insertChild(vide, code("sptl"), 1, 0);
  parentSptl.insertChild(sptl, code("x   "), 1, 0);
  EXPECT_THROW(exporter.setSettingsFromAtomContainer(parentSptl), Exception);
  ExportParameters p = exporter.parameters();
  p.sound.sampleRate = 96000;  // 16.16 holds no more than 65535 Hz
  EXPECT_THROW(exporter.setParameters(p), Exception);
  EXPECT_EQ(exporter.parameters().sound.sampleRate, 48000);

  // A judged container cut short anywhere is refused, never half read.
  Bytes whole = SettingsFile::read(testing::dataDir() / "rmov-moov-rle-settings.st");
  for (size_t length = 0; length < whole.size(); ++length) {
    Bytes cut(whole.begin(), whole.begin() + static_cast<long>(length));
    EXPECT_THROW(AtomContainer::read(cut), Exception) << length;
  }
}

TEST(SettingsFile, HexTextAndItsQtWrapperReadAsTheBytes) {
  Bytes binary = SettingsFile::read(testing::dataDir() / "nuke-sc-avc1.qtatoms");
  EXPECT_EQ(SettingsFile::read(testing::dataDir() / "nuke-sc-avc1.hex"), binary);
  std::string hex = SettingsFile::hex(binary);
  EXPECT_EQ(SettingsFile::decode("Enable Sound(false)Enable Video(true)QT(" + hex + ")"), binary);
  EXPECT_EQ(SettingsFile::decode(" 0a0B\n"), (Bytes{0x0A, 0x0B}));
  EXPECT_THROW(SettingsFile::decode("0a0"), Exception);
  EXPECT_THROW(SettingsFile::read(testing::dataDir() / "missing"), Exception);
}

// Each compressor's FFmpeg side, judged by FFmpeg itself: the encoder with its
// profile and format writes a movie whose sample description is the format
// the registry promises; decode-only codecs have their decoder. One ffmpeg
// run writes every video movie, one every sound movie.
TEST(CompressorRegistry, FfmpegEncodesEveryRowIntoTheFormatItNames) {
  using quicktime::testing::run;
  quicktime::testing::TempDir dir;
  std::string decoders = run("ffmpeg -hide_banner -decoders 2>/dev/null");
  std::string videoOutputs, soundOutputs;
  std::vector<std::pair<std::string, std::string>> expected;  // movie, format
  for (const auto& c : CompressorRegistry::all()) {
    EXPECT_NE(decoders.find(" " + std::string(c.decoder) + " "), std::string::npos)
        << fourCCString(c.code);
    if (c.encoder.empty())
      continue;
    std::string movie = (dir / (std::to_string(expected.size()) + ".mov")).string();
    MovieExporter exporter;
    ExportParameters p = exporter.parameters();
    if (c.kind == CompressorKind::Video) {
      p.video.codec = c.code;
      p.video.depth = 32;
      exporter.setParameters(p);
      const auto& v = exporter.parameters().video;
      videoOutputs += " -c:v " + v.encoder + " -pix_fmt " + v.pixelFormat +
                      (v.profile.empty() ? "" : " -profile:v " + v.profile) + " -tag:v '" +
                      fourCCString(v.format) + "' '" + movie + "'";
      expected.emplace_back(movie, fourCCString(v.format));
    } else {
      p.sound.codec = c.code;
      exporter.setParameters(p);
      const auto& s = exporter.parameters().sound;
      soundOutputs += " -c:a " + s.encoder + " -sample_fmt " + s.sampleFormat + " -tag:a '" +
                      fourCCString(s.format) + "' '" + movie + "'";
      expected.emplace_back(movie, fourCCString(s.format));
    }
  }
  int status = 0;
  std::string log = run("ffmpeg -v error -y -f lavfi -i testsrc=size=320x240:rate=25:duration=0.08" +
                            videoOutputs + " 2>&1",
                        &status);
  EXPECT_EQ(status, 0) << log;
  log = run("ffmpeg -v error -y -f lavfi -i sine=r=44100:d=0.2 -ac 2" + soundOutputs + " 2>&1",
            &status);
  EXPECT_EQ(status, 0) << log;
  for (const auto& [movie, format] : expected) {
    auto opened = quicktime::Movie::open(movie);
    ASSERT_EQ(opened->tracks().size(), 1u) << movie;
    const auto& descriptions = opened->tracks()[0]->media().sampleDescriptions();
    ASSERT_FALSE(descriptions.empty()) << movie;
    EXPECT_EQ(fourCCString(descriptions[0].dataFormat), format) << movie;
  }
}

}  // namespace
}  // namespace qrl::settings

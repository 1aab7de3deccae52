#include "platform/quicktime/SoundFileImporter.h"

#include <bit>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include "platform/base/Exception.h"
#include "platform/quicktime/ByteReader.h"
#include "platform/quicktime/ByteSource.h"
#include "platform/quicktime/ChunkOffsetAtom.h"
#include "platform/quicktime/DataReferenceAtom.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/HandlerAtom.h"
#include "platform/quicktime/MediaHeaderAtom.h"
#include "platform/quicktime/MovieHeaderAtom.h"
#include "platform/quicktime/RawAtom.h"
#include "platform/quicktime/SampleDescriptionAtom.h"
#include "platform/quicktime/SampleSizeAtom.h"
#include "platform/quicktime/SampleToChunkAtom.h"
#include "platform/quicktime/TimeToSampleAtom.h"
#include "platform/quicktime/TrackHeaderAtom.h"

namespace qrl::quicktime {
namespace {

struct PcmLayout {
  uint32_t channels = 0;
  uint32_t bits = 0;
  double rate = 0;
  bool bigEndian = false;
  bool isFloat = false;
  bool isUnsigned8 = false;  // WAV's 8-bit samples are offset binary
  uint64_t dataOffset = 0;
  uint64_t dataSize = 0;
};

uint32_t le32(std::span<const uint8_t> b) {
  return static_cast<uint32_t>(b[0]) | (static_cast<uint32_t>(b[1]) << 8) |
         (static_cast<uint32_t>(b[2]) << 16) | (static_cast<uint32_t>(b[3]) << 24);
}
uint16_t le16(std::span<const uint8_t> b) {
  return static_cast<uint16_t>(b[0] | (b[1] << 8));
}

// Walks RIFF or IFF chunks: `visit(id, payloadOffset, payloadSize)`.
template <typename Visit>
void walkChunks(const ByteSource& file, uint64_t position, bool littleEndian, Visit visit) {
  const uint64_t end = file.size();
  while (end - position >= 8) {
    auto head = file.read(position, 8);
    uint32_t id = ByteReader(head, "chunk").u32();
    uint64_t size = littleEndian ? le32(std::span(head).subspan(4))
                                 : ByteReader(std::span(head).subspan(4), "chunk").u32();
    uint64_t payload = position + 8;
    // A final data chunk cut short (or sized "to the end") is read as far as it goes.
    if (size > end - payload)
      size = end - payload;
    visit(id, payload, size);
    position = payload + size + (size & 1);
  }
}

std::optional<PcmLayout> readWave(const ByteSource& file) {
  PcmLayout p;
  bool haveFormat = false, haveData = false;
  walkChunks(file, 12, true, [&](uint32_t id, uint64_t offset, uint64_t size) {
    if (id == fourCC("fmt ") && !haveFormat) {
      if (size < 16)
        throw Exception::parse("WAV 'fmt ' chunk of " + std::to_string(size) + " bytes");
      auto f = file.read(offset, static_cast<size_t>(std::min<uint64_t>(size, 40)));
      uint16_t tag = le16(f);
      if (tag == 0xFFFE && f.size() >= 26)
        tag = le16(std::span(f).subspan(24));
      if (tag != 1 && tag != 3) {
        throw Exception::unsupported("WAV format tag " + std::to_string(tag) + " (not PCM)");
      }
      p.channels = le16(std::span(f).subspan(2));
      p.rate = le32(std::span(f).subspan(4));
      p.bits = le16(std::span(f).subspan(14));
      p.isFloat = tag == 3;
      p.isUnsigned8 = p.bits == 8;
      haveFormat = true;
    } else if (id == fourCC("data") && !haveData) {
      p.dataOffset = offset;
      p.dataSize = size;
      haveData = true;
    }
  });
  if (!haveFormat || !haveData)
    throw Exception::parse("WAV file without 'fmt ' or 'data' chunk");
  return p;
}

double extended80(std::span<const uint8_t> b) {
  int exponent = ((b[0] & 0x7F) << 8) | b[1];
  uint64_t mantissa = ByteReader(b.subspan(2), "rate").u64();
  if (exponent == 0 && mantissa == 0)
    return 0;
  double v = std::ldexp(static_cast<double>(mantissa), exponent - 16383 - 63);
  return (b[0] & 0x80) ? -v : v;
}

std::optional<PcmLayout> readAiff(const ByteSource& file, bool compressed) {
  PcmLayout p;
  p.bigEndian = true;
  bool haveCommon = false, haveData = false;
  walkChunks(file, 12, false, [&](uint32_t id, uint64_t offset, uint64_t size) {
    if (id == fourCC("COMM") && !haveCommon) {
      if (size < 18)
        throw Exception::parse("AIFF 'COMM' chunk of " + std::to_string(size) + " bytes");
      auto c = file.read(offset, static_cast<size_t>(std::min<uint64_t>(size, 22)));
      ByteReader in(c, "AIFF COMM");
      p.channels = in.u16();
      in.u32();  // frames: taken from the sound data instead
      p.bits = in.u16();
      p.rate = extended80(in.bytes(10));
      if (compressed && in.remaining() >= 4) {
        uint32_t kind = in.u32();
        if (kind == fourCC("sowt")) {
          p.bigEndian = false;
        } else if (kind == fourCC("fl32") || kind == fourCC("FL32")) {
          p.isFloat = true;
        } else if (kind != fourCC("NONE") && kind != fourCC("twos")) {
          throw Exception::unsupported(std::string("AIFF-C compression ").append(quoted(kind)) +
                                       "");
        }
      }
      haveCommon = true;
    } else if (id == fourCC("SSND") && !haveData) {
      if (size < 8)
        throw Exception::parse("AIFF 'SSND' chunk of " + std::to_string(size) + " bytes");
      auto s = file.read(offset, 8);
      uint32_t skip = ByteReader(s, "SSND").u32();
      if (skip > size - 8)
        throw Exception::parse("AIFF 'SSND' offset past its chunk");
      p.dataOffset = offset + 8 + skip;
      p.dataSize = size - 8 - skip;
      haveData = true;
    }
  });
  if (!haveCommon || !haveData)
    throw Exception::parse("AIFF file without 'COMM' or 'SSND' chunk");
  return p;
}

std::vector<uint8_t> soundDescription(const PcmLayout& p, uint32_t bytesPerFrame) {
  std::vector<uint8_t> bytes;
  ByteWriter out(bytes);
  bool simple =
      !p.isFloat && (p.bits == 8 || p.bits == 16) && p.rate < 65536 && p.rate == std::floor(p.rate);
  uint32_t format = fourCC("lpcm");
  if (simple) {
    format = p.bits == 8 ? (p.isUnsigned8 ? fourCC("raw ") : fourCC("twos"))
                         : (p.bigEndian ? fourCC("twos") : fourCC("sowt"));
  }
  out.u32(0);  // size, set by the stsd atom
  out.u32(format);
  out.zeros(6);
  out.u16(1);  // data reference index
  if (simple) {
    out.u16(0);  // version
    out.u16(0);
    out.u32(0);
    out.u16(static_cast<uint16_t>(p.channels));
    out.u16(static_cast<uint16_t>(p.bits));
    out.i16(0);
    out.u16(0);
    out.u32(static_cast<uint32_t>(p.rate) << 16);
  } else {
    out.u16(2);
    out.u16(0);
    out.u32(0);
    out.u16(3);
    out.u16(16);
    out.i16(-2);
    out.u16(0);
    out.u32(0x10000);
    out.u32(72);
    out.u64(std::bit_cast<uint64_t>(p.rate));
    out.u32(p.channels);
    out.u32(0x7F000000);
    out.u32(p.bits);
    uint32_t flags = 0x8 | (p.isFloat ? 0x1 : 0x4) | (p.bigEndian ? 0x2 : 0);
    out.u32(flags);
    out.u32(bytesPerFrame);
    out.u32(1);
  }
  return bytes;
}

std::unique_ptr<ContainerAtom> box(const char (&type)[5]) {
  return std::make_unique<ContainerAtom>(fourCC(type));
}

std::unique_ptr<ContainerAtom> buildMovie(const PcmLayout& p) {
  if (p.channels == 0 || p.bits == 0 || p.bits % 8 != 0 || p.bits > 64) {
    throw Exception::unsupported("sound of " + std::to_string(p.channels) + " channels of " +
                                 std::to_string(p.bits) + " bits");
  }
  if (!(p.rate >= 1 && p.rate <= std::numeric_limits<int32_t>::max())) {
    throw Exception::parse("sound sample rate " + std::to_string(p.rate) + " is not usable");
  }
  const uint32_t bytesPerFrame = p.channels * p.bits / 8;
  const uint64_t frames64 = p.dataSize / bytesPerFrame;
  if (frames64 > std::numeric_limits<uint32_t>::max()) {
    throw Exception::unsupported("more than 2^32 sample frames");
  }
  const auto frames = static_cast<uint32_t>(frames64);
  const auto scale = static_cast<uint32_t>(std::lround(p.rate));

  auto moov = box("moov");
  auto mvhd = std::make_unique<MovieHeaderAtom>();
  MovieHeaderAtom::Fields mf;
  mf.timeScale = scale;
  mf.duration = frames;
  mf.nextTrackID = 2;
  mvhd->setFields(mf);
  moov->addChild(std::move(mvhd));

  auto trak = box("trak");
  auto tkhd = std::make_unique<TrackHeaderAtom>();
  TrackHeaderAtom::Fields tf;
  tf.trackID = 1;
  tf.duration = frames;
  tf.volume = 0x100;
  tkhd->setFields(tf);
  trak->addChild(std::move(tkhd));

  auto mdia = box("mdia");
  auto mdhd = std::make_unique<MediaHeaderAtom>();
  MediaHeaderAtom::Fields df;
  df.timeScale = scale;
  df.duration = frames;
  mdhd->setFields(df);
  mdia->addChild(std::move(mdhd));
  mdia->addChild(HandlerAtom::make(fourCC("mhlr"), kMediaTypeSound, "SoundHandler"));

  auto minf = box("minf");
  const uint8_t smhd[4 + 4] = {};
  minf->addChild(std::make_unique<RawAtom>(fourCC("smhd"), smhd));
  minf->addChild(HandlerAtom::make(fourCC("dhlr"), fourCC("alis"), "DataHandler"));
  auto dinf = box("dinf");
  auto dref = std::make_unique<DataReferenceAtom>();
  dref->addEntry({fourCC("alis"), DataReferenceAtom::kSelfReference, {}});
  dinf->addChild(std::move(dref));
  minf->addChild(std::move(dinf));

  auto stbl = box("stbl");
  auto stsd = std::make_unique<SampleDescriptionAtom>();
  stsd->addEntry(soundDescription(p, bytesPerFrame));
  stbl->addChild(std::move(stsd));
  auto stts = std::make_unique<TimeToSampleAtom>();
  auto stsc = std::make_unique<SampleToChunkAtom>();
  auto stsz = std::make_unique<SampleSizeAtom>();
  bool wide = p.dataOffset + p.dataSize > std::numeric_limits<uint32_t>::max();
  auto stco = std::make_unique<ChunkOffsetAtom>(wide);
  if (frames > 0) {
    stts->setEntries({{frames, 1}});
    // About a second of sound per chunk.
    const uint32_t perChunk = std::max<uint32_t>(scale, 1024);
    const uint32_t fullChunks = frames / perChunk;
    const uint32_t remainder = frames % perChunk;
    std::vector<SampleToChunkAtom::Entry> runs;
    if (fullChunks > 0)
      runs.push_back({1, perChunk, 1});
    if (remainder > 0)
      runs.push_back({fullChunks + 1, remainder, 1});
    stsc->setEntries(std::move(runs));
    stsz->setConstant(bytesPerFrame, frames);
    std::vector<uint64_t> offsets;
    for (uint64_t c = 0; c < fullChunks + (remainder > 0 ? 1u : 0u); ++c) {
      offsets.push_back(p.dataOffset + c * perChunk * bytesPerFrame);
    }
    stco->setOffsets(std::move(offsets));
  }
  stbl->addChild(std::move(stts));
  stbl->addChild(std::move(stsc));
  stbl->addChild(std::move(stsz));
  stbl->addChild(std::move(stco));
  minf->addChild(std::move(stbl));
  mdia->addChild(std::move(minf));
  trak->addChild(std::move(mdia));
  moov->addChild(std::move(trak));
  return moov;
}

}  // namespace

std::unique_ptr<ContainerAtom> SoundFileImporter::import(const ByteSource& file) {
  if (file.size() < 12)
    return nullptr;
  auto head = file.read(0, 12);
  ByteReader in(head, "sound file header");
  uint32_t outer = in.u32();
  in.u32();
  uint32_t form = in.u32();
  std::optional<PcmLayout> layout;
  if (outer == fourCC("RIFF") && form == fourCC("WAVE")) {
    layout = readWave(file);
  } else if (outer == fourCC("FORM") && (form == fourCC("AIFF") || form == fourCC("AIFC"))) {
    layout = readAiff(file, form == fourCC("AIFC"));
  } else {
    return nullptr;
  }
  return buildMovie(*layout);
}

}  // namespace qrl::quicktime

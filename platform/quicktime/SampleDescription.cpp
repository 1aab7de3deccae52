#include "platform/quicktime/SampleDescription.h"

#include <bit>
#include <cstring>

#include "platform/quicktime/ByteReader.h"
#include "platform/quicktime/FourCC.h"

namespace qrl::quicktime {
namespace {

std::string pascalString(std::span<const uint8_t> field) {
  if (field.empty())
    return {};
  size_t length = std::min<size_t>(field[0], field.size() - 1);
  return std::string(field.begin() + 1, field.begin() + 1 + static_cast<std::ptrdiff_t>(length));
}

SampleDescription::Video readVideo(ByteReader& in) {
  SampleDescription::Video v;
  v.version = in.u16();
  in.u16();  // revision level
  v.vendor = in.u32();
  v.temporalQuality = in.u32();
  v.spatialQuality = in.u32();
  v.width = in.u16();
  v.height = in.u16();
  in.skip(8);  // resolutions
  in.u32();    // data size
  v.frameCount = in.u16();
  v.compressorName = pascalString(in.bytes(32));
  v.depth = in.i16();
  v.colorTableID = in.i16();
  return v;
}

SampleDescription::Sound readSound(ByteReader& in) {
  SampleDescription::Sound s;
  s.version = in.u16();
  in.u16();  // revision level
  in.u32();  // vendor
  s.channels = in.u16();
  s.sampleSize = in.u16();
  s.compressionID = in.i16();
  in.u16();  // packet size
  s.sampleRate = in.u32() / 65536.0;
  if (s.version == 1) {
    s.samplesPerPacket = in.u32();
    s.bytesPerPacket = in.u32();
    s.bytesPerFrame = in.u32();
    in.u32();  // bytes per sample
  } else if (s.version == 2) {
    in.u32();  // size of the struct
    s.sampleRate = std::bit_cast<double>(in.u64());
    s.channels = in.u32();
    in.u32();  // always 0x7F000000
    s.sampleSize = in.u32();
    s.lpcmFlags = in.u32();
    s.bytesPerPacket = in.u32();
    s.samplesPerPacket = in.u32();
    s.bytesPerFrame = s.samplesPerPacket == 1 ? s.bytesPerPacket : 0;
  }
  return s;
}

SampleDescription::TimeCode readTimeCode(ByteReader& in) {
  SampleDescription::TimeCode t;
  in.u32();  // reserved
  t.definition.flags = in.i32();
  t.definition.fTimeScale = in.i32();
  t.definition.frameDuration = in.i32();
  t.definition.numFrames = in.u8();
  if (in.remaining() >= 1)
    t.definition.padding = in.u8();
  // An optional 'name' user data atom holds the reel name.
  if (in.remaining() >= 12) {
    uint32_t size = in.u32();
    uint32_t type = in.u32();
    if (type == fourCC("name") && size >= 12 && size - 8 <= in.remaining()) {
      uint16_t length = in.u16();
      in.u16();  // language
      if (length <= in.remaining()) {
        auto text = in.bytes(length);
        t.reelName.assign(text.begin(), text.end());
      }
    }
  }
  return t;
}

}  // namespace

SampleDescription SampleDescription::parse(std::span<const uint8_t> entry, uint32_t mediaType) {
  SampleDescription d;
  ByteReader in(entry, "sample description");
  in.u32();  // size, checked by the stsd atom
  d.dataFormat = in.u32();
  in.skip(6);
  d.dataReferenceIndex = in.u16();
  ByteReader fields(in.rest(), quoted(d.dataFormat) + " sample description");
  if (mediaType == kMediaTypeVideo) {
    d.video = readVideo(fields);
  } else if (mediaType == kMediaTypeSound) {
    d.sound = readSound(fields);
  } else if (mediaType == kMediaTypeTimeCode) {
    d.timeCode = readTimeCode(fields);
  }
  return d;
}

}  // namespace qrl::quicktime

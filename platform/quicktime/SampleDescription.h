#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/quicktime/TimeCode.h"

namespace qrl::quicktime {

// One sample description entry read for a media type: the common header and,
// for video, sound and timecode media, their fields. A value type; the entry's
// bytes stay in the 'stsd' atom.
struct SampleDescription {
  struct Video {
    uint16_t version = 0;
    uint32_t vendor = 0;
    uint32_t temporalQuality = 0;
    uint32_t spatialQuality = 0;
    uint16_t width = 0;
    uint16_t height = 0;
    uint16_t frameCount = 1;
    std::string compressorName;
    int16_t depth = 24;
    int16_t colorTableID = -1;
  };
  struct Sound {
    uint16_t version = 0;  // 0, 1 or 2
    uint32_t channels = 0;
    uint32_t sampleSize = 0;  // bits per channel sample
    int16_t compressionID = 0;
    double sampleRate = 0;
    // Version 1 and 2 fields (0 when absent).
    uint32_t samplesPerPacket = 0;
    uint32_t bytesPerPacket = 0;
    uint32_t bytesPerFrame = 0;
    uint32_t lpcmFlags = 0;
  };
  struct TimeCode {
    TimeCodeDef definition;
    std::string reelName;
  };

  uint32_t dataFormat = 0;
  uint16_t dataReferenceIndex = 0;  // 1-based into the media's data references
  std::optional<Video> video;
  std::optional<Sound> sound;
  std::optional<TimeCode> timeCode;

  // Reads the fields that belong to `mediaType`; throws a parse Exception when
  // the entry is too short for them. Other media types keep only the header.
  static SampleDescription parse(std::span<const uint8_t> entry, uint32_t mediaType);
};

}  // namespace qrl::quicktime

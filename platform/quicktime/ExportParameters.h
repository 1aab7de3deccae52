#pragma once

#include <cstdint>
#include <string>

namespace qrl::quicktime {

// What a movie export encodes with: the compressors, chosen by their
// four-character codes, with the FFmpeg encoder and format each maps to,
// and the numbers the settings fix. Plain values; compression settings
// containers are turned into these by settings/ (MovieExporter), so that
// the exporter itself never reads a settings container.
struct VideoExportParameters {
  bool enabled = true;
  uint32_t codec = 0;   // the compressor chosen, e.g. 'avc1'
  uint32_t format = 0;  // the sample description format the file gets, e.g. 'hvc1', 'AVdh'
  std::string encoder;  // FFmpeg encoder; empty when FFmpeg cannot encode the codec
  std::string profile;  // the encoder's "profile" option, e.g. "3" (ProRes 422 HQ); may be empty
  std::string pixelFormat;  // FFmpeg pixel format handed to the encoder
  int32_t width = 0;        // pixels; 0 keeps the source's
  int32_t height = 0;
  // Frames per second as a fraction; numerator 0 keeps the source's rate.
  int32_t frameRateNumerator = 0;
  int32_t frameRateDenominator = 1;
  int64_t bitRate = 0;           // bits per second; 0 = no limit
  int32_t keyFrameInterval = 0;  // most frames between key frames; 0 = the encoder's choice
  // The codec qualities of the settings, 0 (least) … 0x3FF (most), 0x400 lossless.
  int32_t spatialQuality = 0;
  int32_t temporalQuality = 0;
  int16_t depth = 0;  // bits per pixel asked for: 24, 32 (with alpha); 0 = the codec's default
};

struct SoundExportParameters {
  bool enabled = false;
  uint32_t codec = 0;   // the compressor chosen, e.g. 'aac ', 'sowt'
  uint32_t format = 0;  // the sample description format the file gets, e.g. 'mp4a', 'in24'
  std::string encoder;  // FFmpeg encoder; empty when FFmpeg cannot encode the codec
  std::string sampleFormat;  // FFmpeg sample format handed to the encoder
  int32_t sampleRate = 0;    // hertz; 0 keeps the source's
  int32_t sampleSize = 0;    // bits per sample; 0 = the codec's own
  int32_t channels = 0;      // 0 keeps the source's
};

struct ExportParameters {
  VideoExportParameters video;
  SoundExportParameters sound;
};

}  // namespace qrl::quicktime

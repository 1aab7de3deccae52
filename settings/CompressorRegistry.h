#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace qrl::settings {

enum class CompressorKind { Video, Sound };

// A compressor a QuickTime movie may name, with what FFmpeg (Debian 12's 5.1)
// does for it. Stands in for the platform's component search.
struct Compressor {
  uint32_t code;  // the compressor's subtype, e.g. 'avc1'
  CompressorKind kind;
  std::string_view name;     // display name
  std::string_view encoder;  // FFmpeg encoder; empty when FFmpeg cannot encode it
  std::string_view decoder;  // FFmpeg decoder
  // The encoder's pixel format (video) or sample format (sound).
  std::string_view format;
  // The pixel format for 32-bit (with alpha) settings; empty when the codec has no alpha.
  std::string_view alphaFormat;
  std::string_view profile;  // the encoder's "profile" option; empty for none
  // The sample description format FFmpeg's movie writer gives the result;
  // 0 when it is the code itself.
  uint32_t fileFormat;
};

// The encoder of a PCM sound compressor for one sample size.
struct PcmEncoding {
  std::string_view encoder;
  std::string_view sampleFormat;
  uint32_t fileFormat;
};

class CompressorRegistry {
 public:
  // Every compressor in search order: video first, then sound. A code may
  // occur once per kind ('raw ' is both).
  static std::span<const Compressor> all();

  // The first compressor of the code in search order, whatever its kind.
  static const Compressor* find(uint32_t code);
  static const Compressor* find(uint32_t code, CompressorKind kind);

  // For the PCM compressors whose encoder follows the sample size ('twos',
  // 'sowt', 'lpcm'): the encoding for 8, 16, 24 or 32 bits (any other size
  // takes 16). Nothing for other compressors.
  static const PcmEncoding* pcmEncoding(uint32_t code, int32_t sampleSize);
};

}  // namespace qrl::settings

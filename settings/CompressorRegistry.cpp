#include "settings/CompressorRegistry.h"

#include "platform/quicktime/FourCC.h"

namespace qrl::settings {

namespace {

using quicktime::fourCC;
constexpr CompressorKind V = CompressorKind::Video;
constexpr CompressorKind S = CompressorKind::Sound;

// One row per compressor, in the order the search yields them. The names are
// ours; encoders, formats and profiles are what FFmpeg 5.1 needs to write the
// codec into a QuickTime movie (fileFormat where its movie writer tags the
// result differently from the code).
constexpr Compressor kCompressors[] = {
    {fourCC("avc1"), V, "H.264 (AVC) video", "libx264", "h264", "yuv420p", "", "", 0},
    {fourCC("hvc1"), V, "HEVC (H.265) video", "libx265", "hevc", "yuv420p", "", "", 0},
    {fourCC("mp4v"), V, "MPEG-4 Part 2 video", "mpeg4", "mpeg4", "yuv420p", "", "", 0},
    {fourCC("jpeg"), V, "JPEG frames", "mjpeg", "mjpeg", "yuvj420p", "", "", 0},
    {fourCC("mjpa"), V, "Motion JPEG, format A", "mjpeg", "mjpeg", "yuvj422p", "", "", 0},
    {fourCC("mjpb"), V, "Motion JPEG, format B", "", "mjpegb", "", "", "", 0},
    {fourCC("png "), V, "PNG frames", "png", "png", "rgb24", "rgba", "", 0},
    {fourCC("tiff"), V, "TIFF frames", "tiff", "tiff", "rgb24", "rgba", "", 0},
    {fourCC("raw "), V, "Uncompressed RGB", "rawvideo", "rawvideo", "rgb24", "argb", "", 0},
    {fourCC("rle "), V, "Animation (run-length RGB)", "qtrle", "qtrle", "rgb24", "argb", "", 0},
    {fourCC("apco"), V, "ProRes 422 Proxy", "prores_ks", "prores", "yuv422p10le", "", "0", 0},
    {fourCC("apcs"), V, "ProRes 422 LT", "prores_ks", "prores", "yuv422p10le", "", "1", 0},
    {fourCC("apcn"), V, "ProRes 422", "prores_ks", "prores", "yuv422p10le", "", "2", 0},
    {fourCC("apch"), V, "ProRes 422 HQ", "prores_ks", "prores", "yuv422p10le", "", "3", 0},
    {fourCC("ap4h"), V, "ProRes 4444", "prores_ks", "prores", "yuv444p10le", "yuva444p10le", "4",
     0},
    {fourCC("ap4x"), V, "ProRes 4444 XQ", "prores_ks", "prores", "yuv444p10le", "yuva444p10le", "5",
     0},
    // DNxHD proper allows a few frame sizes and data rates only; its DNxHR
    // profiles take any size, and FFmpeg tags them 'AVdh'.
    {fourCC("AVdn"), V, "Avid DNxHD / DNxHR", "dnxhd", "dnxhd", "yuv422p", "", "dnxhr_sq",
     fourCC("AVdh")},
    {fourCC("AVdh"), V, "Avid DNxHR", "dnxhd", "dnxhd", "yuv422p", "", "dnxhr_sq", 0},
    {fourCC("v210"), V, "Uncompressed 10-bit 4:2:2", "v210", "v210", "yuv422p10le", "", "", 0},
    {fourCC("cvid"), V, "Cinepak", "cinepak", "cinepak", "rgb24", "", "", 0},
    {fourCC("SVQ3"), V, "Sorenson Video 3", "", "svq3", "", "", "", 0},

    {fourCC("twos"), S, "Signed PCM, big-endian", "pcm_s16be", "pcm_s16be", "s16", "", "", 0},
    {fourCC("sowt"), S, "Signed PCM, little-endian", "pcm_s16le", "pcm_s16le", "s16", "", "", 0},
    {fourCC("lpcm"), S, "Linear PCM", "pcm_s16le", "pcm_s16le", "s16", "", "", fourCC("sowt")},
    {fourCC("in24"), S, "24-bit integer PCM", "pcm_s24be", "pcm_s24be", "s32", "", "", 0},
    {fourCC("in32"), S, "32-bit integer PCM", "pcm_s32be", "pcm_s32be", "s32", "", "", 0},
    {fourCC("fl32"), S, "32-bit floating-point PCM", "pcm_f32be", "pcm_f32be", "flt", "", "", 0},
    {fourCC("fl64"), S, "64-bit floating-point PCM", "pcm_f64be", "pcm_f64be", "dbl", "", "", 0},
    {fourCC("raw "), S, "Unsigned 8-bit PCM", "pcm_u8", "pcm_u8", "u8", "", "", 0},
    {fourCC("ulaw"), S, "mu-law 2:1", "pcm_mulaw", "pcm_mulaw", "s16", "", "", 0},
    {fourCC("alaw"), S, "A-law 2:1", "pcm_alaw", "pcm_alaw", "s16", "", "", 0},
    {fourCC("ima4"), S, "IMA ADPCM 4:1", "adpcm_ima_qt", "adpcm_ima_qt", "s16p", "", "", 0},
    {fourCC("aac "), S, "AAC audio", "aac", "aac", "fltp", "", "", fourCC("mp4a")},
    {fourCC("alac"), S, "Apple Lossless audio", "alac", "alac", "s16p", "", "", 0},
    {fourCC("MAC3"), S, "MACE 3:1", "", "mace3", "", "", "", 0},
    {fourCC("MAC6"), S, "MACE 6:1", "", "mace6", "", "", "", 0},
    {fourCC("QDM2"), S, "QDesign Music 2", "", "qdm2", "", "", "", 0},
};

struct PcmRow {
  uint32_t code;
  int32_t sampleSize;
  PcmEncoding encoding;
};

// FFmpeg's movie writer tags 8-bit signed PCM 'sowt' and 24- and 32-bit
// integer PCM 'in24' and 'in32' whatever the code asked for.
constexpr PcmRow kPcm[] = {
    {fourCC("twos"), 8, {"pcm_s8", "u8", fourCC("sowt")}},
    {fourCC("twos"), 16, {"pcm_s16be", "s16", fourCC("twos")}},
    {fourCC("twos"), 24, {"pcm_s24be", "s32", fourCC("in24")}},
    {fourCC("twos"), 32, {"pcm_s32be", "s32", fourCC("in32")}},
    {fourCC("sowt"), 8, {"pcm_s8", "u8", fourCC("sowt")}},
    {fourCC("sowt"), 16, {"pcm_s16le", "s16", fourCC("sowt")}},
    {fourCC("sowt"), 24, {"pcm_s24le", "s32", fourCC("in24")}},
    {fourCC("sowt"), 32, {"pcm_s32le", "s32", fourCC("in32")}},
    {fourCC("lpcm"), 8, {"pcm_s8", "u8", fourCC("sowt")}},
    {fourCC("lpcm"), 16, {"pcm_s16le", "s16", fourCC("sowt")}},
    {fourCC("lpcm"), 24, {"pcm_s24le", "s32", fourCC("in24")}},
    {fourCC("lpcm"), 32, {"pcm_s32le", "s32", fourCC("in32")}},
};

}  // namespace

std::span<const Compressor> CompressorRegistry::all() {
  return kCompressors;
}

const Compressor* CompressorRegistry::find(uint32_t code) {
  for (const auto& c : kCompressors) {
    if (c.code == code)
      return &c;
  }
  return nullptr;
}

const Compressor* CompressorRegistry::find(uint32_t code, CompressorKind kind) {
  for (const auto& c : kCompressors) {
    if (c.code == code && c.kind == kind)
      return &c;
  }
  return nullptr;
}

const PcmEncoding* CompressorRegistry::pcmEncoding(uint32_t code, int32_t sampleSize) {
  if (sampleSize != 8 && sampleSize != 24 && sampleSize != 32)
    sampleSize = 16;
  for (const auto& row : kPcm) {
    if (row.code == code && row.sampleSize == sampleSize)
      return &row.encoding;
  }
  return nullptr;
}

}  // namespace qrl::settings

#pragma once

#include <cstdint>

namespace qrl {

// Frame rates cross every interface as these small codes, never as floats.
// Unscoped with a fixed underlying type so that unknown values still travel.
enum QRLVideoFrameRate : uint32_t {
  QRLVideoFrameRate24 = 0,
  QRLVideoFrameRate23_976 = 1,
  QRLVideoFrameRatePAL = 2,
  QRLVideoFrameRate25p = 3,
  QRLVideoFrameRate50i = 4,
  QRLVideoFrameRate29_97 = 5,
  QRLVideoFrameRate30 = 6,
  QRLVideoFrameRate59_94i = 7,
  QRLVideoFrameRate50p = 8,
  QRLVideoFrameRate60p = 9,
  QRLVideoFrameRateUndefined = 10,
};

// The older family of codes that the timecode-track code still uses.
enum QRLMovieRateDefinition : uint32_t {
  QRLMovieRate2997Drop = 100,
  QRLMovieRate2997 = 101,
  QRLMovieRate25 = 102,
  QRLMovieRate24 = 103,
  QRLMovieRate5994 = 104,
  QRLMovieRate50 = 105,
  QRLMovieRateReserved = 106,
  QRLMovieRateUnknown = 107,
  QRLMovieRate5994Alt = 108,
  QRLMovieRate50i = 109,
  QRLMovieRate30 = 110,
  QRLMovieRate25p = 111,
  QRLMovieRate2398 = 112,
  QRLMovieRate60 = 113,
};

enum QRLScanType : uint32_t {
  QRLScanTypeProgressive = 0,
  QRLScanTypeInterlaced = 1,
};

enum QRLFrameRateViewType : uint32_t {
  QRLFrameRateViewTypeAsDefined = 0,
  QRLFrameRateViewTypeProgressive = 1,
};

}  // namespace qrl

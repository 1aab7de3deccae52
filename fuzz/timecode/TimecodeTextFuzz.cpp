// Timecode text and numbers from arbitrary bytes: the first 12 bytes become a rate and a
// frame count, the rest is the text. Nothing may crash, hang or allocate without bound,
// and the few invariants below must hold.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "timecode/QRLTimecodeUtility.h"

namespace {

using qrl::QRLTimecodeUtility;

void require(bool condition) {
  if (!condition) {
    __builtin_trap();
  }
}

template <class T>
T take(const uint8_t*& data, size_t& size) {
  T value{};
  if (size >= sizeof value) {
    std::memcpy(&value, data, sizeof value);
    data += sizeof value;
    size -= sizeof value;
  }
  return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using U = QRLTimecodeUtility;
  double rate = take<double>(data, size);
  int32_t frames = take<int32_t>(data, size);
  std::string text(reinterpret_cast<const char*>(data), size);
  auto code = static_cast<qrl::QRLVideoFrameRate>(static_cast<uint32_t>(frames) % 12);
  auto definition =
      static_cast<qrl::QRLMovieRateDefinition>(98 + static_cast<uint32_t>(frames) % 18);
  bool flag = (frames & 1) != 0;
  // A caller converts its rate to a whole number only when it fits; the bytes may hold NaN.
  int32_t wholeRate =
      std::isfinite(rate) && std::fabs(rate) < 2.0e9 ? static_cast<int32_t>(rate) : 0;
  U utility;

  bool valid = U::isValidTimeCode(text);
  require(valid == utility.timecodeIsValid(text));
  std::string forced = U::augmentTimecodeDropFrame(text, flag);
  require(valid ? U::isValidTimeCode(forced) && U::timecodeIsDropFrame(forced) == flag
                : forced == text);
  if (auto reversed = U::reverseTimecodeString(text)) {
    require(U::reverseTimecodeString(*reversed).has_value());
  }
  U::timecodeIsDropFrame(text);
  utility.timecodeHasDropFrameIndicator(text);
  U::totalFramesInTimeCode(text, rate, flag);
  utility.framesRepresentedByTimecode(text, code);
  U::adjustTimecode(text, definition, qrl::QRLMovieRate30);
  try {
    utility.progressiveTimecodeForInterlacedVideoFrameRate(code, text);
  } catch (const std::out_of_range&) {
  }
  try {
    U::incrementTimecode(text, frames, wholeRate);
  } catch (const std::domain_error&) {
  }
  auto series =
      U::timecodeSeriesForStartTimecode(text, frames & 63, static_cast<float>(rate), flag);
  require(series.size() == static_cast<size_t>(frames & 63));
  try {
    U::timecodeSeriesForFrames(frames & 63, frames, static_cast<float>(rate), flag);
  } catch (const std::domain_error&) {
  }
  U::timecodeFromFrames(frames, rate, flag);
  utility.timecodeFromFrames(frames, code, static_cast<qrl::QRLFrameRateViewType>(flag));
  U::videoFrameRateFromFrameRateDescription(text, static_cast<qrl::QRLScanType>(flag));
  U::movieRateFromString(text, flag);
  U::videoFrameRateFromNumericRate(rate);
  U::movieRateFromNumber(rate);
  U counter(static_cast<float>(rate), text);
  counter.timecodeAtFrame(frames);
  return 0;
}

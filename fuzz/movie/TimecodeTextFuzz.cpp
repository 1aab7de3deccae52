// Timecode text into records and timecode definitions into rate codes: any
// bytes must give an answer or the documented overflow, never a crash.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "movie/QRLQuickTime32.h"
#include "movie/QRLQuickTimeUtility32.h"
#include "movie/QuickTimeUtilities.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace qrl;
  std::string text(reinterpret_cast<const char*>(data), size);
  quicktime::TimeCodeRecord record;
  try {
    QRLQuickTimeUtility32::convertStringToTimeCodeRecord(text.c_str(), &record);
  } catch (const std::length_error&) {
    // Text of 15 bytes or more (up to its first NUL) is refused.
  }
  QuickTimeUtilities::isFrameRateNTSC(text);

  quicktime::TimeCodeDef definition;
  if (size >= 13) {
    std::memcpy(&definition.flags, data, 4);
    std::memcpy(&definition.fTimeScale, data + 4, 4);
    std::memcpy(&definition.frameDuration, data + 8, 4);
    definition.numFrames = data[12];
  }
  auto rate = QRLQuickTimeUtility32::findTimeCodeRateDefinitionFromTimecodeDef(definition);
  QRLQuickTimeUtility32::findTimeCodeDefinitionFromRate(rate);
  QRLQuickTimeUtility32::timeCodeDefinitionFromRate(rate);
  QRLQuickTime32().videoFrameRateFromTimecodeDef(definition);
  return 0;
}

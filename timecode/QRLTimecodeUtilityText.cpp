#include "timecode/QRLTimecodeUtility.h"

#include <ctime>

#include "timecode/TimecodeDetail.h"

namespace qrl {
namespace {

using timecode_detail::CodeUnits;

constexpr size_t kTimecodeLength = 11;
constexpr size_t kSeparatorIndex = 8;

bool isValid(const CodeUnits& units) {
  if (units.size() != kTimecodeLength) {
    return false;
  }
  for (size_t i = 0; i < kTimecodeLength; ++i) {
    // Only the low byte of each code unit is judged, so U+0131 passes for '1'.
    auto byte = static_cast<unsigned char>(units[i] & 0xFF);
    if (i == 2 || i == 5) {
      if (byte != ':')
        return false;
    } else if (i == kSeparatorIndex) {
      if (byte != ':' && byte != ';')
        return false;
    } else if (byte < '0' || byte > '9') {
      return false;
    }
  }
  return true;
}

std::string withSeparator(std::string_view timecode, bool dropFrame) {
  CodeUnits units(timecode);
  if (!isValid(units)) {
    return std::string(timecode);
  }
  std::string out = units.slice(0, kSeparatorIndex);
  out.push_back(dropFrame ? ';' : ':');
  out += units.slice(kSeparatorIndex + 1, kTimecodeLength - kSeparatorIndex - 1);
  return out;
}

std::string clockTimecode(std::chrono::system_clock::time_point date) {
  std::time_t seconds = std::chrono::system_clock::to_time_t(date);
  std::tm local{};
  if (localtime_r(&seconds, &local) == nullptr) {
    return QRLTimecodeUtility::freshNonDropFrameTimecode();
  }
  std::string timecode = QRLTimecodeUtility::timecodeSegmentFromInteger(local.tm_hour) + ":" +
                         QRLTimecodeUtility::timecodeSegmentFromInteger(local.tm_min) + ":" +
                         QRLTimecodeUtility::timecodeSegmentFromInteger(local.tm_sec) + ":00";
  return QRLTimecodeUtility::isValidTimeCode(timecode)
             ? timecode
             : QRLTimecodeUtility::freshNonDropFrameTimecode();
}

}  // namespace

bool QRLTimecodeUtility::timecodeIsValid(std::string_view timecode) const {
  return isValidTimeCode(timecode);
}

bool QRLTimecodeUtility::isValidTimeCode(std::string_view timecode) {
  return isValid(CodeUnits(timecode));
}

bool QRLTimecodeUtility::timecodeHasDropFrameIndicator(std::string_view timecode) const {
  CodeUnits units(timecode);
  return isValid(units) && units[kSeparatorIndex] == ';';
}

bool QRLTimecodeUtility::timecodeIsDropFrame(std::string_view timecode) {
  CodeUnits units(timecode);
  return units.size() > kSeparatorIndex && units[kSeparatorIndex] == ';';
}

std::string QRLTimecodeUtility::forceTimecodeToMatchDropFrameFormat(std::string_view timecode,
                                                                    bool dropFrame) const {
  return withSeparator(timecode, dropFrame);
}

std::string QRLTimecodeUtility::augmentTimecodeDropFrame(std::string_view timecode,
                                                         bool dropFrameStatus) {
  return withSeparator(timecode, dropFrameStatus);
}

std::string QRLTimecodeUtility::timecodeSegmentFromInteger(int32_t value) {
  char buffer[12];
  return std::string(buffer, timecode_detail::writeSegment(buffer, value));
}

std::string QRLTimecodeUtility::formatTimeCodeSegmentFromInteger(int32_t value) {
  return timecodeSegmentFromInteger(value);
}

std::string QRLTimecodeUtility::timecodeFromHours(int32_t hours, int32_t minutes, int32_t seconds,
                                                  int32_t frames, bool dropFrame) {
  return timecode_detail::joinTimecode(hours, minutes, seconds, dropFrame ? ';' : ':', frames);
}

std::optional<std::string> QRLTimecodeUtility::reverseTimecodeString(std::string_view timecode) {
  CodeUnits units(timecode);
  bool hadSemicolon = false;
  std::u16string digits;
  for (size_t i = 0; i < units.size(); ++i) {
    char16_t unit = units[i];
    hadSemicolon = hadSemicolon || unit == ';';
    if (unit != ';' && unit != ':') {
      digits.push_back(unit);
    }
  }
  if (digits.size() != 8) {
    return std::nullopt;
  }
  // Pairs in reverse order; the drop-frame mark now follows the frames.
  std::u16string reversed = digits.substr(6, 2);
  reversed.push_back(hadSemicolon ? u';' : u':');
  reversed += digits.substr(4, 2);
  reversed.push_back(u':');
  reversed += digits.substr(2, 2);
  reversed.push_back(u':');
  reversed += digits.substr(0, 2);
  std::string out;
  timecode_detail::appendUtf8(out, reversed);
  return out;
}

std::string QRLTimecodeUtility::defaultTimecode() {
  return freshNonDropFrameTimecode();
}

std::string QRLTimecodeUtility::freshNonDropFrameTimecode() {
  return "00:00:00:00";
}

std::string QRLTimecodeUtility::freshDropFrameTimecode() {
  return "00:00:00;00";
}

std::string QRLTimecodeUtility::dateToTimecode(std::chrono::system_clock::time_point date) const {
  return clockTimecode(date);
}

std::string QRLTimecodeUtility::timecodeFromDate(std::chrono::system_clock::time_point date) {
  return clockTimecode(date);
}

}  // namespace qrl

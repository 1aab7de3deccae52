#include "timecode/QRLTimecodeUtility.h"

#include <array>
#include <utility>

#include "timecode/FrameRateCatalogue.h"
#include "timecode/TimecodeDetail.h"

namespace qrl {
namespace {

namespace catalogue = frame_rate_catalogue;
using catalogue::videoFrameRateRow;
using Row = catalogue::VideoFrameRateRow;

QRLVideoFrameRate videoCode(uint32_t code) {
  return static_cast<QRLVideoFrameRate>(code);
}

// A flag of the code's row; false outside the table.
bool flagOf(QRLVideoFrameRate rate, bool Row::*flag) {
  const Row* row = videoFrameRateRow(rate);
  return row != nullptr && row->*flag;
}

// An equivalent from the code's row; outside the table a code is its own progressive,
// drop-frame, non-drop and viewing equivalent and has no interlaced or PAL one.
QRLVideoFrameRate equivalentOf(QRLVideoFrameRate rate, uint32_t Row::*column,
                               QRLVideoFrameRate outside) {
  const Row* row = videoFrameRateRow(rate);
  return row != nullptr ? videoCode(row->*column) : outside;
}

// The codes of the rows that pass, in code order.
template <class Test>
std::vector<QRLVideoFrameRate> codesWhere(Test test) {
  std::vector<QRLVideoFrameRate> out;
  for (const auto& row : catalogue::kVideoFrameRates) {
    if (test(row))
      out.push_back(videoCode(row.code));
  }
  return out;
}

// Lists with an order of their own.
constexpr std::array kOldFrameRates = {QRLMovieRate2997Drop, QRLMovieRate2997,     QRLMovieRate25,
                                       QRLMovieRate24,       QRLMovieRateReserved, QRLMovieRate5994,
                                       QRLMovieRate50,       QRLMovieRate5994Alt,  QRLMovieRate50i,
                                       QRLMovieRate30,       QRLMovieRate25p,      QRLMovieRate2398,
                                       QRLMovieRate60};
constexpr std::array<int32_t, 7> kMovieRates = {101, 100, 110, 102, 103, 104, 105};

// The numeric lookup, tried in this order: equal after rounding to hundredths, or strictly
// inside the window around it where there is one. 60 and 50 depend on the scan type.
struct NumberMatch {
  double rounded;
  bool hasWindow;
  double low, high;
  QRLVideoFrameRate progressive, interlaced;
};
constexpr NumberMatch kNumberMatches[] = {
    {60.0, false, 0, 0, QRLVideoFrameRate60p, QRLVideoFrameRate59_94i},
    {59.94, true, 59.93, 59.95, QRLVideoFrameRate59_94i, QRLVideoFrameRate59_94i},
    {50.0, false, 0, 0, QRLVideoFrameRate50p, QRLVideoFrameRate50i},
    {30.0, false, 0, 0, QRLVideoFrameRate30, QRLVideoFrameRate30},
    {29.97, true, 29.96, 29.98, QRLVideoFrameRate29_97, QRLVideoFrameRate29_97},
    {25.0, false, 0, 0, QRLVideoFrameRate25p, QRLVideoFrameRate25p},
    {24.0, false, 0, 0, QRLVideoFrameRate24, QRLVideoFrameRate24},
    {23.98, true, 23.97, 23.99, QRLVideoFrameRate23_976, QRLVideoFrameRate23_976},
};

QRLVideoFrameRate codeForNumber(double raw, bool interlaced) {
  double r = timecode_detail::roundedToHundredths(raw);
  for (const auto& match : kNumberMatches) {
    if (r == match.rounded || (match.hasWindow && raw > match.low && raw < match.high))
      return interlaced ? match.interlaced : match.progressive;
  }
  return QRLVideoFrameRateUndefined;
}

}  // namespace

double QRLTimecodeUtility::numericRateForVideoFrameRate(QRLVideoFrameRate rate) {
  const auto* row = videoFrameRateRow(rate);
  return row ? row->numericRate : 0.0;
}

double QRLTimecodeUtility::numericRateForVideoFrameRate(QRLVideoFrameRate rate,
                                                        QRLFrameRateViewType viewType) {
  return numericRateForVideoFrameRate(videoFrameRateEquivalentForFrameRate(rate, viewType));
}

std::string QRLTimecodeUtility::stringRateForVideoFrameRate(QRLVideoFrameRate rate) {
  return timecode_detail::shortestDecimal(numericRateForVideoFrameRate(rate));
}

QRLVideoFrameRate QRLTimecodeUtility::videoFrameRateFromNumericRate(double rate) {
  return videoFrameRateFromNumericRate(rate, defaultScanType());
}

QRLVideoFrameRate QRLTimecodeUtility::videoFrameRateFromNumericRate(double rate,
                                                                    QRLScanType scanType) {
  return codeForNumber(rate, scanType == QRLScanTypeInterlaced);
}

QRLVideoFrameRate QRLTimecodeUtility::frameRateForDouble(double rate) {
  return codeForNumber(rate, false);
}

QRLVideoFrameRate QRLTimecodeUtility::videoFrameRateFromFrameRateDescription(
    std::string_view description) {
  auto first = description.find_first_not_of(" \t");
  if (first == std::string_view::npos) {
    return QRLVideoFrameRateUndefined;
  }
  description = description.substr(first, description.find_last_not_of(" \t") - first + 1);
  if (description.size() < 2) {
    return QRLVideoFrameRateUndefined;
  }
  static constexpr std::pair<std::string_view, QRLVideoFrameRate> kPrefixes[] = {
      {"60", QRLVideoFrameRate60p}, {"59", QRLVideoFrameRate59_94i}, {"50", QRLVideoFrameRate50p},
      {"30", QRLVideoFrameRate30},  {"29", QRLVideoFrameRate29_97},  {"25", QRLVideoFrameRate25p},
      {"24", QRLVideoFrameRate24},  {"23", QRLVideoFrameRate23_976}};
  for (const auto& [prefix, rate] : kPrefixes) {
    if (description.starts_with(prefix)) {
      return rate;
    }
  }
  return QRLVideoFrameRateUndefined;
}

QRLVideoFrameRate QRLTimecodeUtility::videoFrameRateFromFrameRateDescription(
    std::string_view description, QRLScanType scanType) {
  QRLVideoFrameRate rate = videoFrameRateFromFrameRateDescription(description);
  if (rate == QRLVideoFrameRateUndefined) {
    return rate;
  }
  if (scanType == QRLScanTypeInterlaced && videoFrameRateIsProgressive(rate)) {
    return interlacedEquivalentForVideoFrameRate(rate);
  }
  if (scanType == QRLScanTypeProgressive && videoFrameRateIsInterlaced(rate)) {
    return progressiveEquivalentForVideoFrameRate(rate);
  }
  return rate;
}

bool QRLTimecodeUtility::videoFrameRateIsNTSC(QRLVideoFrameRate rate) {
  return flagOf(rate, &Row::isNtsc);
}
bool QRLTimecodeUtility::videoFrameRateIsDropFrame(QRLVideoFrameRate rate) {
  return flagOf(rate, &Row::isDropFrame);
}
bool QRLTimecodeUtility::videoFrameRateIsProgressive(QRLVideoFrameRate rate) {
  const auto* row = videoFrameRateRow(rate);
  return row && !row->isInterlaced;
}
bool QRLTimecodeUtility::videoFrameRateIsInterlaced(QRLVideoFrameRate rate) {
  return flagOf(rate, &Row::isInterlaced);
}
bool QRLTimecodeUtility::frameRateIsDrop(QRLVideoFrameRate rate) {
  return videoFrameRateIsDropFrame(rate);
}

std::vector<QRLVideoFrameRate> QRLTimecodeUtility::ntscFrameRates() {
  return codesWhere([](const auto& row) { return row.isNtsc; });
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::palVideoFrameRates() {
  return codesWhere([](const auto& row) { return row.isPal; });
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::dropFrameVideoFrameRates() {
  return codesWhere([](const auto& row) { return row.isDropFrame; });
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::nonDropFrameVideoFrameRates() {
  return codesWhere([](const auto& row) { return !row.isDropFrame; });
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::progressiveVideoFrameRates() {
  return codesWhere([](const auto& row) { return !row.isInterlaced; });
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::interlacedVideoFrameRates() {
  return codesWhere([](const auto& row) { return row.isInterlaced; });
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::allDefinedVideoFrameRates() {
  return codesWhere([](const auto&) { return true; });
}
std::vector<QRLMovieRateDefinition> QRLTimecodeUtility::allDefinedOldFrameRates() {
  return {kOldFrameRates.begin(), kOldFrameRates.end()};
}
std::vector<int32_t> QRLTimecodeUtility::allDefinedMovieRates() {
  return {kMovieRates.begin(), kMovieRates.end()};
}

QRLVideoFrameRate QRLTimecodeUtility::progressiveEquivalentForVideoFrameRate(
    QRLVideoFrameRate rate) {
  return equivalentOf(rate, &Row::progressive, rate);
}

QRLVideoFrameRate QRLTimecodeUtility::interlacedEquivalentForVideoFrameRate(
    QRLVideoFrameRate rate) {
  return equivalentOf(rate, &Row::interlaced, QRLVideoFrameRateUndefined);
}

QRLVideoFrameRate QRLTimecodeUtility::dropFrameEquivalentForVideoFrameRate(QRLVideoFrameRate rate) {
  return equivalentOf(rate, &Row::dropFrame, rate);
}

QRLVideoFrameRate QRLTimecodeUtility::nonDropFrameEquivalentForVideoFrameRate(
    QRLVideoFrameRate rate) {
  return equivalentOf(rate, &Row::nonDropFrame, rate);
}

QRLVideoFrameRate QRLTimecodeUtility::palEquivalentForVideoFrameRate(QRLVideoFrameRate rate) {
  return equivalentOf(rate, &Row::pal, QRLVideoFrameRateUndefined);
}

QRLVideoFrameRate QRLTimecodeUtility::adjustVideoFrameRateToViewingFrameRate(
    QRLVideoFrameRate rate) {
  return equivalentOf(rate, &Row::viewing, rate);
}

QRLVideoFrameRate QRLTimecodeUtility::videoFrameRateEquivalentForFrameRate(
    QRLVideoFrameRate rate, QRLFrameRateViewType basedOnViewType) {
  if (basedOnViewType == QRLFrameRateViewTypeProgressive && videoFrameRateIsInterlaced(rate)) {
    return progressiveEquivalentForVideoFrameRate(rate);
  }
  return rate;
}

// The class forms of the drop-frame and non-drop equivalents: they skip the membership test
// the instance forms make first, and agree with them on every code.
QRLVideoFrameRate QRLTimecodeUtility::dropFrameRateForNonDropFrameRate(QRLVideoFrameRate rate) {
  return dropFrameEquivalentForVideoFrameRate(rate);
}

QRLVideoFrameRate QRLTimecodeUtility::nonDropFrameRateForDropFrameRate(QRLVideoFrameRate rate) {
  return nonDropFrameEquivalentForVideoFrameRate(rate);
}

QRLVideoFrameRate QRLTimecodeUtility::convertOldFrameRateDefinition(
    QRLMovieRateDefinition definition) {
  return videoCode(catalogue::movieRateRow(definition).videoFrameRate);
}

QRLMovieRateDefinition QRLTimecodeUtility::convertVideoFrameRateDefinitionToOld(
    QRLVideoFrameRate rate) {
  for (auto definition : kOldFrameRates) {
    if (convertOldFrameRateDefinition(definition) == rate) {
      return definition;
    }
  }
  return QRLMovieRateUnknown;
}

int32_t QRLTimecodeUtility::numericMovieRateFromRateDefinitions(QRLMovieRateDefinition definition) {
  return catalogue::movieRateRow(definition).numericRate;
}

std::string QRLTimecodeUtility::movieRateFromRateDefinition(QRLMovieRateDefinition definition) {
  return std::string(catalogue::movieRateRow(definition).text);
}

QRLMovieRateDefinition QRLTimecodeUtility::movieRateFromString(std::string_view text,
                                                               bool withDropFrame) {
  QRLMovieRateDefinition ntsc = withDropFrame ? QRLMovieRate2997Drop : QRLMovieRate2997;
  // Substrings anywhere, first hit wins; the order decides cases such as "23.976" (103
  // through "23") and "2530" (102), so keep it.
  const std::pair<std::string_view, QRLMovieRateDefinition> needles[] = {
      {"29.97", ntsc},
      {"2997", ntsc},
      {"24", QRLMovieRate24},
      {"23", QRLMovieRate24},
      {"25", QRLMovieRate25},
      {"30", QRLMovieRate30},
      {"50", QRLMovieRate50},
      {"5994", QRLMovieRate5994},
      {"59.94", QRLMovieRate5994}};
  for (const auto& [needle, definition] : needles) {
    if (text.find(needle) != std::string_view::npos) {
      return definition;
    }
  }
  return QRLMovieRateUnknown;
}

QRLMovieRateDefinition QRLTimecodeUtility::movieRateFromNumber(double number) {
  std::string text = timecode_detail::shortestDecimal(number);
  if (text.size() < 2) {
    return QRLMovieRateUnknown;
  }
  std::string_view head = std::string_view(text).substr(0, 2);
  if (head == "29")
    return QRLMovieRate2997;
  if (head == "23" || head == "24")
    return QRLMovieRate24;
  if (head == "25")
    return QRLMovieRate25;
  if (head == "50")
    return QRLMovieRate50;
  if (head == "59")
    return QRLMovieRate5994;
  return QRLMovieRateUnknown;
}

double QRLTimecodeUtility::adjustedFrameRate(double /*rate*/, bool /*forDropFrame*/) {
  return 0.0;
}

QRLFrameRateViewType QRLTimecodeUtility::defaultViewType() {
  return sharedInstance().frameRateViewType();
}

}  // namespace qrl

#include "timecode/QRLTimecodeUtility.h"

#include <algorithm>
#include <array>

#include "timecode/TimecodeDetail.h"

namespace qrl {
namespace {

// Numeric rates of codes 0-9 in code order. 4 (50i) and 8 (50p) hold 59.94 on purpose:
// other code computes with exactly these numbers.
constexpr std::array<double, 10> kNumericRates = {24.0,  23.976, 25.0,  25.0,  59.94,
                                                  29.97, 30.0,   59.94, 59.94, 60.0};

constexpr std::array kDefinedRates = {
    QRLVideoFrameRate24,  QRLVideoFrameRate23_976, QRLVideoFrameRatePAL, QRLVideoFrameRate25p,
    QRLVideoFrameRate50i, QRLVideoFrameRate29_97,  QRLVideoFrameRate30,  QRLVideoFrameRate59_94i,
    QRLVideoFrameRate50p, QRLVideoFrameRate60p};
constexpr std::array kNtscRates = {QRLVideoFrameRate23_976, QRLVideoFrameRate29_97,
                                   QRLVideoFrameRate59_94i};
constexpr std::array kDropFrameRates = kNtscRates;
constexpr std::array kInterlacedRates = {QRLVideoFrameRate50i, QRLVideoFrameRate59_94i};
constexpr std::array kPalRates = {QRLVideoFrameRatePAL};

constexpr std::array kOldFrameRates = {QRLMovieRate2997Drop, QRLMovieRate2997,     QRLMovieRate25,
                                       QRLMovieRate24,       QRLMovieRateReserved, QRLMovieRate5994,
                                       QRLMovieRate50,       QRLMovieRate5994Alt,  QRLMovieRate50i,
                                       QRLMovieRate30,       QRLMovieRate25p,      QRLMovieRate2398,
                                       QRLMovieRate60};
constexpr std::array<int32_t, 7> kMovieRates = {101, 100, 110, 102, 103, 104, 105};

// One row per movie rate definition 100-113.
struct MovieRateRow {
  QRLVideoFrameRate videoRate;
  int32_t numericRate;
  const char* text;
};
constexpr std::array<MovieRateRow, 14> kMovieRateRows = {{
    {QRLVideoFrameRate29_97, 30, "2997"},    // 100
    {QRLVideoFrameRate30, 30, "2997"},       // 101
    {QRLVideoFrameRatePAL, 25, "25"},        // 102
    {QRLVideoFrameRate24, 24, "24"},         // 103
    {QRLVideoFrameRate59_94i, 60, "5994"},   // 104
    {QRLVideoFrameRate50p, 50, "50"},        // 105
    {QRLVideoFrameRateUndefined, 30, "30"},  // 106, listed but unconvertible
    {QRLVideoFrameRateUndefined, 30, "30"},  // 107
    {QRLVideoFrameRate59_94i, 60, "5994"},   // 108
    {QRLVideoFrameRate50i, 50, "25"},        // 109
    {QRLVideoFrameRate30, 30, "30"},         // 110
    {QRLVideoFrameRate25p, 30, "30"},        // 111, rate and text disagree on purpose
    {QRLVideoFrameRate24, 24, "30"},         // 112, likewise
    {QRLVideoFrameRate60p, 60, "30"},        // 113
}};

const MovieRateRow* movieRateRow(QRLMovieRateDefinition definition) {
  if (definition < QRLMovieRate2997Drop || definition > QRLMovieRate60) {
    return nullptr;
  }
  return &kMovieRateRows[definition - QRLMovieRate2997Drop];
}

template <class List>
bool contains(const List& list, QRLVideoFrameRate rate) {
  return std::find(list.begin(), list.end(), rate) != list.end();
}

template <class List>
std::vector<QRLVideoFrameRate> definedExcept(const List& excluded) {
  std::vector<QRLVideoFrameRate> out;
  for (auto rate : kDefinedRates) {
    if (!contains(excluded, rate)) {
      out.push_back(rate);
    }
  }
  return out;
}

// The numeric lookup shared by both forms; sixty and fifty decide 60p/59.94i and 50p/50i.
QRLVideoFrameRate codeForNumber(double raw, QRLVideoFrameRate sixty, QRLVideoFrameRate fifty) {
  double r = timecode_detail::roundedToHundredths(raw);
  if (r == 60.0)
    return sixty;
  if (r == 59.94 || (raw > 59.93 && raw < 59.95))
    return QRLVideoFrameRate59_94i;
  if (r == 50.0)
    return fifty;
  if (r == 30.0)
    return QRLVideoFrameRate30;
  if (r == 29.97 || (raw > 29.96 && raw < 29.98))
    return QRLVideoFrameRate29_97;
  if (r == 25.0)
    return QRLVideoFrameRate25p;
  if (r == 24.0)
    return QRLVideoFrameRate24;
  if (r == 23.98 || (raw > 23.97 && raw < 23.99))
    return QRLVideoFrameRate23_976;
  return QRLVideoFrameRateUndefined;
}

}  // namespace

double QRLTimecodeUtility::numericRateForVideoFrameRate(QRLVideoFrameRate rate) {
  return rate < kNumericRates.size() ? kNumericRates[rate] : 0.0;
}

double QRLTimecodeUtility::numericRateForVideoFrameRate(QRLVideoFrameRate rate,
                                                        QRLFrameRateViewType viewType) {
  if (viewType == QRLFrameRateViewTypeProgressive) {
    if (rate == QRLVideoFrameRate59_94i)
      return 29.97;
    if (rate == QRLVideoFrameRate50i)
      return 25.0;
  }
  return numericRateForVideoFrameRate(rate);
}

std::string QRLTimecodeUtility::stringRateForVideoFrameRate(QRLVideoFrameRate rate) {
  return timecode_detail::shortestDecimal(numericRateForVideoFrameRate(rate));
}

QRLVideoFrameRate QRLTimecodeUtility::videoFrameRateFromNumericRate(double rate) {
  return videoFrameRateFromNumericRate(rate, defaultScanType());
}

QRLVideoFrameRate QRLTimecodeUtility::videoFrameRateFromNumericRate(double rate,
                                                                    QRLScanType scanType) {
  bool interlaced = scanType == QRLScanTypeInterlaced;
  return codeForNumber(rate, interlaced ? QRLVideoFrameRate59_94i : QRLVideoFrameRate60p,
                       interlaced ? QRLVideoFrameRate50i : QRLVideoFrameRate50p);
}

QRLVideoFrameRate QRLTimecodeUtility::frameRateForDouble(double rate) {
  return codeForNumber(rate, QRLVideoFrameRate60p, QRLVideoFrameRate50p);
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
  return contains(kNtscRates, rate);
}
bool QRLTimecodeUtility::videoFrameRateIsDropFrame(QRLVideoFrameRate rate) {
  return contains(kDropFrameRates, rate);
}
bool QRLTimecodeUtility::videoFrameRateIsProgressive(QRLVideoFrameRate rate) {
  return contains(kDefinedRates, rate) && !contains(kInterlacedRates, rate);
}
bool QRLTimecodeUtility::videoFrameRateIsInterlaced(QRLVideoFrameRate rate) {
  return contains(kInterlacedRates, rate);
}
bool QRLTimecodeUtility::frameRateIsDrop(QRLVideoFrameRate rate) {
  return rate == QRLVideoFrameRate23_976 || rate == QRLVideoFrameRate29_97 ||
         rate == QRLVideoFrameRate59_94i;
}

std::vector<QRLVideoFrameRate> QRLTimecodeUtility::ntscFrameRates() {
  return {kNtscRates.begin(), kNtscRates.end()};
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::palVideoFrameRates() {
  return {kPalRates.begin(), kPalRates.end()};
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::dropFrameVideoFrameRates() {
  return {kDropFrameRates.begin(), kDropFrameRates.end()};
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::nonDropFrameVideoFrameRates() {
  return definedExcept(kDropFrameRates);
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::progressiveVideoFrameRates() {
  return definedExcept(kInterlacedRates);
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::interlacedVideoFrameRates() {
  return {kInterlacedRates.begin(), kInterlacedRates.end()};
}
std::vector<QRLVideoFrameRate> QRLTimecodeUtility::allDefinedVideoFrameRates() {
  return {kDefinedRates.begin(), kDefinedRates.end()};
}
std::vector<QRLMovieRateDefinition> QRLTimecodeUtility::allDefinedOldFrameRates() {
  return {kOldFrameRates.begin(), kOldFrameRates.end()};
}
std::vector<int32_t> QRLTimecodeUtility::allDefinedMovieRates() {
  return {kMovieRates.begin(), kMovieRates.end()};
}

QRLVideoFrameRate QRLTimecodeUtility::progressiveEquivalentForVideoFrameRate(
    QRLVideoFrameRate rate) {
  if (rate == QRLVideoFrameRate50i)
    return QRLVideoFrameRate25p;
  if (rate == QRLVideoFrameRate59_94i)
    return QRLVideoFrameRate29_97;
  return rate;
}

QRLVideoFrameRate QRLTimecodeUtility::interlacedEquivalentForVideoFrameRate(
    QRLVideoFrameRate rate) {
  if (videoFrameRateIsInterlaced(rate))
    return rate;
  if (rate == QRLVideoFrameRate29_97)
    return QRLVideoFrameRate59_94i;
  if (rate == QRLVideoFrameRate25p)
    return QRLVideoFrameRate50i;
  return QRLVideoFrameRateUndefined;
}

QRLVideoFrameRate QRLTimecodeUtility::dropFrameEquivalentForVideoFrameRate(QRLVideoFrameRate rate) {
  if (videoFrameRateIsDropFrame(rate))
    return rate;
  return dropFrameRateForNonDropFrameRate(rate);
}

QRLVideoFrameRate QRLTimecodeUtility::nonDropFrameEquivalentForVideoFrameRate(
    QRLVideoFrameRate rate) {
  if (contains(nonDropFrameVideoFrameRates(), rate))
    return rate;
  return nonDropFrameRateForDropFrameRate(rate);
}

QRLVideoFrameRate QRLTimecodeUtility::palEquivalentForVideoFrameRate(QRLVideoFrameRate rate) {
  return rate <= QRLVideoFrameRatePAL ? QRLVideoFrameRatePAL : QRLVideoFrameRateUndefined;
}

QRLVideoFrameRate QRLTimecodeUtility::adjustVideoFrameRateToViewingFrameRate(
    QRLVideoFrameRate rate) {
  if (rate == QRLVideoFrameRate60p)
    return QRLVideoFrameRate30;
  if (rate == QRLVideoFrameRate50p)
    return QRLVideoFrameRate25p;
  return rate;
}

QRLVideoFrameRate QRLTimecodeUtility::videoFrameRateEquivalentForFrameRate(
    QRLVideoFrameRate rate, QRLFrameRateViewType basedOnViewType) {
  if (basedOnViewType == QRLFrameRateViewTypeProgressive && videoFrameRateIsInterlaced(rate)) {
    return progressiveEquivalentForVideoFrameRate(rate);
  }
  return rate;
}

QRLVideoFrameRate QRLTimecodeUtility::dropFrameRateForNonDropFrameRate(QRLVideoFrameRate rate) {
  if (rate == QRLVideoFrameRate60p)
    return QRLVideoFrameRate59_94i;
  if (rate == QRLVideoFrameRate30)
    return QRLVideoFrameRate29_97;
  if (rate == QRLVideoFrameRate24)
    return QRLVideoFrameRate23_976;
  return rate;
}

QRLVideoFrameRate QRLTimecodeUtility::nonDropFrameRateForDropFrameRate(QRLVideoFrameRate rate) {
  if (rate == QRLVideoFrameRate23_976)
    return QRLVideoFrameRate24;
  if (rate == QRLVideoFrameRate29_97)
    return QRLVideoFrameRate30;
  if (rate == QRLVideoFrameRate59_94i)
    return QRLVideoFrameRate60p;
  return rate;
}

QRLVideoFrameRate QRLTimecodeUtility::convertOldFrameRateDefinition(
    QRLMovieRateDefinition definition) {
  const MovieRateRow* row = movieRateRow(definition);
  return row ? row->videoRate : QRLVideoFrameRateUndefined;
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
  const MovieRateRow* row = movieRateRow(definition);
  return row ? row->numericRate : 30;
}

std::string QRLTimecodeUtility::movieRateFromRateDefinition(QRLMovieRateDefinition definition) {
  const MovieRateRow* row = movieRateRow(definition);
  return row ? row->text : "30";
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

#include "apps/qrl/OverlayOptions.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "apps/qrl/Arguments.h"
#include "apps/qrl/FrameRateNames.h"
#include "timecode/QRLTimecodeUtility.h"

namespace qrl::app {
namespace {

// Comma-separated whole numbers, each within [low, high]; nothing for any other text.
std::optional<std::vector<int32_t>> numbers(std::string_view text, int32_t low, int32_t high) {
  std::vector<int32_t> values;
  size_t start = 0;
  while (true) {
    size_t comma = text.find(',', start);
    auto value = parseInt32(text.substr(start, comma - start));
    if (!value || *value < low || *value > high)
      return std::nullopt;
    values.push_back(*value);
    if (comma == std::string_view::npos)
      return values;
    start = comma + 1;
  }
}

constexpr int32_t kLargestPixel = 1 << 20;

}  // namespace

std::optional<Point> pointFromText(std::string_view text) {
  auto values = numbers(text, 0, kLargestPixel);
  if (!values || values->size() != 2)
    return std::nullopt;
  return Point{static_cast<float>((*values)[0]), static_cast<float>((*values)[1])};
}

std::optional<Size> sizeFromText(std::string_view text) {
  auto values = numbers(text, 1, kLargestPixel);
  if (!values || values->size() != 2)
    return std::nullopt;
  return Size{static_cast<float>((*values)[0]), static_cast<float>((*values)[1])};
}

std::optional<graphics::Color> colorFromText(std::string_view text) {
  auto values = numbers(text, 0, 255);
  if (!values || (values->size() != 3 && values->size() != 4))
    return std::nullopt;
  values->resize(4, 255);
  const auto& v = *values;
  return graphics::Color::colorWithCalibratedRed(v[0] / 255.0, v[1] / 255.0, v[2] / 255.0,
                                                 v[3] / 255.0);
}

std::optional<int32_t> fontSizeFromText(std::string_view text) {
  auto size = parseInt32(text);
  if (!size || *size < 1 || *size > QRLQTOverlayWriter::kMaximumFontSize)
    return std::nullopt;
  return size;
}

std::optional<QRLVideoFrameRate> frameRateFromText(std::string_view text) {
  if (auto named = videoFrameRateFromName(text))
    return named;
  const auto defined = QRLTimecodeUtility::allDefinedVideoFrameRates();
  if (auto code = parseInt32(text)) {
    auto found = std::find(defined.begin(), defined.end(), *code);
    if (found != defined.end())
      return static_cast<QRLVideoFrameRate>(*code);
  }
  // The engine looks at the first two characters only, so insist on a number first.
  if (text.empty() || !std::isdigit(static_cast<unsigned char>(text.front())))
    return std::nullopt;
  auto described = QRLTimecodeUtility::videoFrameRateFromFrameRateDescription(text);
  if (described == QRLVideoFrameRateUndefined)
    return std::nullopt;
  return described;
}

ProgressReporter::ProgressReporter(std::ostream& err, std::string label)
    : err_(err), label_(std::move(label)), terminal_(isatty(STDERR_FILENO) == 1) {}

QRLQTOverlayWriter::Progress ProgressReporter::callback() {
  return [this](Duration done, Duration total) {
    const double whole = total.seconds();
    report(whole > 0 ? std::clamp(done.seconds() / whole, 0.0, 1.0) : 1.0);
  };
}

void ProgressReporter::report(double fraction) {
  constexpr int kBarWidth = 40;
  const int percent = static_cast<int>(fraction * 100.0);
  if (terminal_) {
    if (percent == shown_)
      return;
    const int filled = static_cast<int>(fraction * kBarWidth);
    err_ << "\r" << label_ << " [" << std::string(filled, '#')
         << std::string(kBarWidth - filled, ' ') << "] " << percent << "%" << std::flush;
  } else {
    // A log file gets a line at each tenth rather than one per frame.
    if (percent / 10 == shown_ / 10 && shown_ >= 0)
      return;
    err_ << label_ << ": " << percent / 10 * 10 << "%\n";
  }
  shown_ = percent;
}

void ProgressReporter::finish() {
  if (terminal_ && shown_ >= 0)
    err_ << "\n";
  shown_ = -1;
}

}  // namespace qrl::app

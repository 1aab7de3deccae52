#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "movie/QRLQTOverlayWriter.h"
#include "platform/base/Point.h"
#include "platform/base/Size.h"
#include "platform/graphics/Color.h"
#include "timecode/QRLVideoFrameRate.h"

namespace qrl::app {

// Option values of the overlay commands. Each gives nothing for text it does not read
// whole, so the caller can name the option in its complaint.

// "X,Y": whole pixels from the lower left, not negative.
std::optional<Point> pointFromText(std::string_view text);
// "W,H": whole pixels, both above zero.
std::optional<Size> sizeFromText(std::string_view text);
// "R,G,B" or "R,G,B,A", each 0 to 255; alpha defaults to opaque.
std::optional<graphics::Color> colorFromText(std::string_view text);
// 1 to the overlay writer's largest font size.
std::optional<int32_t> fontSizeFromText(std::string_view text);
// A rate name ("29.97", "pal", "60p"), a rate code ("5"), or a description the timecode
// engine reads ("29.97 DF", "59.94").
std::optional<QRLVideoFrameRate> frameRateFromText(std::string_view text);

// Reports a long operation's progress on standard error: a redrawn bar when that is a
// terminal, otherwise a line at each tenth.
class ProgressReporter {
 public:
  ProgressReporter(std::ostream& err, std::string label);
  QRLQTOverlayWriter::Progress callback();
  // Ends the bar's line, when one was drawn.
  void finish();

 private:
  void report(double fraction);
  std::ostream& err_;
  std::string label_;
  bool terminal_;
  int shown_ = -1;
};

}  // namespace qrl::app

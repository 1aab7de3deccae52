// The overlay commands' option values and the argument splitter from arbitrary bytes: the
// input, split at NUL bytes, is a command line, and each piece is also read as every kind of
// value. Nothing may crash, and what is accepted must be within the documented ranges.
#include <cstdint>
#include <string>
#include <vector>

#include "apps/qrl/Arguments.h"
#include "apps/qrl/OverlayOptions.h"
#include "timecode/QRLTimecodeUtility.h"

namespace {

void require(bool condition) {
  if (!condition) {
    __builtin_trap();
  }
}

void readAsValues(const std::string& text) {
  using namespace qrl::app;
  if (auto point = pointFromText(text))
    require(point->x >= 0 && point->y >= 0);
  if (auto size = sizeFromText(text))
    require(size->width >= 1 && size->height >= 1);
  if (auto color = colorFromText(text)) {
    for (double c : {color->red, color->green, color->blue, color->alpha})
      require(c >= 0.0 && c <= 1.0);
  }
  if (auto fontSize = fontSizeFromText(text))
    require(*fontSize >= 1 && *fontSize <= qrl::QRLQTOverlayWriter::kMaximumFontSize);
  if (auto rate = frameRateFromText(text))
    require(*rate != qrl::QRLVideoFrameRateUndefined);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> args(1);
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == 0)
      args.emplace_back();
    else
      args.back().push_back(static_cast<char>(data[i]));
  }
  for (const auto& arg : args)
    readAsValues(arg);
  std::string error;
  auto parsed = qrl::app::Arguments::parse(args, {"--at", "--color", "--rate"}, {"--drop"}, error);
  require(parsed.has_value() || !error.empty());
  qrl::app::wantsHelp(args);
  return 0;
}

// qrl burn-timecode, qrl watermark and qrl text: lay pictures over a movie's video in
// place with the overlay writer, in this process.
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "apps/qrl/Arguments.h"
#include "apps/qrl/Command.h"
#include "apps/qrl/FrameRateNames.h"
#include "apps/qrl/OverlayOptions.h"
#include "movie/QRLQTOverlayWriter.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"
#include "platform/quicktime/Movie.h"
#include "timecode/QRLTimecodeUtility.h"

namespace qrl::app {
namespace {

const std::string kBurnHelp =
    std::string(R"(usage: qrl burn-timecode MOVIE --start TC --rate RATE [--font-size N]
                          [--color R,G,B[,A]] [--background R,G,B[,A]] [--at X,Y]

Burns the running timecode into every frame of MOVIE, saved in place: a hidden
timecode track starting at TC (HH:MM:SS:FF, ';' before the frames for drop-frame)
and an overlay video track holding each frame's timecode as a picture.
  --rate RATE       )") +
    frameRateNames() + R"(,
                    a rate code (0-9), or a description such as "29.97 DF"
  --font-size N     text size in points (default 24)
  --color R,G,B[,A] text colour, each 0-255 (default 255,255,255)
  --background ...  a box behind the text (default none)
  --at X,Y          where the text starts, pixels from the lower left (default 10,10)
Progress goes to standard error.

exit status: 0 burnt, 1 the movie or a value was refused (nothing is saved then),
2 bad command line.
)";

constexpr const char* kWatermarkHelp = R"(usage: qrl watermark MOVIE IMAGE --at X,Y [--size W,H]

Lays the picture in IMAGE (PNG, JPEG, TIFF...) over MOVIE for its whole length,
saved in place, at X,Y pixels from the lower left, at its own size or W,H.

exit status: 0 laid over, 1 the movie or image was refused (nothing is saved then),
2 bad command line.
)";

constexpr const char* kTextHelp =
    R"(usage: qrl text MOVIE TEXT [--at X,Y] [--font-size N] [--color R,G,B[,A]]
                [--background R,G,B[,A]]

Lays one line of TEXT over MOVIE for its whole length, saved in place.
  --at X,Y          pixels from the lower left (default 10,10)
  --font-size N     size in points (default 24)
  --color R,G,B[,A] each 0-255 (default 255,255,255)
  --background ...  a box behind the text (default none)

exit status: 0 laid over, 1 the movie or a value was refused (nothing is saved then),
2 bad command line.
)";

constexpr int32_t kDefaultFontSize = 24;
constexpr Point kDefaultLocation{10, 10};

// The common options, read once; `failed` names the first bad one.
struct OverlayLook {
  Point at = kDefaultLocation;
  int32_t fontSize = kDefaultFontSize;
  graphics::Color color = graphics::Color::whiteColor();
  std::optional<graphics::Color> background;
};

bool readLook(const Arguments& parsed, OverlayLook& look, std::string& failed) {
  if (auto at = parsed.value("--at"); at && !(pointFromText(*at))) {
    failed = "--at wants X,Y in whole pixels, not '" + *at + "'";
    return false;
  } else if (at) {
    look.at = *pointFromText(*at);
  }
  if (auto size = parsed.value("--font-size")) {
    auto read = fontSizeFromText(*size);
    if (!read) {
      failed = "--font-size wants a whole number from 1 to " +
               std::to_string(QRLQTOverlayWriter::kMaximumFontSize) + ", not '" + *size + "'";
      return false;
    }
    look.fontSize = *read;
  }
  for (const char* option : {"--color", "--background"}) {
    auto text = parsed.value(option);
    if (!text)
      continue;
    auto color = colorFromText(*text);
    if (!color) {
      failed = std::string(option) + " wants R,G,B or R,G,B,A from 0 to 255, not '" + *text + "'";
      return false;
    }
    if (std::string_view(option) == "--color")
      look.color = *color;
    else
      look.background = color;
  }
  return true;
}

// The movie's track count, or a complaint on err when it does not open.
std::optional<size_t> trackCount(const std::string& path, const char* name, std::ostream& err) {
  try {
    return quicktime::Movie::open(path)->trackCount();
  } catch (const Exception& e) {
    err << "qrl " << name << ": " << path << ": not opened as a movie: " << e.what() << "\n";
    return std::nullopt;
  }
}

// The writer logs why it refused and saves nothing; pass its lines on.
int refused(const char* name, const process::CapturingLog& log, std::ostream& err) {
  err << "qrl " << name << ": nothing was saved";
  for (const auto& line : log.messages())
    err << "\n  " << line;
  err << "\n";
  return kExitFailed;
}

int usage(const char* name, const std::string& error, std::ostream& err) {
  err << "qrl " << name << ": " << error << " (see qrl " << name << " --help)\n";
  return kExitUsage;
}

}  // namespace

int runBurnTimecodeCommand(const std::vector<std::string>& args, std::ostream& out,
                           std::ostream& err) {
  constexpr const char* kName = "burn-timecode";
  if (wantsHelp(args)) {
    out << kBurnHelp;
    return kExitOk;
  }
  std::string error;
  auto parsed = Arguments::parse(
      args, {"--start", "--rate", "--font-size", "--color", "--background", "--at"}, {}, error);
  if (!parsed)
    return usage(kName, error, err);
  if (parsed->positionals().size() != 1)
    return usage(kName, "expected one MOVIE", err);
  auto start = parsed->value("--start");
  auto rateText = parsed->value("--rate");
  if (!start || !rateText)
    return usage(kName, "--start and --rate are required", err);
  auto rate = frameRateFromText(*rateText);
  if (!rate)
    return usage(kName, "unknown rate '" + *rateText + "'", err);
  OverlayLook look;
  if (!readLook(*parsed, look, error))
    return usage(kName, error, err);

  const std::string& path = parsed->positionals().front();
  std::unique_ptr<quicktime::Movie> movie;
  try {
    movie = quicktime::Movie::open(path);
  } catch (const Exception& e) {
    err << "qrl " << kName << ": " << path << ": not opened as a movie: " << e.what() << "\n";
    return kExitFailed;
  }
  process::CapturingLog log;
  ProgressReporter progress(err, "burning");
  auto* track = QRLQTOverlayWriter().addTimecodeBurnToMovie(
      movie.get(), *start, *rate, look.at, static_cast<uint32_t>(look.fontSize), look.color,
      look.background, progress.callback());
  progress.finish();
  if (track == nullptr)
    return refused(kName, log, err);
  out << path << ": timecode from " << *start << " at "
      << QRLTimecodeUtility::stringRateForVideoFrameRate(*rate) << " fps burnt into "
      << track->media().sampleTable().sampleCount() << " frames\n";
  return kExitOk;
}

int runWatermarkCommand(const std::vector<std::string>& args, std::ostream& out,
                        std::ostream& err) {
  constexpr const char* kName = "watermark";
  if (wantsHelp(args)) {
    out << kWatermarkHelp;
    return kExitOk;
  }
  std::string error;
  auto parsed = Arguments::parse(args, {"--at", "--size"}, {}, error);
  if (!parsed)
    return usage(kName, error, err);
  if (parsed->positionals().size() != 2)
    return usage(kName, "expected MOVIE and IMAGE", err);
  auto atText = parsed->value("--at");
  if (!atText)
    return usage(kName, "--at is required", err);
  auto at = pointFromText(*atText);
  if (!at)
    return usage(kName, "--at wants X,Y in whole pixels, not '" + *atText + "'", err);
  std::optional<Size> size;
  if (auto sizeText = parsed->value("--size")) {
    size = sizeFromText(*sizeText);
    if (!size)
      return usage(kName, "--size wants W,H above zero, not '" + *sizeText + "'", err);
  }
  const std::string& path = parsed->positionals()[0];
  const std::string& imagePath = parsed->positionals()[1];
  std::ifstream in(imagePath, std::ios::binary);
  if (!in) {
    err << "qrl " << kName << ": " << imagePath << ": cannot be read\n";
    return kExitFailed;
  }
  std::vector<uint8_t> image((std::istreambuf_iterator<char>(in)),
                             std::istreambuf_iterator<char>());
  auto before = trackCount(path, kName, err);
  if (!before)
    return kExitFailed;
  process::CapturingLog log;
  if (size)
    QRLQTOverlayWriter().overlayWatermarkImage(image, path, *at, *size);
  else
    QRLQTOverlayWriter().overlayWatermarkImage(image, path, *at);
  auto after = trackCount(path, kName, err);
  if (!after || *after <= *before)
    return refused(kName, log, err);
  out << path << ": " << imagePath << " laid over\n";
  return kExitOk;
}

int runTextCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  constexpr const char* kName = "text";
  if (wantsHelp(args)) {
    out << kTextHelp;
    return kExitOk;
  }
  std::string error;
  auto parsed =
      Arguments::parse(args, {"--at", "--font-size", "--color", "--background"}, {}, error);
  if (!parsed)
    return usage(kName, error, err);
  if (parsed->positionals().size() != 2)
    return usage(kName, "expected MOVIE and TEXT", err);
  OverlayLook look;
  if (!readLook(*parsed, look, error))
    return usage(kName, error, err);
  const std::string& path = parsed->positionals()[0];
  auto before = trackCount(path, kName, err);
  if (!before)
    return kExitFailed;
  process::CapturingLog log;
  QRLQTOverlayWriter().overlayTextualMessage(parsed->positionals()[1], path, look.at, look.fontSize,
                                             look.color, look.background);
  auto after = trackCount(path, kName, err);
  if (!after || *after <= *before)
    return refused(kName, log, err);
  out << path << ": text laid over\n";
  return kExitOk;
}

}  // namespace qrl::app

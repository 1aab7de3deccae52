// qrl settings: describe and make QuickTime compression-settings containers.
#include <cmath>
#include <iomanip>
#include <ostream>
#include <string>
#include <vector>

#include "apps/qrl/Arguments.h"
#include "apps/qrl/Command.h"
#include "platform/base/Exception.h"
#include "platform/quicktime/AtomContainer.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/JsonMovieDescriber.h"
#include "platform/quicktime/TextMovieDescriber.h"
#include "settings/CompressorRegistry.h"
#include "settings/MovieExporter.h"
#include "settings/SettingsDescriber.h"
#include "settings/SettingsFile.h"
#include "settings/SettingsPresets.h"

namespace qrl::app {
namespace {

using settings::CompressorKind;
using settings::CompressorRegistry;

constexpr const char* kHelp =
    R"help(usage: qrl settings describe [--json] FILE
       qrl settings describe [--json] --preset
       qrl settings make [OPTIONS] -o FILE
       qrl settings codecs
       qrl settings preset

Compression settings are QuickTime atom containers, as movie exporters keep
them: the codec, size, frame rate and data rate of the picture, the codec,
rate, sample size and channels of the sound. A FILE holds the container's
bytes, or the same bytes as hexadecimal text (also inside "QT(...)").

describe   prints the container's atoms, the settings parser's fields (raw, as
           the conduit's parents know them, and derived), how each section's
           numbers were stored, and the export parameters they give: encoder,
           pixel or sample format and the numbers. --preset describes the
           shipped "Large.txt".
make       writes a container with these settings (anything not given keeps the
           default: H.264 at the source's size and frame rate, no sound):
  --codec CODE          video compressor, a four-character code such as avc1,
                        hvc1, apcn, png (see 'qrl settings codecs')
  --size WxH            picture size in pixels, e.g. 1280x720; "source" keeps it
  --rate R              frames per second: 25, 29.97, 30000/1001 or "source"
  --data-rate R         bits per second: 5000000, 5000k, 5M; 0 for no limit
  --key-frames N        at most N frames between key frames; 0 for the encoder's
  --quality Q           least, low, normal, high, max, lossless, or 0 to 1024
  --alpha               keep an alpha channel (32 bits) where the codec can
  --audio SPEC          CODEC[:RATE[:CHANNELS[:BITS]]], e.g. aac:48000:2 or
                        sowt:44100:2:24; "none" for no sound (the default)
  -o, --output FILE     where to write (replaced only once written in full)
  --hex                 write hexadecimal text instead of bytes
codecs     lists the compressors settings may name, with their FFmpeg encoders.
preset     prints where the shipped "Large.txt" was found.

exit status: 0 done, 1 the file is missing, unreadable or not settings, or could
not be written, 2 bad command line.
)help";

int usage(std::ostream& err, const std::string& message) {
  err << "qrl settings: " << message << "\n\n" << kHelp;
  return kExitUsage;
}

// A compressor code as typed: up to four characters, padded with spaces.
std::optional<uint32_t> codeFromText(std::string_view text) {
  if (text.empty() || text.size() > 4)
    return std::nullopt;
  uint32_t code = 0;
  for (size_t i = 0; i < 4; ++i)
    code = (code << 8) | static_cast<uint8_t>(i < text.size() ? text[i] : ' ');
  return code;
}

// "WxH" with both in 1 … 32767, or "source" (0 x 0).
std::optional<std::pair<int32_t, int32_t>> sizeFromText(std::string_view text) {
  if (text == "source")
    return std::pair<int32_t, int32_t>{0, 0};
  size_t x = text.find('x');
  if (x == std::string_view::npos)
    return std::nullopt;
  auto w = parseInt32(text.substr(0, x));
  auto h = parseInt32(text.substr(x + 1));
  if (!w || !h || *w < 1 || *h < 1 || *w > 32767 || *h > 32767)
    return std::nullopt;
  return std::pair{*w, *h};
}

// "N/D", a whole or decimal number of frames per second, or "source" (0/1).
std::optional<std::pair<int32_t, int32_t>> rateFromText(std::string_view text) {
  if (text == "source")
    return std::pair<int32_t, int32_t>{0, 1};
  if (size_t slash = text.find('/'); slash != std::string_view::npos) {
    auto n = parseInt32(text.substr(0, slash));
    auto d = parseInt32(text.substr(slash + 1));
    if (!n || !d || *n < 1 || *d < 1 || *n / *d > 240)
      return std::nullopt;
    return std::pair{*n, *d};
  }
  auto fps = parseDouble(text);
  if (!fps || *fps <= 0 || *fps > 240)
    return std::nullopt;
  // Kept as 16.16 in the container; the exporter reads NTSC rates back exactly.
  return std::pair{static_cast<int32_t>(std::llround(*fps * 65536)), 65536};
}

// Bits per second with an optional k or M.
std::optional<int64_t> bitRateFromText(std::string_view text) {
  int64_t scale = 1;
  if (!text.empty() && (text.back() == 'k' || text.back() == 'K')) {
    scale = 1000;
    text.remove_suffix(1);
  } else if (!text.empty() && text.back() == 'M') {
    scale = 1000000;
    text.remove_suffix(1);
  }
  auto value = parseDouble(text);
  if (!value || *value < 0 || *value * double(scale) > 8.0 * INT32_MAX)
    return std::nullopt;
  return static_cast<int64_t>(std::llround(*value * double(scale)));
}

std::optional<int32_t> qualityFromText(std::string_view text) {
  const std::pair<std::string_view, int32_t> names[] = {{"least", 0},      {"low", 0x100},
                                                        {"normal", 0x200}, {"high", 0x300},
                                                        {"max", 0x3FF},    {"lossless", 0x400}};
  for (auto [name, value] : names) {
    if (text == name)
      return value;
  }
  auto value = parseInt32(text);
  if (!value || *value < 0 || *value > 0x400)
    return std::nullopt;
  return value;
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t at; (at = text.find(separator, start)) != std::string::npos; start = at + 1)
    parts.push_back(text.substr(start, at - start));
  parts.push_back(text.substr(start));
  return parts;
}

// Fills the sound settings from "CODEC[:RATE[:CHANNELS[:BITS]]]"; an error
// message for what it cannot read.
std::string soundFromText(const std::string& text, quicktime::SoundExportParameters& sound) {
  if (text == "none") {
    sound.enabled = false;
    return "";
  }
  auto parts = split(text, ':');
  if (parts.size() > 4)
    return "--audio takes at most CODEC:RATE:CHANNELS:BITS";
  auto code = codeFromText(parts[0]);
  if (!code || !CompressorRegistry::find(*code, CompressorKind::Sound))
    return "unknown sound codec '" + parts[0] + "' (see 'qrl settings codecs')";
  sound.enabled = true;
  sound.codec = *code;
  const struct {
    int32_t* field;
    int32_t low, high;
    const char* what;
  } numbers[] = {{&sound.sampleRate, 8000, 65535, "sample rate (8000 to 65535 Hz)"},
                 {&sound.channels, 1, 32, "channel count (1 to 32)"},
                 {&sound.sampleSize, 8, 32, "sample size (8, 16, 24 or 32 bits)"}};
  for (size_t i = 1; i < parts.size(); ++i) {
    auto value = parseInt32(parts[i]);
    const auto& n = numbers[i - 1];
    if (!value || *value < n.low || *value > n.high || (i == 3 && *value % 8 != 0))
      return "bad " + std::string(n.what) + " '" + parts[i] + "' in --audio";
    *n.field = *value;
  }
  return "";
}

int runDescribe(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string error;
  auto parsed = Arguments::parse(args, {}, {"--json", "--preset"}, error);
  if (!parsed)
    return usage(err, error);
  bool preset = parsed->has("--preset");
  if (parsed->positionals().size() != (preset ? 0u : 1u))
    return usage(err, preset ? "--preset takes no FILE" : "describe needs one FILE");
  std::filesystem::path path =
      preset ? settings::SettingsPresets::find(settings::SettingsPresets::kLarge)
             : std::filesystem::path(parsed->positionals()[0]);
  auto container = quicktime::AtomContainer::read(settings::SettingsFile::read(path));
  if (parsed->has("--json")) {
    quicktime::JsonMovieDescriber printer(out);
    settings::SettingsDescriber::describe(container, printer);
  } else {
    out << "file: " << path.string() << "\n";
    quicktime::TextMovieDescriber printer(out);
    settings::SettingsDescriber::describe(container, printer);
  }
  return kExitOk;
}

int runMake(std::vector<std::string> args, std::ostream& out, std::ostream& err) {
  for (auto& arg : args) {
    if (arg == "-o")
      arg = "--output";
  }
  std::string error;
  auto parsed = Arguments::parse(args,
                                 {"--codec", "--size", "--rate", "--data-rate", "--key-frames",
                                  "--quality", "--audio", "--output"},
                                 {"--alpha", "--hex"}, error);
  if (!parsed)
    return usage(err, error);
  if (!parsed->positionals().empty())
    return usage(err, "unexpected argument '" + parsed->positionals()[0] + "'");
  auto output = parsed->value("--output");
  if (!output)
    return usage(err, "make needs -o FILE");

  settings::MovieExporter exporter;
  quicktime::ExportParameters p = exporter.parameters();
  auto& video = p.video;
  if (auto text = parsed->value("--codec")) {
    auto code = codeFromText(*text);
    if (!code || !CompressorRegistry::find(*code, CompressorKind::Video))
      return usage(err, "unknown video codec '" + *text + "' (see 'qrl settings codecs')");
    video.codec = *code;
  }
  if (auto text = parsed->value("--size")) {
    auto size = sizeFromText(*text);
    if (!size)
      return usage(err, "bad --size '" + *text + "' (WxH, 1 to 32767 each, or source)");
    std::tie(video.width, video.height) = *size;
  }
  if (auto text = parsed->value("--rate")) {
    auto rate = rateFromText(*text);
    if (!rate)
      return usage(err, "bad --rate '" + *text + "' (up to 240 frames per second, or source)");
    std::tie(video.frameRateNumerator, video.frameRateDenominator) = *rate;
  }
  if (auto text = parsed->value("--data-rate")) {
    auto rate = bitRateFromText(*text);
    if (!rate)
      return usage(err, "bad --data-rate '" + *text + "' (bits per second, e.g. 5M or 800k)");
    video.bitRate = *rate;
  }
  if (auto text = parsed->value("--key-frames")) {
    auto frames = parseInt32(*text);
    if (!frames || *frames < 0)
      return usage(err, "bad --key-frames '" + *text + "'");
    video.keyFrameInterval = *frames;
  }
  if (auto text = parsed->value("--quality")) {
    auto quality = qualityFromText(*text);
    if (!quality)
      return usage(err, "bad --quality '" + *text + "'");
    video.spatialQuality = *quality;
    video.temporalQuality = *quality;
  }
  if (parsed->has("--alpha"))
    video.depth = 32;
  if (auto text = parsed->value("--audio")) {
    std::string problem = soundFromText(*text, p.sound);
    if (!problem.empty())
      return usage(err, problem);
  }

  exporter.setParameters(p);
  quicktime::AtomContainer container = exporter.getSettingsAsAtomContainer();
  std::vector<uint8_t> bytes(container.bytes().begin(), container.bytes().end());
  settings::SettingsFile::write(*output, bytes, parsed->has("--hex"));
  const auto& made = exporter.parameters();
  out << *output << ": " << bytes.size() << " bytes, " << quicktime::fourCCString(made.video.codec)
      << " (" << (made.video.encoder.empty() ? "no encoder" : made.video.encoder) << ")";
  if (made.sound.enabled)
    out << ", " << quicktime::fourCCString(made.sound.codec) << " sound";
  out << "\n";
  return kExitOk;
}

int runCodecs(std::ostream& out) {
  for (const auto& c : CompressorRegistry::all()) {
    out << "'" << quicktime::fourCCString(c.code) << "'  "
        << (c.kind == CompressorKind::Video ? "video" : "sound") << "  " << std::left
        << std::setw(28) << c.name << " "
        << (c.encoder.empty() ? "decode only (" + std::string(c.decoder) + ")"
                              : std::string(c.encoder))
        << "\n";
  }
  return kExitOk;
}

}  // namespace

int runSettingsCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty())
    return usage(err, "expected describe, make, codecs or preset");
  if (wantsHelp(args)) {
    out << kHelp;
    return kExitOk;
  }
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  try {
    if (action == "describe")
      return runDescribe(rest, out, err);
    if (action == "make")
      return runMake(rest, out, err);
    if ((action == "codecs" || action == "preset") && !rest.empty())
      return usage(err, action + " takes no arguments");
    if (action == "codecs")
      return runCodecs(out);
    if (action == "preset") {
      out << settings::SettingsPresets::find(settings::SettingsPresets::kLarge).string() << "\n";
      return kExitOk;
    }
  } catch (const Exception& e) {
    err << "qrl settings " << action << ": " << e.what() << "\n";
    return kExitFailed;
  }
  return usage(err, "unknown settings command '" + action + "'");
}

}  // namespace qrl::app

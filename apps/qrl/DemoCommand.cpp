// qrl demo: the main job on an embedded default. It makes a short sample movie, starts a
// conduit the way a parent application does, has the conduit add a timecode track and write
// an xmeml edit list for the movie, tours the timecode engine, and has the conduit burn the
// running timecode into the movie, rendering one frame of the result.
#include <chrono>
#include <filesystem>
#include <iomanip>
#include <ostream>

#include "apps/qrl/Arguments.h"
#include "apps/qrl/Command.h"
#include "apps/qrl/DemoBurn.h"
#include "clients/cpp/QRLConduitClient.h"
#include "fsutil/QRLFileSystemUtility.h"
#include "platform/base/Exception.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/MovieDescriber.h"
#include "platform/quicktime/TextMovieDescriber.h"
#include "timecode/QRLTimecodeUtility.h"

namespace qrl::app {
namespace {

using U = QRLTimecodeUtility;

constexpr const char* kHelp = R"(usage: qrl demo [--out DIR]

Runs the main job on an embedded default, in DIR (default: ./qrl-demo):
  1. makes a 10-second 640x360 29.97 movie with a tone (ffmpeg),
  2. starts a conduit as a parent application does and has it add a 01:00:00;00
     drop-frame timecode track to the movie, saved in place,
  3. shows the movie's tracks with the movie reader,
  4. has the conduit write an xmeml edit list for the movie,
  5. tours the timecode engine: rate codes, conversions and series,
  6. has the conduit burn the running timecode into the movie (saved in place),
     then writes frame 45 with the burn laid over the picture as
     sample-burn-frame-45.png.
It prints where everything is. Needs the ffmpeg program (scripts/setup.sh installs it).
)";

constexpr const char* kStartTimecode = "01:00:00;00";
constexpr int kRenderedFrame = 45;

std::string makeSampleMovie(const std::filesystem::path& folder) {
  QRLFileSystemUtility utility;
  auto ffmpeg = utility.pathForTerminalCommand("ffmpeg");
  if (!ffmpeg)
    throw Exception::io("the ffmpeg program is not installed (run scripts/setup.sh)");
  std::string movie = (folder / "sample.mov").string();
  std::filesystem::remove(movie);
  auto output = utility.executeTerminalCommandWithDelimitedArguments(
      *ffmpeg,
      {"-nostdin",  "-loglevel",    "error",   "-y",
       "-f",        "lavfi",        "-i",      "testsrc2=size=640x360:rate=30000/1001:duration=10",
       "-f",        "lavfi",        "-i",      "sine=frequency=440:sample_rate=48000:duration=10",
       "-c:v",      "libx264",      "-preset", "ultrafast",
       "-pix_fmt",  "yuv420p",      "-c:a",    "pcm_s16le",
       "-timecode", kStartTimecode, movie},
      true);
  if (!std::filesystem::exists(movie)) {
    throw Exception::io("ffmpeg could not make the sample movie: " + output.value_or(""));
  }
  return movie;
}

void printRates(std::ostream& out) {
  out << "Frame-rate codes:\n";
  for (auto code : U::allDefinedVideoFrameRates()) {
    out << "  " << std::setw(2) << code << "  " << std::setw(6)
        << U::stringRateForVideoFrameRate(code) << " fps"
        << (U::videoFrameRateIsDropFrame(code) ? "  drop-frame" : "")
        << (U::videoFrameRateIsInterlaced(code) ? "  interlaced" : "") << "\n";
  }
}

void printConversions(std::ostream& out) {
  U engine;
  out << "\nConversions:\n";
  auto line = [&](const std::string& what, const std::string& result) {
    out << "  " << std::left << std::setw(58) << what << std::right << result << "\n";
  };
  line("frame 17982 at 29.97 drop-frame (double precision)",
       U::timecodeFromFrames(17982, 29.97, true).value_or("-"));
  line("frame 17982 at code 5 (single precision, no re-insertion)",
       engine.timecodeFromFrames(17982, QRLVideoFrameRate29_97, QRLFrameRateViewTypeAsDefined));
  line("frame 1800 at 30 whole frames, drop-frame labels",
       U::createTimecodeFromFrames(1800, 30, true));
  line("00:10:00;00 at 30 drop-frame (broadcast count)",
       std::to_string(U::totalFramesInTimeCode("00:10:00;00", 30.0, true)));
  line("00:10:00;00 at 29.97 drop-frame (reduced twice)",
       std::to_string(U::totalFramesInTimeCode("00:10:00;00", 29.97, true)));
  line("01:00:00:15 recorded at 25, shown at 30",
       U::adjustTimecode("01:00:00:15", QRLMovieRate25, QRLMovieRate30));
  line("00:00:59:75 counted in 59.94i fields",
       engine.progressiveTimecodeForInterlacedVideoFrameRate(QRLVideoFrameRate59_94i,
                                                             "00:00:59:75"));
  line("01:02:03;04 reversed", U::reverseTimecodeString("01:02:03;04").value_or("-"));
}

void printSeries(std::ostream& out) {
  out << "\nSeries by frame number from 1796 at 29.97 (the minute turns at 1798.2 frames):\n ";
  for (const auto& entry : U::timecodeSeriesForFrames(6, 1796, 29.97f, true)) {
    out << " " << entry;
  }
  out << "\nSeries counted on from 00:00:59;28 at 29.97 (seconds show 60 before the minute "
         "turns):\n ";
  auto counted = U::timecodeSeriesForStartTimecode("00:00:59;28", 34, 29.97f, true);
  for (size_t i = 0; i < counted.size(); ++i) {
    if (i == 4 && counted.size() > 8) {
      out << " ...";
      i = counted.size() - 4;
    }
    out << " " << counted[i];
  }
  out << "\n";
}

}  // namespace

int runDemoCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (wantsHelp(args)) {
    out << kHelp;
    return kExitOk;
  }
  std::string error;
  auto parsed = Arguments::parse(args, {"--out"}, {}, error);
  if (parsed && !parsed->positionals().empty()) {
    error = "unexpected argument '" + parsed->positionals().front() + "'";
  }
  if (!parsed || !parsed->positionals().empty()) {
    err << "qrl demo: " << error << " (see qrl demo --help)\n";
    return kExitUsage;
  }
  namespace fs = std::filesystem;
  fs::path folder = fs::absolute(parsed->value("--out").value_or("qrl-demo"));
  fs::create_directories(folder);

  out << "1. Sample movie\n";
  std::string movie = makeSampleMovie(folder);
  out << "   " << movie << "\n\n2. A conduit adds a timecode track\n";
  auto started = std::chrono::steady_clock::now();
  auto conduit = client::QRLConduitClient::launch();
  auto ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started);
  out << "   conduit " << conduit->name() << " (process " << conduit->processIdentifier()
      << ") answered after " << std::fixed << std::setprecision(1) << ms.count() << " ms\n";
  bool added = conduit->quickTime().addTimecodeTrackToMovie(movie, QRLVideoFrameRate29_97,
                                                            kStartTimecode, true, 12);
  std::optional<std::string> start;
  if (added) {
    auto opened = quicktime::Movie::open(movie);
    QRLTrackReference track{movie, static_cast<int32_t>(opened->tracks().size())};
    start = conduit->quickTime().extractStartTimecodeFromTimecodeTrack(track);
  }
  out << "   "
      << (added ? "added, starting at " + start.value_or("?")
                : std::string("the timecode track could not be added"))
      << "\n\n3. The movie's tracks now\n";
  {
    auto opened = quicktime::Movie::open(movie);
    quicktime::TextMovieDescriber printer(out);
    quicktime::MovieDescriber::inspect(*opened, printer);
  }

  out << "\n4. The conduit writes an xmeml edit list\n";
  std::string xml = (folder / "sample.xml").string();
  archive::Value details(archive::Value::Dictionary{
      {"filePath", archive::Value(movie)},
      {"tc", archive::Value(start.value_or(kStartTimecode))},
      {"frame", archive::Value(static_cast<int64_t>(QRLVideoFrameRate29_97))}});
  bool written = conduit->documentWriter().saveFinalCut7XmlToPathsForTimecodeDetailsInGroup(
      {xml}, {details}, false);
  out << "   " << (written ? xml : std::string("the edit list could not be written")) << "\n";

  out << "\n5. The timecode engine\n\n";
  printRates(out);
  printConversions(out);
  printSeries(out);

  out << "\n6. The running timecode burnt in\n";
  auto png = burnTimecodeAndRenderFrame(*conduit, movie, folder, start.value_or(kStartTimecode),
                                        QRLVideoFrameRate29_97, kRenderedFrame, out);
  out << "   frame " << kRenderedFrame << ": " << png.string() << "\n";
  out << "\nOutput is in " << folder.string() << "\n";
  return added && written ? kExitOk : kExitFailed;
}

}  // namespace qrl::app

// qrl demo: a short tour of the timecode engine. It will grow into the full main job
// (sample movie, conduit, timecode track, burn-in, xmeml) as those parts arrive.
#include <iomanip>
#include <ostream>

#include "apps/qrl/Arguments.h"
#include "apps/qrl/Command.h"
#include "timecode/QRLTimecodeUtility.h"

namespace qrl::app {
namespace {

using U = QRLTimecodeUtility;

constexpr const char* kHelp = R"(usage: qrl demo

Shows the timecode engine at work: the frame-rate codes, a few conversions between frame
counts and timecodes (where the engine's families deliberately disagree), and a short
series around a minute boundary at 29.97.
)";

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
  if (!args.empty()) {
    err << "qrl demo: unexpected argument '" << args.front() << "' (see qrl demo --help)\n";
    return kExitUsage;
  }
  out << "qrl demo: the timecode engine\n\n";
  printRates(out);
  printConversions(out);
  printSeries(out);
  return kExitOk;
}

}  // namespace qrl::app

// qrl xmeml OUT.xml CLIP...: an xmeml (Final Cut Pro 7 XML) edit list for a set of clips,
// written the way the conduit's media document writer writes it.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "apps/qrl/Arguments.h"
#include "apps/qrl/Command.h"
#include "apps/qrl/FrameRateNames.h"
#include "platform/base/Exception.h"
#include "platform/quicktime/FourCC.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TimeCodeMediaHandler.h"
#include "records/QRLTimecodeDetailsWrapper.h"
#include "timecode/QRLTimecodeUtility.h"
#include "xmeml/QRLMediaDocumentWriter32.h"

namespace qrl::app {
namespace {

using U = QRLTimecodeUtility;

constexpr const char* kHelp =
    R"(usage: qrl xmeml OUT.xml [--ignore-timecode] [CLIP-OPTIONS] CLIP [[CLIP-OPTIONS] CLIP]...

Writes one xmeml document (Final Cut Pro 7 XML, version 5) with a clip element for each
movie, in the order given, to OUT.xml (replaced atomically). Each clip lists its duration,
frame rate, in and out points, file URL, start timecode with reel (the clip's folder name),
and one element per video and sound track.

clip options (they apply to the next CLIP only):
  --timecode TC   start timecode HH:MM:SS:FF (HH:MM:SS;FF for drop-frame). Without it the
                  clip's own timecode track is read; a clip without one gets no timecode.
  --rate R        frame rate: 24, 23.976, pal (25), 25p, 50i, 29.97 (drop-frame), 30,
                  59.94i, 50p, 60p. Without it the rate of the clip's timecode track is
                  used (29.97 non-drop counts as 30, which this format writes as 30 NTSC
                  FALSE), else that of its first video track, else 30.

options:
  --ignore-timecode   no timecodes at all: every clip starts at 0.

With a timecode, `in` is its frame count and `out` adds the movie's duration in movie time
units, as the conduit's writer has always done.

exit status: 0 written, 1 a clip could not be read or OUT.xml not written (nothing is
written then), 2 bad command line.
)";

struct Failure {
  int status;
  std::string message;
};

struct ClipRequest {
  std::string path;
  std::optional<std::string> timecode;
  std::optional<QRLVideoFrameRate> rate;
};

QRLVideoFrameRate rateNamed(const std::string& text) {
  if (auto code = videoFrameRateFromName(text))
    return *code;
  throw Failure{kExitUsage, "'" + text + "' is not a rate name (see --help)"};
}

// The code for a rate measured from a movie; the timecode track's drop flag
// picks between 29.97 drop-frame and its non-drop twin.
QRLVideoFrameRate codeForMeasuredRate(double rate, std::optional<bool> drop) {
  QRLVideoFrameRate code = U::videoFrameRateFromNumericRate(rate);
  if (drop && !*drop && code == QRLVideoFrameRate29_97)
    code = QRLVideoFrameRate30;
  if (drop && *drop && code == QRLVideoFrameRate30)
    code = QRLVideoFrameRate29_97;
  return code;
}

// Fills in what the command line left open from the movie itself.
QRLTimecodeDetailsWrapper recordFor(const ClipRequest& request, bool ignoreTimecode) {
  std::unique_ptr<quicktime::Movie> movie;
  try {
    movie = quicktime::Movie::open(request.path);
  } catch (const Exception& e) {
    throw Failure{kExitFailed, "cannot read the movie " + request.path + ": " + e.what()};
  }
  std::optional<std::string> timecode = request.timecode;
  std::optional<QRLVideoFrameRate> rate = request.rate;
  if (auto handler = quicktime::TimeCodeMediaHandler::forMovie(*movie)) {
    auto current = handler->currentTimeCode(Time::make(0, movie->timeScale()));
    if (current && !timecode && !ignoreTimecode)
      timecode = quicktime::TimeCodeMediaHandler::toString(current->definition, current->record);
    if (current && !rate && current->definition.frameDuration > 0) {
      double measured =
          static_cast<double>(current->definition.fTimeScale) / current->definition.frameDuration;
      rate = codeForMeasuredRate(measured, current->definition.isDropFrame());
    }
  }
  if (!rate) {
    auto videos = movie->tracksOfMediaType(quicktime::kMediaTypeVideo);
    if (!videos.empty() && videos.front()->media().sampleTable().sampleCount() > 0) {
      const auto& media = videos.front()->media();
      uint32_t frameDuration = media.sampleTable().sample(0).duration;
      if (frameDuration > 0)
        rate = codeForMeasuredRate(static_cast<double>(media.timeScale()) / frameDuration,
                                   std::nullopt);
    }
  }
  QRLTimecodeDetailsWrapper record;
  record.setSourceFilePath(request.path);
  record.setStartTimecode(timecode);
  QRLVideoFrameRate code = rate.value_or(U::defaultVideoFrameRate());
  record.setFrameRate(code == QRLVideoFrameRateUndefined ? U::defaultVideoFrameRate() : code);
  return record;
}

int run(const std::vector<std::string>& args, std::ostream& out) {
  std::optional<std::string> output;
  bool ignoreTimecode = false;
  ClipRequest pending;
  bool pendingOptions = false;
  std::vector<ClipRequest> clips;
  bool optionsEnded = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (!optionsEnded && arg == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && arg == "--ignore-timecode") {
      ignoreTimecode = true;
    } else if (!optionsEnded && (arg == "--timecode" || arg == "--rate")) {
      if (i + 1 >= args.size())
        throw Failure{kExitUsage, arg + " needs a value"};
      const std::string& value = args[++i];
      if (arg == "--rate") {
        pending.rate = rateNamed(value);
      } else {
        if (!U::isValidTimeCode(value))
          throw Failure{kExitUsage,
                        "'" + value + "' is not a timecode (HH:MM:SS:FF or HH:MM:SS;FF)"};
        pending.timecode = value;
      }
      pendingOptions = true;
    } else if (!optionsEnded && arg.starts_with("--")) {
      throw Failure{kExitUsage, "unknown option " + arg};
    } else if (!output) {
      output = arg;
    } else {
      pending.path = arg;
      clips.push_back(pending);
      pending = ClipRequest{};
      pendingOptions = false;
    }
  }
  if (!output)
    throw Failure{kExitUsage, "expected OUT.xml and at least one CLIP (see --help)"};
  if (clips.empty())
    throw Failure{kExitUsage, "expected at least one CLIP after " + *output};
  if (pendingOptions)
    throw Failure{kExitUsage, "--timecode and --rate must come before the clip they describe"};

  std::vector<QRLTimecodeDetailsWrapper> records;
  for (const ClipRequest& clip : clips)
    records.push_back(recordFor(clip, ignoreTimecode));

  QRLMediaDocumentWriter32 writer;
  if (!writer.saveFinalCut7XmlToPaths({*output}, records, ignoreTimecode))
    throw Failure{kExitFailed, "could not write " + *output};
  for (const auto& record : records) {
    out << *record.sourceFilePath() << "  "
        << (record.startTimecode() && !ignoreTimecode ? *record.startTimecode() : "no timecode")
        << " at "
        << U::stringRateForVideoFrameRate(static_cast<QRLVideoFrameRate>(record.frameRate()))
        << "\n";
  }
  out << "wrote " << *output << " (" << records.size() << " clip"
      << (records.size() == 1 ? "" : "s") << ")\n";
  return kExitOk;
}

}  // namespace

int runXmemlCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (wantsHelp(args)) {
    out << kHelp;
    return kExitOk;
  }
  try {
    return run(args, out);
  } catch (const Failure& failure) {
    err << "qrl xmeml: " << failure.message << "\n";
    if (failure.status == kExitUsage)
      err << "Run 'qrl xmeml --help' for the arguments.\n";
    return failure.status;
  }
}

}  // namespace qrl::app

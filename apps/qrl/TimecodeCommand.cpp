// qrl timecode <from-frames|to-frames|validate|reverse|series>: the timecode engine from
// the command line.
#include <algorithm>
#include <cctype>
#include <functional>
#include <ostream>

#include "apps/qrl/Arguments.h"
#include "apps/qrl/Command.h"
#include "apps/qrl/FrameRateNames.h"
#include "timecode/QRLTimecodeUtility.h"

namespace qrl::app {
namespace {

using U = QRLTimecodeUtility;

constexpr int32_t kMaxSeriesCount = 1000000;

constexpr const char* kHelp = R"(usage: qrl timecode <subcommand> [arguments]

subcommands:
  from-frames N --rate R [--drop]
      The timecode of frame count N (a signed 32-bit number), computed by the double-
      precision class conversion (+timecodeFromFrames:withFrameRate:andDropFrame:):
      the rate is matched to its frame-rate code, --drop counts at that code's
      drop-frame equivalent (30 becomes 29.97) and writes ';', otherwise its non-drop
      equivalent is used (29.97 becomes 30). Rates without a code (48, say) are refused.
  to-frames TC --rate R
      The frame count of timecode TC (+totalFramesInTimeCode:frameRate:andIsDropFrame:),
      at R rounded to two decimals, taking two frames off every minute but each tenth
      when TC carries ';'. At 29.97 that reduction comes on top of the fractional rate
      (00:10:00;00 is 17964), so it does not undo from-frames; at 30 it gives the
      broadcast count (17982).
  validate TC
      Whether TC has the timecode shape HH:MM:SS:FF or HH:MM:SS;FF (ranges are not
      checked); exit status 1 when it has not.
  reverse TC
      TC with its four pairs in the opposite order, FF:SS:MM:HH (FF;SS:MM:HH for
      drop-frame).
  series --start TC --count N --rate R [--drop]
      N consecutive timecodes counted on from TC (+timecodeSeriesForStartTimecode:...)
      at R rounded to whole frames, one per line. Seconds and minutes show 60 before
      they wrap and no frame numbers are skipped. ';' is written when --drop is given
      or TC carries ';'. N is at most 1000000.

R is a number of frames per second (23.976, 25, 29.97, 59.94, ...) or a code name:
24, 23.976, pal, 25p, 50i, 29.97, 30, 59.94i, 50p, 60p (a name stands for its table
rate; 50i and 50p hold 59.94 there).

exit status: 0 success, 1 bad timecode or rate, 2 bad command line.
)";

// Complaints carry the subcommand's name and the status to leave with.
struct Failure {
  int status;
  std::string message;
};

double rateArgument(const Arguments& args) {
  auto text = args.value("--rate");
  if (!text) {
    throw Failure{kExitUsage, "--rate is required"};
  }
  if (auto code = videoFrameRateFromName(*text))
    return U::numericRateForVideoFrameRate(*code);
  auto rate = parseDouble(*text);
  if (!rate || *rate <= 0.0) {
    throw Failure{kExitFailed,
                  "'" + *text + "' is not a frame rate (a positive number or a code name)"};
  }
  return *rate;
}

std::string timecodeArgument(const Arguments& args, std::string_view what) {
  if (args.positionals().size() != 1) {
    throw Failure{kExitUsage, "expected exactly one " + std::string(what)};
  }
  return args.positionals().front();
}

std::string validTimecode(std::string timecode) {
  if (!U::isValidTimeCode(timecode)) {
    throw Failure{kExitFailed, "'" + timecode + "' is not a timecode (HH:MM:SS:FF or HH:MM:SS;FF)"};
  }
  return timecode;
}

int32_t integerArgument(const std::string& text, std::string_view what) {
  auto value = parseInt32(text);
  if (!value) {
    throw Failure{kExitUsage, std::string(what) + " must be a whole number, not '" + text + "'"};
  }
  return *value;
}

int fromFrames(const Arguments& args, std::ostream& out) {
  int32_t frames = integerArgument(timecodeArgument(args, "frame count"), "the frame count");
  double rate = rateArgument(args);
  auto timecode = U::timecodeFromFrames(frames, rate, args.has("--drop"));
  if (!timecode) {
    throw Failure{kExitFailed, "no frame-rate code matches the rate " + *args.value("--rate") +
                                   " (known: 23.976, 24, 25, 29.97, 30, 50, 59.94, 60)"};
  }
  out << *timecode << "\n";
  return kExitOk;
}

int toFrames(const Arguments& args, std::ostream& out) {
  std::string timecode = validTimecode(timecodeArgument(args, "timecode"));
  double rate = rateArgument(args);
  out << U::totalFramesInTimeCode(timecode, rate, U::timecodeIsDropFrame(timecode)) << "\n";
  return kExitOk;
}

int validate(const Arguments& args, std::ostream& out) {
  std::string timecode = validTimecode(timecodeArgument(args, "timecode"));
  out << timecode << ": valid, "
      << (U::timecodeIsDropFrame(timecode) ? "drop-frame" : "non-drop-frame") << "\n";
  return kExitOk;
}

int reverse(const Arguments& args, std::ostream& out) {
  std::string timecode = timecodeArgument(args, "timecode");
  auto reversed = U::reverseTimecodeString(timecode);
  if (!reversed) {
    throw Failure{kExitFailed, "'" + timecode + "' does not hold four pairs of characters"};
  }
  out << *reversed << "\n";
  return kExitOk;
}

int series(const Arguments& args, std::ostream& out) {
  if (!args.positionals().empty()) {
    throw Failure{kExitUsage, "unexpected argument '" + args.positionals().front() + "'"};
  }
  auto start = args.value("--start");
  auto countText = args.value("--count");
  if (!start || !countText) {
    throw Failure{kExitUsage, "--start and --count are required"};
  }
  std::string timecode = validTimecode(*start);
  int32_t count = integerArgument(*countText, "--count");
  if (count < 0 || count > kMaxSeriesCount) {
    throw Failure{kExitUsage, "--count must be between 0 and " + std::to_string(kMaxSeriesCount)};
  }
  double rate = rateArgument(args);
  bool drop = args.has("--drop") || U::timecodeIsDropFrame(timecode);
  for (const auto& entry :
       U::timecodeSeriesForStartTimecode(timecode, count, static_cast<float>(rate), drop)) {
    out << entry << "\n";
  }
  return kExitOk;
}

struct Subcommand {
  std::string_view name;
  std::initializer_list<std::string_view> valueOptions;
  std::initializer_list<std::string_view> flagOptions;
  int (*run)(const Arguments&, std::ostream&);
};

}  // namespace

int runTimecodeCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  static const Subcommand kSubcommands[] = {
      {"from-frames", {"--rate"}, {"--drop"}, fromFrames},
      {"to-frames", {"--rate"}, {}, toFrames},
      {"validate", {}, {}, validate},
      {"reverse", {}, {}, reverse},
      {"series", {"--start", "--count", "--rate"}, {"--drop"}, series},
  };
  if (args.empty() || wantsHelp(args)) {
    (args.empty() ? err : out) << kHelp;
    return args.empty() ? kExitUsage : kExitOk;
  }
  for (const auto& sub : kSubcommands) {
    if (sub.name != args.front()) {
      continue;
    }
    std::string prefix = "qrl timecode " + std::string(sub.name) + ": ";
    std::string error;
    auto parsed =
        Arguments::parse({args.begin() + 1, args.end()}, sub.valueOptions, sub.flagOptions, error);
    if (!parsed) {
      err << prefix << error << "\n";
      return kExitUsage;
    }
    try {
      return sub.run(*parsed, out);
    } catch (const Failure& failure) {
      err << prefix << failure.message << "\n";
      return failure.status;
    }
  }
  err << "qrl timecode: unknown subcommand '" << args.front() << "' (see qrl timecode --help)\n";
  return kExitUsage;
}

}  // namespace qrl::app

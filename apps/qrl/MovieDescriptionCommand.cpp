// qrl inspect FILE [--json]: what the movie engine reads in a movie file.
#include <ostream>
#include <string>
#include <vector>

#include "apps/qrl/Arguments.h"
#include "apps/qrl/Command.h"
#include "platform/base/Exception.h"
#include "platform/quicktime/JsonMovieDescriber.h"
#include "platform/quicktime/Movie.h"
#include "platform/quicktime/TextMovieDescriber.h"

namespace qrl::app {
namespace {

constexpr const char* kHelp =
    R"(usage: qrl inspect [--json] FILE

Prints what the movie engine reads in a QuickTime (.mov), MPEG-4 (.mp4), WAV or AIFF
file: the movie's time scale, duration and size, then each track in file order with its
ID, media type, enabled state, layer, display name, size, duration, media time scale,
sample count, codec (sample description format) and, for timecode tracks, the start
timecode.

options:
  --json   print one JSON object instead of indented text

exit status: 0 printed, 1 the file is missing, unreadable, truncated or corrupt,
2 bad command line.
)";

}  // namespace

int runInspectCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (wantsHelp(args)) {
    out << kHelp;
    return kExitOk;
  }
  std::string error;
  auto parsed = Arguments::parse(args, {}, {"--json"}, error);
  if (!parsed || parsed->positionals().size() != 1) {
    err << "qrl inspect: " << (parsed ? "expected one FILE" : error) << "\n\n" << kHelp;
    return kExitUsage;
  }
  try {
    auto movie = quicktime::Movie::open(parsed->positionals().front());
    if (parsed->has("--json")) {
      quicktime::JsonMovieDescriber printer(out);
      quicktime::MovieDescriber::inspect(*movie, printer);
    } else {
      quicktime::TextMovieDescriber printer(out);
      quicktime::MovieDescriber::inspect(*movie, printer);
    }
  } catch (const Exception& e) {
    err << "qrl inspect: " << e.what() << "\n";
    return kExitFailed;
  }
  return kExitOk;
}

}  // namespace qrl::app

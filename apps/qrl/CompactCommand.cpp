// qrl compact MOVIE: rewrite a movie file without the free space that saving in place leaves.
#include <ostream>
#include <string>
#include <vector>

#include "apps/qrl/Arguments.h"
#include "apps/qrl/Command.h"
#include "platform/base/Exception.h"
#include "platform/quicktime/MovieCompactor.h"

namespace qrl::app {
namespace {

constexpr const char* kHelp =
    R"(usage: qrl compact MOVIE

Rewrites a QuickTime movie without the space that editing it in place leaves
behind: movie headers replaced by later saves and the sample bytes of removed
tracks. The samples the movie still uses are copied into one block, the file is
written beside MOVIE under a temporary name and then renamed over it, so an
interrupted run leaves MOVIE as it was. Media kept in other files (sound files a
track refers to) are not touched.

Prints the file's size before and after.

exit status: 0 compacted, 1 the file is missing, unreadable, damaged or not a
movie, or could not be written, 2 bad command line.
)";

}  // namespace

int runCompactCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (wantsHelp(args)) {
    out << kHelp;
    return kExitOk;
  }
  std::string error;
  auto parsed = Arguments::parse(args, {}, {}, error);
  if (!parsed || parsed->positionals().size() != 1) {
    err << "qrl compact: " << (parsed ? "expected one MOVIE" : error) << "\n\n" << kHelp;
    return kExitUsage;
  }
  const std::string& path = parsed->positionals().front();
  try {
    auto result = quicktime::MovieCompactor::compact(path);
    out << path << ": " << result.sizeBefore << " bytes before, " << result.sizeAfter
        << " bytes after\n";
  } catch (const Exception& e) {
    err << "qrl compact: " << e.what() << "\n";
    return kExitFailed;
  }
  return kExitOk;
}

}  // namespace qrl::app

#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>

#include "timecode/QRLVideoFrameRate.h"

namespace qrl::client {
class QRLConduitClient;
}

namespace qrl::app {

// The main job's burn: the conduit burns the running timecode from `start` into the movie
// in place, then frame `frame` of the result (the picture with the burn laid over it) written as
// a PNG in `folder`. Returns the PNG's path; throws qrl::Exception when a step fails.
std::filesystem::path burnTimecodeAndRenderFrame(client::QRLConduitClient& conduit,
                                                 const std::string& movie,
                                                 const std::filesystem::path& folder,
                                                 const std::string& start, QRLVideoFrameRate rate,
                                                 int frame, std::ostream& out);

}  // namespace qrl::app
